#include "uZnHTTPBase/Cookies.h"

#include <gtest/gtest.h>

namespace
{

/// name|value|path|domain|Secure HttpOnly
std::string Fields(const char* AText)
{
    const TZnHTTPCookie Cookie(TZnURLData(), AText);
    return Cookie.GetName() + "|" + Cookie.GetValue() + "|" + Cookie.GetPath() + "|" + Cookie.GetDomain() +
           "|" + (Cookie.GetSecure() ? "S" : "") + (Cookie.GetHttpOnly() ? "H" : "");
}

TDateTime Expiry(const char* ADate)
{
    return TZnHTTPCookie(TZnURLData(), std::string("a=1; Expires=") + ADate).GetExpires();
}

TDateTime LocalTime(int AYear, int AMonth, int ADay, int AHour, int AMinute, int ASecond)
{
    return ZnUTCToLocal(EncodeDate(AYear, AMonth, ADay) + EncodeTime(AHour, AMinute, ASecond, 0));
}

TEST(HTTPCookie, ReadsNameValueAndAttributes)
{
    const std::pair<const char*, const char*> Rows[] = {
        {"a=1", "a|1|||"},
        {"a=b=c", "a|b=c|||"},
        {"  a = 1 ", "a|1|||"},
        {"a=1; Path=/x; Domain=d; Secure; HttpOnly", "a|1|/x|d|SH"},
        {"a=1;PATH=/x;secure;HTTPONLY", "a|1|/x||SH"},
        {"a=1; Max-Age=60; SameSite=Strict; Path=/", "a|1|/||"},
        {"a=1; b=2", "a|1|||"},
        {"Path=/x; a=1", "a|1|/x||"},
        {"Secure; a=1", "a|1|||S"},
        {"a=\"x; y\"", "a|\"x|||"},
        {"a=1; Secure=1", "a|1|||"},
        {"a", "||||"},
        {"", "||||"},
        {";;;=;", "||||"},
        {"=x", "|x|||"},
        {"a=", "a||||"},
        {"\xC3\xA4=\xFF", "\xC3\xA4|\xFF|||"},
        {"a=1; Expires=nonsense; Path=/x", "a|1|||"}, // no comma: all is passed over
        {"a=1; Expires=x, y; Path=/x", "a|1|/x||"},
        {"a=1; Expires=Wed, 09 Jun 2021 10:18:14 GMT; Path=/x", "a|1|/x||"},
    };
    for (const auto& [Text, Expected] : Rows)
        EXPECT_EQ(Fields(Text), Expected) << Text;
}

TEST(HTTPCookie, ReadsItsDate)
{
    const TDateTime Moment = LocalTime(2021, 6, 9, 10, 18, 14);
    for (const char* Text :
         {"Wed, 09 Jun 2021 10:18:14 GMT", "Wed, 09-Jun-2021 10:18:14 GMT", "Wed,9-JUN-21 10:18:14 GMT",
          "x,   09 jun 2021 10:18:14 EST", ", 9 un 21 10:18:14 UTC"})
        EXPECT_EQ(Expiry(Text), Moment) << Text;
    EXPECT_EQ(Expiry("Sat, 01 Jan 1999 00:00:00 GMT"), LocalTime(1999, 1, 1, 0, 0, 0));
}

TEST(HTTPCookie, TakesABadDateForNoExpiry)
{
    for (const char* Text :
         {"", "Wed 09 Jun 2021 10:18:14 GMT", "Wed, x Jun 2021 10:18:14 GMT", "Wed, 09 Foo 2021 10:18:14 GMT",
          "Wed, 09  2021 10:18:14 GMT", "Wed, 31 Jun 2021 10:18:14 GMT", "Wed, 09 Jun 2021 24:00:00 GMT",
          "Wed, 09 Jun 2021 10:18 GMT", "Wed, 09 Jun 2021 10:18:14", "Wed, 09 Jun 2021",
          "Wed, 09 Jun 99999999999 10:18:14 GMT"})
        EXPECT_EQ(Expiry(Text), 0.0) << Text;
}

} // namespace
