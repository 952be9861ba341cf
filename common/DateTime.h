#pragma once

/// Dates and times as one number, and the date format of HTTP.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Api.h"

/// Days since 30 December 1899, 0:00; the fraction is the time of day. Local time unless a name
/// says UTC. Exact to the millisecond for the years 1 to 9999 (proleptic Gregorian calendar).
using TDateTime = double;

/// A moment by the calendar (Gregorian) and the clock.
struct TZnDateParts
{
    /// 1 to 9999.
    int Year;
    int Month; // 1 to 12
    int Day;   // 1 to 31
    int Hour;  // 0 to 23
    /// 0 to 59.
    int Minute;
    /// 0 to 59.
    int Second;
    /// 0 to 999.
    int MilliSecond;
    int DayOfWeek; // 0 is Sunday

    bool operator==(const TZnDateParts&) const = default;
};

ZN_API TDateTime Now(); ///< Local time.
/// The present moment in UTC, to the millisecond.
ZN_API TDateTime ZnNowUTC();

/// Raise EConvertError for a day that isn't in the calendar or a time that isn't on the clock.
ZN_API TDateTime EncodeDate(int AYear, int AMonth, int ADay);
/// A time of day as a fraction of a day. Raises EConvertError for one that isn't there, such as 24:00:00.
ZN_API TDateTime EncodeTime(int AHour, int AMinute, int ASecond, int AMilliSecond);

/// Takes a moment apart, rounded to the millisecond.
ZN_API TZnDateParts ZnDecodeDateTime(TDateTime AValue);

/// By the time zone of the system (TZ) with its daylight saving of that date. A local time that
/// comes twice is taken as the first; one that is left out, as if the clock hadn't been advanced yet.
ZN_API TDateTime ZnLocalToUTC(TDateTime ALocal);
/// The same moment by the local clock, with the rules for summer time that held then.
ZN_API TDateTime ZnUTCToLocal(TDateTime AUTC);

/// Seconds since 1970, UTC.
ZN_API TDateTime ZnUTCFromUnix(std::int64_t ASeconds);
/// Seconds since 1970-01-01 00:00:00 UTC, rounded down.
ZN_API std::int64_t ZnUnixFromUTC(TDateTime AUTC);

/// "Sun, 06 Nov 1994 08:49:37 GMT" (RFC 9110, 5.6.7).
ZN_API std::string ZnHttpDate(TDateTime AUTC);
/// "Sun, 06 Nov 1994 08:49:37 GMT" (RFC 9110, 5.6.7) for seconds since 1970.
ZN_API std::string ZnHttpDateFromUnix(std::int64_t ASeconds);

/// Reads the three forms that HTTP has had; nothing for anything else. A two-digit year that
/// would be more than 50 years ahead belongs to the century before.
ZN_API std::optional<TDateTime> ZnParseHttpDate(std::string_view AText);
/// The reverse, for all three forms of RFC 9110, 5.6.7; empty for a text that is none of them.
ZN_API std::optional<std::int64_t> ZnParseHttpDateToUnix(std::string_view AText);
