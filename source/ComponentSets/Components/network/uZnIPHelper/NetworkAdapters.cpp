#include "uZnIPHelper/NetworkAdapters.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/System.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

constexpr std::uint32_t cWanted =
    GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

/// Room for records whose size is known at run time.
template <typename T>
class TRecords
{
public:
    explicit TRecords(std::uint32_t ASize)
        : FMemory((ASize + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t) + 1)
    {
    }
    T* Get() { return reinterpret_cast<T*>(FMemory.data()); }

private:
    std::vector<std::max_align_t> FMemory;
};

std::string HardwareAddressText(const std::uint8_t* ABytes)
{
    return ZnFormat("%02X:%02X:%02X:%02X:%02X:%02X", ABytes[0], ABytes[1], ABytes[2], ABytes[3], ABytes[4],
                    ABytes[5]);
}

/// A copy, since a record's address need not be aligned for it.
template <typename T>
T AddressIn(const SOCKET_ADDRESS& AAddress)
{
    T Result;
    std::memcpy(&Result, AAddress.Sockaddr, sizeof(Result));
    return Result;
}

/// nullptr for a family that isn't IP.
std::unique_ptr<TZnIPAddress> PlainAddress(const SOCKET_ADDRESS& AAddress)
{
    switch (AAddress.Sockaddr->sa_family) {
    case AF_INET:
        return std::make_unique<TZnIPV4Address>(AddressIn<sockaddr_in>(AAddress).sin_addr);
    case AF_INET6: {
        const auto V6 = AddressIn<sockaddr_in6>(AAddress);
        return std::make_unique<TZnIPV6Address>(V6.sin6_addr, static_cast<std::int32_t>(V6.sin6_scope_id));
    }
    default:
        return nullptr;
    }
}

std::unique_ptr<TZnIPAddress> UnicastAddress(const IP_ADAPTER_UNICAST_ADDRESS& ARecord)
{
    switch (ARecord.Address.Sockaddr->sa_family) {
    case AF_INET:
        return std::make_unique<TZnIPV4AddressExt>(AddressIn<sockaddr_in>(ARecord.Address).sin_addr,
                                                   ARecord.OnLinkPrefixLength);
    case AF_INET6: {
        const auto V6 = AddressIn<sockaddr_in6>(ARecord.Address);
        return std::make_unique<TZnIPV6AddressExt>(V6.sin6_addr, ARecord.OnLinkPrefixLength,
                                                   ARecord.PrefixOrigin, ARecord.SuffixOrigin,
                                                   static_cast<std::int32_t>(V6.sin6_scope_id));
    }
    default:
        return nullptr;
    }
}

void AddServers(TZnIPAddressList& AList, const IP_ADAPTER_SERVER_ADDRESS* AFirst)
{
    for (; AFirst; AFirst = AFirst->Next) {
        if (auto Address = PlainAddress(AFirst->Address))
            AList.Add(std::move(Address));
    }
}

std::string InterfaceName(const IP_ADAPTER_INDEX_MAP& AInterface)
{
    const std::u16string_view All(AInterface.Name, MAX_ADAPTER_NAME);
    return Utf8FromUtf16(All.substr(0, All.find(u'\0')));
}

/// Whether AInterface holds AName, not as a part of another name: "eth10" isn't "eth1". What may stand beside
/// a name is what no name of an interface has in it, and the braces that some systems put around it.
bool HoldsName(std::string_view AInterface, std::string_view AName)
{
    static constexpr std::string_view cEdges = "\\/{}: ";
    const auto IsEdge = [](char AChar) { return cEdges.find(AChar) != std::string_view::npos; };
    if (AName.empty())
        return false;
    for (std::size_t At = AInterface.find(AName); At != std::string_view::npos;
         At = AInterface.find(AName, At + 1)) {
        const std::size_t End = At + AName.size();
        const bool Begins = At == 0 || IsEdge(AInterface[At - 1]) || IsEdge(AName.front());
        const bool Ends = End == AInterface.size() || IsEdge(AInterface[End]) || IsEdge(AName.back());
        if (Begins && Ends)
            return true;
    }
    return false;
}

/// Gives AUse each interface that holds AName. The number of the first call that ended the matter: 122 where
/// the list was there to be read.
template <typename TUse>
std::uint32_t ForEachInterface(const std::string& AName, TUse AUse)
{
    const auto GetInfo = Zn::SystemFunctions().GetInterfaceInfo;
    if (!GetInfo)
        return ERROR_CALL_NOT_IMPLEMENTED;
    std::uint32_t Size = 0;
    const std::uint32_t First = GetInfo(nullptr, &Size);
    if (First != ERROR_INSUFFICIENT_BUFFER)
        return First;
    TRecords<IP_INTERFACE_INFO> Records(Size);
    if (const std::uint32_t Error = GetInfo(Records.Get(), &Size); Error != NO_ERROR)
        return Error;
    const IP_ADAPTER_INDEX_MAP* Interface = Records.Get()->Adapter;
    for (std::int32_t Left = Records.Get()->NumAdapters; Left > 0; --Left, ++Interface) {
        if (HoldsName(InterfaceName(*Interface), AName))
            AUse(*Interface);
    }
    return First;
}

} // namespace

int TZnNetworkInterfaceList::GetInterfaceIdx(int AIndex) const
{
    return ZnParseInt<int>(FIdxList[AIndex]).value(); // Add wrote it
}

void TZnNetworkInterfaceList::Add(const std::string& AName, std::uint32_t AIndex)
{
    FIdxList.Add(std::to_string(AIndex));
    FNameList.Add(AName);
}

TZnNetworkAdapter::TZnNetworkAdapter(const IP_ADAPTER_ADDRESSES& ARecord)
    : FDescription(Utf8FromUtf16(ARecord.Description ? ARecord.Description : u"")),
      FName(ARecord.AdapterName ? ARecord.AdapterName : ""),
      FAddress(HardwareAddressText(ARecord.PhysicalAddress)),
      FAdapterIndex(ARecord.IfIndex)
{
    for (const auto* Entry = ARecord.FirstUnicastAddress; Entry; Entry = Entry->Next) {
        if (auto Address = UnicastAddress(*Entry))
            FIPAddresses.Add(std::move(Address));
    }
    AddServers(FGateways, ARecord.FirstGatewayAddress);
    AddServers(FDNSServers, ARecord.FirstDnsServerAddress);
}

const TZnNetworkInterfaceList& TZnNetworkAdapter::GetInterfaces()
{
    if (!FInterfaces) {
        FInterfaces = std::make_unique<TZnNetworkInterfaceList>();
        ForEachInterface(FName, [this](const IP_ADAPTER_INDEX_MAP& AInterface) {
            FInterfaces->Add(InterfaceName(AInterface), AInterface.Index);
        });
    }
    return *FInterfaces;
}

std::uint32_t TZnNetworkAdapter::RenewIPV4Address()
{
    const Zn::TSystemFunctions& Functions = Zn::SystemFunctions();
    if (!Functions.IpReleaseAddress || !Functions.IpRenewAddress)
        return ERROR_CALL_NOT_IMPLEMENTED;
    std::vector<IP_ADAPTER_INDEX_MAP> Found;
    std::uint32_t Result = ForEachInterface(
        FName, [&Found](const IP_ADAPTER_INDEX_MAP& AInterface) { Found.push_back(AInterface); });
    for (const IP_ADAPTER_INDEX_MAP& Interface : Found) {
        Functions.IpReleaseAddress(&Interface); // there may be none to give back
        Result = Functions.IpRenewAddress(&Interface);
    }
    return Result;
}

TZnNetworkAdapters::TZnNetworkAdapters(TComponent* AOwner) : TComponent(AOwner)
{
    InitializeWinsock();
    Refresh();
}

TZnNetworkAdapters::~TZnNetworkAdapters()
{
    Unregister();
}

void TZnNetworkAdapters::Refresh()
{
    FAdapters.clear();
    const auto GetAddresses = Zn::SystemFunctions().GetAdaptersAddresses;
    std::uint32_t Size = 0;
    if (!GetAddresses || GetAddresses(AF_UNSPEC, cWanted, nullptr, nullptr, &Size) != ERROR_BUFFER_OVERFLOW)
        return;
    TRecords<IP_ADAPTER_ADDRESSES> Records(Size);
    if (const std::uint32_t Error = GetAddresses(AF_UNSPEC, cWanted, nullptr, Records.Get(), &Size);
        Error != NO_ERROR)
        RaiseLastOSError(Error);
    for (const IP_ADAPTER_ADDRESSES* Record = Records.Get(); Record; Record = Record->Next)
        FAdapters.push_back(std::make_unique<TZnNetworkAdapter>(*Record));
}

TZnNetworkAdapter* TZnNetworkAdapters::GetAdapter(int AIndex) const
{
    if (AIndex < 0 || AIndex >= Count())
        throw EListError(ZnFormat("List index out of bounds (%d)", AIndex));
    return FAdapters[static_cast<std::size_t>(AIndex)].get();
}

TZnNetworkAdapter* TZnNetworkAdapters::FindAdapter(const std::string& AName) const
{
    const auto Found = std::find_if(FAdapters.begin(), FAdapters.end(), [&](const auto& AAdapter) {
        return SameText(AAdapter->GetName(), AName);
    });
    return Found == FAdapters.end() ? nullptr : Found->get();
}

TOnNotifyIpInterfaceChange TZnNetworkAdapters::GetOnInterfaceChanged() const
{
    const Zn::MutexLock Lock(FEventMutex);
    return FOnInterfaceChanged;
}

void TZnNetworkAdapters::SetOnInterfaceChanged(TOnNotifyIpInterfaceChange AValue)
{
    const bool IsWanted = AValue != nullptr;
    {
        const Zn::MutexLock Lock(FEventMutex);
        FOnInterfaceChanged.swap(AValue); // the old one goes when nothing is locked
    }
    if (IsWanted)
        Register();
    else
        Unregister();
}

void TZnNetworkAdapters::Register()
{
    const auto Notify = Zn::SystemFunctions().NotifyIpInterfaceChange;
    if (FIPNotifyHandle == 0 && Notify &&
        Notify(AF_UNSPEC, InterfaceChanged, this, false, &FIPNotifyHandle) != NO_ERROR)
        FIPNotifyHandle = 0;
}

void TZnNetworkAdapters::Unregister()
{
    const auto Cancel = Zn::SystemFunctions().CancelMibChangeNotify2;
    if (const THandle Handle = std::exchange(FIPNotifyHandle, 0); Handle != 0 && Cancel)
        Cancel(Handle);
}

void TZnNetworkAdapters::InterfaceChanged(void* AContext, const MIB_IPINTERFACE_ROW* ARow,
                                          TMIB_NOTIFICATION_TYPE AType)
{
    static_cast<TZnNetworkAdapters*>(AContext)->DoInterfaceChanged(ARow, AType);
}

void TZnNetworkAdapters::DoInterfaceChanged(const MIB_IPINTERFACE_ROW* ARow, TMIB_NOTIFICATION_TYPE AType)
{
    const TOnNotifyIpInterfaceChange Event = GetOnInterfaceChanged();
    if (Event && ARow)
        Event(ARow->Family == AF_INET ? ipV4 : ipV6, static_cast<int>(ARow->InterfaceIndex), ARow->Connected,
              AType);
}
