// WinHttpQueryHeaders: one part of a head, as text or number.

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/winhttp/Calls.h"

using namespace Zn;
using namespace Zn::Winhttp;
using HttpClient::Request;
using HttpClient::ResponseHead;

namespace
{

constexpr std::uint32_t cModifiers =
    WINHTTP_QUERY_FLAG_NUMBER | WINHTTP_QUERY_FLAG_NUMBER64 | WINHTTP_QUERY_FLAG_REQUEST_HEADERS;

/// Lines with a zero behind each in the place of CR LF, without the last, empty line.
std::string WithZeros(std::string_view AHead)
{
    std::string Result(AHead.substr(0, AHead.size() - 2));
    std::size_t At = 0;
    while ((At = Result.find("\r\n", At)) != std::string::npos)
        Result.replace(At, 2, 1, '\0');
    return Result;
}

/// The part of a response's head that a level names.
std::uint32_t PartOfResponse(const ResponseHead& AHead, std::uint32_t ALevel, std::string_view AName,
                             std::uint32_t AIndex, std::string& AResult)
{
    std::optional<std::string_view> Part;
    switch (ALevel) {
    case WINHTTP_QUERY_VERSION:
        Part = AHead.Version();
        break;
    case WINHTTP_QUERY_STATUS_CODE:
        Part = AHead.Raw().substr(AHead.Version().size() + 1, 3);
        break;
    case WINHTTP_QUERY_STATUS_TEXT:
        Part = AHead.Reason();
        break;
    case WINHTTP_QUERY_RAW_HEADERS:
        AResult = WithZeros(AHead.Raw());
        return NO_ERROR;
    case WINHTTP_QUERY_RAW_HEADERS_CRLF:
        Part = AHead.Raw();
        break;
    case WINHTTP_QUERY_CONTENT_LENGTH:
        Part = AHead.Find("Content-Length", AIndex);
        break;
    case WINHTTP_QUERY_CUSTOM:
        Part = AHead.Find(AName, AIndex);
        break;
    default:
        return ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    }
    if (!Part)
        return ERROR_WINHTTP_HEADER_NOT_FOUND;
    AResult = *Part;
    return NO_ERROR;
}

std::uint32_t PartOfRequest(Request& ARequest, std::uint32_t ALevel, std::string_view AName,
                            std::uint32_t AIndex, std::string& AResult)
{
    std::uint32_t Error = NO_ERROR;
    switch (ALevel) {
    case WINHTTP_QUERY_RAW_HEADERS:
        Error = ARequest.HeadText(AResult);
        AResult = WithZeros(AResult);
        return Error;
    case WINHTTP_QUERY_RAW_HEADERS_CRLF:
        return ARequest.HeadText(AResult);
    case WINHTTP_QUERY_CUSTOM:
        return ARequest.FieldValue(AName, AIndex, AResult);
    default:
        return ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    }
}

template <class T>
std::uint32_t PutNumber(std::string_view AText, void* ABuffer, std::uint32_t& ASize)
{
    T Value = 0;
    const auto [End, Error] = std::from_chars(AText.data(), AText.data() + AText.size(), Value);
    if (Error != std::errc() || End != AText.data() + AText.size())
        return ERROR_INVALID_DATA;
    return PutValue(&Value, sizeof(Value), ABuffer, ASize);
}

std::uint32_t Put(std::string_view AText, std::uint32_t AInfoLevel, void* ABuffer, std::uint32_t& ASize)
{
    if ((AInfoLevel & WINHTTP_QUERY_FLAG_NUMBER) != 0)
        return PutNumber<std::uint32_t>(AText, ABuffer, ASize);
    if ((AInfoLevel & WINHTTP_QUERY_FLAG_NUMBER64) != 0)
        return PutNumber<std::uint64_t>(AText, ABuffer, ASize);
    return PutText(Widen(AText), ABuffer, ASize);
}

} // namespace

bool WinHttpQueryHeaders(HINTERNET ARequest, std::uint32_t AInfoLevel, const char16_t* AName, void* ABuffer,
                         std::uint32_t* ASize, std::uint32_t* AIndex)
{
    return RunOn(ARequest, [&](Request& AOwner) {
        const std::uint32_t Level = AInfoLevel & ~cModifiers;
        if (ASize == nullptr || (Level == WINHTTP_QUERY_CUSTOM && AName == nullptr))
            return ERROR_INVALID_PARAMETER + 0U;
        const std::string Name = Level == WINHTTP_QUERY_CUSTOM ? Narrow(AName) : std::string();
        const std::uint32_t Index = AIndex != nullptr ? *AIndex : 0;
        std::string Text;
        std::uint32_t Error = NO_ERROR;
        if ((AInfoLevel & WINHTTP_QUERY_FLAG_REQUEST_HEADERS) != 0)
            Error = PartOfRequest(AOwner, Level, Name, Index, Text);
        else
            Error = AOwner.ViewHead(
                [&](const ResponseHead& AHead) { return PartOfResponse(AHead, Level, Name, Index, Text); });
        if (Error == NO_ERROR)
            Error = Put(Text, AInfoLevel, ABuffer, *ASize);
        if (Error == NO_ERROR && AIndex != nullptr)
            ++*AIndex;
        return Error;
    });
}
