#include "uZnHTTPTransport/PlatformText.h"

#include "platform/text/Unicode.h"
#include "uZnHTTPBase/HTTPExceptions.h"

namespace
{

/// Without an early end, so that the compiler takes many bytes at once.
bool IsAscii(std::string_view AText)
{
    unsigned char All = 0;
    for (const char Char : AText)
        All |= static_cast<unsigned char>(Char);
    return All < 0x80;
}

} // namespace

Zn::PlatformText::PlatformText(std::string_view AText)
{
    if (AText.find('\0') != std::string_view::npos)
        throw EZnHTTPInvalidArgument("A text for the HTTP library may not hold a NUL!");
    if (AText.size() < cShort && IsAscii(AText)) {
        for (std::size_t Index = 0; Index < AText.size(); ++Index)
            FShort[Index] = static_cast<char16_t>(AText[Index]);
        FShort[AText.size()] = u'\0';
        FText = FShort.data();
        FLength = AText.size();
        return;
    }
    FLong = Utf16FromUtf8(AText);
    FText = FLong.c_str();
    FLength = FLong.size();
}
