#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace Zn
{

/// Media types by the extension of a file name, for Content-Type. Read once, then any thread.
class TContentTypes
{
public:
    /// Reads AFileName, a list in the format of mime.types(5). What it lacks, or all when it can't be
    /// read, comes from a built-in table of the types that web pages are made of.
    explicit TContentTypes(const std::string& AFileName = "/etc/mime.types");

    /// The value of Content-Type, with the charset for text; empty for an unknown extension.
    std::string OfName(std::string_view AName) const;

    /// For files without a known extension: text when AHead, the first bytes of the file, is UTF-8
    /// without control characters, else a download.
    static std::string OfContent(std::string_view AHead);

    /// Whether compressing pays: text, and the formats that are text in all but name.
    static bool IsTextual(std::string_view AContentType);

private:
    std::unordered_map<std::string, std::string> FTypes; // extension in lower case -> media type
};

} // namespace Zn
