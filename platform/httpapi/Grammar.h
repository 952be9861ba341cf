#pragma once

/// Character classes of RFC 9110, RFC 9112 and RFC 3986 that the readers of this folder share.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Zn::Grammar
{

enum Class : std::uint8_t {
    Token = 1,    // tchar (RFC 9110, 5.6.2)
    Value = 2,    // field-vchar, SP, HTAB (RFC 9110, 5.5); obs-text too
    Quoted = 4,   // qdtext (RFC 9110, 5.6.4)
    PathChar = 8, // pchar and "/", and "[" "]"
    QueryChar = 16,
    HostChar = 32, // what Target.h lets a host's label be made of
    HexDigit = 64,
};

/// Browsers leave "[" and "]" in a path, and "\" "^" "`" "{" "|" "}" in a query as they were typed (they
/// follow the URL Standard, not RFC 3986). Neither has a second reading there, so they pass; '"' "<" ">" "#",
/// controls and everything beyond ASCII don't.
constexpr std::uint8_t ClassOf(unsigned char AByte)
{
    const auto In = [AByte](std::string_view ASet) {
        return ASet.find(static_cast<char>(AByte)) != ASet.npos;
    };
    const bool Digit = AByte >= '0' && AByte <= '9';
    const bool Alpha = (AByte >= 'a' && AByte <= 'z') || (AByte >= 'A' && AByte <= 'Z');
    const bool Visible = AByte > 0x20 && AByte != 0x7F;
    const bool Blank = AByte == ' ' || AByte == '\t';
    const bool Path = Digit || Alpha || In("-._~!$&'()*+,;=:@%/[]");

    unsigned Classes = 0;
    const auto Add = [&Classes](Class AClass, bool ABelongs) { Classes |= ABelongs ? unsigned{AClass} : 0U; };
    Add(Token, Digit || Alpha || In("!#$%&'*+-.^_`|~"));
    Add(Value, Visible || Blank);
    Add(Quoted, (Visible || Blank) && !In("\"\\"));
    Add(PathChar, Path);
    Add(QueryChar, Path || In("?\\^`{|}"));
    Add(HostChar, Digit || Alpha || In("-_~"));
    Add(HexDigit, Digit || (AByte >= 'a' && AByte <= 'f') || (AByte >= 'A' && AByte <= 'F'));
    return static_cast<std::uint8_t>(Classes);
}

inline constexpr std::array<std::uint8_t, 256> ClassTable = [] {
    std::array<std::uint8_t, 256> Table{};
    for (std::size_t Byte = 0; Byte < Table.size(); ++Byte)
        Table[Byte] = ClassOf(static_cast<unsigned char>(Byte));
    return Table;
}();

constexpr bool Is(Class AClass, char AByte)
{
    return (ClassTable[static_cast<unsigned char>(AByte)] & AClass) != 0;
}

constexpr bool IsDigit(char AByte)
{
    return AByte >= '0' && AByte <= '9';
}

constexpr bool IsBlank(char AByte)
{
    return AByte == ' ' || AByte == '\t';
}

/// Of a byte that Is(HexDigit).
constexpr unsigned HexValue(char AByte)
{
    return IsDigit(AByte) ? static_cast<unsigned>(AByte - '0')
                          : static_cast<unsigned>((AByte | 0x20) - 'a') + 10U;
}

constexpr char ToLower(char AByte)
{
    return AByte >= 'A' && AByte <= 'Z' ? static_cast<char>(AByte | 0x20) : AByte;
}

/// ASCII only; ALower is in lower case.
constexpr bool EqualsLower(std::string_view AText, std::string_view ALower)
{
    if (AText.size() != ALower.size())
        return false;
    for (std::size_t At = 0; At < AText.size(); ++At)
        if (ToLower(AText[At]) != ALower[At])
            return false;
    return true;
}

/// Length of the run of AClass at the beginning.
constexpr std::size_t Run(Class AClass, std::string_view AText)
{
    std::size_t Length = 0;
    while (Length < AText.size() && Is(AClass, AText[Length]))
        ++Length;
    return Length;
}

constexpr bool IsToken(std::string_view AText)
{
    return !AText.empty() && Run(Token, AText) == AText.size();
}

/// Whether "%" and two hex digits stand at AAt.
constexpr bool IsEscape(std::string_view AText, std::size_t AAt)
{
    return AAt + 2 < AText.size() && AText[AAt] == '%' && Is(HexDigit, AText[AAt + 1]) &&
           Is(HexDigit, AText[AAt + 2]);
}

constexpr std::string_view TrimBlanks(std::string_view AText)
{
    while (!AText.empty() && IsBlank(AText.front()))
        AText.remove_prefix(1);
    while (!AText.empty() && IsBlank(AText.back()))
        AText.remove_suffix(1);
    return AText;
}

/// Cuts the next element off a comma-separated list, without the blanks around it.
constexpr std::string_view NextElement(std::string_view& AList)
{
    const std::size_t Comma = AList.find(',');
    const std::string_view Element = TrimBlanks(AList.substr(0, Comma));
    AList.remove_prefix(Comma == AList.npos ? AList.size() : Comma + 1);
    return Element;
}

} // namespace Zn::Grammar
