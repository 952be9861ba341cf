#include "platform/icmp/EchoHandle.h"

#include <array>
#include <charconv>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace
{

/// What the change of a namespace takes longer than: it is a system call with some ten allocations and
/// references, 1600 ns where the shortest system call of all takes 230 ns.
constexpr std::chrono::nanoseconds cShorterThanAnyChange{400};

/// The network namespace of the thread that this is of.
class TOwnNamespace
{
public:
    TOwnNamespace() = default;
    ~TOwnNamespace() { Forget(); }
    TOwnNamespace(const TOwnNamespace&) = delete;
    TOwnNamespace& operator=(const TOwnNamespace&) = delete;

    /// Its number, which no other namespace has as long as a socket lives in this one. 0 where it can't be
    /// told. The link is kept open: to find it takes longer than to read it.
    std::uint64_t Number()
    {
        if (FLink < 0)
            FLink = open("/proc/thread-self/ns/net", O_PATH | O_NOFOLLOW | O_CLOEXEC);
        std::array<char, 64> Text; // "net:[4026531840]"
        const ssize_t Length = FLink < 0 ? -1 : readlinkat(FLink, "", Text.data(), Text.size());
        std::uint64_t Result = 0;
        if (Length > cNumberAt)
            std::from_chars(Text.data() + cNumberAt, Text.data() + Length, Result);
        return Result;
    }

    void Forget()
    {
        if (FLink >= 0)
            close(FLink);
        FLink = -1;
    }

private:
    static constexpr ssize_t cNumberAt = 5;
    int FLink = -1;
};

struct TIdleHandles
{
    std::shared_ptr<Zn::TEchoHandle> V4;
    std::shared_ptr<Zn::TEchoHandle> V6;
    TOwnNamespace Namespace;
};

thread_local TIdleHandles GIdle;

/// In the child of a fork, where the link would still be the parent's.
void StartAnew()
{
    GIdle.V4 = nullptr;
    GIdle.V6 = nullptr;
    GIdle.Namespace.Forget();
}

std::shared_ptr<Zn::TEchoHandle>& IdleOf(int AFamily)
{
    static const int Registered = pthread_atfork(nullptr, nullptr, StartAnew);
    static_cast<void>(Registered);
    return AFamily == AF_INET6 ? GIdle.V6 : GIdle.V4;
}

bool IsAtHome(const Zn::TEchoHome& AHome)
{
    return std::chrono::steady_clock::now() - AHome.LastUse < cShorterThanAnyChange ||
           (AHome.Namespace != 0 && AHome.Namespace == GIdle.Namespace.Number());
}

} // namespace

std::shared_ptr<Zn::TEchoHandle> Zn::TakeEchoHandle(int AFamily, int& AErrno)
{
    std::shared_ptr<TEchoHandle> Idle = std::move(IdleOf(AFamily));
    if (Idle && IsAtHome(Idle->Home))
        return Idle;
    Idle = nullptr;
    auto Socket = TEchoSocket::Open(AFamily, AErrno);
    if (!Socket)
        return nullptr;
    return std::make_shared<TEchoHandle>(AFamily, std::move(Socket),
                                         TEchoHome{std::this_thread::get_id(), GIdle.Namespace.Number(), {}});
}

void Zn::GiveEchoHandle(std::shared_ptr<TEchoHandle> AHandle)
{
    // Another thread may still be waiting for an answer on it.
    if (AHandle->Home.Thread != std::this_thread::get_id() || AHandle.use_count() > 1)
        return;
    std::shared_ptr<TEchoHandle>& Idle = IdleOf(AHandle->Family());
    Idle = std::move(AHandle);
    Idle->Home.LastUse = std::chrono::steady_clock::now();
}
