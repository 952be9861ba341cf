#pragma once

/// What the options of both function sets have in common.

#include <cstring>

#include "platform/text/Unicode.h"
#include "platform/winhttp/Calls.h"

namespace Zn::Winhttp
{

/// The value of an option as it was given.
struct OptionValue
{
    const void* Buffer;
    std::uint32_t Size;

    bool IsEmpty() const { return Buffer == nullptr || Size == 0; }
    template <class T>
    bool Take(T& AResult) const
    {
        if (Buffer == nullptr || Size != sizeof(T))
            return false;
        std::memcpy(&AResult, Buffer, sizeof(T));
        return true;
    }
    std::string Text() const { return Utf8FromUtf16Bytes(Buffer, Buffer == nullptr ? 0 : Size); }
    std::string Bytes() const
    {
        return IsEmpty() ? std::string() : std::string(static_cast<const char*>(Buffer), Size);
    }
};

/// ZN_OPTION_LIMITS.
std::uint32_t SetLimits(HttpClient::Settings& ASettings, const OptionValue& AValue);
/// ZN_OPTION_BODY_SOURCE.
std::uint32_t SetBodySource(HttpClient::Request& ARequest, const OptionValue& AValue);

} // namespace Zn::Winhttp
