#include "platform/winhttp/Calls.h"

#include <cstring>

#include "platform/text/Unicode.h"
#include "platform/text/WidenAscii.h"

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

/// Where ABytes has a byte for each character that it stands for.
bool IsBytewise(std::string_view ABytes)
{
    unsigned char All = 0;
    for (const char Each : ABytes)
        All |= static_cast<unsigned char>(Each);
    return All < 0x80 || !IsUtf8(ABytes);
}

/// ABuffer may stand anywhere.
void PutUnits(std::string_view ABytes, void* ABuffer)
{
    auto* Out = static_cast<char*>(ABuffer);
    for (std::size_t At = 0; At < ABytes.size(); ++At) {
        const auto Unit = static_cast<char16_t>(static_cast<unsigned char>(ABytes[At]));
        std::memcpy(Out + At * sizeof(Unit), &Unit, sizeof(Unit));
    }
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

std::uint32_t PutText(std::string_view ABytes, void* ABuffer, std::uint32_t& ASize)
{
    const std::size_t AsciiSize = ABytes.size() * sizeof(char16_t);
    if (ABuffer != nullptr && ASize >= AsciiSize + sizeof(char16_t) && WidenAscii(ABytes, ABuffer)) {
        ASize = static_cast<std::uint32_t>(AsciiSize);
        std::memset(static_cast<char*>(ABuffer) + AsciiSize, 0, sizeof(char16_t));
        return NO_ERROR;
    }
    const bool Bytewise = IsBytewise(ABytes);
    const std::u16string Wide = Bytewise ? std::u16string() : Utf16FromUtf8(ABytes);
    const std::size_t Size = (Bytewise ? ABytes.size() : Wide.size()) * sizeof(char16_t);
    const bool Fits = ABuffer != nullptr && ASize >= Size + sizeof(char16_t);
    ASize = static_cast<std::uint32_t>(Fits ? Size : Size + sizeof(char16_t));
    if (ABuffer == nullptr || !Fits)
        return ERROR_INSUFFICIENT_BUFFER;
    if (Bytewise)
        PutUnits(ABytes, ABuffer);
    else
        std::memcpy(ABuffer, Wide.data(), Size);
    std::memset(static_cast<char*>(ABuffer) + Size, 0, sizeof(char16_t));
    return NO_ERROR;
}

std::uint32_t PutValue(const void* AValue, std::uint32_t AValueSize, void* ABuffer, std::uint32_t& ASize)
{
    const bool Fits = ASize >= AValueSize;
    ASize = AValueSize;
    if (ABuffer == nullptr || !Fits)
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(ABuffer, AValue, AValueSize);
    return NO_ERROR;
}

} // namespace Zn::Winhttp
