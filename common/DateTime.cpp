#include "common/DateTime.h"

#include <chrono>
#include <cmath>
#include <ctime>

#include "common/Exceptions.h"

namespace
{

constexpr std::int64_t cMilliSecondsPerDay = 86'400'000;
constexpr std::int64_t cUnixEpoch = 25569; // 1 January 1970 in days since 30 December 1899

std::int64_t MilliSecondsOf(TDateTime AValue)
{
    return std::llround(AValue * static_cast<double>(cMilliSecondsPerDay));
}

TDateTime FromMilliSeconds(std::int64_t AValue)
{
    return static_cast<double>(AValue) / static_cast<double>(cMilliSecondsPerDay);
}

std::int64_t FloorDiv(std::int64_t AValue, std::int64_t ADivisor)
{
    return AValue / ADivisor - (AValue % ADivisor < 0);
}

/// Seconds from local time to UTC at a moment of UTC.
std::int64_t ZoneOffsetAt(std::int64_t AUnixSeconds)
{
    const auto Moment = static_cast<std::time_t>(AUnixSeconds);
    std::tm Local{};
    if (!localtime_r(&Moment, &Local))
        return 0;
    return Local.tm_gmtoff;
}

} // namespace

TDateTime ZnNowUTC()
{
    using namespace std::chrono;
    const auto SinceEpoch = system_clock::now().time_since_epoch();
    return FromMilliSeconds(duration_cast<milliseconds>(SinceEpoch).count() +
                            cUnixEpoch * cMilliSecondsPerDay);
}

TDateTime Now()
{
    return ZnUTCToLocal(ZnNowUTC());
}

TDateTime EncodeDate(int AYear, int AMonth, int ADay)
{
    using namespace std::chrono;
    const year_month_day Date(year(AYear), month(static_cast<unsigned>(AMonth)),
                              day(static_cast<unsigned>(ADay)));
    if (AYear < 1 || AYear > 9999 || AMonth < 1 || AMonth > 12 || ADay < 1 || ADay > 31 || !Date.ok())
        throw EConvertError(ZnFormat("%d-%d-%d is no date!", AYear, AMonth, ADay));
    return static_cast<double>(sys_days(Date).time_since_epoch().count() + cUnixEpoch);
}

TDateTime EncodeTime(int AHour, int AMinute, int ASecond, int AMilliSecond)
{
    if (AHour < 0 || AHour > 23 || AMinute < 0 || AMinute > 59 || ASecond < 0 || ASecond > 59 ||
        AMilliSecond < 0 || AMilliSecond > 999)
        throw EConvertError(ZnFormat("%d:%d:%d.%d is no time!", AHour, AMinute, ASecond, AMilliSecond));
    return FromMilliSeconds(((AHour * 60 + AMinute) * 60 + ASecond) * std::int64_t{1000} + AMilliSecond);
}

TZnDateParts ZnDecodeDateTime(TDateTime AValue)
{
    using namespace std::chrono;
    const std::int64_t Total = MilliSecondsOf(AValue);
    const std::int64_t Day = FloorDiv(Total, cMilliSecondsPerDay);
    const auto Time = static_cast<int>(Total - Day * cMilliSecondsPerDay);
    const sys_days Date{days(Day - cUnixEpoch)};
    const year_month_day Parts(Date);
    return {static_cast<int>(Parts.year()),
            static_cast<int>(static_cast<unsigned>(Parts.month())),
            static_cast<int>(static_cast<unsigned>(Parts.day())),
            Time / 3'600'000,
            Time / 60'000 % 60,
            Time / 1000 % 60,
            Time % 1000,
            static_cast<int>(weekday(Date).c_encoding())};
}

TDateTime ZnUTCFromUnix(std::int64_t ASeconds)
{
    return static_cast<double>(cUnixEpoch) + static_cast<double>(ASeconds) / 86400.0;
}

std::int64_t ZnUnixFromUTC(TDateTime AUTC)
{
    return FloorDiv(MilliSecondsOf(AUTC) - cUnixEpoch * cMilliSecondsPerDay, 1000);
}

TDateTime ZnUTCToLocal(TDateTime AUTC)
{
    return FromMilliSeconds(MilliSecondsOf(AUTC) + ZoneOffsetAt(ZnUnixFromUTC(AUTC)) * 1000);
}

TDateTime ZnLocalToUTC(TDateTime ALocal)
{
    // The zone tells local time from UTC only. The offset a day before and a day after bracket a
    // change of the clock; the one that leads back to ALocal is right, the earlier one first.
    const std::int64_t Seconds = ZnUnixFromUTC(ALocal);
    const std::int64_t Before = ZoneOffsetAt(Seconds - 86400);
    const std::int64_t After = ZoneOffsetAt(Seconds + 86400);
    std::int64_t Offset = Before;
    if (ZoneOffsetAt(Seconds - Before) != Before && ZoneOffsetAt(Seconds - After) == After)
        Offset = After;
    return FromMilliSeconds(MilliSecondsOf(ALocal) - Offset * 1000);
}
