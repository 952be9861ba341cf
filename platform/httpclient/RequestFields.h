#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Zn::HttpClient
{

/// What Change does about a field that is there already.
struct FieldChange
{
    bool Add = false;     // a missing one is added; alone: a further line
    bool IfNew = false;   // 183 where there is one
    bool Replace = false; // the value is replaced; an empty value removes the field
    char Coalesce = '\0'; // ',' or ';': the value goes behind the one that is there
};

/// The header fields of a request in the order in which they go out.
class RequestFields
{
public:
    struct Field
    {
        std::string Line; // "Name: value"
        std::size_t NameLength;
        std::string_view Name() const { return {Line.data(), NameLength}; }
        std::string_view Value() const;
    };

    /// One or more lines with CR LF between them. 0; ERROR_INVALID_PARAMETER, and no change, for a line that
    /// is no field (RFC 9110, 5.1 and 5.5); 12150 or 183 as AChange says.
    std::uint32_t Change(std::string_view ALines, const FieldChange& AChange);
    void Add(std::string_view AName, std::string_view AValue);
    void Remove(std::string_view AName);

    /// nullptr when there is none.
    const Field* Find(std::string_view AName, std::size_t AOccurrence = 0) const;
    const std::vector<Field>& Fields() const { return FFields; }

private:
    std::uint32_t ChangeLine(std::string_view AName, std::string_view AValue, const FieldChange& AChange);
    Field* FindForChange(std::string_view AName);

    std::vector<Field> FFields;
};

bool SameName(std::string_view ALeft, std::string_view ARight);

} // namespace Zn::HttpClient
