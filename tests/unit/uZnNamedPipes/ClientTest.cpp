#include "uZnNamedPipes/Client.h"

#include <thread>

#include "platform/loader/Loader.h"
#include "platform/pipes/Exports.h"
#include "tests/unit/uZnNamedPipes/PipeHarness.h"

namespace
{

class Client : public PipePair
{
protected:
    Client()
    {
        Own().SetPipeName(cPipe);
        Own().SetReceiveSyncType(rsThreaded);
        Own().SetMinWaitBeforeReconnect(5);
        // Both run in the client's destructor as well, when there is no more of this object than what is
        // named.
        Own().OnStatusChanged = [&Pipe = Own(), &Log = ClientLog] {
            Log.Add("status " + std::to_string(Pipe.GetStatus()));
        };
        Own().OnAutoConnectException = [&Log = ClientLog](TZnNamedPipeConnectionID,
                                                          const Exception& AException, bool& AHandled) {
            Log.Add(AException.ClassName() + " " +
                    std::to_string(dynamic_cast<const EZnNamedPipe&>(AException).GetErrorCode()) +
                    (AHandled ? " handled" : ""));
        };
        Server.SetPipeName(cPipe);
        Server.SetReceiveSyncType(rsThreaded);
        SetEcho(Server);
    }
    TZnNamedPipeClient& Own() { return PipePair::Client; }
};

const std::string cNoServer =
    "Failed to connect to the specified named pipe!\r\nThe system cannot find the file "
    "specified.\r\nCheck if the server is running.";

} // namespace

TEST_F(Client, AFailedConnectIsRaisedAndLeavesNoConnection)
{
    EXPECT_EQ(RaisedBy([&] { Own().Connect(cLimit); }), "EZnNamedPipeConnectError 2 " + cNoServer);
    EXPECT_EQ(Own().GetLastConnectErrCode(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Own().GetLastConnectErrMsg(), cNoServer);
    EXPECT_FALSE(Own().GetActive());
    EXPECT_EQ(
        ClientLog.Lines(),
        (std::vector<std::string>{"status 1", "status 3", "EZnNamedPipeConnectError 2 handled", "status 0"}));
    EXPECT_EQ(RaisedBy([&] { Own().SendMsg("x"); }), "EZnNamedPipe 21 Not connected!");
}

TEST_F(Client, ReconnectsUntilItIsTold)
{
    Own().Connect(-1);
    ASSERT_TRUE(PumpUntil([&] { return ClientLog.Count("EZnNamedPipeConnectError 2 handled") >= 2; }));
    EXPECT_TRUE(Own().GetActive());
    EXPECT_TRUE(RaisedBy([&] {
                    Own().SendMsg("x");
                }).starts_with("EZnNamedPipeWriteError 233 Failed to write data!\r\n"));
    Own().Connect(1); // active: does nothing
    for (int Round = 0; Round < 3; ++Round) {
        Server.Start();
        ASSERT_TRUE(PumpUntil([&] {
            return ClientLog.Count("status 2") == std::size_t(Round) + 1 &&
                   Server.GetConnections().GetCount() == 1;
        }));
        EXPECT_EQ(Own().SendCmd("x", cLimit), "re x");
        Server.Stop();
        ASSERT_TRUE(PumpUntil([&] { return Own().GetStatus() != npcsConnected; }));
    }
    Own().Disconnect(true);
    EXPECT_EQ(Own().GetStatus(), npcsDisconnected);
    Own().Disconnect(true); // nothing to do
}

TEST_F(Client, ConnectWithATimeLeavesAClientThatMayAskAtOnce)
{
    // The server lives in another thread, whose messages it pumps: this one blocks.
    std::atomic<bool> Ending{false}, Started{false};
    std::thread Other([&] {
        TZnNamedPipeServer Another;
        Another.SetPipeName(cPipe);
        SetEcho(Another);
        Another.Start();
        Started = PumpUntil([&] { return PipeExists(); });
        PumpUntil([&] { return Ending.load(); });
    });
    while (!Started)
        std::this_thread::yield();
    Own().OnConnected = [&](TZnNamedPipeConnectionID) { ClientLog.Add("connected"); };
    Own().Connect(cLimit);
    EXPECT_TRUE(ClientLog.Has("connected"));
    EXPECT_EQ(Own().SendCmd("x", cLimit), "re x");
    Ending = true;
    Other.join();
}

TEST_F(Client, WithoutReconnectALostConnectionEnds)
{
    Own().SetAutoReconnect(false);
    Server.Start();
    ASSERT_TRUE(PumpUntil([&] { return PipeExists(); }));
    Own().Connect(cLimit);
    EXPECT_TRUE(PumpUntil([&] { return Server.GetConnections().GetCount() == 1; }));
    EXPECT_TRUE(PumpUntil([&] { return ClientLog.Has("status 2"); }));
    Server.Stop();
    ASSERT_TRUE(PumpUntil([&] { return Own().GetStatus() == npcsDisconnected; }));
    EXPECT_EQ(ClientLog.Lines(), (std::vector<std::string>{"status 1", "status 2", "status 1", "status 0"}));
    Own().Connect(-1);
    ASSERT_TRUE(
        PumpUntil([&] { return ClientLog.Has("EZnNamedPipeConnectError 2 handled") && !Own().GetActive(); }));
}

TEST_F(Client, DisconnectsFromItsOwnHandler)
{
    Server.SetReceiveSyncType(rsThreaded);
    Server.Start();
    Own().SetReceiveSyncType(rsSynchronized);
    Own().OnDataReceivedS = [&](TZnNamedPipeConnectionID, const std::string&) { Own().Disconnect(false); };
    Own().Connect(-1);
    ASSERT_TRUE(PumpUntil(
        [&] { return Server.GetConnections().GetCount() == 1 && Own().GetStatus() == npcsConnected; }));
    Server.SendMsg(0, "go");
    ASSERT_TRUE(PumpUntil([&] { return Own().GetStatus() == npcsDisconnected; }));

    Own().Connect(-1);
    ASSERT_TRUE(PumpUntil([&] { return Own().GetStatus() == npcsConnected; }));
    Own().Disconnect(false);
    EXPECT_EQ(Own().GetStatus(), npcsDisconnecting);
    EXPECT_EQ(RaisedBy([&] { Own().SendMsg("x"); }), "EZnNamedPipe 21 Not connected!");
    Own().Connect(-1); // finishes the old one first
    ASSERT_TRUE(PumpUntil([&] { return Own().GetStatus() == npcsConnected; }));
    Own().Disconnect(false); // and the destructor finishes this one
}

TEST_F(Client, GoesInTheMiddleOfAnything)
{
    Server.SetMaxConnections(0);
    Server.Start();
    for (int Round = 0; Round < 60; ++Round) {
        auto Another = std::make_unique<TZnNamedPipeClient>();
        Another->SetPipeName(Round % 5 == 4 ? "nowhere" : cPipe);
        Another->SetAutoReconnect(Round % 2 == 0);
        Another->Connect(-1);
        for (int Turn = 0; Turn < Round % 7; ++Turn) {
            WaitMessage(1);
            ProcessMessages();
        }
        if (Round % 3 == 0)
            Another->Disconnect(false);
    }
    EXPECT_TRUE(PumpUntil([&] { return Server.GetConnections().GetCount() == 0; }));
}

TEST_F(Client, ALogonIsTriedOnceAndCancelled)
{
    static std::vector<std::string> Calls;
    static int OpenErrors;
    Calls.clear();
    std::vector<TZnExport> Pipe(KernelPipeExports().begin(), KernelPipeExports().end());
    for (TZnExport& Export : Pipe) {
        if (std::string(Export.Name) == "WaitNamedPipeW")
            Export.Address = reinterpret_cast<void*>(+[](const char16_t*, std::uint32_t) {
                Calls.emplace_back("wait");
                return true;
            });
        if (std::string(Export.Name) == "CreateFileW")
            Export.Address = reinterpret_cast<void*>(+[](const char16_t*, std::uint32_t, std::uint32_t,
                                                         const TSECURITY_ATTRIBUTES*, std::uint32_t,
                                                         std::uint32_t, THandle) {
                Calls.emplace_back("open");
                SetLastError(OpenErrors-- > 0 ? ERROR_LOGON_FAILURE : ERROR_FILE_NOT_FOUND);
                return INVALID_HANDLE_VALUE;
            });
    }
    const std::vector<TZnExport> Network = {
        {"WNetAddConnection2W",
         reinterpret_cast<void*>(+[](const TNETRESOURCEW* AResource, const char16_t* APassword,
                                     const char16_t* AUser, std::uint32_t) {
             Calls.push_back("logon " + Utf8FromUtf16(AResource->lpRemoteName) + " " + Utf8FromUtf16(AUser) +
                             " " + Utf8FromUtf16(APassword));
             return OpenErrors == 99 ? ERROR_LOGON_FAILURE : NO_ERROR;
         })},
        {"WNetCancelConnection2W", reinterpret_cast<void*>(+[](const char16_t* AName, std::uint32_t, bool) {
             Calls.push_back("cancel " + Utf8FromUtf16(AName));
             return std::uint32_t(NO_ERROR);
         })},
    };
    const TZnScopedLibrary ScriptedPipe("Kernel32.dll", Pipe);
    const TZnScopedLibrary ScriptedNetwork("Mpr.dll", Network);
    const struct
    {
        const char* Host;
        const char* User;
        int OpenErrors;
        std::vector<std::string> Calls;
        const char* Raised;
    } Cases[] = {
        {"127.0.0.1",
         "",
         1,
         {"wait", "open", "logon \\\\127.0.0.1  ", "open", "cancel \\\\127.0.0.1"},
         "2 Failed to connect to the specified named pipe!"},
        {"127.0.0.1",
         "u",
         9,
         {"logon \\\\127.0.0.1 u p", "wait", "open", "cancel \\\\127.0.0.1"},
         "1326 Failed to connect to the specified named pipe!"},
        {"127.0.0.1",
         "u",
         99,
         {"logon \\\\127.0.0.1 u p"},
         "1326 Failed to connect to the specified server!"},
        {".", "u", 9, {"wait", "open"}, "1326 "},
    };
    for (const auto& Case : Cases) {
        Calls.clear();
        OpenErrors = Case.OpenErrors;
        TZnNamedPipeClient Remote;
        Remote.SetPipeName(cPipe);
        Remote.SetServerName(Case.Host);
        Remote.SetUserName(Case.User);
        Remote.SetPassword(*Case.User ? "p" : "");
        EXPECT_TRUE(RaisedBy([&] {
                        Remote.Connect(cLimit);
                    }).starts_with(std::string("EZnNamedPipeConnectError ") + Case.Raised))
            << Remote.GetLastConnectErrMsg();
        EXPECT_EQ(Calls, Case.Calls);
    }
}
