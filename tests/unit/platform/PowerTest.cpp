#include "platform/power/Power.h"

#include <csignal>
#include <vector>

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "platform/messages/Messages.h"
#include "platform/sync/Deadline.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

/// Power messages that came to a window of this thread.
struct PowerWindow
{
    std::vector<std::uintptr_t> Seen;
    THandle Wnd = AllocateHWnd([this](TMessage& AMessage) {
        if (AMessage.Msg == WM_POWERBROADCAST)
            Seen.push_back(AMessage.WParam);
    });
    ~PowerWindow() { DeallocateHWnd(Wnd); }
};

/// A bus of the test's own in the place of the system's.
class PrivateBus
{
public:
    PrivateBus()
    {
        FAddress = "unix:path=" + FFolder.Path("bus");
        std::string Address = "--address=" + FAddress;
        char Program[] = "dbus-daemon", Kind[] = "--session", Stay[] = "--nofork";
        char* Arguments[] = {Program, Kind, Stay, Address.data(), nullptr};
        if (posix_spawnp(&FProcess, Program, nullptr, nullptr, Arguments, environ) != 0)
            FProcess = -1;
        setenv("DBUS_SYSTEM_BUS_ADDRESS", FAddress.c_str(), 1);
    }
    ~PrivateBus()
    {
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        if (FProcess > 0) {
            kill(FProcess, SIGTERM);
            waitpid(FProcess, nullptr, 0);
        }
    }
    bool IsRunning() const { return FProcess > 0; }

    /// Connects as the login manager.
    sd_bus* OpenAsLoginManager() const
    {
        const Zn::Deadline Limit(60000);
        sd_bus* Bus = nullptr;
        while (sd_bus_open_system(&Bus) < 0 && !Limit.HasPassed())
            usleep(10000);
        EXPECT_GE(sd_bus_request_name(Bus, "org.freedesktop.login1", 0), 0);
        return Bus;
    }

private:
    Zn::TemporaryFolder FFolder;
    std::string FAddress;
    pid_t FProcess = -1;
};

} // namespace

TEST(Power, AnApplicationAnnouncesByItself)
{
    PowerWindow Window;
    ZnAnnounceSuspend();
    ZnAnnounceResume();
    ProcessMessages();
    EXPECT_EQ(Window.Seen, (std::vector<std::uintptr_t>{PBT_APMSUSPEND, PBT_APMRESUMEAUTOMATIC}));
}

TEST(Power, TheLoginManagersSignalReachesEveryWindow)
{
    const PrivateBus Bus;
    if (!Bus.IsRunning())
        GTEST_SKIP() << "dbus-daemon isn't installed";
    sd_bus* const Manager = Bus.OpenAsLoginManager();
    ASSERT_NE(Manager, nullptr);
    PowerWindow Window;
    const auto Watch = Zn::PowerWatch::Shared();
    ASSERT_TRUE(Watch);
    EXPECT_EQ(Watch, Zn::PowerWatch::Shared());
    // The watch subscribes on its own thread: the signal is sent until it has been heard.
    const Zn::Deadline Limit(60000);
    while (Window.Seen.empty() && !Limit.HasPassed()) {
        sd_bus_emit_signal(Manager, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                           "PrepareForSleep", "b", 1);
        sd_bus_flush(Manager);
        WaitMessage(20);
        ProcessMessages();
    }
    ASSERT_FALSE(Window.Seen.empty());
    EXPECT_EQ(Window.Seen[0], PBT_APMSUSPEND);
    sd_bus_emit_signal(Manager, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                       "PrepareForSleep", "b", 0);
    sd_bus_flush(Manager);
    while (Window.Seen.back() != PBT_APMRESUMEAUTOMATIC && !Limit.HasPassed()) {
        WaitMessage(20);
        ProcessMessages();
    }
    EXPECT_EQ(Window.Seen.back(), PBT_APMRESUMEAUTOMATIC);
    sd_bus_flush_close_unref(Manager);
}
