#pragma once

/// Echo requests (RFC 792, RFC 4443): the records, numbers and function types of the service. None of the
/// functions throws; all may be called from any thread. They leave the reason of a failure in
/// GetLastError.

#include <cstdint>

#include "platform/iphelper/Addresses.h"
#include "platform/sync/Handle.h"

/// How an echo ended. Numbers are the library's own contract.
enum : std::uint32_t {
    IP_SUCCESS = 0,
    IP_BUF_TOO_SMALL = 11001,
    IP_DEST_NET_UNREACHABLE = 11002,
    IP_DEST_HOST_UNREACHABLE = 11003,
    IP_DEST_PROT_UNREACHABLE = 11004,
    IP_DEST_PORT_UNREACHABLE = 11005,
    IP_NO_RESOURCES = 11006,
    IP_BAD_OPTION = 11007,
    IP_HW_ERROR = 11008,
    IP_PACKET_TOO_BIG = 11009,
    IP_REQ_TIMED_OUT = 11010,
    IP_BAD_REQ = 11011,
    IP_BAD_ROUTE = 11012,
    IP_TTL_EXPIRED_TRANSIT = 11013,
    IP_TTL_EXPIRED_REASSEM = 11014,
    IP_PARAM_PROBLEM = 11015,
    IP_SOURCE_QUENCH = 11016,
    IP_OPTION_TOO_BIG = 11017,
    IP_BAD_DESTINATION = 11018,
    IP_GENERAL_FAILURE = 11050,
};

inline constexpr std::uint8_t IP_FLAG_DF = 0x02; // routers may not cut the packet into fragments

/// The head of a request, as far as it can be chosen; of an answer, its time to live, where the request came
/// with such a record.
struct IP_OPTION_INFORMATION
{
    std::uint8_t Ttl = 0; // 0 in a request: the system's default
    std::uint8_t Tos = 0;
    std::uint8_t Flags = 0;
    std::uint8_t OptionsSize = 0; // options of the IP header are not supported: 0
    std::uint8_t* OptionsData = nullptr;
};

struct ICMP_ECHO_REPLY
{
    in_addr Address{}; // who answered: the host, or the router that gave the reason
    std::uint32_t Status = IP_SUCCESS;
    std::uint32_t RoundTripTime = 0; // ms
    std::uint16_t DataSize = 0;
    std::uint16_t Reserved = 0;
    void* Data = nullptr; // behind the record, within the reply area
    IP_OPTION_INFORMATION Options{};
};

/// The answer's data stand right behind the record.
struct ICMPV6_ECHO_REPLY
{
    sockaddr_in6 Address{};
    std::uint32_t Status = IP_SUCCESS;
    std::uint32_t RoundTripTime = 0; // ms
};

/// Open an echo handle for a family; INVALID_HANDLE_VALUE with ERROR_ACCESS_DENIED where the process has
/// neither a group in net.ipv4.ping_group_range nor CAP_NET_RAW. Requests on one handle take turns.
using TIcmpCreateFile = THandle (*)();
using TIcmpCloseHandle = bool (*)(THandle AHandle);

/// Sends one echo request and waits up to ATimeout ms for what becomes of it. The number of replies in
/// AReply: 1 for an answer, and for a router's or this system's word that there can be none, which Status
/// tells; 0 with IP_REQ_TIMED_OUT when nothing came, ERROR_INSUFFICIENT_BUFFER or
/// ERROR_INVALID_PARAMETER for arguments that can't be, ERROR_ACCESS_DENIED for a packet that the firewall
/// refuses, ERROR_INVALID_HANDLE. An answer whose data don't fit has the status IP_BUF_TOO_SMALL.
using TIcmpSendEcho = std::uint32_t (*)(THandle AHandle, in_addr ADestination, const void* AData,
                                        std::uint16_t ADataSize, const IP_OPTION_INFORMATION* AOptions,
                                        void* AReply, std::uint32_t AReplySize, std::uint32_t ATimeout);

/// The same for IPv6. The address :: in ASource leaves the source to the system. There is no other way to
/// wait than the call itself: AEvent and AApcRoutine are 0.
using TIcmp6SendEcho2 = std::uint32_t (*)(THandle AHandle, THandle AEvent, void* AApcRoutine,
                                          void* AApcContext, const sockaddr_in6* ASource,
                                          const sockaddr_in6* ADestination, const void* AData,
                                          std::uint16_t ADataSize, const IP_OPTION_INFORMATION* AOptions,
                                          void* AReply, std::uint32_t AReplySize, std::uint32_t ATimeout);
