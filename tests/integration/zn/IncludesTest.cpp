#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

std::string Include(const std::string& AFile)
{
    return "[<!--#include file=\"" + AFile + "\" -->]";
}

std::string Missing(const std::string& AFile)
{
    return "[File " + AFile + " not found!]";
}

TEST(ServedIncludes, NeverLeaveTheFolder)
{
    const TTemporaryFolder Place;
    Place.Write("secret.txt", "SECRET");
    Place.Write("site/top.txt", "top");
    Place.Write("site/.hidden", "SECRET");
    Place.Write("site/.parts/top.txt", "SECRET");
    Place.Write("site/sub/part.txt", "part");
    const auto Site = Place.Path() / "site";
    std::filesystem::create_symlink("../secret.txt", Site / "link.txt");
    std::filesystem::create_symlink(Place.Path() / "secret.txt", Site / "absolute.txt");
    std::filesystem::create_symlink("..", Site / "up");
    std::filesystem::create_symlink("sub/part.txt", Site / "inside.txt");
    const std::string Absolute = (Place.Path() / "secret.txt").string();
    struct TCase
    {
        std::string Page, File, Expected;
    };
    const std::vector<TCase> Cases = {
        {"p.htm", "top.txt", "[top]"},
        {"p.htm", "sub/part.txt", "[part]"},
        {"p.htm", "sub/../top.txt", "[top]"},
        {"p.htm", "inside.txt", "[part]"},
        {"sub/p.shtml", "../top.txt", "[top]"},
        {"sub/p.shtml", "part.txt", "[part]"},
        {"p.htm", "../secret.txt", Missing("../secret.txt")},
        {"p.htm", "../site/top.txt", Missing("../site/top.txt")},
        {"p.htm", Absolute, Missing(Absolute)},
        {"p.htm", "link.txt", Missing("link.txt")},
        {"p.htm", "absolute.txt", Missing("absolute.txt")},
        {"p.htm", "up/secret.txt", Missing("up/secret.txt")},
        {"p.htm", "/proc/self/environ", Missing("/proc/self/environ")},
        {"sub/p.shtml", "../../secret.txt", Missing("sub/../../secret.txt")},
        {"p.htm", ".hidden", Missing(".hidden")},
        {"sub/p.shtml", "./../.parts/top.txt", Missing("sub/./../.parts/top.txt")},
        {"p.htm", "no.txt", Missing("no.txt")},
        {"p.htm", std::string("top.txt\0", 8), Missing(std::string("top.txt\0", 8))},
    };
    const TServedSite Server(Site, {});
    for (const TCase& Case : Cases) {
        Place.Write("site/" + Case.Page, Include(Case.File));
        const THttpAnswer Answer = Server.Get(Case.Page);
        EXPECT_EQ(Answer.Status, 200) << Case.File;
        EXPECT_EQ(Answer.Content, Case.Expected) << Case.Page;
    }
    // A page that isn't the folder's own either.
    Place.Write("outside.htm", "SECRET");
    std::filesystem::create_symlink("../outside.htm", Site / "out.htm");
    EXPECT_EQ(Server.Get("out.htm").Status, 404);
    // A folder can't be copied; the page of the failure doesn't tell where the site is.
    Place.Write("site/p.htm", Include("sub"));
    const THttpAnswer Failed = Server.Get("p.htm");
    EXPECT_EQ(Failed.Status, 500);
    EXPECT_NE(Failed.Content.find("EFOpenError: Cannot open file \"sub\". It is no file."),
              std::string::npos);
}

TEST(ServedIncludes, ArePagesLikeOthers)
{
    const TTemporaryFolder Place;
    Place.Write("index.shtml", "<p>" + Include("part.txt") + "</p>");
    Place.Write("part.txt", std::string(2000, 'p'));
    const std::string Expected = "<p>[" + std::string(2000, 'p') + "]</p>";
    const TServedSite Server(Place.Path(), {"--deflate"});

    const THttpAnswer Plain = Server.Get("");
    EXPECT_EQ(Plain.Content, Expected);
    EXPECT_EQ(Plain["content-type"], "text/html; charset=utf-8");
    EXPECT_EQ(Plain["content-length"], std::to_string(Expected.size()));
    EXPECT_EQ(Plain["etag"] + Plain["last-modified"] + Plain["accept-ranges"], "");

    const THttpAnswer Ranged = Server.Get("index.shtml", {"-r", "3-9"});
    EXPECT_EQ(Ranged.Status, 200);
    EXPECT_EQ(Ranged.Content, Expected);

    const THttpAnswer Head = Server.Get("index.shtml", {"-I"});
    EXPECT_EQ(Head["content-length"], std::to_string(Expected.size()));
    EXPECT_EQ(Head.Content, "");

    const THttpAnswer Deflated = Server.Get("index.shtml", {"--compressed"});
    EXPECT_EQ(Deflated.Content, Expected);

    Place.Write("part.txt", "new"); // what is included is never kept
    EXPECT_EQ(Server.Get("").Content, "<p>[new]</p>");
}

TEST(ServedIncludes, MakeTheExampleSite)
{
    const TServedSite Server(ZN_EXAMPLE_SITE, {});
    const THttpAnswer Page = Server.Get("includes.shtml");
    EXPECT_EQ(Page.Status, 200);
    for (const char* Part : {"<header class=\"top\">", "<!-- road -->", "<dt>The worker answers</dt>",
                             "<!-- road ends -->", "<footer>"})
        EXPECT_NE(Page.Content.find(Part), std::string::npos) << Part;
    for (const char* Absent : {"<!--#", "not found!", "id=\"again\""})
        EXPECT_EQ(Page.Content.find(Absent), std::string::npos) << Absent;
    const THttpAnswer Lacking = Server.Get("includes-missing.htm");
    EXPECT_NE(Lacking.Content.find("<code>File parts/later.html not found!</code>"), std::string::npos);
    EXPECT_NE(Lacking.Content.find("<code>File ../../../etc/passwd not found!</code>"), std::string::npos);
}

} // namespace
} // namespace Zn
