#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "platform/httpapi/tls/TlsPort.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Which ports speak TLS, and with what. Any thread.
class TlsPorts
{
public:
    /// nullptr for a port that speaks plain HTTP.
    std::shared_ptr<const TlsPort> Find(std::uint16_t APort) const
    {
        const MutexLock Guard(FLock);
        const auto Found = FPorts.find(APort);
        return Found != FPorts.end() ? Found->second : nullptr;
    }

    /// Connections accepted from now on use it; those that stand keep what they have.
    void Set(std::uint16_t APort, std::shared_ptr<const TlsPort> ATls)
    {
        const MutexLock Guard(FLock);
        FPorts[APort] = std::move(ATls);
    }

    void Remove(std::uint16_t APort)
    {
        const MutexLock Guard(FLock);
        FPorts.erase(APort);
    }

private:
    mutable Mutex FLock;
    std::map<std::uint16_t, std::shared_ptr<const TlsPort>> FPorts ZN_GUARDED_BY(FLock);
};

} // namespace Zn
