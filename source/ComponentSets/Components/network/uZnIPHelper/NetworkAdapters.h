#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/Component.h"
#include "common/StringList.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "platform/iphelper/Adapters.h"
#include "platform/sync/Mutex.h"
#include "uZnIPHelper/IPAddresses.h"

/// The interfaces that the system knows under an adapter's name.
class ZN_API TZnNetworkInterfaceList : public TObject
{
public:
    /// The number of interfaces.
    int Count() const { return FNameList.Count(); }
    /// Both raise EStringListError for an index that isn't there.
    const std::string& GetAdapterName(int AIndex) const { return FNameList[AIndex]; }
    /// The interface's number.
    int GetInterfaceIdx(int AIndex) const;

    /// For the adapter, which fills the list.
    void Add(const std::string& AName, std::uint32_t AIndex);

private:
    TStringList FNameList;
    TStringList FIdxList;
};

/// A network adapter as it was when the snapshot was taken. Belongs to its TZnNetworkAdapters.
class ZN_API TZnNetworkAdapter : public TObject
{
public:
    /// Copies what the system's record holds.
    explicit TZnNetworkAdapter(const IP_ADAPTER_ADDRESSES& ARecord);

    /// "Loopback", "veth", the driver's name, or what the administrator called it.
    const std::string& GetDescription() const { return FDescription; }
    /// "eth0"
    const std::string& GetName() const { return FName; }
    /// The first six bytes of the hardware address, AA:BB:CC:DD:EE:FF; zeros where there is none.
    const std::string& GetAddress() const { return FAddress; }
    /// The interface's number.
    std::uint32_t GetAdapterIndex() const { return FAdapterIndex; }

    /// TZnIPV4AddressExt and TZnIPV6AddressExt objects, in the system's order.
    const TZnIPAddressList& GetIPAddresses() const { return FIPAddresses; }
    /// TZnIPV4Address and TZnIPV6Address objects.
    const TZnIPAddressList& GetGateways() const { return FGateways; }
    /// Of the interface, else of the machine; see docs/network-information.md.
    const TZnIPAddressList& GetDNSServers() const { return FDNSServers; }

    /// Read from the system at the first call, and the same ever after. The owner's thread.
    const TZnNetworkInterfaceList& GetInterfaces();

    /// Gives the adapter's IPv4 lease back and asks for a new one; see docs/network-information.md for what
    /// has to manage the adapter. 0, the system's number for the last request (50: nothing manages it), or
    /// 122 where the adapter doesn't speak IPv4. Waits.
    std::uint32_t RenewIPV4Address();

private:
    std::string FDescription;
    std::string FName;
    std::string FAddress;
    std::uint32_t FAdapterIndex;
    TZnIPAddressList FIPAddresses;
    TZnIPAddressList FGateways;
    TZnIPAddressList FDNSServers;
    std::unique_ptr<TZnNetworkInterfaceList> FInterfaces;
};

/// AConnected: the interface is up and has a carrier.
using TOnNotifyIpInterfaceChange = std::function<void(
    TZnIPAddrType AAddrType, int AInterfaceIdx, bool AConnected, TMIB_NOTIFICATION_TYPE ANotificationType)>;

/// A snapshot of the machine's network adapters, and word of their changes.
///
/// Use:       make one and read it; Refresh takes a new snapshot, by itself it never changes. See
///            examples/netinfo.
/// Threads:   belongs to the thread that made it. OnInterfaceChanged runs on a thread of the system's own:
///            Refresh must not run there beside a reader of the lists, so the event hands over.
/// Ownership: owns the adapters; a Refresh frees those of the last one. A class that overrides
///            DoInterfaceChanged clears the event in its destructor, as this one does.
/// Errors:    Refresh raises EOSError. Without a right to ask, there are no adapters and no events.
class ZN_API TZnNetworkAdapters : public TComponent
{
public:
    /// Takes the first snapshot.
    explicit TZnNetworkAdapters(TComponent* AOwner = nullptr);
    ~TZnNetworkAdapters() override;

    /// Takes a new snapshot; adapters of the last one are freed. Raises EOSError.
    void Refresh();

    /// The number of adapters.
    int Count() const { return static_cast<int>(FAdapters.size()); }
    /// Borrowed until the next Refresh. Raises EListError for an index that isn't there.
    TZnNetworkAdapter* GetAdapter(int AIndex) const;
    /// By name without regard to case; nullptr when there is none.
    TZnNetworkAdapter* FindAdapter(const std::string& AName) const;

    /// Called for each change of an interface; an interface has one life in each family. Assigning it begins
    /// the watch, clearing it ends it: when that returns, no event runs and none will. From within the event
    /// it returns at once. No exception may leave the event.
    TOnNotifyIpInterfaceChange GetOnInterfaceChanged() const;
    void SetOnInterfaceChanged(TOnNotifyIpInterfaceChange AValue);

protected:
    /// The only place that calls the event. ARow is nullptr for a notification about no interface.
    virtual void DoInterfaceChanged(const MIB_IPINTERFACE_ROW* ARow, TMIB_NOTIFICATION_TYPE AType);

private:
    static void InterfaceChanged(void* AContext, const MIB_IPINTERFACE_ROW* ARow,
                                 TMIB_NOTIFICATION_TYPE AType);
    void Register();
    void Unregister();

    std::vector<std::unique_ptr<TZnNetworkAdapter>> FAdapters;
    mutable Zn::Mutex FEventMutex; // never held while the event runs
    TOnNotifyIpInterfaceChange FOnInterfaceChanged ZN_GUARDED_BY(FEventMutex);
    THandle FIPNotifyHandle = 0;
};
