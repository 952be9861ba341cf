#pragma once

#include <atomic>

#include "common/Events.h"
#include "common/Thread.h"
#include "platform/Api.h"

class TZnNamedPipeConnection;

/// Probes a connection every 5 s while its thread sits in a read, where nothing else would discover a
/// peer that went without a word.
///
/// Threads:   sleeps on its own low-priority thread; Start, Stop and Terminate from any thread.
/// Ownership: belongs to the connection, which outlives its thread.
class ZN_API TZnNamedPipeNetworkCheck : public TThread
{
public:
    /// Time between two probes, ms.
    static constexpr std::uint32_t cInterval = 5000;

    /// For one connection.
    explicit TZnNamedPipeNetworkCheck(TZnNamedPipeConnection* AConnection);
    ~TZnNamedPipeNetworkCheck() override;

    /// Lets probes go out.
    void Start() { FActive = true; }
    /// No probe from now on. Any thread.
    void Stop() { FActive = false; }
    /// Begins the thread.
    void Run() { TThread::Start(); }
    void Terminate() override;

protected:
    void Execute() override;

private:
    std::atomic<bool> FActive{false};
    TSimpleEvent FSleepEvent;
    TZnNamedPipeConnection* const FConnection;
};
