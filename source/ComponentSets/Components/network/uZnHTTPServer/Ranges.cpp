#include "uZnHTTPServer/Ranges.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "common/Text.h"

namespace Zn
{
namespace
{

/// A position; nothing for what isn't one. One that no 64 bits can hold lies behind every end.
std::optional<std::uint64_t> ReadPosition(std::string_view AText)
{
    if (const auto Position = ZnParseInt<std::uint64_t>(AText))
        return Position;
    const bool Digits = !AText.empty() && AText.find_first_not_of("0123456789") == std::string_view::npos;
    return Digits ? std::optional(std::numeric_limits<std::uint64_t>::max()) : std::nullopt;
}

std::string ContentRange(std::uint64_t AFirst, std::uint64_t ALast, std::uint64_t ATotal)
{
    return "bytes " + std::to_string(AFirst) + "-" + std::to_string(ALast) + "/" + std::to_string(ATotal);
}

} // namespace

ByteRange SelectByteRange(std::string_view AHeader, std::uint64_t ATotal)
{
    const std::size_t Equals = AHeader.find('=');
    const std::string_view Spec =
        ZnTrimView(Equals == std::string_view::npos ? AHeader : AHeader.substr(Equals + 1));
    const std::size_t Minus = std::min(Spec.find('-'), Spec.size());

    const std::uint64_t First = ReadPosition(Spec.substr(0, Minus)).value_or(0);
    const std::optional<std::uint64_t> Last =
        Minus < Spec.size() ? ReadPosition(Spec.substr(Minus + 1)) : std::nullopt;
    if (First >= ATotal)
        return {.Satisfiable = false, .ContentRange = "bytes */" + std::to_string(ATotal)};
    if (!Last || *Last <= First)
        return {.First = First,
                .Length = HTTP_BYTE_RANGE_TO_EOF,
                .ContentLength = ATotal - First,
                .ContentRange = ContentRange(First, ATotal - 1, ATotal)};
    const std::uint64_t End = std::min(*Last, ATotal - 1);
    const std::uint64_t Length = End - First + 1;
    return {.First = First,
            .Length = Length,
            .ContentLength = Length,
            .ContentRange = ContentRange(First, End, ATotal)};
}

} // namespace Zn
