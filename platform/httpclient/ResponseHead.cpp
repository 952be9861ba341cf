#include "platform/httpclient/ResponseHead.h"

#include "platform/errors/Errors.h"
#include "platform/httpapi/Grammar.h"
#include "platform/httpclient/RequestFields.h"

namespace Zn::HttpClient
{

namespace
{

constexpr std::size_t cUsualLength = 512;
constexpr std::size_t cUsualFields = 16;

std::string_view WithoutLineEnd(std::string_view ALine)
{
    if (ALine.ends_with('\n'))
        ALine.remove_suffix(1);
    if (ALine.ends_with('\r'))
        ALine.remove_suffix(1);
    return ALine;
}

} // namespace

void ResponseHead::Clear()
{
    FText.clear();
    FFields.clear();
    FVersion = {};
    FReason = {};
    FStatus = 0;
    FLines = 0;
    FComplete = false;
}

ResponseHead::Piece ResponseHead::PieceOf(std::string_view APart) const
{
    return {static_cast<std::uint32_t>(APart.data() - FText.data()),
            static_cast<std::uint32_t>(APart.size())};
}

std::uint32_t ResponseHead::AddLine(std::string_view ALine, const Limits& ALimits)
{
    const std::string_view Line = WithoutLineEnd(ALine);
    if (FComplete)
        Clear();
    if (FText.size() + Line.size() + 2 > ALimits.Bytes)
        return ERROR_WINHTTP_HEADER_SIZE_OVERFLOW;
    if (FText.empty())
        return AddStatusLine(Line);
    if (Line.empty()) {
        FText.append("\r\n");
        FComplete = true;
        return NO_ERROR;
    }
    if (++FLines > ALimits.Lines)
        return ERROR_WINHTTP_HEADER_COUNT_EXCEEDED;
    return Grammar::IsBlank(Line.front()) ? Unfold(Line) : AddField(Line);
}

std::uint32_t ResponseHead::AddStatusLine(std::string_view ALine)
{
    // status-line = HTTP-version SP status-code SP [ reason-phrase ] (RFC 9112, 4); the last SP is often
    // missing.
    const std::size_t Blank = ALine.find(' ');
    if (!ALine.starts_with("HTTP/") || Blank == std::string_view::npos || ALine.size() < Blank + 4)
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    std::uint32_t Status = 0;
    for (const char Each : ALine.substr(Blank + 1, 3)) {
        if (!Grammar::IsDigit(Each))
            return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
        Status = Status * 10 + static_cast<std::uint32_t>(Each - '0');
    }
    const std::string_view Rest = ALine.substr(Blank + 4);
    if (Status < 100 || (!Rest.empty() && Rest.front() != ' '))
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    FStatus = Status;
    FText.reserve(cUsualLength);
    FFields.reserve(cUsualFields);
    FText.append(ALine).append("\r\n");
    const std::string_view Kept(FText);
    FVersion = PieceOf(Kept.substr(0, Blank));
    FReason = PieceOf(Grammar::TrimBlanks(Kept.substr(Blank + 4, Rest.size())));
    return NO_ERROR;
}

std::uint32_t ResponseHead::AddField(std::string_view ALine)
{
    const std::size_t Begin = FText.size();
    FText.append(ALine).append("\r\n");
    const std::size_t Colon = ALine.find(':');
    if (Colon == std::string_view::npos || Colon == 0)
        return NO_ERROR; // it stays in the text and has no name to be asked for
    const std::string_view Kept = std::string_view(FText).substr(Begin, ALine.size());
    const Field Added{PieceOf(Grammar::TrimBlanks(Kept.substr(0, Colon))),
                      PieceOf(Grammar::TrimBlanks(Kept.substr(Colon + 1)))};
    if (Contradicts(Added))
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    FFields.push_back(Added);
    return NO_ERROR;
}

/// Two lengths let two readers disagree where the message ends (RFC 9112, 6.3).
bool ResponseHead::Contradicts(const Field& AField) const
{
    const std::string_view Name = Text(AField.Name);
    if (!SameName(Name, "Content-Length"))
        return false;
    const auto Present = Find(Name);
    return Present && *Present != Text(AField.Value);
}

/// A line that begins with a blank goes on with the value before it (RFC 9112, 5.2).
std::uint32_t ResponseHead::Unfold(std::string_view ALine)
{
    if (FFields.empty())
        return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
    FText.resize(FText.size() - 2);
    FText.append(" ").append(Grammar::TrimBlanks(ALine));
    Field& Last = FFields.back();
    Last.Value = PieceOf(Grammar::TrimBlanks(std::string_view(FText).substr(Last.Value.Begin)));
    FText.append("\r\n");
    return NO_ERROR;
}

std::optional<std::string_view> ResponseHead::Find(std::string_view AName, std::size_t AOccurrence) const
{
    for (const Field& Each : FFields)
        if (SameName(Text(Each.Name), AName) && AOccurrence-- == 0)
            return Text(Each.Value);
    return std::nullopt;
}

} // namespace Zn::HttpClient
