#include "platform/sync/ThreadPriority.h"

#include <sys/resource.h>
#include <unistd.h>

void Zn::LowerThreadPriority()
{
    constexpr int cAboveIdle = 18; // idle is 19
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), cAboveIdle);
}
