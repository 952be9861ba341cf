#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Zn
{

class Poller;

/// The listening sockets, by what the registered prefixes want: a port on every address, on the loopback
/// ("localhost") or on one literal address. A socket is open as long as a prefix wants it; when a port is
/// wanted on every address, one socket serves it for all (the system refuses to mix both).
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
    /// number (10048 when the port is in use, 10013 without the right to it); then nothing has changed.
    std::uint32_t Add(const std::string& AHost, std::uint16_t APort);
    void Remove(const std::string& AHost, std::uint16_t APort);

    /// Whether any prefix still wants the port.
    bool Wants(std::uint16_t APort) const { return FPorts.contains(APort); }

private:
    struct Port
    {
        std::multiset<std::string> Wanted; // addresses: "" is every one
        std::map<std::string, int> Open;   // address -> listening descriptor
    };
    std::uint32_t Reconcile(Port& APort, std::uint16_t ANumber);
    std::uint32_t OpenOne(Port& APort, std::uint16_t ANumber, const std::string& AAddress);
    void CloseOne(int AFd);

    Poller& FPoller;
    std::map<std::uint16_t, Port> FPorts;
};

} // namespace Zn
