#include "platform/httpapi/RequestHead.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/httpapi/HeaderNames.h"
#include "tests/unit/httpapi/MalformedRequests.h"

namespace Zn
{
namespace
{

std::string Describe(const RequestHeadParser& AParser, HeadResult AResult)
{
    if (AResult == HeadResult::Incomplete)
        return "incomplete";
    if (AResult == HeadResult::Refused)
        return std::to_string(AParser.Status()) + " " + AParser.Reason();
    const RequestHead& Head = AParser.Head();
    const auto Text = [](std::string_view AText) { return std::string(AText); };
    std::string All = Text(Head.Method) + "(" + std::to_string(Head.Verb) + ") " + Text(Head.Target) + " 1." +
                      std::to_string(Head.Version.MinorVersion) + " " + Text(Head.Scheme) + "|" +
                      Text(Head.Host) + "|" + Text(Head.Path) + "|" + Text(Head.Query) + "|";
    All += Head.Body == BodyKind::Chunked ? " chunked" : "";
    All += Head.Body == BodyKind::Length ? " " + std::to_string(Head.ContentLength) : "";
    All += Head.KeepAlive ? " keep" : "";
    All += Head.ExpectContinue ? " expect" : "";
    for (const FieldView& Field : Head.Fields)
        All += "; " + Text(Field.Name) + "(" + std::to_string(Field.Id) + ")=" + Text(Field.Value);
    return All + " #" + std::to_string(Head.Length);
}

std::string Whole(std::string_view ABytes)
{
    RequestHeadParser Parser;
    return Describe(Parser, Parser.Parse(ABytes));
}

// All ways of cutting agree: byte by byte in one place, byte by byte from place to place, and in two at every
// position.
void ExpectTheSameHoweverCut(const std::string& ABytes, const std::string& AExpected)
{
    RequestHeadParser Grown, Moved;
    std::string Copies[2];
    std::string Last[2];
    for (std::size_t Size = 0; Size <= ABytes.size(); ++Size) {
        Last[0] = Describe(Grown, Grown.Parse(std::string_view(ABytes).substr(0, Size)));
        std::string& Copy = Copies[Size % 2] = ABytes.substr(0, Size);
        Copy.reserve(ABytes.size());
        Last[1] = Describe(Moved, Moved.Parse(Copy));

        RequestHeadParser Cut;
        Cut.Parse(std::string_view(ABytes).substr(0, Size));
        ASSERT_EQ(Describe(Cut, Cut.Parse(ABytes)), AExpected) << "cut at " << Size;
    }
    EXPECT_EQ(Last[0], AExpected) << "byte by byte";
    EXPECT_EQ(Last[1], AExpected) << "byte by byte, moved";
}

TEST(RequestHead, RefusesWhatCouldBeReadInTwoWays)
{
    const std::vector<MalformedRequest> All = MalformedRequests();
    EXPECT_GE(All.size(), 200U);
    for (const MalformedRequest& Each : All) {
        SCOPED_TRACE(Each.Name);
        const std::string Verdict = Whole(Each.Bytes);
        EXPECT_EQ(Verdict.substr(0, 4), std::to_string(Each.Status) + " ") << Verdict;
        ExpectTheSameHoweverCut(Each.Bytes, Verdict);
    }
}

TEST(RequestHead, ReadsEveryPartOfWhatIsWellFormed)
{
    struct Row
    {
        std::string_view Bytes;
        const char* Expected;
    };
    const Row Rows[] = {
        {"GET / HTTP/1.1\r\nHost: a\r\n\r\n", "GET(4) / 1.1 |a|/|| keep; Host(28)=a"},
        {"\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\nGET", "GET(4) / 1.1 |a|/|| keep; Host(28)=a"},
        {"GET / HTTP/1.0\r\n\r\n", "GET(4) / 1.0 ||/||"},
        {"GET / HTTP/1.7\r\nHost: a\r\n\r\n", "GET(4) / 1.1 |a|/|| keep; Host(28)=a"},
        {"HEAD /%41/./b%2F;c=d?e=f/?g HTTP/1.0\r\nConnection: keep-alive\r\n\r\n",
         "HEAD(5) /%41/./b%2F;c=d?e=f/?g 1.0 ||/%41/./b%2F;c=d|?e=f/?g| keep; Connection(1)=keep-alive"},
        {"PATCH /?a[]={1|2}^\\`%00 HTTP/1.1\r\nhost:\t[::1]:8080 \t\r\nConnection: x ,, "
         "Close,keep-alive\r\n\r\n",
         "PATCH(1) /?a[]={1|2}^\\`%00 1.1 |[::1]:8080|/|?a[]={1|2}^\\`%00|; host(28)=[::1]:8080; "
         "Connection(1)=x ,, Close,keep-alive"},
        {"GET //x/ HTTP/1.1\r\nHost: a.b-c_d.:\r\nConnection: upgrade\r\nUpgrade: websocket\r\nConnection: "
         "TE\r\n\r\n",
         "GET(4) //x/ 1.1 |a.b-c_d.:|//x/|| keep; Host(28)=a.b-c_d.:; Connection(1)=upgrade; "
         "Upgrade(7)=websocket; "
         "Connection(1)=TE"},
        {"OPTIONS * HTTP/1.1\r\nHost: a\r\n\r\n", "OPTIONS(3) * 1.1 |a|*|| keep; Host(28)=a"},
        {"GET HTTP://b:81?c HTTP/1.1\r\nHost: a\r\n\r\n",
         "GET(4) HTTP://b:81?c 1.1 HTTP|b:81|/|?c| keep; Host(28)=a"},
        {"GET https://b/c HTTP/1.0\r\n\r\n", "GET(4) https://b/c 1.0 https|b|/c||"},
        {"POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 007\r\nExpect: 100-Continue\r\n\r\n1234567",
         "POST(6) / 1.1 |a|/|| 7 keep expect; Host(28)=a; Content-Length(11)=007; Expect(26)=100-Continue"},
        {"POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 0\r\nExpect: 100-continue\r\n\r\n",
         "POST(6) / 1.1 |a|/|| keep; Host(28)=a; Content-Length(11)=0; Expect(26)=100-continue"},
        {"PUT / HTTP/1.0\r\nContent-Length: 9223372036854775807\r\nExpect: 100-continue\r\n\r\n",
         "PUT(7) / 1.0 ||/|| 9223372036854775807; Content-Length(11)=9223372036854775807; "
         "Expect(26)=100-continue"},
        {"get / HTTP/1.1\r\nHost: a\r\ntransfer-encoding: \tCHUNKED\t \r\n\r\n",
         "get(1) / 1.1 |a|/|| chunked keep; Host(28)=a; transfer-encoding(6)=CHUNKED"},
        {"GET / HTTP/1.1\r\nHost: a\r\nX-A:\r\n!#$%&'*+-.^_`|~09:: b\tc \xC3\xA4\xFF \r\nCookie: "
         "a=b\r\nUSER-AGENT: \"x\"\r\n"
         "accept-Xharset: c\r\n\r\n",
         "GET(4) / 1.1 |a|/|| keep; Host(28)=a; X-A(-1)=; !#$%&'*+-.^_`|~09(-1)=: b\tc \xC3\xA4\xFF; "
         "Cookie(25)=a=b; USER-AGENT(40)=\"x\"; accept-Xharset(-1)=c"},
    };
    for (const Row& Each : Rows) {
        SCOPED_TRACE(Each.Bytes);
        const std::string Length = " #" + std::to_string(Each.Bytes.find("\r\n\r\n") + 4);
        ExpectTheSameHoweverCut(std::string(Each.Bytes), Each.Expected + Length);
    }
}

TEST(RequestHead, KnowsEveryHeaderByItsNumberAndEveryMethodByItsVerb)
{
    const char* Names =
        "Cache-Control Connection Date Keep-Alive Pragma Trailer Transfer-Encoding Upgrade Via Warning Allow "
        "Content-Length Content-Type Content-Encoding Content-Language Content-Location Content-MD5 "
        "Content-Range Expires Last-Modified Accept Accept-Charset Accept-Encoding Accept-Language "
        "Authorization Cookie Expect From Host If-Match If-Modified-Since If-None-Match If-Range "
        "If-Unmodified-Since Max-Forwards Proxy-Authorization Referer Range TE Translate User-Agent";
    const char* Methods =
        "OPTIONS GET HEAD POST PUT DELETE TRACE CONNECT TRACK MOVE COPY PROPFIND PROPPATCH MKCOL LOCK "
        "UNLOCK SEARCH";
    const auto Words = [](std::string AText, const std::function<void(std::string, int)>& AUse) {
        int Number = 0;
        for (std::size_t At = 0, End = 0; End != AText.npos; At = End + 1, ++Number) {
            End = AText.find(' ', At);
            AUse(AText.substr(At, End - At), Number);
        }
        return Number;
    };
    EXPECT_EQ(Words(Names, [](const std::string& AName,
                              int ANumber) { EXPECT_EQ(RequestHeaderId(AName), ANumber) << AName; }),
              HttpHeaderRequestMaximum);
    Words(Methods, [](const std::string& AMethod, int ANumber) {
        EXPECT_EQ(VerbOf(AMethod), HttpVerbOPTIONS + ANumber) << AMethod;
    });
    for (const char* Name : {"Hosts", "Hos", "H", "Hxst", "Content-Lengtg", "X-A", "If-Unmodified-Sincee"})
        EXPECT_EQ(RequestHeaderId(Name), -1) << Name;
}

TEST(RequestHead, HoldsItsLimitsToTheByte)
{
    struct Row
    {
        const char* Name;
        std::string Bytes;
        const char* Expected;
    };
    const HeadLimits Limits{20, 30, 3};
    const std::string Start = "GET / HTTP/1.1\r\nHost: a\r\n"; // 9 bytes of fields
    const Row Rows[] = {
        {"line that just fits", "GET /123456 HTTP/1.1\r\nHost: a\r\n\r\n", ""},
        {"line too long by one", "GET /1234567 HTTP/1.1\r\nHost: a\r\n\r\n", "414 request line too long"},
        {"endless line", "GET /" + std::string(16, 'a'), "414 request line too long"},
        {"control behind the limit", "GET /" + std::string(16, 'a') + '\0', "414 request line too long"},
        {"fields that just fit", Start + "X: " + std::string(16, 'b') + "\r\n\r\n", ""},
        {"fields too large by one", Start + "X: " + std::string(17, 'b') + "\r\n\r\n",
         "431 header fields too large"},
        {"endless fields", Start + std::string(22, 'b'), "431 header fields too large"},
        {"three fields", Start + "A:\r\nB:\r\n\r\n", ""},
        {"four fields", Start + "A:\r\nB:\r\nC:\r\n\r\n", "431 too many header fields"},
    };
    for (const Row& Each : Rows)
        for (std::size_t Cut = 0; Cut <= Each.Bytes.size(); ++Cut) {
            RequestHeadParser Parser(Limits);
            Parser.Parse(std::string_view(Each.Bytes).substr(0, Cut));
            const HeadResult Result = Parser.Parse(Each.Bytes);
            EXPECT_EQ(Result, *Each.Expected ? HeadResult::Refused : HeadResult::Complete)
                << Each.Name << " " << Cut;
            if (*Each.Expected) {
                EXPECT_EQ(Describe(Parser, Result), Each.Expected) << Each.Name << " " << Cut;
            }
        }
}

TEST(RequestHead, ResetBeginsAnew)
{
    RequestHeadParser Parser;
    const std::string First = "POST /1 HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n", Bad = "GET\r\n",
                      Second = "GET /2 HTTP/1.0\r\n\r\n";
    for (const std::string& Each : {First, Bad, Second, First}) {
        Parser.Reset();
        EXPECT_EQ(Describe(Parser, Parser.Parse(Each)), Whole(Each));
        EXPECT_EQ(Describe(Parser, Parser.Parse(Each)), Whole(Each)) << "asked again";
    }
}

} // namespace
} // namespace Zn
