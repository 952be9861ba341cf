#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Zn
{

class Poller;

/// The listening sockets, by what the registered prefixes want: a port on the loopback ("localhost"), on one
/// literal address, or (names, "+" and "*") on the addresses of the IP listen list as it was when the prefix
/// came, on every address where the list is empty. A socket is open as long as a prefix wants it; when a port
/// is wanted on every address, one socket serves it for all (the system refuses to mix both). A port with
/// adopted sockets has these and no others, for all its prefixes; they stay when nobody wants them.
///
/// Threads: guarded by the service's configuration lock.
class Listeners
{
public:
    explicit Listeners(Poller& APoller) : FPoller(APoller) {}
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;
    ~Listeners();

    /// AHost as a prefix has it: "+", "*", a name, or a literal ("127.0.0.1", "[::1]"). 0, or the platform's
    /// number (10048 when the port is in use, 10013 without the right to it, 10049 when the machine has none
    /// of the addresses, 13 when the listen list can't be read); then nothing has changed.
    std::uint32_t Add(const std::string& AHost, std::uint16_t APort);
    void Remove(const std::string& AHost, std::uint16_t APort);

    /// A socket opened by somebody else, as ZnHttpAddListenSocket takes it.
    std::uint32_t Adopt(int AFd);

    /// Reads the IP listen list anew for the prefixes that it concerns. ABeforeChange is given the sockets of
    /// a port that is about to change. A port that can't be opened as the list wants it stays as it was; the
    /// first number of such.
    std::uint32_t Readdress(const std::function<void(const std::vector<int>&)>& ABeforeChange);

    /// The listening sockets of a port.
    std::vector<int> DescriptorsOf(std::uint16_t APort) const;

    /// Whether any prefix still wants the port.
    bool Wants(std::uint16_t APort) const { return FPorts.contains(APort); }

private:
    struct Wish
    {
        std::string Host;                   // as it came to Add
        std::vector<std::string> Addresses; // "" is every one
    };
    struct Port
    {
        std::vector<Wish> Wishes;
        std::map<std::string, int> Open; // address -> listening descriptor
    };
    std::uint32_t Reconcile(Port& APort, std::uint16_t ANumber);
    void Settle(std::uint16_t APort);
    static std::set<std::string> WantedAddresses(const Port& APort);
    bool UseAdopted(Port& APort, std::uint16_t ANumber);
    std::uint32_t OpenOne(Port& APort, std::uint16_t ANumber, const std::string& AAddress);
    void CloseOne(int AFd);

    Poller& FPoller;
    std::map<std::uint16_t, Port> FPorts;
    std::map<std::uint16_t, std::map<std::string, int>> FAdopted; // by port and address
};

} // namespace Zn
