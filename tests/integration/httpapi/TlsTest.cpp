#include <random>

#include "platform/sync/File.h"
#include "tests/integration/httpapi/ServiceHarness.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TlsClient.h"

namespace
{

const TestIdentity& ServerIdentity()
{
    static const TestIdentity Identity = MakeIdentity("localhost");
    return Identity;
}

/// A TestService over TLS.
struct SecureService
{
    explicit SecureService(TestService::Handler AHandler, const char* AClientAuthorities = nullptr)
        : Certificate{0, ServerIdentity().Certificate.c_str(), ServerIdentity().Key.c_str(),
                      AClientAuthorities},
          Service(std::move(AHandler), 16384, &Certificate)
    {
    }
    TlsClient Connect(const TlsClient::Options& AOptions = {}) const
    {
        return TlsClient(Service.Port, AOptions);
    }

    TZnHttpPortCertificate Certificate;
    TestService Service;
};

std::string Text(const char* AText, std::size_t ALength)
{
    return AText != nullptr ? std::string(AText, ALength) : std::string();
}

void EchoBody(TestService& AService, const THTTP_REQUEST& ARequest)
{
    std::uint32_t Result = 0;
    const std::string Body = AService.ReadBody(ARequest, Result, 65536);
    AService.Answer(ARequest, Body.empty() ? FullUrl(ARequest) : Body);
}

} // namespace

TEST(Tls, ServesOverBothVersionsAndNoOlderOne)
{
    SecureService Service([](TestService& AService, const THTTP_REQUEST& ARequest) {
        ASSERT_NE(ARequest.pSslInfo, nullptr);
        AService.Answer(ARequest, Text(ARequest.pSslInfo->pProtocol, ARequest.pSslInfo->ProtocolLength) +
                                      " " + FullUrl(ARequest));
    });
    auto Newest = Service.Connect();
    EXPECT_EQ(BodyOf(Newest.Ask(Get("/a"))), "TLSv1.3 https://localhost:443/a");
    EXPECT_EQ(BodyOf(Newest.Ask(Get("/b"))), "TLSv1.3 https://localhost:443/b");
    auto Older = Service.Connect({.MaxVersion = TLS1_2_VERSION});
    EXPECT_EQ(BodyOf(Older.Ask(Get("/"))), "TLSv1.2 https://localhost:443/");
    EXPECT_FALSE(Service.Connect({.MaxVersion = TLS1_1_VERSION}).IsConnected());
    auto Plain = Service.Service.Connect();
    Plain.Send(Get("/"));
    EXPECT_EQ(StatusOf(Plain.ReadToEnd()), "400");
}

TEST(Tls, CarriesPipelinedRequestsLargeBodiesAndFiles)
{
    std::string Large(3'000'000, ' ');
    std::mt19937 Random(1);
    for (char& Each : Large)
        Each = static_cast<char>('a' + Random() % 26);
    const Zn::TemporaryFolder Folder;
    const THandle File = OpenFileForRead(Folder.Write("file", Large).c_str());
    SecureService Service([&](TestService& AService, const THTTP_REQUEST& ARequest) {
        if (FullUrl(ARequest).ends_with("/file")) {
            THTTP_DATA_CHUNK Chunk{};
            Chunk.DataChunkType = HttpDataChunkFromFileHandle;
            Chunk.FromFileHandle = {{1, HTTP_BYTE_RANGE_TO_EOF}, File};
            AService.SendHead(ARequest, 200, HTTP_SEND_RESPONSE_FLAG_MORE_DATA,
                              std::to_string(Large.size() - 1));
            HttpSendResponseEntityBody(AService.Queue, ARequest.RequestId, 0, 1, &Chunk, nullptr, nullptr, 0,
                                       nullptr, nullptr);
        } else {
            EchoBody(AService, ARequest);
        }
    });
    auto Client = Service.Connect();
    std::string Many;
    for (int Index = 0; Index < 100; ++Index) // several in one record, and records that end within a request
        Many += Get("/" + std::to_string(Index)) +
                "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\nbody" +
                std::to_string(Index % 10);
    ASSERT_TRUE(Client.Send(Many));
    for (int Index = 0; Index < 100; ++Index) {
        ASSERT_EQ(BodyOf(Client.Response()), "https://localhost:443/" + std::to_string(Index));
        ASSERT_EQ(BodyOf(Client.Response()), "body" + std::to_string(Index % 10));
    }
    Client.Send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3000000\r\n\r\n");
    Client.Send(Large);
    EXPECT_TRUE(BodyOf(Client.Response()) == Large);
    EXPECT_TRUE(BodyOf(Client.Ask(Get("/file"))) == Large.substr(1));
    EXPECT_EQ(BodyOf(Client.Ask(Get("/after"))), "https://localhost:443/after");
    CloseHandle(File);
}

TEST(Tls, ResumesSessions)
{
    SecureService Service(EchoBody);
    for (const int Version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        SCOPED_TRACE(Version);
        auto First = Service.Connect({.MaxVersion = Version});
        EXPECT_EQ(StatusOf(First.Ask(Get("/"))), "200"); // the ticket of TLS 1.3 comes with the answer
        const std::unique_ptr<SSL_SESSION, decltype(&SSL_SESSION_free)> Session(
            SSL_get1_session(First.Session()), SSL_SESSION_free);
        auto Second = Service.Connect({.MaxVersion = Version, .Resume = Session.get()});
        EXPECT_EQ(StatusOf(Second.Ask(Get("/"))), "200");
        EXPECT_EQ(SSL_session_reused(Second.Session()), 1);
    }
}

TEST(Tls, TellsWhoTheClientIs)
{
    const TestIdentity Known = MakeIdentity("known client");
    const TestIdentity Stranger = MakeIdentity("stranger");
    SecureService Service(
        [](TestService& AService, const THTTP_REQUEST& ARequest) {
            const THTTP_SSL_CLIENT_CERT_INFO* const Client = ARequest.pSslInfo->pClientCertInfo;
            AService.Answer(ARequest, Client == nullptr ? "nobody"
                                                        : Text(Client->pSubject, Client->SubjectLength) +
                                                              " " + std::to_string(Client->CertFlags));
        },
        Known.Certificate.c_str());
    EXPECT_EQ(BodyOf(Service.Connect().Ask(Get("/"))), "nobody");
    EXPECT_EQ(BodyOf(Service.Connect({.Identity = &Known}).Ask(Get("/"))), "CN=known client 0");
    EXPECT_EQ(BodyOf(Service.Connect({.Identity = &Stranger}).Ask(Get("/"))), "CN=stranger 1");
}

TEST(Tls, StalledHandshakesHoldNobodyUpAndEnd)
{
    WithLimits([](TZnHttpServiceLimits& ALimits) { ALimits.HeadWait = 500; });
    SecureService Service(EchoBody);
    std::vector<RawClient> Stalled;
    for (const char* Bytes : {"", "\x16\x03\x01", "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"}) {
        Stalled.push_back(Service.Service.Connect());
        Stalled.back().Send(Bytes);
    }
    EXPECT_EQ(StatusOf(Service.Connect().Ask(Get("/"))), "200");
    for (RawClient& Each : Stalled)
        EXPECT_EQ(StatusOf(Each.ReadToEnd()), "none");
}

TEST(Tls, RefusesCertificatesThatCannotServe)
{
    TestService Service({}); // no thread: only to have the service running
    const TestIdentity Other = MakeIdentity("other");
    const std::uint16_t Port = FreePort();
    const struct
    {
        const char* Name;
        TZnHttpPortCertificate Certificate;
        std::uint32_t Code;
    } Cases[] = {
        {"no text", {Port, "", "", nullptr}, ERROR_NO_SUCH_LOGON_SESSION},
        {"foreign key",
         {Port, ServerIdentity().Certificate.c_str(), Other.Key.c_str(), nullptr},
         ERROR_NO_SUCH_LOGON_SESSION},
        {"plain port",
         {Service.Port, Other.Certificate.c_str(), Other.Key.c_str(), nullptr},
         ERROR_INVALID_PARAMETER},
    };
    for (const auto& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        EXPECT_EQ(ZnHttpSetPortCertificate(&Case.Certificate), Case.Code);
    }
    const std::string Unbound = "https://localhost:" + std::to_string(Port) + "/";
    EXPECT_EQ(HttpAddUrl(Service.Queue, Unbound.c_str(), nullptr), ERROR_NO_SUCH_LOGON_SESSION);
    const std::string Mixed = "https://localhost:" + std::to_string(Service.Port) + "/x/";
    EXPECT_EQ(HttpAddUrl(Service.Queue, Mixed.c_str(), nullptr), ERROR_INVALID_PARAMETER);
}
