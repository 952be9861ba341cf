#include <csignal>
#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

class Life : public testing::Test
{
protected:
    void SetUp() override { Place.Write("page.txt", "a page"); }

    TTemporaryFolder Place;
};

TEST_F(Life, ATakenPortIsToldInWords)
{
    TServedSite First(Place.Path(), {});
    TChildProcess Second({ZN_PROGRAM, "serve", Place.Path().string(), "--bind", First.Root()});
    EXPECT_EQ(Second.WaitForExit(cPatience), 1);
    EXPECT_NE(Second.Errors().find("the port is taken by another program"), std::string::npos)
        << Second.Errors();
    EXPECT_NE(Second.Errors().find(First.Root()), std::string::npos) << Second.Errors();
    EXPECT_EQ(Second.Output(), "");
}

TEST_F(Life, AWrongCommandLineIsNoFailureOfTheServer)
{
    const std::string Folder = Place.Path().string();
    for (const std::vector<std::string>& Arguments :
         {std::vector<std::string>{},
          {"sevre"},
          {"serve", Folder, "--unknown"},
          {"serve", "/no/such/folder"},
          {"serve", Folder, "--buffer", "many"},
          {"serve", Folder, "--buffer", "5"},
          {"serve", Folder, "--bind", "ftp://localhost/"},
          {"serve", Folder, "--bind", "http://"},
          {"serve", Folder, "--bind", "http://localhost:x/"},
          {"serve", Folder, "--bind", "http://localhost:8080/?a"}}) {
        std::vector<std::string> Command{ZN_PROGRAM};
        Command.insert(Command.end(), Arguments.begin(), Arguments.end());
        TChildProcess Process(Command);
        EXPECT_EQ(Process.WaitForExit(cPatience), 2) << testing::PrintToString(Arguments);
        EXPECT_NE(Process.Errors(), "") << testing::PrintToString(Arguments);
    }
    TChildProcess Help({ZN_PROGRAM, "serve", "--help"});
    EXPECT_EQ(Help.WaitForExit(cPatience), 0);
    EXPECT_NE(Help.Output().find("--bind"), std::string::npos);
}

TEST_F(Life, SignalsEndItCleanlyWhileRequestsRun)
{
    for (const char* Version : {"", "--v2"}) {
        for (const int Signal : {SIGTERM, SIGINT}) {
            std::vector<std::string> Options{"--demo"};
            if (*Version != '\0')
                Options.push_back(Version);
            TServedSite Server(Place.Path(), Options);
            EXPECT_EQ(Server.Get("page.txt").Content, "a page") << Version;

            TChildProcess Waiting({"curl", "-sv", "--max-time", "60", Server.Url("demo/wait?ms=600000")});
            ASSERT_TRUE(Waiting.WaitForErrors("> GET ", cPatience)); // sent; the handler may just be starting
            Server.Process().Signal(Signal);
            EXPECT_EQ(Server.Process().WaitForExit(cPatience), 0) << Version << " signal " << Signal;
            // Disconnected, or told an error when it came while the server was already closing.
            EXPECT_TRUE(Waiting.WaitForExit(cPatience));
            EXPECT_EQ(Waiting.Errors().find("< HTTP/1.1 200"), std::string::npos) << Waiting.Errors();
        }
    }
}

TEST_F(Life, ThePortIsFreeAgainAfterTheEnd)
{
    TServedSite First(Place.Path(), {});
    EXPECT_EQ(First.Get("page.txt").Status, 200);
    First.Process().Signal(SIGTERM);
    ASSERT_EQ(First.Process().WaitForExit(cPatience), 0);
    TChildProcess Second({ZN_PROGRAM, "serve", Place.Path().string(), "--bind", First.Root()});
    ASSERT_TRUE(Second.WaitForOutput("Press Ctrl+C to stop.", cPatience)) << Second.Errors();
    EXPECT_EQ(First.Get("page.txt").Status, 200);
}

TEST_F(Life, ABindingMayHaveAPathAndTheFilesStandBelowIt)
{
    Place.Write("sub/a.txt", "a");
    const std::string Other = "http://127.0.0.1:" + std::to_string(FreePort()) + "/";
    TServedSite Server(Place.Path(), {"--bind", Other}, "/Docs/");
    EXPECT_EQ(Server.Get("page.txt").Content, "a page");
    EXPECT_EQ(Server.Get("sub")["location"], "/Docs/sub/");
    EXPECT_EQ(Curl({Other + "page.txt"}).Content, "a page");
    const std::string AboveIt = Server.Root().substr(0, Server.Root().size() - 5);
    EXPECT_EQ(Curl({AboveIt + "page.txt"}).Status, 404);
}

TEST_F(Life, PoliciesGoOutWithEveryAnswerAndTheListingLivesWithThem)
{
    TServedSite Server(Place.Path(), {"--csp", "default-src 'self'", "--csp", "img-src *"});
    const THttpAnswer Page = Server.Get("");
    EXPECT_EQ(Page["content-security-policy"], "img-src *"); // the last of two
    EXPECT_EQ(Page.Content.find("<style"), std::string::npos);
    EXPECT_EQ(Page.Content.find("style="), std::string::npos);
    EXPECT_NE(Page.Content.find("href=\"?listing.css\""), std::string::npos);
    EXPECT_EQ(Server.Get("?listing.css")["content-type"], "text/css; charset=utf-8");
    EXPECT_EQ(Server.Get("nothing")["content-security-policy"], "img-src *");
}

TEST_F(Life, TheBufferBoundsTheHeadOfARequest)
{
    TServedSite Server(Place.Path(), {"--buffer", "2048"});
    EXPECT_EQ(Server.Get("page.txt", {"-H", "X-Long: " + std::string(1000, 'x')}).Status, 200);
    EXPECT_EQ(Server.Get("page.txt", {"-H", "X-Long: " + std::string(4000, 'x')}).Status,
              0); // closed without an answer
    EXPECT_EQ(Server.Get("page.txt").Status, 200);
}

} // namespace
} // namespace Zn
