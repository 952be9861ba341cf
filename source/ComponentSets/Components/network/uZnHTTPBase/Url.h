#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Api.h"

/// A URL taken apart. Percent escapes stay as they were written.
///
/// For "http://user:pw@h:8080/a/b/c.txt?x=1#f":
struct ZN_API TZnURLData
{
    std::string URL;         // the input text
    std::string Scheme;      // "http", as written; "http" too when the URL has no "//"
    std::string Username;    // "user"
    std::string Password;    // "pw"
    std::string Hostname;    // "h"; an IPv6 literal keeps its brackets
    std::uint16_t Port = 0;  // 8080; the scheme's default when there is none, 0 for other schemes
    std::string Origin;      // "http://h:8080"; without the port where it is the scheme's default
    std::string Resource;    // "/a/b/c.txt?x=1#f"
    std::string FilePath;    // "/a/b/c.txt"; empty when the URL has no path
    std::string SubPath;     // "a/b"
    std::string Document;    // "c.txt"; empty when the path ends in "/"
    std::string DocumentUri; // "http://h:8080/a/b/c.txt"
    std::string QueryString; // "x=1"
    std::string Fragment;    // "f"

    /// As ZnDecodeURL, but an empty text gives an empty record.
    static TZnURLData Create(const std::string& AURL);

    bool operator==(const TZnURLData&) const = default;
};

/// Takes a URL apart in one pass. "http" 80, "https" 443, "ftp" 21 and "sftp" 115 are the default
/// ports; schemes are compared with regard to case. Pure, any thread.
///
/// AURL must not be empty (asserted). A text that is no URL, such as one with a port that is no
/// number, raises EInvalidArgument. A port above 65535 is cut to its low 16 bits.
ZN_API TZnURLData ZnDecodeURL(const std::string& AURL);

/// The same over ALength bytes in a code page, 1200 for UTF-16. ALength is at least 1 (asserted);
/// the bytes need no alignment. URL becomes the whole text in UTF-8.
ZN_API TZnURLData ZnDecodeURL(const void* AData, int ALength, std::uint32_t ACodePage);
