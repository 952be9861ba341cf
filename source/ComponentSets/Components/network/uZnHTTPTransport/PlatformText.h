#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Zn
{

/// A text as the library takes it: UTF-16 with a zero behind it. Short ASCII texts, which most are, need no
/// memory of their own. Raises EZnHTTPInvalidArgument for a text with a NUL, at which it would be cut.
class PlatformText
{
public:
    explicit PlatformText(std::string_view AText);
    PlatformText(const PlatformText&) = delete;
    PlatformText& operator=(const PlatformText&) = delete;

    const char16_t* Text() const { return FText; }
    /// nullptr for an empty text.
    const char16_t* OrNull() const { return FLength == 0 ? nullptr : FText; }
    std::uint32_t Length() const { return static_cast<std::uint32_t>(FLength); }

private:
    static constexpr std::size_t cShort = 256;

    std::array<char16_t, cShort> FShort;
    std::u16string FLong;
    const char16_t* FText;
    std::size_t FLength;
};

} // namespace Zn
