#include <cstdlib>
#include <cstring>

#include "platform/wlan/Wlan.h"

#define ZN_STUB_EXPORT extern "C" __attribute__((visibility("default")))

// Two interfaces, one client at a time, whose handle is 77. WlanScan asks for the second interface, the
// network "net" and the bytes "ie".

namespace
{
std::uint32_t OpenHandle = 0;
}

ZN_STUB_EXPORT std::uint32_t WlanOpenHandle(std::uint32_t AVersion, void* AReserved,
                                            std::uint32_t* ANegotiated, std::uint32_t* AHandle)
{
    if (OpenHandle != 0 || AReserved != nullptr)
        return 170;
    *ANegotiated = AVersion;
    *AHandle = OpenHandle = 77;
    return 0;
}

ZN_STUB_EXPORT std::uint32_t WlanCloseHandle(std::uint32_t AHandle, void* AReserved)
{
    if (AHandle != OpenHandle || AReserved != nullptr)
        return 6;
    OpenHandle = 0;
    return 0;
}

ZN_STUB_EXPORT std::uint32_t WlanEnumInterfaces(std::uint32_t AHandle, void* AReserved,
                                                PWLAN_INTERFACE_INFO_LIST* AList)
{
    if (AHandle != OpenHandle || AReserved != nullptr)
        return 6;
    auto* const List = static_cast<PWLAN_INTERFACE_INFO_LIST>(
        std::calloc(1, sizeof(TWLAN_INTERFACE_INFO_LIST) + sizeof(TWLAN_INTERFACE_INFO)));
    List->dwNumberOfItems = 2;
    for (std::uint8_t Index = 0; Index < 2; ++Index) {
        TWLAN_INTERFACE_INFO& Info = List->InterfaceInfo[Index];
        Info.InterfaceGuid.Bytes[15] = Index;
        std::memcpy(Info.strInterfaceDescription, u"wlan", 8);
        Info.strInterfaceDescription[4] = static_cast<char16_t>(u'0' + Index);
        Info.isState = Index;
    }
    *AList = List;
    return 0;
}

ZN_STUB_EXPORT std::uint32_t WlanScan(std::uint32_t AHandle, const TGUID* AInterface,
                                      const TDOT11_SSID* ASsid, const TWLAN_RAW_DATA* AData, void* AReserved)
{
    if (AHandle != OpenHandle || AReserved != nullptr)
        return 6;
    const bool Right = AInterface->Bytes[15] == 1 && ASsid->uSSIDLength == 3 &&
                       std::memcmp(ASsid->ucSSID, "net", 3) == 0 && AData->dwDataSize == 1 &&
                       AData->DataBlob[0] == 'i';
    return Right ? 0 : 87;
}

ZN_STUB_EXPORT void WlanFreeMemory(void* AMemory)
{
    std::free(AMemory);
}
