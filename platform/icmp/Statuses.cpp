#include "platform/icmp/Statuses.h"

#include <cerrno>

#include <netinet/icmp6.h>
#include <netinet/ip_icmp.h>

#include "platform/errors/Errors.h"
#include "platform/icmp/Icmp.h"

namespace
{

std::uint32_t StatusOfUnreachable(std::uint8_t ACode)
{
    switch (ACode) {
    case ICMP_NET_UNREACH:
    case ICMP_NET_UNKNOWN:
    case ICMP_NET_ANO:
    case ICMP_NET_UNR_TOS:
        return IP_DEST_NET_UNREACHABLE;
    case ICMP_PROT_UNREACH:
        return IP_DEST_PROT_UNREACHABLE;
    case ICMP_PORT_UNREACH:
        return IP_DEST_PORT_UNREACHABLE;
    case ICMP_FRAG_NEEDED:
        return IP_PACKET_TOO_BIG;
    case ICMP_SR_FAILED:
        return IP_BAD_ROUTE;
    default: // the host itself, or a filter on the way to it
        return IP_DEST_HOST_UNREACHABLE;
    }
}

std::uint32_t StatusOfUnreachable6(std::uint8_t ACode)
{
    constexpr std::uint8_t cRejectRoute = 6; // RFC 4443, 3.1
    switch (ACode) {
    case ICMP6_DST_UNREACH_NOROUTE:
    case ICMP6_DST_UNREACH_BEYONDSCOPE:
    case cRejectRoute:
        return IP_DEST_NET_UNREACHABLE;
    case ICMP6_DST_UNREACH_NOPORT:
        return IP_DEST_PORT_UNREACHABLE;
    default:
        return IP_DEST_HOST_UNREACHABLE;
    }
}

} // namespace

std::uint32_t Zn::StatusOfIcmpError(std::uint8_t AType, std::uint8_t ACode)
{
    switch (AType) {
    case ICMP_DEST_UNREACH:
        return StatusOfUnreachable(ACode);
    case ICMP_SOURCE_QUENCH:
        return IP_SOURCE_QUENCH;
    case ICMP_TIME_EXCEEDED:
        return ACode == ICMP_EXC_TTL ? IP_TTL_EXPIRED_TRANSIT : IP_TTL_EXPIRED_REASSEM;
    case ICMP_PARAMETERPROB:
        return IP_PARAM_PROBLEM;
    default:
        return IP_GENERAL_FAILURE;
    }
}

std::uint32_t Zn::StatusOfIcmp6Error(std::uint8_t AType, std::uint8_t ACode)
{
    switch (AType) {
    case ICMP6_DST_UNREACH:
        return StatusOfUnreachable6(ACode);
    case ICMP6_PACKET_TOO_BIG:
        return IP_PACKET_TOO_BIG;
    case ICMP6_TIME_EXCEEDED:
        return ACode == ICMP6_TIME_EXCEED_TRANSIT ? IP_TTL_EXPIRED_TRANSIT : IP_TTL_EXPIRED_REASSEM;
    case ICMP6_PARAM_PROB:
        return ACode == ICMP6_PARAMPROB_NEXTHEADER ? IP_DEST_PROT_UNREACHABLE : IP_PARAM_PROBLEM;
    default:
        return IP_GENERAL_FAILURE;
    }
}

Zn::TSendFailure Zn::SendFailureOf(int AErrno)
{
    switch (AErrno) {
    case ENETUNREACH:
    case ENETDOWN:
        return {IP_DEST_NET_UNREACHABLE, NO_ERROR};
    case EHOSTUNREACH:
    case EHOSTDOWN:
        return {IP_DEST_HOST_UNREACHABLE, NO_ERROR};
    case EMSGSIZE:
        return {IP_PACKET_TOO_BIG, NO_ERROR};
    case ENOBUFS:
    case ENOMEM:
        return {IP_NO_RESOURCES, NO_ERROR};
    case EACCES: // a broadcast address, or a route that prohibits
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
        return {IP_BAD_DESTINATION, NO_ERROR};
    case EPERM: // the firewall's word
        return {0, ERROR_ACCESS_DENIED};
    case EINVAL: // a link-local address without its scope
        return {0, ERROR_INVALID_PARAMETER};
    default:
        return {0, SocketErrorFromErrno(AErrno)};
    }
}
