#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zn
{

/// A URL path as names of folders and files.
struct TUrlPath
{
    std::vector<std::string> Names; // decoded; empty segments are dropped
    bool IsFolder = true;           // the path ended in "/"

    /// The names joined by "/", without a leading one.
    std::string FileName() const;
};

/// Cuts at "/" and decodes each segment once. Nothing for a path that can name no file: a malformed
/// escape, an encoded NUL or "/", or a "." or ".." segment in any spelling.
std::optional<TUrlPath> DecodeUrlPath(std::string_view APath);

/// One path segment for a URL: all but RFC 3986's unreserved characters is escaped, so the result stands in a
/// relative reference, a header or an attribute as it is.
std::string EncodeUrlSegment(std::string_view AName);

/// Text for HTML content and quoted attributes. Bytes that are no UTF-8 become U+FFFD.
std::string EscapeHtml(std::string_view AText);

/// The value of a query's parameter ("a=1&b=2"), decoded; nothing when it is absent.
std::optional<std::string> QueryParameter(std::string_view AQuery, std::string_view AName);

} // namespace Zn
