#include "common/Text.h"

#include <algorithm>
#include <cmath>

#include "common/Exceptions.h"
#include "common/StringList.h"

namespace
{

bool SameChar(char ALeft, char ARight)
{
    return ZnLowerChar(ALeft) == ZnLowerChar(ARight);
}

/// Calls AUse for each part between two separators.
template <typename F>
void ForEachPart(std::string_view AText, char ASeparator, F AUse)
{
    if (AText.empty())
        return;
    for (;;) {
        const std::size_t End = AText.find(ASeparator);
        AUse(AText.substr(0, End));
        if (End == std::string_view::npos)
            return;
        AText.remove_prefix(End + 1);
    }
}

} // namespace

std::vector<std::string> ZnTokenize(std::string_view AText, char ASeparator)
{
    std::vector<std::string> Parts;
    ForEachPart(AText, ASeparator, [&Parts](std::string_view APart) { Parts.emplace_back(APart); });
    return Parts;
}

void ZnTokenize(std::string_view AText, TStringList& AList, char ASeparator)
{
    ForEachPart(AText, ASeparator, [&AList](std::string_view APart) { AList.Add(std::string(APart)); });
}

std::string_view ZnTrimView(std::string_view AText)
{
    const auto IsBlank = [](char AChar) { return static_cast<unsigned char>(AChar) <= ' '; };
    while (!AText.empty() && IsBlank(AText.front()))
        AText.remove_prefix(1);
    while (!AText.empty() && IsBlank(AText.back()))
        AText.remove_suffix(1);
    return AText;
}

std::string ZnTrim(std::string_view AText)
{
    return std::string(ZnTrimView(AText));
}

std::string ZnStripLiterals(std::string_view AText)
{
    if (AText.size() >= 2 && AText.front() == cZnQuote && AText.back() == cZnQuote)
        AText = AText.substr(1, AText.size() - 2);
    return std::string(AText);
}

bool SameText(std::string_view ALeft, std::string_view ARight)
{
    return std::equal(ALeft.begin(), ALeft.end(), ARight.begin(), ARight.end(), SameChar);
}

bool ContainsText(std::string_view AText, std::string_view ASubText)
{
    return std::search(AText.begin(), AText.end(), ASubText.begin(), ASubText.end(), SameChar) !=
               AText.end() ||
           ASubText.empty();
}

bool StartsText(std::string_view ASubText, std::string_view AText)
{
    return AText.size() >= ASubText.size() && SameText(AText.substr(0, ASubText.size()), ASubText);
}

bool EndsText(std::string_view ASubText, std::string_view AText)
{
    return AText.size() >= ASubText.size() &&
           SameText(AText.substr(AText.size() - ASubText.size()), ASubText);
}

std::string LowerCase(std::string_view AText)
{
    std::string Result(AText);
    std::transform(Result.begin(), Result.end(), Result.begin(), ZnLowerChar);
    return Result;
}

std::string UpperCase(std::string_view AText)
{
    std::string Result(AText);
    std::transform(Result.begin(), Result.end(), Result.begin(), ZnUpperChar);
    return Result;
}

int CompareText(std::string_view ALeft, std::string_view ARight)
{
    const std::size_t Count = std::min(ALeft.size(), ARight.size());
    for (std::size_t Index = 0; Index < Count; ++Index) {
        const int Left = static_cast<unsigned char>(ZnLowerChar(ALeft[Index]));
        const int Right = static_cast<unsigned char>(ZnLowerChar(ARight[Index]));
        if (Left != Right)
            return Left - Right;
    }
    return ALeft.size() < ARight.size() ? -1 : ALeft.size() > ARight.size();
}

double ZnStrToFloat(std::string_view AText)
{
    const std::string_view Number = ZnTrimView(AText);
    double Value = 0;
    const char* const End = Number.data() + Number.size();
    const auto [Stop, Error] = std::from_chars(Number.data(), End, Value);
    // from_chars also reads "inf" and "nan".
    if (Error != std::errc() || Stop != End || !std::isfinite(Value))
        throw EConvertError("\"" + std::string(AText) + "\" is not a number");
    return Value;
}
