#include <sstream>

#include <gtest/gtest.h>

#include "common/Json.h"
#include "common/StringList.h"
#include "tests/integration/amazon/Peers.h"
#include "tests/unit/uZnAmazonClient/ScriptedClient.h"
#include "uZnWinHTTP.h"

namespace Zn
{
namespace
{

constexpr const char* cSecret = "peer/secret+key";

/// Signed by the account that the peer knows, or with a wrong secret.
std::unique_ptr<TZnAmazonClient> ClientFor(const std::string& AService, const std::string& AEndpoint,
                                           const std::string& ASecret = cSecret)
{
    auto Result = std::make_unique<TZnAmazonClient>(nullptr);
    Result->SetService(AService);
    Result->SetRegion("eu-central-1");
    Result->SetAccessKeyID("AKIDPEER");
    Result->SetAccessKey(ASecret);
    Result->SetEndpointURL(AEndpoint);
    return Result;
}

/// What the peer says to AWork: "signed", or the code of its refusal.
std::string VerdictOn(const std::function<std::string()>& AWork)
{
    try {
        return AWork();
    } catch (const EZnHTTPException& Error) {
        return ZnReadAmazonError(Error.Message()).Code;
    }
}

/// Requests of every kind, with what is hard to sign in them.
std::vector<std::string> Verdicts(TZnAmazonClient& AClient, bool AIsStorage)
{
    const TZnAmazonClient::TParams Odd{
        {"b", "2"}, {"a-b", "x y"}, {"a", "&=+%2F*~'()!"}, {"B", "ü\xE2\x82\xAC"}, {"empty", ""}, {"a", "1"}};
    TStringStream Body(std::string(10000, 'x') + "ä");
    std::vector<std::string> Result;
    const auto Try = [&](const std::function<std::string()>& AWork) { Result.push_back(VerdictOn(AWork)); };
    Try([&] { return AClient.Get(""); });
    Try([&] { return AClient.Get("bucket", "", Odd); });
    Try([&] {
        return AClient.Execute("bucket", httpPUT, &Body, AIsStorage ? "a b/ü+c%20~(1)'*!$&,;=@:[]" : "");
    });
    Try([&] { return AClient.Execute("bucket", httpPOST, std::string(), "", Odd); });
    Try([&] { return AClient.Get("bucket", AIsStorage ? "a/b" : "", Odd); });
    return Result;
}

TEST(Signatures, AreWhatAnotherSignerMakesOfTheRequests)
{
    TPeer Peer({"signature-check.mjs"});
    ZN_PEER_PORT(Port, Peer);
    const std::string Endpoint = "http://127.0.0.1:" + std::to_string(Port);
    const std::vector<std::string> AllSigned(5, "signed");
    const std::vector<std::string> NoneSigned(5, "SignatureDoesNotMatch");
    for (const std::string Service : {"s3", "dynamodb", "rekognition", "execute-api"}) {
        const bool IsStorage = Service == "s3";
        EXPECT_EQ(Verdicts(*ClientFor(Service, Endpoint), IsStorage), AllSigned) << Service;
        const auto WithToken = ClientFor(Service, Endpoint);
        WithToken->SetSessionToken("a/token+of=the day");
        EXPECT_EQ(Verdicts(*WithToken, IsStorage), AllSigned) << Service;
        EXPECT_EQ(Verdicts(*ClientFor(Service, Endpoint, "wrong"), IsStorage), NoneSigned) << Service;
    }
}

TEST(Signatures, OfPresignedURLsToo)
{
    TPeer Peer({"signature-check.mjs"});
    ZN_PEER_PORT(Port, Peer);
    const std::string Endpoint = "http://127.0.0.1:" + std::to_string(Port);
    TZnWinHTTPClient Anybody(nullptr);
    for (const TZnHTTPMethod Method : {httpGET, httpPUT}) {
        for (const std::string& Secret : {std::string(cSecret), std::string("wrong")}) {
            const auto Client = ClientFor("s3", Endpoint, Secret);
            Client->SetSessionToken(Method == httpPUT ? "a/token" : "");
            const std::string URL = Client->PresignURL(Method, "bucket", "a b/ü~(1)+c", std::chrono::hours(1),
                                                       {{"response-content-type", "text/plain; x=ä"}});
            TStringStream Body("written by anybody");
            const auto Response =
                Anybody.Request(Method, URL, Method == httpPUT ? &Body : nullptr, "", false);
            EXPECT_EQ(Response->GetStatus().StatusCode, Secret == cSecret ? 200 : 403)
                << URL << "\n"
                << Response->GetResponse();
        }
    }
}

TEST(Signatures, AreCheckedOverHttpsToo)
{
    const TemporaryFolder Folder;
    const TOutcome Made =
        RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                    "-nodes", "-keyout", Folder.Path("key.pem"), "-out", Folder.Path("cert.pem"), "-days",
                    "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1"});
    ASSERT_EQ(Made.Code, 0) << Made.Errors;
    TPeer Peer({"signature-check.mjs", Folder.Path("key.pem"), Folder.Path("cert.pem")});
    ZN_PEER_PORT(Port, Peer);
    const auto Client = ClientFor("s3", "https://127.0.0.1:" + std::to_string(Port));
    EXPECT_THROW(Client->Get("bucket", "key"), EZnHTTPClientApiException); // nobody knows that certificate
    auto Transport = std::make_unique<TZnWinHTTPClient>(nullptr);
    Transport->GetWinHTTPSession().SetAuthoritiesFile(Folder.Path("cert.pem"));
    Client->SetHTTPClient(Transport.release());
    EXPECT_EQ(VerdictOn([&] { return Client->Get("bucket", "key"); }), "signed");
    Client->SetAccessKey("wrong");
    EXPECT_EQ(VerdictOn([&] { return Client->Get("bucket", "key"); }), "SignatureDoesNotMatch");
}

/// A request with the fields that are signed, and its Authorization.
std::string AsJson(const TScriptedRequest& ARequest, const std::string& AService, const std::string& AKey,
                   const std::string& ABody)
{
    auto Headers = std::make_unique<TJSONObject>();
    for (const char* const Name : {"X-Amz-Date", "X-Amz-Content-SHA256", "X-Amz-Target"}) {
        if (const std::string Value = ARequest.Header(Name); Value != "(none)")
            Headers->AddPair(Name, Value);
    }
    TJSONObject Result;
    Result.AddPair("method", ARequest.Method)
        .AddPair("url", ARequest.URL)
        .AddPair("headers", std::move(Headers));
    Result.AddPair("body", ABody).AddPair("service", AService).AddPair("region", "eu-central-1");
    Result.AddPair("id", "AKIDPEER").AddPair("key", AKey);
    return Result.ToJSON() + "\n";
}

TEST(Signatures, AreWhatASecondSignerMakesOfThem)
{
    std::string Requests;
    std::vector<std::string> Expected;
    for (const std::string Service : {"s3", "dynamodb"}) {
        const auto Client = ClientFor(Service, "https://storage.example:8443");
        auto* const Http = new TScriptedClient;
        Client->SetHTTPClient(Http);
        const std::string Text = "{\"a\": \"ü\"}";
        Client->Execute("bucket", httpPOST, Text, Service == "s3" ? "a b/ü" : "", TZnAmazonClient::TParams{});
        Client->Get("bucket", "", TZnAmazonClient::TParams{{"prefix", "a/ b"}, {"B", "~*"}, {"a", ""}});
        for (const TSentRequest& Sent : Http->Sent) {
            Requests += AsJson(*Sent.Request, Service, cSecret, Sent.Body);
            Expected.push_back(Sent.Request->Header("Authorization"));
            Requests += AsJson(*Sent.Request, Service, "wrong", Sent.Body);
            Expected.push_back("another one");
        }
    }
    const TemporaryFolder Folder;
    const TOutcome Outcome = RunProgram({"sh", "-c",
                                         "exec /usr/bin/python3 '" ZN_PEERS "/sign-again.py' < '" +
                                             Folder.Write("requests", Requests) + "'"});
    if (Outcome.Code == 77 || Outcome.Code == 127)
        GTEST_SKIP() << "needs python3-botocore";
    ASSERT_EQ(Outcome.Code, 0) << Outcome.Errors;
    TStringList Lines;
    Lines.SetText(Outcome.Output);
    ASSERT_EQ(static_cast<std::size_t>(Lines.Count()), Expected.size());
    for (int Index = 0; Index < Lines.Count(); ++Index) {
        if (Index % 2 == 0)
            EXPECT_EQ(Lines[Index], Expected[static_cast<std::size_t>(Index)]);
        else
            EXPECT_NE(Lines[Index], Lines[Index - 1]); // the secret matters
    }
}

} // namespace
} // namespace Zn
