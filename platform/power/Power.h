#pragma once

#include <cstdint>
#include <memory>

#include "platform/Api.h"

/// The system's sleep and its end, posted to every window of the process as WM_POWERBROADCAST.

inline constexpr std::uint32_t WM_POWERBROADCAST = 536;
/// The system is about to sleep.
inline constexpr std::uintptr_t PBT_APMSUSPEND = 4;
/// The system is awake again.
inline constexpr std::uintptr_t PBT_APMRESUMEAUTOMATIC = 18;

/// For an application that knows of the system's sleep in a way of its own. Any thread.
ZN_API void ZnAnnounceSuspend();
/// The other half: the system is awake again.
ZN_API void ZnAnnounceResume();

namespace Zn
{

/// Listens to the login manager (PrepareForSleep, on the system's D-Bus) as long as anybody holds it.
class PowerWatch
{
public:
    virtual ~PowerWatch() = default;

    /// The process's one. Empty where there is no system bus: announcements come from the application
    /// alone then. Any thread.
    static std::shared_ptr<PowerWatch> Shared();
};

} // namespace Zn
