#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/Api.h"
#include "platform/iphelper/Addresses.h"
#include "uZnIPHelper/AddressText.h"

/// How an echo ended: answered, refused by a router or by this system, or not at all.
enum TPingResult : std::uint8_t {
    prSuccess,
    prBufTooSmall,
    prDestNetUnreachable,
    prDestHostUnreachable,
    prDestProtUnreachable,
    prDestPortUnreachable,
    prNoResources,
    prBadIPOption,
    prHwError,
    prPacketTooBig,
    prReqTimedOut,
    prBadReq,
    prBadRoute,
    prTtlExpiredTransit,
    prTtlExpiredReassem,
    prParamProblem,
    prSourceQuench,
    prOptionTooBig,
    prBadDestination,
    prGeneralFailure,
};

/// Send one ICMP echo to a host, by name or address text, and wait up to ATimeout ms for the answer. The
/// address that answered and the time of the way there and back in ms are given on prSuccess only.
///
/// Threads:   any; the caller waits, for the resolver too.
/// Errors:    none is raised for the network's sake. A host that doesn't resolve, an answer that doesn't
///            come and a process that may not send echoes give prGeneralFailure; in the latter two the
///            thread's last error tells more: 11010 no answer, 5 no right.
ZN_API TPingResult PingV4(const std::string& AHost, std::int32_t ATimeout, in_addr& AReplyAddress,
                          std::uint32_t& ARoundTripTime);
/// The same over IPv6 alone.
ZN_API TPingResult PingV6(const std::string& AHost, std::int32_t ATimeout, IN6_ADDR& AReplyAddress,
                          std::uint32_t& ARoundTripTime);

/// The same in the given families: the first two, one after the other until one answers, each with the whole
/// time-out; IPv4 and then IPv6 where none is given. AReplyText is the address that answered, without a
/// scope.
ZN_API TPingResult Ping(const std::string& AHost, std::int32_t ATimeout, TZnIPAddrType& AReplyType,
                        std::string& AReplyText, std::uint32_t& ARoundTripTime,
                        std::span<const TZnIPAddrType> ATypes = {});

/// The same over one family, when only the result matters.
ZN_API TPingResult Ping(const std::string& AHost, std::int32_t ATimeout, TZnIPAddrType AType);
