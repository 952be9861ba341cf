#include "platform/httpapi/Limits.h"

#include <atomic>
#include <memory>
#include <vector>

#include "platform/errors/Errors.h"
#include "platform/httpapi/ConnectionTable.h"
#include "platform/sync/Mutex.h"

namespace Zn
{
namespace
{

const TZnHttpServiceLimits Defaults{};
std::atomic<const TZnHttpServiceLimits*> Current{&Defaults};

// Readers hold references without a lock, so earlier values are kept; limits are set a few times at most.
Mutex KeptLock;
std::vector<std::unique_ptr<const TZnHttpServiceLimits>> Kept ZN_GUARDED_BY(KeptLock);

bool IsValid(const TZnHttpServiceLimits& ALimits)
{
    constexpr std::uint32_t MostLine = 60000; // lengths in a request record are 16-bit counts of bytes
    constexpr std::uint32_t LongestWait = 24 * 60 * 60 * 1000;
    const auto IsWait = [](std::uint32_t AWait) { return AWait >= 1 && AWait <= LongestWait; };
    return ALimits.RequestLine >= 16 && ALimits.RequestLine <= MostLine && ALimits.Headers >= 16 &&
           ALimits.Headers <= MostLine && ALimits.HeaderFields >= 1 && IsWait(ALimits.HeadWait) &&
           IsWait(ALimits.IdleWait) && IsWait(ALimits.TransferWait) && IsWait(ALimits.LingerWait) &&
           ALimits.Connections >= 1 && ALimits.Connections <= ConnectionTable::Capacity;
}

} // namespace

const TZnHttpServiceLimits& CurrentLimits()
{
    return *Current.load(std::memory_order_acquire);
}

} // namespace Zn

std::uint32_t ZnHttpQueryServiceLimits(TZnHttpServiceLimits* ALimits)
{
    if (ALimits == nullptr)
        return ERROR_INVALID_PARAMETER;
    *ALimits = Zn::CurrentLimits();
    return NO_ERROR;
}

std::uint32_t ZnHttpSetServiceLimits(const TZnHttpServiceLimits* ALimits)
{
    if (ALimits == nullptr || !Zn::IsValid(*ALimits))
        return ERROR_INVALID_PARAMETER;
    const Zn::MutexLock Guard(Zn::KeptLock);
    Zn::Kept.push_back(std::make_unique<const TZnHttpServiceLimits>(*ALimits));
    Zn::Current.store(Zn::Kept.back().get(), std::memory_order_release);
    return NO_ERROR;
}
