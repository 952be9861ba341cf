#include "platform/power/LoginManager.h"

#include <algorithm>
#include <ctime>
#include <memory>

#include <poll.h>
#include <systemd/sd-bus.h>

namespace
{

using Bus = std::unique_ptr<sd_bus, sd_bus* (*)(sd_bus*)>;

/// The one argument tells whether the sleep begins or has ended.
int OnPrepareForSleep(sd_bus_message* AMessage, void* /*AData*/, sd_bus_error* /*AError*/)
{
    int Begins = 0;
    if (sd_bus_message_read_basic(AMessage, 'b', &Begins) > 0)
        Begins ? ZnAnnounceSuspend() : ZnAnnounceResume();
    return 0;
}

Bus Connect()
{
    sd_bus* Opened = nullptr;
    if (sd_bus_open_system(&Opened) < 0)
        return {nullptr, sd_bus_flush_close_unref};
    Bus Result(Opened, sd_bus_flush_close_unref);
    const int Matched =
        sd_bus_match_signal(Opened, nullptr, "org.freedesktop.login1", "/org/freedesktop/login1",
                            "org.freedesktop.login1.Manager", "PrepareForSleep", OnPrepareForSleep, nullptr);
    if (Matched < 0)
        Result.reset();
    return Result;
}

/// What the bus asks to be waited at most, in ms; -1: for ever.
int WaitLimit(sd_bus* ABus)
{
    std::uint64_t Until = 0;
    if (sd_bus_get_timeout(ABus, &Until) < 0 || Until == UINT64_MAX)
        return -1;
    timespec Now{};
    clock_gettime(CLOCK_MONOTONIC, &Now);
    const std::uint64_t NowUs =
        static_cast<std::uint64_t>(Now.tv_sec) * 1000000 + static_cast<std::uint64_t>(Now.tv_nsec) / 1000;
    return Until <= NowUs ? 0 : static_cast<int>(std::min<std::uint64_t>((Until - NowUs) / 1000 + 1, 60000));
}

} // namespace

Zn::LoginManager::~LoginManager()
{
    FStop.Set();
    FThread.join();
}

void Zn::LoginManager::Run()
{
    const Bus Connected = Connect();
    while (Connected) {
        const int Done = sd_bus_process(Connected.get(), nullptr);
        if (Done < 0)
            return; // the bus is gone
        if (Done > 0)
            continue;
        pollfd Entries[] = {
            {sd_bus_get_fd(Connected.get()), static_cast<short>(sd_bus_get_events(Connected.get())), 0},
            {FStop.PollFd(), POLLIN, 0},
        };
        poll(Entries, 2, WaitLimit(Connected.get()));
        if (Entries[1].revents != 0)
            return;
    }
}
