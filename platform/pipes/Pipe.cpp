#include "platform/pipes/Pipe.h"

#include <cerrno>

#include <poll.h>

#include "platform/errors/Errors.h"

namespace Zn
{

Pipe::~Pipe()
{
    End(ERROR_INVALID_HANDLE);
}

std::uint32_t Pipe::BeginConnect()
{
    MutexLock Lock(FMutex);
    if (!IsServer())
        return ERROR_BAD_PIPE;
    if (FClosed)
        return ERROR_INVALID_HANDLE;
    if (FStream)
        return ERROR_PIPE_CONNECTED;
    if (!FInstance.Entrance) {
        const std::uint32_t Error = ServedPipe::AddInstance(FFile, FMode, FInstance);
        if (Error != NO_ERROR)
            return Error;
    }
    const std::uint32_t Error = AcceptClient();
    return Error == NO_ERROR ? ERROR_PIPE_CONNECTED : Error;
}

std::uint32_t Pipe::AcceptClient()
{
    FileDescriptor Client = FInstance.Pipe->Accept(*FInstance.Entrance);
    if (!Client)
        return errno == EAGAIN ? ERROR_IO_PENDING : ERROR_PIPE_NOT_CONNECTED;
    FInstance.Entrance.reset();
    FStream = std::make_shared<PipeStream>(std::move(Client), FInstance.Pipe->Turns());
    return NO_ERROR;
}

std::uint32_t Pipe::FinishConnect(int AEvent, bool AWait)
{
    for (;;) {
        std::shared_ptr<ServedPipe::Door> Door; // keeps the socket open while this thread waits for it
        {
            MutexLock Lock(FMutex);
            if (FClosed)
                return ERROR_INVALID_HANDLE;
            if (FStream)
                return NO_ERROR;
            Door = FInstance.Entrance;
            if (!Door)
                return ERROR_PIPE_NOT_CONNECTED;
            if (const std::uint32_t Error = AcceptClient(); Error != ERROR_IO_PENDING)
                return Error;
        }
        pollfd Entries[] = {{Door->Socket.Get(), POLLIN, 0}, {AEvent, POLLIN, 0}};
        if (poll(Entries, 2, AWait ? -1 : 0) < 0 && errno != EINTR)
            return FromErrno(errno);
        if (Entries[1].revents != 0 || (!AWait && Entries[0].revents == 0))
            return ERROR_IO_INCOMPLETE;
    }
}

std::uint32_t Pipe::Disconnect()
{
    if (!IsServer())
        return ERROR_BAD_PIPE;
    End(ERROR_PIPE_NOT_CONNECTED);
    return NO_ERROR;
}

void Pipe::End(std::uint32_t AError)
{
    MutexLock Lock(FMutex);
    if (AError == ERROR_INVALID_HANDLE)
        FClosed = true;
    if (FInstance.Entrance)
        FInstance.Pipe->Close(*FInstance.Entrance);
    FInstance.Entrance.reset();
    if (FStream)
        FStream->End(AError);
    FStream.reset(); // a thread that is in a call has its own reference
    if (FClosed)
        FInstance.Pipe.reset();
}

std::shared_ptr<PipeStream> Pipe::Stream()
{
    MutexLock Lock(FMutex);
    return FStream;
}

} // namespace Zn
