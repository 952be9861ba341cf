#include "uZnHTTPServer/PageWriteBack.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "platform/errors/Errors.h"

namespace Zn
{
namespace
{

constexpr mode_t cPermissions = 0777; // a page has no use for set-user-id

[[noreturn]] void RaiseFor(const std::string& AFileName, int AError = errno)
{
    throw EStreamError("Cannot replace file \"" + AFileName + "\". " + SysErrorText(FromErrno(AError)));
}

/// A new file beside the old one; gone with its holder unless it took the old one's place.
class Successor
{
public:
    explicit Successor(const std::string& AFileName)
        : FFileName(AFileName),
          FName((std::filesystem::path(AFileName).parent_path() / ".zn-XXXXXX").string()),
          FFd(mkostemp(FName.data(), O_CLOEXEC))
    {
        if (FFd < 0)
            RaiseFor(FFileName);
    }
    ~Successor()
    {
        close(FFd);
        if (!FInPlace)
            unlink(FName.c_str());
    }
    Successor(const Successor&) = delete;
    Successor& operator=(const Successor&) = delete;

    void Write(std::string_view ABytes)
    {
        while (!ABytes.empty()) {
            const ssize_t Count = write(FFd, ABytes.data(), ABytes.size());
            if (Count >= 0)
                ABytes.remove_prefix(static_cast<std::size_t>(Count));
            else if (errno != EINTR)
                RaiseFor(FFileName);
        }
    }

    /// Owner first: giving a file away may take permissions from it.
    void TakeOver(const struct stat& AStatus)
    {
        const bool SameOwner = fchown(FFd, AStatus.st_uid, AStatus.st_gid) == 0;
        static_cast<void>(SameOwner); // not every process may give files away
        if (fchmod(FFd, AStatus.st_mode & cPermissions) != 0)
            RaiseFor(FFileName);
    }

    /// The bytes reach the disk ahead of the name: after a power failure the name must not stand for an
    /// empty file.
    void PutInPlace()
    {
        if (fsync(FFd) != 0 || rename(FName.c_str(), FFileName.c_str()) != 0)
            RaiseFor(FFileName);
        FInPlace = true;
    }

private:
    const std::string& FFileName;
    std::string FName;
    int FFd;
    bool FInPlace = false;
};

} // namespace

void ReplaceFile(const std::string& AFileName, const FileVersion& AExpected, std::string_view ABytes)
{
    std::error_code Error;
    const std::string Real = std::filesystem::canonical(AFileName, Error).string();
    struct stat Status;
    if (Error)
        RaiseFor(AFileName, Error.value());
    if (stat(Real.c_str(), &Status) != 0)
        RaiseFor(AFileName);
    if (VersionOf(Real) != AExpected)
        return;
    Successor New(Real);
    New.Write(ABytes);
    New.TakeOver(Status);
    if (VersionOf(Real) == AExpected) // writing took its time
        New.PutInPlace();
}

} // namespace Zn
