// Certificates of each kind against openssl s_server: what is refused with which number, and what forgives
// it.

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/integration/winhttp/Exchange.h"
#include "tests/integration/zn/ChildProcess.h"
#include "tests/support/RawClient.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A folder with an authority and certificates from it, made once for all tests.
class Certificates
{
public:
    static const Certificates& All()
    {
        static const Certificates Instance;
        return Instance;
    }
    std::string File(const std::string& AName) const { return FFolder.Path(AName); }
    std::string Bytes(const std::string& AName) const { return FFolder.Read(AName); }

private:
    Certificates()
    {
        FFolder.Write("server.ext", "subjectAltName=DNS:localhost,IP:127.0.0.1\n");
        FFolder.Write("other.ext", "subjectAltName=DNS:other.example\n");
        FFolder.Write("client.ext",
                      "extendedKeyUsage=clientAuth\nsubjectAltName=DNS:localhost,IP:127.0.0.1\n");
        Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=Test "
            "-keyout ca.key -out ca.pem");
        Make("good", "server.ext", "-days 2");
        Make("late", "server.ext", "-days -1");
        Make("other", "other.ext", "-days 2");
        Make("usage", "client.ext", "-days 2");
        Make("client", "client.ext", "-days 2");
        Run("openssl pkcs12 -export -in client.pem -inkey client.key -passout pass:geheim -out client.p12");
        Run("openssl rsa -aes128 -passout pass:geheim -in client.key -out locked.key || "
            "openssl ec -aes128 -passout pass:geheim -in client.key -out locked.key");
    }
    void Make(const std::string& AName, const std::string& AExtensions, const std::string& ADays) const
    {
        Run("openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=" + AName +
            " -keyout " + AName + ".key -out " + AName + ".csr");
        Run("openssl x509 -req -in " + AName + ".csr -CA ca.pem -CAkey ca.key -CAcreateserial " + ADays +
            " -extfile " + AExtensions + " -out " + AName + ".pem");
    }
    void Run(const std::string& ACommand) const
    {
        Zn::TChildProcess Shell({"/bin/sh", "-c", "cd " + FFolder.Path().string() + " && " + ACommand});
        if (Shell.WaitForExit(60s) != 0)
            ADD_FAILURE() << ACommand << "\n" << Shell.Errors();
    }

    Zn::TemporaryFolder FFolder;
};

/// openssl s_server with one of the certificates; answers each GET with a page.
class SecurePeer
{
public:
    explicit SecurePeer(const std::string& AName, std::vector<std::string> AMore = {})
        : Port(FreePort()), FServer(Arguments(AName, Port, std::move(AMore)))
    {
        EXPECT_TRUE(FServer.WaitForOutput("ACCEPT", 60s)) << FServer.Errors();
    }
    const std::uint16_t Port;

private:
    static std::vector<std::string> Arguments(const std::string& AName, std::uint16_t APort,
                                              std::vector<std::string> AMore)
    {
        const Certificates& All = Certificates::All();
        std::vector<std::string> Result{"openssl",
                                        "s_server",
                                        "-www",
                                        "-accept",
                                        std::to_string(APort),
                                        "-cert",
                                        All.File(AName + ".pem"),
                                        "-key",
                                        All.File(AName + ".key")};
        Result.insert(Result.end(), AMore.begin(), AMore.end());
        return Result;
    }
    Zn::TChildProcess FServer;
};

struct SecureClient : Client
{
    explicit SecureClient(std::uint16_t APort, bool ATrusts = true) : Client(APort)
    {
        const std::u16string File = Wide(Certificates::All().File("ca.pem"));
        if (ATrusts) {
            EXPECT_TRUE(WinHttpSetOption(Session, ZN_OPTION_CA_FILE, File.data(),
                                         static_cast<std::uint32_t>(File.size() * 2)));
        }
    }
    Handle Secure() const { return Open("GET", "/", WINHTTP_FLAG_SECURE); }
    std::uint32_t Ask(std::uint32_t AForgiven = 0) const
    {
        const Handle Request = Secure();
        if (AForgiven != 0)
            Set(Request, WINHTTP_OPTION_SECURITY_FLAGS, AForgiven);
        const std::uint32_t Revocation = WINHTTP_ENABLE_SSL_REVOCATION;
        Set(Request, WINHTTP_OPTION_ENABLE_FEATURE, Revocation);
        return Send(Request);
    }
};

constexpr std::uint32_t cAll = SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE |
                               SECURITY_FLAG_IGNORE_CERT_CN_INVALID | SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;

TEST(Tls, EachFaultHasItsNumberAndItsFlag)
{
    struct
    {
        const char* Certificate;
        bool Trusted;
        std::uint32_t Number;
        std::uint32_t Flag;
    } const Cases[] = {
        {"good", true, 0, 0},
        {"good", false, ERROR_WINHTTP_SECURE_INVALID_CA, SECURITY_FLAG_IGNORE_UNKNOWN_CA},
        {"late", true, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, SECURITY_FLAG_IGNORE_CERT_DATE_INVALID},
        {"other", true, ERROR_WINHTTP_SECURE_CERT_CN_INVALID, SECURITY_FLAG_IGNORE_CERT_CN_INVALID},
        {"usage", true, ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE, SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE},
    };
    for (const auto& Case : Cases) {
        SecurePeer Peer(Case.Certificate);
        SecureClient Client(Peer.Port, Case.Trusted);
        EXPECT_EQ(Client.Ask(), Case.Number) << Case.Certificate;
        if (Case.Flag == 0)
            continue;
        EXPECT_EQ(Client.Ask(cAll & ~Case.Flag), Case.Number)
            << Case.Certificate << ": another flag forgave it";
        EXPECT_EQ(Client.Ask(Case.Flag), 0u) << Case.Certificate;
        EXPECT_EQ(Client.Ask(), Case.Number) << Case.Certificate << ": forgiven for good";
    }
}

TEST(Tls, TwoFaultsNeedTwoFlags)
{
    SecurePeer Peer("late");
    SecureClient Client(Peer.Port, false);
    EXPECT_EQ(Client.Ask(SECURITY_FLAG_IGNORE_UNKNOWN_CA), ERROR_WINHTTP_SECURE_CERT_DATE_INVALID);
    EXPECT_EQ(Client.Ask(SECURITY_FLAG_IGNORE_CERT_DATE_INVALID), ERROR_WINHTTP_SECURE_INVALID_CA);
    EXPECT_EQ(Client.Ask(SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_DATE_INVALID), 0u);
}

TEST(Tls, OnlyTheVersionsThatWereAskedFor)
{
    SecurePeer Old("good", {"-tls1_2"});
    SecurePeer New("good", {"-tls1_3"});
    for (const auto& [Versions, OldError, NewError] :
         {std::tuple{2048u, 0u, ERROR_WINHTTP_SECURE_CHANNEL_ERROR + 0u},
          std::tuple{8192u, ERROR_WINHTTP_SECURE_CHANNEL_ERROR + 0u, 0u},
          std::tuple{128u + 2048u + 8192u, 0u, 0u}}) {
        SecureClient ToOld(Old.Port);
        SecureClient ToNew(New.Port);
        EXPECT_TRUE(Client::Set(ToOld.Session, WINHTTP_OPTION_SECURE_PROTOCOLS, Versions));
        EXPECT_TRUE(Client::Set(ToNew.Session, WINHTTP_OPTION_SECURE_PROTOCOLS, Versions));
        EXPECT_EQ(ToOld.Ask(), OldError) << Versions;
        EXPECT_EQ(ToNew.Ask(), NewError) << Versions;
    }
}

TEST(Tls, AServerThatDoesNotSpeakIt)
{
    const std::uint16_t Port = FreePort();
    Zn::TChildProcess Server(
        {"python3", "-u", "-m", "http.server", "--bind", "127.0.0.1", std::to_string(Port)});
    ASSERT_TRUE(Server.WaitForOutput("Serving", 60s));
    EXPECT_EQ(SecureClient(Port).Ask(), ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
}

std::uint32_t SetCertificate(HINTERNET ARequest, const std::string& ABytes,
                             const char16_t* APassword = nullptr)
{
    if (APassword != nullptr) {
        EXPECT_TRUE(WinHttpSetOption(ARequest, ZN_OPTION_CLIENT_CERT_PASSWORD, APassword,
                                     static_cast<std::uint32_t>(std::u16string_view(APassword).size() * 2)));
    }
    return WinHttpSetOption(ARequest, WINHTTP_OPTION_CLIENT_CERT_CONTEXT, ABytes.data(),
                            static_cast<std::uint32_t>(ABytes.size()))
               ? NO_ERROR
               : GetLastError();
}

TEST(Tls, AClientCertificateIsGivenWhenItIsAskedFor)
{
    const Certificates& All = Certificates::All();
    const std::string Pem = All.Bytes("client.pem") + All.Bytes("client.key");
    const std::string Locked = All.Bytes("client.pem") + All.Bytes("locked.key");
    for (const char* Version : {"-tls1_2", "-tls1_3"}) {
        SecurePeer Peer("good",
                        {Version, "-Verify", "1", "-verify_return_error", "-CAfile", All.File("ca.pem")});
        SecureClient Client(Peer.Port);
        const Handle Request = Client.Secure();
        EXPECT_EQ(Send(Request), ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED) << Version;
        EXPECT_EQ(SetCertificate(Request, Pem), 0u);
        EXPECT_EQ(Send(Request), 0u) << Version << ": the second send on the handle";
        const std::string Page = ReadAll(Request);
        EXPECT_NE(Page.find("client"), std::string::npos) << Page;

        const Handle Other = Client.Secure();
        EXPECT_EQ(SetCertificate(Other, All.Bytes("client.p12"), u"geheim"), 0u);
        EXPECT_EQ(Send(Other), 0u) << Version << ": PKCS#12";
        ReadAll(Other);
        const Handle Third = Client.Secure();
        EXPECT_EQ(SetCertificate(Third, Locked, u"geheim"), 0u);
        EXPECT_EQ(Send(Third), 0u) << Version << ": a key with a password";
        ReadAll(Third);
        EXPECT_EQ(Client.Ask(), ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED)
            << Version << ": the certificate is the request's";
    }
}

TEST(Tls, CertificatesThatAreNoneAreRefusedAtOnce)
{
    const Certificates& All = Certificates::All();
    SecureClient Client(1);
    const Handle Request = Client.Secure();
    EXPECT_EQ(SetCertificate(Request, "rubbish"), ERROR_INVALID_DATA);
    EXPECT_EQ(SetCertificate(Request, All.Bytes("client.pem")), ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY);
    EXPECT_EQ(SetCertificate(Request, All.Bytes("client.pem") + All.Bytes("good.key")),
              ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY);
    EXPECT_EQ(SetCertificate(Request, All.Bytes("client.p12"), u"wrong"), ERROR_INVALID_PASSWORD);
    EXPECT_EQ(SetCertificate(Request, All.Bytes("client.pem") + All.Bytes("locked.key"), u"wrong"),
              ERROR_INVALID_PASSWORD);
}

} // namespace
