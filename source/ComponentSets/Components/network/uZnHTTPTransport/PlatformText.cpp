#include "uZnHTTPTransport/PlatformText.h"

#include "platform/text/Unicode.h"
#include "platform/text/WidenAscii.h"
#include "uZnHTTPBase/HTTPExceptions.h"

Zn::PlatformText::PlatformText(std::string_view AText)
{
    if (AText.empty()) {
        FShort[0] = u'\0';
        FText = FShort.data();
        FLength = 0;
        return;
    }
    if (AText.find('\0') != std::string_view::npos)
        throw EZnHTTPInvalidArgument("A text for the HTTP library may not hold a NUL!");
    if (AText.size() < cShort && WidenAscii(AText, FShort.data())) {
        FShort[AText.size()] = u'\0';
        FText = FShort.data();
        FLength = AText.size();
        return;
    }
    FLong = Utf16FromUtf8(AText);
    FText = FLong.c_str();
    FLength = FLong.size();
}
