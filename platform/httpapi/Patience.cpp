#include "platform/httpapi/Patience.h"

#include <algorithm>

#include "platform/httpapi/Socket.h"

namespace Zn
{

bool Patience::Wait(const Socket& ASocket, Direction ADirection, std::uint64_t ATransferred,
                    const std::atomic<bool>& AAbandoned, std::uint32_t ATransferWait,
                    std::uint32_t AMinBytesPerSecond)
{
    const bool ForWrite = ADirection == Direction::Write || ASocket.WantsWrite();
    constexpr std::int64_t Slice = 200; // ms until AAbandoned is looked at again
    const std::uint64_t Wanted =
        std::max<std::uint64_t>(1, std::uint64_t{AMinBytesPerSecond} * ATransferWait / 1000);
    for (;;) {
        if (AAbandoned.load())
            return false;
        if (FWaited >= ATransferWait) {
            if (ATransferred - FTransferredBefore < Wanted)
                return false;
            FWaited = 0;
            FTransferredBefore = ATransferred;
        }
        const auto Step = static_cast<std::uint32_t>(std::min<std::int64_t>(Slice, ATransferWait - FWaited));
        const std::int64_t Before = CoarseNow();
        const bool Ready = ForWrite ? WaitWritable(ASocket.Fd(), Step) : WaitReadable(ASocket.Fd(), Step);
        FWaited += Ready ? CoarseNow() - Before : Step;
        if (Ready)
            return true;
    }
}

} // namespace Zn
