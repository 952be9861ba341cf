#include "platform/pipes/PipeSocket.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "platform/errors/Errors.h"

namespace
{

/// A path as an address. One that is too long for it is reached through a descriptor of the file (or, for a
/// file that is to be made, of its folder), whose name under /proc is short.
class SocketAddress
{
public:
    /// An existing socket.
    explicit SocketAddress(const std::string& APath)
    {
        if (Fits(APath)) {
            Set(APath);
            return;
        }
        FHolder = Zn::FileDescriptor(open(APath.c_str(), O_PATH | O_CLOEXEC));
        if (FHolder)
            Set("/proc/self/fd/" + std::to_string(FHolder.Get()));
    }

    /// A socket that is to be made.
    SocketAddress(const std::string& AFolder, const std::string& AFile)
    {
        if (Fits(AFolder + "/" + AFile)) {
            Set(AFolder + "/" + AFile);
            return;
        }
        FHolder = Zn::FileDescriptor(open(AFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (FHolder)
            Set("/proc/self/fd/" + std::to_string(FHolder.Get()) + "/" + AFile);
    }

    /// False with errno set.
    bool IsSet() const { return FLength != 0; }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&FAddress); }
    socklen_t Length() const { return FLength; }

private:
    bool Fits(const std::string& APath) const { return APath.size() < sizeof(FAddress.sun_path); }
    void Set(const std::string& APath)
    {
        FAddress.sun_family = AF_UNIX;
        std::memcpy(FAddress.sun_path, APath.c_str(), APath.size() + 1);
        FLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + APath.size() + 1);
    }

    sockaddr_un FAddress{};
    socklen_t FLength = 0;
    Zn::FileDescriptor FHolder;
};

bool SetBlocking(int AFd)
{
    const int Flags = fcntl(AFd, F_GETFL);
    return Flags >= 0 && fcntl(AFd, F_SETFL, Flags & ~O_NONBLOCK) == 0;
}

} // namespace

Zn::SocketLife Zn::ProbeSocket(const std::string& APath)
{
    const SocketAddress Address(APath);
    const FileDescriptor Probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!Address.IsSet() || !Probe)
        return errno == ENOENT || errno == ENOTDIR ? SocketLife::Missing : SocketLife::Alive;
    if (connect(Probe.Get(), Address.Get(), Address.Length()) == 0)
        return SocketLife::Alive; // somebody else's datagram socket
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return SocketLife::Missing;
    case ECONNREFUSED:
        return SocketLife::Stale;
    default:
        return SocketLife::Alive; // EPROTOTYPE; what can't be asked is left alone
    }
}

std::uint32_t Zn::ConnectSocket(const std::string& APath, FileDescriptor& ASocket)
{
    const SocketAddress Address(APath);
    if (!Address.IsSet())
        return FromErrno(errno);
    // Non-blocking: a full queue of an instance is told by EAGAIN at once.
    FileDescriptor Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!Socket)
        return FromErrno(errno);
    if (connect(Socket.Get(), Address.Get(), Address.Length()) == 0) {
        if (!SetBlocking(Socket.Get()))
            return FromErrno(errno);
        ASocket = std::move(Socket);
        return NO_ERROR;
    }
    switch (errno) {
    case EAGAIN:
        return ERROR_PIPE_BUSY;
    case ECONNREFUSED: // taken, and no next instance yet; or left by a dead process
        return ProbeSocket(APath) == SocketLife::Alive ? ERROR_PIPE_BUSY : ERROR_FILE_NOT_FOUND;
    case ENOENT:
    case ENOTDIR:
    case EPROTOTYPE: // a socket, but no pipe
        return ERROR_FILE_NOT_FOUND;
    default:
        return FromErrno(errno);
    }
}

std::uint32_t Zn::ListenAt(const std::string& AFolder, const std::string& AFile, unsigned AMode,
                           FileDescriptor& ASocket)
{
    const SocketAddress Address(AFolder, AFile);
    if (!Address.IsSet())
        return FromErrno(errno);
    const std::string Path = AFolder + "/" + AFile;
    FileDescriptor Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // A backlog of 0 has room for one client: the next one is told that the pipe is busy.
    if (!Socket || bind(Socket.Get(), Address.Get(), Address.Length()) != 0 ||
        chmod(Path.c_str(), AMode) != 0 || listen(Socket.Get(), 0) != 0) {
        const std::uint32_t Error = FromErrno(errno);
        unlink(Path.c_str());
        return Error;
    }
    ASocket = std::move(Socket);
    return NO_ERROR;
}
