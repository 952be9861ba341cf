#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/Events.h"
#include "common/Locks.h"
#include "common/Thread.h"
#include "platform/Api.h"
#include "uZnHTTPServer/Request.h"

/// Counts failed authentications by remote address and user name, so that a guessing client can be
/// stopped. A count is forgotten 5 to 10 minutes after its last failure. It knows no limit and raises
/// nothing: what a count means is the server's business.
///
/// Use:       Create; Terminate ends it.
/// Threads:   the counting operations from any thread; its own thread sweeps.
/// Ownership: frees itself when its thread ends. One that was never started is freed by who made it.
/// Errors:    Create raises EThread.
class ZN_API TZnAuthMonitor : public TThread
{
public:
    /// Milliseconds, 32 bits that wrap; never backwards.
    using TTickCount = std::uint32_t (*)();

    /// An entry older than this at a sweep goes; also the time between sweeps. In milliseconds.
    static constexpr std::uint32_t cAgeLimit = 300'000;
    /// Time between two sweeps in ms; a count is forgotten at the first one that finds it that old.
    static constexpr std::uint32_t cSweepPeriod = 300'000;
    /// Entries that are kept at most: what guesses with ever new names can take of memory. Beyond it the
    /// entry with the longest time since its last failure goes.
    static constexpr std::size_t cMaxEntries = 250'000;

    /// ATickCount is the clock, in ms; a test gives its own.
    explicit TZnAuthMonitor(TTickCount ATickCount = &TThread::GetTickCount);

    /// The end of an owner's interest, for a std::unique_ptr: the object goes when its thread has ended.
    struct TTerminate
    {
        /// Asks the thread to end; it frees itself.
        void operator()(TZnAuthMonitor* AMonitor) const { AMonitor->Terminate(); }
    };
    /// Makes one and starts its thread.
    static std::unique_ptr<TZnAuthMonitor, TTerminate> Create();

    /// Wakes and ends the thread; the object is gone soon after, nobody may use it any more.
    void Terminate() override;

    /// The tick count of the last failure, and in Cnt the failures so far; 0 and 0 for who has none.
    std::uint32_t GetLastAuthAttempt(const std::string& ARemoteIPAddress, const std::string& AUserName,
                                     std::int32_t& Cnt);
    /// Counts a failure and returns the failures so far; a success forgets them and returns 0.
    std::int32_t ProcessAuthAttempt(const std::string& ARemoteIPAddress, const std::string& AUserName,
                                    bool AAuthenticated);

    /// Forgets what is older than cAgeLimit. The thread does it; earlier calls do no harm.
    void Sweep();

protected:
    void Execute() override;

private:
    struct TEntry
    {
        std::string Key;
        TZnHTTPAuthAttempt Attempt;
    };
    using TEntries = std::list<TEntry>;

    void Forget(TEntries::iterator AEntry) ZN_REQUIRES(FLock);

    const TTickCount FTickCount;
    TSimpleEvent FEvent;
    TZnCriticalSection FLock;
    TEntries FByLastAttempt ZN_GUARDED_BY(FLock); // the longest ago first: a sweep stops early
    std::unordered_map<std::string_view, TEntries::iterator> FAuthTries ZN_GUARDED_BY(FLock);
};
