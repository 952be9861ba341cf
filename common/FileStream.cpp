#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "platform/errors/Errors.h"

namespace
{

[[noreturn]] void RaiseStreamError()
{
    throw EStreamError(SysErrorText(FromErrno(errno)));
}

int OpenFile(const std::string& AFileName, std::uint32_t AMode)
{
    const bool Create = (AMode & fmCreate) == fmCreate;
    int Flags = O_RDWR | O_CREAT | O_TRUNC;
    if (!Create)
        Flags = (AMode & 3) == fmOpenRead ? O_RDONLY : (AMode & 3) == fmOpenWrite ? O_WRONLY : O_RDWR;
    int Fd = -1;
    errno = ENOENT;
    // The system would take a name up to its NUL for the whole, and open another file than was asked for.
    if (AFileName.find('\0') == std::string::npos)
        Fd = open(AFileName.c_str(), Flags | O_CLOEXEC, 0666);
    struct stat Status;
    if (Fd >= 0 && fstat(Fd, &Status) == 0 && S_ISDIR(Status.st_mode)) {
        close(Fd);
        Fd = -1;
        errno = EACCES;
    }
    if (Fd >= 0)
        return Fd;

    const int Error = errno;
    const std::string Reason = SysErrorText(FromErrno(Error));
    if (Create)
        throw EFCreateError("Cannot create file \"" + AFileName + "\". " + Reason);
    const std::string Text = "Cannot open file \"" + AFileName + "\". " + Reason;
    if (Error == ENOENT || Error == ENOTDIR)
        throw EFileNotFoundException(Text);
    throw EFOpenError(Text);
}

} // namespace

TFileStream::TFileStream(const std::string& AFileName, std::uint32_t AMode)
    : FFileName(AFileName), FFd(OpenFile(AFileName, AMode))
{
}

TFileStream::~TFileStream()
{
    close(FFd);
}

std::int64_t TFileStream::Read(void* ABuffer, std::int64_t ACount)
{
    std::int64_t Total = 0;
    while (Total < ACount) {
        ssize_t Count =
            read(FFd, static_cast<std::byte*>(ABuffer) + Total, static_cast<std::size_t>(ACount - Total));
        if (Count > 0)
            Total += Count;
        else if (Count == 0 || errno != EINTR)
            break;
    }
    return Total;
}

std::int64_t TFileStream::Write(const void* ABuffer, std::int64_t ACount)
{
    std::int64_t Total = 0;
    while (Total < ACount) {
        ssize_t Count = write(FFd, static_cast<const std::byte*>(ABuffer) + Total,
                              static_cast<std::size_t>(ACount - Total));
        if (Count > 0)
            Total += Count;
        else if (Count == 0 || errno != EINTR)
            break;
    }
    return Total;
}

std::int64_t TFileStream::Seek(std::int64_t AOffset, TSeekOrigin AOrigin)
{
    const int Whence = AOrigin == soBeginning ? SEEK_SET : AOrigin == soCurrent ? SEEK_CUR : SEEK_END;
    const off_t Position = lseek(FFd, AOffset, Whence);
    if (Position < 0)
        RaiseStreamError();
    return Position;
}

std::int64_t TFileStream::GetSize() const
{
    struct stat Status;
    if (fstat(FFd, &Status) != 0)
        RaiseStreamError();
    return Status.st_size;
}

void TFileStream::SetSize(std::int64_t ASize)
{
    if (ftruncate(FFd, ASize) != 0)
        RaiseStreamError();
    if (GetPosition() > ASize)
        SetPosition(ASize);
}
