// The server over the real HTTP service: what a client sees, whatever handlers do.

#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ServerHarness.h"
#include "common/Deflate.h"
#include "common/Exceptions.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

class EachVersion : public testing::TestWithParam<TZnHTTPServerVersion>
{
};
INSTANTIATE_TEST_SUITE_P(Versions, EachVersion, testing::Values(HTTPServerV1, HTTPServerV2),
                         [](const auto& Info) { return Info.param == HTTPServerV1 ? "V1" : "V2"; });

TEST_P(EachVersion, ServesManyClientsAtOnceEachItsOwnAnswer)
{
    ServerHarness Harness([](PZnHTTPServerRequest Request,
                             Answer& Answer) { Answer.SetResponseText(Request->UrlData.Document); },
                          GetParam());
    std::atomic<int> Wrong{0};
    std::vector<std::thread> Clients;
    for (int Client = 0; Client < 16; ++Client)
        Clients.emplace_back([&, Client] {
            std::optional<RawClient> Connection(Harness.Port);
            for (int At = 0; At < 50; ++At) {
                const std::string Name = std::to_string(Client) + "-" + std::to_string(At);
                // With a queue of 10 the service itself may refuse what comes in a burst.
                const std::string Got = Connection->Ask(Harness.Request("/" + Name));
                if (StatusOf(Got) == "503" && GetParam() == HTTPServerV2) {
                    Connection.emplace(Harness.Port);
                    continue;
                }
                Wrong += StatusOf(Got) != "200" || BodyOf(Got) != Name;
            }
        });
    for (auto& Client : Clients)
        Client.join();
    EXPECT_EQ(Wrong, 0);
}

TEST_P(EachVersion, StopsUnderLoadAndStartsAgain)
{
    ServerHarness Harness([](auto*, Answer& Answer) { Answer.SetResponseText("x"); }, GetParam());
    const std::size_t Before = OpenDescriptors();
    for (int Round = 0; Round < 5; ++Round) {
        std::atomic<int> Answered{0};
        std::atomic<bool> Stop{false};
        std::vector<std::thread> Clients;
        for (int Client = 0; Client < 4; ++Client)
            Clients.emplace_back([&] {
                while (!Stop) {
                    try {
                        RawClient Connection(Harness.Port);
                        while (StatusOf(Connection.Ask(Harness.Request("/"))) == "200")
                            ++Answered;
                    } catch (const std::runtime_error&) {
                        std::this_thread::yield(); // nobody listens just then
                    }
                }
            });
        ASSERT_TRUE(Eventually([&] { return Answered >= 100; }));
        Harness.Server.SetActive(false);
        EXPECT_THROW(RawClient(Harness.Port), std::runtime_error);
        Stop = true;
        for (auto& Client : Clients)
            Client.join();
        Harness.Server.SetActive(true);
        EXPECT_EQ(StatusOf(Harness.Get("/")), "200");
    }
    Harness.Server.SetActive(false);
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() <= Before; })) << OpenDescriptors();
}

TEST(Server, ATakenPrefixIsRefusedAndLeavesTheServerInactive)
{
    ServerHarness Harness([](auto*, Answer& Answer) { Answer.SetResponseText("first"); });
    TZnHTTPServer Second(nullptr);
    Second.SetBindings(Harness.Server.GetBindings());
    try {
        Second.SetActive(true);
        FAIL();
    } catch (const EZnHTTPException& E) {
        EXPECT_EQ(E.GetErrorCode(), 183);
    }
    EXPECT_FALSE(Second.GetActive());
    EXPECT_EQ(BodyOf(Harness.Get("/")), "first");
}

TEST(Server, AnythingThrownIsAPageAndTheConnectionGoesOn)
{
    ServerHarness Harness([](PZnHTTPServerRequest Request, Answer&) {
        const std::string& What = Request->UrlData.Document;
        if (What == "http")
            throw EZnHTTPException("No such thing", 404);
        if (What == "std")
            throw std::invalid_argument("bad");
        if (What == "memory")
            throw std::bad_alloc();
        throw 42;
    });
    RawClient Client(Harness.Port);
    EXPECT_EQ(StatusOf(Client.Ask(Harness.Request("/http"))), "404");
    EXPECT_NE(Client.Ask(Harness.Request("/std")).find("std::invalid_argument: bad"), std::string::npos);
    EXPECT_EQ(StatusOf(Client.Ask(Harness.Request("/memory"))), "500");
    EXPECT_EQ(BodyOf(Client.Ask(Harness.Request("/int", "Accept: application/json\r\n"))),
              "\"unknown exception\"");
}

TEST(Server, NoClientWaitsWhereNothingIsSent)
{
    ServerHarness Harness([](PZnHTTPServerRequest Request, Answer& Answer) {
        if (Request->UrlData.Document == "nothing")
            Answer.SetContentType({});
        if (Request->UrlData.Document == "chunk")
            Answer.SetMaxChunkSize(0);
        if (Request->UrlData.Document == "split")
            Answer.AddUnknownHeader("X", "a\r\nSet-Cookie: b=c"); // refused by the service
    });
    for (const char* Target : {"/nothing", "/chunk", "/split"}) {
        RawClient Client(Harness.Port);
        Client.Send(Harness.Request(Target));
        EXPECT_TRUE(Client.EndsSilently()) << Target;
    }
    Harness.Server.StopAcceptingRequests();
    RawClient Client(Harness.Port);
    Client.Send(Harness.Request("/"));
    EXPECT_TRUE(Client.EndsSilently());
}

TEST(Server, RangesHeadAndDeflate)
{
    const Zn::TemporaryFolder Folder;
    const std::string Name = Folder.Write("file", std::string(500, 'a') + std::string(500, 'b'));
    ServerHarness Harness([&](PZnHTTPServerRequest Request, Answer& Answer) {
        if (Request->UrlData.Document == "file") {
            Answer.SetResponseFileName(Name);
            Answer.SetPartialContent(true);
        } else {
            Answer.SetContentEncoding("deflate");
            Answer.SetResponseText(std::string(5000, 'x'));
        }
    });
    RawClient Client(Harness.Port);
    std::string Got = Client.Ask(Harness.Request("/file", "Range: bytes=499-500\r\n"));
    EXPECT_EQ(StatusOf(Got), "206");
    EXPECT_NE(Got.find("Content-Range: bytes 499-500/1000\r\n"), std::string::npos);
    EXPECT_EQ(BodyOf(Got), "ab");
    Got = Client.Ask(Harness.Request("/file", "Range: bytes=1000-\r\n"));
    EXPECT_EQ(StatusOf(Got), "416");
    EXPECT_EQ(BodyOf(Got), "");
    Client.Send(Harness.Request("/file", {}, "HEAD"));
    Got = Client.Response(true);
    EXPECT_NE(Got.find("Content-Length: 1000\r\n"), std::string::npos);
    EXPECT_EQ(BodyOf(Got), "");
    Got = Client.Ask(Harness.Request("/text", "Accept-Encoding: deflate\r\n"));
    const std::string Packed = BodyOf(Got);
    TZnMemoryStream Source(std::as_bytes(std::span(Packed)));
    TZnStringStream Target;
    ZlDecompressStream(Source, Target);
    EXPECT_EQ(Target.GetSize(), 5000);
}

TEST(Server, AnUploadOf100MiBReachesTheHandler)
{
    std::string Block(1 << 20, '\0');
    for (std::size_t At = 0; At < Block.size(); ++At)
        Block[At] = static_cast<char>(At * 2654435761U >> 24);
    ServerHarness Harness([&](PZnHTTPServerRequest Request, Answer& Answer) {
        std::shared_ptr<IZnBodyContent> Body;
        Request->GetBody(Body);
        const std::string_view Bytes = Body->AsStream(true)->View();
        std::size_t Same = 0;
        for (std::size_t At = 0; At + Block.size() <= Bytes.size(); At += Block.size())
            Same += Bytes.substr(At, Block.size()) == Block;
        Answer.SetResponseText(std::to_string(Bytes.size()) + " " + std::to_string(Same));
    });
    RawClient Known(Harness.Port);
    Known.Send(Harness.Request("/", "Content-Length: 104857600\r\n", "POST"));
    for (int At = 0; At < 100; ++At)
        Known.Send(Block);
    EXPECT_EQ(BodyOf(Known.Response()), "104857600 100");

    RawClient Chunked(Harness.Port);
    Chunked.Send(Harness.Request("/", "Transfer-Encoding: chunked\r\n", "POST"));
    for (int At = 0; At < 10; ++At)
        Chunked.Send("100000\r\n" + Block + "\r\n");
    Chunked.Send("0\r\n\r\n");
    EXPECT_EQ(BodyOf(Chunked.Response()), "10485760 10");
}

TEST(Server, BodiesThatAreTooLongOrBreakOff)
{
    std::atomic<int> Entered{0};
    std::atomic<int> Gone{0};
    ServerHarness Harness([&](PZnHTTPServerRequest Request, Answer&) {
        std::shared_ptr<IZnBodyContent> Body;
        ++Entered;
        try {
            Request->GetBody(Body);
        } catch (const EZnHTTPConnection&) {
            ++Gone;
            throw;
        }
    });
    Harness.Server.SetMaxBodySize(1000);
    RawClient Long(Harness.Port);
    Long.Send(Harness.Request("/", "Content-Length: 1001\r\n", "POST") + std::string(1001, 'x'));
    EXPECT_EQ(StatusOf(Long.Response()), "413");
    {
        RawClient Broken(Harness.Port);
        Broken.Send(Harness.Request("/", "Content-Length: 500\r\n", "POST") + "x");
        ASSERT_TRUE(Eventually([&] { return Entered == 2; })); // a reset takes unread bytes with it
        Broken.Reset();
    }
    ASSERT_TRUE(Eventually([&] { return Gone > 0; }));
    EXPECT_EQ(StatusOf(Harness.Get("/")), "200");
}

TEST_P(EachVersion, AWaitingHandlerWakesWithItsClientAndWithTheServer)
{
    std::atomic<int> Waiting{0};
    std::atomic<std::uint32_t> Result{77};
    ServerHarness Harness(
        [&](PZnHTTPServerRequest Request, Answer&) {
            ++Waiting;
            Result = Request->WaitForEvents(60'000, {});
        },
        GetParam());
    {
        RawClient Client(Harness.Port);
        Client.Send(Harness.Request("/"));
        ASSERT_TRUE(Eventually([&] { return Waiting >= 1; }));
    }
    ASSERT_TRUE(Eventually([&] { return Result != 77; }));
    // 1: the disconnect; or all ones, when it came ahead of the wait.
    EXPECT_TRUE(Result == 1 || Result == 0xFFFFFFFF) << Result;

    RawClient Client(Harness.Port);
    Client.Send(Harness.Request("/"));
    ASSERT_TRUE(Eventually([&] { return Waiting >= 2; }));
    Harness.Server.SetActive(false);
    EXPECT_EQ(Result, 0U);
    EXPECT_TRUE(Client.EndsSilently());
}

TEST(Server, TheRequestBeyondTheWorkersIs503)
{
    struct SmallServer : TZnHTTPServer
    {
        SmallServer() : TZnHTTPServer(nullptr) { FMaxWorkerThreadCnt = 2; }
    } Server;
    const std::uint16_t Port = FreePort();
    std::atomic<int> Inside{0};
    Server.SetBindings({"http://localhost:" + std::to_string(Port) + "/"});
    Server.SetOnResponse([&](auto&, PZnHTTPServerRequest Request, auto&) {
        ++Inside;
        Request->WaitForEvents(60'000, {});
    });
    Server.SetActive(true);
    const std::string Ask = "GET / HTTP/1.1\r\nHost: localhost:" + std::to_string(Port) + "\r\n\r\n";
    RawClient First(Port), Second(Port), Third(Port);
    First.Send(Ask);
    Second.Send(Ask);
    ASSERT_TRUE(Eventually([&] { return Inside >= 2; }));
    Third.Send(Ask);
    const std::string Got = Third.ReadToEnd();
    EXPECT_EQ(Got.substr(0, Got.find("\r\n")), "HTTP/1.1 503 Server resources exhausted... Try again later.");
    Server.SetActive(false);
}

TEST(Server, ARawHandlerAnswersByItself)
{
    const std::uint16_t Port = FreePort();
    TZnHTTPServer Server(nullptr);
    Server.SetBindings({"http://localhost:" + std::to_string(Port) + "/"});
    Server.SetOnResponseRaw([](TZnCustomHTTPServer&, TZnHTTPServerResponseThread& Worker) {
        THTTP_RESPONSE Head{};
        Head.StatusCode = 202;
        std::uint32_t Sent = 0;
        Worker.SendHttpResponse(HTTP_SEND_RESPONSE_FLAG_MORE_DATA, &Head, Sent);
        for (const char* Piece : {"one", "two"}) {
            THTTP_DATA_CHUNK Chunk{};
            Chunk.FromMemory = {Piece, 3};
            Worker.SendHttpResponseEntityBody(HTTP_SEND_RESPONSE_FLAG_MORE_DATA, 1, &Chunk, Sent);
        }
        Worker.SendHttpResponseEntityBody(0, 0, nullptr, Sent);
    });
    Server.SetActive(true);
    RawClient Client(Port);
    for (int Round = 0; Round < 2; ++Round) {
        const std::string Got =
            Client.Ask("GET / HTTP/1.1\r\nHost: localhost:" + std::to_string(Port) + "\r\n\r\n");
        EXPECT_EQ(StatusOf(Got), "202");
        EXPECT_EQ(BodyOf(Got), "3\r\none\r\n3\r\ntwo\r\n0\r\n\r\n");
    }
    Server.SetActive(false);
}

TEST(Server, ConnectionsDroppedAtRandomPointsLeakNothing)
{
    ServerHarness Harness([](PZnHTTPServerRequest Request, Answer& Answer) {
        std::shared_ptr<IZnBodyContent> Body;
        Request->GetBody(Body);
        Answer.SetResponseText(std::string(100'000, 'x'));
    });
    const std::string Whole = Harness.Request("/", "Content-Length: 100\r\n", "POST") + std::string(100, 'b');
    StatusOf(Harness.Get("/"));
    const std::size_t Before = OpenDescriptors();
    for (unsigned At = 0; At < 1000; ++At) {
        RawClient Client(Harness.Port);
        Client.Send(std::string_view(Whole).substr(0, At * 7919 % (Whole.size() + 1)));
        if (At % 2)
            Client.Reset();
    }
    // Some of a thousand may find all workers at work, and so may who comes behind them.
    EXPECT_TRUE(Eventually([&] { return StatusOf(Harness.Get("/")) == "200"; }));
    ASSERT_TRUE(
        Eventually([&] { return Harness.Server.GetIdleWorkerCount() == Harness.Server.GetWorkerCount(); }));
    Harness.Server.SetActive(false);
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() <= Before; })) << OpenDescriptors();
}

} // namespace
