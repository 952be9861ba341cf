#include "platform/pipes/PipeFolder.h"

#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/errors/Errors.h"

namespace
{

constexpr const char* cMachineFolder = "/run/zn-pipes";

std::string Setting(const char* AName)
{
    const char* Value = std::getenv(AName);
    return Value ? Value : "";
}

std::string UserFolder()
{
    std::string Runtime = Setting("XDG_RUNTIME_DIR");
    if (Runtime.empty())
        Runtime = "/run/user/" + std::to_string(getuid());
    return Runtime + "/zn-pipes";
}

bool IsUsable(const std::string& AFolder)
{
    struct stat Info;
    return stat(AFolder.c_str(), &Info) == 0 && S_ISDIR(Info.st_mode) &&
           access(AFolder.c_str(), W_OK | X_OK) == 0;
}

bool Make(const std::string& AFolder, mode_t AMode)
{
    // The mode is set by a call of its own: mkdir takes the umask off it.
    return mkdir(AFolder.c_str(), 0700) == 0 && chmod(AFolder.c_str(), AMode) == 0;
}

} // namespace

std::vector<std::string> Zn::PipeFolders()
{
    if (const std::string Set = Setting("ZN_PIPE_DIR"); !Set.empty())
        return {Set};
    return {cMachineFolder, UserFolder()};
}

std::uint32_t Zn::MakePipeFolder(std::string& AFolder)
{
    std::uint32_t Error = ERROR_PATH_NOT_FOUND;
    for (const std::string& Folder : PipeFolders()) {
        if (IsUsable(Folder) || Make(Folder, Folder == cMachineFolder ? 01777 : 0700) || IsUsable(Folder)) {
            AFolder = Folder;
            return NO_ERROR;
        }
        if (access(Folder.c_str(), F_OK) == 0)
            Error = ERROR_ACCESS_DENIED;
    }
    return Error;
}
