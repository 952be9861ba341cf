// Starts the user's browser. A file of its own: the one place where the library starts a program.

#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/System.h"
#include "common/Text.h"

namespace
{

/// Starts AProgram in a session of its own, silent. False when it can't be started.
bool StartProgram(const std::string& AProgram, const std::string& AArgument)
{
    posix_spawn_file_actions_t Actions;
    posix_spawn_file_actions_init(&Actions);
    posix_spawn_file_actions_addopen(&Actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&Actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&Actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t Attributes;
    posix_spawnattr_init(&Attributes);
    posix_spawnattr_setflags(&Attributes, POSIX_SPAWN_SETSID);

    std::string Program = AProgram;
    std::string Argument = AArgument;
    char* Arguments[] = {Program.data(), Argument.data(), nullptr};
    pid_t Pid = 0;
    int Error = posix_spawnp(&Pid, Program.c_str(), &Actions, &Attributes, Arguments, environ);
    posix_spawn_file_actions_destroy(&Actions);
    posix_spawnattr_destroy(&Attributes);
    if (Error != 0)
        return false;
    std::thread([Pid] { waitpid(Pid, nullptr, 0); }).detach(); // else it stays as a zombie
    return true;
}

} // namespace

bool ZnShellExecOpenWebSite(const std::string& AUrl)
{
    if (!StartsText("http://", AUrl) && !StartsText("https://", AUrl))
        return false;
    if (const char* Browsers = std::getenv("BROWSER")) {
        for (const std::string& Browser : ZnTokenize(Browsers, ':')) {
            if (!Browser.empty() && StartProgram(Browser, AUrl))
                return true;
        }
    }
    return StartProgram("xdg-open", AUrl);
}
