#include "platform/pipes/OpenPipe.h"

#include <algorithm>
#include <random>

#include <poll.h>

#include "platform/errors/Errors.h"
#include "platform/pipes/PipeFolder.h"
#include "platform/pipes/PipeSocket.h"
#include "platform/pipes/ssh/Logons.h"
#include "platform/sync/Deadline.h"

namespace Zn
{

namespace
{

// Between two looks for a free instance. An instance is free for as long as one client needs to come, so the
// many that wait look at moments of their own.
constexpr int cFirstPause = 1;
constexpr int cLongestPause = 16;

std::uint32_t OpenLocal(const PipeName& AName, std::shared_ptr<PipeStream>& AStream)
{
    const std::string File = AName.FileName();
    std::uint32_t Error = ERROR_FILE_NOT_FOUND;
    for (const std::string& Folder : PipeFolders()) {
        FileDescriptor Socket;
        Error = ConnectSocket(Folder + "/" + File, Socket);
        if (Error == NO_ERROR)
            AStream = std::make_shared<PipeStream>(std::move(Socket));
        if (Error != ERROR_FILE_NOT_FOUND)
            break;
    }
    return Error;
}

std::uint32_t OpenRemote(const PipeName& AName, std::shared_ptr<PipeStream>& AStream)
{
    std::unique_ptr<SshSession> Session;
    const std::uint32_t Error = OpenSession(AName.Host, Session);
    return Error != NO_ERROR ? Error : SshSession::OpenPipe(std::move(Session), AName.FileName(), AStream);
}

} // namespace

std::uint32_t OpenPipe(const PipeName& AName, std::shared_ptr<PipeStream>& AStream)
{
    return AName.Host.empty() ? OpenLocal(AName, AStream) : OpenRemote(AName, AStream);
}

std::uint32_t OpenPipeWithin(const PipeName& AName, std::uint32_t AMilliseconds,
                             std::shared_ptr<PipeStream>& AStream)
{
    const Deadline Limit(AMilliseconds);
    std::minstd_rand Random(std::random_device{}());
    for (int Pause = cFirstPause;; Pause = std::min(2 * Pause, cLongestPause)) {
        const std::uint32_t Error = OpenPipe(AName, AStream);
        if (Error != ERROR_PIPE_BUSY)
            return Error;
        if (Limit.HasPassed())
            return ERROR_SEM_TIMEOUT;
        // Another host is asked by a whole session each time, and where it takes long anyway.
        if (!AName.Host.empty())
            Pause = cLongestPause * 16;
        poll(nullptr, 0, 1 + static_cast<int>(Random() % static_cast<unsigned>(Pause)));
    }
}

} // namespace Zn
