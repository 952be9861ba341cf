#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

#include "platform/icmp/EchoSocket.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// Where an echo handle was made, and when it was given back: its thread's own affair.
struct TEchoHome
{
    std::thread::id Thread;
    std::uint64_t Namespace = 0; // the network namespace's number; 0: unknown
    std::chrono::steady_clock::time_point LastUse{};
};

/// What an echo handle stands for.
class TEchoHandle final : public KernelObject
{
public:
    TEchoHandle(int AFamily, std::unique_ptr<TEchoSocket> ASocket, const TEchoHome& AHome)
        : Home(AHome), FFamily(AFamily), FSocket(std::move(ASocket))
    {
    }

    int Family() const { return FFamily; }

    /// Runs AUse on the socket, one caller after another.
    template <typename TUse>
    std::uint32_t With(TUse AUse)
    {
        const MutexLock Lock(FMutex);
        return AUse(*FSocket);
    }

    TEchoHome Home;

private:
    const int FFamily;
    Mutex FMutex;
    const std::unique_ptr<TEchoSocket> FSocket ZN_PT_GUARDED_BY(FMutex);
};

/// A handle's object for AFamily: the thread's idle one, or a new one. nullptr with the reason in AErrno.
/// Making one costs as much as an echo over loopback, so each thread keeps one of each family when it is
/// done.
///
/// A thread may change its network namespace, and then needs a socket made there. To ask for the namespace
/// costs a third of an echo, so it isn't done of an object that came back just now: no thread changes its
/// namespace in so short a time.
///
/// After a fork the child starts without: the two would take each other's answers.
std::shared_ptr<TEchoHandle> TakeEchoHandle(int AFamily, int& AErrno);

/// Gives an object back whose number is closed. It goes where it can't be used again.
void GiveEchoHandle(std::shared_ptr<TEchoHandle> AHandle);

} // namespace Zn
