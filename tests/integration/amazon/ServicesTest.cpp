#include <gtest/gtest.h>

#include "common/Json.h"
#include "tests/integration/amazon/Peers.h"
#include "uZnAmazonClient.h"
#include "uZnAmazonClient/XmlText.h"

namespace Zn
{
namespace
{

std::unique_ptr<TZnAmazonClient> ClientFor(const std::string& AService, std::uint16_t APort)
{
    auto Result = std::make_unique<TZnAmazonClient>(nullptr);
    Result->SetService(AService);
    Result->SetRegion("us-east-1");
    Result->SetAccessKeyID("S3RVER");
    Result->SetAccessKey("S3RVER");
    Result->SetEndpointURL("http://127.0.0.1:" + std::to_string(APort));
    return Result;
}

TEST(AmazonServices, StorageKeepsListsAndGivesObjects)
{
    const TemporaryFolder Folder;
    TPeer Peer({"storage.mjs", Folder.Path("data")});
    ZN_PEER_PORT(Port, Peer);
    const auto Client = ClientFor("s3", Port);
    std::string Content(3 << 20, '\0');
    for (std::size_t At = 0; At < Content.size(); ++At)
        Content[At] = static_cast<char>(At * 7 % 251);
    TFileStream File(Folder.Write("body", Content), fmOpenRead);
    File.SetPosition(1000);
    Client->SetContentType("application/octet-stream");
    Client->Execute("bucket", httpPUT, &File, "folder/käse & brot.bin");
    Client->Execute("bucket", httpPUT, std::string("small"), "small");

    TMemoryStream Data;
    EXPECT_EQ(Client->Get("bucket", "folder/käse & brot.bin", Data),
              static_cast<std::int64_t>(Content.size()));
    EXPECT_TRUE(Data.View() == Content);
    std::string Keys;
    const std::string List =
        Client->Get("bucket", "", TZnAmazonClient::TParams{{"list-type", "2"}, {"prefix", "f"}});
    ForEachXmlElement(List, "Key", [&](std::string_view AKey) { Keys += XmlUnescaped(AKey) + "\n"; });
    EXPECT_EQ(Keys, "folder/käse & brot.bin\n");

    Client->Delete("bucket", "small");
    try {
        Client->Get("bucket", "small");
        ADD_FAILURE() << "a deleted object was given";
    } catch (const EZnHTTPException& Error) {
        EXPECT_EQ(Error.GetErrorCode(), 404);
        EXPECT_EQ(ZnReadAmazonError(Error.Message()).Code, "NoSuchKey");
    }
}

TEST(AmazonServices, TablesAreMadeFilledAndAsked)
{
    TPeer Peer({"tables.mjs"});
    ZN_PEER_PORT(Port, Peer);
    const auto Client = ClientFor("dynamodb", Port);
    Client->Execute(
        "CreateTable", httpPOST,
        R"({"TableName":"roads","AttributeDefinitions":[{"AttributeName":"id","AttributeType":"S"}],
                        "KeySchema":[{"AttributeName":"id","KeyType":"HASH"}],
                        "ProvisionedThroughput":{"ReadCapacityUnits":1,"WriteCapacityUnits":1}})");
    Client->SetMaxRetries(5); // the table may take a moment to be there
    Client->Execute("PutItem", httpPOST, R"({"TableName":"roads","Item":{"id":{"S":"ä1"},"km":{"N":"12"}}})");
    const auto Answer = ZnCreateJSONDoc(
        Client->Execute("Query", httpPOST, R"({"TableName":"roads","KeyConditionExpression":"id = :i",
                                               "ExpressionAttributeValues":{":i":{"S":"ä1"}}})"));
    EXPECT_EQ(ZnVarToStr(ZnGetJSONDocValue(Answer, "$.Items[0].km.N")), "12");
    try {
        Client->Execute("PutItem", httpPOST, R"({"TableName":"roads","Item":{}})");
        ADD_FAILURE() << "an item without a key was taken";
    } catch (const EZnHTTPException& Error) {
        EXPECT_EQ(Error.GetErrorCode(), 400);
        EXPECT_EQ(ZnReadAmazonError(Error.Message()).Code, "ValidationException");
    }
}

} // namespace
} // namespace Zn
