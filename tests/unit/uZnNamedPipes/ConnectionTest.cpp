#include "uZnNamedPipes/Connection.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "tests/unit/uZnNamedPipes/PipeHarness.h"

namespace
{

using std::string_literals::operator""s;

/// Speaks to the server as a foreign program would: bytes with a length before them.
class ForeignPeer
{
public:
    explicit ForeignPeer(const std::string& AFolder) : FSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un Address{};
        Address.sun_family = AF_UNIX;
        std::strncpy(Address.sun_path, (AFolder + "/" + cPipe).c_str(), sizeof(Address.sun_path) - 1);
        FConnected = connect(FSocket, reinterpret_cast<sockaddr*>(&Address), sizeof(Address)) == 0;
    }
    ~ForeignPeer() { close(FSocket); }
    ForeignPeer(const ForeignPeer&) = delete;
    ForeignPeer& operator=(const ForeignPeer&) = delete;

    bool IsConnected() const { return FConnected; }
    void Send(const std::string& AMessage) const
    {
        const auto Length = static_cast<std::uint32_t>(AMessage.size());
        SendBytes(std::string(reinterpret_cast<const char*>(&Length), 4) + AMessage);
    }
    void SendBytes(const std::string& ABytes) const
    {
        EXPECT_EQ(send(FSocket, ABytes.data(), ABytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(ABytes.size()));
    }
    std::string Receive(std::size_t ACount) const
    {
        std::string Result(ACount, '\0');
        const ssize_t Count = recv(FSocket, Result.data(), ACount, MSG_WAITALL);
        Result.resize(Count > 0 ? static_cast<std::size_t>(Count) : 0);
        return Result;
    }

private:
    int FSocket;
    bool FConnected;
};

class Connection : public PipePair
{
protected:
    /// A server that logs, without a client of the library.
    void Serve(TZnNamedPipeReceiveSyncType AType = rsThreaded)
    {
        Server.SetPipeName(cPipe);
        Server.SetReceiveSyncType(AType);
        SetLog(Server, ServerLog);
        SetEcho(Server);
        Server.Start();
    }
    std::unique_ptr<ForeignPeer> Foreign()
    {
        std::unique_ptr<ForeignPeer> Peer;
        PumpUntil([&] { return (Peer = std::make_unique<ForeignPeer>(Pipes.Folder()))->IsConnected(); });
        PumpUntil([&] { return Server.GetConnections().GetCount() > 0; });
        return Peer;
    }
};

const std::string cStart = "\x00\xFF\xFF\x00"s;

} // namespace

INSTANTIATE_TEST_SUITE_P(Both, Connection, testing::Values(rsSynchronized, rsThreaded),
                         [](const auto& AInfo) {
                             return AInfo.param == rsThreaded ? "threaded" : "synchronized";
                         });

TEST_P(Connection, DataOfEveryKindArrivesInOrder)
{
    Connect(GetParam());
    const std::string Long(16384 * 3 + 7, 'y');
    Client.SendMsg("text");
    Client.SendMsg(AnsiString("bytes\xFF"));
    Client.SendMsg("bin", 3, btBinary);
    Client.SendMsg(Long);
    Client.SendMsg(""); // an empty payload is a raw frame to its receiver
    Server.SendRaw(0, "raw", 3);
    Server.SendMsg(ServersID(), "to you");
    Server.SendMsg(ServersID() + 1, "to nobody");
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Lines().size() == 6 && ClientLog.Lines().size() == 3; }));
    EXPECT_EQ(ServerLog.Lines(),
              (std::vector<std::string>{"connected", "S text", "S bytes\xEF\xBF\xBD", "B bin", "S " + Long,
                                        "B " + cStart + "\5\2\0\0\0\0"s}));
    EXPECT_EQ(ClientLog.Lines(), (std::vector<std::string>{"connected", "B raw", "S to you"}));
}

TEST_F(Connection, CommandsAreAnsweredBothWays)
{
    Connect();
    EXPECT_EQ(Client.SendCmd("question", cLimit), "re question");
    EXPECT_EQ(Client.SendCmd(AnsiString("bytes"), cLimit).Bytes(), "re bytes");
    const Zn::DataBufferHolder Binary(Client.SendCmd("bin", 3, cLimit, btBinary));
    EXPECT_EQ(Binary.Get()->DataType, btBinary);
    EXPECT_EQ(Zn::DataBufferToAnsi(*Binary.Get()), "bin");
    const std::string Long(1 << 20, 'z');
    EXPECT_EQ(Client.SendCmd(Long, cLimit), "re " + Long);

    EXPECT_EQ(Server.SendCmd(ServersID(), "back", cLimit), "re back");
    EXPECT_EQ(Server.SendCmd(ServersID(), AnsiString("bytes"), cLimit).Bytes(), "re bytes");
    EXPECT_EQ(Server.SendCmd(1 << 30, "x", 1, cLimit, btBinary), nullptr);
    EXPECT_EQ(RaisedBy([&] { Server.SendCmd(1 << 30, "x", cLimit); }),
              "EZnNamedPipe 6 There is no connection for the given ID!");
    EXPECT_EQ(RaisedBy([&] { Server.SendCmd(0, "x", cLimit); }), "EAssertionFailed Assertion failure");
    EXPECT_GE(Client.SendPing(cLimit), 0);
}

TEST_F(Connection, CommandsAreNumberedAndPingsUseANumberUp)
{
    Serve();
    const auto Peer = Foreign();
    ASSERT_TRUE(Server.GetConnections().GetCount() == 1);
    TZnNamedPipeConnection* const Own = Server.GetConnections().GetConnection(0);
    EXPECT_EQ(Own->SendPing(1), -1);
    EXPECT_EQ(RaisedBy([&] { Own->SendCmd("abc", 1); }),
              "EZnNamedPipeReadTimeOut 232 The server has not responded within the specified timeout!");
    const std::string Ping = Peer->Receive(4 + 21).substr(4);
    EXPECT_EQ(Peer->Receive(4 + 21).substr(4), cStart + "\x03\x02\0\0\0\0\0\0\0\x02\x03\0\0\0"s + "abc");

    // The late answers of both are dropped: neither is taken for the next one's.
    Peer->Send(Ping.substr(0, 4) + "\x02" + Ping.substr(5));
    Peer->Send(cStart + "\x04\x02\0\0\0\0\0\0\0\x02\x04\0\0\0"s + "late");
    Peer->Send("sync");
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("B sync"); }));
    std::thread Answering([&] {
        Peer->Receive(4 + 21);
        Peer->Send(cStart + "\x04\x02\0\0\0\0\0\0\0\x02\x03\0\0\0"s + "old");
        Peer->Send(cStart + "\x04\x03\0\0\0\0\0\0\0\x02\x03\0\0\0"s + "new");
    });
    EXPECT_EQ(Own->SendCmd("abc", cLimit), "new");
    Answering.join();
}

TEST_F(Connection, ForeignFramesAreAnsweredOrRaw)
{
    Serve();
    const auto Peer = Foreign();
    const std::string Ping = cStart + "\x01" + std::string(8, 'p') + std::string(8, '\0');
    Peer->Send(Ping);
    const std::string Answer = Peer->Receive(25).substr(4);
    EXPECT_EQ(Answer.substr(0, 13), cStart + "\x02" + std::string(8, 'p'));
    EXPECT_NE(Answer.substr(13), std::string(8, '\0'));
    Peer->Send(cStart + std::string(9, '\0')); // a probe: no event, no answer
    Peer->Send("");

    const std::string Command = cStart + "\x03\x07\0\0\0\0\0\0\0"s;
    Peer->Send(Command + "\x02\x01\0\0\0!"s);
    EXPECT_EQ(Peer->Receive(26).substr(4), cStart + "\x04\x07\0\0\0\0\0\0\0\x02\x04\0\0\0re !"s);
    Peer->Send(Command + "\x09\x01\0\0\0!"s); // of no known type: answered without content
    EXPECT_EQ(Peer->Receive(22).substr(4), cStart + "\x04\x07\0\0\0\0\0\0\0\0\0\0\0\0"s);
    Peer->Send(Command + "\x02\0\0\0\0"s);
    Peer->Send(Command + "\x02\xFF\xFF\xFF\xFF!"s);

    std::vector<std::string> Expected = {"connected", "B " + Command + "\x02\0\0\0\0"s,
                                         "B " + Command + "\x02\xFF\xFF\xFF\xFF!"s};
    const std::string Whole = Command + "\x02\x05\0\0\0"s + "12345";
    for (std::size_t Length = 1; Length < Whole.size(); ++Length) { // every prefix of a frame is raw
        Peer->Send(Whole.substr(0, Length));
        Expected.push_back("B " + Whole.substr(0, Length));
    }
    Peer->Send("end");
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("B end"); }));
    Expected.push_back("B end");
    EXPECT_EQ(ServerLog.Lines(), Expected);
}

TEST_F(Connection, ABadLengthEndsTheConnectionWithItsNumber)
{
    Serve();
    const auto Peer = Foreign();
    Peer->SendBytes("\xFF\xFF\xFF\xFF");
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("disconnected"); }));
    EXPECT_TRUE(ServerLog.Has("EZnNamedPipeReadError The data is invalid."));
}

TEST_F(Connection, AHandlerThatRaisesEndsTheConnection)
{
    Connect();
    Server.OnDataReceivedS = [](TZnNamedPipeConnectionID, const std::string&) { throw Exception("no"); };
    Client.SendMsg("text");
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("disconnected"); }));
    EXPECT_TRUE(ServerLog.Has("Exception no"));
}

TEST_F(Connection, ASynchronizedHandlerThatRaisesLeavesTheConnectionUp)
{
    Connect(rsSynchronized);
    Server.OnDataReceivedS = [](TZnNamedPipeConnectionID, const std::string&) { throw Exception("no"); };
    Client.SendMsg("text");
    EXPECT_EQ(RaisedBy([] { PumpUntil([] { return false; }); }), "Exception no");
    EXPECT_EQ(Server.GetConnections().GetCount(), 1u);
}

TEST_F(Connection, ASendCmdEndsWithItsConnection)
{
    Serve();
    auto Peer = Foreign();
    TZnNamedPipeConnection* const Own = Server.GetConnections().GetConnection(0);
    std::string Raised;
    std::thread Asking([&] { Raised = RaisedBy([&] { Server.SendCmd(Own->GetID(), "abc", INFINITE); }); });
    Peer->Receive(25);
    Peer.reset();
    ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("disconnected"); }));
    Asking.join();
    EXPECT_TRUE(Raised.starts_with("EZnNamedPipeReadTimeOut 232 "));
}

TEST_F(Connection, ABlockedWriterIsReleasedByTheEnd)
{
    Serve();
    const auto Peer = Foreign(); // reads one byte and no more
    const TZnNamedPipeConnectionID ID = ServersID();
    const std::string Block(8 << 20, 'x');
    std::string Raised;
    std::thread Sending([&] { Raised = RaisedBy([&] { Server.SendMsg(0, Block); }); });
    EXPECT_EQ(Peer->Receive(1).size(), 1u);
    Server.CloseConnection(ID);
    Sending.join();
    EXPECT_TRUE(Raised.starts_with("EZnNamedPipeWriteError ")) << Raised;
    EXPECT_TRUE(ServerLog.Has("disconnected"));
}
