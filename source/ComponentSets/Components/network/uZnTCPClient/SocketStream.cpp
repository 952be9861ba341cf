#include "uZnTCPClient/SocketStream.h"

#include "common/Exceptions.h"
#include "platform/errors/Errors.h"

namespace
{

[[noreturn]] void RaiseNoSeek()
{
    throw EStreamError("A connection has no positions!");
}

} // namespace

bool TWinSocketStream::WaitForData(std::int32_t ATimeout)
{
    return FSocket.FSocket.FSocket.WaitForData(std::chrono::milliseconds(ATimeout));
}

std::int64_t TWinSocketStream::Read(void* ABuffer, std::int64_t ACount)
{
    std::size_t Count = 0;
    const std::uint32_t Error =
        FSocket.FSocket.FSocket.Receive(ABuffer, static_cast<std::size_t>(ACount), FTimeOut, Count);
    if (Error == WSAETIMEDOUT)
        return 0;
    if (Error != NO_ERROR)
        FSocket.RaiseError(Error, "The connection failed while reading!");
    if (Count == 0 && ACount > 0)
        FSocket.Close();
    return static_cast<std::int64_t>(Count);
}

std::int64_t TWinSocketStream::Write(const void* ABuffer, std::int64_t ACount)
{
    const auto* Bytes = static_cast<const char*>(ABuffer);
    std::int64_t Done = 0;
    while (Done < ACount) {
        std::size_t Count = 0;
        const std::uint32_t Error = FSocket.FSocket.FSocket.Send(
            Bytes + Done, static_cast<std::size_t>(ACount - Done), FTimeOut, Count);
        if (Error != NO_ERROR)
            FSocket.RaiseError(Error, "The connection failed while writing!");
        Done += static_cast<std::int64_t>(Count);
    }
    return Done;
}

std::int64_t TWinSocketStream::Seek(std::int64_t, TSeekOrigin)
{
    RaiseNoSeek();
}

std::int64_t TWinSocketStream::GetSize() const
{
    RaiseNoSeek();
}

void TWinSocketStream::SetSize(std::int64_t)
{
    RaiseNoSeek();
}
