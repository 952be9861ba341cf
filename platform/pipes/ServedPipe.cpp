#include "platform/pipes/ServedPipe.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <map>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "platform/errors/Errors.h"
#include "platform/pipes/PipeFolder.h"
#include "platform/pipes/PipeSocket.h"
#include "platform/sync/Deadline.h"

namespace Zn
{

namespace
{

constexpr const char* cUnnamed = ".zn-"; // a name that no pipe has
constexpr std::uint32_t cFolderLockTime = 1000;
constexpr std::time_t cLeftOverAge = 60;

struct Registry
{
    Mutex Lock;
    std::map<std::string, std::weak_ptr<ServedPipe>> Pipes ZN_GUARDED_BY(Lock);
};

/// Lives as long as the process: pipes may be closed while static objects are destroyed.
Registry& Served()
{
    static auto* Instance = new Registry;
    return *Instance;
}

/// Keeps other processes from taking a name in the folder between the look and the rename.
class FolderLock
{
public:
    explicit FolderLock(const std::string& AFolder)
        : FFolder(open(AFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
    }

    bool Take()
    {
        const Deadline Limit(cFolderLockTime);
        while (FFolder && flock(FFolder.Get(), LOCK_EX | LOCK_NB) != 0) {
            if (Limit.HasPassed())
                return false;
            poll(nullptr, 0, 1);
        }
        return static_cast<bool>(FFolder);
    }

private:
    FileDescriptor FFolder; // closing it lets go of the lock
};

std::string UnnamedFile()
{
    static std::atomic<std::uint32_t> Counter{0};
    return cUnnamed + std::to_string(getpid()) + "-" + std::to_string(++Counter);
}

/// Sockets that a process bound and could not name any more. Young ones may just be on their way.
void SweepLeftOvers(const std::string& AFolder)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> Folder(opendir(AFolder.c_str()), closedir);
    const std::string_view Prefix = cUnnamed;
    while (const dirent* Entry = Folder ? readdir(Folder.get()) : nullptr) {
        if (!std::string_view(Entry->d_name).starts_with(Prefix))
            continue;
        const std::string Path = AFolder + "/" + Entry->d_name;
        struct stat Info;
        if (lstat(Path.c_str(), &Info) == 0 && Info.st_mtime + cLeftOverAge < std::time(nullptr) &&
            ProbeSocket(Path) == SocketLife::Stale)
            unlink(Path.c_str());
    }
}

/// Something that no pipe left there, and that none may replace.
bool IsOtherFile(const std::string& APath)
{
    struct stat Info;
    return lstat(APath.c_str(), &Info) == 0 && !S_ISSOCK(Info.st_mode);
}

} // namespace

std::uint32_t ServedPipe::AddInstance(const std::string& AFile, unsigned AMode, Instance& AInstance)
{
    if (AFile.size() > NAME_MAX)
        return ERROR_FILENAME_EXCED_RANGE;
    std::string Folder;
    if (const std::uint32_t Error = MakePipeFolder(Folder); Error != NO_ERROR)
        return Error;
    const std::string Path = Folder + "/" + AFile;
    std::shared_ptr<ServedPipe> Pipe; // before the lock, which its destructor takes
    MutexLock Lock(Served().Lock);
    auto& Entry = Served().Pipes[Path];
    if ((Pipe = Entry.lock())) {
        AInstance.Pipe = Pipe;
        return Pipe->Open(AInstance.Entrance);
    }
    FolderLock OneAtATime(Folder);
    if (!OneAtATime.Take())
        return errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_BUSY;
    if (ProbeSocket(Path) == SocketLife::Alive || IsOtherFile(Path))
        return ERROR_ALREADY_EXISTS;
    SweepLeftOvers(Folder);
    Pipe = std::make_shared<ServedPipe>(Folder, AFile, AMode);
    if (const std::uint32_t Error = Pipe->Open(AInstance.Entrance); Error != NO_ERROR)
        return Error;
    Entry = Pipe;
    AInstance.Pipe = Pipe;
    return NO_ERROR;
}

ServedPipe::~ServedPipe()
{
    {
        MutexLock Lock(FMutex);
        struct stat Info;
        if (FAtPath && lstat(Path().c_str(), &Info) == 0 && Info.st_ino == FInode)
            unlink(Path().c_str());
    }
    MutexLock Lock(Served().Lock);
    if (auto Entry = Served().Pipes.find(Path()); Entry != Served().Pipes.end() && Entry->second.expired())
        Served().Pipes.erase(Entry);
}

std::uint32_t ServedPipe::Open(std::shared_ptr<Door>& ADoor)
{
    auto New = std::make_shared<Door>();
    New->File = UnnamedFile();
    if (const std::uint32_t Error = ListenAt(FFolder, New->File, FMode, New->Socket); Error != NO_ERROR)
        return Error;
    MutexLock Lock(FMutex);
    if (FWaiting.empty()) {
        if (const std::uint32_t Error = PutAtPath(New); Error != NO_ERROR) {
            unlink((FFolder + "/" + New->File).c_str());
            return Error;
        }
    }
    FWaiting.push_back(New);
    ADoor = std::move(New);
    return NO_ERROR;
}

std::uint32_t ServedPipe::PutAtPath(const std::shared_ptr<Door>& ADoor)
{
    struct stat Info;
    const std::string From = FFolder + "/" + ADoor->File;
    if (lstat(From.c_str(), &Info) != 0 || rename(From.c_str(), Path().c_str()) != 0)
        return FromErrno(errno);
    FInode = Info.st_ino;
    ADoor->File.clear();
    FAtPath = ADoor;
    return NO_ERROR;
}

FileDescriptor ServedPipe::Accept(Door& ADoor)
{
    MutexLock Lock(FMutex);
    pollfd Entry{ADoor.Socket.Get(), POLLIN, 0};
    if (poll(&Entry, 1, 0) <= 0 || !(Entry.revents & POLLIN)) {
        errno = EAGAIN;
        return {};
    }
    shutdown(ADoor.Socket.Get(), SHUT_RDWR);
    FileDescriptor Client(accept4(ADoor.Socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    const int Error = errno;
    Forget(ADoor);
    errno = Error;
    return Client;
}

void ServedPipe::Close(Door& ADoor)
{
    MutexLock Lock(FMutex);
    shutdown(ADoor.Socket.Get(), SHUT_RDWR);
    // A client that came at the last moment must not wait for an answer for ever.
    FileDescriptor(accept4(ADoor.Socket.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    Forget(ADoor);
}

void ServedPipe::Forget(Door& ADoor)
{
    std::erase_if(FWaiting, [&](const std::shared_ptr<Door>& AWaiting) { return AWaiting.get() == &ADoor; });
    if (!ADoor.File.empty())
        unlink((FFolder + "/" + ADoor.File).c_str());
    ADoor.File.clear();
    if (!FWaiting.empty() && !FWaiting.front()->File.empty())
        PutAtPath(FWaiting.front()); // else clients go on finding the pipe busy
}

} // namespace Zn
