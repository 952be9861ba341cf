/// What this machine knows about its network: its name, its adapters, whether a host is there, and then what
/// changes.
///
///     build/bin/netinfo [HOST]

#include <csignal>
#include <cstdio>

#include "uZnIPHelper.h"

namespace
{

void Show(const char* AKind, const TZnIPAddressList& AList)
{
    for (int Index = 0; Index < AList.Count(); ++Index)
        std::printf("    %-8s %s\n", AKind, AList.GetAddress(Index)->GetAsString().c_str());
}

void ShowPing(const char* AHost)
{
    TZnIPAddrType Type = ipV4;
    std::string Address;
    std::uint32_t Time = 0;
    // No families given: IPv4, then IPv6, each up to a second. Network trouble is a result, never an
    // exception.
    const TPingResult Result = Ping(AHost, 1000, Type, Address, Time);
    if (Result == prSuccess)
        std::printf("%s answered as %s in %u ms.\n", AHost, Address.c_str(), Time);
    else
        std::printf("%s did not answer (%d).\n", AHost, Result);
}

} // namespace

int main(int argc, char** argv)
{
    // Threads inherit the mask, so from here on Ctrl+C is for the wait at the end alone.
    sigset_t Stop;
    sigemptyset(&Stop);
    sigaddset(&Stop, SIGINT);
    sigaddset(&Stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &Stop, nullptr);

    try {
        std::printf("%s, %s\n", ZnGetHostName().c_str(), ZnGetMacAddress().c_str());

        TZnNetworkAdapters Adapters; // a snapshot; Refresh takes a new one
        for (int Index = 0; Index < Adapters.Count(); ++Index) {
            const TZnNetworkAdapter& Adapter = *Adapters.GetAdapter(Index);
            std::printf("%u: %s (%s) %s\n", Adapter.GetAdapterIndex(), Adapter.GetName().c_str(),
                        Adapter.GetDescription().c_str(), Adapter.GetAddress().c_str());
            Show("address", Adapter.GetIPAddresses());
            Show("gateway", Adapter.GetGateways());
            Show("dns", Adapter.GetDNSServers());
        }
        if (argc > 1)
            ShowPing(argv[1]);

        // Runs on a thread of the system's: nothing here may touch Adapters, which belongs to this one.
        Adapters.SetOnInterfaceChanged(
            [](TZnIPAddrType AType, int AIndex, bool AConnected, TMIB_NOTIFICATION_TYPE) {
                std::printf("Interface %d changed for IPv%d: %s\n", AIndex, AType == ipV4 ? 4 : 6,
                            AConnected ? "connected" : "not connected");
            });
        std::printf("Watching; Ctrl+C ends.\n");
        int Signal = 0;
        sigwait(&Stop, &Signal);
    } catch (const Exception& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
        return 1;
    }
    return 0; // Adapters ends its watch as it goes
}
