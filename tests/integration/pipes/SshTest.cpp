/// Pipes of "another host": this one, behind an sshd of the test's own.

#include <thread>

#include "tests/integration/pipes/RemotePipe.h"

namespace
{

using RemotePipe = TRemotePipe<testing::Test>;

} // namespace

TEST_F(RemotePipe, CarriesWhatALocalOneCarries)
{
    Serve();
    Connect();
    EXPECT_EQ(Client.SendCmd("question", cLimit), "re question");
    EXPECT_GE(Client.SendPing(cLimit), 0);
    const std::string Long(5 << 20, 'x'); // more than a channel takes at once, both ways at the same time
    std::thread Back([&] { Server.SendMsg(0, Long); });
    EXPECT_EQ(Client.SendCmd(Long, cLimit), "re " + Long);
    Back.join();
    EXPECT_TRUE(PumpUntil([&] { return ClientLog.Has("S " + Long); }));
    TZnPipePeer Peer;
    EXPECT_FALSE(Client.GetPeer(Peer)); // it isn't this machine's to know
}

TEST_F(RemotePipe, TellsMissingBusyAndUnreachableApart)
{
    EXPECT_TRUE(RaisedBy([&] { Client.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 2 "));
    Server.SetMaxConnections(1);
    Serve();
    Connect();
    TZnNamedPipeClient Another;
    Another.SetPipeName(cPipe);
    Another.SetServerName("127.0.0.1");
    EXPECT_TRUE(RaisedBy([&] { Another.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 231 "));
    Ssh->Stop();
    EXPECT_TRUE(RaisedBy([&] { Another.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 53 "));
}

TEST_F(RemotePipe, RefusesAHostWhoseKeyItDoesNotKnow)
{
    Serve();
    Ssh->KnowHost("user.pub"); // another key
    EXPECT_TRUE(RaisedBy([&] { Client.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 1790 "));
    std::filesystem::remove(Keys() + "/known");
    EXPECT_TRUE(RaisedBy([&] { Client.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 1790 "));
    EXPECT_FALSE(ServerLog.Has("connected"));
}

TEST_F(RemotePipe, LogsOnWithPasswordOrKeyAndTellsARefusal)
{
    Serve();
    Client.SetUserName("zn-no-such-user");
    Client.SetPassword("wrong");
    const std::string Refused = RaisedBy([&] { Client.Connect(cLimit); });
    EXPECT_TRUE(
        Refused.starts_with("EZnNamedPipeConnectError 1326 Failed to connect to the specified server!"))
        << Refused;
    EXPECT_EQ(Refused.find("wrong"), Refused.npos);
    Client.SetUserName("");
    Client.SetPassword("");
    std::filesystem::resize_file(Keys() + "/authorized", 0);
    EXPECT_TRUE(RaisedBy([&] { Client.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 5 "));
}

TEST_F(RemotePipe, LogsOnByPasswordWhereTheHostTakesIt)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give sshd a user of its own";
    Serve();
    ASSERT_TRUE(Ssh->RestartWithUser("zn-visitor", "open-sesame"));
    std::filesystem::permissions(Pipes.Folder(),
                                 std::filesystem::perms(0755)); // the visitor has to reach the socket
    unsetenv("ZN_PIPE_SSH_IDENTITY");
    Client.SetUserName("zn-visitor");
    Client.SetPassword("open-barley");
    EXPECT_TRUE(RaisedBy([&] { Client.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 1326 "));
    EXPECT_FALSE(ServerLog.Has("connected"));
    Client.SetPassword("open-sesame");
    Connect();
    EXPECT_EQ(Client.SendCmd("who", cLimit), "re who");
}

TEST_F(RemotePipe, ComesBackBehindAServerThatWentAway)
{
    Serve();
    Connect();
    Ssh->Stop();
    ASSERT_TRUE(PumpUntil([&] { return ClientLog.Has("disconnected") && ClientLog.Has("refused 53"); }));
    EXPECT_TRUE(PumpUntil([&] { return Server.GetConnections().GetCount() == 0; }));
    Ssh->Start();
    Connect(2);
    EXPECT_EQ(Client.SendCmd("again", cLimit), "re again");
}
