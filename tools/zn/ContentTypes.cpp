#include "tools/zn/ContentTypes.h"

#include <fstream>
#include <sstream>

#include "common/Text.h"
#include "platform/text/Unicode.h"

namespace Zn
{

namespace
{

struct TBuiltInType
{
    const char* Extension;
    const char* MediaType;
};

constexpr TBuiltInType cBuiltInTypes[] = {
    {"avif", "image/avif"},
    {"css", "text/css"},
    {"csv", "text/csv"},
    {"gif", "image/gif"},
    {"gz", "application/gzip"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ico", "image/vnd.microsoft.icon"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript"},
    {"json", "application/json"},
    {"map", "application/json"},
    {"md", "text/markdown"},
    {"mjs", "text/javascript"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"ogg", "audio/ogg"},
    {"pdf", "application/pdf"},
    {"png", "image/png"},
    {"shtml", "text/html"},
    {"svg", "image/svg+xml"},
    {"txt", "text/plain"},
    {"wasm", "application/wasm"},
    {"wav", "audio/x-wav"},
    {"webm", "video/webm"},
    {"webmanifest", "application/manifest+json"},
    {"webp", "image/webp"},
    {"woff", "font/woff"},
    {"woff2", "font/woff2"},
    {"xhtml", "application/xhtml+xml"},
    {"xml", "application/xml"},
    {"zip", "application/zip"},
};

bool LooksLikeText(std::string_view AText)
{
    while (!AText.empty()) {
        const char C = AText.front();
        if (C >= 0 && C < ' ' && C != '\t' && C != '\n' && C != '\r' && C != '\f')
            return false;
        const TUtf8Step Step = DecodeUtf8(AText);
        // AText may be the head of a longer text and end within a character.
        if (Step.CodePoint == 0xFFFD && AText.size() > 3)
            return false;
        AText.remove_prefix(Step.Length);
    }
    return true;
}

} // namespace

TContentTypes::TContentTypes(const std::string& AFileName)
{
    std::ifstream File(AFileName);
    std::string Line;
    while (std::getline(File, Line)) {
        std::istringstream Words(Line.substr(0, Line.find('#')));
        std::string MediaType, Extension;
        Words >> MediaType;
        while (Words >> Extension)
            FTypes.try_emplace(LowerCase(Extension), MediaType); // the first line that names it wins
    }
    for (const TBuiltInType& Type : cBuiltInTypes)
        FTypes.try_emplace(Type.Extension, Type.MediaType);
}

std::string TContentTypes::OfName(std::string_view AName) const
{
    const std::size_t Dot = AName.rfind('.');
    if (Dot == std::string_view::npos)
        return {};
    const auto Found = FTypes.find(LowerCase(AName.substr(Dot + 1)));
    if (Found == FTypes.end())
        return {};
    return Found->second.starts_with("text/") ? Found->second + "; charset=utf-8" : Found->second;
}

std::string TContentTypes::OfContent(std::string_view AHead)
{
    return LooksLikeText(AHead) ? "text/plain; charset=utf-8" : "application/octet-stream";
}

bool TContentTypes::IsTextual(std::string_view AContentType)
{
    const std::string_view Type = AContentType.substr(0, AContentType.find(';'));
    return Type.starts_with("text/") || Type.ends_with("+xml") || Type.ends_with("+json") ||
           Type == "application/json" || Type == "application/xml" || Type == "application/javascript";
}

} // namespace Zn
