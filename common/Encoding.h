#pragma once

/// Code pages. Text is UTF-8 in a std::string; everything else is bytes in a stated code page.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Api.h"
#include "platform/text/Unicode.h"

using Zn::Utf16FromUtf8;
using Zn::Utf8FromUtf16;

/// Bytes that are owned.
using TZnBytes = std::vector<std::byte>;

/// 8-bit text whose bytes mean what its user says. A type of its own where one operation takes
/// both text and bytes.
class ZN_API AnsiString
{
public:
    AnsiString() = default;
    /// The bytes as they are; nothing is converted.
    explicit AnsiString(std::string ABytes) : FBytes(std::move(ABytes)) {}
    /// The bytes as they are; nothing is converted.
    explicit AnsiString(std::string_view ABytes) : FBytes(ABytes) {}
    /// The bytes up to the first NUL.
    explicit AnsiString(const char* ABytes) : FBytes(ABytes) {}

    /// The bytes, borrowed.
    const std::string& Bytes() const& { return FBytes; }
    /// The bytes, moved out of a temporary.
    std::string Bytes() && { return std::move(FBytes); }
    /// The first byte; a NUL stands behind the last.
    const char* data() const { return FBytes.data(); }
    /// The number of bytes.
    std::size_t size() const { return FBytes.size(); }
    /// No bytes at all.
    bool empty() const { return FBytes.empty(); }
    operator std::string_view() const { return FBytes; }

    /// Compares byte by byte.
    friend auto operator<=>(const AnsiString&, const AnsiString&) = default;

private:
    std::string FBytes;
};

inline constexpr std::uint32_t cZnCodePageSystem = 0; // the system's 8-bit code page: UTF-8
/// Two bytes a unit, the lower one first.
inline constexpr std::uint32_t cZnCodePageUTF16 = 1200;
/// Seven bits; everything else becomes "?".
inline constexpr std::uint32_t cZnCodePageASCII = 20127;
inline constexpr std::uint32_t cZnCodePageLatin1 = 28591; // ISO-8859-1
/// What strings hold.
inline constexpr std::uint32_t cZnCodePageUTF8 = 65001;

/// Conversions between text and code pages. Any thread. An unknown code page raises EConvertError.
class ZN_API TZnEncoding
{
public:
    /// AText in code page ACodePage. A character that the code page lacks becomes "?".
    static std::string ConvertW(std::string_view AText, std::uint32_t ACodePage);

    /// ABytes of code page ACodePage as text. What is no character there becomes U+FFFD, so the
    /// result is valid UTF-8 whatever comes in.
    static std::string ConvertA(std::string_view ABytes, std::uint32_t ACodePage);
};

/// The code page of a charset name (IANA names and their usual aliases, any case, with or without
/// double quotes). Raises EConvertError for an unknown one.
ZN_API std::uint32_t ZnCodePage(std::string_view ACharset);

/// True for bytes that are well-formed UTF-8 (RFC 3629).
ZN_API bool ZnIsUtf8(std::string_view ABytes);
