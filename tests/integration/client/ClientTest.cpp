// The client against the library's own server and scripted peers, over the real engine.

#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

#include <gtest/gtest.h>

#include "tests/integration/server/ServerHarness.h"
#include "tests/support/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"

namespace
{

std::string Url(std::uint16_t APort, const std::string& ATarget = "/")
{
    return "http://localhost:" + std::to_string(APort) + ATarget;
}

std::string BytesOf(std::size_t ASize)
{
    std::string Bytes(ASize, '\0');
    for (std::size_t Index = 0; Index < ASize; ++Index)
        Bytes[Index] = static_cast<char>(Index * 7 + Index / 251);
    return Bytes;
}

/// Sends back what it got.
void Echo(PZnHTTPServerRequest ARequest, Answer& AAnswer)
{
    AAnswer.SetContentType("application/octet-stream");
    AAnswer.AddUnknownHeader("X-Verb", std::to_string(ARequest->HttpVerb));
    auto Body = std::make_unique<TMemoryStream>();
    if (std::shared_ptr<IZnBodyContent> Content; ARequest->GetBody(Content))
        Body->CopyFrom(*Content->AsStream(true));
    AAnswer.SetResponseStream(std::move(Body));
}

template <class TClient>
struct AnyClient : testing::Test
{
};
using Transports = testing::Types<TZnWinHTTPClient, TZnWinINetClient>;
TYPED_TEST_SUITE(AnyClient, Transports);

} // namespace

TYPED_TEST(AnyClient, TalksToTheServer)
{
    ServerHarness Server(Echo);
    TypeParam Client(nullptr);
    const auto Posted = Client.Request(httpPOST, Url(Server.Port, "/a"), std::string("gr\xC3\xBC\xC3\x9F"),
                                       "text/plain", true);
    EXPECT_EQ(Posted->GetResponse(), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(Posted->GetHeader("x-verb"), std::to_string(HttpVerbPOST));
    EXPECT_EQ(Client.Request(httpPUT, Url(Server.Port), AnsiString("bytes"), "", true)->GetResponse(),
              "bytes");
    const auto Head = Client.Request(httpHEAD, Url(Server.Port), true);
    EXPECT_EQ(Head->GetHeader("X-Verb"), std::to_string(HttpVerbHEAD));
    EXPECT_EQ(Head->GetResponse(), "");
    EXPECT_EQ(Client.Request(httpDELETE, Url(Server.Port), true)->GetHeader("X-Verb"),
              std::to_string(HttpVerbDELETE));
}

TYPED_TEST(AnyClient, FilesOfAnySizeGoUpAndComeDownWhole)
{
    ServerHarness Server(Echo);
    TypeParam Client(nullptr);
    const Zn::TemporaryFolder Folder;
    for (const std::size_t Size : {0U, 1U, 1024U * 1024, 1024U * 1024 + 1, 9'000'000U}) {
        const std::string Bytes = BytesOf(Size);
        TFileStream Body(Folder.Write("body", Bytes), fmOpenRead);
        TMemoryStream Received;
        std::int64_t Told = 0;
        Client.SetOnProgress([&](TObject*, TStream*, std::int64_t ARead, std::int64_t) { Told += ARead; });
        Client.Request(httpPOST, Url(Server.Port), &Body, "", true)->GetResponseData(Received);
        EXPECT_TRUE(Received.View() == Bytes) << Size;
        EXPECT_EQ(Told, static_cast<std::int64_t>(Size));
    }
}

TYPED_TEST(AnyClient, UndoesTheServersDeflate)
{
    const std::string Page(20000, 'z');
    ServerHarness Server([&](PZnHTTPServerRequest, Answer& AAnswer) {
        AAnswer.SetContentEncoding("deflate");
        AAnswer.SetResponseText(Page);
    });
    TypeParam Client(nullptr);
    Client.GetRequestHeaders().SetAcceptEncoding("deflate");
    const auto Response = Client.Request(httpGET, Url(Server.Port), true);
    EXPECT_EQ(Response->GetHeader("Content-Encoding"), "deflate");
    EXPECT_EQ(Response->GetResponse(), Page);
}

TYPED_TEST(AnyClient, ManualCookiesComeBackToTheirHost)
{
    ServerHarness Server([](PZnHTTPServerRequest ARequest, Answer& AAnswer) {
        AAnswer.SetResponseText(ARequest->GetKnownHeaderValue(HttpHeaderCookie));
        AAnswer.AddCookie("a", "1; Path=/");
    });
    TypeParam Client(nullptr);
    Client.SetCookieHandling(chManual);
    EXPECT_EQ(Client.Request(httpGET, Url(Server.Port), true)->GetResponse(), "");
    EXPECT_EQ(Client.Request(httpGET, Url(Server.Port), true)->GetResponse(), "a=1");
    const auto Request = Client.PrepareRequest(httpGET, Url(Server.Port), nullptr, "");
    Request->AddCookie("b", "2");
    EXPECT_EQ(Request->SendRequest()->GetResponse(), "a=1; b=2");
}

TYPED_TEST(AnyClient, FaultsHaveTheirClasses)
{
    TypeParam Client(nullptr);
    EXPECT_THROW(Client.Request(httpGET, Url(FreePort()), false), EZnHTTPConnect);
    {
        TypeParam Impatient(nullptr);
        Impatient.GetTimeOuts().SetReceiveTimeOut(200);
        ScriptedPeer Stalls([](PeerConnection& APeer) { APeer.ReadHead(), APeer.WaitForEnd(); });
        EXPECT_THROW(Impatient.Request(httpGET, Url(Stalls.Port()), false), EZnHTTPTimeOut);
    }
    {
        ScriptedPeer Cuts([](PeerConnection& APeer) {
            APeer.ReadHead();
            APeer.Send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort");
        });
        const auto Response = Client.Request(httpGET, Url(Cuts.Port()), true);
        EXPECT_THROW(Response->GetResponse(), EZnHTTPClientApiException);
    }
    {
        ScriptedPeer Babbles([](PeerConnection& APeer) {
            APeer.ReadHead();
            APeer.Send("HTTP/1.1 200 OK\r\n");
            while (APeer.Send("X: 1\r\n"))
                ;
        });
        EXPECT_THROW(Client.Request(httpGET, Url(Babbles.Port()), false), EZnHTTPClientApiException);
    }
}
