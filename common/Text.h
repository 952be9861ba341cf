#pragma once

/// Small text helpers. Case is ASCII case: what protocols compare is ASCII, and the result must
/// not depend on the locale.

#include <charconv>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class TStringList;

/// Horizontal tab.
inline constexpr char cZnTab = '\t';
/// Blank.
inline constexpr char cZnSpace = ' ';
/// Double quote.
inline constexpr char cZnQuote = '"';
/// Comma.
inline constexpr char cZnComma = ',';
/// Hyphen or minus.
inline constexpr char cZnMinus = '-';
/// Full stop.
inline constexpr char cZnDot = '.';
/// Slash.
inline constexpr char cZnSlash = '/';
/// Colon.
inline constexpr char cZnColon = ':';
/// Semicolon.
inline constexpr char cZnSemiColon = ';';
/// Equals sign.
inline constexpr char cZnEquals = '=';
/// Ampersand.
inline constexpr char cZnAmpersand = '&';
/// At sign.
inline constexpr char cZnAt = '@';
/// Percent sign.
inline constexpr char cZnPercent = '%';

/// The parts of AText between its separators. Empty parts count; an empty text has no part.
std::vector<std::string> ZnTokenize(std::string_view AText, char ASeparator);

/// The same, appended to AList.
void ZnTokenize(std::string_view AText, TStringList& AList, char ASeparator);

/// AText without white space and control characters (U+0000 to U+0020) at both ends.
std::string_view ZnTrimView(std::string_view AText);
/// Without blanks and control characters at both ends.
std::string ZnTrim(std::string_view AText);

/// One of two values; both are made before the choice.
template <typename T>
T ZnIf(bool ACondition, T ATrue, T AFalse)
{
    return ACondition ? std::move(ATrue) : std::move(AFalse);
}

/// Takes the double quotes off a text that stands between two of them; any other text stays.
std::string ZnStripLiterals(std::string_view AText);

/// Equal, with ASCII letters of either case the same.
bool SameText(std::string_view ALeft, std::string_view ARight);
/// ASubText stands somewhere in AText, in any case of ASCII letters. An empty one does.
bool ContainsText(std::string_view AText, std::string_view ASubText);
/// AText begins with ASubText, in any case of ASCII letters.
bool StartsText(std::string_view ASubText, std::string_view AText);
/// AText ends with ASubText, in any case of ASCII letters.
bool EndsText(std::string_view ASubText, std::string_view AText);
/// ASCII letters made small; everything else stays.
std::string LowerCase(std::string_view AText);
/// ASCII letters made large; everything else stays.
std::string UpperCase(std::string_view AText);

/// An ASCII letter made small.
inline constexpr char ZnLowerChar(char AChar)
{
    return AChar >= 'A' && AChar <= 'Z' ? static_cast<char>(AChar + ('a' - 'A')) : AChar;
}
/// An ASCII letter made large.
inline constexpr char ZnUpperChar(char AChar)
{
    return AChar >= 'a' && AChar <= 'z' ? static_cast<char>(AChar - ('a' - 'A')) : AChar;
}

/// Orders texts without regard to ASCII case, for containers keyed by header names and the like.
/// <0, 0 or >0.
int CompareText(std::string_view ALeft, std::string_view ARight);
/// An order for maps whose keys are names in any case of ASCII letters.
struct TZnTextLess
{
    /// Maps look texts up without making a string of them.
    using is_transparent = void;
    /// ALeft stands in front of ARight.
    bool operator()(std::string_view ALeft, std::string_view ARight) const
    {
        return CompareText(ALeft, ARight) < 0;
    }
};

/// The one reader of numbers that come from outside: decimal digits and nothing else (a "-" first
/// for signed T). Nothing for an empty text, a blank, a "+", trailing bytes or a value out of T's range.
template <std::integral T>
std::optional<T> ZnParseInt(std::string_view AText, int ABase = 10)
{
    T Value{};
    const char* const End = AText.data() + AText.size();
    const auto [Stop, Error] = std::from_chars(AText.data(), End, Value, ABase);
    if (Error != std::errc() || Stop != End) {
        return std::nullopt;
    }
    return Value;
}

/// 32 bits, ADefault where ZnParseInt gives nothing.
inline int StrToIntDef(std::string_view AText, int ADefault)
{
    return ZnParseInt<int>(AText).value_or(ADefault);
}

/// 64 bits, ADefault where ZnParseInt gives nothing.
inline std::int64_t StrToInt64Def(std::string_view AText, std::int64_t ADefault)
{
    return ZnParseInt<std::int64_t>(AText).value_or(ADefault);
}

/// A decimal number such as "0.5" or "1e3", with "." in every locale; blanks around it are passed
/// over. Raises EConvertError for anything else, "nan" and values beyond a double included.
double ZnStrToFloat(std::string_view AText);
