#include "uZnHTTPServer/FileVersion.h"

#include <sys/stat.h>

namespace Zn
{
namespace
{

std::int64_t Nanoseconds(const timespec& ATime)
{
    return std::int64_t{ATime.tv_sec} * 1'000'000'000 + ATime.tv_nsec;
}

std::optional<FileVersion> VersionOf(const struct stat& AStatus)
{
    if (!S_ISREG(AStatus.st_mode))
        return std::nullopt;
    return FileVersion{AStatus.st_dev, AStatus.st_ino, AStatus.st_size, Nanoseconds(AStatus.st_mtim),
                       Nanoseconds(AStatus.st_ctim)};
}

} // namespace

std::optional<FileVersion> VersionOf(const std::string& AFileName)
{
    struct stat Status;
    return stat(AFileName.c_str(), &Status) == 0 ? VersionOf(Status) : std::nullopt;
}

std::optional<FileVersion> VersionOf(int ADescriptor)
{
    struct stat Status;
    return fstat(ADescriptor, &Status) == 0 ? VersionOf(Status) : std::nullopt;
}

} // namespace Zn
