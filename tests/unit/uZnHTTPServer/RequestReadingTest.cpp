#include "uZnHTTPServer/BodyReading.h"

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "platform/sync/Event.h"

namespace
{

class RequestReading : public testing::Test
{
protected:
    void SetUp() override { Server.SetActive(true); }

    /// Runs ARead on the worker with the request in hand.
    Exchange Read(ScriptedRequest ARequest, std::function<void(TZnHTTPServerResponseThread&)> ARead)
    {
        Server.SetOnResponseRaw([&](TZnCustomHTTPServer&, TZnHTTPServerResponseThread& Worker) {
            EXPECT_EQ(HTTPRequest(), nullptr);
            ARead(Worker);
        });
        return Service.Ask(std::move(ARequest));
    }

    /// What GetBody gives or raises, as text.
    std::string Body(ScriptedRequest ARequest, bool* AResult = nullptr)
    {
        std::string Text;
        Read(std::move(ARequest), [&](TZnHTTPServerResponseThread& Worker) {
            std::shared_ptr<IZnBodyContent> Content;
            try {
                const bool Result = Worker.GetBody(Content);
                if (AResult)
                    *AResult = Result;
                Text = Content ? Content->AsString() : "<none>";
            } catch (const std::exception& E) {
                Text = ExceptionClassName(E) + ": " + E.what();
                EXPECT_EQ(Content, nullptr);
            }
        });
        return Text;
    }

    ScriptedService Service;
    TZnHTTPServer Server{nullptr};
};

TEST_F(RequestReading, KnownHeadersComeRawAndOthersWithoutQuotes)
{
    Read({.Known = {{HttpHeaderIfMatch, "\"a\""}},
          .Unknown = {{"X-One", "\"1\""}, {"X-Two", "2"}, {"x-one", "3"}}},
         [](TZnHTTPServerResponseThread& Worker) {
             EXPECT_EQ(Worker.GetHeaderValue(HttpHeaderIfMatch), "\"a\"");
             EXPECT_EQ(Worker.GetHeaderValue(HttpHeaderFrom), "");
             EXPECT_EQ(Worker.GetHeaderValue("x-ONE"), "1");
             EXPECT_EQ(Worker.GetHeaderValue("X"), "");
             std::string Name;
             EXPECT_EQ(Worker.GetUnknownHeaderValue(1, Name), "2");
             EXPECT_EQ(Name, "X-Two");
             EXPECT_EQ(Worker.GetUnknownHeaderValue(3, Name), "");
             EXPECT_EQ(Name, "");
             EXPECT_EQ(Worker.GetAcceptedLanguages().at(0), LANGID_ENGLISH_US);
         });
    EXPECT_EQ(HTTP_KNOWN_REQUEST_HEADERS[HttpHeaderUserAgent], "UserAgent");
}

TEST_F(RequestReading, TheFirstCookieLookupIgnoresCase)
{
    const TZnURLData Url = ZnDecodeURL("http://localhost/");
    for (int Round = 0; Round < 2; ++Round) // the second request must not see the first one's cookies
        Read({.Known = {{HttpHeaderCookie, Round == 0 ? "  a=1; b=2;a=3" : "b=5"}}},
             [&](TZnHTTPServerResponseThread& Worker) {
                 std::string Value;
                 EXPECT_EQ(Worker.GetCookie(Url, "A", Value), Round == 0);
                 EXPECT_EQ(Value, Round == 0 ? "3" : "");
                 EXPECT_FALSE(Worker.GetCookie(Url, "B", Value));
                 EXPECT_EQ(Value, "");
                 EXPECT_TRUE(Worker.GetCookie(Url, "b", Value));
                 EXPECT_EQ(Value, Round == 0 ? "2" : "5");
             });
}

TEST_F(RequestReading, ReadsBodiesOfKnownLength)
{
    const auto Request = [](const char* ALength, decltype(ScriptedRequest::Body) ABody) {
        return ScriptedRequest{.Known = {{HttpHeaderContentLength, ALength}}, .Body = std::move(ABody)};
    };
    EXPECT_EQ(Body(Request("5", {{0, "abcde"}})), "abcde");
    EXPECT_EQ(Body(Request("5", {{0, "ab"}, {0, "c"}, {0, "de"}})), "abcde");
    EXPECT_EQ(Body(Request("5", {{0, "abc"}, {38, "de"}})), "abcde"); // the end told with the last bytes
    EXPECT_EQ(Body(Request("5", {{0, "abc"}})), "EAbort: Failed to retrieve the complete content!");
    EXPECT_EQ(Body(Request("5", {{0, ""}})), "EAbort: Failed to retrieve the complete content!");
    EXPECT_EQ(Body(Request("5", {{0, "abc"}, {1229, ""}})).substr(0, 18), "EZnHTTPConnection:");
    EXPECT_EQ(Body(Request("5", {{5, "ab"}})), "EZnHTTPException: System Error: " + SysErrorText(5) + "!");
    const std::uint32_t Calls = Service.BodyCalls();
    EXPECT_EQ(Body(Request("0", {{0, "abc"}})), "<none>");
    EXPECT_EQ(Body(Request("x", {{0, "abc"}})), "<none>");
    EXPECT_EQ(Service.BodyCalls(), Calls);
}

TEST_F(RequestReading, ReadsChunkedBodiesToTheirEnd)
{
    const auto Request = [](const char* ACoding, decltype(ScriptedRequest::Body) ABody) {
        return ScriptedRequest{.Known = {{HttpHeaderTransferEncoding, ACoding}}, .Body = std::move(ABody)};
    };
    const std::string Long(100'000, 'l');
    EXPECT_EQ(Body(Request("chunked", {{0, Long}})), Long);
    EXPECT_EQ(Body(Request("Chunked", {{0, "a"}, {0, Long}, {0, "b"}})), "a" + Long + "b");
    bool Result = true;
    EXPECT_EQ(Body(Request("chunked", {}), &Result), "");
    EXPECT_FALSE(Result);
    EXPECT_EQ(Body(Request("gzip, chunked", {{0, "a"}})), "<none>");
    EXPECT_EQ(Body(Request("chunked", {{0, "a"}, {0, ""}})),
              "EAbort: Failed to retrieve the complete content!");
    EXPECT_EQ(Body(Request("chunked", {{0, "a"}, {1229, ""}})).substr(0, 18), "EZnHTTPConnection:");

    Server.SetMaxBodySize(1000);
    const std::string TooLarge = "EZnHTTPException: The request body is too large!";
    EXPECT_EQ(Body(Request("chunked", {{0, Long}})), TooLarge);
    EXPECT_EQ(Body({.Known = {{HttpHeaderContentLength, "1001"}}}), TooLarge);
    EXPECT_EQ(
        Body({.Known = {{HttpHeaderContentLength, "1000"}}, .Body = {{0, std::string(1000, 'x')}}}).size(),
        1000U);
    Server.SetMaxBodySize(0);
    EXPECT_EQ(Body({.Known = {{HttpHeaderContentLength, "9000000000000000000"}}}), TooLarge); // beyond memory
}

TEST_F(RequestReading, TheBodyIsReadOnceAndMayBeKept)
{
    std::shared_ptr<IZnBodyContent> Kept;
    Read({.Known = {{HttpHeaderContentLength, "3"}, {HttpHeaderContentType, "text/plain; charset=utf-8"}},
          .Body = {{1229, ""}, {0, "abc"}}},
         [&](TZnHTTPServerResponseThread& Worker) {
             EXPECT_THROW(Worker.GetBody(Kept), EZnHTTPConnection);
             EXPECT_TRUE(Worker.GetBody(Kept)); // tried again
             std::shared_ptr<IZnBodyContent> Second;
             EXPECT_TRUE(Worker.GetBody(Second));
             EXPECT_EQ(Second, Kept);
         });
    EXPECT_EQ(Service.BodyCalls(), 2U);
    EXPECT_EQ(Kept->GetContentType(), "text/plain; charset=utf-8");
    EXPECT_EQ(Kept->GetSize(), 3);
    EXPECT_EQ(Kept->AsStream(true)->GetPosition(), 0);
    EXPECT_TRUE(ZnSupports<IZnObjectAdapter<TZnStringStream>>(Kept));
}

TEST_F(RequestReading, TheCodePageFollowsTheContentType)
{
    const struct
    {
        const char* ContentType;
        std::uint16_t CodePage;
    } Rows[] = {
        {"text/plain; charset=utf-8", 65001},   {"text/plain; charset=windows-1252; x=y", 1252},
        {"text/plain; charset=klingon", 28591}, {"application/json", 65001},
        {"application/xhtml+xml", 65001},       {"text/plain", 28591},
        {"application/octet-stream", 0},        {"", 0},
    };
    for (const auto& Row : Rows)
        EXPECT_EQ(Zn::BodyCodePage(Row.ContentType), Row.CodePage) << Row.ContentType;
}

TEST_F(RequestReading, AWaitEndsWithTheClientTheCallersHandleOrTheTime)
{
    TSimpleEvent Own;
    const THandle Handles[] = {Own.Handle()};
    std::uint32_t Result = 0;
    const auto Wait = [&](std::int32_t ATimeOut) {
        return [&, ATimeOut](TZnHTTPServerResponseThread& Worker) {
            Result = Worker.WaitForEvents(ATimeOut, Handles);
        };
    };
    Read({}, Wait(0));
    EXPECT_EQ(Result, 258U);

    Server.SetOnResponseRaw([&](auto&, TZnHTTPServerResponseThread& Worker) { Wait(-1)(Worker); });
    const HTTP_REQUEST_ID Id = Service.Push();
    Service.AwaitWait();
    Service.Disconnect();
    Service.Await(Id);
    EXPECT_EQ(Result, 2U);

    Read({}, Wait(0)); // the disconnect was the request's before
    EXPECT_EQ(Result, 258U);
    Own.SetEvent();
    Read({}, Wait(-1));
    EXPECT_EQ(Result, 0U);
    Service.WaitForDisconnectResult = 1229;
    Read({}, Wait(-1));
    EXPECT_EQ(Result, 0xFFFFFFFFU);
}

TEST(QueueHandles, EachRequestOfV2IsAnsweredThroughAHandleOfItsOwn)
{
    ScriptedService Service;
    TZnHTTPServer Server(nullptr);
    Server.SetServerVersion(HTTPServerV2);
    Server.SetOnResponse([](auto&&...) {});
    Server.SetActive(true);
    const Exchange First = Service.Ask(); // the script refuses a handle that is closed already
    const Exchange Second = Service.Ask();
    EXPECT_TRUE(First.Complete);
    EXPECT_TRUE(Second.Complete);
    EXPECT_NE(First.Queue, Second.Queue);
    Server.SetActive(false);
    EXPECT_EQ(Service.OpenHandles(), 0U);
    Server.SetServerVersion(HTTPServerV1);
}

} // namespace
