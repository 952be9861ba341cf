#include "uZnIPHelper/Ping.h"

#include <array>
#include <cstddef>

#include "platform/errors/Errors.h"
#include "uZnIPHelper/NameResolution.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

constexpr std::string_view cPayload = "ping"; // IPv4 only: an IPv6 echo carries none

/// Room for a reply record and the data behind it.
template <typename TReply>
struct TReplyArea
{
    static constexpr std::uint32_t cSize = sizeof(TReply) + cPayload.size();
    TReply Reply{};
    std::array<std::byte, cPayload.size()> Data{};
};

/// An echo handle for the length of a scope.
class TEcho
{
public:
    explicit TEcho(TIcmpCreateFile ACreate) : FHandle(ACreate ? ACreate() : INVALID_HANDLE_VALUE) {}
    ~TEcho()
    {
        const auto Close = Zn::SystemFunctions().IcmpCloseHandle;
        if (IsOpen() && Close)
            Close(FHandle);
    }
    TEcho(const TEcho&) = delete;
    TEcho& operator=(const TEcho&) = delete;

    bool IsOpen() const { return FHandle != INVALID_HANDLE_VALUE; }
    THandle Handle() const { return FHandle; }

private:
    THandle FHandle;
};

TPingResult ResultOfStatus(std::uint32_t AStatus)
{
    if (AStatus == IP_SUCCESS)
        return prSuccess;
    // The results stand in the order of the statuses.
    if (AStatus >= IP_BUF_TOO_SMALL && AStatus <= IP_BAD_DESTINATION)
        return static_cast<TPingResult>(AStatus - IP_BUF_TOO_SMALL + prBufTooSmall);
    return prGeneralFailure;
}

TPingResult ResultOfError(std::uint32_t AError)
{
    switch (AError) {
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_INSUFFICIENT_BUFFER:
        return prBufTooSmall;
    case ERROR_INVALID_PARAMETER:
        return prParamProblem;
    default:
        return prGeneralFailure;
    }
}

TPingResult PingAs(TZnIPAddrType AType, const std::string& AHost, std::int32_t ATimeout,
                   TZnIPAddrType& AReplyType, std::string& AReplyText, std::uint32_t& ARoundTripTime)
{
    AReplyText.clear();
    in_addr V4{};
    IN6_ADDR V6{};
    const TPingResult Result = AType == ipV6 ? PingV6(AHost, ATimeout, V6, ARoundTripTime)
                                             : PingV4(AHost, ATimeout, V4, ARoundTripTime);
    if (Result == prSuccess) {
        AReplyType = AType;
        AReplyText = AType == ipV6 ? ZnIPAddrToStr(V6) : ZnIPAddrToStr(V4);
    }
    return Result;
}

} // namespace

TPingResult PingV4(const std::string& AHost, std::int32_t ATimeout, in_addr& AReplyAddress,
                   std::uint32_t& ARoundTripTime)
{
    InitializeWinsock();
    in_addr Target;
    if (!ZnStrToIPAddr(AHost, Target))
        return prGeneralFailure;
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    const TEcho Echo(Functions.IcmpCreateFile);
    if (!Echo.IsOpen() || !Functions.IcmpSendEcho)
        return prGeneralFailure;
    TReplyArea<ICMP_ECHO_REPLY> Area;
    const std::uint32_t Count =
        Functions.IcmpSendEcho(Echo.Handle(), Target, cPayload.data(), cPayload.size(), nullptr, &Area,
                               Area.cSize, static_cast<std::uint32_t>(ATimeout));
    if (Count == 0)
        return ResultOfError(GetLastError());
    if (Area.Reply.Status == IP_SUCCESS) {
        AReplyAddress = Area.Reply.Address;
        ARoundTripTime = Area.Reply.RoundTripTime;
    }
    return ResultOfStatus(Area.Reply.Status);
}

TPingResult PingV6(const std::string& AHost, std::int32_t ATimeout, IN6_ADDR& AReplyAddress,
                   std::uint32_t& ARoundTripTime)
{
    InitializeWinsock();
    IN6_ADDR Target;
    std::int32_t ScopeId = 0;
    if (!ZnStrToIPAddr(AHost, Target, ScopeId))
        return prGeneralFailure;
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    const TEcho Echo(Functions.Icmp6CreateFile);
    if (!Echo.IsOpen() || !Functions.Icmp6SendEcho2)
        return prGeneralFailure;
    sockaddr_in6 Source{};
    Source.sin6_family = AF_INET6;
    sockaddr_in6 Destination = Source;
    Destination.sin6_addr = Target;
    Destination.sin6_scope_id = static_cast<std::uint32_t>(ScopeId);
    TReplyArea<ICMPV6_ECHO_REPLY> Area;
    const std::uint32_t Count =
        Functions.Icmp6SendEcho2(Echo.Handle(), 0, nullptr, nullptr, &Source, &Destination, nullptr, 0,
                                 nullptr, &Area, Area.cSize, static_cast<std::uint32_t>(ATimeout));
    if (Count == 0)
        return ResultOfError(GetLastError());
    if (Area.Reply.Status == IP_SUCCESS) {
        AReplyAddress = Area.Reply.Address.sin6_addr;
        ARoundTripTime = Area.Reply.RoundTripTime;
    }
    return ResultOfStatus(Area.Reply.Status);
}

TPingResult Ping(const std::string& AHost, std::int32_t ATimeout, TZnIPAddrType& AReplyType,
                 std::string& AReplyText, std::uint32_t& ARoundTripTime,
                 std::span<const TZnIPAddrType> ATypes)
{
    ARoundTripTime = 0;
    static constexpr std::array cUsual{ipV4, ipV6};
    const std::span<const TZnIPAddrType> Types = ATypes.empty() ? std::span(cUsual) : ATypes;
    const TPingResult First = PingAs(Types[0], AHost, ATimeout, AReplyType, AReplyText, ARoundTripTime);
    if (First == prSuccess || Types.size() == 1)
        return First;
    return PingAs(Types[1], AHost, ATimeout, AReplyType, AReplyText, ARoundTripTime);
}

TPingResult Ping(const std::string& AHost, std::int32_t ATimeout, TZnIPAddrType AType)
{
    TZnIPAddrType ReplyType = AType;
    std::string ReplyText;
    std::uint32_t RoundTripTime = 0;
    return Ping(AHost, ATimeout, ReplyType, ReplyText, RoundTripTime, std::span(&AType, 1));
}
