#include "uZnNamedPipes/Server.h"

#include <list>
#include <thread>

#include "platform/loader/Loader.h"
#include "platform/pipes/Exports.h"
#include "tests/unit/uZnNamedPipes/PipeHarness.h"

namespace
{

/// A crowd of clients of one server, all of them tried again and again.
class Crowd
{
public:
    explicit Crowd(int ACount)
    {
        for (int Index = 0; Index < ACount; ++Index) {
            TZnNamedPipeClient& Client = FClients.emplace_back();
            Client.SetPipeName(cPipe);
            Client.SetReceiveSyncType(rsThreaded);
            Client.SetMinWaitBeforeReconnect(5);
            Client.Connect(-1);
        }
    }
    long Connected() const
    {
        return std::ranges::count(FClients, npcsConnected, &TZnNamedPipeClient::GetStatus);
    }
    std::list<TZnNamedPipeClient>& Clients() { return FClients; }

private:
    std::list<TZnNamedPipeClient> FClients;
};

class Server : public PipePair
{
protected:
    Server()
    {
        PipePair::Server.SetPipeName(cPipe);
        PipePair::Server.SetReceiveSyncType(rsThreaded);
        SetLog(PipePair::Server, ServerLog);
        SetEcho(PipePair::Server);
    }
    TZnNamedPipeServer& Own() { return PipePair::Server; }
};

} // namespace

TEST_F(Server, StartsAndStopsOnce)
{
    Own().OnStarted = [&] { ServerLog.Add("started"); };
    Own().OnStopped = [&] { ServerLog.Add("stopped"); };
    for (int Round = 0; Round < 2; ++Round) {
        Own().Stop();
        Own().Start();
        Own().Start();
        Own().Stop();
    }
    EXPECT_EQ(ServerLog.Lines(), (std::vector<std::string>{"started", "stopped", "started", "stopped"}));
    EXPECT_EQ(Own().GetServerName(), ".");
    EXPECT_EQ(Own().GetPipeName(), "\\\\.\\pipe\\test");
    EXPECT_EQ(RaisedBy([&] { Own().SetServerName("x"); }), "EPropReadOnly This property is read-only!");
    EXPECT_EQ(RaisedBy([&] { Own().SetMaxConnections(-1); }),
              "EInvalidArgument You must specify a value of 0 or greater!");
    EXPECT_EQ(RaisedBy([&] { Own().CloseConnection(1); }),
              "EZnNamedPipe 6 There is no connection for the given ID!");
    Own().SendMsg(0, "to nobody");
}

TEST_F(Server, ServesAsManyAsItMayAndTellsTheRestThatItIsBusy)
{
    Own().SetMaxConnections(2);
    Own().Start();
    Crowd Clients(2);
    ASSERT_TRUE(PumpUntil([&] { return Clients.Connected() == 2; }));
    Client.SetPipeName(cPipe);
    EXPECT_TRUE(RaisedBy([&] {
                    Client.Connect(cLimit);
                }).starts_with("EZnNamedPipeConnectError 231 Failed to connect to the given pipe!\r\n"));
    EXPECT_EQ(Client.GetLastConnectErrCode(), ERROR_PIPE_BUSY);
    Clients.Clients().pop_back();
    Client.Connect(-1);
    EXPECT_TRUE(PumpUntil(
        [&] { return Client.GetStatus() == npcsConnected && Own().GetConnections().GetCount() == 2; }));
}

TEST_F(Server, AnyNumberOfClientsWithoutALimit)
{
    Own().SetMaxConnections(0);
    Own().Start();
    Crowd Clients(40);
    ASSERT_TRUE(PumpUntil([&] { return Own().GetConnections().GetCount() == 40; }));
    std::atomic<int> Heard{0};
    for (auto& Each : Clients.Clients())
        Each.OnDataReceivedS = [&](TZnNamedPipeConnectionID, const std::string&) { ++Heard; };
    Own().SendMsg(0, "all");
    EXPECT_TRUE(PumpUntil([&] { return Heard == 40; }));
}

TEST_F(Server, TheNextInstanceExistsWhenAClientIsAnnounced)
{
    Own().OnDisconnected = [&](TZnNamedPipeConnectionID AID) {
        Own().SendMsg(AID, "gone"); // to nobody: it isn't in the list any more
        ServerLog.Add(Own().GetConnections().FindConnection(AID) ? "still there" : "left");
    };
    Own().Start();
    {
        Crowd Clients(1);
        ASSERT_TRUE(
            PumpUntil([&] { return Clients.Connected() == 1 && Own().GetConnections().GetCount() == 1; }));
    }
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("left"); }));
    Crowd Another(1);
    EXPECT_TRUE(PumpUntil([&] { return Another.Connected() == 1; }));
}

TEST_F(Server, APipeThatCannotBeMadeIsToldOnceAndNotRetried)
{
    setenv("ZN_PIPE_DIR", "/proc/nowhere", 1);
    Own().Start();
    EXPECT_TRUE(Own().GetActive());
    const std::string Failure = "EZnNamedPipeConnectError The system cannot find the path specified.";
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has(Failure); }));
    EXPECT_EQ(Own().GetMaxConnections(), -1);
    Own().Stop();
    Own().Start();
    EXPECT_EQ(ServerLog.Count(Failure), 1u);
}

TEST_F(Server, StopsWhileManySend)
{
    Own().SetMaxConnections(0);
    Own().OnDataReceivedS = [&](TZnNamedPipeConnectionID, const std::string& AText) {
        Own().SendMsg(0, AText);
    };
    Own().Start();
    Crowd Clients(20);
    ASSERT_TRUE(PumpUntil([&] { return Own().GetConnections().GetCount() == 20; }));
    std::atomic<bool> Ending{false};
    std::atomic<int> Sent{0};
    std::vector<std::thread> Senders;
    for (auto& Each : Clients.Clients()) {
        Senders.emplace_back([&] {
            while (!Ending) {
                try {
                    Each.SendMsg("something to be told to all the others");
                    ++Sent;
                } catch (const EZnNamedPipe&) { // the server is gone for now
                    std::this_thread::yield();
                }
            }
        });
    }
    for (int Round = 0; Round < 3; ++Round) {
        const int Before = Sent;
        PumpUntil([&] { return Sent > Before + 500; });
        Own().Stop();
        EXPECT_EQ(Own().GetConnections().GetCount(), 0u);
        Own().Start();
        EXPECT_TRUE(PumpUntil([&] { return Own().GetConnections().GetCount() == 20; }));
    }
    Ending = true;
    for (auto& Each : Senders)
        Each.join();
}

TEST_F(Server, GoesWithItsConnectionsUp)
{
    auto Another = std::make_unique<TZnNamedPipeServer>();
    Another->SetPipeName(cPipe);
    Another->SetReceiveSyncType(rsSynchronized); // and nobody pumps for it
    SetLog(*Another, ServerLog);
    Another->Start();
    Crowd Clients(3);
    ASSERT_TRUE(PumpUntil([&] { return Another->GetConnections().GetCount() == 3; }));
    for (auto& Each : Clients.Clients())
        Each.SendMsg("never delivered");
    Another.reset();
    EXPECT_FALSE(ServerLog.Has("disconnected")); // not while the component is destroyed
    EXPECT_TRUE(PumpUntil([&] { return Clients.Connected() == 0; }));
}

TEST_F(Server, ResumesOnceBehindAStandBy)
{
    Own().OnStarted = [&] { ServerLog.Add("started"); };
    Own().OnStopped = [&] { ServerLog.Add("stopped"); };
    BroadcastMessage(WM_POWERBROADCAST, 4, 0); // inactive: left alone
    BroadcastMessage(WM_POWERBROADCAST, 18, 0);
    ProcessMessages();
    Own().Start();
    BroadcastMessage(WM_POWERBROADCAST, 4, 0);
    BroadcastMessage(WM_POWERBROADCAST, 18, 0);
    ProcessMessages();
    Own().SetDisconnectOnStandBy(false);
    BroadcastMessage(WM_POWERBROADCAST, 18, 0);
    ProcessMessages();
    EXPECT_EQ(ServerLog.Lines(), (std::vector<std::string>{"started", "stopped", "started"}));
}

TEST_F(Server, EveryFailingPlatformCallIsToldAndLeavesNothingBehind)
{
    // A function set whose connect fails: the instance ends, and the next one is made.
    static std::atomic<int> Failures;
    Failures = 2;
    std::vector<TZnExport> Table(KernelPipeExports().begin(), KernelPipeExports().end());
    for (TZnExport& Export : Table) {
        if (std::string(Export.Name) == "ConnectNamedPipe")
            Export.Address = reinterpret_cast<void*>(+[](THandle APipe, TOVERLAPPED* AOverlapped) {
                if (--Failures < 0)
                    return ConnectNamedPipe(APipe, AOverlapped);
                SetLastError(ERROR_NO_SYSTEM_RESOURCES);
                return false;
            });
    }
    const TZnScopedLibrary Scripted("Kernel32.dll", Table);
    TZnNamedPipeServer Another;
    Another.SetPipeName(cPipe);
    SetLog(Another, ServerLog);
    Another.Start();
    Crowd Clients(1);
    ASSERT_TRUE(
        PumpUntil([&] { return Clients.Connected() == 1 && Another.GetConnections().GetCount() == 1; }));
    EXPECT_EQ(
        ServerLog.Count("EZnNamedPipeConnectError The system's resources are not sufficient to complete "
                        "the request."),
        2u);
}
