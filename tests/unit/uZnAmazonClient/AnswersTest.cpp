#include "uZnAmazonClient/ErrorAnswer.h"

#include <gtest/gtest.h>

#include "uZnAmazonClient/Retry.h"
#include "uZnAmazonClient/XmlText.h"

TEST(AmazonAnswers, ErrorsAreReadFromXmlAndJson)
{
    struct TCase
    {
        std::string Body;
        std::string Code;
        std::string Message;
        bool IsClockWrong;
    };
    const TCase Cases[] = {
        {"<?xml version=\"1.0\"?>\n<Error><Code>NoSuchKey</Code><Message>a &lt;b&gt; &#38; "
         "&#x41;</Message></Error>",
         "NoSuchKey", "a <b> & A", false},
        {"<Error><Code>RequestTimeTooSkewed</Code></Error>", "RequestTimeTooSkewed", "", true},
        {R"({"__type":"com.example.v1#ValidationException","message":"bad"})", "ValidationException", "bad",
         false},
        {R"({"__type":"InvalidSignatureException","Message":"Signature expired: 1 is now earlier than 2"})",
         "InvalidSignatureException", "Signature expired: 1 is now earlier than 2", true},
        {"<html><body>502 Bad Gateway</body></html>", "", "", false},
        {"<Error><Code>", "", "", false},
        {"{\"__type\":", "", "", false},
        {"{\"__type\":[1]}", "[1]", "", false},
        {"", "", "", false},
    };
    for (const TCase& Case : Cases) {
        const TZnAmazonError Error = ZnReadAmazonError(Case.Body);
        EXPECT_EQ(Error.Code, Case.Code) << Case.Body;
        EXPECT_EQ(Error.Message, Case.Message) << Case.Body;
        EXPECT_EQ(Error.IsClockWrong, Case.IsClockWrong) << Case.Body;
    }
}

TEST(AmazonAnswers, ElementsAreFoundByTheirWholeName)
{
    const std::string Xml =
        "<L><KeyCount>2</KeyCount><Key a='1'>x</Key><C><Key/></C><Key >y&apos;</Key><Key>open";
    std::string Found;
    Zn::ForEachXmlElement(Xml, "Key", [&](std::string_view A) { Found += "[" + std::string(A) + "]"; });
    EXPECT_EQ(Found, "[x][][y&apos;]");
    EXPECT_EQ(Zn::XmlUnescaped("&amp;lt; &unknown; &#xD800; &#99999999999; & &;"),
              "&lt; &unknown; \xEF\xBF\xBD &#99999999999; & &;");
}

TEST(AmazonAnswers, PausesGrowToALimitAndVary)
{
    using std::chrono::milliseconds;
    EXPECT_EQ(Zn::LongestPause(milliseconds(100), 0), milliseconds(100));
    EXPECT_EQ(Zn::LongestPause(milliseconds(100), 3), milliseconds(800));
    EXPECT_EQ(Zn::LongestPause(milliseconds(100), 4000000000U), milliseconds(20000));
    EXPECT_EQ(Zn::LongestPause(milliseconds(-5), 9), milliseconds(0));
    EXPECT_EQ(Zn::PauseWithJitter(milliseconds(0)), milliseconds(0));
    for (const std::uint16_t Status : {200, 301, 401, 403, 404, 501})
        EXPECT_FALSE(Zn::IsWorthRetrying(Status, "Throttling")) << Status;
}
