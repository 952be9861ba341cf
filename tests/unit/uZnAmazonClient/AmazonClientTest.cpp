#include "uZnAmazonClient.h"

#include <gtest/gtest.h>

#include "tests/unit/uZnAmazonClient/ScriptedClient.h"

namespace
{

constexpr const char* cEmptyHash = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class TPatientClient : public TZnAmazonClient
{
public:
    using TZnAmazonClient::TZnAmazonClient;
    std::vector<std::chrono::milliseconds> Pauses;

protected:
    void Pause(std::chrono::milliseconds ATime) override { Pauses.push_back(ATime); }
};

/// A component over a scripted client, which it owns.
class AmazonClient : public testing::Test
{
protected:
    AmazonClient()
    {
        Http = new TScriptedClient;
        Client.SetHTTPClient(Http);
        Client.SetRegion("eu-west-1");
    }
    const TSentRequest& Last() const { return Http->Sent.back(); }
    std::string URL() const { return Last().Request->URL; }
    std::string Header(const std::string& AName) const { return Last().Request->Header(AName); }

    TPatientClient Client{nullptr};
    TScriptedClient* Http;
};

} // namespace

TEST_F(AmazonClient, MakesTheAddressesOfServices)
{
    const std::string Domain = ".eu-west-1.amazonaws.com";
    struct TCase
    {
        const char* Service;
        const char* Target;
        const char* Resource;
        TZnAmazonClient::TParams Params;
        std::string URL;
    };
    const TCase Cases[] = {
        {"lambda", "", "", {}, "https://lambda" + Domain + "/"},
        {"lambda", "", "?list=1", {}, "https://lambda" + Domain + "/"},
        {"lambda", "", "?list=1", {{"list", "1"}}, "https://lambda" + Domain + "/?list=1"},
        {"lambda", "Op", "a b/c%20d", {}, "https://lambda" + Domain + "/a%20b/c%2520d"},
        {"lambda", "", "a", {{"x y", "&=ü"}, {"", ""}}, "https://lambda" + Domain + "/a?x+y=%26%3D%C3%BC&="},
        {"s3", "", "", {}, "https://s3" + Domain + "/"},
        {"s3", "b", "k/e y", {}, "https://b.s3" + Domain + "/k/e%20y"},
        {"s3",
         "b",
         "../!#$&'()*+,:;=?@[\\]~",
         {},
         "https://b.s3" + Domain + "/../%21%23%24%26%27%28%29%2A%2B%2C%3A%3B%3D%3F%40%5B%5C%5D~"},
        {"s3", "b.s3.x.amazonaws.com", "", {}, "https://b.s3.x.amazonaws.com/"},
        {"s3", "b.s3.x.amazonaws.com", "/k", {}, "https://b.s3.x.amazonaws.com/k"},
        {"S3", "b", "k", {}, "https://S3" + Domain + "/k"},
        {"", "", "", {}, "https://" + Domain + "/"},
    };
    for (const TCase& Case : Cases) {
        Client.SetService(Case.Service);
        Client.Get(Case.Target, Case.Resource, Case.Params);
        EXPECT_EQ(URL(), Case.URL);
    }
    Client.SetService("s3");
    Client.SetEndpointURL("http://localhost:4568");
    Client.Get("b", "k", TZnAmazonClient::TParams{{"a b", "~*"}});
    EXPECT_EQ(URL(), "http://localhost:4568/b/k?a%20b=~%2A");
    for (const char* const Bad : {"", "localhost", "ftp://localhost", "http://"})
        EXPECT_THROW(Client.SetEndpointURL(Bad), Exception) << Bad;
    const auto Request =
        Client.PrepareRequest(httpGET, "b", nullptr, "", {{"x", "1"}}, "https://else.where/p");
    EXPECT_EQ(Request->GetURL(), "https://else.where/p/?x=1");
}

TEST_F(AmazonClient, KnowsThreeServicesByName)
{
    Client.SetService("Rekognition");
    EXPECT_EQ(Client.GetService() + Client.GetTargetPrefix() + Client.GetContentType(),
              "RekognitionRekognitionServiceapplication/x-amz-json-1.1");
    Client.SetService("other");
    EXPECT_EQ(Client.GetTargetPrefix(), "RekognitionService");
    Client.SetService("dynamodb");
    EXPECT_EQ(Client.Execute("ListTables", httpPOST, "{}"), "");
    EXPECT_EQ(Header("X-Amz-Target"), "DynamoDB_20120810.ListTables");
    EXPECT_EQ(Header("X-Amz-Content-SHA256"), "(none)");
    EXPECT_EQ(Header("pragma") + Header("cache-control"), "no-cacheno-cache, no-store");
    EXPECT_EQ(Last().ContentType, "application/x-amz-json-1.0");
    EXPECT_EQ(Last().Body, "{}");
    EXPECT_NE(Header("Authorization").find("host;x-amz-date;x-amz-target"), std::string::npos);
    Client.Execute("My.Op", httpPOST, "{}");
    EXPECT_EQ(Header("X-Amz-Target"), "My.Op");
    Client.SetTargetPrefix("");
    Client.Execute("Op", httpPUT, "x");
    EXPECT_EQ(Header("X-Amz-Target"), "Op");
    Client.SetService("S3");
    Client.Get("b", "k");
    EXPECT_EQ(Header("X-Amz-Target"), "s3.b");
}

TEST_F(AmazonClient, HashesBodiesForStorageAndSendsThemWhole)
{
    Client.SetService("s3");
    TStringStream Body("body");
    Body.SetPosition(3);
    Client.Execute("b", httpPUT, &Body, "k");
    EXPECT_EQ(Header("X-Amz-Content-SHA256"),
              "230d8358dc8e8890b4c58deeb62912ee2f20357ae92a5cc861b98e68fe31acb5");
    EXPECT_EQ(Header("X-Amz-Target"), "(none)");
    EXPECT_EQ(Last().Body, "body");
    Client.Delete("b", "k", TZnAmazonClient::TParamTexts{"versionId=a=b", "x"});
    EXPECT_EQ(Last().Request->Method + " " + URL(),
              "DELETE https://b.s3.eu-west-1.amazonaws.com/k?versionId=a%3Db&x=");
    EXPECT_EQ(Header("X-Amz-Content-SHA256"), cEmptyHash);
    EXPECT_EQ(Last().ContentType, "");

    Client.SetService("other"); // a body that stands in the middle goes out from its beginning as well
    Body.SetPosition(3);
    Client.Execute(httpPOST, &Body);
    EXPECT_EQ(Last().Body, "body");
    struct TPipe : TStringStream
    {
        std::int64_t Seek(std::int64_t, TSeekOrigin) override { throw EStreamError("no way back"); }
    } Pipe;
    EXPECT_THROW(Client.Execute(httpPOST, &Pipe), EStreamError);
}

TEST_F(AmazonClient, GivesBodiesAsTextAndIntoStreams)
{
    Http->Answers = {{200, "text"}, {200, "data"}, {404, "<Error><Code>NoSuchKey</Code></Error>"}};
    EXPECT_EQ(Client.Get("res"), "text");
    TStringStream Data("held ");
    Data.SetPosition(5);
    EXPECT_EQ(Client.Get("res", Data), 9);
    EXPECT_EQ(Data.DataString(), "held data");
    try {
        Client.Delete("res");
        ADD_FAILURE() << "a 404 passed";
    } catch (const EZnHTTPException& Error) {
        EXPECT_EQ(Error.GetErrorCode(), 404);
        EXPECT_EQ(ZnReadAmazonError(Error.Message()).Code, "NoSuchKey");
    }
}

TEST_F(AmazonClient, RetriesWhatIsWorthItAndSignsAnew)
{
    Http->Answers = {{503, "busy"}};
    EXPECT_THROW(Client.Get("r"), EZnHTTPException); // off unless it is set
    Client.SetMaxRetries(3);
    Client.SetRetryDelay(std::chrono::milliseconds(8));
    Http->Sent.clear();
    TStringStream Body("body");
    Http->Answers = {{503, "busy"}, {400, R"({"__type":"x#ThrottlingException"})"}, {429, ""}, {200, "done"}};
    EXPECT_EQ(Client.Execute(httpPOST, &Body), "done");
    ASSERT_EQ(Http->Sent.size(), 4U);
    for (const TSentRequest& Sent : Http->Sent) {
        EXPECT_EQ(Sent.Body, "body");
        EXPECT_NE(Sent.Request->Header("Authorization"), "(none)");
    }
    ASSERT_EQ(Client.Pauses.size(), 3U);
    for (std::size_t Index = 0; Index < 3; ++Index)
        EXPECT_LE(Client.Pauses[Index].count(), 8 << Index);
    Http->Answers = {{500, ""}, {500, ""}, {500, ""}, {502, "last"}, {200, ""}};
    EXPECT_THROW(Client.Get("r"), EZnHTTPException);
    Http->Answers = {{400, R"({"__type":"x#ValidationException"})"}, {200, ""}};
    EXPECT_THROW(Client.Get("r"), EZnHTTPException);
    EXPECT_EQ(Http->Answers.size(), 1U);
}

TEST(AmazonClientsClient, OneThatIsNoneIsRefused)
{
    TZnAmazonClient Client(nullptr);
    ASSERT_NE(Client.GetHTTPClient(), nullptr); // the default one
    TComponent Other;
    try {
        Client.SetHTTPClient(&Other);
        ADD_FAILURE() << "a component was taken for a client";
    } catch (const Exception& Error) {
        EXPECT_EQ(Error.Message(), "The provided HTTP Client does not support the IZnHTTPClient interface!");
    }
    Client.CheckClient();
    EXPECT_NE(Client.GetHTTPClient(), nullptr);
}

TEST(AmazonClientsClient, IsFreedOrGivenBackByTheRules)
{
    bool FirstGone = false;
    bool SecondGone = false;
    auto* const First = new TScriptedClient(&FirstGone);
    {
        TZnAmazonClient Client(nullptr);
        Client.SetHTTPClient(First);
        EXPECT_TRUE(First->GetOnRequest());
        Client.SetHTTPClient(First);
        EXPECT_FALSE(FirstGone);
        Client.SetHTTPClient(new TScriptedClient(&SecondGone));
        EXPECT_FALSE(FirstGone); // given back
        EXPECT_FALSE(First->GetOnRequest());
    }
    EXPECT_TRUE(SecondGone); // freed with the component
    delete First;
}

TEST(AmazonClientsClient, FreedFromOutsideIsReplacedByADefaultOne)
{
    TZnAmazonClient Client(nullptr);
    auto Http = std::make_unique<TScriptedClient>();
    Client.SetHTTPClient(Http.get());
    Http.reset();
    EXPECT_EQ(Client.GetHTTPClient(), nullptr);
    Client.SetCookieHandling(chManual); // goes to the new one
    ASSERT_NE(Client.GetHTTPClient(), nullptr);
    EXPECT_EQ(dynamic_cast<IZnHTTPClient*>(Client.GetHTTPClient())->GetRedirectPolicy(), rdpNever);
    EXPECT_EQ(Client.GetCookieHandling(), chManual);
    Client.SetHTTPClient(nullptr);
    EXPECT_EQ(Client.GetHTTPClient(), nullptr);
    Client.SetHTTPClient(nullptr);
}
