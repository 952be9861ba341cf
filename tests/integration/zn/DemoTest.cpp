#include <gtest/gtest.h>

#include "common/Json.h"
#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

class Demo : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Place = new TTemporaryFolder;
        Server = new TServedSite(Place->Path(), {"--demo"});
    }
    static void TearDownTestSuite()
    {
        delete Server;
        delete Place;
    }

    static inline TTemporaryFolder* Place = nullptr;
    static inline TServedSite* Server = nullptr;
};

TEST_F(Demo, EchoGivesTheBodyBackByteForByte)
{
    std::string Bytes;
    for (int I = 0; I < 100'000; ++I)
        Bytes += static_cast<char>(I * 7);
    Place->Write("body.bin", Bytes);
    const std::string Data = "@" + (Place->Path() / "body.bin").string();

    for (const char* Framing : {"X-Framing: length", "Transfer-Encoding: chunked"}) {
        const THttpAnswer Answer =
            Server->Get("demo/echo", {"--data-binary", Data, "-H", "Content-Type: application/x-test; a=b",
                                      "-H", Framing});
        EXPECT_EQ(Answer.Status, 200) << Framing;
        EXPECT_EQ(Answer["content-type"], "application/x-test; a=b") << Framing;
        EXPECT_TRUE(Answer.Content == Bytes) << Framing << ": " << Answer.Content.size() << " bytes";
    }
    const THttpAnswer Empty = Server->Get("demo/echo", {"-X", "POST"});
    EXPECT_EQ(Empty.Status, 200);
    EXPECT_EQ(Empty.Content, "");
}

TEST_F(Demo, RequestIsDescribedAsTheServerSawIt)
{
    const THttpAnswer Answer = Server->Get("demo/request?a=1&b=%20x",
                                           {"-X", "PATCH", "-H", "Cookie: one=1; two=b", "-H", "X-Extra: e",
                                            "-H", "Accept-Language: de-DE,en;q=0.5", "-A", "tester/1"});
    ASSERT_EQ(Answer["content-type"], "application/json");
    const TZnJSONDoc Doc = ZnCreateJSONDoc(Answer.Content);
    const auto At = [&](const char* APath) { return ZnVarToStr(ZnGetJSONDocValue(Doc, APath), "(absent)"); };
    EXPECT_EQ(At("$.method"), "PATCH");
    EXPECT_EQ(At("$.version"), "HTTP/1.1");
    EXPECT_EQ(At("$.url.Scheme"), "http");
    EXPECT_EQ(At("$.url.Hostname"), "localhost");
    EXPECT_EQ(At("$.url.SubPath"), "demo");
    EXPECT_EQ(At("$.url.Document"), "request");
    EXPECT_EQ(At("$.url.QueryString"), "a=1&b=%20x");
    EXPECT_EQ(Server->Root(), At("$.url.Origin") + "/");
    EXPECT_EQ(At("$.headers.User-Agent"), "tester/1");
    EXPECT_EQ(At("$.headers.X-Extra"), "e");
    EXPECT_EQ(At("$.cookies.one"), "1");
    EXPECT_EQ(At("$.cookies.two"), "b");
    EXPECT_EQ(At("$.languages[0]"), "de-DE");
    EXPECT_EQ(At("$.languages[1]").substr(0, 3), "en-");
    EXPECT_EQ(At("$.secure"), "false");
    EXPECT_TRUE(At("$.remoteAddress") == "127.0.0.1" || At("$.remoteAddress") == "::1")
        << At("$.remoteAddress");
}

TEST_F(Demo, TextMemoryAndStreamSendTheSameBytesOfAnySize)
{
    // 65535 bytes are one piece for the service, 65536 are two.
    for (const std::size_t Size : {0, 1, 64, 65535, 65536, 1'000'000}) {
        const std::string Query = "?size=" + std::to_string(Size);
        const THttpAnswer Text = Server->Get("demo/text" + Query);
        EXPECT_EQ(Text.Status, 200);
        EXPECT_EQ(Text.Content.size(), Size);
        EXPECT_EQ(Text["content-length"], std::to_string(Size));
        EXPECT_TRUE(Server->Get("demo/memory" + Query).Content == Text.Content) << Size;
        EXPECT_TRUE(Server->Get("demo/stream" + Query).Content == Text.Content) << Size;
        if (Size > 640) {
            EXPECT_EQ(Text.Content.substr(640, 9), "00000640 ");
        }
    }
    for (const char* Query : {"?size=x", "?size=-1", "?size=99999999999", "?size=", "?size=67108865"})
        EXPECT_EQ(Server->Get(std::string("demo/text") + Query).Status, 400) << Query;
}

TEST_F(Demo, FailuresBecomePagesOrJson)
{
    const THttpAnswer Teapot = Server->Get("demo/status/418");
    EXPECT_EQ(Teapot.Status, 418);
    EXPECT_NE(Teapot.Content.find("<H1>ERROR 418: "), std::string::npos) << Teapot.Content;
    EXPECT_EQ(Server->Get("demo/status/503", {"-H", "Accept: text/json"}).Content,
              "\"ERROR 503: Service Unavailable\"");
    for (const char* Code : {"abc", "199", "1000", "-1", ""})
        EXPECT_EQ(Server->Get(std::string("demo/status/") + Code).Status, 400) << Code;
    EXPECT_EQ(Server->Get("demo/other").Status, 404);

    const THttpAnswer Page = Server->Get("demo/fail");
    EXPECT_EQ(Page.Status, 500);
    EXPECT_NE(Page.Content.find("<H1>EConvertError: This handler fails on purpose.</H1>"), std::string::npos);
    EXPECT_EQ(Server->Get("demo/fail", {"-H", "Accept: application/json"}).Content,
              "\"EConvertError: This handler fails on purpose.\"");
}

TEST_F(Demo, WaitEndsWithItsTime)
{
    const THttpAnswer Answer = Server->Get("demo/wait?ms=20");
    EXPECT_EQ(Answer.Status, 200);
    EXPECT_EQ(Answer.Content, "Nothing happened for 20 ms.\n");
    EXPECT_EQ(Server->Get("demo/wait?ms=600001").Status, 400);
}

TEST_F(Demo, WaitEndsWithItsClient)
{
    // The handler would wait for ten minutes. The log has its line when it has ended.
    {
        TChildProcess Client({"curl", "-sv", Server->Url("demo/wait?ms=600000")});
        ASSERT_TRUE(Client.WaitForErrors("> GET ", cPatience)) << Client.Errors();
    }
    EXPECT_TRUE(Server->Process().WaitForErrors("GET /demo/wait?... - 0 ", cPatience))
        << Server->Process().Errors();
}

TEST_F(Demo, TheLogHasALineForEachRequestAndNoQueries)
{
    Server->Get("demo/text?size=10&token=hush", {"-H", "Authorization: Bearer hush"});
    ASSERT_TRUE(Server->Process().WaitForErrors("GET /demo/text?... 200 ", cPatience))
        << Server->Process().Errors();
    EXPECT_EQ(Server->Process().Errors().find("hush"), std::string::npos);
    Server->Get("a%0Ab");
    EXPECT_TRUE(Server->Process().WaitForErrors("GET /a%0Ab", cPatience));
}

} // namespace
} // namespace Zn
