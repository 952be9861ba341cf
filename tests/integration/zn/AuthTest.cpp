// zn users add and zn serve --auth, with curl and a browser as clients.

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/integration/zn/Terminal.h"

namespace Zn
{
namespace
{

std::string ReadFile(const std::filesystem::path& AFile)
{
    std::ifstream Stream(AFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(Stream), {}};
}

class Auth : public testing::Test
{
protected:
    Auth()
    {
        Folder.Write("open.txt", "open");
        Folder.Write("private/page.html", "<p>for anna</p>");
    }

    std::string Users() const { return (Accounts.Path() / "users").string(); }

    int AddUser(const std::string& AName, const std::string& APassword, const std::string& ARealm = "club")
    {
        TChildProcess Process(
            {"env", "ZN_PASSWORD=" + APassword, ZN_PROGRAM, "users", "add", Users(), ARealm, AName});
        const int Code = Process.WaitForExit(cPatience).value_or(-1);
        Said = Process.Output() + Process.Errors();
        return Code;
    }

    TServedSite Serve(const std::string& AScheme) const
    {
        return TServedSite(Folder.Path(), {"--demo", "--auth", AScheme, "--users", Users(), "--realm", "club",
                                           "--protect", "/private/", "--protect", "/no such/"});
    }

    TTemporaryFolder Folder;
    TTemporaryFolder Accounts;
    std::string Said;
};

TEST_F(Auth, UsersAddKeepsWhatElseTheFileHolds)
{
    Accounts.Write("users", "# members\nbert:other:0123456789abcdef0123456789ABCDEF\r\n\n");
    EXPECT_EQ(AddUser("anna", "secret"), 0) << Said;
    EXPECT_EQ(AddUser("bert", "secret"), 0) << Said;
    const std::string Before = ReadFile(Users());
    EXPECT_EQ(Before,
              "# members\nbert:other:0123456789abcdef0123456789ABCDEF\n\n"
              "anna:club:ec31b56101a6343dc35f2cbc2fb3a8de\nbert:club:615ef0e454250fc1ef875f553f55d085\n");
    EXPECT_EQ(AddUser("anna", "secret"), 0) << Said;
    EXPECT_EQ(ReadFile(Users()), Before) << "an account is there once";
    struct stat Status
    {
    };
    ASSERT_EQ(stat(Users().c_str(), &Status), 0);
    EXPECT_EQ(Status.st_mode & 0777U, 0600U);

    for (const char* Name : {"a:b", "", " a", "#a", "a\nb"})
        EXPECT_EQ(AddUser(Name, "secret"), 1) << Name;
    EXPECT_EQ(AddUser("carl", ""), 1);
    EXPECT_EQ(AddUser("carl", "secret", "a:b"), 1);
    EXPECT_EQ(ReadFile(Users()), Before);
    Accounts.Write("users", "anna:club:nohash\n");
    EXPECT_EQ(AddUser("carl", "secret"), 1);
    EXPECT_NE(Said.find("line 1"), std::string::npos) << Said;
}

TEST_F(Auth, UsersAddAsksOnTheTerminalWithoutEcho)
{
    const std::string File = Users();
    unsetenv("ZN_PASSWORD");
    const TTerminalOutcome Outcome =
        RunOnTerminal({ZN_PROGRAM, "users", "add", File, "club", "anna"},
                      {{"Password for anna: ", "secret\n"}, {"once more: ", "secret\n"}});
    EXPECT_EQ(Outcome.Code, 0) << Outcome.Seen;
    EXPECT_EQ(Outcome.Seen.find("secret"), std::string::npos) << Outcome.Seen;
    EXPECT_EQ(ReadFile(File), "anna:club:ec31b56101a6343dc35f2cbc2fb3a8de\n");
}

TEST_F(Auth, CurlLogsOnByBothSchemes)
{
    ASSERT_EQ(AddUser("anna", "secret"), 0) << Said;
    for (const char* Scheme : {"basic", "digest"}) {
        SCOPED_TRACE(Scheme);
        const TServedSite Site = Serve(Scheme);
        EXPECT_EQ(Site.Get("open.txt").Content, "open");
        for (const char* Target : {"private/page.html", "%70rivate/page.html", "/private//page.html",
                                   "private", "demo/private", "private/%00"}) {
            const THttpAnswer Refused = Site.Get(Target);
            EXPECT_EQ(Refused.Status, Target == std::string("private/%00") ? 400 : 401) << Target;
        }
        const std::string Challenge = Site.Get("private/page.html")["www-authenticate"];
        EXPECT_TRUE(Challenge.starts_with(Scheme == std::string("basic") ? "Basic realm=\"club\""
                                                                         : "Digest realm=\"club\",qop="))
            << Challenge;

        const std::string Option = "--" + std::string(Scheme);
        EXPECT_EQ(Site.Get("private/page.html", {Option, "-u", "anna:secret"}).Status, 200);
        EXPECT_NE(Site.Get("demo/private?x=1", {Option, "-u", "anna:secret"}).Content.find("Hello, anna."),
                  std::string::npos);
        EXPECT_NE(
            Site.Get("demo/private", {Option, "-u", "anna:secret", "-d", "a=1"}).Content.find("Hello, anna."),
            std::string::npos)
            << "POST";
        for (const char* Wrong : {"anna:wrong", "bert:secret", "anna:"})
            EXPECT_EQ(Site.Get("demo/private", {Option, "-u", Wrong}).Status, 401) << Wrong;
    }
}

TEST_F(Auth, TheAccountsAreNotServed)
{
    for (const char* Name : {"users", "deep/users", ".users"}) {
        Folder.Write(Name, "anna:club:ec31b56101a6343dc35f2cbc2fb3a8de\n");
        TChildProcess Process({ZN_PROGRAM, "serve", Folder.Path().string(), "--bind", "http://localhost:0/",
                               "--auth", "digest", "--users", (Folder.Path() / Name).string(), "--protect",
                               "%zz"});
        EXPECT_EQ(Process.WaitForExit(cPatience), 1);
        EXPECT_NE(Process.Errors().find(Name == std::string(".users") ? "no path that can be protected"
                                                                      : "would be served as well"),
                  std::string::npos)
            << Process.Errors();
    }
}

TEST_F(Auth, AGuessingClientMeets429)
{
    ASSERT_EQ(AddUser("anna", "secret"), 0) << Said;
    const TServedSite Site = Serve("basic");
    for (int Attempt = 1; Attempt <= 8; ++Attempt)
        EXPECT_EQ(Site.Get("open.txt", {"-u", "anna:guess" + std::to_string(Attempt)}).Status,
                  Attempt <= 6 ? 200 : 429)
            << Attempt;
    EXPECT_EQ(Site.Get("open.txt").Status, 200);
}

TEST_F(Auth, ABrowserLogsOnByBothSchemes)
{
    TChildProcess Probe({"sh", "-c", "command -v chromium"});
    if (Probe.WaitForExit(cPatience) != 0)
        GTEST_SKIP() << "chromium is not installed: logging on isn't tried in a browser";
    ASSERT_EQ(AddUser("anna", "secret"), 0) << Said;
    for (const char* Scheme : {"basic", "digest"}) {
        const TServedSite Site = Serve(Scheme);
        std::string Url = Site.Url("demo/private");
        Url.replace(0, 7, "http://anna:secret@");
        TChildProcess Chromium({"chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                                "--no-first-run", "--disable-background-networking",
                                "--disable-component-update", "--disable-sync",
                                "--user-data-dir=" + (Folder.Path() / Scheme).string(), "--dump-dom", Url});
        ASSERT_TRUE(Chromium.WaitForExit(2 * cPatience)) << "chromium didn't end";
        EXPECT_NE(Chromium.Output().find(Scheme == std::string("basic")
                                             ? "Hello, anna. You are here by Basic"
                                             : "Hello, anna. You are here by Digest"),
                  std::string::npos)
            << Chromium.Output();
    }
}

} // namespace
} // namespace Zn
