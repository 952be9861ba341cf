#pragma once

/// Dates and times as one number, and the date format of HTTP.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Days since 30 December 1899, 0:00; the fraction is the time of day. Local time unless a name
/// says UTC. Exact to the millisecond for the years 1 to 9999 (proleptic Gregorian calendar).
using TDateTime = double;

struct TZnDateParts
{
    int Year;
    int Month; // 1 to 12
    int Day;   // 1 to 31
    int Hour;  // 0 to 23
    int Minute;
    int Second;
    int MilliSecond;
    int DayOfWeek; // 0 is Sunday

    bool operator==(const TZnDateParts&) const = default;
};

TDateTime Now(); ///< Local time.
TDateTime ZnNowUTC();

/// Raise EConvertError for a day that isn't in the calendar or a time that isn't on the clock.
TDateTime EncodeDate(int AYear, int AMonth, int ADay);
TDateTime EncodeTime(int AHour, int AMinute, int ASecond, int AMilliSecond);

TZnDateParts ZnDecodeDateTime(TDateTime AValue);

/// By the time zone of the system (TZ) with its daylight saving of that date. A local time that
/// comes twice is taken as the first; one that is left out, as if the clock hadn't been advanced yet.
TDateTime ZnLocalToUTC(TDateTime ALocal);
TDateTime ZnUTCToLocal(TDateTime AUTC);

/// Seconds since 1970, UTC.
TDateTime ZnUTCFromUnix(std::int64_t ASeconds);
std::int64_t ZnUnixFromUTC(TDateTime AUTC);

/// "Sun, 06 Nov 1994 08:49:37 GMT" (RFC 9110, 5.6.7).
std::string ZnHttpDate(TDateTime AUTC);
std::string ZnHttpDateFromUnix(std::int64_t ASeconds);

/// Reads the three forms that HTTP has had; nothing for anything else. A two-digit year that
/// would be more than 50 years ahead belongs to the century before.
std::optional<TDateTime> ZnParseHttpDate(std::string_view AText);
std::optional<std::int64_t> ZnParseHttpDateToUnix(std::string_view AText);
