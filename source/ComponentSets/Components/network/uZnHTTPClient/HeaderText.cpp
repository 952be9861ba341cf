#include "uZnHTTPClient/HeaderText.h"

#include <algorithm>
#include <string>

#include "common/Text.h"
#include "common/TextSet.h"
#include "uZnHTTPBase/HTTPExceptions.h"

namespace
{

constexpr TZnTextSet cTokenChars = TZnTextSet("!#$%&'*+-.^_`|~") | TZnTextSet::Range('0', '9') |
                                   TZnTextSet::Range('A', 'Z') | TZnTextSet::Range('a', 'z');
constexpr TZnTextSet cNotInValues(std::string_view("\r\n\0", 3));

bool IsToken(std::string_view AText)
{
    return !AText.empty() &&
           std::ranges::all_of(AText, [](char AChar) { return cTokenChars.Contains(AChar); });
}

} // namespace

bool Zn::IsHeaderText(std::string_view AText)
{
    return std::ranges::none_of(AText, [](char AChar) { return cNotInValues.Contains(AChar); });
}

void Zn::CheckHeader(std::string_view AName, std::string_view AValue)
{
    // The name is shown only where it is one: anything else may hold line breaks, or a secret.
    if (!IsToken(AName))
        throw EZnHTTPInvalidArgument(
            "The name of a header is empty or has characters that no header name can have!");
    if (!IsHeaderText(AValue))
        throw EZnHTTPInvalidArgument("The value of the header \"" + std::string(AName) +
                                     "\" has a line break or a NUL in it!");
}

void Zn::CheckHeaderLine(std::string_view ALine)
{
    const std::size_t Colon = std::min(ALine.find(cZnColon), ALine.size());
    CheckHeader(ALine.substr(0, Colon), ALine.substr(std::min(Colon + 1, ALine.size())));
}
