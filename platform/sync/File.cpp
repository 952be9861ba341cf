#include "platform/sync/File.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

THandle OpenFileForRead(const std::string& AFileName)
{
    // O_NONBLOCK: a FIFO of that name must not hold the caller until somebody writes to it. It means
    // nothing to a regular file.
    int Fd = open(AFileName.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (Fd < 0) {
        SetLastError(FromErrno(errno));
        return 0;
    }
    struct stat Status;
    if (fstat(Fd, &Status) != 0 || S_ISDIR(Status.st_mode)) {
        close(Fd);
        SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    }
    return HandleFromFd(Fd);
}
