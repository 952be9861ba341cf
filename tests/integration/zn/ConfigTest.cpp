#include <algorithm>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Json.h"
#include "common/Text.h"
#include "tests/integration/zn/ServedSite.h"

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

/// `zn config` on a store of its own.
class Config : public testing::Test
{
protected:
    void SetUp() override { setenv("ZN_STATE_DIR", (Place.Path() / "state").c_str(), 1); }
    void TearDown() override { setenv("ZN_STATE_DIR", "/dev/null/none", 1); }

    static TOutcome Zn(std::vector<std::string> AArguments)
    {
        AArguments.insert(AArguments.begin(), {ZN_PROGRAM, "config"});
        TChildProcess Process(AArguments);
        TOutcome Result;
        Result.Code = Process.WaitForExit(cPatience).value_or(-1);
        Result.Output = Process.Output();
        Result.Errors = Process.Errors();
        return Result;
    }
    /// The output of a command that has to succeed.
    static std::string Output(const std::vector<std::string>& AArguments)
    {
        const TOutcome Result = Zn(AArguments);
        EXPECT_EQ(Result.Code, 0) << Result.Errors;
        EXPECT_EQ(Result.Errors, "");
        return Result.Output;
    }
    static std::string Line(const std::vector<std::string>& AArguments) { return ZnTrim(Output(AArguments)); }
    static std::string JsonValue(const std::string& ATable, const std::string& APath)
    {
        return ZnVarToStr(ZnGetJSONDocValue(ZnCreateJSONDoc(Output({ATable, "list", "--json"})), APath));
    }

    TTemporaryFolder Place;
};

TEST_F(Config, KeepsEachTable)
{
    EXPECT_EQ(Output({"urlacl", "list", "--json"}), "[]\n");
    Output({"urlacl", "add", "http://+:8080/app/"});
    Output({"urlacl", "add", "https://*/", "--sddl", "D:(A;;GX;;;S-1-5-19)"});
    EXPECT_EQ(Output({"urlacl", "list"}), "URL PREFIX          SECURITY DESCRIPTOR\n"
                                          "http://+:8080/app/  D:(A;;GX;;;WD)\n"
                                          "https://*/          D:(A;;GX;;;S-1-5-19)\n");
    EXPECT_EQ(JsonValue("urlacl", "$[1].securityDescriptor"), "D:(A;;GX;;;S-1-5-19)");
    Output({"urlacl", "delete", "http://+:8080/app"});
    EXPECT_EQ(JsonValue("urlacl", "$[0].urlPrefix"), "https://*/");

    Output({"iplisten", "add", "127.0.0.1"});
    Output({"iplisten", "add", "2001:DB8::1"});
    EXPECT_EQ(Output({"iplisten", "list", "--json"}), "[\"127.0.0.1\",\"2001:db8::1\"]\n");
    Output({"iplisten", "delete", "127.0.0.1"});
    EXPECT_EQ(Output({"iplisten", "list"}), "ADDRESS\n2001:db8::1\n");

    const std::string ThumbPrint = Line({"certificate", "create", "localhost"});
    std::string Copied = UpperCase(ThumbPrint);
    for (std::size_t At = Copied.size() - 2; At > 0; At -= 2)
        Copied.insert(At, ":"); // as openssl prints it
    Output({"sslcert", "add", "8443", Copied});
    EXPECT_EQ(JsonValue("sslcert", "$[0].thumbprint"), ThumbPrint);
    EXPECT_EQ(JsonValue("sslcert", "$[0].port"), "8443");
    Output({"sslcert", "delete", "8443"});
    EXPECT_EQ(Output({"sslcert", "list"}), "No port has a certificate.\n");
}

TEST_F(Config, MakesAndTakesCertificatesThatOpensslKnows)
{
    const std::string Made = Line({"certificate", "create", "www.example.org", "--store", "Web"});
    const std::string File = (Place.Path() / "state/certificates/web" / (Made + ".pem")).string();
    for (const std::vector<std::string>& Command :
         {std::vector<std::string>{"openssl", "verify", "-x509_strict", "-purpose", "sslserver",
                                   "-verify_hostname", "www.example.org", "-CAfile", File, File},
          {"openssl", "x509", "-in", File, "-noout", "-checkend", std::to_string(824 * 86400)},
          {"openssl", "pkey", "-in", File, "-check", "-noout"}}) {
        TChildProcess Process(Command);
        EXPECT_EQ(Process.WaitForExit(cPatience), 0) << Process.Output() << Process.Errors();
    }

    const std::string Key = (Place.Path() / "key.pem").string();
    const std::string Certificate = (Place.Path() / "certificate.pem").string();
    TChildProcess Request({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj",
                           "/CN=peer.example", "-keyout", Key, "-out", Certificate});
    ASSERT_EQ(Request.WaitForExit(cPatience), 0) << Request.Errors();
    const TOutcome Alone = Zn({"certificate", "import", Certificate});
    EXPECT_EQ(Alone.Code, 1);
    EXPECT_NE(Alone.Errors.find("key isn't in it"), std::string::npos) << Alone.Errors;
    std::ofstream(Certificate, std::ios::app) << std::ifstream(Key).rdbuf();
    const std::string Imported = Line({"certificate", "import", Certificate});
    TChildProcess Fingerprint({"openssl", "x509", "-in", Certificate, "-noout", "-fingerprint", "-sha1"});
    ASSERT_EQ(Fingerprint.WaitForExit(cPatience), 0);
    std::string Told = LowerCase(Fingerprint.Output());
    std::erase(Told, ':');
    EXPECT_NE(Told.find(Imported), std::string::npos) << Told;

    EXPECT_EQ(JsonValue("certificate", "$[0].subject"), "CN=peer.example"); // "my" before "web"
    EXPECT_EQ(JsonValue("certificate", "$[1].names"), "www.example.org");
    EXPECT_NE(Output({"certificate", "list", "--store", "web"}).find(Made), std::string::npos);
    Output({"certificate", "delete", Imported});
    EXPECT_EQ(JsonValue("certificate", "$[1].names"), "");
}

TEST_F(Config, TellsFailureFromAWrongCommandLine)
{
    const std::string Digits(40, '0');
    Output({"urlacl", "add", "http://+:80/"});
    for (const std::vector<std::string>& Arguments : {std::vector<std::string>{"urlacl", "add", "HTTP://+/"},
                                                      {"urlacl", "delete", "http://+:81/"},
                                                      {"iplisten", "delete", "10.0.0.1"},
                                                      {"sslcert", "add", "443", Digits},
                                                      {"sslcert", "delete", "443"},
                                                      {"certificate", "delete", Digits}}) {
        const TOutcome Result = Zn(Arguments);
        EXPECT_EQ(Result.Code, 1) << testing::PrintToString(Arguments);
        EXPECT_EQ(Result.Output, "");
        EXPECT_EQ(std::count(Result.Errors.begin(), Result.Errors.end(), '\n'), 1) << Result.Errors;
    }
    for (const std::vector<std::string>& Arguments : {std::vector<std::string>{},
                                                      {"urlacl"},
                                                      {"urlacl", "add"},
                                                      {"urlacl", "add", "http:/x"},
                                                      {"urlacl", "add", "http://+:81/", "--sddl", ""},
                                                      {"iplisten", "add", "1.2.3.4.5"},
                                                      {"sslcert", "add", "0", Digits},
                                                      {"sslcert", "add", "65979", Digits},
                                                      {"sslcert", "add", "443", "12ab"},
                                                      {"certificate", "create", "a b"},
                                                      {"certificate", "create", "a", "--store", "../a"},
                                                      {"certificate", "create", "a", "--days", "0"},
                                                      {"certificate", "import", "/no/such/file"}}) {
        const TOutcome Result = Zn(Arguments);
        EXPECT_EQ(Result.Code, 2) << testing::PrintToString(Arguments);
        EXPECT_NE(Result.Errors, "") << testing::PrintToString(Arguments);
    }
    Place.Write("state/configuration.json", "{\"urlReservations\": [");
    const TOutcome Damaged = Zn({"urlacl", "add", "http://+:82/"});
    EXPECT_EQ(Damaged.Code, 1);
    EXPECT_NE(Damaged.Errors.find("damaged"), std::string::npos) << Damaged.Errors;
}

TEST_F(Config, ABoundPortServesHttpsWithTheCertificateOfTheName)
{
    Place.Write("site/page.txt", "a page");
    const std::string Port = std::to_string(FreePort());
    const std::vector<std::string> Serve{ZN_PROGRAM, "serve", (Place.Path() / "site").string(), "--bind",
                                         "https://+:" + Port + "/"};
    EXPECT_EQ(TChildProcess(Serve).WaitForExit(cPatience), 1); // no certificate
    const std::string First = Line({"certificate", "create", "127.0.0.1"});
    const std::string Second = Line({"certificate", "create", "second.test"});
    Output({"sslcert", "add", Port, First});
    TChildProcess Server(Serve);
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C to stop.", cPatience)) << Server.Errors();
    const auto Get = [&](const std::string& AHost, const std::string& AThumbPrint) {
        const auto File = Place.Path() / "state/certificates/my" / (AThumbPrint + ".pem");
        return Curl({"--cacert", File.string(), "--resolve", "second.test:" + Port + ":127.0.0.1",
                     "https://" + AHost + ":" + Port + "/page.txt"});
    };
    EXPECT_EQ(Get("127.0.0.1", First).Content, "a page");
    EXPECT_EQ(Get("second.test", Second).Content, "a page");
    EXPECT_EQ(Get("second.test", First).CurlCode, 60); // it isn't the first one that this name gets
}

TEST_F(Config, TheListenListRulesARunningServer)
{
    Place.Write("site/page.txt", "a page");
    Output({"iplisten", "add", "127.0.0.2"});
    const std::string Port = std::to_string(FreePort());
    TChildProcess Server(
        {ZN_PROGRAM, "serve", (Place.Path() / "site").string(), "--bind", "http://+:" + Port + "/"});
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C to stop.", cPatience)) << Server.Errors();
    EXPECT_EQ(Curl({"http://127.0.0.2:" + Port + "/page.txt"}).Content, "a page");
    EXPECT_EQ(Curl({"http://127.0.0.1:" + Port + "/page.txt"}).CurlCode, 7); // refused
}

} // namespace
} // namespace Zn
