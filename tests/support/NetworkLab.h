#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zn
{

/// A host of the lab: a network namespace, held by a process that does nothing else.
class TLabHost
{
public:
    TLabHost()
    {
        int Ready[2];
        if (pipe2(Ready, O_CLOEXEC) != 0)
            return;
        FHolder = fork();
        if (FHolder == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const bool Entered = unshare(CLONE_NEWNET) == 0;
            if (!Entered || write(Ready[1], "", 1) != 1)
                _exit(1);
            for (;;)
                pause();
        }
        close(Ready[1]);
        char Byte;
        EXPECT_EQ(read(Ready[0], &Byte, 1), 1) << "no namespace for a host";
        close(Ready[0]);
    }
    ~TLabHost()
    {
        kill(FHolder, SIGKILL);
        waitpid(FHolder, nullptr, 0);
    }
    TLabHost(const TLabHost&) = delete;
    TLabHost& operator=(const TLabHost&) = delete;

    /// For "ip link set ... netns".
    std::string Number() const { return std::to_string(FHolder); }

    /// Runs a shell's line on the host.
    void Run(const std::string& ALine) const
    {
        EXPECT_EQ(std::system(("nsenter -n -t " + Number() + " sh -ec '" + ALine + "'").c_str()), 0) << ALine;
    }

    /// A thread that does AWork on the host.
    std::thread Start(std::function<void()> AWork) const
    {
        const std::string Path = "/proc/" + Number() + "/ns/net";
        return std::thread([Path, Work = std::move(AWork)] {
            const int Namespace = open(Path.c_str(), O_RDONLY | O_CLOEXEC);
            ASSERT_EQ(setns(Namespace, CLONE_NEWNET), 0);
            close(Namespace);
            Work();
        });
    }

private:
    pid_t FHolder = -1;
};

/// Each test starts in an empty network namespace of its own, with loopback up.
class TNetworkLab : public testing::Test
{
protected:
    void SetUp() override
    {
        if (unshare(CLONE_NEWNET) != 0)
            GTEST_SKIP() << "network namespaces are not allowed here: " << std::strerror(errno);
        Run("ip link set lo up");
    }

    /// Runs a shell's line here.
    static void Run(const std::string& ALine)
    {
        EXPECT_EQ(std::system(("set -e; " + ALine).c_str()), 0) << ALine;
    }

    /// A cable: AHere here, AThere on AHost, both up. Their link-local addresses are the test's own to set,
    /// so that none has to wait until it is known to be alone.
    static void Connect(const std::string& AHere, const TLabHost& AHost, const std::string& AThere)
    {
        Run("ip link add " + AHere + " type veth peer name " + AThere + " netns " + AHost.Number());
        Run("ip link set " + AHere + " addrgenmode none; ip link set " + AHere + " up");
        AHost.Run("ip link set lo up; ip link set " + AThere + " addrgenmode none; ip link set " + AThere +
                  " up");
    }
};

} // namespace Zn
