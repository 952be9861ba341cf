#include "platform/iphelper/ChangeNotifier.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <linux/rtnetlink.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/iphelper/InterfaceTable.h"
#include "platform/iphelper/Netlink.h"

namespace
{

constexpr std::uint32_t cGroups =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
constexpr int cRetryTime = 1000;            // ms
constexpr int cReceiveBuffer = 1024 * 1024; // bytes; the system may allow less

/// What one registration asked for.
struct TSubscription
{
    std::uint32_t Family;
    TIpInterfaceChangeCallback Callback;
    void* Context;
    bool Initial;
};

/// A registration with its thread. The thread holds a reference to it, so that a callback may cancel its own
/// registration.
class TChangeNotifier : public KernelObject, public std::enable_shared_from_this<TChangeNotifier>
{
public:
    explicit TChangeNotifier(const TSubscription& ASubscription) : FSubscription(ASubscription) {}

    ~TChangeNotifier() override
    {
        if (FThread.joinable())
            FThread.detach(); // its own thread let go last
        if (FStopEvent >= 0)
            close(FStopEvent);
    }
    TChangeNotifier(const TChangeNotifier&) = delete;
    TChangeNotifier& operator=(const TChangeNotifier&) = delete;

    /// A platform number. The sockets are opened here: they belong to the caller's network namespace, and
    /// what changes from now on is told.
    std::uint32_t Start()
    {
        int Errno = 0;
        FSocket = Zn::TNetlinkSocket::Open(cGroups, Errno);
        if (!FSocket)
            return FromErrno(Errno);
        setsockopt(FSocket->Descriptor(), SOL_SOCKET, SO_RCVBUF, &cReceiveBuffer, sizeof(cReceiveBuffer));
        FStopEvent = eventfd(0, EFD_CLOEXEC);
        if (FStopEvent < 0)
            return FromErrno(errno);
        Zn::TSnapshot Snapshot;
        if (Errno = Zn::ReadSnapshot(Snapshot); Errno != 0)
            return FromErrno(Errno);
        FTable.Replace(Snapshot);
        FThread = std::thread([Self = shared_from_this()] { Self->Run(); });
        return NO_ERROR;
    }

    void HandleClosed() override
    {
        FStopped.store(true);
        const std::uint64_t One = 1;
        [[maybe_unused]] const ssize_t Written = write(FStopEvent, &One, sizeof(One));
    }

    /// Behind HandleClosed: waits for the callback that may be running, unless this is it.
    void WaitUntilEnded()
    {
        if (FThreadId.load() != std::this_thread::get_id())
            FThread.join();
    }

private:
    void Run()
    {
        FThreadId.store(std::this_thread::get_id());
        LeaveSignalsToOthers();
        if (FSubscription.Initial && !FStopped.load())
            FSubscription.Callback(FSubscription.Context, nullptr, MibInitialNotification);
        while (!FStopped.load()) {
            pollfd Waits[] = {{FSocket->Descriptor(), POLLIN, 0}, {FStopEvent, POLLIN, 0}};
            const int Ready =
                poll(Waits, std::size(Waits), FIsStale ? cRetryTime : -1); // HandleClosed wakes it
            if (FStopped.load() || Ready < 0)
                continue;
            if (FIsStale)
                Resynchronise();
            const int Errno = FSocket->Receive(
                [this](const Zn::TNetlinkMessage& AMessage) { Deliver(FTable.Apply(AMessage)); });
            if (Errno != 0 && Errno != EAGAIN)
                Resynchronise();
        }
    }

    static void LeaveSignalsToOthers()
    {
        sigset_t All;
        sigfillset(&All);
        pthread_sigmask(SIG_BLOCK, &All, nullptr);
    }

    /// Messages were lost. The kernel drops all others too until the socket is empty, so it is emptied before
    /// the tables are read; what comes meanwhile tells of states up to the newest.
    void Resynchronise()
    {
        int Errno = 0;
        while (Errno != EAGAIN && !FStopped.load())
            Errno = FSocket->Receive([](const Zn::TNetlinkMessage&) {});
        Zn::TSnapshot Snapshot;
        FIsStale = Zn::ReadSnapshot(Snapshot) != 0; // no memory, no descriptor: later
        if (!FIsStale)
            Deliver(FTable.Replace(Snapshot));
    }

    void Deliver(const Zn::TInterfaceTable::TChanges& AChanges)
    {
        for (const Zn::TInterfaceChange& Change : AChanges) {
            const bool IsWanted =
                FSubscription.Family == AF_UNSPEC || FSubscription.Family == Change.Row.Family;
            if (IsWanted && !FStopped.load())
                FSubscription.Callback(FSubscription.Context, &Change.Row, Change.Type);
        }
    }

    const TSubscription FSubscription;
    std::unique_ptr<Zn::TNetlinkSocket> FSocket; // the thread's own once it runs, as is the table
    Zn::TInterfaceTable FTable;
    int FStopEvent = -1;
    std::atomic<bool> FStopped{false};
    bool FIsStale = false; // the table: the last reading failed
    std::thread FThread;
    std::atomic<std::thread::id> FThreadId{}; // FThread may not be assigned yet when the first callback runs
};

} // namespace

std::uint32_t Zn::NotifyIpInterfaceChange(std::uint32_t AFamily, TIpInterfaceChangeCallback ACallback,
                                          void* AContext, bool AInitialNotification, THandle* ANotification)
{
    if (!ACallback || !ANotification || (AFamily != AF_UNSPEC && AFamily != AF_INET && AFamily != AF_INET6))
        return ERROR_INVALID_PARAMETER;
    *ANotification = 0;
    std::uint32_t Error = ERROR_NO_SYSTEM_RESOURCES;
    try {
        const TSubscription Subscription{AFamily, ACallback, AContext, AInitialNotification};
        auto Notifier = std::make_shared<TChangeNotifier>(Subscription);
        *ANotification = RegisterHandle(Notifier); // before the first callback, which may cancel it
        if (*ANotification != 0)
            Error = Notifier->Start();
    } catch (const std::bad_alloc&) {
        Error = ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::system_error&) {
        Error = ERROR_NO_SYSTEM_RESOURCES; // no thread
    }
    if (Error != NO_ERROR && *ANotification != 0)
        CloseHandle(std::exchange(*ANotification, 0));
    return Error;
}

std::uint32_t Zn::CancelMibChangeNotify2(THandle ANotification)
{
    const auto Notifier = LookupHandleAs<TChangeNotifier>(ANotification);
    if (!Notifier || !CloseHandle(ANotification))
        return ERROR_INVALID_HANDLE;
    Notifier->WaitUntilEnded();
    return NO_ERROR;
}
