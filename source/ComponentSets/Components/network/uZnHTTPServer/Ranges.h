#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "uZnHTTPH.h"

namespace Zn
{

/// What of a file is served for a Range field.
struct ByteRange
{
    bool Satisfiable = true;         // false: 416, nothing of the file
    std::uint64_t First = 0;         // offset of the first byte
    std::uint64_t Length = 0;        // for the file's data chunk; HTTP_BYTE_RANGE_TO_EOF: to its end
    std::uint64_t ContentLength = 0; // bytes that are sent
    std::string ContentRange;        // the Content-Range field
};

/// Reads "bytes=first-last" against a file of ATotal bytes (RFC 9110, 14.2). One range is served:
/// a field with several, or without a last position above the first one, reads as from its
/// first position to the end; "-500" reads as 0 to 500. A last position beyond the end is the end;
/// a first position at or behind the end can't be satisfied.
ByteRange SelectByteRange(std::string_view AHeader, std::uint64_t ATotal);

} // namespace Zn
