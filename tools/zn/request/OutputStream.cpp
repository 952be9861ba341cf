#include "tools/zn/request/OutputStream.h"

#include <cerrno>

#include <unistd.h>

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/errors/Errors.h"

namespace Zn
{

std::int64_t TOutputStream::Read(void*, std::int64_t)
{
    throw EReadError("Standard output can't be read");
}

std::int64_t TOutputStream::Write(const void* ABuffer, std::int64_t ACount)
{
    const auto* Bytes = static_cast<const char*>(ABuffer);
    for (std::int64_t Left = ACount; Left > 0;) {
        const ssize_t Count = write(STDOUT_FILENO, Bytes, static_cast<std::size_t>(Left));
        if (Count < 0 && errno == EINTR)
            continue;
        if (Count < 0)
            throw EWriteError("Cannot write to standard output. " + SysErrorMessage(FromErrno(errno)));
        Bytes += Count;
        Left -= Count;
        FWritten += Count;
    }
    return ACount;
}

std::int64_t TOutputStream::Seek(std::int64_t AOffset, TSeekOrigin AOrigin)
{
    const std::int64_t Position = AOrigin == soBeginning ? AOffset : FWritten + AOffset;
    if (Position != FWritten)
        throw EStreamError("Standard output has no positions");
    return Position;
}

void TOutputStream::SetSize(std::int64_t)
{
    throw EStreamError("Standard output has no positions");
}

} // namespace Zn
