#include "platform/state/StateFolder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

namespace Zn
{
namespace
{

constexpr std::chrono::seconds LockWait{10};
constexpr std::chrono::milliseconds LongestPause{20};

/// To whoever asked, a folder that may not be written is one matter, whatever the reason.
std::uint32_t Number(int AErrno)
{
    return AErrno == EROFS || AErrno == EPERM ? ERROR_ACCESS_DENIED : FromErrno(AErrno);
}

class Descriptor
{
public:
    Descriptor(const std::string& APath, int AFlags, mode_t AMode = 0)
        : FFd(open(APath.c_str(), AFlags | O_CLOEXEC, AMode))
    {
    }
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return FFd; }
    bool Close()
    {
        const int Fd = std::exchange(FFd, -1);
        return Fd < 0 || close(Fd) == 0;
    }

private:
    int FFd;
};

bool WriteAll(int AFd, std::string_view AText)
{
    while (!AText.empty()) {
        const ssize_t Written = write(AFd, AText.data(), AText.size());
        if (Written < 0 && errno != EINTR)
            return false;
        AText.remove_prefix(Written > 0 ? static_cast<std::size_t>(Written) : 0);
    }
    return true;
}

std::string HomeFolder()
{
    if (const char* const Home = secure_getenv("HOME"); Home != nullptr && *Home == '/')
        return Home;
    char Buffer[4096];
    passwd Entry{};
    passwd* Found = nullptr;
    getpwuid_r(geteuid(), &Entry, Buffer, sizeof Buffer, &Found);
    return Found != nullptr ? Found->pw_dir : "/";
}

} // namespace

std::string StateFolder()
{
    std::string Result;
    if (const char* const Told = secure_getenv("ZN_STATE_DIR"); Told != nullptr && *Told != '\0')
        Result = Told;
    else if (geteuid() == 0)
        Result = "/var/lib/zn";
    else if (const char* const State = secure_getenv("XDG_STATE_HOME"); State != nullptr && *State == '/')
        Result = std::string(State) + "/zn";
    else
        Result = HomeFolder() + "/.local/state/zn";
    while (Result.size() > 1 && Result.ends_with('/'))
        Result.pop_back();
    return Result;
}

std::uint32_t MakeFolder(const std::string& APath, mode_t AMode)
{
    std::error_code Error;
    if (std::filesystem::is_directory(APath, Error))
        return NO_ERROR;
    if (const auto Parent = std::filesystem::path(APath).parent_path(); !Parent.empty())
        std::filesystem::create_directories(Parent, Error); // what fails here fails below as well
    if (mkdir(APath.c_str(), AMode) == 0 || errno == EEXIST)
        return NO_ERROR;
    return Number(errno);
}

std::uint32_t ReadFile(const std::string& APath, std::size_t AMaxLength, std::string& AText)
{
    AText.clear();
    // A FIFO must not keep a reader waiting.
    const Descriptor Fd(APath, O_RDONLY | O_NONBLOCK);
    if (Fd < 0)
        return Number(errno);
    char Buffer[16384];
    for (;;) {
        const ssize_t Count = read(Fd, Buffer, sizeof Buffer);
        if (Count == 0)
            return NO_ERROR;
        if (Count < 0 && errno != EINTR)
            return Number(errno);
        if (Count > 0)
            AText.append(Buffer, static_cast<std::size_t>(Count));
        if (AText.size() > AMaxLength)
            return ERROR_FILE_TOO_LARGE;
    }
}

std::uint32_t ReplaceFile(const std::string& APath, std::string_view AText, mode_t AMode)
{
    const std::string Temporary = APath + ".new"; // one name: a crash leaves one file at most
    unlink(Temporary.c_str());
    Descriptor File(Temporary, O_WRONLY | O_CREAT | O_EXCL, AMode);
    if (File < 0)
        return Number(errno);
    if (WriteAll(File, AText) && fsync(File) == 0 && File.Close() &&
        rename(Temporary.c_str(), APath.c_str()) == 0) {
        // From here on the new text stands; the folder's own sync only hastens it to the disk.
        if (const Descriptor Folder(std::filesystem::path(APath).parent_path(), O_RDONLY | O_DIRECTORY);
            Folder >= 0)
            fsync(Folder);
        return NO_ERROR;
    }
    const std::uint32_t Result = Number(errno);
    unlink(Temporary.c_str());
    return Result;
}

StateLock::StateLock() : FError(MakeFolder(StateFolder(), 0755))
{
    if (FError != NO_ERROR)
        return;
    FFd = open((StateFolder() + "/configuration.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (FFd < 0) {
        FError = Number(errno);
        return;
    }
    const auto End = std::chrono::steady_clock::now() + LockWait;
    std::chrono::milliseconds Pause{1};
    while (flock(FFd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            FError = Number(errno);
        else if (std::chrono::steady_clock::now() >= End)
            FError = ERROR_BUSY;
        if (FError != NO_ERROR)
            return;
        std::this_thread::sleep_for(Pause); // a blocking flock knows no limit
        Pause = std::min(Pause * 2, LongestPause);
    }
}

StateLock::~StateLock()
{
    if (FFd >= 0)
        close(FFd);
}

} // namespace Zn
