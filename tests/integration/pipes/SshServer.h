#pragma once

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <arpa/inet.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/FreePort.h"

namespace Zn
{

/// An sshd with keys of its own, gone with the object. Its user is the one that runs the test.
class SshServer
{
public:
    static bool IsInstalled() { return access(cProgram, X_OK) == 0; }

    /// AHost: a command that runs the rest on another host; empty: here.
    explicit SshServer(const std::string& AFolder, std::string AAddress = "127.0.0.1",
                       std::vector<std::string> AHost = {})
        : FFolder(AFolder), FAddress(std::move(AAddress)), FHost(std::move(AHost)), FPort(FreePort())
    {
        Run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", FFolder + "/host"});
        Run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", FFolder + "/user"});
        std::filesystem::copy_file(FFolder + "/user.pub", FFolder + "/authorized");
        std::ofstream(FFolder + "/config")
            << "ListenAddress " << FAddress << "\nPort " << FPort << "\nHostKey " << FFolder
            << "/host\nAuthorizedKeysFile " << FFolder
            << "/authorized\nStrictModes no\nUsePAM no\nPasswordAuthentication yes\nPermitRootLogin yes\n"
            << "PidFile none\nLogLevel QUIET\nSubsystem sftp internal-sftp\nAllowStreamLocalForwarding yes\n"
            << "MaxStartups 100\n";
        KnowHost("host.pub");
        setenv("ZN_PIPE_SSH_PORT", std::to_string(FPort).c_str(), 1);
        setenv("ZN_PIPE_SSH_KNOWN_HOSTS", (FFolder + "/known").c_str(), 1);
        setenv("ZN_PIPE_SSH_IDENTITY", (FFolder + "/user").c_str(), 1);
        Start();
    }
    ~SshServer()
    {
        Stop();
        for (const char* const Name : {"ZN_PIPE_SSH_PORT", "ZN_PIPE_SSH_KNOWN_HOSTS", "ZN_PIPE_SSH_IDENTITY"})
            unsetenv(Name);
    }
    SshServer(const SshServer&) = delete;
    SshServer& operator=(const SshServer&) = delete;

    void Start()
    {
        mkdir("/run/sshd", 0755); // where it locks its children in; there already on a system that runs one
        std::vector<std::string> Command = FHost;
        Command.insert(Command.end(), FMounts.begin(), FMounts.end());
        Command.insert(Command.end(), {cProgram, "-D", "-e", "-f", FFolder + "/config"});
        FProcess = Spawn(Command);
        for (int Turn = 0; Turn < 6000 && !Answers(); ++Turn)
            usleep(10000);
    }
    /// With every session, as when the host goes down.
    void Stop()
    {
        if (FProcess > 0) {
            KillWithChildren(FProcess);
            waitpid(FProcess, nullptr, 0);
        }
        FProcess = -1;
    }
    /// Starts anew with one more user, whom nobody but this sshd knows: it has the user files in a mount
    /// namespace of its own. False where that isn't allowed.
    bool RestartWithUser(const std::string& AName, const std::string& APassword)
    {
        std::filesystem::copy_file("/etc/passwd", FFolder + "/passwd");
        std::ofstream(FFolder + "/passwd", std::ios::app) << AName << ":x:64999:64999::/:/bin/sh\n";
        Run({"sh", "-c",
             "umask 077; printf '%s:%s:20000::::::\\n' " + AName + " \"$(openssl passwd -6 " + APassword +
                 ")\" >" + FFolder + "/shadow"});
        FMounts = {"unshare",
                   "--mount",
                   "sh",
                   "-c",
                   "mount --bind $0/passwd /etc/passwd && mount --bind $0/shadow /etc/shadow && exec \"$@\"",
                   FFolder};
        Stop();
        Start();
        return kill(FProcess, 0) == 0 && Answers();
    }
    /// Makes the file of known hosts say that this is the host's key.
    void KnowHost(const std::string& APublicKey) const
    {
        std::string Type, Key;
        std::ifstream(FFolder + "/" + APublicKey) >> Type >> Key;
        std::ofstream(FFolder + "/known")
            << "[" << FAddress << "]:" << FPort << " " << Type << " " << Key << "\n";
    }

private:
    /// Each session of sshd is a process group of its own.
    static void KillWithChildren(pid_t AProcess)
    {
        const std::string Own = std::to_string(AProcess);
        std::vector<pid_t> Children;
        std::ifstream List("/proc/" + Own + "/task/" + Own + "/children");
        for (pid_t Child; List >> Child;)
            Children.push_back(Child);
        kill(AProcess, SIGKILL);
        for (const pid_t Child : Children)
            KillWithChildren(Child);
    }

    static constexpr const char* cProgram = "/usr/sbin/sshd";

    bool Answers() const
    {
        const int Socket = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in Address{AF_INET, htons(static_cast<std::uint16_t>(FPort)), {}, {}};
        inet_pton(AF_INET, FAddress.c_str(), &Address.sin_addr);
        const bool Connected =
            connect(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) == 0;
        close(Socket);
        return Connected;
    }
    static pid_t Spawn(std::vector<std::string> AArguments)
    {
        std::vector<char*> Arguments;
        for (std::string& Argument : AArguments)
            Arguments.push_back(Argument.data());
        Arguments.push_back(nullptr);
        pid_t Process = -1;
        posix_spawnp(&Process, Arguments[0], nullptr, nullptr, Arguments.data(), environ);
        return Process;
    }
    static void Run(const std::vector<std::string>& AArguments) { waitpid(Spawn(AArguments), nullptr, 0); }

    const std::string FFolder;
    const std::string FAddress;
    const std::vector<std::string> FHost;
    const int FPort;
    std::vector<std::string> FMounts; // a command that runs the rest behind its mounts; empty: none
    pid_t FProcess = -1;
};

} // namespace Zn
