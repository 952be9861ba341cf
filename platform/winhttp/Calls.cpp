#include "platform/winhttp/Calls.h"

#include <algorithm>
#include <cstring>

#include "platform/text/Unicode.h"

namespace Zn::Winhttp
{

namespace
{

bool IsUtf8(std::string_view ABytes)
{
    while (!ABytes.empty()) {
        const TUtf8Step Step = DecodeUtf8(ABytes);
        if (Step.CodePoint == 0xFFFD && !ABytes.starts_with("\xEF\xBF\xBD"))
            return false;
        ABytes.remove_prefix(Step.Length);
    }
    return true;
}

std::u16string WidenBytes(std::string_view ABytes)
{
    std::u16string Result(ABytes.size(), u'\0');
    std::ranges::transform(ABytes, Result.begin(), [](char AChar) {
        return static_cast<char16_t>(static_cast<unsigned char>(AChar));
    });
    return Result;
}

} // namespace

std::string Narrow(const char16_t* AText, std::uint32_t ALength)
{
    if (AText == nullptr)
        return {};
    const std::size_t Length =
        ALength == 0xFFFFFFFF ? std::char_traits<char16_t>::length(AText) : std::size_t{ALength};
    return Utf8FromUtf16({AText, Length});
}

std::u16string Widen(std::string_view ABytes)
{
    const bool Ascii = std::ranges::all_of(ABytes, [](char AChar) { return (AChar & 0x80) == 0; });
    return Ascii || !IsUtf8(ABytes) ? WidenBytes(ABytes) : Utf16FromUtf8(ABytes);
}

std::uint32_t PutText(std::u16string_view AText, void* ABuffer, std::uint32_t& ASize)
{
    const std::uint32_t Room = ABuffer == nullptr ? 0 : ASize;
    const auto Size = static_cast<std::uint32_t>(AText.size() * sizeof(char16_t));
    if (Room < Size + sizeof(char16_t)) {
        ASize = Size + sizeof(char16_t);
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::memcpy(ABuffer, AText.data(), Size);
    std::memset(static_cast<char*>(ABuffer) + Size, 0, sizeof(char16_t));
    ASize = Size;
    return NO_ERROR;
}

std::uint32_t PutValue(const void* AValue, std::uint32_t AValueSize, void* ABuffer, std::uint32_t& ASize)
{
    const std::uint32_t Room = ABuffer == nullptr ? 0 : ASize;
    ASize = AValueSize;
    if (Room < AValueSize)
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(ABuffer, AValue, AValueSize);
    return NO_ERROR;
}

} // namespace Zn::Winhttp
