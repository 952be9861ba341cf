#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/integration/amazon/Peers.h"

namespace Zn
{
namespace
{

/// `zn` with an account in its environment.
class AmazonCommands : public testing::Test
{
protected:
    AmazonCommands()
    {
        setenv("HOME", Folder.Path("").c_str(), 1);
        setenv("AWS_ACCESS_KEY_ID", "AKIDPEER", 1);
        setenv("AWS_SECRET_ACCESS_KEY", "peer/secret+key", 1);
        setenv("AWS_REGION", "eu-central-1", 1);
    }
    ~AmazonCommands() override
    {
        for (const char* const Name : {"AWS_ACCESS_KEY_ID", "AWS_SECRET_ACCESS_KEY", "AWS_REGION"})
            unsetenv(Name);
    }
    TOutcome Zn(std::vector<std::string> AArguments) const
    {
        AArguments.insert(AArguments.begin(), ZN_PROGRAM);
        if (!Endpoint.empty())
            AArguments.insert(AArguments.end(), {"--endpoint", Endpoint});
        return RunProgram(AArguments);
    }
    TemporaryFolder Folder;
    std::string Endpoint;
};

TEST_F(AmazonCommands, MoveFilesToStorageAndBack)
{
    TPeer Peer({"storage.mjs", Folder.Path("data")});
    ZN_PEER_PORT(Port, Peer);
    setenv("AWS_ACCESS_KEY_ID", "S3RVER", 1); // the account that it has
    setenv("AWS_SECRET_ACCESS_KEY", "S3RVER", 1);
    Endpoint = "http://127.0.0.1:" + std::to_string(Port);
    const std::string File = Folder.Write("road map.txt", "a road\n");
    EXPECT_EQ(Zn({"s3", "put", File, "bucket/maps/"}).Errors, "");
    EXPECT_EQ(Zn({"s3", "get", "bucket/maps/road map.txt", "-"}).Output, "a road\n");
    EXPECT_EQ(Zn({"s3", "get", "bucket/maps/road map.txt", Folder.Path("copy")}).Code, 0);
    EXPECT_EQ(Folder.Read("copy"), "a road\n");
    EXPECT_NE(Zn({"s3", "ls"}).Output.find("bucket\n"), std::string::npos);
    EXPECT_EQ(Zn({"s3", "ls", "bucket", "--json"}).Output, "[{\"name\":\"maps/\"}]\n");
    EXPECT_NE(Zn({"s3", "ls", "bucket/maps", "--recursive"}).Output.find("  7     maps/road map.txt"),
              std::string::npos);
    const std::string URL = Zn({"s3", "presign", "bucket/maps/road map.txt", "--expires", "60"}).Output;
    EXPECT_TRUE(URL.starts_with(Endpoint + "/bucket/maps/road%20map.txt?X-Amz-Algorithm=")) << URL;
    EXPECT_EQ(Zn({"s3", "rm", "bucket/maps/road map.txt"}).Code, 0);
    const TOutcome Gone = Zn({"s3", "get", "bucket/maps/road map.txt", Folder.Path("gone")});
    EXPECT_EQ(Gone.Code, 1);
    EXPECT_NE(Gone.Errors.find("NoSuchKey"), std::string::npos) << Gone.Errors;
    EXPECT_FALSE(std::filesystem::exists(Folder.Path("gone")));
    EXPECT_FALSE(std::filesystem::exists(Folder.Path("gone.part")));
    for (const char* const Bad : {"bucket", "bucket/", "/key", ""})
        EXPECT_EQ(Zn({"s3", "rm", Bad}).Code, 2) << Bad;
}

TEST_F(AmazonCommands, TellWhatTheServiceRefuses)
{
    const TemporaryFolder Keys;
    {
        TPeer Peer({"signature-check.mjs"}, "CLOCK_OFFSET=3600");
        ZN_PEER_PORT(Port, Peer);
        Endpoint = "http://127.0.0.1:" + std::to_string(Port);
        const TOutcome Late = Zn({"aws", "dynamodb", "ListTables"});
        EXPECT_EQ(Late.Code, 1);
        EXPECT_NE(Late.Errors.find("set the clock"), std::string::npos) << Late.Errors;
    }
    TPeer Peer({"signature-check.mjs"});
    ZN_PEER_PORT(Port, Peer);
    Endpoint = "http://127.0.0.1:" + std::to_string(Port);
    EXPECT_EQ(Zn({"aws", "dynamodb", "ListTables", "@" + Keys.Write("body", "{}")}).Output, "signed\n");
    EXPECT_EQ(Zn({"aws", "dynamodb", "ListTables", "@" + Keys.Path("none")}).Code, 1);
    setenv("AWS_SECRET_ACCESS_KEY", "wrong/secret", 1);
    const TOutcome Refused = Zn({"aws", "dynamodb", "ListTables", "{}"});
    EXPECT_EQ(Refused.Code, 1);
    EXPECT_NE(Refused.Errors.find("403: SignatureDoesNotMatch"), std::string::npos) << Refused.Errors;
    EXPECT_EQ(Refused.Errors.find("wrong/secret"), std::string::npos);
}

TEST_F(AmazonCommands, WantAKeyAndARegion)
{
    unsetenv("AWS_REGION");
    EXPECT_EQ(Zn({"s3", "ls"}).Code, 2);
    EXPECT_NE(Zn({"s3", "ls", "--region", "x", "--profile", "nobody"}).Errors.find("nobody"),
              std::string::npos);
    unsetenv("AWS_SECRET_ACCESS_KEY");
    const TOutcome NoKey = Zn({"s3", "ls"});
    EXPECT_EQ(NoKey.Code, 1);
    EXPECT_NE(NoKey.Errors.find("AWS_ACCESS_KEY_ID"), std::string::npos) << NoKey.Errors;
}

} // namespace
} // namespace Zn
