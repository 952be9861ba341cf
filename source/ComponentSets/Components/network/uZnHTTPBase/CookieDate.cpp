#include "uZnHTTPBase/CookieDate.h"

#include "common/Text.h"

namespace
{

constexpr TZnTextSet cDateSeparators(" -");
constexpr TZnTextSet cColon(":");
constexpr TZnTextSet cBlank(" ");

std::string_view TokenUntil(TZnTextParser& AParser, const TZnTextSet& AStop)
{
    AParser.SetMark(tpMark3);
    AParser.SkipUntilAny(AStop);
    return AParser.Selected(tpMark3, tpCurrent);
}

int NumberUntil(TZnTextParser& AParser, const TZnTextSet& AStop)
{
    const auto Value = ZnParseInt<int>(TokenUntil(AParser, AStop));
    if (!Value)
        throw EConvertError("A number was expected in the date!");
    return *Value;
}

int MonthUntil(TZnTextParser& AParser, const TZnTextSet& AStop)
{
    static constexpr std::string_view cMonths = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
    const std::string Name = UpperCase(TokenUntil(AParser, AStop));
    const std::size_t Found = cMonths.find(Name);
    if (Name.empty() || Found == std::string_view::npos)
        throw EConvertError("The date has no known month!");
    return static_cast<int>(Found + 3) / 3;
}

} // namespace

TDateTime Zn::ReadCookieDate(TZnTextParser& AParser)
{
    try {
        AParser.SkipUntil(cZnComma);
        AParser.NextChar();
        AParser.SkipBlanks();
        const int Day = NumberUntil(AParser, cDateSeparators);
        AParser.NextChar();
        const int Month = MonthUntil(AParser, cDateSeparators);
        AParser.NextChar();
        int Year = NumberUntil(AParser, cDateSeparators);
        if (Year < 100)
            Year += 2000;
        AParser.NextChar();
        const int Hour = NumberUntil(AParser, cColon);
        AParser.NextChar();
        const int Minute = NumberUntil(AParser, cColon);
        AParser.NextChar();
        const int Second = NumberUntil(AParser, cBlank);
        const TDateTime UTC = EncodeDate(Year, Month, Day) + EncodeTime(Hour, Minute, Second, 0);
        AParser.SkipUntil(cZnSemiColon);
        return ZnUTCToLocal(UTC);
    } catch (const Exception&) {
        return 0; // what is no date doesn't expire
    }
}
