#include "uZnHTTPServer/IncludeParser.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "ScriptedService.h"
#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/System.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnHTTPServer/PageFiles.h"
#include "uZnHTTPServer/PageWriteBack.h"

namespace
{

namespace fs = std::filesystem;

/// The page with each directive as [command|parameter|parameter].
std::string Outline(std::string_view APage)
{
    TZnTextParser Parser(APage);
    Zn::DirectiveScanner Scanner(Parser);
    std::string Result;
    while (Scanner.Next()) {
        Result += Scanner.Text();
        Result += "[" + Scanner.Command();
        for (const std::string& Param : Scanner.Params())
            Result += "|" + Param;
        Result += "]";
    }
    return Result + std::string(Scanner.Text());
}

TEST(Directives, AreFoundAmongOtherText)
{
    const struct
    {
        const char* Name;
        std::string Page;
        std::string Expected;
    } Rows[] = {
        {"nothing", "", ""},
        {"text", "a < b <!-", "a < b <!-"},
        {"one", R"(a<!--#include file="f" -->b)", "a[include|file=f]b"},
        {"no space before the end", R"(a<!--#include file="f"-->b)", "a[include|file=f]b"},
        {"no parameters", "a<!--#now -->b", "a[now]b"},
        {"two at once", R"(<!--#a x="1"--><!--#b y="2"-->)", "[a|x=1][b|y=2]"},
        {"many spaces", R"(<!--#a    x="1"     y="2"     -->)", "[a|x=1|y=2]"},
        {"other things between '=' and value", R"(<!--#a x y = 'z' "1"-->)", "[a|x y =1]"},
        {"values are raw", "<!--#a x=\"a=b --> <p> \\\"-->", "[a|x=a=b --> <p> \\]"},
        {"names may begin like the end", R"(<!--#a --x="1" ->y="2"-->)", "[a|--x=1|->y=2]"},
        {"a line break is no space", "<!--#a\n x=\"1\"\ny=\"2\"-->", "[a\n|x=1|\ny=2]"},
        {"ordinary comments", R"(<!-- #a x="1" --><!--a-->)", R"(<!-- #a x="1" --><!--a-->)"},
        {"tags in front", R"(<p><b></b><!--#a x="1"-->)", "<p><b></b>[a|x=1]"},
        {"a '<' hides", R"(<<!--#a x="1"-->)", R"(<<!--#a x="1"-->)"},
        {"half a start hides", R"(<!--<!--#a x="1"-->)", R"(<!--<!--#a x="1"-->)"},
        {"a hidden half start hides nothing", R"(<!<!-<!--#a x="1"--><!--<<!--<!--#b-->)",
         R"(<!<!-[a|x=1]<!--<<!--<!--#b-->)"},
        {"'#' elsewhere", R"(# <a href="#x">&#33; --#<!--#a-->)", R"(# <a href="#x">&#33; --#<!--#a-->)"},
        {"what is hidden hides nothing", R"(<<!--#a --><!--#b -->)", R"(<<!--#a -->[b])"},
        {"two '<' don't hide", R"(<<<!--#a x="1"-->)", "<<[a|x=1]"},
        {"bytes that are no text", "\xFF<\xC3<!--#a x=\"\xE4\"-->\xC3", "\xFF<\xC3[a|x=\xE4]\xC3"},
    };
    for (const auto& Row : Rows)
        EXPECT_EQ(Outline(Row.Page), Row.Expected) << Row.Name;
}

TEST(Directives, CutOffByTheEndAreText)
{
    const std::string Page = "head <b>x</b>"
                             R"(<!--#one a="1" --> middle <!--#two b="2"  c="3" -->)";
    const std::string Front = "head <b>x</b>[one|a=1] middle ";
    const std::size_t Second = Page.rfind("<!--#");
    for (std::size_t Length = Second; Length < Page.size(); ++Length)
        EXPECT_EQ(Outline(Page.substr(0, Length)), Front + Page.substr(Second, Length - Second)) << Length;
    EXPECT_EQ(Outline(Page), Front + "[two|b=2|c=3]");
}

TEST(Parts, ReachFromMarkerToMarker)
{
    const struct
    {
        const char* Name;
        std::string Text, Start, End, Expected;
    } Rows[] = {
        {"both", "a<!-- s -->b<!-- e -->c", "s", "e", "<!-- s -->b<!-- e -->"},
        {"wrapped already", "a<!-- s -->b<!-- e -->c", "<!-- s -->", "<!-- e", "<!-- s -->b<!-- e"},
        {"no start", "a<!-- e -->c", "", "e", "a<!-- e -->"},
        {"no end: the rest", "a<!-- s -->b", "s", "", "<!-- s -->b"},
        {"start missing", "a<!-- e -->", "s", "e", ""},
        {"end missing: the rest", "a<!-- s -->b", "s", "e", "<!-- s -->b"},
        {"end only in front", "<!-- e --><!-- s -->b", "s", "e", "<!-- s -->b"},
        {"the same marker twice", "a<!-- m -->b<!-- m -->c", "m", "m", "<!-- m -->b<!-- m -->"},
        {"near misses", "<<!--<!-- x --><!-- s --", "s", "", ""},
        {"after near misses", "<<!--<!-- x --><!-- <!-- s -->b", "s", "", "<!-- s -->b"},
        {"any letters", "<!-- \u00FCber -->\u00FCber<!-- \u00FCbrig -->", "\u00FCber", "\u00FCbrig",
         "<!-- \u00FCber -->\u00FCber<!-- \u00FCbrig -->"},
        {"letters that begin alike", "<!-- \u00FC -->b", "\u00F6", "", ""},
        {"bytes that are no text", "<!-- \xF3\xF3 -->b", "\xF3\xAC", "", ""},
        {"empty text", "", "", "e", ""},
    };
    for (const auto& Row : Rows)
        EXPECT_EQ(Zn::SelectPart(Row.Text, Row.Start, Row.End), Row.Expected) << Row.Name;
}

/// A server that answers with the page it is told, from a folder of its own.
class Includes : public testing::Test
{
protected:
    ~Includes() override { Server.SetActive(false); }

    struct TServer : TZnHTTPServer
    {
        using TZnHTTPServer::TZnHTTPServer;
        std::function<void(const std::string&)> BeforeInclude;
        std::unique_ptr<TStream> CreateFileStream(const std::string& APath,
                                                  const std::string& AFileName) override
        {
            if (!APath.empty() && BeforeInclude)
                BeforeInclude(AFileName);
            return TZnHTTPServer::CreateFileStream(APath, AFileName);
        }
    };

    std::string Write(const std::string& AName, const std::string& AContent) const
    {
        std::ofstream(Folder + AName, std::ios::binary) << AContent;
        return Folder + AName;
    }
    std::string Read(const std::string& AName) const
    {
        std::ifstream File(Folder + AName, std::ios::binary);
        return {std::istreambuf_iterator<char>(File), {}};
    }
    std::size_t Entries() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(Folder), {}));
    }

    using TFill = std::function<void(TZnHTTPServerResponse&)>;
    void Answer(const std::string& AName, TFill AFill = {})
    {
        Server.SetActive(false);
        Server.SetOnResponse([=, this](auto&, auto*, TZnHTTPServerResponse& AAnswer) {
            AAnswer.SetResponseFileName(Folder + AName);
            if (AFill)
                AFill(AAnswer);
        });
        Server.SetActive(true);
    }
    Exchange Ask(const std::string& AName, TFill AFill = {}, ScriptedRequest ARequest = {})
    {
        Answer(AName, std::move(AFill));
        return Service.Ask(std::move(ARequest));
    }
    /// The body for a page of that content.
    std::string Expand(const std::string& APage)
    {
        Write("page.htm", APage);
        return Ask("page.htm").Body();
    }
    static void Cached(TZnHTTPServerResponse& AAnswer) { AAnswer.AddUnknownHeader("Zemvo-Cached", "1"); }

    const Zn::TemporaryFolder Place;
    const std::string Folder = Place.Path().native() + "/";
    ScriptedService Service;
    TServer Server{nullptr};
};

TEST_F(Includes, TakeThePlaceOfTheirDirectives)
{
    Write("a.txt", "A<!--#include file=\"page.htm\" -->A"); // a cycle, were it followed
    Write("parts.html", "0<!-- one -->1<!-- two -->2");
    Write("empty.txt", "");
    fs::create_directory(Folder + "sub");
    Write("sub/b.txt", "B");
    const std::string Copied = "A<!--#include file=\"page.htm\" -->A";
    const struct
    {
        const char* Name;
        std::string Page, Expected;
    } Rows[] = {
        {"no directive", "<p>\xFF text", "<p>\xFF text"},
        {"whole file, not scanned", "x<!--#include file=\"a.txt\" -->y", "x" + Copied + "y"},
        {"other folder", "<!--#include file=\"sub/b.txt\"-->", "B"},
        {"empty file", "x<!--#include file=\"empty.txt\"-->y", "xy"},
        {"part", R"(<!--#include file="parts.html" start="one" end="two"-->)", "<!-- one -->1<!-- two -->"},
        {"part that isn't there", R"(x<!--#include file="parts.html" start="six"-->y)", "xy"},
        {"names without regard to case", R"(<!--#include FILE="sub/b.txt"-->)", "B"},
        {"first of two", R"(<!--#include file="sub/b.txt" file="a.txt"-->)", "B"},
        {"other commands", R"(x<!--#exec cmd="ls" -->y<!--#Include file="a.txt"-->z)", "xyz"},
        {"missing", "x<!--#include file=\"no.txt\" start=\"s\"-->y",
         "xFile " + Folder + "no.txt not found!y"},
        {"below a file", "<!--#include file=\"a.txt/b\"-->", "File " + Folder + "a.txt/b not found!"},
        {"NUL", std::string("<!--#include file=\"a.txt\0\"-->", 29),
         "File " + Folder + std::string("a.txt\0", 6) + " not found!"},
        {"cut off", "x<!--#include file=\"sub/b.txt\"-->y<!--#include file=", "xBy<!--#include file="},
    };
    for (const auto& Row : Rows)
        EXPECT_EQ(Expand(Row.Page), Row.Expected) << Row.Name;
}

TEST_F(Includes, ConcernPagesByTheirNameOnly)
{
    Write("a.txt", "A");
    const std::string Page = "<!--#include file=\"a.txt\"-->";
    for (const char* Name : {"p.htm", "p.shtml"}) {
        Write(Name, Page);
        const Exchange Seen = Ask(Name);
        EXPECT_EQ(Seen.Body(), "A") << Name;
        EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentLength), "1") << Name;
    }
    for (const char* Name : {"p.HTM", "p.html", "p.htm.txt"}) {
        Write(Name, Page);
        EXPECT_EQ(Ask(Name).Calls.at(1).FileRanges.size(), 1U) << Name;
    }
    // A stream gives way when the name is a page's.
    const auto Stream = [](TZnHTTPServerResponse& AAnswer) {
        AAnswer.SetResponseType(rtStream);
        AAnswer.SetResponseStream(std::make_unique<TStringStream>("gives way"));
    };
    EXPECT_EQ(Ask("p.htm", Stream).Body(), "A");
    EXPECT_EQ(Ask("p.html", Stream).Body(), "gives way");
}

TEST_F(Includes, ChangeWhatIsSaidOfTheFile)
{
    Write("a.txt", "0123456789");
    Write("p.htm", "<!--#include file=\"a.txt\"-->");
    for (const auto& Row : {std::pair("text/shtml", "text/html"),
                            {"TEXT/SHTML; s=/s", "TEXT/HTML; s=/s"},
                            {"image/svg", "image/vg"}})
        EXPECT_EQ(Ask("p.htm", [&](auto& AAnswer) { AAnswer.SetContentType(Row.first); })
                      .Head()
                      .Known.at(HttpHeaderContentType),
                  Row.second);
    // Ranges are about files.
    const Exchange Ranged = Ask("p.htm", [](auto& AAnswer) { AAnswer.SetPartialContent(true); },
                                {.Known = {{HttpHeaderRange, "bytes=2-4"}}});
    EXPECT_EQ(Ranged.Head().Status, 200);
    EXPECT_EQ(Ranged.Head().Known.count(HttpHeaderAcceptRanges), 0U);
    EXPECT_EQ(Ranged.Body(), "0123456789");
    EXPECT_EQ(Ask("p.htm", {}, {.Verb = HttpVerbHEAD}).Head().Known.at(HttpHeaderContentLength), "10");
}

TEST_F(Includes, FailuresAreAnsweredInPlace)
{
    fs::create_directory(Folder + "sub.html");
    ASSERT_EQ(mkfifo((Folder + "pipe").c_str(), 0600), 0);
    const std::string Reason = "\". " + SysErrorMessage(5);
    const struct
    {
        const char* Name;
        std::string Page, Class, Message;
    } Rows[] = {
        {"folder", "<!--#include file=\"sub.html\"-->", "EFOpenError",
         "Cannot open file \"" + Folder + "sub.html" + Reason},
        {"no name", "<!--#include start=\"s\"-->", "EFOpenError", "Cannot open file \"" + Folder + Reason},
        {"pipe", "<!--#include file=\"pipe\"-->", "EFOpenError",
         "Cannot open file \"" + Folder + "pipe\". It is a pipe."},
    };
    for (const auto& Row : Rows) {
        Write("page.htm", "in front" + Row.Page);
        const Exchange Seen = Ask("page.htm", [](auto& AAnswer) { AAnswer.SetContentEncoding("br"); });
        EXPECT_EQ(Seen.Head().Status, 500) << Row.Name;
        EXPECT_EQ(Seen.Head().Reason, "Internal Server Error") << Row.Name;
        EXPECT_EQ(Seen.Head().Known.at(HttpHeaderContentType), "text/html") << Row.Name;
        EXPECT_NE(Seen.Body().find("<H1>" + Row.Class + ": " + Row.Message + "</H1>"), std::string::npos)
            << Row.Name << ": " << Seen.Body();
        const Exchange Json = Ask("page.htm", {}, {.Known = {{HttpHeaderAccept, "application/json"}}});
        EXPECT_EQ(Json.Body().find(Row.Class), std::string::npos) << Row.Name;
        EXPECT_EQ(Json.Head().Known.at(HttpHeaderContentType), "application/json") << Row.Name;
    }
    EXPECT_NE(Ask("no.htm").Body().find("EFileNotFoundException: "), std::string::npos);
    Write("page.htm", "<!--#include file=\"x\"-->");
    Server.BeforeInclude = [](auto&) { throw 5; };
    EXPECT_NE(Ask("page.htm").Body().find("unknown exception"), std::string::npos);
}

TEST_F(Includes, StayWithinTheLimit)
{
    Write("a.txt", std::string(60, 'a'));
    const std::string Include = "<!--#include file=\"a.txt\"-->";
    Server.SetMaxPageSize(100);
    EXPECT_EQ(Expand(Include + std::string(40, 'x')).size(), 100U);
    for (const std::string& Page : {Include + std::string(41, 'x'), std::string(41, 'x') + Include,
                                    Include + Include, std::string(101, 'x')})
        EXPECT_NE(Expand(Page).find("EZnHTTPException: The page is longer than 100 bytes!"),
                  std::string::npos);
    Server.SetMaxPageSize(0);
    EXPECT_EQ(Expand(Include + Include).size(), 120U);

    // By default too much for a page, whether it is copied or searched.
    Server.SetMaxPageSize(TZnHTTPServer(nullptr).GetMaxPageSize());
    Write("huge", "");
    fs::resize_file(Folder + "huge", std::uintmax_t{1} << 30);
    for (const char* Which : {"", "start=\"s\""}) {
        std::string Page;
        for (int Each = 0; Each < 1000; ++Each)
            Page += std::string("<!--#include file=\"huge\" ") + Which + "-->";
        EXPECT_NE(Expand(Page).find("The page is longer than 67108864 bytes!"), std::string::npos) << Which;
    }
}

TEST_F(Includes, MayBeManyInAPage)
{
    constexpr int cCount = 100'000;
    Write("a.txt", "a");
    std::string Page, Expected;
    for (int Each = 0; Each < cCount; ++Each) {
        const bool Included = Each % 50 == 0; // opening files is what takes the time
        Page += Included ? "<!--#include file=\"a.txt\" --> " : "<!--#other file=\"a.txt\" -->.";
        Expected += Included ? "a " : ".";
    }
    EXPECT_EQ(Expand(Page), Expected);
}

TEST_F(Includes, KeptFilesAreThoseOnDisk)
{
    timespec Start{}; // the clock stands, however long this takes
    clock_gettime(CLOCK_REALTIME, &Start);
    std::int64_t Later = 0; // ns
    Zn::PageFiles Files([&] { return Start.tv_sec * 1'000'000'000LL + Start.tv_nsec + Later; });
    const auto Open = [&](const std::string& AName) {
        const std::unique_ptr<TStream> Stream = Files.Open(Folder + AName);
        const bool Kept = dynamic_cast<TFileStream*>(Stream.get()) == nullptr;
        return ZnStreamToAnsiString(*Stream, cZnCodePageUTF8) + (Kept ? " kept" : " read");
    };
    Write("a.txt", "one");
    EXPECT_EQ(Open("a.txt"), "one read") << "too young";
    Later = 100'000'000'000;
    EXPECT_EQ(Open("a.txt"), "one kept");
    EXPECT_EQ(Open("a.txt"), "one kept");
    Later = 0;
    // The same length in place, another file under the name, another folder under the link.
    Write("a.txt", "two");
    EXPECT_EQ(Open("a.txt"), "two read");
    Write("b.txt", "six");
    fs::rename(Folder + "b.txt", Folder + "a.txt");
    EXPECT_EQ(Open("a.txt"), "six read");
    for (const char* Release : {"r1", "r2"}) {
        fs::create_directory(Folder + Release);
        Write(std::string(Release) + "/a.txt", Release);
    }
    Later = 100'000'000'000;
    for (const char* Release : {"r1", "r2", "r1"}) {
        fs::remove(Folder + "current");
        fs::create_directory_symlink(Release, Folder + "current");
        EXPECT_EQ(Open("current/a.txt"), std::string(Release) + " kept");
    }
    fs::remove(Folder + "a.txt");
    EXPECT_THROW(Open("a.txt"), EFileNotFoundException);

    // Long files aren't kept; of many the ones used last are, and what is in use stays valid.
    Write("long", std::string(Zn::PageFiles::cLongestKept + 1, 'l'));
    EXPECT_TRUE(Open("long").ends_with("read"));
    Write("first", std::string(Zn::PageFiles::cLongestKept, 'f'));
    const std::unique_ptr<TStream> InUse = Files.Open(Folder + "first");
    for (int Each = 0; Each < 2 * Zn::PageFiles::cRoom / Zn::PageFiles::cLongestKept; ++Each) {
        const std::string Name = "f" + std::to_string(Each);
        Write(Name, std::string(Zn::PageFiles::cLongestKept, 'x'));
        EXPECT_TRUE(Open(Name).ends_with("x kept"));
    }
    EXPECT_TRUE(ZnStreamToAnsiString(*InUse, cZnCodePageUTF8) ==
                std::string(Zn::PageFiles::cLongestKept, 'f'));
}

TEST_F(Includes, AreWrittenBackWhenAsked)
{
    Write("a.txt", "A");
    fs::create_directory(Folder + "real");
    Write("real/a.txt", "A");
    const std::string Page = "x<!--#include file=\"a.txt\"-->", Done = "xA";
    const std::string File = Write("real/page.htm", Page);
    chmod(File.c_str(), 0640);
    fs::create_symlink("real/page.htm", Folder + "link.htm");
    const std::size_t Before = Entries();

    EXPECT_EQ(Ask("link.htm").Body(), Done);
    EXPECT_EQ(Read("link.htm"), Page) << "nobody asked";

    const Exchange Seen = Ask("link.htm", Cached);
    EXPECT_EQ(Seen.Body(), Done);
    EXPECT_EQ(Seen.Head().Unknown.at(0).first, "Zemvo-Cached");
    EXPECT_TRUE(fs::is_symlink(Folder + "link.htm"));
    EXPECT_EQ(Read("real/page.htm"), Done);
    EXPECT_EQ(static_cast<unsigned>(fs::status(File).permissions()), 0640U);
    EXPECT_EQ(Entries(), Before) << "nothing left behind";

    // Without a directive the file isn't touched.
    const auto Version = Zn::VersionOf(File);
    EXPECT_EQ(Ask("link.htm", Cached).Body(), Done);
    EXPECT_EQ(Zn::VersionOf(File), Version);

    const auto OtherHeader = [](auto& AAnswer) { AAnswer.AddUnknownHeader("zemvo-cached", "1"); };
    Write("real/page.htm", Page);
    Ask("link.htm", OtherHeader);
    EXPECT_EQ(Read("real/page.htm"), Page) << "the name is exact";
}

TEST_F(Includes, NeverOverwriteAnEdit)
{
    Write("a.txt", "A");
    Write("page.htm", "x<!--#include file=\"a.txt\"-->");
    Server.BeforeInclude = [&](auto&) { Write("page.htm", "edited meanwhile"); };
    EXPECT_EQ(Ask("page.htm", Cached).Body(), "xA");
    EXPECT_EQ(Read("page.htm"), "edited meanwhile");

    Write("page.htm", "x<!--#include file=\"a.txt\"-->");
    Server.BeforeInclude = [&](auto&) { fs::remove(Folder + "page.htm"); };
    EXPECT_EQ(Ask("page.htm", Cached).Body(), "xA");
    EXPECT_FALSE(fs::exists(Folder + "page.htm"));
    EXPECT_EQ(Entries(), 1U);
}

TEST_F(Includes, FailedWriteBackLeavesNoTrace)
{
    const std::string File = Write("page.htm", "old");
    const auto Version = *Zn::VersionOf(File);
    rlimit Usual{};
    getrlimit(RLIMIT_FSIZE, &Usual);
    const rlimit Small{1000, Usual.rlim_max};
    const auto UsualSignal = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &Small);
    EXPECT_THROW(Zn::ReplaceFile(File, Version, std::string(5000, 'n')), EStreamError);
    setrlimit(RLIMIT_FSIZE, &Usual);
    std::signal(SIGXFSZ, UsualSignal);
    EXPECT_EQ(Read("page.htm"), "old");
    EXPECT_EQ(Entries(), 1U);

    Zn::ReplaceFile(File, Version, "new");
    EXPECT_EQ(Read("page.htm"), "new");
    EXPECT_THROW(Zn::ReplaceFile(Folder + "no.htm", Version, "new"), EStreamError);
    EXPECT_EQ(Zn::VersionOf(Folder), std::nullopt);
}

TEST_F(Includes, ReadersSeeWholePagesWhileManyWriteBack)
{
    Write("a.txt", std::string(300'000, 'A'));
    const std::string Page = "<!--#include file=\"a.txt\"-->" + std::string(200'000, 'x');
    const std::string Done = std::string(300'000, 'A') + std::string(200'000, 'x');
    Write("page.htm", Page);
    Answer("page.htm", Cached);

    std::atomic<bool> Ended{false};
    std::atomic<int> Torn{0};
    std::thread Reader([&] {
        while (!Ended) {
            const std::string Seen = Read("page.htm");
            if (Seen != Page && Seen != Done)
                ++Torn;
        }
    });
    for (int Round = 0; Round < 5; ++Round) {
        Write("new", Page);
        fs::rename(Folder + "new", Folder + "page.htm");
        std::vector<HTTP_REQUEST_ID> Ids;
        for (int Each = 0; Each < 8; ++Each)
            Ids.push_back(Service.Push());
        for (const HTTP_REQUEST_ID Id : Ids)
            EXPECT_TRUE(Service.Await(Id).Body() == Done);
        EXPECT_TRUE(Read("page.htm") == Done);
    }
    Ended = true;
    Reader.join();
    EXPECT_EQ(Torn, 0);
    EXPECT_EQ(Entries(), 2U) << "nothing left behind";
}

} // namespace
