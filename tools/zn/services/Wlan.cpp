#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/Json.h"
#include "common/NetEncoding.h"
#include "common/System.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Report.h"
#include "tools/zn/services/Services.h"
#include "uZnWLAN.h"

namespace Zn
{

namespace
{

int Refuse(int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "zn wlan: %s\n", AText.c_str());
    return AExitCode;
}

/// "Error: 1062" in words.
std::string Explained(const std::string& AMessage)
{
    constexpr std::string_view cPrefix = "Error: ";
    const auto Number = AMessage.starts_with(cPrefix)
                            ? ZnParseInt<std::uint32_t>(AMessage.substr(cPrefix.size()))
                            : std::nullopt;
    if (Number == ERROR_SERVICE_NOT_ACTIVE)
        return "this system's kernel has no wireless networks";
    if (Number == ERROR_ACCESS_DENIED)
        return "this takes the right to administer the network";
    return Number ? AMessage + ": " + SysErrorMessage(*Number) : AMessage;
}

using TInterfaces = std::span<const TWLAN_INTERFACE_INFO>;

/// Does AWork with a client of the service and its interfaces.
int WithInterfaces(const std::function<int(std::uint32_t AHandle, TInterfaces AInterfaces)>& AWork)
{
    if (!WlanAvailable())
        return Refuse(cExitFailure, "there is no wireless library (libwlanapi.so) on this machine");
    try {
        std::uint32_t Version = 0;
        const std::uint32_t Handle = WlanOpenHandle(Version);
        const std::shared_ptr<void> Closing(nullptr, [Handle](void*) { WlanCloseHandle(Handle); });
        const std::unique_ptr<TWLAN_INTERFACE_INFO_LIST, void (*)(void*)> List(WlanEnumInterfaces(Handle),
                                                                               WlanFreeMemory);
        return AWork(Handle, TInterfaces(List->InterfaceInfo, List->dwNumberOfItems));
    } catch (const Exception& Error) {
        return Refuse(cExitFailure, Explained(Error.Message()));
    }
}

std::string NameOf(const TWLAN_INTERFACE_INFO& AInterface)
{
    return Utf8FromUtf16(AInterface.strInterfaceDescription);
}

std::string StateOf(const TWLAN_INTERFACE_INFO& AInterface)
{
    switch (AInterface.isState) {
    case wlan_interface_state_not_ready:
        return "off";
    case wlan_interface_state_connected:
        return "connected";
    case wlan_interface_state_ad_hoc_network_formed:
        return "ad hoc";
    default:
        return "disconnected";
    }
}

std::string GuidOf(const TWLAN_INTERFACE_INFO& AInterface)
{
    const auto& Bytes = AInterface.InterfaceGuid.Bytes;
    std::string Text = TZnNetEncoding::GetHexEncoding().Encode(
        std::string_view(reinterpret_cast<const char*>(Bytes.data()), Bytes.size()));
    for (const std::size_t At : {20U, 16U, 12U, 8U})
        Text.insert(At, "-");
    return Text;
}

} // namespace

int ListWirelessInterfaces(bool AJson)
{
    return WithInterfaces([&](std::uint32_t, TInterfaces AInterfaces) {
        TJSONArray Json;
        std::vector<TRow> Rows;
        for (const TWLAN_INTERFACE_INFO& Each : AInterfaces) {
            auto Entry = std::make_unique<TJSONObject>();
            Entry->AddPair("name", NameOf(Each))
                .AddPair("state", StateOf(Each))
                .AddPair("guid", GuidOf(Each));
            Json.Add(std::move(Entry));
            Rows.push_back({NameOf(Each), StateOf(Each), GuidOf(Each)});
        }
        if (AJson)
            PrintJson(Json);
        else
            PrintTable({"NAME", "STATE", "GUID"}, Rows, "There is no wireless interface.");
        return cExitOk;
    });
}

int ScanForNetworks(const std::string& AInterface, const std::string& ASsid)
{
    TDOT11_SSID Ssid{};
    if (ASsid.size() > sizeof Ssid.ucSSID)
        return Refuse(cExitUsage, "the name of a network has at most 32 bytes");
    Ssid.uSSIDLength = static_cast<std::uint32_t>(ASsid.size());
    std::copy(ASsid.begin(), ASsid.end(), Ssid.ucSSID);
    return WithInterfaces([&](std::uint32_t AHandle, TInterfaces AInterfaces) {
        bool Found = false;
        for (const TWLAN_INTERFACE_INFO& Each : AInterfaces) {
            if (!AInterface.empty() && NameOf(Each) != AInterface)
                continue;
            Found = true;
            WlanScan(AHandle, &Each.InterfaceGuid, ASsid.empty() ? nullptr : &Ssid, nullptr);
            std::printf("%s is looking for networks.\n", NameOf(Each).c_str());
        }
        if (!Found)
            return Refuse(cExitFailure, AInterface.empty() ? "there is no wireless interface"
                                                           : "there is no wireless interface " + AInterface);
        return cExitOk;
    });
}

} // namespace Zn
