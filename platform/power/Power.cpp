#include "platform/power/Power.h"

#include <cstdlib>
#include <system_error>

#include <unistd.h>

#include "platform/messages/Messages.h"
#include "platform/power/LoginManager.h"
#include "platform/sync/Mutex.h"

namespace
{

struct Current
{
    Zn::Mutex Lock;
    std::weak_ptr<Zn::PowerWatch> Watch ZN_GUARDED_BY(Lock);
};

/// Lives as long as the process: components may be made and freed while static objects are.
Current& TheOne()
{
    static auto* Instance = new Current;
    return *Instance;
}

bool HasSystemBus()
{
    return std::getenv("DBUS_SYSTEM_BUS_ADDRESS") || access("/run/dbus/system_bus_socket", R_OK | W_OK) == 0;
}

} // namespace

void ZnAnnounceSuspend()
{
    BroadcastMessage(WM_POWERBROADCAST, PBT_APMSUSPEND, 0);
}

void ZnAnnounceResume()
{
    BroadcastMessage(WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, 0);
}

std::shared_ptr<Zn::PowerWatch> Zn::PowerWatch::Shared()
{
    MutexLock Lock(TheOne().Lock);
    auto Watch = TheOne().Watch.lock();
    if (!Watch && HasSystemBus()) {
        try {
            Watch = std::make_shared<LoginManager>();
        } catch (const std::system_error&) { // no thread to be had: nothing is announced
        }
        TheOne().Watch = Watch;
    }
    return Watch;
}
