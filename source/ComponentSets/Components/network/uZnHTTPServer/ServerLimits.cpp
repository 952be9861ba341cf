#include "uZnHTTPServer/ServerLimits.h"

#include <algorithm>
#include <array>
#include <string>

#include "common/Exceptions.h"
#include "uZnHTTPServer/Server.h"

namespace
{

constexpr std::uint64_t cMostLine = 60'000;
constexpr std::uint64_t cDay = 24 * 60 * 60 * 1000;
constexpr std::uint64_t cMostBytes = std::uint64_t{1} << 50;
constexpr std::uint64_t cMostNumber = 0xFFFFFFFF;

// The defaults of the service stand in TZnHttpServiceLimits.
constexpr TZnHttpServiceLimits cService{};

/// What is set where a limit belongs to the service.
using TServiceLimit = std::uint32_t TZnHttpServiceLimits::*;

struct TEntry
{
    TZnHTTPServerLimit Limit;
    TServiceLimit Service;                                           // nullptr: not the service's
    void (*Set)(TZnCustomHTTPServer& AServer, std::uint64_t AValue); // for the others
};

void SetHeaderFields(TZnCustomHTTPServer& AServer, std::uint64_t AValue)
{
    TZnHttpServiceLimits Limits = AServer.GetServiceLimits();
    Limits.HeaderFields = static_cast<std::uint16_t>(AValue);
    AServer.SetServiceLimits(Limits);
}

void SetBuffer(TZnCustomHTTPServer&, std::uint64_t AValue)
{
    RequestBufferSize = static_cast<std::int32_t>(AValue);
}

void SetWorkers(TZnCustomHTTPServer& AServer, std::uint64_t AValue)
{
    AServer.SetMaxWorkerThreadCnt(static_cast<std::int32_t>(AValue));
}

void SetBody(TZnCustomHTTPServer& AServer, std::uint64_t AValue)
{
    AServer.SetMaxBodySize(static_cast<std::int64_t>(AValue));
}

void SetPage(TZnCustomHTTPServer& AServer, std::uint64_t AValue)
{
    AServer.SetMaxPageSize(static_cast<std::int64_t>(AValue));
}

constexpr TEntry cEntries[] = {
    {{"Connections", "connections", cService.Connections, 1, cService.Connections, nullptr,
      "open at once in the process; what comes beyond is closed"},
     &TZnHttpServiceLimits::Connections,
     nullptr},
    {{"ConnectionsPerAddress", "connections", cService.ConnectionsPerAddress, 0, cMostNumber, "no limit",
      "of one address at once; what comes beyond is closed"},
     &TZnHttpServiceLimits::ConnectionsPerAddress,
     nullptr},
    {{"HeadWait", "ms", cService.HeadWait, 1, cDay, nullptr,
      "from the first byte of a head to its last, and for a PROXY header or a TLS handshake; longer: 408, or "
      "closed"},
     &TZnHttpServiceLimits::HeadWait,
     nullptr},
    {{"RequestLine", "bytes", cService.RequestLine, 16, cMostLine, nullptr, "of a request line; longer: 414"},
     &TZnHttpServiceLimits::RequestLine,
     nullptr},
    {{"Headers", "bytes", cService.Headers, 16, cMostLine, nullptr, "of all fields together; more: 431"},
     &TZnHttpServiceLimits::Headers,
     nullptr},
    {{"HeaderFields", "fields", cService.HeaderFields, 1, 0xFFFF, nullptr, "of a request; more: 431"},
     nullptr,
     &SetHeaderFields},
    {{"RequestBufferSize", "bytes", 2048, 0, 1 << 20, "nothing but the fixed record",
      "for a request's URL, fields and addresses; longer: closed without an answer"},
     nullptr,
     &SetBuffer},
    {{"Workers", "threads", 128, 1, 4096, nullptr, "and so requests at work at once; what comes beyond: 503"},
     nullptr,
     &SetWorkers},
    {{"MaxBodySize", "bytes", std::uint64_t{1} << 30, 0, cMostBytes, "no limit",
      "of a body that a handler reads; longer: 413"},
     nullptr,
     &SetBody},
    {{"MaxPageSize", "bytes", std::uint64_t{64} << 20, 0, cMostBytes, "no limit",
      "of a page with includes, and of what they make of it; longer: 500"},
     nullptr,
     &SetPage},
    {{"TransferWait", "ms", cService.TransferWait, 1, cDay, nullptr,
      "waiting for the peer, body and response each, on top of MinBytesPerSecond; longer: closed"},
     &TZnHttpServiceLimits::TransferWait,
     nullptr},
    {{"MinBytesPerSecond", "bytes/s", cService.MinBytesPerSecond, 0, cMostNumber,
      "TransferWait alone counts, anew after each step", "that a peer has to send or take; slower: closed"},
     &TZnHttpServiceLimits::MinBytesPerSecond,
     nullptr},
    {{"LingerWait", "ms", cService.LingerWait, 1, cDay, nullptr,
      "to let a peer read an answer behind which the connection closes"},
     &TZnHttpServiceLimits::LingerWait,
     nullptr},
    {{"IdleWait", "ms", cService.IdleWait, 1, cDay, nullptr,
      "of a connection between two requests; longer: closed"},
     &TZnHttpServiceLimits::IdleWait,
     nullptr},
};

constexpr auto cLimits = [] {
    std::array<TZnHTTPServerLimit, std::size(cEntries)> Result{};
    for (std::size_t Index = 0; Index < Result.size(); ++Index)
        Result[Index] = cEntries[Index].Limit;
    return Result;
}();

} // namespace

std::span<const TZnHTTPServerLimit> ZnHTTPServerLimits()
{
    return cLimits;
}

void ZnSetHTTPServerLimit(TZnCustomHTTPServer& AServer, std::string_view AName, std::uint64_t AValue)
{
    const auto* const Found = std::find_if(std::begin(cEntries), std::end(cEntries),
                                           [&](const TEntry& AEach) { return AEach.Limit.Name == AName; });
    if (Found == std::end(cEntries))
        throw EInvalidArgument("\"" + std::string(AName) + "\" is no limit of the server");
    const TZnHTTPServerLimit& Limit = Found->Limit;
    if (AValue < Limit.Least || AValue > Limit.Most)
        throw EInvalidArgument(std::string(Limit.Name) + " has to be " + std::to_string(Limit.Least) +
                               " to " + std::to_string(Limit.Most) + " " + Limit.Unit);
    if (Found->Service == nullptr) {
        Found->Set(AServer, AValue);
        return;
    }
    TZnHttpServiceLimits Limits = AServer.GetServiceLimits();
    Limits.*Found->Service = static_cast<std::uint32_t>(AValue);
    AServer.SetServiceLimits(Limits);
}
