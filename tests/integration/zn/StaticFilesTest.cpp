#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

/// One server for all cases: a folder with something of everything, and a secret beside it.
class StaticFiles : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Place = new TTemporaryFolder;
        Place->Write("secret.txt", "SECRET");
        Place->Write("site/index.html", "<!doctype html><title>Start</title>");
        Place->Write("site/digits.txt", "0123456789");
        Place->Write("site/empty.txt", "");
        Place->Write("site/long.txt", LongText());
        Place->Write("site/page.css", "a{}");
        Place->Write("site/script.MJS", "1");
        Place->Write("site/picture.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
        Place->Write("site/README", "plain words \xC3\xBC");
        Place->Write("site/blob", std::string_view("\x7F\x45\x4C\x46\x00\x01", 6));
        Place->Write("site/old.htm", "<p>old</p>");
        Place->Write("site/.hidden", "SECRET");
        Place->Write("site/.well-known/note.txt", "known");
        Place->Write("site/sub/.git/config", "SECRET");
        Place->Write("site/sub/page10.txt", "10");
        Place->Write("site/sub/page2.txt", std::string(2048, '2'));
        Place->Write("site/sub/<b>&\"'#?%41.txt", "odd name");
        Place->Write("site/sub/deeper/index.htm", "deep");
        const auto Site = Place->Path() / "site";
        std::filesystem::create_symlink("../secret.txt", Site / "link.txt");
        std::filesystem::create_symlink("..", Site / "up");
        std::filesystem::create_symlink(Place->Path() / "secret.txt", Site / "absolute.txt");
        std::filesystem::create_symlink("../../secret.txt", Site / "sub/out.txt");
        std::filesystem::create_symlink("sub/../digits.txt", Site / "inside.txt");
        ASSERT_EQ(mkfifo((Site / "sub/pipe").c_str(), 0600), 0); // opening it would wait for a writer
        Server = new TServedSite(Site, {"--deflate"});
    }

    static void TearDownTestSuite()
    {
        delete Server;
        delete Place;
    }

    static std::string LongText()
    {
        std::string Text;
        for (int I = 0; I < 500; ++I)
            Text += "line " + std::to_string(I) + " of a text that compresses well\n";
        return Text;
    }

    static inline TTemporaryFolder* Place = nullptr;
    static inline TServedSite* Server = nullptr;
};

TEST_F(StaticFiles, ContentTypeFollowsTheNameThenTheContent)
{
    struct TCase
    {
        const char* Target;
        const char* Type;
    };
    for (const TCase& Case : {TCase{"", "text/html; charset=utf-8"},
                              {"digits.txt", "text/plain; charset=utf-8"},
                              {"page.css", "text/css; charset=utf-8"},
                              {"script.MJS", "text/javascript; charset=utf-8"},
                              {"picture.svg", "image/svg+xml"},
                              {"README", "text/plain; charset=utf-8"},
                              {"blob", "application/octet-stream"},
                              {"old.htm", "text/html; charset=utf-8"}}) {
        const THttpAnswer Answer = Server->Get(Case.Target);
        EXPECT_EQ(Answer.Status, 200) << Case.Target;
        EXPECT_EQ(Answer["content-type"], Case.Type) << Case.Target;
        EXPECT_EQ(Answer["x-content-type-options"], "nosniff") << Case.Target;
    }
}

TEST_F(StaticFiles, RangesSelectTheBytesAskedFor)
{
    struct TCase
    {
        const char* Range;
        int Status;
        const char* ContentRange;
        const char* Content;
    };
    for (const TCase& Case : {TCase{"bytes=2-4", 206, "bytes 2-4/10", "234"},
                              {"bytes=5-", 206, "bytes 5-9/10", "56789"},
                              {"bytes=-3", 206, "bytes 7-9/10", "789"},
                              {"bytes=-50", 206, "bytes 0-9/10", "0123456789"},
                              {"bytes=3-3", 206, "bytes 3-3/10", "3"},
                              {"bytes=8-50", 206, "bytes 8-9/10", "89"},
                              {"bytes=0-9", 206, "bytes 0-9/10", "0123456789"},
                              {"bytes=0-1,4-5", 200, "", "0123456789"},
                              {"bytes=4-2", 200, "", "0123456789"},
                              {"lines=1-2", 200, "", "0123456789"},
                              {"bytes=+1-2", 200, "", "0123456789"}}) {
        const THttpAnswer Answer = Server->Get("digits.txt", {"-H", std::string("Range: ") + Case.Range});
        EXPECT_EQ(Answer.Status, Case.Status) << Case.Range;
        EXPECT_EQ(Answer["content-range"], Case.ContentRange) << Case.Range;
        EXPECT_EQ(Answer.Content, Case.Content) << Case.Range;
        EXPECT_EQ(Answer["content-length"], std::to_string(std::string_view(Case.Content).size()))
            << Case.Range;
    }
    for (const char* Range : {"bytes=10-", "bytes=10-20", "bytes=-0"}) {
        const THttpAnswer Answer = Server->Get("digits.txt", {"-H", std::string("Range: ") + Range});
        EXPECT_EQ(Answer.Status, 416) << Range;
        EXPECT_EQ(Answer["content-range"], "bytes */10") << Range;
    }
}

TEST_F(StaticFiles, IfRangeAllowsTheRangeForTheSameVersionOnly)
{
    const THttpAnswer Whole = Server->Get("digits.txt");
    EXPECT_EQ(Whole["accept-ranges"], "bytes");
    const auto With = [](const std::string& AIfRange) {
        return Server->Get("digits.txt", {"-H", "Range: bytes=2-4", "-H", "If-Range: " + AIfRange});
    };
    EXPECT_EQ(With(Whole["etag"]).Content, "234");
    EXPECT_EQ(With(Whole["last-modified"]).Content, "234");
    EXPECT_EQ(With("\"another\"").Content, "0123456789");
    EXPECT_EQ(With("W/" + Whole["etag"]).Content, "0123456789");
    EXPECT_EQ(With("Sat, 29 Feb 2020 00:00:00 GMT").Content, "0123456789");
}

TEST_F(StaticFiles, HeadTellsWhatGetWouldSend)
{
    for (const char* Target : {"digits.txt", "sub/", "empty.txt", "nothing"}) {
        const THttpAnswer Get = Server->Get(Target), Head = Server->Get(Target, {"--head"});
        EXPECT_EQ(Head.Status, Get.Status) << Target;
        EXPECT_EQ(Head["content-length"], Get["content-length"]) << Target;
        EXPECT_EQ(Head["content-type"], Get["content-type"]) << Target;
        EXPECT_EQ(Head["etag"], Get["etag"]) << Target;
        EXPECT_EQ(Head.Content, "") << Target;
    }
}

TEST_F(StaticFiles, ConditionsAreHeldAgainstTheFile)
{
    const THttpAnswer Whole = Server->Get("digits.txt");
    const std::string Tag = Whole["etag"];
    ASSERT_TRUE(Tag.starts_with('"')) << Tag;
    ASSERT_EQ(Whole["last-modified"], "Sun, 01 Mar 2020 00:00:00 GMT");

    struct TCase
    {
        std::vector<std::string> Fields;
        int Status;
    };
    const std::vector<TCase> Cases{
        {{"If-None-Match: " + Tag}, 304},
        {{"If-None-Match: W/" + Tag}, 304},
        {{"If-None-Match: \"a,b\", " + Tag}, 304},
        {{"If-None-Match: *"}, 304},
        {{"If-None-Match: \"a\""}, 200},
        {{"If-Modified-Since: Sun, 01 Mar 2020 00:00:00 GMT"}, 304},
        {{"If-Modified-Since: Sunday, 01-Mar-20 00:00:00 GMT"}, 304},
        {{"If-Modified-Since: Sat, 29 Feb 2020 23:59:59 GMT"}, 200},
        {{"If-Modified-Since: yesterday"}, 200},
        {{"If-None-Match: \"a\"", "If-Modified-Since: Sun, 01 Mar 2020 00:00:00 GMT"}, 200},
        {{"If-Match: " + Tag}, 200},
        {{"If-Match: \"a\""}, 412},
        {{"If-Match: W/" + Tag}, 412},
        {{"If-Unmodified-Since: Sat, 29 Feb 2020 00:00:00 GMT"}, 412},
    };
    for (const TCase& Case : Cases) {
        std::vector<std::string> Arguments;
        for (const std::string& Field : Case.Fields)
            Arguments.insert(Arguments.end(), {"-H", Field});
        const THttpAnswer Answer = Server->Get("digits.txt", Arguments);
        EXPECT_EQ(Answer.Status, Case.Status) << Case.Fields.front();
        if (Case.Status == 304) {
            EXPECT_EQ(Answer.Content, "") << Case.Fields.front();
            EXPECT_EQ(Answer["etag"], Tag) << Case.Fields.front();
        }
    }
    // The connection stays in step behind an answer that has no content by its status.
    const std::string Url = Server->Url("digits.txt");
    const THttpAnswer Second =
        Curl({"-H", "If-None-Match: " + Tag, Url, "--next", "-s", "--max-time", "60", "-o", "-", Url});
    EXPECT_EQ(Second.Status, 304);
    EXPECT_EQ(Second.Content, "0123456789");
}

TEST_F(StaticFiles, TextIsDeflatedForThoseWhoTakeIt)
{
    const THttpAnswer Plain = Server->Get("long.txt");
    EXPECT_EQ(Plain.Content, LongText());
    EXPECT_EQ(Plain["content-encoding"], "");
    EXPECT_EQ(Plain["vary"], "Accept-Encoding");

    const THttpAnswer Coded = Server->Get("long.txt", {"-H", "Accept-Encoding: gzip, deflate"});
    EXPECT_EQ(Coded["content-encoding"], "deflate");
    EXPECT_EQ(Coded["content-length"], std::to_string(Coded.Content.size()));
    EXPECT_LT(Coded.Content.size(), Plain.Content.size() / 4);
    EXPECT_NE(Coded["etag"], Plain["etag"]);
    EXPECT_EQ(Server->Get("long.txt", {"--compressed"}).Content, LongText());
    EXPECT_EQ(
        Server->Get("long.txt", {"-H", "Accept-Encoding: deflate", "-H", "If-None-Match: " + Coded["etag"]})
            .Status,
        304);

    EXPECT_EQ(Server->Get("long.txt", {"-H", "Accept-Encoding: deflate;q=0, gzip"})["content-encoding"], "");
    EXPECT_EQ(Server->Get("long.txt", {"-H", "Accept-Encoding: deflate", "-H", "Range: bytes=0-3"}).Content,
              "line");
    EXPECT_EQ(Server->Get("digits.txt", {"-H", "Accept-Encoding: deflate"})["content-encoding"], "");
}

TEST_F(StaticFiles, NothingOutsideTheFolderIsReached)
{
    for (const char* Target : {"../secret.txt",
                               "%2e%2e/secret.txt",
                               "..%2fsecret.txt",
                               "%2e%2e%2fsecret.txt",
                               "sub/../../secret.txt",
                               "sub/%2E%2e/.%2e/secret.txt",
                               "%252e%252e/secret.txt",
                               "..%5csecret.txt",
                               "link.txt",
                               "up/secret.txt",
                               "up/",
                               "absolute.txt",
                               "sub/out.txt",
                               "sub/pipe",
                               ".hidden",
                               "sub/.git/config",
                               "sub/.git/",
                               "digits.txt%00",
                               "%00",
                               "%2fetc/passwd",
                               "/etc/passwd",
                               "digits.txt/",
                               "%",
                               "%zz"}) {
        const THttpAnswer Answer = Server->Get(Target);
        EXPECT_TRUE(Answer.Status == 404 || Answer.Status == 400) << Target << " gave " << Answer.Status;
        EXPECT_EQ(Answer.Content.find("SECRET"), std::string::npos) << Target;
        EXPECT_EQ(Answer.Content.find("root:"), std::string::npos) << Target;
    }
    EXPECT_EQ(Server->Get("inside.txt").Content, "0123456789");
    EXPECT_EQ(Server->Get("sub/%2e%2e/digits.txt").Content, "0123456789");
    EXPECT_EQ(Server->Get("%64igits.txt").Content, "0123456789");
    EXPECT_EQ(Server->Get(".well-known/note.txt").Content, "known");
}

TEST_F(StaticFiles, AFolderWithoutAnIndexListsWhatItServes)
{
    const THttpAnswer Answer = Server->Get("sub/");
    EXPECT_EQ(Answer["content-type"], "text/html; charset=utf-8");
    const std::string& Page = Answer.Content;
    EXPECT_NE(Page.find("1 folder, 3 files"), std::string::npos) << Page;
    EXPECT_NE(Page.find("&lt;b&gt;&amp;&quot;&#39;#?%41.txt"), std::string::npos) << Page;
    EXPECT_EQ(Page.find("<b>"), std::string::npos);
    for (const char* Absent : {".git", "out.txt", "pipe"})
        EXPECT_EQ(Page.find(Absent), std::string::npos) << Absent;
    const auto Position = [](const std::string& APage, const char* AName) {
        const std::size_t Found = APage.find(AName);
        EXPECT_NE(Found, std::string::npos) << AName;
        return Found;
    };
    EXPECT_LT(Position(Page, "deeper/"), Position(Page, "page2.txt"));
    EXPECT_LT(Position(Page, ">page2.txt"), Position(Page, ">page10.txt"));
    EXPECT_EQ(Server->Get("sub/%3Cb%3E%26%22%27%23%3F%2541.txt").Content, "odd name");
    EXPECT_NE(Page.find("%3Cb%3E%26%22%27%23%3F%2541.txt"), std::string::npos);

    const std::string BySize = Server->Get("sub/?sort=size").Content;
    EXPECT_LT(Position(BySize, ">page2.txt"), Position(BySize, ">page10.txt"));
    EXPECT_LT(Position(BySize, ">deeper/"), Position(BySize, ">page2.txt"));
}

TEST_F(StaticFiles, AFolderIsRedirectedToItsSlash)
{
    EXPECT_EQ(Server->Get("sub").Status, 301);
    EXPECT_EQ(Server->Get("sub")["location"], "/sub/");
    EXPECT_EQ(Server->Get("sub?sort=size")["location"], "/sub/?sort=size");
    EXPECT_EQ(Server->Get("/sub")["location"], "/sub/"); // "//sub" must not become a host
    EXPECT_EQ(Server->Get("sub/deeper/").Content, "deep");
}

TEST_F(StaticFiles, OtherMethodsAreToldWhatIsAllowed)
{
    for (const char* Method : {"POST", "PUT", "DELETE", "PATCH", "BREW"}) {
        const THttpAnswer Answer = Server->Get("digits.txt", {"-X", Method});
        EXPECT_EQ(Answer.Status, 405) << Method;
        EXPECT_EQ(Answer["allow"], "GET, HEAD, OPTIONS") << Method;
    }
    const THttpAnswer Options = Server->Get("digits.txt", {"-X", "OPTIONS"});
    EXPECT_EQ(Options.Status, 200);
    EXPECT_EQ(Options["allow"], "GET, HEAD, OPTIONS");
}

TEST_F(StaticFiles, ErrorsArePagesOrJson)
{
    const THttpAnswer Page = Server->Get("nothing");
    EXPECT_EQ(Page.Status, 404);
    EXPECT_EQ(Page.Reason, "Not Found");
    EXPECT_EQ(Page["content-type"], "text/html");
    EXPECT_NE(Page.Content.find("<H1>ERROR 404: There is nothing at this address.</H1>"), std::string::npos);

    const THttpAnswer Json = Server->Get("nothing", {"-H", "Accept: application/json"});
    EXPECT_EQ(Json.Status, 404);
    EXPECT_EQ(Json["content-type"], "application/json");
    EXPECT_EQ(Json.Content, "\"ERROR 404: There is nothing at this address.\"");
}

} // namespace
} // namespace Zn
