#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "platform/errors/Errors.h"
#include "platform/text/Unicode.h"
#include "uZnHTTPTransport/PlatformText.h"
#include "uZnWinINetH/Functions.h"

using Zn::PlatformText;

namespace
{

constexpr std::size_t cFirstBuffer = 255; // characters

/// Asks once, with the name, if any, in the buffer. ASize: bytes of the value, or of what it needs.
bool Ask(HINTERNET AHandle, std::uint32_t AInfoLevel, const PlatformText& AName, std::span<char16_t> ABuffer,
         std::uint32_t& ASize)
{
    std::ranges::copy_n(AName.Text(), AName.Length(), ABuffer.begin());
    ABuffer[AName.Length()] = u'\0';
    ASize = static_cast<std::uint32_t>(ABuffer.size_bytes());
    std::uint32_t Index = 0;
    return (*Zn::WinINet.QueryInfo)(AHandle, AInfoLevel, ABuffer.data(), &ASize, &Index);
}

/// What a value is when the question has failed: empty where there is none.
void CheckMissing()
{
    if (GetLastError() != ERROR_WINHTTP_HEADER_NOT_FOUND)
        HttpCheckError("HttpQueryInfo", "");
}

} // namespace

void HttpAddRequestHeaders(HINTERNET AHandle, std::string_view AHeaders, THTTP_ADDREQ_FLAGS AFlags)
{
    const auto Add = *Zn::WinINet.AddRequestHeaders;
    const PlatformText Headers(AHeaders);
    if (!Add(AHandle, Headers.Text(), Headers.Length(), Zn::PlatformAddFlags(AFlags)))
        HttpCheckError("HttpAddRequestHeaders", "");
}

void HttpQueryInfo(HINTERNET AHandle, std::uint32_t AInfoLevel, std::string_view AName, std::string& AValue)
{
    if (!AName.empty() && AInfoLevel != HTTP_QUERY_CUSTOM)
        throw EZnWinINetInvalidArgument("You must set the AInfoLevel to WINHTTP_QUERY_CUSTOM if you want to "
                                        "retrieve a header by name!");
    if (AName.empty() && AInfoLevel == HTTP_QUERY_CUSTOM)
        throw EZnWinINetInvalidArgument("You must specify a Header name!");
    const PlatformText Name(AName);
    if (Name.Length() >= cFirstBuffer)
        throw EZnWinINetInvalidArgument("The name of a header must be shorter than 255 characters!");
    AValue.clear();
    std::array<char16_t, cFirstBuffer> Short{};
    std::uint32_t Size = 0;
    if (Ask(AHandle, AInfoLevel, Name, Short, Size)) {
        AValue = Zn::Utf8FromUtf16({Short.data(), Size / sizeof(char16_t)});
        return;
    }
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        CheckMissing();
        return;
    }
    std::vector<char16_t> Long(std::max(cFirstBuffer, Size / sizeof(char16_t) + 1));
    if (Ask(AHandle, AInfoLevel, Name, Long, Size))
        AValue = Zn::Utf8FromUtf16({Long.data(), Size / sizeof(char16_t)});
    else
        CheckMissing();
}
