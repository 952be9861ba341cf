#pragma once

/// Conversions between the UTF-16 records of the platform's services and UTF-8.
///
/// None of them fails: a surrogate without its other half, or bytes that are no UTF-8 (RFC 3629),
/// become U+FFFD. Any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace Zn
{

std::string Utf8FromUtf16(std::u16string_view AText);

/// Little-endian UTF-16 in AByteCount bytes without alignment; an odd last byte becomes U+FFFD.
std::string Utf8FromUtf16Bytes(const void* AData, std::size_t AByteCount);

std::u16string Utf16FromUtf8(std::string_view AText);

/// One code point as UTF-8, appended. No scalar value (a surrogate, above U+10FFFF): U+FFFD.
void AppendUtf8(std::string& AText, char32_t ACodePoint);

/// A code point and the number of bytes it was read from: at least 1.
struct TUtf8Step
{
    char32_t CodePoint;
    std::size_t Length;
};

/// The first character of AText, which is not empty. Ill-formed bytes give U+FFFD for each longest
/// part of a sequence that could have begun a character, as the Unicode standard recommends.
TUtf8Step DecodeUtf8(std::string_view AText);

} // namespace Zn
