#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/TemporaryState.h"
#include "tests/support/TlsClient.h"

namespace Zn
{
namespace
{

/// The name in the certificate that the server showed.
std::string NameShown(const TlsClient& AClient)
{
    const std::unique_ptr<X509, decltype(&X509_free)> Certificate(
        SSL_get1_peer_certificate(AClient.Session()), X509_free);
    char Name[64] = "";
    if (Certificate)
        X509_NAME_get_text_by_NID(X509_get_subject_name(Certificate.get()), NID_commonName, Name,
                                  sizeof Name);
    return Name;
}

class Reload : public testing::Test
{
protected:
    Reload() : Root("https://localhost:" + std::to_string(Port) + "/")
    {
        Place.Write("site/page.txt", "a page");
        UseCertificate("first.example");
    }

    void UseCertificate(const std::string& AName) const
    {
        const TestIdentity Identity = MakeIdentity(AName);
        State.Write("c.pem", Identity.Certificate + Identity.Key);
    }
    void Start(std::vector<std::string> AOptions)
    {
        AOptions.insert(AOptions.begin(),
                        {ZN_PROGRAM, "serve", (Place.Path() / "site").string(), "--bind", Root});
        Server = std::make_unique<TChildProcess>(AOptions);
        ASSERT_TRUE(Server->WaitForOutput("Press Ctrl+C", cPatience)) << Server->Errors();
    }
    /// Sends SIGHUP and waits for the Nth line that tells of a reload.
    void HangUp()
    {
        const std::string Before = Server->Output();
        Server->Signal(SIGHUP);
        ASSERT_TRUE(Eventually(
            [&] { return Server->Output().find("Reloaded", Before.size()) != std::string::npos; }));
    }
    template <class TCondition>
    static bool Eventually(TCondition ACondition)
    {
        for (int Step = 0; Step < 3000; ++Step, std::this_thread::sleep_for(std::chrono::milliseconds(20)))
            if (ACondition())
                return true;
        return false;
    }
    std::string Zn(std::vector<std::string> AArguments) const
    {
        AArguments.insert(AArguments.begin(), ZN_PROGRAM);
        TChildProcess Process(AArguments);
        EXPECT_EQ(Process.WaitForExit(cPatience), 0) << Process.Errors();
        return Process.Output().substr(0, Process.Output().find('\n'));
    }
    std::string Name(const std::string& AName) const { return (State.Path() / AName).string(); }

    static constexpr std::string_view cRequest = "GET /page.txt HTTP/1.1\r\nHost: localhost\r\n\r\n";
    TTemporaryFolder Place;
    TemporaryState State;
    const std::uint16_t Port = FreePort();
    const std::string Root;
    std::unique_ptr<TChildProcess> Server;
};

TEST_F(Reload, NewConnectionsGetTheNewCertificateAndOldOnesKeepTheirs)
{
    Start({"--cert", Name("c.pem")});
    TlsClient Old(Port, {});
    ASSERT_EQ(NameShown(Old), "first.example");
    UseCertificate("second.example");
    HangUp();
    EXPECT_EQ(NameShown(TlsClient(Port, {})), "second.example");
    State.Write("c.pem", "-----BEGIN CERTIFICATE-----\nbroken\n-----END CERTIFICATE-----\n");
    HangUp();
    EXPECT_EQ(NameShown(TlsClient(Port, {})), "second.example");
    EXPECT_TRUE(Server->WaitForOutput("Reloaded, but kept: certificate.", cPatience)) << Server->Output();
    EXPECT_TRUE(Server->WaitForErrors("certificate kept as before: ", cPatience)) << Server->Errors();
    Old.Send(cRequest);
    EXPECT_EQ(StatusOf(Old.Response()), "200");
}

TEST_F(Reload, AWatchedFileNeedsNoSignal)
{
    Start({"--cert", Name("c.pem"), "--watch"});
    UseCertificate("second.example");
    EXPECT_TRUE(Eventually([&] { return NameShown(TlsClient(Port, {})) == "second.example"; }));
}

TEST_F(Reload, AccountsOfTheNewFileLogOnAndThoseOfABrokenOneDoNot)
{
    const auto Account = [](const std::string& AUser) { // the password is the user's name
        static const std::map<std::string, std::string> Hashes{{"ada", "4db9c756a0eec840d3c1f5739dfa67dc"},
                                                               {"bob", "42338ace1b5ebe9e206cf45f9ee4e2c5"}};
        return AUser + ":club:" + Hashes.at(AUser) + "\n";
    };
    State.Write("users", Account("ada"));
    Start({"--cert", Name("c.pem"), "--auth", "digest", "--users", Name("users")});
    const auto StatusFor = [&](const std::string& AUser) {
        return Curl({"-k", "--digest", "-u", AUser + ":" + AUser, Root + "page.txt"}).Status;
    };
    EXPECT_EQ(StatusFor("ada"), 200);
    EXPECT_EQ(StatusFor("bob"), 401);
    State.Write("users", Account("bob"));
    HangUp();
    EXPECT_EQ(StatusFor("ada"), 401);
    EXPECT_EQ(StatusFor("bob"), 200);
    for (const char* const Broken : {"no account\n", "", "bob:another:0123456789abcdef0123456789abcdef\n"}) {
        State.Write("users", Broken);
        HangUp();
        EXPECT_EQ(StatusFor("bob"), 200) << Broken;
    }
}

TEST_F(Reload, TheConfigurationStoreIsTakenOver)
{
    const auto Bind = [&](const std::string& AName) {
        Zn({"config", "sslcert", "add", std::to_string(Port),
            Zn({"config", "certificate", "create", AName})});
    };
    const auto IsOpen = [&](const std::string& AAddress) {
        return Curl({"-k", "--interface", "127.0.0.1",
                     "https://" + AAddress + ":" + std::to_string(Port) + "/page.txt"})
                   .Status == 200;
    };
    const auto Url = "https://*:" + std::to_string(Port) + "/";
    Bind("first.example");
    Zn({"config", "iplisten", "add", "127.0.0.2"});
    Start({"--bind", Url});
    TlsClient Old(Port, {});
    EXPECT_TRUE(IsOpen("127.0.0.2"));
    EXPECT_FALSE(IsOpen("127.0.0.3"));
    Zn({"config", "sslcert", "delete", std::to_string(Port)});
    Bind("second.example");
    Zn({"config", "iplisten", "add", "127.0.0.3"});
    Zn({"config", "iplisten", "delete", "127.0.0.2"});
    HangUp();
    EXPECT_EQ(NameShown(TlsClient(Port, {})), "second.example");
    EXPECT_TRUE(IsOpen("127.0.0.3"));
    EXPECT_FALSE(IsOpen("127.0.0.2"));
    State.Write("configuration.json", "damaged");
    HangUp();
    EXPECT_TRUE(IsOpen("127.0.0.3"));
    EXPECT_TRUE(Server->WaitForErrors("configuration store kept as before: ", cPatience)) << Server->Errors();
    Old.Send(cRequest);
    EXPECT_EQ(StatusOf(Old.Response()), "200");
}

TEST_F(Reload, InTheMiddleOfHandshakesNoConnectionIsLost)
{
    Start({"--cert", Name("c.pem")});
    std::atomic<bool> IsOver{false};
    std::atomic<int> Served{0}, Lost{0};
    std::vector<std::thread> Clients;
    for (int Count = 0; Count < 4; ++Count)
        Clients.emplace_back([&] {
            while (!IsOver) {
                TlsClient Client(Port, {});
                const bool IsServed =
                    Client.IsConnected() && Client.Send(cRequest) && StatusOf(Client.Response()) == "200";
                ++(IsServed ? Served : Lost);
            }
        });
    for (int Count = 0; Count < 30 || (Served < 30 && Count < 1000); ++Count) {
        UseCertificate(Count % 2 == 0 ? "second.example" : "first.example");
        HangUp();
    }
    IsOver = true;
    for (std::thread& Each : Clients)
        Each.join();
    EXPECT_EQ(Lost, 0);
    EXPECT_GE(Served, 30);
}

} // namespace
} // namespace Zn
