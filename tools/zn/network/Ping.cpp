#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/network/Network.h"

namespace Zn
{

namespace
{

constexpr std::chrono::seconds cPause{1};

/// What a result without an answer means to a reader.
std::string Explained(TPingResult AResult, std::int32_t ATimeOut)
{
    constexpr const char* cTexts[] = {"answered",
                                      "the answer is longer than it may be",
                                      "there is no route to its network",
                                      "the host can't be reached",
                                      "the host, or what filters for it, refuses the protocol",
                                      "the port can't be reached",
                                      "the system lacks the resources to ask",
                                      "an option is bad",
                                      "the hardware failed",
                                      "the packet is too big for a network on the way",
                                      "no answer in time",
                                      "the request is bad",
                                      "the route is bad",
                                      "it took too many hops",
                                      "its fragments took too long",
                                      "the packet's head is bad, or the address lacks its scope (%eth0)",
                                      "the host can't keep up",
                                      "an option is too long",
                                      "nothing may be sent to that address"};
    if (AResult < prGeneralFailure)
        return cTexts[AResult];
    switch (const std::uint32_t Error = GetLastError()) {
    case IP_REQ_TIMED_OUT:
        return "no answer within " + std::to_string(ATimeOut) + " ms";
    case ERROR_ACCESS_DENIED:
        return "the system doesn't let this user ask (net.ipv4.ping_group_range, CAP_NET_RAW, the firewall)";
    default:
        return SysErrorMessage(Error);
    }
}

struct TTally
{
    int Answered = 0;
    std::uint32_t Least = 0; // ms
    std::uint32_t Most = 0;

    void Add(std::uint32_t ATime)
    {
        Least = Answered == 0 ? ATime : std::min(Least, ATime);
        Most = std::max(Most, ATime);
        ++Answered;
    }
};

void PingOnce(const TPingCommand& ACommand, TTally& ATally)
{
    TZnIPAddrType Type = ipV4;
    std::string Address;
    std::uint32_t Time = 0;
    const TPingResult Result = Ping(ACommand.Host, ACommand.TimeOut, Type, Address, Time, ACommand.Families);
    if (Result == prSuccess) {
        ATally.Add(Time);
        std::printf("%s answered in %u ms\n", Address.c_str(), Time);
    } else {
        std::printf("%s: %s\n", ACommand.Host.c_str(), Explained(Result, ACommand.TimeOut).c_str());
    }
    std::fflush(stdout);
}

} // namespace

int PingHost(const TPingCommand& ACommand)
{
    if (ZnResolveHostName(ACommand.Host, ACommand.Families).empty()) {
        std::fprintf(stderr, "zn ping: %s: %s\n", ACommand.Host.c_str(), WhyNoAddress().c_str());
        return cExitFailure;
    }
    TTally Tally;
    for (int Number = 1; Number <= ACommand.Count; ++Number) {
        if (Number > 1)
            std::this_thread::sleep_for(cPause);
        PingOnce(ACommand, Tally);
    }
    if (Tally.Answered > 0)
        std::printf("%d of %d answered, in %u to %u ms\n", Tally.Answered, ACommand.Count, Tally.Least,
                    Tally.Most);
    else
        std::printf("0 of %d answered\n", ACommand.Count);
    return Tally.Answered > 0 ? cExitOk : cExitFailure;
}

} // namespace Zn
