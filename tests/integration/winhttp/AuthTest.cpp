// Challenges answered against apache2 (Basic and Digest) and tinyproxy, and what happens without an answer.

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "tests/integration/winhttp/Exchange.h"
#include "tests/integration/zn/ChildProcess.h"
#include "tests/support/RawClient.h"
#include "tests/support/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A folder in which a server of another user works.
struct Folder : Zn::TemporaryFolder
{
    Folder() { fs::permissions(Path(), fs::perms::all); }
    std::string operator/(const char* AName) const { return Path(AName); }
};

bool Accepts(std::uint16_t APort)
{
    for (int Try = 0; Try < 3000; ++Try) {
        try {
            RawClient Client(APort);
            return true;
        } catch (const std::runtime_error&) {
            poll(nullptr, 0, 20);
        }
    }
    return false;
}

/// "open", "basic" and "digest" below the root; user "user", password "pass word".
class Apache
{
public:
    Apache() : Port(FreePort())
    {
        const std::string Modules = "/usr/lib/apache2/modules/";
        std::string Text = "ServerRoot " + FFolder.Path().string() +
                           "\nServerName localhost\nListen 127.0.0.1:" + std::to_string(Port) + "\nPidFile " +
                           (FFolder / "pid") + "\nErrorLog " + (FFolder / "log") + "\nDocumentRoot " +
                           (FFolder / "site") + "\nMutex pthread\n";
        if (getuid() == 0)
            Text += "User www-data\nGroup www-data\n";
        for (const char* Each : {"mpm_event", "authn_core", "authn_file", "authz_core", "authz_user",
                                 "auth_basic", "auth_digest"})
            Text += "LoadModule " + std::string(Each) + "_module " + Modules + "mod_" + Each + ".so\n";
        for (const char* Each : {"open", "basic", "digest"}) {
            FFolder.Write(std::string("site/") + Each + "/index.txt", Each);
        }
        Text += "<Location /basic>\nAuthType Basic\nAuthName b\nAuthUserFile " + (FFolder / "basic") +
                "\nRequire valid-user\n</Location>\n<Location /digest>\nAuthType Digest\nAuthName "
                "d\nAuthUserFile " +
                (FFolder / "digest") + "\nRequire valid-user\n</Location>\n";
        FFolder.Write("conf", Text);
        MakeAccounts();
        FServer = std::make_unique<Zn::TChildProcess>(
            std::vector<std::string>{"/usr/sbin/apache2", "-X", "-f", FFolder / "conf"});
        EXPECT_TRUE(Accepts(Port)) << FServer->Errors();
    }
    const std::uint16_t Port;

private:
    void MakeAccounts() const
    {
        const std::string Script =
            "H=$(printf 'user:d:pass word' | openssl md5 -r | cut -d' ' -f1); echo user:d:$H > " +
            (FFolder / "digest") +
            "; echo \"user:{SHA}$(printf 'pass word' | openssl sha1 -binary | base64)\" > " +
            (FFolder / "basic");
        Zn::TChildProcess Shell({"/bin/sh", "-c", Script});
        EXPECT_EQ(Shell.WaitForExit(60s), 0);
    }
    Folder FFolder;
    std::unique_ptr<Zn::TChildProcess> FServer;
};

struct Schemes
{
    std::uint32_t Supported = 0;
    std::uint32_t First = 0;
    std::uint32_t Target = 9;
    std::uint32_t Error = 0;
};

Schemes SchemesOf(HINTERNET ARequest)
{
    Schemes Result;
    if (!WinHttpQueryAuthSchemes(ARequest, &Result.Supported, &Result.First, &Result.Target))
        Result.Error = GetLastError();
    return Result;
}

/// What a client does: a send without or with credentials, and one more on the same handle after the
/// challenge.
void LogOn(const Client& AClient, const char* ATarget, std::uint32_t AScheme)
{
    const Handle Request = AClient.Open("GET", ATarget);
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(Status(Request), "401");
    const Schemes Asked = SchemesOf(Request);
    EXPECT_EQ(Asked.Supported, AScheme);
    EXPECT_EQ(Asked.First, AScheme);
    EXPECT_EQ(Asked.Target, WINHTTP_AUTH_TARGET_SERVER);
    EXPECT_TRUE(SetLogin(Request, Asked.First, "user", "pass word"));
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(Status(Request), "200") << ATarget;
    EXPECT_EQ(SchemesOf(Request).Error, ERROR_INVALID_OPERATION);
    EXPECT_EQ(ReadAll(Request), std::string(ATarget).substr(1, std::string(ATarget).find('/', 1) - 1));

    const Handle Wrong = AClient.Open("GET", ATarget);
    EXPECT_TRUE(SetLogin(Wrong, AScheme, "user", "wrong"));
    ASSERT_EQ(Send(Wrong), 0u);
    EXPECT_EQ(Status(Wrong), "401") << "a wrong password";
    ReadAll(Wrong);
}

TEST(Auth, ApacheAsksAndIsAnswered)
{
    Apache Server;
    Client Client(Server.Port);
    LogOn(Client, "/basic/index.txt", WINHTTP_AUTH_SCHEME_BASIC);
    LogOn(Client, "/digest/index.txt", WINHTTP_AUTH_SCHEME_DIGEST);
    // Set before any question: Basic goes out at once, Digest answers within the send.
    for (const auto& [Target, Scheme] : {std::pair{"/basic/index.txt", WINHTTP_AUTH_SCHEME_BASIC},
                                         std::pair{"/digest/index.txt", WINHTTP_AUTH_SCHEME_DIGEST}}) {
        const Handle Request = Client.Open("GET", Target);
        SetLogin(Request, Scheme, "user", "pass word");
        ASSERT_EQ(Send(Request), 0u);
        EXPECT_EQ(Status(Request), "200") << Target;
    }
    const Handle Unasked = Client.Open("GET", "/open/index.txt");
    SetLogin(Unasked, WINHTTP_AUTH_SCHEME_NEGOTIATE, "user", "pass word");
    ASSERT_EQ(Send(Unasked), 0u);
    EXPECT_EQ(ReadAll(Unasked), "open");
}

TEST(Auth, OnlyWhatWasAskedForIsSent)
{
    std::atomic<int> Count{0};
    ScriptedPeer Peer([&Count](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty(); ++Count)
            APeer.Send("HTTP/1.1 401 No\r\nWWW-Authenticate: Negotiate, NTLM\r\nWWW-Authenticate: Digest "
                       "realm=\"a, Basic "
                       "b\", nonce=\"n\"\r\nContent-Length: " +
                       std::to_string(Head.size()) + "\r\n\r\n" + Head);
    });
    Client Client(Peer.Port());
    for (const std::uint32_t Scheme : {WINHTTP_AUTH_SCHEME_NEGOTIATE, WINHTTP_AUTH_SCHEME_BASIC}) {
        const Handle Request = Client.Open("GET", "/");
        SetLogin(Request, Scheme, "user", "pass");
        ASSERT_EQ(Send(Request), 0u);
        EXPECT_EQ(Status(Request), "401");
        EXPECT_EQ(SchemesOf(Request).Supported, 16u + 2u + 8u);
        if (Scheme == WINHTTP_AUTH_SCHEME_NEGOTIATE) {
            EXPECT_EQ(ReadAll(Request).find("Authorization"), std::string::npos);
        }
        ASSERT_EQ(Send(Request), 0u);
        EXPECT_EQ(ReadAll(Request).find("Authorization: Basic"), std::string::npos)
            << "nobody asked for Basic";
    }
    EXPECT_LE(Count.load(), 8);
    ScriptedPeer Silent([](PeerConnection& APeer) {
        while (!APeer.ReadHead().empty())
            APeer.Send("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n");
    });
    ::Client ToSilent(Silent.Port());
    const Handle Request = ToSilent.Open("GET", "/");
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(SchemesOf(Request).Error, ERROR_INVALID_OPERATION);
}

class Tinyproxy
{
public:
    Tinyproxy() : Port(FreePort())
    {
        std::ofstream(FFolder / "conf")
            << "Port " << Port << "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
            << "Allow 127.0.0.1\nBasicAuth user secret\nLogFile \"" << (FFolder / "log") << "\"\nPidFile \""
            << (FFolder / "pid") << "\"\n";
        FServer = std::make_unique<Zn::TChildProcess>(
            std::vector<std::string>{"tinyproxy", "-d", "-c", FFolder / "conf"});
        EXPECT_TRUE(Accepts(Port)) << FServer->Errors();
    }
    const std::uint16_t Port;

private:
    Folder FFolder;
    std::unique_ptr<Zn::TChildProcess> FServer;
};

TEST(Auth, AProxyAsksForPlainRequestsAndForTunnels)
{
    Tinyproxy Proxy;
    ScriptedPeer Peer([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();)
            APeer.Answer(Head);
    });
    Client Client(Peer.Port(), ("127.0.0.1:" + std::to_string(Proxy.Port)).c_str());
    const Handle Request = Client.Open("GET", "/x");
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(Status(Request), "407");
    const Schemes Asked = SchemesOf(Request);
    EXPECT_EQ(Asked.First, WINHTTP_AUTH_SCHEME_BASIC);
    EXPECT_EQ(Asked.Target, WINHTTP_AUTH_TARGET_PROXY);
    SetLogin(Request, Asked.First, "user", "secret", WINHTTP_AUTH_TARGET_PROXY);
    ASSERT_EQ(Send(Request), 0u);
    EXPECT_EQ(Status(Request), "200");
    EXPECT_EQ(ReadAll(Request).find("Proxy-Authorization"), std::string::npos) << "it is for the proxy alone";

    ScriptedPeer NoTls([](PeerConnection& APeer) {
        APeer.ReadBytes(1);
        APeer.Send("What did you say?\r\n");
    });
    ::Client Secure(NoTls.Port(), ("127.0.0.1:" + std::to_string(Proxy.Port)).c_str());
    const Handle Tunnel = Secure.Open("GET", "/x", WINHTTP_FLAG_SECURE);
    ASSERT_EQ(Send(Tunnel), 0u);
    EXPECT_EQ(Status(Tunnel), "407");
    EXPECT_EQ(SchemesOf(Tunnel).First, WINHTTP_AUTH_SCHEME_BASIC);
    SetLogin(Tunnel, WINHTTP_AUTH_SCHEME_BASIC, "user", "secret", WINHTTP_AUTH_TARGET_PROXY);
    EXPECT_EQ(Send(Tunnel), ERROR_WINHTTP_SECURE_CHANNEL_ERROR)
        << "through the proxy, to a peer that speaks no TLS";
}

TEST(Auth, BypassAndEnvironment)
{
    ScriptedPeer Peer([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();)
            APeer.Answer("direct");
    });
    ScriptedPeer Proxy([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();)
            APeer.Answer(Head.starts_with("GET http://127.0.0.1:") ? "proxy" : Head);
    });
    const std::string Address = "http=127.0.0.1:" + std::to_string(Proxy.Port());
    const auto Ask = [&](std::uint32_t AType, const char16_t* AProxy,
                         const char16_t* ABypass) -> std::string {
        const Handle Session(WinHttpOpen(nullptr, AType, AProxy, ABypass, 0));
        const Handle Connection(WinHttpConnect(Session, u"127.0.0.1", Peer.Port(), 0));
        const Handle Request(WinHttpOpenRequest(Connection, nullptr, nullptr, nullptr, nullptr, nullptr, 0));
        return Send(Request) == 0 ? ReadAll(Request) : "error";
    };
    EXPECT_EQ(Ask(3, Wide(Address).c_str(), nullptr), "proxy");
    EXPECT_EQ(Ask(3, Wide(Address).c_str(), u"*.example;127.0.*"), "direct");
    EXPECT_EQ(Ask(3, Wide(Address).c_str(), u"<local> other"), "proxy");
    EXPECT_EQ(Ask(1, nullptr, nullptr), "direct");
    ASSERT_EQ(setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(Proxy.Port())).c_str(), 1), 0);
    EXPECT_EQ(Ask(0, nullptr, nullptr), "proxy");
    EXPECT_EQ(Ask(1, nullptr, nullptr), "direct");
    ASSERT_EQ(setenv("no_proxy", "example.org,127.0.0.1", 1), 0);
    EXPECT_EQ(Ask(0, nullptr, nullptr), "direct");
    unsetenv("http_proxy");
    unsetenv("no_proxy");
    EXPECT_EQ(WinHttpOpen(nullptr, 1, u"proxy:1", nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

} // namespace
