#include "uZnIPHelper/SystemFunctions.h"

#include <atomic>
#include <mutex>
#include <string>

#include "common/Exceptions.h"
#include "common/ThreadAnnotations.h"
#include "platform/iphelper/Winsock.h"
#include "platform/loader/Loader.h"

namespace
{

constexpr std::uint16_t cWinsockVersion = 0x0202;

/// The libraries of the unit, what was found in them, and how far starting came.
class TSystemLibraries
{
public:
    ~TSystemLibraries() { Stop(); }

    void Start()
    {
        if (FReady.load(std::memory_order_acquire)) // reads what the store below wrote
            return;
        const std::lock_guard Guard(FMutex);
        if (FReady.load(std::memory_order_relaxed))
            return;
        StartSockets();
        OpenSocketLibrary();
        OpenTextLibrary();
        OpenNetworkLibraries();
        FReady.store(true, std::memory_order_release);
    }

    void Stop()
    {
        const std::lock_guard Guard(FMutex);
        FReady.store(false, std::memory_order_relaxed);
        if (FSocketsStarted)
            WSACleanup();
        FSocketsStarted = false;
        FFunctions = {};
        for (THandle* const Library : {&FNtdll, &FWs2_32, &FIcmp, &FIphlpapi}) {
            if (*Library != 0)
                FreeLibrary(*Library);
            *Library = 0;
        }
    }

    const Zn::TSystemFunctions& Functions() const { return FFunctions; }

private:
    void StartSockets()
    {
        if (!FSocketsStarted && WSAStartup(cWinsockVersion) != 0)
            throw Exception("Failed to initialize Winsock!");
        FSocketsStarted = true;
    }

    void OpenSocketLibrary()
    {
        if (Open(FWs2_32, "ws2_32")) {
            Find(FWs2_32, "GetAddrInfoW", FFunctions.GetAddrInfoW);
            Find(FWs2_32, "freeaddrinfo", FFunctions.FreeAddrInfo);
            Find(FWs2_32, "socket", FFunctions.Socket);
            Find(FWs2_32, "bind", FFunctions.Bind);
            Find(FWs2_32, "setsockopt", FFunctions.SetSockOpt);
            Find(FWs2_32, "sendto", FFunctions.SendTo);
            Find(FWs2_32, "closesocket", FFunctions.CloseSocket);
            Find(FWs2_32, "gethostname", FFunctions.GetHostName);
            Find(FWs2_32, "inet_addr", FFunctions.InetAddr);
        }
    }

    void OpenTextLibrary()
    {
        if (Open(FNtdll, "Ntdll")) {
            Find(FNtdll, "RtlIpv4AddressToStringW", FFunctions.RtlIpv4AddressToStringW);
            Find(FNtdll, "RtlIpv6AddressToStringW", FFunctions.RtlIpv6AddressToStringW);
            Find(FNtdll, "RtlIpv4StringToAddressW", FFunctions.RtlIpv4StringToAddressW);
            Find(FNtdll, "RtlIpv6StringToAddressW", FFunctions.RtlIpv6StringToAddressW);
        }
    }

    void OpenNetworkLibraries()
    {
        if (Open(FIphlpapi, "Iphlpapi")) {
            FindEcho(FIphlpapi);
            Find(FIphlpapi, "ConvertLengthToIpv4Mask", FFunctions.ConvertLengthToIpv4Mask);
            Find(FIphlpapi, "GetAdaptersAddresses", FFunctions.GetAdaptersAddresses);
            Find(FIphlpapi, "GetInterfaceInfo", FFunctions.GetInterfaceInfo);
            Find(FIphlpapi, "IpReleaseAddress", FFunctions.IpReleaseAddress);
            Find(FIphlpapi, "IpRenewAddress", FFunctions.IpRenewAddress);
            Find(FIphlpapi, "NotifyIpInterfaceChange", FFunctions.NotifyIpInterfaceChange);
            Find(FIphlpapi, "CancelMibChangeNotify2", FFunctions.CancelMibChangeNotify2);
        }
        // Older systems have the echo functions in a library of their own.
        if (!FFunctions.IcmpCreateFile && Open(FIcmp, "Icmp"))
            FindEcho(FIcmp);
    }

    /// True when the library was opened now, so that its functions are still to be found.
    static bool Open(THandle& ALibrary, const std::string& AName)
    {
        if (ALibrary != 0)
            return false;
        ALibrary = LoadLibrary(AName + ".dll");
        if (ALibrary == 0)
            throw Exception("Failed to load the " + AName + " dll!");
        return true;
    }

    template <typename T>
    static void Find(THandle ALibrary, const char* AName, T& AFunction)
    {
        AFunction = reinterpret_cast<T>(GetProcAddress(ALibrary, AName));
    }

    template <typename T>
    static void FindMissing(THandle ALibrary, const char* AName, T& AFunction)
    {
        if (!AFunction)
            Find(ALibrary, AName, AFunction);
    }

    void FindEcho(THandle ALibrary)
    {
        FindMissing(ALibrary, "IcmpCreateFile", FFunctions.IcmpCreateFile);
        FindMissing(ALibrary, "Icmp6CreateFile", FFunctions.Icmp6CreateFile);
        FindMissing(ALibrary, "IcmpSendEcho", FFunctions.IcmpSendEcho);
        FindMissing(ALibrary, "Icmp6SendEcho2", FFunctions.Icmp6SendEcho2);
        FindMissing(ALibrary, "IcmpCloseHandle", FFunctions.IcmpCloseHandle);
    }

    std::mutex FMutex; // one thread starts or stops; users of FFunctions are behind FReady
    std::atomic<bool> FReady{false};
    bool FSocketsStarted = false;
    THandle FWs2_32 = 0;
    THandle FNtdll = 0;
    THandle FIcmp = 0;
    THandle FIphlpapi = 0;
    Zn::TSystemFunctions FFunctions;
};

TSystemLibraries& Libraries()
{
    static TSystemLibraries Instance;
    return Instance;
}

} // namespace

void InitializeWinsock()
{
    Libraries().Start();
}

const Zn::TSystemFunctions& Zn::SystemFunctions()
{
    return Libraries().Functions();
}

void Zn::FinalizeWinsock()
{
    Libraries().Stop();
}
