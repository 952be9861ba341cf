#include "tools/zn/FileWatch.h"

#include <sys/stat.h>
#include <utility>

namespace Zn
{

TFileWatch::TFileWatch(std::vector<std::string> AFiles) : FFiles(std::move(AFiles))
{
    Acknowledge();
}

void TFileWatch::Acknowledge()
{
    FKnown = FSeen = Look();
}

bool TFileWatch::HasChanged()
{
    const std::vector<TIdentity> Now = Look();
    const bool IsSettled = Now == std::exchange(FSeen, Now);
    if (!IsSettled || Now == FKnown)
        return false;
    FKnown = Now;
    return true;
}

/// A file that isn't there is one of its own kind.
std::vector<TFileWatch::TIdentity> TFileWatch::Look() const
{
    std::vector<TIdentity> Result;
    for (const std::string& Each : FFiles) {
        struct stat Info
        {
        };
        if (stat(Each.c_str(), &Info) != 0)
            Info = {};
        Result.emplace_back(Info.st_dev, Info.st_ino, Info.st_size, Info.st_mtim.tv_sec,
                            Info.st_mtim.tv_nsec);
    }
    return Result;
}

} // namespace Zn
