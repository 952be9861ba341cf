#include "tools/zn/UrlPath.h"

#include "platform/text/Unicode.h"

namespace Zn
{

namespace
{

int HexDigit(char AChar)
{
    if (AChar >= '0' && AChar <= '9')
        return AChar - '0';
    if (AChar >= 'a' && AChar <= 'f')
        return AChar - 'a' + 10;
    return AChar >= 'A' && AChar <= 'F' ? AChar - 'A' + 10 : -1;
}

/// Percent escapes to bytes: file names are bytes, whether or not they are UTF-8. Nothing for an escape
/// that isn't two digits.
std::optional<std::string> DecodePercent(std::string_view AText)
{
    std::string Decoded;
    Decoded.reserve(AText.size());
    for (std::size_t I = 0; I < AText.size(); ++I) {
        if (AText[I] != '%') {
            Decoded += AText[I];
            continue;
        }
        const int High = I + 2 < AText.size() ? HexDigit(AText[I + 1]) : -1;
        const int Low = High < 0 ? -1 : HexDigit(AText[I + 2]);
        if (Low < 0)
            return std::nullopt;
        Decoded += static_cast<char>(High * 16 + Low);
        I += 2;
    }
    return Decoded;
}

bool IsUnreserved(char AChar)
{
    return (AChar >= 'a' && AChar <= 'z') || (AChar >= 'A' && AChar <= 'Z') ||
           (AChar >= '0' && AChar <= '9') || AChar == '-' || AChar == '.' || AChar == '_' || AChar == '~';
}

} // namespace

std::string TUrlPath::FileName() const
{
    std::string Joined;
    for (const std::string& Name : Names) {
        if (!Joined.empty())
            Joined += '/';
        Joined += Name;
    }
    return Joined;
}

std::optional<TUrlPath> DecodeUrlPath(std::string_view APath)
{
    TUrlPath Path;
    Path.IsFolder = APath.empty() || APath.ends_with('/');
    while (!APath.empty()) {
        const std::size_t Slash = std::min(APath.find('/'), APath.size());
        const auto Name = DecodePercent(APath.substr(0, Slash));
        APath.remove_prefix(std::min(Slash + 1, APath.size()));
        if (!Name || *Name == "." || *Name == ".." ||
            Name->find_first_of(std::string_view("/\0", 2)) != Name->npos)
            return std::nullopt;
        if (!Name->empty())
            Path.Names.push_back(*Name);
    }
    return Path;
}

std::string EncodeUrlSegment(std::string_view AName)
{
    constexpr char cDigits[] = "0123456789ABCDEF";
    std::string Encoded;
    for (const char C : AName) {
        if (IsUnreserved(C)) {
            Encoded += C;
        } else {
            const auto Byte = static_cast<unsigned char>(C);
            Encoded += {'%', cDigits[Byte >> 4], cDigits[Byte & 15]};
        }
    }
    return Encoded;
}

std::string EscapeHtml(std::string_view AText)
{
    std::string Escaped;
    while (!AText.empty()) {
        const TUtf8Step Step = DecodeUtf8(AText);
        switch (Step.CodePoint) {
        case U'&':
            Escaped += "&amp;";
            break;
        case U'<':
            Escaped += "&lt;";
            break;
        case U'>':
            Escaped += "&gt;";
            break;
        case U'"':
            Escaped += "&quot;";
            break;
        case U'\'':
            Escaped += "&#39;";
            break;
        default:
            AppendUtf8(Escaped, Step.CodePoint);
        }
        AText.remove_prefix(Step.Length);
    }
    return Escaped;
}

std::optional<std::string> QueryParameter(std::string_view AQuery, std::string_view AName)
{
    while (!AQuery.empty()) {
        const std::size_t End = std::min(AQuery.find('&'), AQuery.size());
        const std::string_view Pair = AQuery.substr(0, End);
        AQuery.remove_prefix(std::min(End + 1, AQuery.size()));
        const std::size_t Equals = std::min(Pair.find('='), Pair.size());
        if (Pair.substr(0, Equals) == AName)
            return DecodePercent(Pair.substr(std::min(Equals + 1, Pair.size())));
    }
    return std::nullopt;
}

} // namespace Zn
