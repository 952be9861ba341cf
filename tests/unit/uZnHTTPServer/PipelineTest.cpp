#include "uZnHTTPServer/ResponseSender.h"

#include <cstdio>

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Deflate.h"
#include "common/Exceptions.h"
#include "platform/errors/Errors.h"

namespace
{

class Pipeline : public testing::Test
{
protected:
    void SetUp() override { Server.SetActive(true); }

    using TFill = std::function<void(PZnHTTPServerRequest, TZnHTTPServerResponse&)>;

    /// The exchange for a handler that does AFill.
    Exchange Ask(TFill AFill, ScriptedRequest ARequest = {})
    {
        Server.SetOnResponse(
            [&](TZnCustomHTTPServer&, PZnHTTPServerRequest Request, TZnHTTPServerResponse& Answer) {
                EXPECT_EQ(HTTPRequest(), Request);
                EXPECT_EQ(HTTPResponse(), &Answer);
                AFill(Request, Answer);
            });
        return Service.Ask(std::move(ARequest));
    }

    ScriptedService Service;
    TZnHTTPServer Server{nullptr};
};

TEST_F(Pipeline, SendsHeadAndBodyInTwoCalls)
{
    const Exchange Seen = Ask([](auto*, auto& Answer) {
        Answer.SetResponseText("Hello, world!");
        Answer.SetContentType("text/plain");
        Answer.AddUnknownHeader("X-A", "1");
        Answer.AddCookie("c", "2");
    });
    ASSERT_EQ(Seen.Calls.size(), 2U);
    EXPECT_EQ(Seen.Head().Flags, HTTP_SEND_RESPONSE_FLAG_MORE_DATA);
    EXPECT_EQ(Seen.Head().Status, 200);
    EXPECT_EQ(Seen.Head().Reason, "OK");
    EXPECT_EQ(Seen.Head().Known,
              (std::map<std::uint32_t, std::string>{{HttpHeaderKeepAlive, "Keep-Alive"},
                                                    {HttpHeaderContentLength, "13"},
                                                    {HttpHeaderContentType, "text/plain"}}));
    EXPECT_EQ(Seen.Head().Unknown,
              (std::vector<std::pair<std::string, std::string>>{{"X-A", "1"}, {"Set-Cookie", "c=2"}}));
    EXPECT_EQ(Seen.Body(), "Hello, world!");
    EXPECT_EQ(Seen.Calls[1].Flags, 0U);
}

TEST_F(Pipeline, FillsTheRequestAsAnonymous)
{
    Ask([](PZnHTTPServerRequest Request, auto&) {
        EXPECT_EQ(Request->UrlData.Document, "x");
        EXPECT_EQ(Request->RemoteIp, "127.0.0.1");
        EXPECT_FALSE(Request->Secure);
        EXPECT_EQ(Request->RoleName, "Anonymous");
        EXPECT_EQ(Request->AuthTokenName, "X-Auth-Token-8080");
    });
    Ask(
        [](PZnHTTPServerRequest Request, auto&) {
            EXPECT_TRUE(Request->Secure);
            EXPECT_EQ(Request->AuthTokenName, "X-Auth-Token");
        },
        {.Url = u"https://host:443/"});
}

TEST_F(Pipeline, CutsBodiesIntoChunks)
{
    const struct
    {
        std::size_t Length;
        std::uint32_t MaxChunkSize;
        std::vector<std::uint32_t> Expected;
    } Rows[] = {
        {0, 65535, {}},     {65535, 65535, {65535}}, {65536, 65535, {65535, 1}},
        {10, 4, {4, 4, 2}}, {8, 4, {4, 4}},
    };
    for (const auto& Row : Rows) {
        const std::string Text(Row.Length, 'x');
        const Exchange Seen = Ask([&](auto*, auto& Answer) {
            Answer.SetResponseText(Text);
            Answer.SetMaxChunkSize(Row.MaxChunkSize);
        });
        EXPECT_EQ(Seen.Calls.at(1).ChunkLengths, Row.Expected) << Row.Length;
        EXPECT_EQ(Seen.Body(), Text);
        EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentLength), std::to_string(Row.Length));
    }
    // More chunks than 16 bits can count become larger ones.
    const std::string Long(200'000, 'y');
    const Exchange Seen = Ask([&](auto*, auto& Answer) {
        Answer.SetResponseText(Long);
        Answer.SetMaxChunkSize(1);
    });
    EXPECT_LE(Seen.Calls.at(1).ChunkLengths.size(), 65535U);
    EXPECT_EQ(Seen.Body(), Long);
    EXPECT_TRUE(Ask([](auto*, auto& Answer) { Answer.SetMaxChunkSize(0); }).Calls.empty());
}

TEST_F(Pipeline, SendsMemoryAndStreams)
{
    EXPECT_EQ(Ask([](auto*, auto& Answer) {
                  Answer.SetResponseBuffer("abcdef");
                  Answer.SetResponseBufSize(3);
              }).Body(),
              "abc");
    const ScratchFile File("from a file stream");
    EXPECT_EQ(Ask([&](auto*, auto& Answer) {
                  auto Stream = std::make_unique<TFileStream>(File.Name(), fmOpenRead);
                  Stream->SetPosition(5);
                  Answer.SetResponseStream(std::move(Stream));
              }).Body(),
              "from a file stream");
    EXPECT_EQ(Ask([](auto*, auto& Answer) { Answer.SetResponseStream(nullptr); }).Body(), "");
}

TEST_F(Pipeline, ConnectionFollowsVersionAndKeepAliveField)
{
    const auto Fill = [](auto*, auto& Answer) { Answer.SetResponseText("x"); };
    const Exchange Old = Ask(Fill, {.Version = HTTP_VERSION_1_0});
    EXPECT_EQ(Old.Calls.at(1).Flags, HTTP_SEND_RESPONSE_FLAG_DISCONNECT);
    EXPECT_EQ(Old.Head().Known.count(HttpHeaderKeepAlive), 0U);
    const Exchange Kept =
        Ask(Fill, {.Known = {{HttpHeaderKeepAlive, "keep-alive"}}, .Version = HTTP_VERSION_1_0});
    EXPECT_EQ(Kept.Calls.at(1).Flags, 0U);
    EXPECT_EQ(Kept.Head().Known.at(HttpHeaderKeepAlive), "Keep-Alive");
}

TEST_F(Pipeline, HeadTellsTheLengthAndSendsNoBody)
{
    const Exchange Seen =
        Ask([](auto*, auto& Answer) { Answer.SetResponseText("12345"); }, {.Verb = HttpVerbHEAD});
    ASSERT_EQ(Seen.Calls.size(), 1U);
    EXPECT_EQ(Seen.Head().Flags, 0U);
    EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentLength), "5");
}

TEST_F(Pipeline, CompressesTextsOnRequest)
{
    const std::string Text(5000, 'z');
    const auto Fill = [&](auto*, auto& Answer) {
        Answer.SetContentEncoding("deflate");
        Answer.SetResponseText(Text);
    };
    const Exchange Packed = Ask(Fill, {.Known = {{HttpHeaderAcceptEncoding, "gzip, deflate"}}});
    EXPECT_EQ(Packed.Head().Known.at(HttpHeaderContentEncoding), "deflate");
    EXPECT_LT(Packed.Body().size(), 100U);
    EXPECT_EQ(Packed.Head().Known.at(HttpHeaderContentLength), std::to_string(Packed.Body().size()));
    TZnMemoryStream Source(std::as_bytes(std::span(Packed.Body())));
    TZnStringStream Target;
    ZlDecompressStream(Source, Target);
    EXPECT_EQ(Target.GetAString(), Text);

    const Exchange Plain = Ask(Fill, {.Known = {{HttpHeaderAcceptEncoding, "gzip"}}});
    EXPECT_EQ(Plain.Body(), Text);
    EXPECT_EQ(Plain.Head().Known.at(HttpHeaderContentEncoding), "deflate");
}

TEST_F(Pipeline, ServesFilesAndTheirRanges)
{
    const ScratchFile File(std::string(1000, 'f'));
    const auto Fill = [&](auto*, auto& Answer) {
        Answer.SetResponseFileName(File.Name());
        Answer.SetPartialContent(true);
    };
    const Exchange Whole = Ask(Fill);
    EXPECT_EQ(Whole.Head().Status, 200);
    EXPECT_EQ(Whole.Head().Known.at(HttpHeaderAcceptRanges), "bytes");
    EXPECT_EQ(Whole.Calls.at(1).FileRanges.at(0).Length, HTTP_BYTE_RANGE_TO_EOF);

    const Exchange Part = Ask(Fill, {.Known = {{HttpHeaderRange, "bytes=10-19"}}});
    EXPECT_EQ(Part.Head().Status, 206);
    EXPECT_EQ(Part.Head().Reason, "OK");
    EXPECT_EQ(Part.Head().Known.at(HttpHeaderContentRange), "bytes 10-19/1000");
    EXPECT_EQ(Part.Head().Known.at(HttpHeaderContentLength), "10");
    EXPECT_EQ(Part.Calls.at(1).FileRanges.at(0).StartingOffset, 10U);
    EXPECT_EQ(Part.Calls.at(1).FileRanges.at(0).Length, 10U);

    const Exchange Refused = Ask(Fill, {.Known = {{HttpHeaderRange, "bytes=1000-"}}});
    EXPECT_EQ(Refused.Head().Status, 416);
    EXPECT_EQ(Refused.Head().Reason, "Requested Range Not Satisfiable");
    EXPECT_EQ(Refused.Head().Known.at(HttpHeaderContentRange), "bytes */1000");
    EXPECT_EQ(Refused.Head().Known.at(HttpHeaderContentLength), "0");
    EXPECT_TRUE(Refused.Complete);

    EXPECT_EQ(Ask(Fill, {.Verb = HttpVerbPOST, .Known = {{HttpHeaderRange, "bytes=10-19"}}}).Head().Status,
              200);
    const auto NotPartial = [&](auto*, auto& Answer) { Answer.SetResponseFileName(File.Name()); };
    EXPECT_EQ(Ask(NotPartial, {.Known = {{HttpHeaderRange, "bytes=10-19"}}}).Head().Status, 200);
}

TEST_F(Pipeline, FinishesFilesThatAreNotThere)
{
    const ScratchFile Empty("");
    for (const std::string& Name : {std::string(), std::string("/no/such/file"), Empty.Name()}) {
        const Exchange Seen = Ask([&](auto*, auto& Answer) { Answer.SetResponseFileName(Name); });
        EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentLength), "0") << Name;
        EXPECT_TRUE(Seen.Complete) << Name;
    }
    // Gone after its length was promised: the client can only be told by the end of the connection.
    const ScratchFile Vanishing("content");
    Service.BeforeHeadReturns = [&] { std::remove(Vanishing.Name().c_str()); };
    const Exchange Seen = Ask([&](auto*, auto& Answer) { Answer.SetResponseFileName(Vanishing.Name()); });
    EXPECT_EQ(Seen.Calls.size(), 1U);
    EXPECT_TRUE(Seen.Dropped);
    EXPECT_FALSE(Seen.Complete);
}

TEST_F(Pipeline, ExceptionsBecomePages)
{
    const std::string Head =
        "<HTML><HEAD> <TITLE>Error</TITLE> <META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; "
        "charset=ISO-8859-1\"></HEAD><BODY><H1>";
    const std::string Tail = "</H1></BODY></HTML>";
    struct Odd : std::runtime_error
    {
        using std::runtime_error::runtime_error;
    };
    const struct
    {
        const char* Name;
        std::function<void()> Throw;
        int Status;
        const char* Reason;
        std::string Text;
    } Rows[] = {
        {"status", [] { throw EZnHTTPException("No <b>\"x\"</b>", 404); }, 404, "Not Found",
         "ERROR 404: No &lt;b&gt;\"x\"&lt;/b&gt;"},
        {"descendant", [] { throw EZnHTTPForbidden("Keep out"); }, 403, "Forbidden", "ERROR 403: Keep out"},
        {"platform failure", [] { CheckResult(87, "There"); }, 500, "",
         "ERROR 87: System Error: " + SysErrorText(87) + "!\r\nThere"},
        {"other", [] { throw EAbort("Failed"); }, 500, "Internal Server Error", "EAbort: Failed"},
        {"assertion", [] { ZnAssert(false); }, 500, "Internal Server Error",
         "EAssertionFailed: Assertion failure"},
        {"std", [] { throw std::out_of_range("far"); }, 500, "Internal Server Error",
         "std::out_of_range: far"},
        {"memory", [] { throw std::bad_alloc(); }, 500, "Internal Server Error",
         "std::bad_alloc: std::bad_alloc"},
        {"number", [] { throw 5; }, 500, "Internal Server Error", "unknown exception"},
    };
    for (const auto& Row : Rows) {
        const auto Fill = [&](auto*, TZnHTTPServerResponse& Answer) {
            Answer.SetContentEncoding("gzip");
            Answer.SetResponseStream(std::make_unique<TMemoryStream>());
            Row.Throw();
        };
        const Exchange Seen = Ask(Fill);
        EXPECT_EQ(Seen.Head().Status, Row.Status) << Row.Name;
        EXPECT_EQ(Seen.Head().Reason, Row.Reason) << Row.Name;
        EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentType), "text/html") << Row.Name;
        EXPECT_EQ(Seen.Head().Known.count(HttpHeaderContentEncoding), 0U) << Row.Name;
        EXPECT_EQ(Seen.Body(), Head + Row.Text + Tail) << Row.Name;
    }
    const auto Fill = [](auto*, auto&) { throw EZnHTTPException("No \"x\"\n", 404); };
    const Exchange Json = Ask(Fill, {.Known = {{HttpHeaderAccept, "text/*, application/json"}}});
    EXPECT_EQ(Json.Head().Known.at(HttpHeaderContentType), "application/json");
    EXPECT_EQ(Json.Body(), R"("ERROR 404: No \"x\"\n")");
    EXPECT_EQ(
        Ask(Fill, {.Known = {{HttpHeaderAccept, "application/JSON"}}}).Head().Known.at(HttpHeaderContentType),
        "text/html");
}

TEST_F(Pipeline, SomeEndsSendNothing)
{
    // Nobody is left to answer.
    EXPECT_TRUE(Ask([](auto*, auto&) { throw EZnHTTPConnection("gone", 1229); }).Calls.empty());
    // A text can't replace a stream that isn't the response's to free.
    TMemoryStream Foreign;
    EXPECT_TRUE(Ask([&](auto*, auto& Answer) {
                    Answer.SetResponseStream(&Foreign);
                    throw EAbort();
                }).Calls.empty());
    // A value that no header record can hold.
    EXPECT_TRUE(Ask([](auto*, auto& Answer) {
                    Answer.AddUnknownHeader("X", std::string(65536, 'x'));
                }).Calls.empty());
    // The service refused the head.
    Service.SendResult = 87;
    const Exchange Refused = Ask([](auto*, auto&) {});
    EXPECT_EQ(Refused.Calls.size(), 1U);
    EXPECT_TRUE(Refused.Dropped);
}

TEST_F(Pipeline, StatusCodesThatNoStatusLineCanHoldAreTheServersFault)
{
    for (const int Code : {0, 99, 101, 1229, 65536 + 38})
        EXPECT_EQ(Ask([&](auto*, auto& Answer) { Answer.SetStatusCode(Code); }).Head().Status, 500) << Code;
    EXPECT_EQ(Ask([](auto*, auto& Answer) { Answer.SetStatusCode(65536 + 404); }).Head().Status, 404);

    const Exchange Bare = Ask([](auto*, auto& Answer) {
        Answer.SetStatusCode(-1);
        Answer.SetStatusDescription("Enough");
    });
    ASSERT_EQ(Bare.Calls.size(), 1U);
    EXPECT_EQ(Bare.Head().Status, 500);
    EXPECT_EQ(Bare.Head().Reason, "Enough");
    EXPECT_EQ(Bare.Head().Flags, HTTP_SEND_RESPONSE_FLAG_DISCONNECT);
    EXPECT_TRUE(Bare.Head().Known.empty());

    for (const int Code : {204, 304}) {
        const Exchange NoContent = Ask([&](auto*, auto& Answer) {
            Answer.SetStatusCode(Code);
            Answer.SetResponseText("not sent");
        });
        EXPECT_EQ(NoContent.Head().Known.count(HttpHeaderContentLength), 0U) << Code;
        EXPECT_EQ(NoContent.Body(), "") << Code;
    }
}

TEST_F(Pipeline, AddsStandingHeaders)
{
    {
        TZnLockGuard Guard(Server.GetCSPDirectivesLock());
        Server.GetCSPDirectives().Add("default-src 'self'");
        Server.GetCSPDirectives().Add("img-src *");
    }
    const Exchange Seen = Ask([](auto*, auto&) { throw EAbort(); });
    EXPECT_EQ(Seen.Head().Unknown, (std::vector<std::pair<std::string, std::string>>{
                                       {"Content-Security-Policy", "default-src 'self'"},
                                       {"Content-Security-Policy", "img-src *"}}));
    Server.SetActive(false);
    Server.SetBindings({"https://host/"});
    Server.SetActive(true);
    EXPECT_EQ(Ask([](auto*, auto&) {}).Head().Unknown.at(0),
              (std::pair<std::string, std::string>{"Strict-Transport-Security",
                                                   "max-age=31536000; includeSubDomains"}));
}

TEST_F(Pipeline, ResponsesComeFromTheServersOwnClass)
{
    struct Marked : TZnHTTPServerResponse
    {
        using TZnHTTPServerResponse::TZnHTTPServerResponse;
        void AddCookie(const std::string&, const std::string&) override { AddUnknownHeader("X-Marked", "1"); }
    };
    struct MarkingServer : TZnHTTPServer
    {
        MarkingServer() : TZnHTTPServer(nullptr)
        {
            FResponseClass = [](TZnCustomHTTPServer& AServer, PZnHTTPServerRequest ARequest) {
                return std::make_unique<Marked>(AServer, ARequest);
            };
        }
    } Marking;
    Server.SetActive(false);
    Marking.SetOnResponse([](auto&, auto*, TZnHTTPServerResponse& Answer) { Answer.AddCookie("a", "b"); });
    Marking.SetActive(true);
    EXPECT_EQ(Service.Ask().Head().Unknown.at(0).first, "X-Marked");
    Marking.SetActive(false);
}

} // namespace
