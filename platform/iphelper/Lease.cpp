#include "platform/iphelper/Lease.h"

#include <optional>
#include <string_view>

#include "platform/errors/Errors.h"
#include "platform/iphelper/DhcpClient.h"
#include "platform/iphelper/SystemBus.h"

namespace
{

// Each manager gives nothing for an interface that isn't its own, else the number of what it did.

constexpr Zn::TBusObject cNetworkd{"org.freedesktop.network1", "/org/freedesktop/network1",
                                   "org.freedesktop.network1.Manager"};
constexpr Zn::TBusObject cNetworkManager{"org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager",
                                         "org.freedesktop.NetworkManager"};
constexpr const char* cDevice = "org.freedesktop.NetworkManager.Device";
constexpr const char* cActiveConnection = "org.freedesktop.NetworkManager.Connection.Active";

/// The value of a reply that is one text or path; empty for none.
std::string TextOf(const Zn::TBusReply& AReply, char AType)
{
    const char* Text = nullptr;
    const bool IsThere = AReply && sd_bus_message_read_basic(AReply.get(), AType, &Text) > 0;
    return IsThere && Text ? Text : "";
}

bool IsOfNetworkd(Zn::TSystemBus& ABus, int AIndex)
{
    std::uint32_t Error = NO_ERROR;
    if (!ABus.HasService(cNetworkd.Service))
        return false;
    const Zn::TBusReply Link = ABus.Call(cNetworkd, "GetLinkByIndex", Error, "i", AIndex);
    const char* Name = nullptr;
    const char* Path = nullptr;
    if (!Link || sd_bus_message_read(Link.get(), "so", &Name, &Path) < 0)
        return false;
    const std::string State =
        TextOf(ABus.GetProperty({cNetworkd.Service, Path, "org.freedesktop.network1.Link"},
                                "AdministrativeState", "s"),
               's');
    return !State.empty() && State != "unmanaged";
}

std::optional<std::uint32_t> RenewByNetworkd(Zn::TSystemBus& ABus, int AIndex)
{
    if (!IsOfNetworkd(ABus, AIndex))
        return std::nullopt;
    std::uint32_t Error = NO_ERROR;
    ABus.Call(cNetworkd, "RenewLink", Error, "i", AIndex);
    return Error;
}

std::optional<std::uint32_t> ReleaseByNetworkd(Zn::TSystemBus& ABus, int AIndex)
{
    if (!IsOfNetworkd(ABus, AIndex))
        return std::nullopt;
    return ERROR_NOT_SUPPORTED; // it has no such order; a renewal needs none
}

/// The path of the interface's device; empty where NetworkManager doesn't manage it.
std::string DeviceOf(Zn::TSystemBus& ABus, const std::string& AName)
{
    std::uint32_t Error = NO_ERROR;
    if (!ABus.HasService(cNetworkManager.Service))
        return {};
    const std::string Path =
        TextOf(ABus.Call(cNetworkManager, "GetDeviceByIpIface", Error, "s", AName.c_str()), 'o');
    if (Path.empty())
        return {};
    int IsManaged = 0;
    const Zn::TBusReply Managed =
        ABus.GetProperty({cNetworkManager.Service, Path.c_str(), cDevice}, "Managed", "b");
    if (!Managed || sd_bus_message_read_basic(Managed.get(), 'b', &IsManaged) <= 0 || IsManaged == 0)
        return {};
    return Path;
}

/// The settings that the device runs by; "/" lets NetworkManager choose.
std::string SettingsOf(Zn::TSystemBus& ABus, const std::string& ADevice)
{
    const std::string Active = TextOf(
        ABus.GetProperty({cNetworkManager.Service, ADevice.c_str(), cDevice}, "ActiveConnection", "o"), 'o');
    if (Active.empty() || Active == "/")
        return "/";
    const std::string Settings = TextOf(
        ABus.GetProperty({cNetworkManager.Service, Active.c_str(), cActiveConnection}, "Connection", "o"),
        'o');
    return Settings.empty() ? "/" : Settings;
}

std::optional<std::uint32_t> RenewByNetworkManager(Zn::TSystemBus& ABus, const std::string& AName)
{
    const std::string Device = DeviceOf(ABus, AName);
    if (Device.empty())
        return std::nullopt;
    std::uint32_t Error = NO_ERROR;
    ABus.Call(cNetworkManager, "ActivateConnection", Error, "ooo", SettingsOf(ABus, Device).c_str(),
              Device.c_str(), "/");
    return Error;
}

std::optional<std::uint32_t> ReleaseByNetworkManager(Zn::TSystemBus& ABus, const std::string& AName)
{
    const std::string Device = DeviceOf(ABus, AName);
    if (Device.empty())
        return std::nullopt;
    std::uint32_t Error = NO_ERROR;
    ABus.Call({cNetworkManager.Service, Device.c_str(), cDevice}, "Disconnect", Error, "");
    return Error;
}

} // namespace

std::uint32_t Zn::ReleaseLease(int AIndex, const std::string& AName)
{
    TSystemBus Bus;
    if (const auto Done = ReleaseByNetworkd(Bus, AIndex))
        return *Done;
    if (const auto Done = ReleaseByNetworkManager(Bus, AName))
        return *Done;
    return ReleaseByDhcpClient(AName).value_or(ERROR_NOT_SUPPORTED);
}

std::uint32_t Zn::RenewLease(int AIndex, const std::string& AName)
{
    TSystemBus Bus;
    if (const auto Done = RenewByNetworkd(Bus, AIndex))
        return *Done;
    if (const auto Done = RenewByNetworkManager(Bus, AName))
        return *Done;
    return RenewByDhcpClient(AName).value_or(ERROR_NOT_SUPPORTED);
}
