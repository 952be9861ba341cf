#include "common/DateTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "common/Exceptions.h"

namespace
{

/// Sets the time zone for a scope.
class TScopedZone
{
public:
    explicit TScopedZone(const char* AName)
    {
        if (const char* Present = std::getenv("TZ"))
            FBefore = Present;
        Set(AName);
    }
    ~TScopedZone() { Set(FBefore.c_str()); }

private:
    static void Set(const char* AName)
    {
        if (*AName)
            setenv("TZ", AName, 1);
        else
            unsetenv("TZ");
        tzset();
    }
    std::string FBefore;
};

TEST(DateTime, CountsDaysFromItsEpoch)
{
    EXPECT_EQ(EncodeDate(1899, 12, 30), 0.0);
    EXPECT_EQ(EncodeDate(1970, 1, 1), 25569.0);
    EXPECT_EQ(EncodeDate(2000, 2, 29), 36585.0);
    EXPECT_EQ(EncodeDate(1899, 12, 29), -1.0);
    EXPECT_EQ(EncodeTime(18, 0, 0, 0), 0.75);
    EXPECT_EQ(ZnUTCFromUnix(951782400), 36585.0);
    EXPECT_EQ(ZnUnixFromUTC(36585.0), 951782400);
}

TEST(DateTime, RefusesWhatTheCalendarAndTheClockLack)
{
    EXPECT_THROW(EncodeDate(2021, 2, 29), EConvertError);
    EXPECT_THROW(EncodeDate(1900, 2, 29), EConvertError);
    EXPECT_THROW(EncodeDate(2021, 13, 1), EConvertError);
    EXPECT_THROW(EncodeDate(2021, 0, 1), EConvertError);
    EXPECT_THROW(EncodeDate(2021, 257, 1), EConvertError) << "no cut to eight bits";
    EXPECT_THROW(EncodeDate(0, 1, 1), EConvertError);
    EXPECT_THROW(EncodeTime(24, 0, 0, 0), EConvertError);
    EXPECT_THROW(EncodeTime(0, 0, 60, 0), EConvertError);
    EXPECT_THROW(EncodeTime(0, -1, 0, 0), EConvertError);
}

TEST(DateTime, DecodesToTheMillisecond)
{
    for (const int Year : {1, 1899, 1969, 2024, 9999}) {
        const TDateTime Value = EncodeDate(Year, 12, 31) + EncodeTime(23, 59, 59, 999);
        const TZnDateParts Parts = ZnDecodeDateTime(Value);
        EXPECT_EQ(Parts, (TZnDateParts{Year, 12, 31, 23, 59, 59, 999, Parts.DayOfWeek})) << Year;
    }
    EXPECT_EQ(ZnDecodeDateTime(EncodeDate(1994, 11, 6)).DayOfWeek, 0);
}

TEST(DateTime, ConvertsByTheZone)
{
    const TScopedZone Zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const auto At = [](int AMonth, int ADay, int AHour, int AMinute = 0) {
        return EncodeDate(2021, AMonth, ADay) + EncodeTime(AHour, AMinute, 0, 0);
    };
    EXPECT_EQ(ZnUTCToLocal(At(1, 1, 12)), At(1, 1, 13));
    EXPECT_EQ(ZnUTCToLocal(At(7, 1, 12)), At(7, 1, 14));
    EXPECT_EQ(ZnLocalToUTC(At(1, 1, 0)), EncodeDate(2020, 12, 31) + EncodeTime(23, 0, 0, 0));
    EXPECT_EQ(ZnLocalToUTC(At(7, 1, 14)), At(7, 1, 12));
    // The clock goes from 2:00 to 3:00 on 28 March and from 3:00 to 2:00 on 31 October.
    EXPECT_EQ(ZnLocalToUTC(At(3, 28, 1, 59)), At(3, 28, 0, 59));
    EXPECT_EQ(ZnLocalToUTC(At(3, 28, 2, 30)), At(3, 28, 1, 30)) << "left out";
    EXPECT_EQ(ZnLocalToUTC(At(3, 28, 3, 0)), At(3, 28, 1));
    EXPECT_EQ(ZnLocalToUTC(At(10, 31, 2, 30)), At(10, 31, 0, 30)) << "comes twice";
    EXPECT_EQ(ZnLocalToUTC(At(10, 31, 3, 0)), At(10, 31, 2));
}

TEST(HttpDate, WritesTheFixedForm)
{
    EXPECT_EQ(ZnHttpDateFromUnix(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(ZnHttpDate(EncodeDate(2024, 2, 29) + EncodeTime(23, 59, 59, 600)),
              "Thu, 29 Feb 2024 23:59:59 GMT");
    EXPECT_EQ(ZnHttpDateFromUnix(-1), "Wed, 31 Dec 1969 23:59:59 GMT");
    EXPECT_EQ(ZnHttpDateFromUnix(INT64_MAX), "Fri, 31 Dec 9999 23:59:59 GMT");
}

TEST(HttpDate, ReadsTheThreeForms)
{
    for (const char* Text : {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT",
                             "Sun Nov  6 08:49:37 1994", "Sun Nov 06 08:49:37 1994"})
        EXPECT_EQ(ZnParseHttpDateToUnix(Text), 784111777) << Text;
    EXPECT_EQ(ZnParseHttpDate("Sat, 30 Dec 1899 00:00:00 GMT"), 0.0);
    EXPECT_EQ(ZnParseHttpDateToUnix("Sat, 31 Dec 2016 23:59:60 GMT"), 1483228800) << "leap second";
    // A two-digit year lies between 49 years back and 50 years ahead.
    const int Year = ZnDecodeDateTime(ZnNowUTC()).Year;
    for (const int Offset : {-49, 0, 50}) {
        const std::string Text = ZnFormat("Monday, 01-Jun-%02d 00:00:00 GMT", (Year + Offset) % 100);
        EXPECT_EQ(ZnParseHttpDate(Text), EncodeDate(Year + Offset, 6, 1)) << Text;
    }
}

TEST(HttpDate, RefusesEverythingElse)
{
    for (const char* Text :
         {"", "Sun", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 UTC",
          "Sun, 6 Nov 1994 08:49:37 GMT", "sun, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 GMT ",
          " Sun, 06 Nov 1994 08:49:37 GMT", "Sun, 31 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 24:49:37 GMT",
          "Sun, 06 Nov 1994 08:60:37 GMT", "Sun, 06 Nov 1994 08:49:61 GMT", "Sun, 06 Nov 94 08:49:37 GMT",
          "Sun, 06 Nov 19 4 08:49:37 GMT", "Sun, -6 Nov 1994 08:49:37 GMT", "Sun, 06-Nov-94 08:49:37 GMT",
          "Sun Nov  6 08:49:37 1994 ", "784111777"})
        EXPECT_FALSE(ZnParseHttpDateToUnix(Text)) << Text;
}

} // namespace
