// WinHttpQueryHeaders: one part of a head, as text or number.

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/winhttp/Queries.h"
#include "platform/winhttp/Winhttp.h"

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

/// One question: what, and where the answer goes.
struct Question
{
    std::uint32_t Level; // without modifiers
    std::uint32_t Modifiers;
    std::string Name; // of WINHTTP_QUERY_CUSTOM
    std::uint32_t Index;
    void* Buffer;
    std::uint32_t* Size;
};

template <class T>
std::uint32_t PutNumber(std::string_view AText, void* ABuffer, std::uint32_t& ASize)
{
    T Value = 0;
    const auto [End, Error] = std::from_chars(AText.data(), AText.data() + AText.size(), Value);
    if (Error != std::errc() || End != AText.data() + AText.size())
        return ERROR_INVALID_DATA;
    return PutValue(&Value, sizeof(Value), ABuffer, ASize);
}

std::uint32_t Put(std::string_view AText, const Question& AQuestion)
{
    if ((AQuestion.Modifiers & WINHTTP_QUERY_FLAG_NUMBER) != 0)
        return PutNumber<std::uint32_t>(AText, AQuestion.Buffer, *AQuestion.Size);
    if ((AQuestion.Modifiers & WINHTTP_QUERY_FLAG_NUMBER64) != 0)
        return PutNumber<std::uint64_t>(AText, AQuestion.Buffer, *AQuestion.Size);
    return PutText(AText, AQuestion.Buffer, *AQuestion.Size);
}

std::uint32_t PutFound(std::optional<std::string_view> AText, const Question& AQuestion)
{
    return AText ? Put(*AText, AQuestion) : ERROR_WINHTTP_HEADER_NOT_FOUND;
}

std::uint32_t AnswerFrom(const ResponseHead& AHead, const Question& AQuestion)
{
    switch (AQuestion.Level) {
    case WINHTTP_QUERY_VERSION:
        return Put(AHead.Version(), AQuestion);
    case WINHTTP_QUERY_STATUS_CODE:
        return Put(AHead.Raw().substr(AHead.Version().size() + 1, 3), AQuestion);
    case WINHTTP_QUERY_STATUS_TEXT:
        return Put(AHead.Reason(), AQuestion);
    case WINHTTP_QUERY_RAW_HEADERS:
        return Put(WithZeros(AHead.Raw()), AQuestion);
    case WINHTTP_QUERY_RAW_HEADERS_CRLF:
        return Put(AHead.Raw(), AQuestion);
    case WINHTTP_QUERY_CONTENT_LENGTH:
        return PutFound(AHead.Find("Content-Length", AQuestion.Index), AQuestion);
    case WINHTTP_QUERY_CUSTOM:
        return PutFound(AHead.Find(AQuestion.Name, AQuestion.Index), AQuestion);
    default:
        return ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    }
}

std::uint32_t AnswerFrom(Request& ARequest, const Question& AQuestion)
{
    std::string Text;
    std::uint32_t Error = ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    if (AQuestion.Level == WINHTTP_QUERY_CUSTOM)
        Error = ARequest.FieldValue(AQuestion.Name, AQuestion.Index, Text);
    else if (AQuestion.Level == WINHTTP_QUERY_RAW_HEADERS ||
             AQuestion.Level == WINHTTP_QUERY_RAW_HEADERS_CRLF)
        Error = ARequest.HeadText(Text);
    if (Error == NO_ERROR)
        Error = Put(AQuestion.Level == WINHTTP_QUERY_RAW_HEADERS ? WithZeros(Text) : Text, AQuestion);
    return Error;
}

} // namespace

std::uint32_t Winhttp::AnswerQuery(Request& AOwner, std::uint32_t AInfoLevel, const char16_t* AName,
                                   void* ABuffer, std::uint32_t* ASize, std::uint32_t* AIndex)
{
    const std::uint32_t Level = AInfoLevel & ~cModifiers;
    if (ASize == nullptr || (Level == WINHTTP_QUERY_CUSTOM && AName == nullptr))
        return ERROR_INVALID_PARAMETER;
    const Question Asked{Level,
                         AInfoLevel & cModifiers,
                         Level == WINHTTP_QUERY_CUSTOM ? Narrow(AName) : std::string(),
                         AIndex != nullptr ? *AIndex : 0,
                         ABuffer,
                         ASize};
    const bool OfRequest = (AInfoLevel & WINHTTP_QUERY_FLAG_REQUEST_HEADERS) != 0;
    const std::uint32_t Error =
        OfRequest ? AnswerFrom(AOwner, Asked)
                  : AOwner.ViewHead([&](const ResponseHead& AHead) { return AnswerFrom(AHead, Asked); });
    if (Error == NO_ERROR && AIndex != nullptr)
        ++*AIndex;
    return Error;
}

bool WinHttpQueryHeaders(HINTERNET ARequest, std::uint32_t AInfoLevel, const char16_t* AName, void* ABuffer,
                         std::uint32_t* ASize, std::uint32_t* AIndex)
{
    return RunOn(ARequest, [&](Request& AOwner) {
        return AnswerQuery(AOwner, AInfoLevel, AName, ABuffer, ASize, AIndex);
    });
}
