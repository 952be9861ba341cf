#include "uZnHTTPServer/LogonForm.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"

namespace
{

TEST(LogonForm, FindsUserAndPasswordAmongTheFields)
{
    const struct
    {
        const char* Body;
        const char* UserName;
        const char* Password;
    } Cases[] = {
        {"userName=ada&password=secret", "ada", "secret"},
        {"x=1&PASSWORD=secret&username=ada&y", "ada", "secret"},
        {"userName=a%20b%3a%26&password=%e2%82%ac%3D=", "a b:&", "\xe2\x82\xac=="},
        {"userName=a+b&password=+", "a+b", "+"},
        {"userName=ada", "ada", ""},
        {"userName=ada&userName=eve&password=1&password=2", "ada", "1"},
        {"userName&password", "", ""},
        {"user%4eame=ada", "", ""},
        {"", "", ""},
        {"&&==&=x&", "", ""},
    };
    for (const auto& Case : Cases) {
        const Zn::LogonForm Form = Zn::ReadLogonForm(Case.Body);
        EXPECT_EQ(Form.UserName, Case.UserName) << Case.Body;
        EXPECT_EQ(Form.Password, Case.Password) << Case.Body;
    }
}

TEST(LogonForm, RefusesEscapesThatAreNone)
{
    for (const char* Body : {"userName=%", "password=%4", "password=%zz"})
        EXPECT_THROW(Zn::ReadLogonForm(Body), EConvertError) << Body;
}

TEST(LogonForm, GivesTheBasicField)
{
    EXPECT_EQ(Zn::BasicAuthorization({"ada", "se:cret"}), "Basic YWRhOnNlOmNyZXQ=");
    EXPECT_EQ(Zn::BasicAuthorization({}), "Basic Og==");
}

} // namespace
