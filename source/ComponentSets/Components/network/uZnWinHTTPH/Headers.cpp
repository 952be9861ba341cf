#include <array>
#include <vector>

#include "platform/errors/Errors.h"
#include "platform/text/Unicode.h"
#include "uZnHTTPTransport/PlatformText.h"
#include "uZnWinHTTPH/Functions.h"

using Zn::PlatformText;

namespace
{

/// The status line's parts and the whole block are there once; fields may repeat.
bool OccursOnce(std::uint32_t AInfoLevel)
{
    const std::uint32_t Level = AInfoLevel & ~WINHTTP_QUERY_FLAG_REQUEST_HEADERS;
    return Level >= WINHTTP_QUERY_VERSION && Level <= WINHTTP_QUERY_RAW_HEADERS_CRLF;
}

/// Appends one occurrence to AValue. False when there is none.
///
/// The first call brings a buffer that fits nearly all, rather than asking for the size: that saves a call
/// into the library for each text.
bool AppendOccurrence(HINTERNET AHandle, std::uint32_t AInfoLevel, const char16_t* AName,
                      std::uint32_t AIndex, std::string& AValue)
{
    const auto Query = *Zn::WinHttp.QueryHeaders;
    std::array<char16_t, 512> Short;
    std::vector<char16_t> Long;
    char16_t* Buffer = Short.data();
    std::uint32_t Size = sizeof(Short);
    std::uint32_t Index = AIndex; // the library raises its own count
    bool Found = Query(AHandle, AInfoLevel, AName, Buffer, &Size, &Index);
    if (!Found && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        Long.resize(Size / sizeof(char16_t) + 1);
        Buffer = Long.data();
        Size = static_cast<std::uint32_t>(Long.size() * sizeof(char16_t));
        Index = AIndex;
        Found = Query(AHandle, AInfoLevel, AName, Buffer, &Size, &Index);
    }
    if (!Found) {
        if (GetLastError() != ERROR_WINHTTP_HEADER_NOT_FOUND)
            WinHttpCheckError("WinHttpQueryHeaders", "");
        return false;
    }
    if (!AValue.empty())
        AValue += "\r\n";
    AValue += Zn::Utf8FromUtf16({Buffer, Size / sizeof(char16_t)});
    return true;
}

} // namespace

void WinHttpAddRequestHeaders(HINTERNET AHandle, std::string_view AHeaders, TWINHTTP_ADDREQ_FLAGS AFlags,
                              bool ARaiseError)
{
    const auto Add = *Zn::WinHttp.AddRequestHeaders;
    const PlatformText Headers(AHeaders);
    if (!Add(AHandle, Headers.Text(), Headers.Length(), Zn::PlatformAddFlags(AFlags)) && ARaiseError)
        WinHttpCheckError("WinHttpAddRequestHeaders", "");
}

bool WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, void* ABuffer, std::uint32_t& ASize)
{
    const auto Query = *Zn::WinHttp.QueryHeaders;
    if (AInfoLevel == WINHTTP_QUERY_CUSTOM)
        throw EZnWinHTTPInvalidArgument(
            "You must the overloaded WinHttpQueryHeaders to request headers by name!");
    std::uint32_t Index = 0;
    return Query(AHandle, AInfoLevel, nullptr, ABuffer, &ASize, &Index);
}

void WinHttpQueryHeaders(HINTERNET AHandle, std::uint32_t AInfoLevel, std::string_view AName,
                         std::string& AValue)
{
    if (!AName.empty() && AInfoLevel != WINHTTP_QUERY_CUSTOM)
        throw EZnWinHTTPInvalidArgument("You must set the AInfoLevel to WINHTTP_QUERY_CUSTOM if you want to "
                                        "retrieve a header by name!");
    if (AName.empty() && AInfoLevel == WINHTTP_QUERY_CUSTOM)
        throw EZnWinHTTPInvalidArgument("You must specify a Header name!");
    const PlatformText Name(AName);
    AValue.clear();
    std::uint32_t Index = 0;
    while (AppendOccurrence(AHandle, AInfoLevel, Name.OrNull(), Index, AValue)) {
        if (OccursOnce(AInfoLevel))
            return;
        ++Index;
    }
}
