// Peers that misbehave or stall, and callers that lose their patience.

#include <atomic>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "tests/integration/winhttp/Exchange.h"
#include "tests/support/RawClient.h"
#include "tests/support/ScriptedPeer.h"

namespace
{

/// Sends AAnswer to each request, then ends the connection.
ScriptedPeer::Script Says(std::string AAnswer)
{
    return [Answer = std::move(AAnswer)](PeerConnection& APeer) {
        APeer.ReadHead();
        APeer.Send(Answer);
    };
}

struct Odd
{
    const char* Name;
    std::string Answer;
    std::uint32_t SendError; // 0: the head is good
    std::uint32_t BodyError;
    std::string Body;
};

TEST(Faults, OddAnswers)
{
    const std::string Ok = "HTTP/1.1 200 OK\r\n";
    std::string Many = Ok;
    for (int Line = 0; Line < 100'000; ++Line)
        Many += "X: y\r\n";
    std::string Lines = Ok;
    for (int Line = 0; Line < 1001; ++Line)
        Lines += "X: y\r\n";
    const Odd Cases[] = {
        {"nothing", "", ERROR_WINHTTP_CONNECTION_ERROR, 0, ""},
        {"half a head", "HTTP/1.1 200 OK\r\nContent-Le", ERROR_WINHTTP_CONNECTION_ERROR, 0, ""},
        {"no HTTP", "hello, world\r\n\r\n", ERROR_WINHTTP_INVALID_SERVER_RESPONSE, 0, ""},
        {"no status", "HTTP/1.1 abc OK\r\n\r\n", ERROR_WINHTTP_INVALID_SERVER_RESPONSE, 0, ""},
        {"two lengths", Ok + "Content-Length: 3\r\nContent-Length: 4\r\n\r\nabcd",
         ERROR_WINHTTP_INVALID_SERVER_RESPONSE, 0, ""},
        {"negative length", Ok + "Content-Length: -3\r\n\r\nabc", ERROR_WINHTTP_INVALID_SERVER_RESPONSE, 0,
         ""},
        {"cut short", Ok + "Content-Length: 10\r\n\r\nabc", 0, ERROR_WINHTTP_CONNECTION_ERROR, "abc"},
        {"longer than announced", Ok + "Content-Length: 3\r\n\r\nabcdef", 0, 0, "abc"},
        {"up to the end", Ok + "\r\nabcdef", 0, 0, "abcdef"},
        {"chunks",
         Ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2;x=y\r\nde\r\n0\r\nTrailer: z\r\n\r\n", 0, 0,
         "abcde"},
        {"chunks cut short", Ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n", 0,
         ERROR_WINHTTP_CONNECTION_ERROR, "abc"},
        {"bad chunk size", Ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\nxyz\r\n", 0,
         ERROR_WINHTTP_INVALID_SERVER_RESPONSE, "abc"},
        {"1001 lines", Lines + "\r\n", ERROR_WINHTTP_HEADER_COUNT_EXCEEDED, 0, ""},
        {"100,000 lines", Many + "\r\n", ERROR_WINHTTP_HEADER_COUNT_EXCEEDED, 0, ""},
        {"a line of 90 KB twice",
         Ok + "A: " + std::string(90'000, 'x') + "\r\nB: " + std::string(90'000, 'x') + "\r\n\r\n",
         ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, 0, ""},
        {"a line of 10 MB", Ok + "A: " + std::string(10'000'000, 'x'), ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, 0,
         ""},
        {"only interim answers", "HTTP/1.1 100 Continue\r\n\r\n", ERROR_WINHTTP_CONNECTION_ERROR, 0, ""},
    };
    for (const Odd& Case : Cases) {
        ScriptedPeer Peer(Says(Case.Answer));
        Client Client(Peer.Port());
        const Handle Request = Client.Open("GET", "/");
        const std::uint32_t Error = Send(Request);
        EXPECT_EQ(Error, Case.SendError) << Case.Name;
        if (Error != 0 || Case.SendError != 0)
            continue;
        std::uint32_t BodyError = 0;
        EXPECT_EQ(ReadAll(Request, BodyError), Case.Body) << Case.Name;
        EXPECT_EQ(BodyError, Case.BodyError) << Case.Name;
    }
}

TEST(Faults, EndlessHeadersEnd)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        APeer.ReadHead();
        APeer.Send("HTTP/1.1 200 OK\r\n");
        while (APeer.Send("X: y\r\n"))
            ;
    });
    Client Client(Peer.Port());
    EXPECT_EQ(Send(Client.Open("GET", "/")), ERROR_WINHTTP_HEADER_COUNT_EXCEEDED);
}

TEST(Faults, NobodyListens)
{
    EXPECT_EQ(Send(Client(FreePort()).Open("GET", "/")), ERROR_WINHTTP_CANNOT_CONNECT);
    EXPECT_EQ(Send(Client(80, nullptr, "no-such-name.invalid").Open("GET", "/")),
              ERROR_WINHTTP_NAME_NOT_RESOLVED);
}

TEST(Faults, AResetIsAConnectionError)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        APeer.ReadHead();
        APeer.Reset();
    });
    EXPECT_EQ(Send(Client(Peer.Port()).Open("GET", "/")), ERROR_WINHTTP_CONNECTION_ERROR);
}

TEST(Faults, AKeptConnectionThatDiedIsReplaced)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        if (!APeer.ReadHead().empty())
            APeer.Answer("one");
    });
    Client Client(Peer.Port());
    for (int Round = 0; Round < 5; ++Round) {
        const Handle Request = Client.Open("POST", "/");
        ASSERT_EQ(Send(Request, "body"), 0u) << Round;
        EXPECT_EQ(ReadAll(Request), "one");
    }
}

TEST(Faults, StallsEndWithATimeOut)
{
    const auto Stall = [](std::string AText) {
        return [Text = std::move(AText)](PeerConnection& APeer) {
            APeer.ReadHead();
            APeer.Send(Text);
            APeer.WaitForEnd();
        };
    };
    for (const char* Answer :
         {"", "HTTP/1.1 2", "HTTP/1.1 200 OK\r\nA: b\r\n", "HTTP/1.1 100 Continue\r\n\r\n"}) {
        ScriptedPeer Peer(Stall(Answer));
        Client Client(Peer.Port());
        const Handle Request = Client.Open("GET", "/");
        Client.Set(Request, WINHTTP_OPTION_RECEIVE_TIMEOUT, 50);
        EXPECT_EQ(Send(Request), ERROR_WINHTTP_TIMEOUT) << Answer;
    }
    ScriptedPeer InBody(Stall("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab"));
    Client Client(InBody.Port());
    const Handle Request = Client.Open("GET", "/");
    ASSERT_EQ(Send(Request), 0u); // with all the time that a busy machine needs
    Client.Set(Request, WINHTTP_OPTION_RECEIVE_TIMEOUT, 50);
    std::uint32_t Error = 0;
    EXPECT_EQ(ReadAll(Request, Error), "ab");
    EXPECT_EQ(Error, ERROR_WINHTTP_TIMEOUT);

    std::atomic<bool> Done{false};
    ScriptedPeer Deaf([&Done](PeerConnection& APeer) { // takes the head, and nothing of the body
        APeer.ReadHead();
        Done.wait(false);
    });
    ::Client Sender(Deaf.Port());
    const Handle Upload = Sender.Open("PUT", "/");
    Sender.Set(Upload, WINHTTP_OPTION_SEND_TIMEOUT, 50);
    EXPECT_EQ(Send(Upload, std::string(20'000'000, 'x')), ERROR_WINHTTP_TIMEOUT);
    Done = true;
    Done.notify_all();
}

/// A peer that lets each request hang at a place of its own, and a thread that closes the handle meanwhile.
TEST(Faults, ClosingFromAnotherThreadEndsACallWhereverItIs)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
            if (Head.starts_with("GET /head"))
                APeer.Send("HTTP/1.1 200 OK\r\nContent-Le");
            else if (Head.starts_with("GET /body"))
                APeer.Send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
            else if (Head.starts_with("GET /whole"))
                APeer.Answer("all of it");
        }
    });
    std::minstd_rand Random(7);
    Client Client(Peer.Port());
    const char* Targets[] = {"/nothing", "/head", "/body", "/whole"};
    for (int Round = 0; Round < 1000; ++Round) {
        Handle Request = Client.Open("GET", Targets[Round % 4]);
        const HINTERNET Raw = Request;
        std::thread Closer([&Request, Wait = Random() % 400] {
            std::this_thread::sleep_for(std::chrono::microseconds(Wait));
            Request.Close();
        });
        std::uint32_t Error = Send(Raw);
        if (Error == 0)
            ReadAll(Raw, Error);
        if (Round % 4 != 3 || Error != 0) {
            EXPECT_TRUE(Error == ERROR_WINHTTP_OPERATION_CANCELLED || Error == ERROR_INVALID_HANDLE) << Error;
        }
        Closer.join();
    }
}

TEST(Faults, ClosingTheConnectionOrTheSessionEndsWhatIsBelow)
{
    ScriptedPeer Peer([](PeerConnection& APeer) { APeer.WaitForEnd(); });
    for (const bool WholeSession : {false, true}) {
        Client Client(Peer.Port());
        const Handle Request = Client.Open("GET", "/");
        std::thread Closer([&] { (WholeSession ? Client.Session : Client.Connection).Close(); });
        EXPECT_EQ(Send(Request), ERROR_WINHTTP_OPERATION_CANCELLED);
        Closer.join();
        EXPECT_EQ(Send(Request), ERROR_WINHTTP_OPERATION_CANCELLED);
    }
}

TEST(Faults, ManyThreadsShareASession)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();)
            APeer.Answer(Head.substr(0, Head.find(" HTTP")), "Set-Cookie: a=b\r\n");
    });
    Client Client(Peer.Port());
    std::vector<std::thread> Threads;
    std::atomic<int> Good{0};
    for (int Index = 0; Index < 16; ++Index) {
        Threads.emplace_back([&, Index] {
            for (int Round = 0; Round < 63; ++Round) {
                const std::string Target = "/" + std::to_string(Index) + "/" + std::to_string(Round);
                const Handle Request = Client.Open("GET", Target);
                Good += Send(Request) == 0 && ReadAll(Request) == "GET " + Target;
            }
        });
    }
    for (std::thread& Each : Threads)
        Each.join();
    EXPECT_EQ(Good.load(), 16 * 63);
    EXPECT_LE(Peer.Connections(), 32);
}

} // namespace
