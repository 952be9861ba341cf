#include "platform/iphelper/AdapterFunctions.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <optional>

#include "platform/errors/Errors.h"
#include "platform/iphelper/AdapterRecords.h"
#include "platform/iphelper/ChangeNotifier.h"
#include "platform/iphelper/Lease.h"
#include "platform/text/Unicode.h"

namespace
{

/// What a caller was told the size of, until it comes back with the buffer.
template <typename T>
class TKept
{
public:
    void Keep(T AValue, std::uint64_t AKey)
    {
        FValue = std::move(AValue);
        FKey = AKey;
        FUntil = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    }
    std::optional<T> Take(std::uint64_t AKey)
    {
        std::optional<T> Result;
        if (FValue && FKey == AKey && std::chrono::steady_clock::now() < FUntil)
            Result = std::move(FValue);
        FValue.reset();
        return Result;
    }

private:
    std::optional<T> FValue;
    std::uint64_t FKey = 0;
    std::chrono::steady_clock::time_point FUntil{};
};

thread_local TKept<std::vector<Zn::TAdapter>> GAdapters;
thread_local TKept<std::vector<Zn::TLink>> GInterfaces;

std::uint32_t CollectAdapters(std::uint32_t AFamily, std::uint32_t AFlags,
                              std::vector<Zn::TAdapter>& AAdapters)
{
    Zn::TSnapshot Snapshot;
    if (const int Errno = Zn::ReadSnapshot(Snapshot); Errno != 0)
        return FromErrno(Errno);
    const std::vector<Zn::TNameServer> Servers = (AFlags & GAA_FLAG_SKIP_DNS_SERVER) != 0
                                                     ? std::vector<Zn::TNameServer>()
                                                     : Zn::ReadNameServers(Snapshot.Links);
    AAdapters = Zn::AdaptersOf(Snapshot, Servers, AFamily, AFlags);
    return NO_ERROR;
}

std::uint32_t AdaptersInto(std::uint32_t AFamily, std::uint32_t AFlags, IP_ADAPTER_ADDRESSES* ABuffer,
                           std::uint32_t& ASize)
{
    const std::uint64_t Key = std::uint64_t{AFamily} << 32 | AFlags;
    std::optional<std::vector<Zn::TAdapter>> Kept = GAdapters.Take(Key);
    std::vector<Zn::TAdapter> Adapters;
    if (ABuffer && Kept)
        Adapters = std::move(*Kept);
    else if (const std::uint32_t Error = CollectAdapters(AFamily, AFlags, Adapters); Error != NO_ERROR)
        return Error;
    if (Adapters.empty())
        return ERROR_NO_DATA;
    const auto Size = static_cast<std::uint32_t>(Zn::RecordsSize(Adapters));
    const bool Fits = ABuffer && ASize >= Size;
    ASize = Size;
    if (Fits)
        Zn::WriteRecords(Adapters, ABuffer);
    else
        GAdapters.Keep(std::move(Adapters), Key);
    return Fits ? NO_ERROR : ERROR_BUFFER_OVERFLOW;
}

std::uint32_t GetAdaptersAddresses(std::uint32_t AFamily, std::uint32_t AFlags, void* AReserved,
                                   IP_ADAPTER_ADDRESSES* AAdapters, std::uint32_t* ASize)
{
    if (!ASize || AReserved || (AFamily != AF_UNSPEC && AFamily != AF_INET && AFamily != AF_INET6))
        return ERROR_INVALID_PARAMETER;
    try {
        return AdaptersInto(AFamily, AFlags, AAdapters, *ASize);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

/// Those that speak IPv4, without loopback.
std::uint32_t CollectInterfaces(std::vector<Zn::TLink>& ALinks)
{
    if (const int Errno = Zn::ReadLinks(ALinks); Errno != 0)
        return FromErrno(Errno);
    std::erase_if(ALinks, [](const Zn::TLink& ALink) { return !ALink.HasIPv4 || ALink.IsLoopback(); });
    std::ranges::sort(ALinks, {}, &Zn::TLink::Index);
    return NO_ERROR;
}

void WriteInterfaces(const std::vector<Zn::TLink>& ALinks, IP_INTERFACE_INFO& AInfo)
{
    AInfo.NumAdapters = static_cast<std::int32_t>(ALinks.size());
    IP_ADAPTER_INDEX_MAP* Entry = AInfo.Adapter;
    for (const Zn::TLink& Link : ALinks) {
        new (Entry) IP_ADAPTER_INDEX_MAP{};
        Entry->Index = static_cast<std::uint32_t>(Link.Index);
        Zn::Utf16FromUtf8(Link.Name).copy(Entry->Name, MAX_ADAPTER_NAME - 1);
        ++Entry;
    }
}

std::uint32_t InterfacesInto(IP_INTERFACE_INFO* AInfo, std::uint32_t& ASize)
{
    std::optional<std::vector<Zn::TLink>> Kept = GInterfaces.Take(0);
    std::vector<Zn::TLink> Links;
    if (AInfo && Kept)
        Links = std::move(*Kept);
    else if (const std::uint32_t Error = CollectInterfaces(Links); Error != NO_ERROR)
        return Error;
    if (Links.empty())
        return ERROR_NO_DATA;
    const auto Size = static_cast<std::uint32_t>(sizeof(IP_INTERFACE_INFO) +
                                                 (Links.size() - 1) * sizeof(IP_ADAPTER_INDEX_MAP));
    const bool Fits = AInfo && ASize >= Size;
    ASize = Size;
    if (Fits)
        WriteInterfaces(Links, *AInfo);
    else
        GInterfaces.Keep(std::move(Links), 0);
    return Fits ? NO_ERROR : ERROR_INSUFFICIENT_BUFFER;
}

std::uint32_t GetInterfaceInfo(IP_INTERFACE_INFO* AInfo, std::uint32_t* ASize)
{
    if (!ASize)
        return ERROR_INVALID_PARAMETER;
    try {
        return InterfacesInto(AInfo, *ASize);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

/// The name by which the interface goes now: it may have been renamed since.
std::string NameOf(const IP_ADAPTER_INDEX_MAP& AInterface)
{
    std::vector<Zn::TLink> Links;
    if (Zn::ReadLinks(Links) != 0)
        return {};
    const auto Found = std::ranges::find(Links, static_cast<int>(AInterface.Index), &Zn::TLink::Index);
    return Found == Links.end() ? std::string() : Found->Name;
}

template <typename TChange>
std::uint32_t ChangeLease(const IP_ADAPTER_INDEX_MAP* AInterface, TChange AChange)
{
    if (!AInterface)
        return ERROR_INVALID_PARAMETER;
    try {
        const std::string Name = NameOf(*AInterface);
        return Name.empty() ? std::uint32_t{ERROR_FILE_NOT_FOUND}
                            : AChange(static_cast<int>(AInterface->Index), Name);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

std::uint32_t IpReleaseAddress(const IP_ADAPTER_INDEX_MAP* AInterface)
{
    return ChangeLease(AInterface, Zn::ReleaseLease);
}

std::uint32_t IpRenewAddress(const IP_ADAPTER_INDEX_MAP* AInterface)
{
    return ChangeLease(AInterface, Zn::RenewLease);
}

} // namespace

std::span<const TZnExport> Zn::AdapterExports()
{
    static const TZnExport Exports[] = {
        {"GetAdaptersAddresses", reinterpret_cast<void*>(TGetAdaptersAddresses(GetAdaptersAddresses))},
        {"GetInterfaceInfo", reinterpret_cast<void*>(TGetInterfaceInfo(GetInterfaceInfo))},
        {"IpReleaseAddress", reinterpret_cast<void*>(TIpChangeAddress(IpReleaseAddress))},
        {"IpRenewAddress", reinterpret_cast<void*>(TIpChangeAddress(IpRenewAddress))},
        {"NotifyIpInterfaceChange",
         reinterpret_cast<void*>(TNotifyIpInterfaceChange(Zn::NotifyIpInterfaceChange))},
        {"CancelMibChangeNotify2",
         reinterpret_cast<void*>(TCancelMibChangeNotify2(Zn::CancelMibChangeNotify2))},
    };
    return Exports;
}
