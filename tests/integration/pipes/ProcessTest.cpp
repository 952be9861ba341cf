/// Servers and clients in processes of their own, which end as processes do.

#include <csignal>
#include <functional>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/unit/uZnNamedPipes/PipeHarness.h"

namespace
{

/// A child that runs AWork. Forked while this process has one thread, as gtest's main thread has between
/// tests.
class Child
{
public:
    explicit Child(const std::function<void()>& AWork) : FProcess(fork())
    {
        if (FProcess != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        AWork();
        _exit(0);
    }
    ~Child() { Kill(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Kill()
    {
        if (FProcess > 0) {
            kill(FProcess, SIGKILL);
            waitpid(FProcess, nullptr, 0);
        }
        FProcess = -1;
    }
    pid_t Process() const { return FProcess; }

private:
    pid_t FProcess;
};

[[noreturn]] void ServeForEver()
{
    TZnNamedPipeServer Server;
    Server.SetPipeName(cPipe);
    Server.SetMaxConnections(0);
    Server.SetReceiveSyncType(rsThreaded);
    SetEcho(Server);
    Server.Start();
    for (;;) {
        WaitMessage(1000);
        ProcessMessages();
    }
}

/// Sends commands as fast as it can, whatever happens.
[[noreturn]] void AskForEver()
{
    TZnNamedPipeClient Client;
    Client.SetPipeName(cPipe);
    Client.SetReceiveSyncType(rsThreaded);
    Client.SetMinWaitBeforeReconnect(5);
    bool IsUp = false;
    Client.OnConnected = [&](TZnNamedPipeConnectionID) { IsUp = true; };
    Client.OnDisconnected = [&](TZnNamedPipeConnectionID) { IsUp = false; };
    Client.Connect(-1);
    for (;;) {
        WaitMessage(IsUp ? 0 : 5);
        ProcessMessages();
        try {
            if (IsUp)
                Client.SendCmd(std::string(1 + static_cast<std::size_t>(rand()) % 100000, 'q'), 1000);
        } catch (const Exception&) { // the server is slow, or gone for now
        }
    }
}

} // namespace

TEST(PipeProcesses, AClientComesBackBehindServersThatAreKilled)
{
    const Zn::TemporaryPipes Pipes;
    auto Server = std::make_unique<Child>(ServeForEver);
    std::vector<std::unique_ptr<Child>> Next;
    for (int Round = 0; Round < 4;
         ++Round) // forked before this process has threads; each waits for its signal
        Next.push_back(std::make_unique<Child>([] {
            raise(SIGSTOP);
            ServeForEver();
        }));
    TZnNamedPipeClient Client;
    Client.SetPipeName(cPipe);
    Client.SetReceiveSyncType(rsThreaded);
    Client.SetMinWaitBeforeReconnect(5);
    EventLog Log;
    SetLog(Client, Log);
    Client.Connect(-1);
    for (std::size_t Round = 0; Round < Next.size(); ++Round) {
        ASSERT_TRUE(PumpUntil([&] { return Log.Count("connected") == Round + 1; }));
        TZnPipePeer Peer;
        ASSERT_TRUE(Client.GetPeer(Peer));
        EXPECT_EQ(Peer.ProcessId, static_cast<std::uint32_t>(Server->Process()));
        EXPECT_EQ(Client.SendCmd("x", cLimit), "re x");
        // Killed in the middle of commands: each is answered whole, or raised.
        const std::string Long(300000, 'c');
        std::thread Killer([&] {
            usleep(static_cast<useconds_t>(500 * (Round + 1)));
            Server->Kill();
        });
        std::string Raised;
        while (Raised.empty())
            Raised = RaisedBy([&] { EXPECT_EQ(Client.SendCmd(Long, cLimit), "re " + Long); });
        EXPECT_TRUE(Raised.starts_with("EZnNamedPipe")) << Raised;
        Killer.join();
        ASSERT_TRUE(PumpUntil([&] { return Log.Count("disconnected") == Round + 1; }));
        Server = std::move(Next[Round]);
        kill(Server->Process(), SIGCONT);
    }
}

TEST(PipeProcesses, AServerOutlivesClientsThatAreKilledInTheMiddle)
{
    const Zn::TemporaryPipes Pipes;
    std::vector<std::unique_ptr<Child>> Clients;
    for (int Index = 0; Index < 12; ++Index)
        Clients.push_back(std::make_unique<Child>(AskForEver));
    TZnNamedPipeServer Server;
    EventLog Log;
    Server.SetPipeName(cPipe);
    Server.SetMaxConnections(0);
    Server.SetReceiveSyncType(rsThreaded);
    SetLog(Server, Log);
    SetEcho(Server);
    std::atomic<std::size_t> Answered{0};
    Server.OnCmdReceivedS = [&](TZnNamedPipeConnectionID, const std::string& AText) {
        ++Answered;
        EXPECT_EQ(AText.find_first_not_of('q'), AText.npos);
        return "re " + AText;
    };
    Server.Start();
    ASSERT_TRUE(PumpUntil([&] { return Log.Count("connected") >= Clients.size(); }));
    for (auto& Client : Clients) {
        const std::size_t Before = Answered;
        ASSERT_TRUE(PumpUntil([&] { return Answered > Before + 20; }));
        Client->Kill();
    }
    EXPECT_TRUE(PumpUntil([&] { return Server.GetConnections().GetCount() == 0; }));
    EXPECT_EQ(Log.Count("connected"), Log.Count("disconnected"));
}
