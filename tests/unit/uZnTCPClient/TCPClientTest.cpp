#include "uZnTCPClient.h"

#include <array>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/iphelper/Functions.h"
#include "platform/loader/Loader.h"
#include "tests/support/RawClient.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

using namespace std::chrono_literals;

/// A server on loopback whose connections, one after another, are served by a script.
class Server
{
public:
    using Script = std::function<void(int AConnection, int ANumber)>;

    explicit Server(Script AScript) : FListener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t Length = sizeof Address;
        const bool Listening = bind(FListener, reinterpret_cast<sockaddr*>(&Address), Length) == 0 &&
                               listen(FListener, 8) == 0 &&
                               getsockname(FListener, reinterpret_cast<sockaddr*>(&Address), &Length) == 0;
        EXPECT_TRUE(Listening);
        FPort = ntohs(Address.sin_port);
        FThread = std::thread([this, Script = std::move(AScript)] {
            for (int Number = 0;; ++Number) {
                const int Connection = accept4(FListener, nullptr, nullptr, SOCK_CLOEXEC);
                if (Connection < 0)
                    return;
                Script(Connection, Number);
                close(Connection);
            }
        });
    }
    ~Server()
    {
        shutdown(FListener, SHUT_RDWR);
        FThread.join();
        close(FListener);
    }
    std::uint16_t Port() const { return FPort; }

    static void Write(int AConnection, std::string_view AText)
    {
        while (!AText.empty()) {
            const ssize_t Count = send(AConnection, AText.data(), AText.size(), MSG_NOSIGNAL);
            if (Count <= 0)
                return;
            AText.remove_prefix(static_cast<std::size_t>(Count));
        }
    }
    /// What comes next; empty at the end.
    static std::string Read(int AConnection)
    {
        std::array<char, 65536> Buffer;
        const ssize_t Count = recv(AConnection, Buffer.data(), Buffer.size(), 0);
        return {Buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(Count, 0))};
    }
    static void ReadToTheEnd(int AConnection)
    {
        while (!Read(AConnection).empty()) {
        }
    }

private:
    int FListener;
    std::uint16_t FPort = 0;
    std::thread FThread;
};

std::unique_ptr<TZnTCPClient> ClientOf(std::uint16_t APort)
{
    auto Result = std::make_unique<TZnTCPClient>();
    Result->SetHost("127.0.0.1");
    Result->SetPort(APort);
    return Result;
}

std::int32_t ErrorOf(const std::function<void()>& AWork)
{
    try {
        AWork();
    } catch (const ESocketError& Error) {
        return Error.GetSocketErrorCode();
    }
    return 0;
}

auto Elapsed(const std::function<void()>& AWork)
{
    const auto Start = std::chrono::steady_clock::now();
    AWork();
    return std::chrono::steady_clock::now() - Start;
}

} // namespace

TEST(TCPClient, AnswersEndWithABlockThatEndsInTheTerminator)
{
    std::promise<void> Answered;
    const Server Peer([&](int AConnection, int) {
        EXPECT_EQ(Server::Read(AConnection), std::string("one\0two", 7));
        Server::Write(AConnection, "first\nsecond\n"); // a terminator inside a block ends nothing
        Answered.get_future().wait_for(10s);
        Server::Write(AConnection, "a dozen of bytes"); // on their way for whoever asks next
        EXPECT_EQ(Server::Read(AConnection), "next");
        Server::Write(AConnection, std::string(1024, 'x')); // no terminator, no end: a pause of 1000 ms
        Server::ReadToTheEnd(AConnection);
    });
    const auto Client = ClientOf(Peer.Port());
    EXPECT_EQ(Client->SendCmd(std::string("one\0two", 7), '\n'), "first\nsecond\n");
    EXPECT_TRUE(Client->GetActive());
    EXPECT_EQ(Client->GetSocket().GetRemotePort(), Peer.Port());
    EXPECT_EQ(Client->GetSocket().GetLocalAddress(), "127.0.0.1");
    Answered.set_value();
    ASSERT_TRUE(TWinSocketStream(*Client, 1000).WaitForData(10000));
    std::string Answer;
    const auto Time = Elapsed([&] { Answer = Client->SendCmd("next", '\n'); });
    EXPECT_EQ(Answer, "a dozen of bytes" + std::string(1024, 'x'));
    EXPECT_GE(Time, 1000ms);
}

TEST(TCPClient, WhatDripsIsReadToItsEnd)
{
    const Server Peer([](int AConnection, int) {
        const std::string Answer = "drop by drop.";
        for (const char Drop : Answer) {
            Server::Write(AConnection, {&Drop, 1});
            pollfd Nobody{AConnection, POLLIN, 0};
            poll(&Nobody, Drop == 'y' ? 1 : 0, 30); // the client says nothing: this is a pause
        }
        Server::ReadToTheEnd(AConnection);
    });
    EXPECT_EQ(ClientOf(Peer.Port())->SendCmd("", '.'), "drop by drop.");
}

TEST(TCPClient, AServerThatStallsIsGivenUpAndStaysConnected)
{
    const Server Peer([](int AConnection, int) {
        while (!Server::Read(AConnection).ends_with("answer"))
            ;
        Server::Write(AConnection, "late\n");
        Server::ReadToTheEnd(AConnection);
    });
    const auto Client = ClientOf(Peer.Port());
    for (const std::int32_t TimeOut : {0, 250}) {
        Client->SetTimeOut(TimeOut);
        const auto Time = Elapsed([&] {
            try {
                Client->SendCmd("wait", '\n');
                ADD_FAILURE() << "an answer from nobody";
            } catch (const EZnSocketWaitForData& Error) {
                EXPECT_EQ(Error.Message(), "The server did not send data within the specified timeframe!\r\n"
                                           "This can be caused by a low WaitForData value!");
            }
        });
        EXPECT_GE(Time, TimeOut == 0 ? 100ms : 250ms);
        EXPECT_TRUE(Client->GetActive());
    }
    Client->SetTimeOut(10000);
    EXPECT_EQ(Client->SendCmd("answer", '\n'), "late\n");
}

TEST(TCPClient, ALostConnectionIsToldAndTheNextCallMakesANewOne)
{
    const Server Peer([](int AConnection, int ANumber) {
        const std::string Command = Server::Read(AConnection);
        if (ANumber == 0) { // closed within the answer
            Server::Write(AConnection, "half an ans");
        } else if (ANumber == 1) { // reset
            const linger Now{1, 0};
            setsockopt(AConnection, SOL_SOCKET, SO_LINGER, &Now, sizeof Now);
        } else {
            Server::Write(AConnection, Command + ".");
            Server::ReadToTheEnd(AConnection);
        }
    });
    const auto Client = ClientOf(Peer.Port());
    std::string Seen;
    Client->SetOnConnect([&](TObject*, TCustomWinSocket&) { Seen += "connect "; });
    Client->SetOnDisconnect([&](TObject*, TCustomWinSocket&) { Seen += "disconnect "; });
    Client->SetOnError(
        [&](TObject*, TCustomWinSocket&, std::int32_t& ACode) { Seen += std::to_string(ACode) + " "; });
    try {
        Client->SendCmd("a", '.');
        ADD_FAILURE() << "half an answer was taken for one";
    } catch (const EZnSocketNotAllDataRetrieved& Error) {
        EXPECT_EQ(Error.Message(), "The connection has dropped before the result could be fetched!");
    }
    EXPECT_FALSE(Client->GetActive());
    EXPECT_EQ(ErrorOf([&] { Client->SendCmd("b", '.'); }), static_cast<std::int32_t>(WSAECONNRESET));
    EXPECT_FALSE(Client->GetActive());
    EXPECT_EQ(Client->SendCmd("c", '.'), "c.");
    EXPECT_EQ(Seen, "connect disconnect connect 10054 disconnect connect ");
}

TEST(TCPClient, TakesLongAnswersWholeAndRefusesTooLongOnes)
{
    constexpr std::size_t cLength = 100 << 20;
    std::string Answer(cLength, '\0');
    for (std::size_t At = 0; At < cLength; ++At)
        Answer[At] = static_cast<char>('a' + At % 23);
    Answer.back() = '\n';
    const Server Peer([&](int AConnection, int) {
        while (!Server::Read(AConnection).empty())
            Server::Write(AConnection, Answer);
    });
    const auto Client = ClientOf(Peer.Port());
    EXPECT_TRUE(Client->SendCmd("all", '\n') == Answer);
    Client->SetMaxAnswerLength(1 << 20);
    EXPECT_EQ(ErrorOf([&] { Client->SendCmd("all", '\n'); }), static_cast<std::int32_t>(WSAEMSGSIZE));
    EXPECT_FALSE(Client->GetActive());
}

TEST(TCPClient, AServerThatTakesNothingIsGivenUpAfterTheTimeOut)
{
    std::promise<void> Done;
    const Server Peer([&](int, int) { Done.get_future().wait_for(10s); });
    const auto Client = ClientOf(Peer.Port());
    Client->SetTimeOut(100);
    EXPECT_EQ(ErrorOf([&] { Client->Send(std::string(64 << 20, 'x')); }),
              static_cast<std::int32_t>(WSAETIMEDOUT));
    EXPECT_FALSE(Client->GetActive());
    Done.set_value();
}

TEST(TCPClient, WithoutAServerConnectTellsWhy)
{
    const auto Client = ClientOf(FreePort());
    std::string Seen;
    Client->SetOnLookup([&](TObject*, TCustomWinSocket&) { Seen += "lookup "; });
    Client->SetOnConnecting([&](TObject*, TCustomWinSocket&) { Seen += "connecting "; });
    Client->SetOnConnect([&](TObject*, TCustomWinSocket&) { Seen += "connect "; });
    try {
        Client->Connect();
        ADD_FAILURE() << "connected to nobody";
    } catch (const ESocketError& Error) {
        EXPECT_EQ(Error.Message(), "No connection to 127.0.0.1:" + std::to_string(Client->GetPort()) +
                                       "!\r\nConnection refused (10061).");
    }
    EXPECT_EQ(Seen, "lookup connecting ");
    EXPECT_FALSE(Client->GetActive());
    Client->SetOnError([](TObject*, TCustomWinSocket&, std::int32_t& ACode) { ACode = 0; });
    EXPECT_THROW(Client->Send("x"), EAbort);
    EXPECT_THROW(Client->SetPort(65536), EInvalidArgument);
}

namespace
{

/// A resolver that knows two hosts: "none" has no address, any other a dead one and a live one.
struct TwoAddresses
{
    static inline std::array<sockaddr_in, 2> Addresses;
    static inline std::array<ADDRINFOW, 2> Entries;
    static inline int Freed = 0;

    static int Get(const char16_t* AName, const char16_t* AService, const ADDRINFOW*, ADDRINFOW** AResult)
    {
        if (std::u16string_view(AName) == u"none")
            return 11001;
        const std::u16string_view Service(AService);
        const std::string Port(Service.begin(), Service.end());
        for (std::size_t Index = 0; Index < 2; ++Index) {
            Addresses[Index] = {};
            Addresses[Index].sin_family = AF_INET;
            Addresses[Index].sin_port = htons(static_cast<std::uint16_t>(std::stoi(Port)));
            Addresses[Index].sin_addr.s_addr = htonl(Index == 0 ? 0x7F000009 : INADDR_LOOPBACK);
            Entries[Index] = {};
            Entries[Index].ai_family = AF_INET;
            Entries[Index].ai_addr = reinterpret_cast<sockaddr*>(&Addresses[Index]);
            Entries[Index].ai_addrlen = sizeof(sockaddr_in);
        }
        Entries[0].ai_next = &Entries[1];
        *AResult = Entries.data();
        return 0;
    }
    static void Free(ADDRINFOW*) { ++Freed; }
};

} // namespace

TEST(TCPClient, TriesEveryAddressOfAHost)
{
    Zn::FinalizeWinsock();
    {
        const TZnScopedLibrary Script(
            "ws2_32.dll", {{"GetAddrInfoW", reinterpret_cast<void*>(TGetAddrInfoW(TwoAddresses::Get))},
                           {"freeaddrinfo", reinterpret_cast<void*>(TFreeaddrinfo(TwoAddresses::Free))}});
        const Server Peer([](int AConnection, int) {
            Server::Write(AConnection, "here.");
            Server::ReadToTheEnd(AConnection);
        });
        const auto Client = ClientOf(Peer.Port());
        Client->SetHost("two");
        EXPECT_EQ(Client->SendCmd("", '.'), "here.");
        EXPECT_EQ(Client->GetSocket().GetRemoteAddress(), "127.0.0.1");
        EXPECT_THROW(Client->SetHost("none"), Exception); // not while it is open
        Client->Disconnect();
        Client->SetHost("none");
        EXPECT_EQ(ErrorOf([&] { Client->Connect(); }), 11001);
        EXPECT_EQ(TwoAddresses::Freed, 1);
    }
    Zn::FinalizeWinsock();
}
