#include "uZnAmazonClient/XmlText.h"

#include <array>
#include <utility>

#include "common/Text.h"
#include "platform/text/Unicode.h"

namespace
{

/// The content of the first element of that name, and what stands behind it.
struct TFound
{
    std::string_view Content;
    std::string_view Rest;
};

bool EndsName(char AChar)
{
    return AChar == '>' || AChar == '/' || AChar == ' ' || AChar == '\t' || AChar == '\r' || AChar == '\n';
}

std::optional<TFound> FindElement(std::string_view AXml, std::string_view AName)
{
    const std::string Open = "<" + std::string(AName);
    const std::string Close = "</" + std::string(AName) + ">";
    for (std::size_t At = AXml.find(Open); At != std::string_view::npos; At = AXml.find(Open, At + 1)) {
        const std::size_t NameEnd = At + Open.size();
        if (NameEnd >= AXml.size() || !EndsName(AXml[NameEnd]))
            continue; // a longer name
        const std::size_t TagEnd = AXml.find('>', NameEnd);
        if (TagEnd == std::string_view::npos)
            return std::nullopt;
        if (AXml[TagEnd - 1] == '/')
            return TFound{{}, AXml.substr(TagEnd + 1)};
        const std::size_t End = AXml.find(Close, TagEnd + 1);
        if (End == std::string_view::npos)
            return std::nullopt;
        return TFound{AXml.substr(TagEnd + 1, End - TagEnd - 1), AXml.substr(End + Close.size())};
    }
    return std::nullopt;
}

/// The character of "#65" or "#x41".
std::optional<char32_t> Numbered(std::string_view AEntity)
{
    if (!AEntity.starts_with('#'))
        return std::nullopt;
    AEntity.remove_prefix(1);
    const bool IsHex = AEntity.starts_with('x');
    const auto Number = ZnParseInt<std::uint32_t>(AEntity.substr(IsHex ? 1 : 0), IsHex ? 16 : 10);
    return Number ? std::optional<char32_t>(*Number) : std::nullopt;
}

void AppendEntity(std::string& AText, std::string_view AEntity)
{
    static constexpr std::array<std::pair<std::string_view, char>, 5> cNamed{
        {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};
    for (const auto& [Name, Char] : cNamed) {
        if (AEntity == Name) {
            AText += Char;
            return;
        }
    }
    if (const auto Code = Numbered(AEntity))
        Zn::AppendUtf8(AText, *Code);
    else
        AText.append("&").append(AEntity).append(";");
}

} // namespace

std::optional<std::string> Zn::XmlElement(std::string_view AXml, std::string_view AName)
{
    const auto Found = FindElement(AXml, AName);
    return Found ? std::optional(XmlUnescaped(Found->Content)) : std::nullopt;
}

void Zn::ForEachXmlElement(std::string_view AXml, std::string_view AName,
                           const std::function<void(std::string_view AContent)>& ATake)
{
    while (const auto Found = FindElement(AXml, AName)) {
        ATake(Found->Content);
        AXml = Found->Rest;
    }
}

std::string Zn::XmlUnescaped(std::string_view AText)
{
    constexpr std::size_t cLongestEntity = 10;
    std::string Result;
    Result.reserve(AText.size());
    while (!AText.empty()) {
        const std::size_t End =
            AText[0] == '&' ? AText.substr(0, cLongestEntity).find(';') : std::string_view::npos;
        if (End == std::string_view::npos) {
            Result += AText[0];
            AText.remove_prefix(1);
            continue;
        }
        AppendEntity(Result, AText.substr(1, End - 1));
        AText.remove_prefix(End + 1);
    }
    return Result;
}
