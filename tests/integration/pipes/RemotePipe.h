#pragma once

#include "tests/integration/pipes/SshServer.h"
#include "tests/unit/uZnNamedPipes/PipeHarness.h"

/// A server, and a client that takes it for one of another host, behind an sshd of the test's own.
template <class TBase>
class TRemotePipe : public TBase
{
protected:
    /// Where the sshd is, once SetUp of TBase has run.
    virtual std::unique_ptr<Zn::SshServer> MakeSsh() { return std::make_unique<Zn::SshServer>(Keys()); }
    virtual std::string Address() const { return "127.0.0.1"; }

    void SetUp() override
    {
        TBase::SetUp();
        if (testing::Test::IsSkipped())
            return;
        if (!Zn::SshServer::IsInstalled())
            GTEST_SKIP() << "openssh-server isn't installed";
        mkdir(Keys().c_str(), 0700);
        Ssh = MakeSsh();
        Server.SetPipeName(cPipe);
        Server.SetReceiveSyncType(rsThreaded);
        SetLog(Server, ServerLog);
        SetEcho(Server);
        Client.SetPipeName(cPipe);
        Client.SetServerName(Address());
        Client.SetReceiveSyncType(rsThreaded);
        Client.SetMinWaitBeforeReconnect(50);
        SetLog(Client, ClientLog);
        Client.OnAutoConnectException = [&](TZnNamedPipeConnectionID, const Exception& AException, bool&) {
            ClientLog.Add("refused " +
                          std::to_string(dynamic_cast<const EZnNamedPipe&>(AException).GetErrorCode()));
        };
    }
    void Serve()
    {
        Server.Start();
        ASSERT_TRUE(PumpUntil([&] { return std::filesystem::exists(Pipes.Folder() + "/" + cPipe); }));
    }
    /// Connects once, with this thread's messages served: the server lives here too.
    void Connect(std::size_t ATimes = 1)
    {
        Client.Connect(-1);
        ASSERT_TRUE(PumpUntil([&] {
            return ClientLog.Count("connected") >= ATimes && Server.GetConnections().GetCount() == 1;
        }));
    }
    std::string Keys() const { return Pipes.Folder() + "/keys"; }

    Zn::TemporaryPipes Pipes;
    EventLog ServerLog, ClientLog;
    std::unique_ptr<Zn::SshServer> Ssh;
    TZnNamedPipeServer Server;
    TZnNamedPipeClient Client;
};
