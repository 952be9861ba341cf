// What the second transport does by itself: logons of a connection, redirects by its flags, and the question
// about a certificate.

#include "uZnWinINet.h"

#include <gtest/gtest.h>

#include "common/Hash.h"
#include "tests/integration/server/ServerHarness.h"
#include "tests/integration/zn/ChildProcess.h"
#include "tests/support/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnWinHTTP.h"

namespace
{

using namespace std::chrono_literals;

/// A server that lets nobody in but anna, whose password is "secret".
struct GuardedServer : ServerHarness
{
    explicit GuardedServer(TZnHTTPAuthentication AType)
        : ServerHarness([AType](PZnHTTPServerRequest ARequest, Answer& AAnswer) {
              if (ARequest->LogonName != "anna")
                  throw EZnHTTPAuthenticationFailure(AType, "Who is there?", 401);
              AAnswer.SetResponseText("for anna");
          })
    {
        Server.SetActive(false);
        Server.SetOnGetStoredPassword([this](TZnCustomHTTPServer&, TZnHTTPAuthentication,
                                             const std::string& AUser, std::string& AHash, std::string&,
                                             std::string&, TDateTime&) {
            ++Guesses;
            AHash = MD5Hash(AUser + ":Tolmary:secret");
            return AUser == "anna";
        });
        Server.SetActive(true);
    }
    std::atomic<int> Guesses = 0;
    std::string Url(const std::string& ALogon = "") const
    {
        return "http://" + ALogon + "localhost:" + std::to_string(Port) + "/";
    }
};

/// openssl s_server with a certificate of its own making, for "localhost", that is trusted by nobody.
class SelfSigned
{
public:
    explicit SelfSigned(const std::string& AName = "localhost") : Port(FreePort())
    {
        Zn::TChildProcess Maker(
            {"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
             "-days", "2", "-subj", "/O=Gr\xC3\xBC\xC3\x9F\x1B[2J/CN=" + AName, "-utf8", "-addext",
             "subjectAltName=DNS:" + AName, "-keyout", File("key.pem"), "-out", File("cert.pem")});
        EXPECT_EQ(Maker.WaitForExit(60s), 0) << Maker.Errors();
        FServer = std::make_unique<Zn::TChildProcess>(
            std::vector<std::string>{"openssl", "s_server", "-www", "-accept", std::to_string(Port), "-cert",
                                     File("cert.pem"), "-key", File("key.pem")});
        EXPECT_TRUE(FServer->WaitForOutput("ACCEPT", 60s)) << FServer->Errors();
    }
    std::string Url() const { return "https://localhost:" + std::to_string(Port) + "/"; }
    std::string Fingerprint() const
    {
        Zn::TChildProcess Reader(
            {"openssl", "x509", "-noout", "-fingerprint", "-sha256", "-in", File("cert.pem")});
        Reader.WaitForExit(60s);
        const std::string Text = Reader.Output();
        return Text.substr(Text.find('=') + 1, 95);
    }
    const std::uint16_t Port;

private:
    std::string File(const char* AName) const { return FFolder.Path(AName); }

    Zn::TemporaryFolder FFolder;
    std::unique_ptr<Zn::TChildProcess> FServer;
};

/// A dialog as long as this lives.
struct Dialog
{
    explicit Dialog(TZnOnInternetError AAsk) { ZnSetInternetErrorDialog(std::move(AAsk)); }
    ~Dialog() { ZnSetInternetErrorDialog(nullptr); }
};

} // namespace

TEST(WinINet, TheFrontsPickByTheirBoolean)
{
    EXPECT_NE(dynamic_cast<TZnWinINetClient*>(TZnHTTPClient(false).GetAsComponent()), nullptr);
    EXPECT_NE(dynamic_cast<TZnWinHTTPClient*>(TZnHTTPClient(true).GetAsComponent()), nullptr);
    const auto Front = std::make_shared<TZnHTTPClient>(false);
    EXPECT_THROW(Front->SetSession(std::make_shared<TZnHTTPSession>(true)), EZnWinINetInvalidArgument);
    const auto Session = std::make_shared<TZnHTTPSession>(false);
    Front->SetSession(Session);
    EXPECT_EQ(Front->GetSession()->GetUserAgent(), "Tolmary WinINet Client");
    Front->SetSession(nullptr);
}

TEST(WinINet, ChallengesAreAnsweredWithWhatTheConnectionHas)
{
    for (const TZnHTTPAuthentication Type : {authBasic, authDigest}) {
        GuardedServer Server(Type);
        TZnWinINetClient Client(nullptr);
        EXPECT_EQ(Client.Request(httpGET, Server.Url("anna:secret@"), true)->GetResponse(), "for anna");
        EXPECT_EQ(Client.Request(httpGET, Server.Url(), true)->GetResponse(), "for anna")
            << "the connection's";
        TZnWinINetClient Wrong(nullptr);
        Wrong.GetCredentials().SetUserName("anna");
        Wrong.GetCredentials().SetPassword("guess");
        EXPECT_EQ(Wrong.Request(httpGET, Server.Url(), false)->GetStatus().StatusCode, 401);
        Server.Guesses = 0;
        Wrong.SetAuthentication(authBasic); // goes out unasked
        EXPECT_EQ(Wrong.Request(httpGET, Server.Url(), false)->GetStatus().StatusCode, 401);
        if (Type == authBasic) {
            EXPECT_EQ(Server.Guesses, 1) << "a wrong guess isn't repeated";
        }
        TZnWinINetClient Nobody(nullptr);
        Nobody.EnableErrorDialog(&Nobody);
        EXPECT_THROW(Nobody.Request(httpGET, Server.Url(), false), EAbort) << "nobody asks";
        const Dialog Asks([](TZnInternetError& AError) {
            EXPECT_EQ(AError.ErrorCode, 12015U);
            AError.UserName = "anna";
            AError.Password = "secret";
            return iaRetry;
        });
        EXPECT_EQ(Nobody.Request(httpGET, Server.Url(), true)->GetResponse(), "for anna");
    }
}

TEST(WinINet, NothingOfTheLogonGoesOutUnasked)
{
    std::atomic<int> Heads = 0;
    std::atomic<int> WithLogon = 0;
    ScriptedPeer Peer([&](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
            ++Heads;
            WithLogon += Head.find("uthorization") != std::string::npos ? 1 : 0;
            APeer.Answer("open");
        }
    });
    TZnWinINetClient Client(nullptr);
    const std::string Address = "anna:secret@127.0.0.1:" + std::to_string(Peer.Port()) + "/";
    Client.GetProxyCredentials().SetUserName("v");
    EXPECT_EQ(Client.Request(httpGET, "http://" + Address, true)->GetResponse(), "open");
    EXPECT_EQ(Heads, 1);
    EXPECT_EQ(WithLogon, 0);
}

TEST(WinINet, AProxyIsAnsweredWithItsOwnCredentials)
{
    ScriptedPeer Proxy([](PeerConnection& APeer) {
        for (std::string Head; !(Head = APeer.ReadHead()).empty();) {
            if (Head.find("Proxy-Authorization: Basic djpw\r\n") != std::string::npos)
                APeer.Answer("through");
            else
                APeer.Send("HTTP/1.1 407 Who?\r\nProxy-Authenticate: Basic realm=\"p\"\r\nContent-Length: "
                           "0\r\n\r\n");
        }
    });
    TZnWinINetClient Client(nullptr);
    Client.GetSession()->SetProxyServer("127.0.0.1:" + std::to_string(Proxy.Port()));
    EXPECT_EQ(Client.Request(httpGET, "http://h.test/", false)->GetStatus().StatusCode, 407);
    Client.GetProxyCredentials().SetUserName("v");
    Client.GetProxyCredentials().SetPassword("p");
    EXPECT_EQ(Client.Request(httpGET, "http://h.test/", true)->GetResponse(), "through");
}

TEST(WinINet, RedirectsFollowTheirPolicy)
{
    ServerHarness Server([](PZnHTTPServerRequest ARequest, Answer& AAnswer) {
        if (ARequest->UrlData.FilePath == "/a") {
            AAnswer.SetStatusCode(302);
            AAnswer.AddUnknownHeader("Location", "/b");
        }
        AAnswer.SetResponseText(ARequest->UrlData.FilePath);
    });
    TZnWinINetClient Client(nullptr);
    const std::string Url = "http://localhost:" + std::to_string(Server.Port) + "/a";
    EXPECT_EQ(Client.Request(httpGET, Url, true)->GetResponse(), "/b");
    Client.SetRedirectPolicy(rdpNever);
    EXPECT_EQ(Client.Request(httpGET, Url, false)->GetStatus().StatusCode, 302);
}

TEST(WinINet, TheUserDecidesAboutACertificate)
{
    const SelfSigned Server("localhost");
    TZnWinINetClient Client(nullptr);
    EXPECT_THROW(Client.Request(httpGET, Server.Url(), false), EZnWinINetHException) << "nobody to ask";
    Client.EnableErrorDialog(&Client);
    EXPECT_THROW(Client.Request(httpGET, Server.Url(), false), EAbort) << "nobody asks";

    std::vector<TZnInternetError> Seen;
    TZnInternetErrorAnswer Says = iaCancel;
    const Dialog Asks([&](TZnInternetError& AError) {
        Seen.push_back(AError);
        return Says;
    });
    EXPECT_THROW(Client.Request(httpGET, Server.Url(), false), EAbort);
    Says = iaAccept;
    EXPECT_EQ(Client.Request(httpGET, Server.Url(), true)->GetStatus().StatusCode, 200);
    ASSERT_EQ(Seen.size(), 2U);
    EXPECT_EQ(Seen[1].ErrorCode, 12045U);
    EXPECT_EQ(Seen[1].Parent, &Client);
    EXPECT_EQ(Seen[1].URL, Server.Url());
    EXPECT_TRUE(Seen[1].AllowContinue);
    ASSERT_TRUE(Seen[1].Certificate);
    const TZnServerCertificate& Shown = *Seen[1].Certificate;
    EXPECT_EQ(Shown.Subject, "CN=localhost,O=Gr\xC3\xBC\xC3\x9F\\1B[2J") << "no control characters";
    EXPECT_EQ(Shown.Issuer, Shown.Subject);
    EXPECT_EQ(Shown.Fingerprint, Server.Fingerprint());
    EXPECT_EQ(Shown.NotAfter - Shown.NotBefore, std::chrono::days(2));
    EXPECT_THROW((Says = iaCancel, Client.Request(httpGET, Server.Url(), false)), EAbort)
        << "an acceptance counts for one request";
    Says = iaInvalidWindow;
    EXPECT_THROW(Client.Request(httpGET, Server.Url(), false), EZnWinINetInvalidArgument);
    const Dialog Raises([](TZnInternetError&) -> TZnInternetErrorAnswer { throw EConvertError("out"); });
    EXPECT_THROW(Client.Request(httpGET, Server.Url(), false), EConvertError);
}

TEST(WinINet, EachFaultOfACertificateIsAQuestion)
{
    const SelfSigned Server("other.test");
    TZnWinINetClient Client(nullptr);
    Client.EnableErrorDialog(&Client);
    std::vector<std::uint32_t> Codes;
    const Dialog Asks([&](TZnInternetError& AError) {
        EXPECT_TRUE(AError.Certificate);
        Codes.push_back(AError.ErrorCode);
        return iaAccept;
    });
    EXPECT_EQ(Client.Request(httpGET, Server.Url(), true)->GetStatus().StatusCode, 200);
    EXPECT_EQ(Codes, (std::vector<std::uint32_t>{12045, 12038}));
}
