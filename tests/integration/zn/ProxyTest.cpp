#include <csignal>
#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/TlsClient.h"

namespace Zn
{
namespace
{

/// A proxy in front of zn: both on the loopback, the proxy's connections come from 127.0.0.1.
class Proxies : public testing::Test
{
protected:
    Proxies()
    {
        const TestIdentity Identity = MakeIdentity("localhost");
        Place.Write("site/page.txt", "a page");
        Place.Write("c.pem", Identity.Certificate + Identity.Key);
    }

    static std::string Address(std::uint16_t APort) { return "127.0.0.1:" + std::to_string(APort); }
    std::string Name(const std::string& AName) const { return (Place.Path() / AName).string(); }

    void StartProxy(const std::string& AConfiguration)
    {
        Place.Write("proxy.cfg",
                    "defaults\n timeout connect 10s\n timeout client 30s\n timeout server 30s\n" +
                        AConfiguration);
        Proxy = std::make_unique<TChildProcess>(
            std::vector<std::string>{"/usr/sbin/haproxy", "-db", "-f", Name("proxy.cfg")});
    }
    /// Section of the configuration: from AFrom to ATo.
    static std::string Way(const std::string& AMode, std::uint16_t AFrom, std::uint16_t ATo,
                           const std::string& AOptions, const std::string& AMore = {})
    {
        return "listen l" + std::to_string(AFrom) + "\n mode " + AMode + "\n bind " + Address(AFrom) + "\n" +
               AMore + " server zn " + Address(ATo) + " " + AOptions + "\n";
    }
    /// What /demo/request tells, asked from 127.0.0.9. Waits until the proxy is there.
    static std::string Ask(std::vector<std::string> AArguments)
    {
        AArguments.insert(AArguments.end(), {"--interface", "127.0.0.9", "--retry", "20",
                                             "--retry-connrefused", "--retry-delay", "1"});
        return Curl(std::move(AArguments)).Content;
    }
    static bool Has(const std::string& AJson, const std::string& AName, const std::string& AValue)
    {
        return AJson.find("\"" + AName + "\":\"" + AValue + "\"") != std::string::npos;
    }

    TTemporaryFolder Place;
    std::unique_ptr<TChildProcess> Proxy;
};

TEST_F(Proxies, BothVersionsOfThePROXYProtocolTellTheClient)
{
    const std::uint16_t Plain = FreePort(), Secure = FreePort();
    TChildProcess Server({ZN_PROGRAM, "serve", "--demo", "--bind", "http://" + Address(Plain) + "/", "--bind",
                          "https://" + Address(Secure) + "/", "--cert", Name("c.pem"), "--trusted-proxy",
                          "127.0.0.1", "--trusted-proxy", "10.0.0.0/8", "--proxy-protocol", Name("site")});
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C", cPatience)) << Server.Errors();
    const std::uint16_t V1 = FreePort(), V2 = FreePort(), V2Secure = FreePort();
    StartProxy(Way("http", V1, Plain, "send-proxy") + Way("http", V2, Plain, "send-proxy-v2") +
               Way("tcp", V2Secure, Secure, "send-proxy-v2"));
    for (const std::string& Root :
         {"http://" + Address(V1), "http://" + Address(V2), "https://" + Address(V2Secure)}) {
        const std::string Told = Ask({"-k", Root + "/demo/request"});
        EXPECT_TRUE(Has(Told, "remoteAddress", "127.0.0.9")) << Root << Told;
    }
    EXPECT_TRUE(Server.WaitForErrors(" 127.0.0.9 GET /demo/request 200 ", cPatience)) << Server.Errors();
    // Who is no proxy needs no header, and isn't believed with one.
    const std::string Direct = "http://" + Address(Plain) + "/demo/request";
    EXPECT_TRUE(Has(Ask({Direct}), "remoteAddress", "127.0.0.9"));
    EXPECT_EQ(Curl({"--interface", "127.0.0.9", "--haproxy-protocol", Direct}).Status, 400);

    const std::string Request = "GET /page.txt HTTP/1.1\r\nHost: " + Address(Plain) + "\r\n\r\n";
    for (const std::string& Bytes :
         {Request, std::string("PROXY TCP4 127.0.0.9 127.0.0.1 1 65536\r\n"),
          "PROXY TCP4 " + std::string(200, ' '), std::string("\r\n\r\n\0\r\nQUIT\n\x21\x11\xff\xff", 16)}) {
        RawClient Client(Plain);
        Client.Send(Bytes);
        EXPECT_TRUE(Client.EndsSilently()) << Bytes;
    }
    RawClient Cut(Plain);
    Cut.Send("PROXY TCP4 127.0.0.9");
    Cut.EndSending();
    EXPECT_TRUE(Cut.EndsSilently());
    RawClient InPieces(Plain);
    InPieces.Send("PROXY TCP4 127.0");
    InPieces.Send(".0.9 127.0.0.1 1 2\r\nGET /demo/request HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(Has(InPieces.Response(), "remoteAddress", "127.0.0.9"));
}

TEST_F(Proxies, ForwardedFieldsCountFromTrustedProxiesOnly)
{
    const std::uint16_t Port = FreePort(), Front = FreePort();
    TChildProcess Server({ZN_PROGRAM, "serve", "--demo", "--bind", "http://*:" + std::to_string(Port) + "/",
                          "--trusted-proxy", "127.0.0.1", Name("site")});
    ASSERT_TRUE(Server.WaitForOutput("Press Ctrl+C", cPatience)) << Server.Errors();
    StartProxy(Way("http", Front, Port, "",
                   " option forwardfor\n http-request set-header X-Forwarded-Proto https\n"
                   " http-request set-header X-Forwarded-Host shop.example:8443\n"));
    const std::vector<std::string> Forged{"-H", "X-Forwarded-For: 192.0.2.66",
                                          "-H", "Forwarded: for=192.0.2.66",
                                          "-H", "X-Forwarded-Host: evil.example"};
    const auto With = [&](const std::string& AUrl) {
        std::vector<std::string> Arguments = Forged;
        Arguments.push_back(AUrl);
        return Arguments;
    };
    const std::string Told = Ask(With("http://" + Address(Front) + "/demo/request"));
    EXPECT_TRUE(Has(Told, "remoteAddress", "127.0.0.9")) << Told;
    EXPECT_TRUE(Has(Told, "URL", "https://shop.example:8443/demo/request")) << Told;
    const std::string Direct = Ask(With("http://" + Address(Port) + "/demo/request"));
    EXPECT_TRUE(Has(Direct, "remoteAddress", "127.0.0.9")) << Direct;
    EXPECT_TRUE(Has(Direct, "Hostname", "127.0.0.1")) << Direct;
    EXPECT_EQ(Server.Errors().find("192.0.2.66"), std::string::npos) << Server.Errors();
}

} // namespace
} // namespace Zn
