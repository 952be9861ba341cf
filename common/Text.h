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

inline constexpr char cZnTab = '\t';
inline constexpr char cZnSpace = ' ';
inline constexpr char cZnQuote = '"';
inline constexpr char cZnComma = ',';
inline constexpr char cZnMinus = '-';
inline constexpr char cZnDot = '.';
inline constexpr char cZnSlash = '/';
inline constexpr char cZnColon = ':';
inline constexpr char cZnSemiColon = ';';
inline constexpr char cZnEquals = '=';
inline constexpr char cZnAmpersand = '&';
inline constexpr char cZnAt = '@';
inline constexpr char cZnPercent = '%';

/// The parts of AText between its separators. Empty parts count; an empty text has no part.
std::vector<std::string> ZnTokenize(std::string_view AText, char ASeparator);

/// The same, appended to AList.
void ZnTokenize(std::string_view AText, TStringList& AList, char ASeparator);

/// AText without white space and control characters (U+0000 to U+0020) at both ends.
std::string_view ZnTrimView(std::string_view AText);
std::string ZnTrim(std::string_view AText);

template <typename T>
T ZnIf(bool ACondition, T ATrue, T AFalse)
{
    return ACondition ? std::move(ATrue) : std::move(AFalse);
}

/// Takes the double quotes off a text that stands between two of them; any other text stays.
std::string ZnStripLiterals(std::string_view AText);

bool SameText(std::string_view ALeft, std::string_view ARight);
bool ContainsText(std::string_view AText, std::string_view ASubText);
bool StartsText(std::string_view ASubText, std::string_view AText);
bool EndsText(std::string_view ASubText, std::string_view AText);
std::string LowerCase(std::string_view AText);
std::string UpperCase(std::string_view AText);

inline constexpr char ZnLowerChar(char AChar)
{
    return AChar >= 'A' && AChar <= 'Z' ? static_cast<char>(AChar + ('a' - 'A')) : AChar;
}
inline constexpr char ZnUpperChar(char AChar)
{
    return AChar >= 'a' && AChar <= 'z' ? static_cast<char>(AChar - ('a' - 'A')) : AChar;
}

/// Orders texts without regard to ASCII case, for containers keyed by header names and the like.
/// <0, 0 or >0.
int CompareText(std::string_view ALeft, std::string_view ARight);
struct TZnTextLess
{
    using is_transparent = void;
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
