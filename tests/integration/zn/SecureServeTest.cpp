#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/TlsClient.h"

using namespace Zn;

namespace
{

class SecureServe : public testing::Test
{
protected:
    SecureServe()
    {
        const TestIdentity Identity = MakeIdentity("localhost");
        FFolder.Write("c.pem", Identity.Certificate);
        FFolder.Write("k.pem", Identity.Key);
        FFolder.Write("site/index.html", "secure");
        FFolder.Write("site/large.bin", std::string(300'000, 'x'));
    }
    std::string Name(const std::string& AName) const { return (FFolder.Path() / AName).string(); }

    TTemporaryFolder FFolder;
};

} // namespace

TEST_F(SecureServe, CurlVerifiesTheCertificateAndReadsPagesAndFiles)
{
    const std::uint16_t Port = FreePort();
    const std::string Root = "https://localhost:" + std::to_string(Port) + "/";
    TChildProcess Server({ZN_PROGRAM, "serve", "--bind", Root, "--cert", Name("c.pem"), "--key",
                          Name("k.pem"), "--client-ca", Name("c.pem"), Name("site")});
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C", cPatience)) << Server.Output();
    const THttpAnswer Page = Curl({"--cacert", Name("c.pem"), Root});
    EXPECT_EQ(Page.Status, 200);
    EXPECT_EQ(Page.Content, "secure");
    EXPECT_EQ(Page["strict-transport-security"], ""); // not for a port other than 443
    EXPECT_EQ(Curl({"--cacert", Name("c.pem"), Root + "large.bin"}).Content.size(), 300'000U);
    EXPECT_EQ(Curl({"--cacert", Name("c.pem"), "-r", "10-19", Root + "large.bin"}).Status, 206);
    EXPECT_EQ(Curl({"--cacert", Name("c.pem"), "--tls-max", "1.2", Root}).Status, 200);
    EXPECT_EQ(Curl({"--cacert", Name("c.pem"), "--cert", Name("c.pem"), "--key", Name("k.pem"), Root}).Status,
              200);
    EXPECT_EQ(Curl({Root}).CurlCode, 60); // nobody vouches for it
    EXPECT_EQ(Curl({"http://localhost:" + std::to_string(Port) + "/"}).Status, 400);
}
