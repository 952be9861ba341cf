// zn serve --auth form, with curl's cookie jar and with a browser.

#include <algorithm>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/TlsClient.h"

namespace Zn
{
namespace
{

constexpr int cPeerIsMissing = 77;

class FormLogon : public testing::Test
{
protected:
    FormLogon()
    {
        TChildProcess Process(
            {"env", "ZN_PASSWORD=open sesame", ZN_PROGRAM, "users", "add", File("users"), "club", "ada"});
        EXPECT_EQ(Process.WaitForExit(cPatience), 0) << Process.Errors();
    }

    std::string File(const std::string& AName) const { return (Folder.Path() / AName).string(); }

    std::vector<std::string> Options(std::vector<std::string> AMore) const
    {
        std::vector<std::string> All{"--demo", "--csp",   "default-src 'self'", "--auth",
                                     "form",   "--users", File("users")};
        All.insert(All.end(), AMore.begin(), AMore.end());
        return All;
    }

    void WalkTheBrowser(const std::string& ARoot)
    {
        TChildProcess Walk({"node", ZN_PEERS "/logon-walk.mjs", ARoot, Folder.Path().string()});
        const auto Code = Walk.WaitForExit(5 * cPatience);
        if (Code == cPeerIsMissing || Code == 127)
            GTEST_SKIP()
                << "playwright-core isn't installed (npm ci in tests/peers): the logon isn't tried in a "
                   "browser";
        EXPECT_EQ(Code, 0) << Walk.Output() << Walk.Errors();
        for (const char* Picture : {"page", "wrong", "private", "off"})
            EXPECT_TRUE(std::filesystem::exists(File("logon-" + std::string(Picture) + ".png"))) << Picture;
    }

    static bool HasBrowser()
    {
        TChildProcess Probe({"sh", "-c", "command -v chromium && command -v node"});
        return Probe.WaitForExit(cPatience) == 0;
    }

    TTemporaryFolder Folder;
};

/// Curl as a browser with one jar of cookies, which doesn't follow redirects.
class TVisitor
{
public:
    TVisitor(const TServedSite& ASite, std::string AJar) : FSite(ASite), FJar(std::move(AJar)) {}

    THttpAnswer Get(const std::string& ATarget) { return Ask(ATarget, {}); }
    THttpAnswer Post(const std::string& ATarget, const std::string& ABody)
    {
        return Ask(ATarget, {"-d", ABody});
    }

    /// The value of the token's cookie in the jar; empty when there is none.
    std::string Token() const
    {
        std::ifstream Jar(FJar);
        for (std::string Line; std::getline(Jar, Line);)
            if (Line.find("\tX-Auth-Token-") != std::string::npos)
                return Line.substr(Line.rfind('\t') + 1);
        return {};
    }
    const std::string& Jar() const { return FJar; }

private:
    THttpAnswer Ask(const std::string& ATarget, std::vector<std::string> AMore)
    {
        AMore.insert(AMore.end(), {"-b", FJar, "-c", FJar});
        return FSite.Get(ATarget, std::move(AMore));
    }

    const TServedSite& FSite;
    std::string FJar;
};

TEST_F(FormLogon, CurlWalksFromThePageToTheFormAndBack)
{
    const TServedSite Site(ZN_EXAMPLE_SITE,
                           Options({"--protect", "/private.html", "--protect", "/demo/private"}));
    TVisitor Ada(Site, File("jar"));

    const THttpAnswer Sent = Ada.Get("private.html");
    EXPECT_EQ(Sent.Status, 302);
    EXPECT_EQ(Sent.Reason, "Form Authentication Redirect");
    EXPECT_EQ(Sent["location"], "/logon.html");
    EXPECT_TRUE(Sent["set-cookie"].ends_with("; SameSite=Strict; Path=/")) << Sent["set-cookie"];
    EXPECT_EQ(Sent["set-cookie"].find("Secure"), std::string::npos);
    EXPECT_EQ(Ada.Get("logon.html").Status, 200);

    const std::string First = Ada.Token();
    const THttpAnswer Wrong = Ada.Post("logon.html", "userName=ada&password=wrong");
    EXPECT_EQ(Wrong.Status, 302);
    EXPECT_EQ(Wrong.Reason, "Invalid Username and/or Password");
    EXPECT_EQ(Wrong["location"], "/logon.html");
    EXPECT_EQ(Wrong["set-cookie"], "X-Auth-Error=Invalid Username and/or Password;Path=/; Max-Age=5");
    EXPECT_NE(Ada.Token(), First);

    const THttpAnswer In = Ada.Post("logon.html", "userName=ada&password=open%20sesame");
    EXPECT_EQ(In.Status, 302);
    EXPECT_EQ(In.Reason, "Logged On");
    EXPECT_EQ(In["location"], Site.Url("private.html"));
    EXPECT_EQ(Ada.Get("private.html").Status, 200);
    EXPECT_EQ(Ada.Get("demo/private").Content, "Hello, ada. You are here by a session, as User.\n");
    EXPECT_EQ(Ada.Get("logon.html").Reason, "Already Logged On");

    // A copy of the cookie is as good as the cookie, until the logoff.
    std::filesystem::copy_file(Ada.Jar(), File("copy"));
    TVisitor Copy(Site, File("copy"));
    EXPECT_EQ(Copy.Get("private.html").Status, 200);
    const THttpAnswer Off = Ada.Get("logoff.html");
    EXPECT_EQ(Off.Status, 200);
    EXPECT_EQ(Ada.Token(), "");
    const THttpAnswer Replayed = Copy.Get("index.html");
    EXPECT_EQ(Replayed.Status, 200);
    EXPECT_NE(Replayed["set-cookie"].find("=deleted; Path=/; Expires=Thu, 01 Jan 1970 00:00:01 GMT"),
              std::string::npos)
        << Replayed["set-cookie"];
    EXPECT_EQ(Copy.Token(), "");
    EXPECT_EQ(Copy.Get("private.html").Status, 302);

    TVisitor Stranger(Site, File("other jar"));
    EXPECT_EQ(Stranger.Post("private.html", "a=1").Status, 403);
    EXPECT_EQ(Stranger.Get("demo/private").Status, 401); // no page: nobody to fill in a form
    EXPECT_EQ(Stranger.Get("logon.html")["location"], "/private.html");
}

TEST_F(FormLogon, GuessingMeetsTheLimitAtTheLogonPage)
{
    const TServedSite Site(ZN_EXAMPLE_SITE, Options({"--protect", "/private.html"}));
    TVisitor Eve(Site, File("jar"));
    Eve.Get("private.html");
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(Eve.Post("logon.html", "userName=ada&password=" + std::to_string(i)).Reason,
                  "Invalid Username and/or Password");
    const THttpAnswer Stopped = Eve.Post("logon.html", "userName=ada&password=6");
    EXPECT_EQ(Stopped.Status, 302);
    EXPECT_EQ(Stopped.Reason, "Too many authentication failures!");
    EXPECT_EQ(Stopped["set-cookie"], "X-Auth-Error=Too many authentication failures!;Path=/; Max-Age=5");
}

/// Below a path and with pages of other names; all is protected but what a logon needs.
TEST_F(FormLogon, PagesMayHaveOtherNamesAndPlaces)
{
    Folder.Write("site/in.html", "<p>in</p>");
    Folder.Write("site/out.html", "<p>out</p>");
    Folder.Write("site/sub/x.html", "<p>x</p>");
    const TServedSite Site(Folder.Path() / "site",
                           Options({"--logon-url", "/app/in.html", "--logoff-url", "/app/out.html",
                                    "--default-url", "/app/sub/"}),
                           "/app/");
    TVisitor Ada(Site, File("jar"));
    EXPECT_EQ(Ada.Get("in.html")["location"], "/app/sub/");
    EXPECT_EQ(Ada.Get("sub/")["location"], "/app/in.html");
    EXPECT_EQ(Ada.Get("in.html").Content, "<p>in</p>");
    EXPECT_EQ(Ada.Post("in.html", "userName=ada&password=open%20sesame")["location"], Site.Url("sub/"));
    EXPECT_EQ(Ada.Get("sub/x.html").Content, "<p>x</p>");
    EXPECT_EQ(Ada.Get("out.html").Content, "<p>out</p>");
    EXPECT_EQ(Ada.Get("sub/x.html")["location"], "/app/in.html");
}

TEST_F(FormLogon, ABrowserWalksOverHttp)
{
    if (!HasBrowser())
        GTEST_SKIP() << "chromium or node isn't installed: the logon isn't tried in a browser";
    const TServedSite Site(ZN_EXAMPLE_SITE,
                           Options({"--protect", "/private.html", "--protect", "/demo/private"}));
    WalkTheBrowser(Site.Root());
}

TEST_F(FormLogon, ABrowserWalksOverHttps)
{
    if (!HasBrowser())
        GTEST_SKIP() << "chromium or node isn't installed: the logon isn't tried in a browser";
    const TestIdentity Identity = MakeIdentity("localhost");
    Folder.Write("c.pem", Identity.Certificate);
    Folder.Write("k.pem", Identity.Key);
    const std::string Root = "https://localhost:" + std::to_string(FreePort()) + "/";
    std::vector<std::string> Arguments{ZN_PROGRAM, "serve",       ZN_EXAMPLE_SITE, "--bind",     Root,
                                       "--cert",   File("c.pem"), "--key",         File("k.pem")};
    const std::vector<std::string> More =
        Options({"--protect", "/private.html", "--protect", "/demo/private"});
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    TChildProcess Server(std::move(Arguments));
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C", cPatience)) << Server.Errors();
    WalkTheBrowser(Root);
}

} // namespace
} // namespace Zn
