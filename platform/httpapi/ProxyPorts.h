#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

#include "platform/httpapi/AddressRange.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Which ports take connections from proxies that announce their clients, and from where those come. Any
/// thread.
class ProxyPorts
{
public:
    /// Whether a connection of APort from AAddress begins with a header.
    bool IsProxy(std::uint16_t APort, const sockaddr* AAddress) const
    {
        if (!FAny.load(std::memory_order_relaxed)) // set before the port's socket is opened
            return false;
        const MutexLock Guard(FLock);
        const auto Found = FPorts.find(APort);
        return Found != FPorts.end() && Contains(Found->second, AAddress);
    }

    /// No ranges: no proxies.
    void Set(std::uint16_t APort, AddressRanges ARanges)
    {
        const MutexLock Guard(FLock);
        FPorts.erase(APort);
        if (!ARanges.empty())
            FPorts.emplace(APort, std::move(ARanges));
        FAny.store(!FPorts.empty(), std::memory_order_relaxed);
    }

private:
    std::atomic<bool> FAny{false};
    mutable Mutex FLock;
    std::map<std::uint16_t, AddressRanges> FPorts ZN_GUARDED_BY(FLock);
};

} // namespace Zn
