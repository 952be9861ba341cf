#include "platform/icmp/IdleSockets.h"

#include <pthread.h>
#include <sys/stat.h>

namespace
{

constexpr std::chrono::microseconds cTrusted{100};

struct TIdleSockets
{
    Zn::THomedSocket V4;
    Zn::THomedSocket V6;
};

thread_local TIdleSockets GIdle;

Zn::THomedSocket& IdleOf(int AFamily)
{
    static const int Registered = pthread_atfork(nullptr, nullptr, [] { GIdle = {}; });
    static_cast<void>(Registered);
    return AFamily == AF_INET6 ? GIdle.V6 : GIdle.V4;
}

void SetHome(Zn::THomedSocket& ASocket)
{
    struct stat Status = {};
    if (stat("/proc/thread-self/ns/net", &Status) == 0) {
        ASocket.Device = Status.st_dev;
        ASocket.Inode = Status.st_ino;
    }
}

/// False also where the namespace can't be told.
bool IsHome(const Zn::THomedSocket& ASocket)
{
    Zn::THomedSocket Here;
    SetHome(Here);
    return Here.Inode != 0 && Here.Inode == ASocket.Inode && Here.Device == ASocket.Device;
}

} // namespace

Zn::THomedSocket Zn::TakeEchoSocket(int AFamily, int& AErrno)
{
    THomedSocket Result = std::move(IdleOf(AFamily));
    const auto Now = std::chrono::steady_clock::now();
    if (Result.Socket && (Now - Result.LastUse < cTrusted || IsHome(Result)))
        return Result;
    Result = {};
    Result.Socket = TEchoSocket::Open(AFamily, AErrno);
    Result.Thread = std::this_thread::get_id();
    SetHome(Result);
    return Result;
}

void Zn::GiveEchoSocket(int AFamily, THomedSocket ASocket)
{
    if (!ASocket.Socket || ASocket.Thread != std::this_thread::get_id())
        return;
    ASocket.LastUse = std::chrono::steady_clock::now();
    IdleOf(AFamily) = std::move(ASocket);
}
