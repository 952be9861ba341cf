/// Pipes between two hosts with a cable between them, which is pulled out. The server's own end of it all is
/// a socket in a folder, which hosts of a lab share; so the server runs here.

#include <atomic>
#include <thread>

#include "common/Events.h"
#include "tests/integration/pipes/RemotePipe.h"
#include "tests/support/NetworkLab.h"

namespace
{

class PipeLab : public TRemotePipe<Zn::TNetworkLab>
{
protected:
    std::string Address() const override { return "10.9.0.2"; }
    std::unique_ptr<Zn::SshServer> MakeSsh() override
    {
        Far = std::make_unique<Zn::TLabHost>();
        TNetworkLab::Connect("near", *Far, "far");
        Run("ip addr add 10.9.0.1/24 dev near");
        Far->Run("ip addr add 10.9.0.2/24 dev far");
        return std::make_unique<Zn::SshServer>(
            Keys(), Address(), std::vector<std::string>{"nsenter", "-n", "-t", Far->Number()});
    }
    void TearDown() override { Client.Disconnect(true); } // while its host is there

    std::unique_ptr<Zn::TLabHost> Far;
};

/// "answer", or "class number" of what was raised.
std::string Asked(TZnNamedPipeClient& AClient, const std::string& AText, std::uint32_t ALimit)
{
    std::string Answer;
    const std::string Raised = RaisedBy([&] { Answer = AClient.SendCmd(AText, ALimit); });
    return Raised.empty() ? Answer : Raised.substr(0, Raised.find(' ', Raised.find(' ') + 1));
}

} // namespace

TEST_F(PipeLab, EndsWhatIsUnderWayWhenTheOtherHostsSshGoesAway)
{
    TEvent HasBegun, MayEnd;
    Server.OnCmdReceivedS = [&](TZnNamedPipeConnectionID, const std::string& AText) {
        if (AText == "slow") {
            HasBegun.SetEvent();
            MayEnd.WaitFor(cLimit);
        }
        return "re " + AText;
    };
    Serve();
    Connect();
    std::string Answer, Written;
    std::thread Asker([&] { Answer = Asked(Client, "slow", 2 * cLimit); });
    std::atomic<bool> HasWritten{false};
    ASSERT_EQ(HasBegun.WaitFor(cLimit), wrSignaled);
    std::thread Writer([&] { // more than the way there holds, and nobody reads it
        Written = RaisedBy([&] { Client.SendMsg(std::string(64 << 20, 'x')); });
        HasWritten = true;
    });
    Ssh->Stop();
    EXPECT_TRUE(PumpUntil([&] { return ClientLog.Has("disconnected") && HasWritten; }));
    Asker.join();
    Writer.join();
    EXPECT_EQ(Answer, "EZnNamedPipeReadTimeOut 232");
    EXPECT_TRUE(Written.starts_with("EZnNamedPipeWriteError ")) << Written;
    MayEnd.SetEvent();
    Ssh->Start();
    Connect(2);
    EXPECT_EQ(Asked(Client, "again", cLimit), "re again");
}

TEST_F(PipeLab, GivesResultsInTimeWhileTheCableIsOut)
{
    Serve();
    Connect();
    Far->Run("ip link set far down");
    EXPECT_EQ(Asked(Client, "lost", 300), "EZnNamedPipeReadTimeOut 232");
    Far->Run("ip link set far up");
    EXPECT_EQ(Asked(Client, "found", cLimit), "re found"); // a short break breaks nothing
    EXPECT_FALSE(ClientLog.Has("disconnected"));

    Far->Run("ip link set far down");
    TZnNamedPipeClient Another;
    Another.SetPipeName(cPipe);
    Another.SetServerName(Address());
    EXPECT_TRUE(RaisedBy([&] { Another.Connect(cLimit); }).starts_with("EZnNamedPipeConnectError 53 "));
    // What stays without an answer for half a minute ends the connection; the probes see to it that there is
    // something.
    const auto IsGone = [&] { return ClientLog.Has("disconnected") && ClientLog.Has("refused 53"); };
    EXPECT_TRUE(PumpUntil(IsGone) || PumpUntil(IsGone) || PumpUntil(IsGone));
    Far->Run("ip link set far up");
    EXPECT_TRUE(PumpUntil([&] { return ClientLog.Count("connected") == 2; }));
    EXPECT_EQ(Asked(Client, "back", cLimit), "re back");
}
