#pragma once

#include <cstdint>
#include <string_view>

namespace Zn
{

/// What a Range field asks of content of a known length.
struct TRangeRequest
{
    enum class TKind {
        Whole,        // absent, of another unit, malformed or in several parts: all of it (RFC 9110, 14.2)
        Part,         // First to Last, both within the content
        Unsatisfiable // nothing of it is there: 416
    };
    TKind Kind = TKind::Whole;
    std::uint64_t First = 0;
    std::uint64_t Last = 0;
};

/// Reads ARange ("bytes=0-99", "bytes=100-", "bytes=-100") against ASize bytes.
TRangeRequest ResolveRange(std::string_view ARange, std::uint64_t ASize);

} // namespace Zn
