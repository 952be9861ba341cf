#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct nl_msg;
struct nl_sock;

namespace Zn
{

/// A wireless interface that is or could be a client of a network.
struct WirelessInterface
{
    std::uint64_t Device = 0; // the kernel's wireless device; never used again for another one
    std::uint32_t Index = 0;
    std::uint32_t Type = 0; // NL80211_IFTYPE_...
    std::string Name;
    bool InNetwork = false; // associated, or in an ad hoc network
};

/// Tells whether the network interface is switched on.
bool IsInterfaceUp(const std::string& AName);

/// A connection to the kernel's wireless service (nl80211), in the caller's network namespace. One thread at
/// a time. Results are the numbers of Wlan.h.
class Nl80211
{
public:
    /// 0, or 1062 where the kernel has no such service.
    std::uint32_t Open();

    std::uint32_t List(std::vector<WirelessInterface>& AResult);

    /// An empty ASsid scans for all networks.
    std::uint32_t Scan(std::uint64_t ADevice, std::span<const std::uint8_t> ASsid,
                       std::span<const std::uint8_t> AElements);

private:
    struct SocketFree
    {
        void operator()(nl_sock* ASocket) const;
    };
    struct MessageFree
    {
        void operator()(nl_msg* AMessage) const;
    };
    using Message = std::unique_ptr<nl_msg, MessageFree>;

    Message NewMessage(int AFlags, std::uint8_t ACommand) const;
    /// Sends it and takes the answers until the kernel has said how it went.
    std::uint32_t Ask(const Message& AMessage, std::vector<WirelessInterface>* AInterfaces);

    std::unique_ptr<nl_sock, SocketFree> FSocket;
    int FFamily = 0;
};

} // namespace Zn
