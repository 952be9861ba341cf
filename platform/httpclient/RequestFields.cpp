#include "platform/httpclient/RequestFields.h"

#include <algorithm>
#include <optional>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Grammar.h"

namespace Zn::HttpClient
{

namespace
{

struct NameAndValue
{
    std::string_view Name;
    std::string_view Value;
};

/// A bare CR or LF, a NUL or another control would let one field pass for two (RFC 9110, 5.5).
bool IsFieldValue(std::string_view AText)
{
    return std::ranges::all_of(AText, [](char AChar) { return Grammar::Is(Grammar::Value, AChar); });
}

std::optional<NameAndValue> Split(std::string_view ALine)
{
    const std::size_t Colon = ALine.find(':');
    if (Colon == std::string_view::npos)
        return std::nullopt;
    const NameAndValue Result{ALine.substr(0, Colon), Grammar::TrimBlanks(ALine.substr(Colon + 1))};
    if (!Grammar::IsToken(Result.Name) || !IsFieldValue(Result.Value))
        return std::nullopt;
    return Result;
}

/// The next line of ALines, which loses it; without its CR LF.
std::string_view TakeLine(std::string_view& ALines)
{
    const std::size_t End = ALines.find("\r\n");
    const std::string_view Line = ALines.substr(0, End);
    ALines.remove_prefix(End == std::string_view::npos ? ALines.size() : End + 2);
    return Line;
}

bool AllAreFields(std::string_view ALines)
{
    while (!ALines.empty()) {
        const std::string_view Line = TakeLine(ALines);
        if (!Line.empty() && !Split(Line))
            return false;
    }
    return true;
}

} // namespace

bool SameName(std::string_view ALeft, std::string_view ARight)
{
    if (ALeft.size() != ARight.size())
        return false;
    for (std::size_t At = 0; At < ALeft.size(); ++At)
        if (ALeft[At] != ARight[At] && Grammar::ToLower(ALeft[At]) != Grammar::ToLower(ARight[At]))
            return false;
    return true;
}

std::string_view RequestFields::Field::Value() const
{
    return Grammar::TrimBlanks(std::string_view(Line).substr(NameLength + 1));
}

std::uint32_t RequestFields::Change(std::string_view ALines, const FieldChange& AChange)
{
    if (!AllAreFields(ALines))
        return ERROR_INVALID_PARAMETER;
    while (!ALines.empty()) {
        const std::string_view Line = TakeLine(ALines);
        if (Line.empty())
            continue;
        const auto [Name, Value] = *Split(Line);
        if (const std::uint32_t Error = ChangeLine(Name, Value, AChange))
            return Error;
    }
    return NO_ERROR;
}

std::uint32_t RequestFields::ChangeLine(std::string_view AName, std::string_view AValue,
                                        const FieldChange& AChange)
{
    Field* Present = FindForChange(AName);
    if (Present == nullptr) {
        if (!AChange.Add && !AChange.IfNew && AChange.Coalesce == '\0')
            return ERROR_WINHTTP_HEADER_NOT_FOUND;
        if (!AChange.Replace || !AValue.empty())
            Add(AName, AValue);
        return NO_ERROR;
    }
    if (AChange.IfNew)
        return ERROR_ALREADY_EXISTS;
    if (AChange.Replace) {
        if (AValue.empty())
            Remove(AName);
        else
            Present->Line.replace(AName.size(), std::string::npos, ": ").append(AValue);
        return NO_ERROR;
    }
    if (AChange.Coalesce != '\0') {
        Present->Line.append({AChange.Coalesce, ' '}).append(AValue);
        return NO_ERROR;
    }
    Add(AName, AValue);
    return NO_ERROR;
}

void RequestFields::Add(std::string_view AName, std::string_view AValue)
{
    std::string Line;
    Line.reserve(AName.size() + 2 + AValue.size());
    Line.append(AName).append(": ").append(AValue);
    FFields.push_back({std::move(Line), AName.size()});
}

void RequestFields::Remove(std::string_view AName)
{
    std::erase_if(FFields, [&](const Field& AField) { return SameName(AField.Name(), AName); });
}

const RequestFields::Field* RequestFields::Find(std::string_view AName, std::size_t AOccurrence) const
{
    for (const Field& Each : FFields)
        if (SameName(Each.Name(), AName) && AOccurrence-- == 0)
            return &Each;
    return nullptr;
}

RequestFields::Field* RequestFields::FindForChange(std::string_view AName)
{
    const auto Found =
        std::ranges::find_if(FFields, [&](const Field& AField) { return SameName(AField.Name(), AName); });
    return Found == FFields.end() ? nullptr : &*Found;
}

} // namespace Zn::HttpClient
