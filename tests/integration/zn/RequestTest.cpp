// zn request against zn serve, nginx and a proxy.

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/integration/zn/Terminal.h"
#include "tests/support/TlsClient.h"

namespace Zn
{
namespace
{

struct TOutcome
{
    int Code = -1;
    std::string Output;
    std::string Errors;
};

TOutcome RunZn(std::vector<std::string> AArguments)
{
    AArguments.insert(AArguments.begin(), ZN_PROGRAM);
    TChildProcess Process(std::move(AArguments));
    TOutcome Result;
    Result.Code = Process.WaitForExit(cPatience).value_or(-1);
    Result.Output = Process.Output();
    Result.Errors = Process.Errors();
    return Result;
}

std::string Contents(const std::filesystem::path& AFile)
{
    std::ifstream Stream(AFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(Stream), {}};
}

class Request : public testing::Test
{
protected:
    Request()
    {
        Folder.Write("a.txt", "hello\n");
        Folder.Write("private/page.html", "for anna");
    }
    std::string Name(const std::string& AName) const { return (Files.Path() / AName).string(); }

    /// Waits until a program that was just started answers.
    static bool Answers(const std::string& AUrl)
    {
        const auto Limit = std::chrono::steady_clock::now() + cPatience;
        while (RunZn({"get", AUrl}).Code == 3) {
            if (std::chrono::steady_clock::now() > Limit)
                return false;
        }
        return true;
    }

    TTemporaryFolder Folder;
    TTemporaryFolder Files;
};

TEST_F(Request, PrintsTheBodyAndTellsTheOutcomeByItsCode)
{
    const TServedSite Site(Folder.Path(), {"--demo"});
    const TOutcome Page = RunZn({"get", Site.Url("a.txt")});
    EXPECT_EQ(Page.Code, 0);
    EXPECT_EQ(Page.Output, "hello\n");
    EXPECT_EQ(Page.Errors, "");
    const TOutcome WithHead = RunZn({"request", "get", "-i", Site.Url("a.txt")});
    EXPECT_TRUE(WithHead.Output.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_TRUE(WithHead.Output.ends_with("\r\n\r\nhello\n"));
    EXPECT_TRUE(RunZn({"head", Site.Url("a.txt")}).Output.ends_with("\r\n\r\n"));
    EXPECT_EQ(RunZn({"options", Site.Url("a.txt")}).Output, "OPTIONS\nHEAD\nGET\n");

    const TOutcome Missing = RunZn({"get", Site.Url("none")});
    EXPECT_EQ(Missing.Code, 4);
    EXPECT_EQ(Missing.Errors, "zn: 404 Not Found\n");
    const TOutcome Nobody = RunZn({"get", "http://127.0.0.1:" + std::to_string(FreePort()) + "/"});
    EXPECT_EQ(Nobody.Code, 3);
    EXPECT_EQ(Nobody.Errors, "zn: The call to \"WinHttpSendRequest\" failed with errorcode \"12029\"!\n"
                             "Returned if connection to the server failed.\n");
    EXPECT_EQ(RunZn({"get", "http://h:x/"}).Code, 2);
    EXPECT_EQ(RunZn({"get", Site.Root(), "-d", "x"}).Code, 2);
    EXPECT_EQ(RunZn({"get", Site.Root(), "-H", "A: b\r\nC: d"}).Code, 2);
    EXPECT_EQ(RunZn({"fetch", Site.Root()}).Code, 2);
}

TEST_F(Request, SendsTextsFilesAndHeaders)
{
    const TServedSite Site(Folder.Path(), {"--demo"});
    Files.Write("body.bin", std::string(2'000'000, 'b'));
    const TOutcome Text = RunZn({"post", "-i", Site.Url("demo/echo"), "-d", "gr\xC3\xBC\xC3\x9F"});
    EXPECT_TRUE(Text.Output.ends_with("\r\n\r\ngr\xC3\xBC\xC3\x9F")) << Text.Output;
    EXPECT_NE(Text.Output.find("Content-Type: text/plain; charset=utf-8"), std::string::npos) << Text.Output;
    const TOutcome File = RunZn(
        {"put", "-i", Site.Url("demo/echo"), "-d", "@" + Name("body.bin"), "--type", "application/x-own"});
    EXPECT_TRUE(File.Output.ends_with("\r\n\r\n" + std::string(2'000'000, 'b')));
    EXPECT_NE(File.Output.find("Content-Type: application/x-own"), std::string::npos);
    const std::string Seen =
        RunZn({"get", Site.Url("demo/request"), "-H", "X-One: 1", "-H", "User-Agent: mine"}).Output;
    EXPECT_NE(Seen.find("X-One"), std::string::npos) << Seen;
    EXPECT_NE(Seen.find("mine"), std::string::npos) << Seen;
    EXPECT_EQ(RunZn({"post", Site.Url("demo/echo"), "-d", "@" + Name("none")}).Code, 1);
}

TEST_F(Request, WritesFilesOnlyWhenThereIsSomethingToWrite)
{
    Folder.Write("large.bin", std::string(3'000'000, 'l'));
    Files.Write("kept", "old");
    const TServedSite Site(Folder.Path(), {});
    EXPECT_EQ(RunZn({"get", Site.Url("large.bin"), "-o", Name("new")}).Code, 0);
    EXPECT_EQ(Contents(Name("new")), std::string(3'000'000, 'l'));
    EXPECT_EQ(RunZn({"get", "http://127.0.0.1:" + std::to_string(FreePort()) + "/", "-o", Name("kept")}).Code,
              3);
    EXPECT_EQ(Contents(Name("kept")), "old");
}

TEST_F(Request, UndoesDeflate)
{
    Folder.Write("long.txt", std::string(50'000, 'd'));
    const TServedSite Site(Folder.Path(), {"--deflate"});
    const TOutcome Page = RunZn({"get", Site.Url("long.txt"), "-H", "Accept-Encoding: deflate", "-i"});
    EXPECT_NE(Page.Output.find("Content-Encoding: deflate"), std::string::npos);
    EXPECT_TRUE(Page.Output.ends_with("\r\n\r\n" + std::string(50'000, 'd')));
}

TEST_F(Request, LogsOnAsTheServerAsks)
{
    TChildProcess Add(
        {"env", "ZN_PASSWORD=s3cret", ZN_PROGRAM, "users", "add", Name("users"), "club", "anna"});
    ASSERT_EQ(Add.WaitForExit(cPatience), 0);
    for (const char* const Scheme : {"basic", "digest"}) {
        const TServedSite Site(Folder.Path(),
                               {"--auth", Scheme, "--users", Name("users"), "--protect", "/private/"});
        const std::string Url = Site.Url("private/page.html");
        EXPECT_EQ(RunZn({"get", Url}).Code, 4) << Scheme;
        EXPECT_EQ(RunZn({"get", Url, "--user", "anna:wrong"}).Code, 4) << Scheme;
        EXPECT_EQ(RunZn({"get", Url, "--user", "anna:s3cret"}).Output, "for anna") << Scheme;
        EXPECT_EQ(RunZn({"get", Url, "--user", "anna:s3cret", "--auth", Scheme}).Output, "for anna")
            << Scheme;
        TChildProcess FromEnvironment(
            {"env", "ZN_PASSWORD=s3cret", ZN_PROGRAM, "get", Url, "--user", "anna"});
        EXPECT_EQ(FromEnvironment.WaitForExit(cPatience), 0);
        EXPECT_EQ(FromEnvironment.Output(), "for anna");
        EXPECT_EQ(RunZn({"get", Url, "--user", "anna"}).Code, 2) << "nobody to ask";
    }
}

TEST_F(Request, TrustsWhomItIsToldTo)
{
    const TestIdentity Identity = MakeIdentity("localhost");
    Files.Write("c.pem", Identity.Certificate);
    Files.Write("both.pem", Identity.Certificate + Identity.Key);
    const std::uint16_t Port = FreePort();
    const std::string Root = "https://localhost:" + std::to_string(Port) + "/";
    TChildProcess Server({ZN_PROGRAM, "serve", "--bind", Root, "--cert", Name("both.pem"), "--client-ca",
                          Name("c.pem"), Folder.Path().string()});
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C", cPatience)) << Server.Output();
    const TOutcome Unknown = RunZn({"get", Root + "a.txt"});
    EXPECT_EQ(Unknown.Code, 7);
    EXPECT_NE(Unknown.Errors.find("12045"), std::string::npos) << Unknown.Errors;
    EXPECT_EQ(RunZn({"get", Root + "a.txt", "--ignore-authority"}).Output, "hello\n");
    EXPECT_EQ(RunZn({"get", Root + "a.txt", "--insecure"}).Output, "hello\n");
    EXPECT_EQ(RunZn({"get", Root + "a.txt", "--authorities", Name("c.pem")}).Output, "hello\n");
    EXPECT_EQ(
        RunZn({"get", Root + "a.txt", "--authorities", Name("c.pem"), "--cert", Name("both.pem")}).Output,
        "hello\n");
    EXPECT_EQ(RunZn({"get", Root + "a.txt", "--authorities", Name("c.pem"), "--cert", Name("c.pem")}).Code, 7)
        << "a certificate without its key";

    const std::vector<std::string> Asking{ZN_PROGRAM, "get", Root + "a.txt", "--transport", "wininet"};
    EXPECT_EQ(RunZn({Asking.begin() + 1, Asking.end()}).Code, 7) << "no terminal, no question";
    EXPECT_EQ(RunZn({"get", Root + "a.txt", "--transport", "wininet", "--ignore-authority"}).Output,
              "hello\n");
    const TTerminalOutcome Accepted = RunOnTerminal(Asking, {{"[y/N] ", "y\n"}});
    EXPECT_EQ(Accepted.Code, 0) << Accepted.Seen;
    for (const char* const Shown :
         {"Subject:  CN=localhost", "Issuer:", "Valid:", " UTC", "SHA-256:  ", "hello"})
        EXPECT_NE(Accepted.Seen.find(Shown), std::string::npos) << Shown << "\n" << Accepted.Seen;
    const TTerminalOutcome Refused = RunOnTerminal(Asking, {{"[y/N] ", "\n"}});
    EXPECT_EQ(Refused.Code, 7) << Refused.Seen;
    EXPECT_EQ(Refused.Seen.find("hello"), std::string::npos) << Refused.Seen;
}

TEST_F(Request, FollowsRedirectsOfAnotherServer)
{
    if (access("/usr/sbin/nginx", X_OK) != 0)
        GTEST_SKIP() << "nginx is not installed";
    const std::uint16_t Port = FreePort();
    const std::string Root = "http://127.0.0.1:" + std::to_string(Port) + "/";
    std::string Temporary;
    for (const char* const Kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        Temporary += std::string(Kind) + "_temp_path " + Name(Kind) + ";";
    Files.Write("nginx.conf",
                "daemon off; master_process off; pid " + Name("pid") +
                    "; error_log stderr; events {} http { access_log off; " + Temporary +
                    " server { listen 127.0.0.1:" + std::to_string(Port) +
                    "; location /once { return 302 /end; } location /circle { return 302 /circle; }"
                    " location /end { add_header Set-Cookie n=1; return 200 'arrived'; }"
                    " location /busy { return 503 'later'; } } }");
    TChildProcess Nginx({"/usr/sbin/nginx", "-e", "stderr", "-c", Name("nginx.conf")});
    ASSERT_TRUE(Answers(Root + "end"));
    EXPECT_EQ(RunZn({"get", Root + "once"}).Output, "arrived");
    EXPECT_EQ(RunZn({"get", Root + "once", "--cookies", "manual"}).Output, "arrived");
    EXPECT_TRUE(
        RunZn({"get", Root + "once", "--redirect", "never", "-i"}).Output.starts_with("HTTP/1.1 302 "));
    EXPECT_NE(RunZn({"get", Root + "circle"}).Code, 0);
    EXPECT_EQ(RunZn({"get", Root + "busy"}).Code, 5);
    EXPECT_EQ(RunZn({"get", Root + "busy"}).Output, "later");
}

TEST_F(Request, GoesThroughAProxyWithItsPassword)
{
    if (access("/usr/bin/tinyproxy", X_OK) != 0)
        GTEST_SKIP() << "tinyproxy is not installed";
    const TServedSite Site(Folder.Path(), {});
    const std::uint16_t Port = FreePort();
    const std::string Proxy = "127.0.0.1:" + std::to_string(Port);
    Files.Write("proxy.conf", "Port " + std::to_string(Port) + "\nListen 127.0.0.1\nBasicAuth anna s3cret\n");
    TChildProcess TinyProxy({"/usr/bin/tinyproxy", "-d", "-c", Name("proxy.conf")});
    ASSERT_TRUE(Answers("http://" + Proxy + "/"));
    const std::string Url = Site.Url("a.txt");
    EXPECT_EQ(RunZn({"get", Url, "--proxy", Proxy}).Code, 4);
    EXPECT_EQ(RunZn({"get", Url, "--proxy", Proxy, "--proxy-user", "anna:wrong"}).Code, 4);
    EXPECT_EQ(RunZn({"get", Url, "--proxy", Proxy, "--proxy-user", "anna:s3cret"}).Output, "hello\n");
}

TEST_F(Request, GivesUpInTime)
{
    const int Listener = socket(AF_INET, SOCK_STREAM, 0); // accepts, and says nothing
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t Length = sizeof Address;
    ASSERT_EQ(bind(Listener, reinterpret_cast<sockaddr*>(&Address), Length), 0);
    ASSERT_EQ(getsockname(Listener, reinterpret_cast<sockaddr*>(&Address), &Length), 0);
    listen(Listener, 4);
    EXPECT_EQ(RunZn({"get", "http://127.0.0.1:" + std::to_string(ntohs(Address.sin_port)) + "/", "--timeout",
                     "200"})
                  .Code,
              6);
    close(Listener);
}

} // namespace
} // namespace Zn
