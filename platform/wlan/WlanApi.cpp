#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <linux/nl80211.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Mutex.h"
#include "platform/text/Unicode.h"
#include "platform/wlan/Nl80211.h"
#include "platform/wlan/Wlan.h"

namespace
{

constexpr std::uint32_t MaxSsidLength = 32;
constexpr std::uint32_t MaxElementsLength = 2304; // of a frame

/// What a handle stands for.
struct Client
{
    Zn::Mutex Mutex;
    Zn::Nl80211 Service ZN_GUARDED_BY(Mutex);
};

/// The open handles. The numbers aren't used again.
class Clients
{
public:
    std::uint32_t Add(std::shared_ptr<Client> AClient)
    {
        Zn::MutexLock Lock(FMutex);
        FClients.emplace(++FLast, std::move(AClient));
        return FLast;
    }
    std::shared_ptr<Client> Find(std::uint32_t AHandle)
    {
        Zn::MutexLock Lock(FMutex);
        const auto Found = FClients.find(AHandle);
        return Found == FClients.end() ? nullptr : Found->second;
    }
    bool Remove(std::uint32_t AHandle)
    {
        Zn::MutexLock Lock(FMutex);
        return FClients.erase(AHandle) != 0;
    }

private:
    Zn::Mutex FMutex;
    std::map<std::uint32_t, std::shared_ptr<Client>> FClients ZN_GUARDED_BY(FMutex);
    std::uint32_t FLast ZN_GUARDED_BY(FMutex) = 0;
};

Clients& OpenClients()
{
    static Clients Instance;
    return Instance;
}

/// The numbers of a device: `HHHHHHHH-0000-8000-8000-0000LLLLLLLL`, a GUID of version 8 (RFC 9562).
TGUID GuidOf(std::uint64_t ADevice)
{
    TGUID Result;
    for (std::size_t Byte = 0; Byte < 4; ++Byte) {
        Result.Bytes[Byte] = static_cast<std::uint8_t>(ADevice >> (56 - 8 * Byte));
        Result.Bytes[12 + Byte] = static_cast<std::uint8_t>(ADevice >> (24 - 8 * Byte));
    }
    Result.Bytes[6] = 0x80;
    Result.Bytes[8] = 0x80;
    return Result;
}

std::uint64_t DeviceOf(const TGUID& AGuid)
{
    std::uint64_t Result = 0;
    for (const std::size_t Byte : {0U, 1U, 2U, 3U, 12U, 13U, 14U, 15U})
        Result = Result << 8 | AGuid.Bytes[Byte];
    return Result;
}

std::uint32_t StateOf(const Zn::WirelessInterface& AInterface)
{
    if (!Zn::IsInterfaceUp(AInterface.Name))
        return wlan_interface_state_not_ready;
    if (!AInterface.InNetwork)
        return wlan_interface_state_disconnected;
    return AInterface.Type == NL80211_IFTYPE_ADHOC ? wlan_interface_state_ad_hoc_network_formed
                                                   : wlan_interface_state_connected;
}

void Fill(TWLAN_INTERFACE_INFO& AInfo, const Zn::WirelessInterface& AInterface)
{
    constexpr std::size_t MaxLength = std::size(TWLAN_INTERFACE_INFO{}.strInterfaceDescription) - 1;
    AInfo.InterfaceGuid = GuidOf(AInterface.Device);
    const std::u16string Name = Zn::Utf16FromUtf8(AInterface.Name).substr(0, MaxLength);
    std::memcpy(AInfo.strInterfaceDescription, Name.c_str(), (Name.size() + 1) * sizeof(char16_t));
    AInfo.isState = StateOf(AInterface);
}

PWLAN_INTERFACE_INFO_LIST MakeList(const std::vector<Zn::WirelessInterface>& AInterfaces)
{
    const std::size_t Size =
        sizeof(TWLAN_INTERFACE_INFO_LIST) + AInterfaces.size() * sizeof(TWLAN_INTERFACE_INFO);
    auto* const Result = static_cast<PWLAN_INTERFACE_INFO_LIST>(std::calloc(1, Size));
    if (Result == nullptr)
        throw std::bad_alloc();
    Result->dwNumberOfItems = static_cast<std::uint32_t>(AInterfaces.size());
    for (std::size_t Index = 0; Index < AInterfaces.size(); ++Index)
        Fill(Result->InterfaceInfo[Index], AInterfaces[Index]);
    return Result;
}

/// Nothing is thrown across the library's edge.
template <class TWork>
std::uint32_t Guarded(const TWork& AWork)
{
    try {
        return AWork();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

} // namespace

#define ZN_WLAN_EXPORT extern "C" __attribute__((visibility("default")))

ZN_WLAN_EXPORT std::uint32_t WlanOpenHandle(std::uint32_t AClientVersion, void* AReserved,
                                            std::uint32_t* ANegotiatedVersion, std::uint32_t* AHandle)
{
    if (AClientVersion == 0 || AReserved != nullptr || ANegotiatedVersion == nullptr || AHandle == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Guarded([&] {
        auto Opened = std::make_shared<Client>();
        {
            Zn::MutexLock Lock(Opened->Mutex);
            if (const std::uint32_t Result = Opened->Service.Open(); Result != NO_ERROR)
                return Result;
        }
        *ANegotiatedVersion = AClientVersion == 1 ? 1 : 2;
        *AHandle = OpenClients().Add(std::move(Opened));
        return std::uint32_t{NO_ERROR};
    });
}

ZN_WLAN_EXPORT std::uint32_t WlanCloseHandle(std::uint32_t AHandle, void* AReserved)
{
    if (AReserved != nullptr)
        return ERROR_INVALID_PARAMETER;
    return OpenClients().Remove(AHandle) ? NO_ERROR : ERROR_INVALID_HANDLE;
}

ZN_WLAN_EXPORT std::uint32_t WlanEnumInterfaces(std::uint32_t AHandle, void* AReserved,
                                                PWLAN_INTERFACE_INFO_LIST* AList)
{
    if (AReserved != nullptr || AList == nullptr)
        return ERROR_INVALID_PARAMETER;
    const auto Found = OpenClients().Find(AHandle);
    if (!Found)
        return ERROR_INVALID_HANDLE;
    return Guarded([&] {
        std::vector<Zn::WirelessInterface> Interfaces;
        Zn::MutexLock Lock(Found->Mutex);
        if (const std::uint32_t Result = Found->Service.List(Interfaces); Result != NO_ERROR)
            return Result;
        *AList = MakeList(Interfaces);
        return std::uint32_t{NO_ERROR};
    });
}

ZN_WLAN_EXPORT std::uint32_t WlanScan(std::uint32_t AHandle, const TGUID* AInterface,
                                      const TDOT11_SSID* ASsid, const TWLAN_RAW_DATA* AData, void* AReserved)
{
    if (AInterface == nullptr || AReserved != nullptr ||
        (ASsid != nullptr && ASsid->uSSIDLength > MaxSsidLength) ||
        (AData != nullptr && AData->dwDataSize > MaxElementsLength))
        return ERROR_INVALID_PARAMETER;
    const auto Found = OpenClients().Find(AHandle);
    if (!Found)
        return ERROR_INVALID_HANDLE;
    using Bytes = std::span<const std::uint8_t>;
    const Bytes Ssid = ASsid != nullptr ? Bytes(ASsid->ucSSID, ASsid->uSSIDLength) : Bytes();
    const Bytes Elements = AData != nullptr ? Bytes(AData->DataBlob, AData->dwDataSize) : Bytes();
    Zn::MutexLock Lock(Found->Mutex);
    return Found->Service.Scan(DeviceOf(*AInterface), Ssid, Elements);
}

ZN_WLAN_EXPORT void WlanFreeMemory(void* AMemory)
{
    std::free(AMemory);
}
