#include "platform/httpapi/Httpapi.h"

#include <atomic>

#include "platform/sync/Event.h"
#include "platform/sync/File.h"
#include "tests/integration/httpapi/ServiceHarness.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

void EchoUrl(TestService& AService, const THTTP_REQUEST& ARequest)
{
    AService.Answer(ARequest, FullUrl(ARequest));
}

void EchoBody(TestService& AService, const THTTP_REQUEST& ARequest)
{
    std::uint32_t Result = 0;
    const std::string Body = AService.ReadBody(ARequest, Result);
    AService.Answer(ARequest, std::to_string(Result) + ":" + Body);
}

std::string Repeated(std::size_t ALength)
{
    std::string Text(ALength, ' ');
    for (std::size_t Index = 0; Index < ALength; ++Index)
        Text[Index] = static_cast<char>('a' + Index % 23);
    return Text;
}

} // namespace

TEST(Service, GivesTheRequestAsItCame)
{
    std::string Seen;
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        if (ARequest.Headers.UnknownHeaderCount == 0)
            return EchoUrl(AService, ARequest);
        const THTTP_UNKNOWN_HEADER& Other = ARequest.Headers.pUnknownHeaders[0];
        Seen = Known(ARequest, HttpHeaderAccept) + "|" + Known(ARequest, HttpHeaderCookie) + "|" +
               std::string(Other.pName, Other.NameLength) + "=" +
               std::string(Other.pRawValue, Other.RawValueLength) + "|" +
               std::string(ARequest.pUnknownVerb, ARequest.UnknownVerbLength) + "|" +
               std::string(ARequest.pRawUrl, ARequest.RawUrlLength);
        AService.Answer(ARequest, FullUrl(ARequest));
    });
    auto Client = Service.Connect();
    const std::string Answer =
        Client.Ask("PATCH /a/./b/%2E%2E/c%20d?x=1&y HTTP/1.1\r\nHost: LocalHost:99\r\nAccept: a\r\n"
                   "Cookie: b=1\r\naccept: c\r\nX-Own:  v w \r\nCookie: d=2\r\n\r\n");
    EXPECT_EQ(BodyOf(Answer), "http://localhost:99/a/c%20d?x=1&y");
    EXPECT_EQ(Seen, "a, c|b=1; d=2|X-Own=v w|PATCH|/a/./b/%2E%2E/c%20d?x=1&y");
    EXPECT_NE(Answer.find("\r\nDate: "), std::string::npos);
    EXPECT_NE(Answer.find("\r\nServer: "), std::string::npos);
    EXPECT_EQ(BodyOf(Client.Ask("GET http://localhost/abs?q HTTP/1.1\r\nHost: ignored\r\n\r\n")),
              "http://localhost:80/abs?q");
}

TEST(Service, KeepsTheConnectionAsVersionAndFieldsSay)
{
    TestService Service(EchoUrl);
    const struct
    {
        const char* Name;
        std::string Request;
        bool Stays;
    } Cases[] = {
        {"1.1", Get("/"), true},
        {"1.1 close", Get("/", "Connection: Close\r\n"), false},
        {"1.0", "GET / HTTP/1.0\r\nHost: localhost\r\n\r\n", false},
        {"1.0 keep-alive", "GET / HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n", true},
    };
    for (const auto& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        auto Client = Service.Connect();
        const std::string Answer = Client.Ask(Case.Request);
        EXPECT_EQ(StatusOf(Answer), "200");
        EXPECT_EQ(Answer.find("Connection: close") == std::string::npos, Case.Stays);
        if (Case.Stays)
            EXPECT_EQ(StatusOf(Client.Ask(Get("/again"))), "200");
        else
            EXPECT_TRUE(Client.EndsSilently());
    }
}

TEST(Service, AnswersPipelinedRequestsInOrderHoweverTheyWereCut)
{
    TestService Service(EchoBody);
    std::string All;
    for (int Index = 0; Index < 50; ++Index)
        All += Index % 3 == 0 ? "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\n" +
                                    std::to_string(100 + Index)
               : Index % 3 == 1 ? "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: "
                                  "chunked\r\n\r\n1\r\n1\r\n2;x=\"y\"\r\n" +
                                      std::to_string(10 + Index) + "\r\n0\r\nTrailer-Field: z\r\n\r\n"
                                : Get("/");
    for (const std::size_t Step : {All.size(), std::size_t{1}, std::size_t{7}, std::size_t{100}}) {
        SCOPED_TRACE(Step);
        auto Client = Service.Connect();
        for (std::size_t At = 0; At < All.size(); At += Step)
            ASSERT_TRUE(Client.Send(std::string_view(All).substr(At, Step)));
        for (int Index = 0; Index < 50; ++Index)
            EXPECT_EQ(BodyOf(Client.Response()), Index % 3 == 0   ? "38:" + std::to_string(100 + Index)
                                                 : Index % 3 == 1 ? "38:1" + std::to_string(10 + Index)
                                                                  : "38:");
    }
}

TEST(Service, AsksForABodyThatWaitsForContinue)
{
    TestService Service(EchoBody);
    auto Client = Service.Connect();
    Client.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 4\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(Client.Response(), "HTTP/1.1 100 Continue\r\n\r\n");
    Client.Send("body");
    EXPECT_EQ(BodyOf(Client.Response()), "38:body");

    // A handler that answers without asking: no 100, and the connection can't go on.
    TestService Refusing(EchoUrl);
    auto Other = Refusing.Connect();
    Other.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 4\r\nExpect: 100-continue\r\n\r\n");
    const std::string Answer = Other.Response();
    EXPECT_EQ(StatusOf(Answer), "200");
    EXPECT_NE(Answer.find("Connection: close"), std::string::npos);
    EXPECT_TRUE(Other.EndsSilently());
}

TEST(Service, FramesTheBodyByWhatTheHandlerGives)
{
    const std::string Long = Repeated(3'000'000);
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        constexpr std::uint32_t More = HTTP_SEND_RESPONSE_FLAG_MORE_DATA;
        const std::string Path = FullUrl(ARequest).substr(sizeof "http://localhost:80" - 1);
        if (Path == "/pieces") {
            AService.SendHead(ARequest, 200, More);
            AService.SendBody(ARequest, "one ", More);
            AService.SendBody(ARequest, "", More);
            AService.SendBody(ARequest, Long, More);
            AService.SendBody(ARequest, "", 0);
        } else if (Path == "/none") {
            AService.SendHead(ARequest, 204, More);
            AService.SendBody(ARequest, "not to be seen");
        } else if (Path == "/unchanged") {
            AService.SendHead(ARequest, 304, 0, "1234");
        } else if (Path == "/short") {
            AService.SendHead(ARequest, 200, More, "100");
            AService.SendBody(ARequest, "ten bytes.");
        } else {
            AService.Answer(ARequest, Long);
        }
    });
    auto Client = Service.Connect();
    const std::string Pieces = Client.Ask(Get("/pieces"));
    EXPECT_NE(Pieces.find("Transfer-Encoding: chunked"), std::string::npos);
    EXPECT_TRUE(BodyOf(Pieces) == "4\r\none \r\n2dc6c0\r\n" + Long + "\r\n0\r\n\r\n"); // too long to print
    EXPECT_TRUE(BodyOf(Client.Ask(Get("/long"))) == Long);
    Client.Send("HEAD /long HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const std::string Head = Client.Response(true);
    EXPECT_NE(Head.find("Content-Length: 3000000"), std::string::npos);
    const std::string None = Client.Ask(Get("/none"));
    EXPECT_EQ(StatusOf(None), "204");
    EXPECT_EQ(None.find("Content-Length"), std::string::npos);
    EXPECT_EQ(None.find("Transfer-Encoding"), std::string::npos);
    Client.Send(Get("/unchanged"));
    EXPECT_NE(Client.Response(true).find("Content-Length: 1234"), std::string::npos);
    Client.Send("GET /pieces HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_TRUE(BodyOf(Client.ReadToEnd()) == "one " + Long);
    auto Short = Service.Connect();
    Short.Send(Get("/short"));
    EXPECT_EQ(BodyOf(Short.ReadToEnd()), "ten bytes.");
}

TEST(Service, SendsFilesByRangeBesideMemory)
{
    const std::string Content = Repeated(2'000'000);
    const Zn::TemporaryFolder Folder;
    const THandle File = OpenFileForRead(Folder.Write("file", Content).c_str());
    ASSERT_NE(File, 0U);
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        THTTP_DATA_CHUNK Chunks[3]{};
        Chunks[0].FromMemory = {"<", 1};
        Chunks[1].DataChunkType = HttpDataChunkFromFileHandle;
        Chunks[1].FromFileHandle = {{1000, HTTP_BYTE_RANGE_TO_EOF}, File};
        Chunks[2].FromMemory = {">", 1};
        AService.SendHead(ARequest, 200, HTTP_SEND_RESPONSE_FLAG_MORE_DATA,
                          ARequest.Version == HTTP_VERSION_1_0 ? "1999002" : "");
        HttpSendResponseEntityBody(AService.Queue, ARequest.RequestId, 0, 3, Chunks, nullptr, nullptr, 0,
                                   nullptr, nullptr);
    });
    auto Client = Service.Connect();
    const std::string Rest = Content.substr(1000);
    EXPECT_TRUE(BodyOf(Client.Ask(Get("/"))) == "1\r\n<\r\n1e8098\r\n" + Rest + "\r\n1\r\n>\r\n0\r\n\r\n");
    EXPECT_TRUE(BodyOf(Client.Ask("GET / HTTP/1.0\r\nHost: localhost\r\n\r\n")) == "<" + Rest + ">");
    CloseHandle(File);
}

TEST(Service, RefusesHeadersThatWouldAddLines)
{
    std::atomic<std::uint32_t> Result{NO_ERROR};
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        Result = AService.SendHead(ARequest, 302, 0, {}, "/next\r\nSet-Cookie: stolen=1");
        ZnHttpDropRequest(AService.Queue, ARequest.RequestId);
    });
    auto Client = Service.Connect();
    Client.Send(Get("/"));
    EXPECT_TRUE(Client.EndsSilently());
    EXPECT_EQ(Result, ERROR_INVALID_PARAMETER);
}

TEST(Service, SharesAPortAmongQueuesByTheirPrefixes)
{
    TestService First(
        [](TestService& AService, const THTTP_REQUEST& ARequest) { AService.Answer(ARequest, "first"); });
    THandle Second = 0;
    ASSERT_EQ(HttpCreateHttpHandle(&Second, 0), NO_ERROR);
    ASSERT_EQ(HttpAddUrl(Second, First.Url("/second/").c_str(), nullptr), NO_ERROR);
    EXPECT_EQ(HttpAddUrl(Second, First.Url("/").c_str(), nullptr), ERROR_ALREADY_EXISTS);
    std::thread Receiver([&] {
        alignas(8) char Buffer[8192];
        auto* const Record = reinterpret_cast<PHTTP_REQUEST>(Buffer);
        while (HttpReceiveHttpRequest(Second, 0, 0, Record, sizeof Buffer, nullptr, nullptr) == NO_ERROR) {
            THTTP_DATA_CHUNK Chunk{};
            Chunk.FromMemory = {"second", 6};
            THTTP_RESPONSE Response{};
            Response.StatusCode = 200;
            Response.EntityChunkCount = 1;
            Response.pEntityChunks = &Chunk;
            HttpSendHttpResponse(Second, Record->RequestId, 0, &Response, nullptr, nullptr, nullptr, 0,
                                 nullptr, nullptr);
        }
    });
    auto Client = First.Connect();
    for (int Round = 0; Round < 200; ++Round) {
        ASSERT_EQ(BodyOf(Client.Ask(Get("/x"))), "first");
        ASSERT_EQ(BodyOf(Client.Ask(Get("/second/x"))), "second");
    }
    auto Other = First.Connect();
    EXPECT_EQ(StatusOf(Other.Ask("GET / HTTP/1.1\r\nHost: elsewhere\r\n\r\n")), "404");
    CloseHandle(Second); // releases the receiver
    Receiver.join();
    EXPECT_EQ(BodyOf(Client.Ask(Get("/second/x"))), "first");
}

TEST(Service, OpensNamedQueuesAndAnswers503WhenTheyAreFull)
{
    ASSERT_EQ(HttpInitialize(HTTPAPI_VERSION_2, HTTP_INITIALIZE_SERVER, nullptr), NO_ERROR);
    const std::uint16_t Port = FreePort();
    HTTP_SERVER_SESSION_ID Session = 0;
    HTTP_URL_GROUP_ID Group = 0;
    THandle Queue = 0;
    THandle Again = 0;
    ASSERT_EQ(HttpCreateServerSession(HTTPAPI_VERSION_2, &Session, 0), NO_ERROR);
    ASSERT_EQ(HttpCreateUrlGroup(Session, &Group, 0), NO_ERROR);
    ASSERT_EQ(HttpAddUrlToUrlGroup(Group, ("http://localhost:" + std::to_string(Port) + "/").c_str(), 7, 0),
              NO_ERROR);
    ASSERT_EQ(HttpCreateRequestQueue(HTTPAPI_VERSION_2, "Tested", nullptr, 2, &Queue), NO_ERROR);
    EXPECT_EQ(HttpCreateRequestQueue(HTTPAPI_VERSION_2, "Tested", nullptr, 2, &Again), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(HttpCreateRequestQueue(HTTPAPI_VERSION_2, "Absent", nullptr, 1, &Again), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(HttpCreateRequestQueue(HTTPAPI_VERSION_2, "Tested", nullptr, 1, &Again), NO_ERROR);
    const THTTP_BINDING_INFO Binding{1, Queue};
    ASSERT_EQ(HttpSetUrlGroupProperty(Group, HttpServerBindingProperty, &Binding, sizeof Binding), NO_ERROR);
    const std::uint32_t Length = 10;
    const std::uint32_t Full = Http503ResponseVerbosityFull;
    ASSERT_EQ(HttpSetRequestQueueProperty(Queue, HttpServerQueueLengthProperty, &Length, 4, 0, nullptr),
              NO_ERROR);
    ASSERT_EQ(HttpSetRequestQueueProperty(Queue, HttpServer503VerbosityProperty, &Full, 4, 0, nullptr),
              NO_ERROR);

    // Nobody receives: ten wait, the eleventh is told.
    std::vector<RawClient> Clients;
    for (int Index = 0; Index < 11; ++Index) {
        Clients.emplace_back(Port);
        Clients.back().Send(Get("/" + std::to_string(Index)));
    }
    int Refused = 0;
    pollfd Entries[11];
    for (int Index = 0; Index < 11; ++Index)
        Entries[Index] = {Clients[static_cast<std::size_t>(Index)].Fd(), POLLIN, 0};
    ASSERT_GT(poll(Entries, 11, RawClient::Limit), 0);
    for (std::size_t Index = 0; Index < 11; ++Index) {
        if (Entries[Index].revents == 0)
            continue;
        ++Refused;
        const std::string Answer = Clients[Index].Response();
        EXPECT_EQ(StatusOf(Answer), "503");
        EXPECT_NE(Answer.find("Too many requests wait to be served."), std::string::npos);
    }
    EXPECT_EQ(Refused, 1);

    alignas(8) char Buffer[8192];
    auto* const Record = reinterpret_cast<PHTTP_REQUEST>(Buffer);
    ASSERT_EQ(HttpWaitForDemandStart(Again, nullptr), NO_ERROR);
    ASSERT_EQ(HttpReceiveHttpRequest(Again, 0, 0, Record, sizeof Buffer, nullptr, nullptr), NO_ERROR);
    EXPECT_EQ(Record->UrlContext, 7U);
    EXPECT_EQ(HttpCloseRequestQueue(Again), NO_ERROR); // not the controller: the queue stays
    THTTP_RESPONSE Response{};
    Response.StatusCode = 200;
    EXPECT_EQ(HttpSendHttpResponse(Queue, Record->RequestId, 0, &Response, nullptr, nullptr, nullptr, 0,
                                   nullptr, nullptr),
              NO_ERROR);
    // One is at work no more, nine wait: they lose their connections with the queue.
    EXPECT_EQ(HttpCloseUrlGroup(Group), NO_ERROR);
    EXPECT_EQ(HttpCloseServerSession(Session), NO_ERROR);
    EXPECT_EQ(HttpCloseRequestQueue(Queue), NO_ERROR);
    EXPECT_EQ(HttpReceiveHttpRequest(Queue, 0, 0, Record, sizeof Buffer, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    int Answered = 0;
    for (RawClient& Each : Clients)
        Answered += StatusOf(Each.ReadToEnd()) == "200" ? 1 : 0;
    EXPECT_EQ(Answered, 1);
    EXPECT_EQ(HttpTerminate(HTTP_INITIALIZE_SERVER, nullptr), NO_ERROR);
}

TEST(Service, TellsWhenTheClientIsGone)
{
    const auto Gone = std::make_shared<TZnKernelEvent>();
    const auto AtWork = std::make_shared<TZnKernelEvent>();
    const THandle Event = RegisterHandle(Gone);
    std::uint32_t Armed = 0;
    bool Signalled = false;
    std::uint32_t Late = 0;
    const auto Done = std::make_shared<TZnKernelEvent>();
    TestService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        OVERLAPPED Wait{};
        Wait.hEvent = Event;
        Armed = HttpWaitForDisconnect(AService.Queue, ARequest.ConnectionId, &Wait);
        AtWork->Set();
        Signalled = Gone->WaitFor(RawClient::Limit);
        Late = HttpWaitForDisconnect(AService.Queue, ARequest.ConnectionId, &Wait);
        AService.Answer(ARequest, "too late");
        Done->Set();
    });
    auto Client = Service.Connect();
    Client.Send(Get("/"));
    ASSERT_TRUE(AtWork->WaitFor(RawClient::Limit));
    Client.Close();
    // The only receiving thread is in the handler: the service's own caretaker sees the end of the
    // connection.
    ASSERT_TRUE(Done->WaitFor(2 * RawClient::Limit));
    CloseHandle(Event);
    EXPECT_EQ(Armed, ERROR_IO_PENDING);
    EXPECT_TRUE(Signalled);
    EXPECT_EQ(Late, ERROR_CONNECTION_INVALID);
}
