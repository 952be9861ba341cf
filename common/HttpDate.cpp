#include <algorithm>
#include <array>
#include <chrono>

#include "common/DateTime.h"
#include "common/Text.h"
#include "common/TextParser.h"

namespace
{

using namespace std::chrono;

constexpr std::array<std::string_view, 7> cDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 7> cLongDays{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                    "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 12> cMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// Takes a date apart from the front. Any mismatch leaves Failed() true; later steps change nothing.
class TDateReader
{
public:
    explicit TDateReader(std::string_view AText) : FText(AText) {}

    bool Failed() const { return FFailed; }
    bool AtEnd() const { return !FFailed && FText.empty(); }

    /// ACount digits. With ABlankFirst the first may be a blank.
    int Number(std::size_t ACount, bool ABlankFirst = false)
    {
        std::string_view Digits = Take(ACount);
        if (ABlankFirst && !Digits.empty() && Digits.front() == ' ')
            Digits.remove_prefix(1);
        const auto Value = ZnParseInt<unsigned>(Digits);
        FFailed = FFailed || !Value;
        return FFailed ? 0 : static_cast<int>(*Value);
    }

    void Literal(std::string_view AText) { FFailed = Take(AText.size()) != AText || FFailed; }

    /// The index of the name that comes next. Names are case-sensitive.
    template <std::size_t N>
    int Name(const std::array<std::string_view, N>& ANames)
    {
        for (std::size_t Index = 0; Index < N && !FFailed; ++Index) {
            if (FText.starts_with(ANames[Index])) {
                FText.remove_prefix(ANames[Index].size());
                return static_cast<int>(Index);
            }
        }
        FFailed = true;
        return 0;
    }

private:
    std::string_view Take(std::size_t ACount)
    {
        FFailed = FFailed || FText.size() < ACount;
        if (FFailed)
            return {};
        const std::string_view Taken = FText.substr(0, ACount);
        FText.remove_prefix(ACount);
        return Taken;
    }

    std::string_view FText;
    bool FFailed = false;
};

struct TFields
{
    int Year = 0;
    int Month = 0; // 0 is January
    int Day = 0;
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
};

void ReadTime(TDateReader& AReader, TFields& AFields)
{
    AFields.Hour = AReader.Number(2);
    AReader.Literal(":");
    AFields.Minute = AReader.Number(2);
    AReader.Literal(":");
    AFields.Second = AReader.Number(2);
}

/// Sun, 06 Nov 1994 08:49:37 GMT
TFields ReadFixDate(TDateReader& AReader)
{
    TFields Fields;
    AReader.Name(cDays);
    AReader.Literal(", ");
    Fields.Day = AReader.Number(2);
    AReader.Literal(" ");
    Fields.Month = AReader.Name(cMonths);
    AReader.Literal(" ");
    Fields.Year = AReader.Number(4);
    AReader.Literal(" ");
    ReadTime(AReader, Fields);
    AReader.Literal(" GMT");
    return Fields;
}

/// Sunday, 06-Nov-94 08:49:37 GMT
TFields ReadRFC850Date(TDateReader& AReader)
{
    TFields Fields;
    AReader.Name(cLongDays);
    AReader.Literal(", ");
    Fields.Day = AReader.Number(2);
    AReader.Literal("-");
    Fields.Month = AReader.Name(cMonths);
    AReader.Literal("-");
    const int YearOfCentury = AReader.Number(2);
    AReader.Literal(" ");
    ReadTime(AReader, Fields);
    AReader.Literal(" GMT");

    const int ThisYear = ZnDecodeDateTime(ZnNowUTC()).Year;
    Fields.Year = ThisYear - ThisYear % 100 + YearOfCentury;
    if (Fields.Year > ThisYear + 50)
        Fields.Year -= 100;
    return Fields;
}

/// Sun Nov  6 08:49:37 1994
TFields ReadAsctimeDate(TDateReader& AReader)
{
    TFields Fields;
    AReader.Name(cDays);
    AReader.Literal(" ");
    Fields.Month = AReader.Name(cMonths);
    AReader.Literal(" ");
    Fields.Day = AReader.Number(2, true);
    AReader.Literal(" ");
    ReadTime(AReader, Fields);
    AReader.Literal(" ");
    Fields.Year = AReader.Number(4);
    return Fields;
}

void PutTwoDigits(char* AOut, unsigned AValue)
{
    AOut[0] = static_cast<char>('0' + AValue / 10);
    AOut[1] = static_cast<char>('0' + AValue % 10);
}

} // namespace

std::string ZnHttpDateFromUnix(std::int64_t ASeconds)
{
    // The format has four digits for the year; a file's date may be anything.
    constexpr std::int64_t cYear0 = -62'167'219'200;
    constexpr std::int64_t cYear10000 = 253'402'300'800;
    const sys_seconds Moment{seconds(std::clamp(ASeconds, cYear0, cYear10000 - 1))};
    const sys_days Day = floor<days>(Moment);
    const year_month_day Date(Day);
    const auto Time = static_cast<unsigned>((Moment - Day).count());
    const auto Year = static_cast<unsigned>(static_cast<int>(Date.year()));

    std::string Text = "Sun, 00 Jan 0000 00:00:00 GMT";
    Text.replace(0, 3, cDays[weekday(Day).c_encoding()]);
    PutTwoDigits(&Text[5], static_cast<unsigned>(Date.day()));
    Text.replace(8, 3, cMonths[static_cast<unsigned>(Date.month()) - 1]);
    PutTwoDigits(&Text[12], Year / 100 % 100);
    PutTwoDigits(&Text[14], Year % 100);
    PutTwoDigits(&Text[17], Time / 3600);
    PutTwoDigits(&Text[20], Time / 60 % 60);
    PutTwoDigits(&Text[23], Time % 60);
    return Text;
}

std::string ZnHttpDate(TDateTime AUTC)
{
    return ZnHttpDateFromUnix(ZnUnixFromUTC(AUTC));
}

std::optional<std::int64_t> ZnParseHttpDateToUnix(std::string_view AText)
{
    // The separator behind the name of the day tells the three forms apart.
    const std::size_t NameEnd = AText.find_first_of(", ");
    TDateReader Reader(AText);
    TFields Fields;
    if (NameEnd == std::string_view::npos)
        return std::nullopt;
    if (AText[NameEnd] == ' ')
        Fields = ReadAsctimeDate(Reader);
    else if (NameEnd == 3)
        Fields = ReadFixDate(Reader);
    else
        Fields = ReadRFC850Date(Reader);
    if (!Reader.AtEnd())
        return std::nullopt;

    const year_month_day Date(year(Fields.Year), month(static_cast<unsigned>(Fields.Month + 1)),
                              day(static_cast<unsigned>(Fields.Day)));
    // 60 is a leap second.
    if (!Date.ok() || Fields.Hour > 23 || Fields.Minute > 59 || Fields.Second > 60)
        return std::nullopt;
    return (sys_days(Date) + hours(Fields.Hour) + minutes(Fields.Minute) + seconds(Fields.Second))
        .time_since_epoch()
        .count();
}

std::optional<TDateTime> ZnParseHttpDate(std::string_view AText)
{
    const auto Seconds = ZnParseHttpDateToUnix(AText);
    if (!Seconds)
        return std::nullopt;
    return ZnUTCFromUnix(*Seconds);
}
