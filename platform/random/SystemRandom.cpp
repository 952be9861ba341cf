#include "platform/random/SystemRandom.h"

#include <cerrno>

#include <sys/random.h>

#include "platform/errors/Errors.h"

namespace Zn
{

std::uint32_t FillWithRandom(std::span<std::byte> ABytes)
{
    while (!ABytes.empty()) {
        const ssize_t Filled = getrandom(ABytes.data(), ABytes.size(), 0);
        if (Filled < 0 && errno != EINTR) // a signal may end a long fill early
            return FromErrno(errno);
        if (Filled > 0)
            ABytes = ABytes.subspan(static_cast<std::size_t>(Filled));
    }
    return NO_ERROR;
}

} // namespace Zn
