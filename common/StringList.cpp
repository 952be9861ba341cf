#include "common/StringList.h"

#include <algorithm>
#include <iterator>

#include "common/Exceptions.h"
#include "common/Text.h"

namespace
{

constexpr char cNameValueSeparator = '=';

bool LessText(std::string_view ALeft, std::string_view ARight)
{
    return std::ranges::lexicographical_compare(ALeft, ARight, {}, ZnLowerChar, ZnLowerChar);
}

/// As find_first_of("\r\n"), which would search those two for each character of the text.
std::size_t LineLength(std::string_view AText)
{
    std::size_t Length = 0;
    while (Length < AText.size() && AText[Length] != '\n' && AText[Length] != '\r')
        ++Length;
    return Length;
}

bool HasName(const std::string& ALine, std::string_view AName)
{
    return ALine.size() > AName.size() && ALine[AName.size()] == cNameValueSeparator &&
           SameText(std::string_view(ALine).substr(0, AName.size()), AName);
}

} // namespace

int TStringList::Add(std::string ALine)
{
    auto Place = FSorted ? std::ranges::upper_bound(FLines, ALine, LessText) : FLines.end();
    return static_cast<int>(std::distance(FLines.begin(), FLines.insert(Place, std::move(ALine))));
}

void TStringList::AddStrings(const TStringList& ALines)
{
    if (&ALines == this) {
        AddStrings(TStringList(ALines));
        return;
    }
    for (const std::string& Line : ALines)
        Add(Line);
}

void TStringList::Insert(int AIndex, std::string ALine)
{
    CheckNotSorted();
    if (AIndex != Count())
        CheckIndex(AIndex);
    FLines.insert(FLines.begin() + AIndex, std::move(ALine));
}

void TStringList::Delete(int AIndex)
{
    CheckIndex(AIndex);
    FLines.erase(FLines.begin() + AIndex);
}

const std::string& TStringList::operator[](int AIndex) const
{
    CheckIndex(AIndex);
    return FLines[static_cast<std::size_t>(AIndex)];
}

void TStringList::SetString(int AIndex, std::string ALine)
{
    CheckNotSorted();
    CheckIndex(AIndex);
    FLines[static_cast<std::size_t>(AIndex)] = std::move(ALine);
}

int TStringList::IndexOf(std::string_view ALine) const
{
    auto Found = FSorted
                     ? std::ranges::lower_bound(FLines, ALine, LessText)
                     : std::ranges::find_if(FLines, [&](auto& ALine2) { return SameText(ALine2, ALine); });
    if (Found == FLines.end() || !SameText(*Found, ALine))
        return -1;
    return static_cast<int>(std::distance(FLines.begin(), Found));
}

void TStringList::Sort()
{
    std::ranges::stable_sort(FLines, LessText);
}

void TStringList::SetSorted(bool AValue)
{
    FSorted = AValue;
    if (FSorted)
        Sort();
}

std::string TStringList::GetName(int AIndex) const
{
    const std::string& Line = (*this)[AIndex];
    auto Separator = Line.find(cNameValueSeparator);
    return Separator == std::string::npos ? std::string() : Line.substr(0, Separator);
}

std::string TStringList::ValueFromIndex(int AIndex) const
{
    const std::string& Line = (*this)[AIndex];
    auto Separator = Line.find(cNameValueSeparator);
    return Separator == std::string::npos ? std::string() : Line.substr(Separator + 1);
}

int TStringList::IndexOfName(std::string_view AName) const
{
    auto Found =
        std::ranges::find_if(FLines, [&](const std::string& ALine) { return HasName(ALine, AName); });
    return Found == FLines.end() ? -1 : static_cast<int>(std::distance(FLines.begin(), Found));
}

std::string TStringList::GetValue(std::string_view AName) const
{
    int Index = IndexOfName(AName);
    return Index < 0 ? std::string() : ValueFromIndex(Index);
}

void TStringList::SetValue(std::string_view AName, std::string_view AValue)
{
    int Index = IndexOfName(AName);
    if (Index >= 0)
        Delete(Index);
    if (AValue.empty())
        return;
    std::string Line(AName);
    Line += cNameValueSeparator;
    Line += AValue;
    if (Index >= 0 && !FSorted)
        Insert(Index, std::move(Line));
    else
        Add(std::move(Line));
}

std::string TStringList::GetText() const
{
    std::string Text;
    for (const std::string& Line : FLines)
        Text.append(Line).append("\r\n");
    return Text;
}

void TStringList::SetText(std::string_view AText)
{
    FLines.clear();
    FLines.reserve(static_cast<std::size_t>(std::ranges::count(AText, '\n')) + 1);
    while (!AText.empty()) {
        const std::size_t End = LineLength(AText);
        Add(std::string(AText.substr(0, End)));
        AText.remove_prefix(End);
        AText.remove_prefix(AText.starts_with("\r\n") ? 2 : std::min<std::size_t>(1, AText.size()));
    }
}

void TStringList::Assign(const TPersistent* ASource)
{
    const auto* Source = dynamic_cast<const TStringList*>(ASource);
    if (!Source) {
        TPersistent::Assign(ASource);
        return;
    }
    FLines = Source->FLines;
    FSorted = Source->FSorted;
}

void TStringList::CheckIndex(int AIndex) const
{
    if (AIndex < 0 || AIndex >= Count())
        throw EStringListError(ZnFormat("List index out of bounds (%d)", AIndex));
}

void TStringList::CheckNotSorted() const
{
    if (FSorted)
        throw EStringListError("Operation not allowed on sorted list");
}
