#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/Exceptions.h"
#include "tools/zn/pipe/PipeTools.h"

namespace
{

struct Descriptor
{
    int Fd = -1;
    ~Descriptor()
    {
        if (Fd >= 0)
            close(Fd);
    }
};

/// A file in memory: unlike a pipe it takes the whole input before the program reads any of it.
void FillInput(Descriptor& AFile, const std::string& AInput)
{
    AFile.Fd = memfd_create("zn-command", MFD_CLOEXEC);
    for (std::size_t Written = 0; Written < AInput.size();) {
        const ssize_t Count = write(AFile.Fd, AInput.data() + Written, AInput.size() - Written);
        if (Count <= 0)
            throw Exception("cannot pass the command on: " + std::string(std::strerror(errno)));
        Written += static_cast<std::size_t>(Count);
    }
    lseek(AFile.Fd, 0, SEEK_SET);
}

pid_t Spawn(const std::string& AProgram, int AInput, int AOutput)
{
    posix_spawn_file_actions_t Actions;
    posix_spawn_file_actions_init(&Actions);
    posix_spawn_file_actions_adddup2(&Actions, AInput, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&Actions, AOutput, STDOUT_FILENO);
    posix_spawnattr_t Attributes;
    posix_spawnattr_init(&Attributes);
    sigset_t None;
    sigemptyset(&None);
    posix_spawnattr_setsigmask(&Attributes, &None); // zn waits for its signals in another way
    posix_spawnattr_setflags(&Attributes, POSIX_SPAWN_SETSIGMASK);
    std::string Name = AProgram;
    char* Arguments[] = {Name.data(), nullptr};
    pid_t Child = -1;
    const int Error = posix_spawnp(&Child, Name.c_str(), &Actions, &Attributes, Arguments, environ);
    posix_spawn_file_actions_destroy(&Actions);
    posix_spawnattr_destroy(&Attributes);
    if (Error != 0)
        throw Exception("cannot run " + AProgram + ": " + std::strerror(Error));
    return Child;
}

std::string ReadAll(int AFd)
{
    std::string Result;
    char Buffer[16384];
    for (ssize_t Count; (Count = read(AFd, Buffer, sizeof(Buffer))) != 0;) {
        if (Count > 0)
            Result.append(Buffer, static_cast<std::size_t>(Count));
        else if (errno != EINTR)
            break;
    }
    return Result;
}

} // namespace

std::string Zn::RunFilter(const std::string& AProgram, const std::string& AInput)
{
    Descriptor Input;
    FillInput(Input, AInput);
    int Ends[2];
    if (pipe2(Ends, O_CLOEXEC) != 0)
        throw Exception("cannot run " + AProgram + ": " + std::strerror(errno));
    Descriptor Output{Ends[0]};
    pid_t Child = -1;
    {
        Descriptor ChildsEnd{Ends[1]};
        Child = Spawn(AProgram, Input.Fd, ChildsEnd.Fd);
    }
    const std::string Result = ReadAll(Output.Fd);
    int Status = 0;
    while (waitpid(Child, &Status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(Status) || WEXITSTATUS(Status) != 0)
        throw Exception(AProgram + " failed");
    return Result;
}
