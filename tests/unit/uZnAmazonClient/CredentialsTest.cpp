#include "uZnAmazonClient/Credentials.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "tests/support/TemporaryState.h"

namespace
{

/// A home folder and an environment without keys.
class Credentials : public testing::Test
{
protected:
    Credentials()
    {
        for (const char* const Name :
             {"AWS_ACCESS_KEY_ID", "AWS_SECRET_ACCESS_KEY", "AWS_SESSION_TOKEN", "AWS_PROFILE", "AWS_REGION",
              "AWS_DEFAULT_REGION", "AWS_CONFIG_FILE", "AWS_SHARED_CREDENTIALS_FILE"})
            unsetenv(Name);
        setenv("HOME", Home.Path().c_str(), 1);
    }
    static std::string Text(const std::string& AProfile = {})
    {
        const auto Found = ZnLoadAmazonCredentials(AProfile);
        return Found ? Found->AccessKeyID + "|" + Found->AccessKey + "|" + Found->SessionToken + "|" +
                           Found->Region
                     : "(none)";
    }
    const TemporaryState Home;
};

} // namespace

TEST_F(Credentials, ComeFromTheEnvironmentThenFromTheFiles)
{
    EXPECT_EQ(Text(), "(none)");
    Home.Write(".aws/credentials",
               "; old\n[default]\naws_access_key_id = id1\naws_secret_access_key=se/cr=et\n\n"
               "[ work ]\r\naws_access_key_id=id2\r\naws_secret_access_key = s2\r\n"
               "aws_session_token = t2\r\n[half]\naws_access_key_id = x\n");
    Home.Write(".aws/config",
               "[default]\nregion = eu-north-1\n[profile work]\nregion=us-west-2\n[profile half]\n"
               "aws_secret_access_key = y\n");
    EXPECT_EQ(Text(), "id1|se/cr=et||eu-north-1");
    EXPECT_EQ(Text("work"), "id2|s2|t2|us-west-2");
    EXPECT_EQ(Text("half"), "(none)"); // keys of two sources make no pair
    EXPECT_EQ(Text("nobody"), "(none)");
    setenv("AWS_ACCESS_KEY_ID", "id3", 1);
    EXPECT_EQ(Text(), "id1|se/cr=et||eu-north-1"); // half of a pair is none
    setenv("AWS_SECRET_ACCESS_KEY", "s3", 1);
    setenv("AWS_DEFAULT_REGION", "sa-east-1", 1);
    EXPECT_EQ(Text(), "id3|s3||sa-east-1");
    EXPECT_EQ(Text("work"), "id2|s2|t2|sa-east-1");
    unsetenv("AWS_ACCESS_KEY_ID");
    setenv("AWS_PROFILE", "work", 1);
    EXPECT_EQ(Text(), "id2|s2|t2|sa-east-1");
}

TEST_F(Credentials, OddFilesAreToldOrPassedOver)
{
    Home.Write(".aws/credentials",
               std::string("[default\n[]\n=\n[default]\n\0aws_access_key_id\nregion\n", 50));
    EXPECT_EQ(Text(), "(none)");
    Home.Write(".aws/credentials", std::string((1 << 20) + 1, ' '));
    EXPECT_THROW(Text(), Exception);
}
