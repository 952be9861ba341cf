#pragma once

/// What running a server takes beside answering requests, as additions to the HTTP service. Numbers, threads
/// and ownership as in Httpapi.h.

#include <cstdint>

#include "platform/httpapi/Httpapi.h"

/// Gives the service a listening TCP socket, which serves the URLs of its port that are registered from now
/// on: no other socket is opened for the port, whatever the hosts of the URLs. The service works on a
/// duplicate and keeps it until its last user is gone; the descriptor stays the caller's. 10038, 10047, 10044
/// or 10022 for what is no listening TCP socket, 183 when the port is open already.
std::uint32_t ZnHttpAddListenSocket(int AFd);

/// Connections that come to APort from ATrusted (addresses and ranges, "192.0.2.0/24 ::1", with blanks
/// between them) begin with a header of the PROXY protocol, version 1 or 2; the client that it names is the
/// remote address of their requests. One that begins otherwise, or with a header that is cut, longer than
/// 2048 bytes or not to be understood in one way, is closed. Connections from elsewhere are clients' own.
/// nullptr or empty: no proxies, as from the start. It ends with the last URL of the port. 87 for what is no
/// range.
std::uint32_t ZnHttpSetProxyProtocol(std::uint16_t APort, const char* ATrusted);

/// Reads the configuration store anew for the URLs that are registered: the IP listen list, and the
/// certificates of ports that have none by ZnHttpSetPortCertificate. Connections stay; those to come find the
/// new state. What can't be had (a damaged store, a certificate without its key, an address whose port is
/// taken) stays as it was, and the first number of such is returned: those of HttpAddUrl.
std::uint32_t ZnHttpReloadConfiguration();

/// How the service stands: what it counts since it was initialised, and what there is now.
struct TZnHttpStatistics
{
    std::uint64_t Accepted;    // connections taken, of all ports
    std::uint64_t Unavailable; // requests that it answered 503: a queue was full, off, or ending
    std::uint32_t Connections; // open now, of all ports
    std::uint32_t QueueLength; // requests that wait in the queue now
};
std::uint32_t ZnHttpQueryStatistics(THandle AReqQueueHandle, TZnHttpStatistics* AStatistics);

struct TZnHttpDrainResult
{
    std::uint32_t Ended; // requests that came to their end, by a whole answer or by the client's leaving
    std::uint32_t Cut;   // requests that lost their connection at the deadline
};

/// Ends a queue gracefully, in AMilliseconds at most: its ports take no new connections (those that another
/// queue wants too stay open, and answer 503 for this one), idle connections close, and requests that have
/// begun are served, with "Connection: close" on their answers. What still runs at the deadline is cut: its
/// owner's calls give 1229, its disconnect wait ends. Returns as soon as nothing is left. The queue stays
/// open for its owners; it is closed as always. 87 when it is being drained already.
std::uint32_t ZnHttpDrainQueue(THandle AReqQueueHandle, std::uint32_t AMilliseconds,
                               TZnHttpDrainResult* AResult);
