// What clients do wrong, and applications too: each case ends with a status or a closed connection, in time.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <random>

#include <sys/resource.h>

#include "platform/sync/Event.h"
#include "tests/integration/httpapi/ServiceHarness.h"

namespace
{

using Clock = std::chrono::steady_clock;

void Greet(TestService& AService, const THTTP_REQUEST& ARequest)
{
    AService.Answer(ARequest, "hello");
}

std::size_t OpenDescriptors()
{
    std::size_t Count = 0;
    for ([[maybe_unused]] const auto& Each : std::filesystem::directory_iterator("/proc/self/fd"))
        ++Count;
    return Count;
}

/// Whether the condition becomes true within the limit.
template <class T>
bool Becomes(T ACondition)
{
    const auto End = Clock::now() + std::chrono::milliseconds(RawClient::Limit);
    while (!ACondition()) {
        if (Clock::now() > End)
            return false;
        std::this_thread::yield();
    }
    return true;
}

} // namespace

TEST(ServiceFaults, MalformedHeadsAreRefusedAndTheConnectionIsClosed)
{
    TestService Service(Greet);
    const struct
    {
        const char* Name;
        const char* Request;
        const char* Status;
    } Cases[] = {
        {"no host", "GET / HTTP/1.1\r\n\r\n", "400"},
        {"bare LF", "GET / HTTP/1.1\nHost: localhost\n\n", "400"},
        {"smuggling",
         "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n",
         "400"},
        {"gzip coding", "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: gzip\r\n\r\n", "400"},
        {"version", "GET / HTTP/2.0\r\nHost: localhost\r\n\r\n", "505"},
        {"TLS hello", "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 and so on and on\r\n\r\n", "400"},
    };
    for (const auto& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        auto Client = Service.Connect();
        // What follows must not be taken for a request.
        Client.Send(std::string(Case.Request) + Get("/smuggled"));
        const std::string Answer = Client.ReadToEnd();
        EXPECT_EQ(StatusOf(Answer), Case.Status);
        EXPECT_EQ(Answer.find("hello"), std::string::npos);
    }
    auto Long = Service.Connect();
    Long.Send("GET /" + std::string(20000, 'a'));
    EXPECT_EQ(StatusOf(Long.ReadToEnd()), "414");
    auto Wide = Service.Connect();
    Wide.Send("GET / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(20000, 'a'));
    EXPECT_EQ(StatusOf(Wide.ReadToEnd()), "431");
}

TEST(ServiceFaults, SlowPeersRunIntoTheirLimits)
{
    {
        WithLimits([](TZnHttpServiceLimits& ALimits) {
            ALimits.HeadWait = 300;
            ALimits.IdleWait = 300;
        });
        TestService Service(Greet);
        auto Idle = Service.Connect();
        auto HalfHead = Service.Connect();
        HalfHead.Send("GET / HTTP/1.1\r\nHo");
        EXPECT_EQ(StatusOf(HalfHead.ReadToEnd()), "408");
        EXPECT_TRUE(Idle.EndsSilently());
    }
    WithLimits([](TZnHttpServiceLimits& ALimits) { ALimits.TransferWait = 300; });
    std::atomic<std::uint32_t> BodyResult{0};
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        std::uint32_t Result = 0;
        AService.ReadBody(ARequest, Result);
        BodyResult = Result;
        AService.Answer(ARequest, std::string(Known(ARequest, HttpHeaderFrom).empty() ? 5 : 50'000'000, 'x'));
    });
    auto HalfBody = Service.Connect();
    HalfBody.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100\r\n\r\nonly this");
    const std::string Answer = HalfBody.ReadToEnd();
    EXPECT_EQ(BodyResult, ERROR_CONNECTION_INVALID);
    EXPECT_NE(Answer.find("Connection: close"), std::string::npos);

    // Reads nothing of 50 MB: the one receiving thread is free again once the limit is reached.
    RawClient Deaf(Service.Port, 4096);
    Deaf.Send(Get("/", "From: me\r\n"));
    auto Next = Service.Connect();
    EXPECT_EQ(StatusOf(Next.Ask(Get("/"))), "200");
}

TEST(ServiceFaults, BodiesThatEndEarlyOrMakeNoSenseAreToldAsLost)
{
    std::atomic<std::uint32_t> Result{0};
    const auto Done = std::make_shared<TZnKernelEvent>(false);
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        std::uint32_t Code = 0;
        AService.ReadBody(ARequest, Code);
        Result = Code;
        AService.Answer(ARequest, "read");
        Done->Set();
    });
    const std::string Chunked = "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const std::string& Body :
         {Chunked + "5\r\nab", Chunked + "zz\r\n", Chunked + "3\r\nabcd\r\n0\r\n\r\n",
          Chunked + "ffffffffffffffffff\r\n",
          std::string("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\nabc")}) {
        SCOPED_TRACE(Body);
        auto Client = Service.Connect();
        Client.Send(Body);
        Client.EndSending();
        ASSERT_TRUE(Done->WaitFor(RawClient::Limit));
        EXPECT_EQ(Result, ERROR_CONNECTION_INVALID);
        EXPECT_NE(Client.ReadToEnd().find("Connection: close"), std::string::npos);
    }
}

TEST(ServiceFaults, UnreadBodiesNeitherBlockNorBecomeRequests)
{
    TestService Service(Greet); // never reads a body
    auto Client = Service.Connect();
    for (int Round = 0; Round < 3; ++Round)
        EXPECT_EQ(
            BodyOf(Client.Ask(
                "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 19\r\n\r\nGET /x HTTP/1.1\r\n\r\n")),
            "hello");
    // More than is worth reading: answered, then closed without a reset taking the answer away.
    auto Large = Service.Connect();
    Large.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 900000\r\n\r\n");
    Large.Send(std::string(900'000, 'x'));
    EXPECT_EQ(StatusOf(Large.ReadToEnd()), "200");
}

TEST(ServiceFaults, ARequestThatDoesNotFitTheBufferIsClosedAtOnce)
{
    TestService Service(Greet, sizeof(THTTP_REQUEST) + 512);
    auto Client = Service.Connect();
    Client.Send(Get("/", "X-Long: " + std::string(600, 'a') + "\r\n"));
    EXPECT_TRUE(Client.EndsSilently());
    auto Next = Service.Connect();
    EXPECT_EQ(BodyOf(Next.Ask(Get("/"))), "hello");
}

TEST(ServiceFaults, TheEndOfAQueueReleasesEverybody)
{
    const auto AtWork = std::make_shared<TZnKernelEvent>();
    const auto GoOn = std::make_shared<TZnKernelEvent>();
    std::atomic<std::uint32_t> Result{0};
    auto Service = std::make_unique<TestService>([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        const THandle Queue = AService.Queue;
        AtWork->Set();
        char Buffer[16];
        std::uint32_t Received = 0;
        Result = HttpReceiveRequestEntityBody(Queue, ARequest.RequestId, 0, Buffer, sizeof Buffer, &Received,
                                              nullptr);
        GoOn->Set();
    });
    auto InBody = Service->Connect();
    InBody.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\n");
    ASSERT_TRUE(AtWork->WaitFor(RawClient::Limit));
    auto Waiting = Service->Connect();
    Waiting.Send(Get("/"));
    auto Idle = Service->Connect();
    Service->CloseQueue();
    EXPECT_TRUE(GoOn->WaitFor(RawClient::Limit));
    // Lost while it waited, or the handle was gone before it came to that.
    EXPECT_TRUE(Result == ERROR_CONNECTION_INVALID || Result == ERROR_INVALID_HANDLE) << Result;
    InBody.ReadToEnd();
    Waiting.ReadToEnd();
    Idle.ReadToEnd();
    Service.reset();
}

TEST(ServiceFaults, ConnectionLimitsHold)
{
    WithLimits([](TZnHttpServiceLimits& ALimits) { ALimits.ConnectionsPerAddress = 3; });
    TestService Service(Greet);
    std::vector<RawClient> Clients;
    for (int Index = 0; Index < 3; ++Index) {
        Clients.push_back(Service.Connect());
        EXPECT_EQ(BodyOf(Clients.back().Ask(Get("/"))), "hello");
    }
    auto Fourth = Service.Connect();
    Fourth.Send(Get("/"));
    EXPECT_EQ(StatusOf(Fourth.ReadToEnd()), "none");
    Clients.pop_back();
    EXPECT_TRUE(Becomes([&] { return StatusOf(Service.Connect().Ask(Get("/"))) == "200"; }));
}

TEST(ServiceFaults, RunningOutOfDescriptorsCostsTheNewcomersOnly)
{
    TestService Service(Greet);
    auto Client = Service.Connect();
    EXPECT_EQ(BodyOf(Client.Ask(Get("/"))), "hello");
    rlimit Old{};
    getrlimit(RLIMIT_NOFILE, &Old);
    const rlimit Tight{OpenDescriptors() + 3, Old.rlim_max};
    std::vector<int> Taken;
    RawClient Newcomer(Service.Port);
    setrlimit(RLIMIT_NOFILE, &Tight);
    for (int Fd = dup(0); Fd >= 0; Fd = dup(0))
        Taken.push_back(Fd);
    for (int Round = 0; Round < 100; ++Round)
        EXPECT_EQ(BodyOf(Client.Ask(Get("/"))), "hello");
    for (const int Fd : Taken)
        close(Fd);
    setrlimit(RLIMIT_NOFILE, &Old);
    EXPECT_TRUE(Becomes([&] { return StatusOf(Service.Connect().Ask(Get("/"))) == "200"; }));
}

TEST(ServiceFaults, ConnectionsDroppedAtRandomPointsLeakNothing)
{
    constexpr int Connections = 2000;
    TestService Service([](TestService& AService, const THTTP_REQUEST& ARequest) {
        std::uint32_t Result = 0;
        AService.ReadBody(ARequest, Result);
        AService.Answer(ARequest, std::string(200'000, 'x'));
    });
    const std::size_t Before = OpenDescriptors();
    const std::string Request = Get("/") +
                                "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: "
                                "chunked\r\n\r\n10\r\n0123456789abcdef\r\n0\r\n\r\n" +
                                "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 8\r\n\r\n01234567" +
                                Get("/");
    std::mt19937 Random(20261122);
    for (int Index = 0; Index < Connections; ++Index) {
        auto Client = Service.Connect();
        Client.Send(Request.substr(0, Random() % (Request.size() + 1)));
        if (Random() % 2 == 0)
            Client.Reset();
        Client.Close();
        if (Index % 50 == 49) { // the queue is full at 1000 otherwise
            ASSERT_EQ(StatusOf(Service.Connect().Ask(Get("/"))), "200");
        }
    }
    EXPECT_TRUE(Becomes([&] { return OpenDescriptors() <= Before; }))
        << OpenDescriptors() << " against " << Before;
}

TEST(ServiceFaults, ManyStartsAndStopsUnderLoad)
{
    for (int Round = 0; Round < 30; ++Round) {
        auto Service = std::make_unique<TestService>(Greet);
        const std::uint16_t Port = Service->Port;
        std::atomic<bool> Stop{false};
        std::thread Load([&] {
            while (!Stop) {
                try {
                    RawClient Client(Port);
                    for (int Index = 0; Index < 5; ++Index)
                        Client.Ask(Get("/"));
                } catch (const std::runtime_error&) {
                    return; // refused: the service has stopped
                }
            }
        });
        auto Client = Service->Connect();
        EXPECT_EQ(BodyOf(Client.Ask(Get("/"))), "hello");
        Service.reset();
        Stop = true;
        Load.join();
    }
}
