#include "platform/httpapi/RequestHead.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/httpapi/Grammar.h"
#include "platform/httpapi/HeaderNames.h"
#include "platform/httpapi/Target.h"

namespace Zn
{

using namespace Grammar;

namespace
{

constexpr std::string_view RootPath = "/";

constexpr std::uint64_t Bit(THTTP_HEADER_ID AId)
{
    return std::uint64_t{1} << AId;
}

bool IsControl(char AByte)
{
    const auto Byte = static_cast<unsigned char>(AByte);
    return (Byte < 0x20 && Byte != '\t') || Byte == 0x7F;
}

// Offset of the first control character other than HTAB in [AFrom, AEnd), else AEnd. Eight bytes at a time:
// this is the one loop that sees every byte of a head.
std::size_t FindControl(const char* ABytes, std::size_t AFrom, std::size_t AEnd)
{
    constexpr std::uint64_t Ones = 0x0101010101010101U;
    constexpr std::uint64_t High = Ones * 0x80;
    while (AFrom + 8 <= AEnd) {
        std::uint64_t Word;
        std::memcpy(&Word, ABytes + AFrom, sizeof Word);
        const std::uint64_t Del = Word ^ (Ones * 0x7F);
        const std::uint64_t Hits = (((Word - Ones * 0x20) & ~Word) | ((Del - Ones) & ~Del)) & High;
        if (Hits == 0) {
            AFrom += 8;
            continue;
        }
        std::size_t At = AFrom;
        if constexpr (std::endian::native == std::endian::little)
            At += static_cast<std::size_t>(std::countr_zero(Hits)) / 8; // the others may come from its borrow
        else
            while (!IsControl(ABytes[At]) && ABytes[At] != '\t')
                ++At;
        if (ABytes[At] != '\t')
            return At;
        AFrom = At + 1;
    }
    for (; AFrom < AEnd; ++AFrom)
        if (IsControl(ABytes[AFrom]))
            return AFrom;
    return AEnd;
}

} // namespace

void RequestHeadParser::Reset()
{
    Restart();
    FBase = nullptr;
    FResult = HeadResult::Incomplete;
    FStatus = 0;
    FReason = "";
}

void RequestHeadParser::Restart()
{
    FLine = 0;
    FScanned = 0;
    FFieldsStart = 0;
    FSeen = 0;
    FFields.clear();
    FHead = RequestHead{};
}

HeadResult RequestHeadParser::Refuse(std::uint16_t AStatus, const char* AReason)
{
    FStatus = AStatus;
    FReason = AReason;
    return FResult = HeadResult::Refused;
}

HeadResult RequestHeadParser::Parse(std::string_view ABytes)
{
    if (FResult == HeadResult::Refused)
        return FResult;
    if (ABytes.data() != FBase) {
        if (FBase != nullptr) // the views show into the place of before
            Restart();
        FBase = ABytes.data();
        FResult = HeadResult::Incomplete;
    }
    while (FResult == HeadResult::Incomplete) {
        // A line may end at Limit at the latest; one byte more shows that it doesn't.
        const std::size_t Limit =
            FFieldsStart == 0 ? FLine + FLimits.RequestLine : FFieldsStart + FLimits.Headers;
        const std::size_t Window = ABytes.size() <= Limit ? ABytes.size() : Limit + 1;
        const std::size_t End = FindControl(ABytes.data(), FScanned, Window);
        FScanned = End;
        if (End == Window) {
            if (Window <= Limit)
                return FResult;
            return FFieldsStart == 0 ? Refuse(414, "request line too long")
                                     : Refuse(431, "header fields too large");
        }
        if (ABytes[End] != '\r')
            return Refuse(400, "control character");
        if (End + 1 == ABytes.size())
            return FResult;
        if (ABytes[End + 1] != '\n')
            return Refuse(400, "bare CR");
        const std::string_view Line = ABytes.substr(FLine, End - FLine);
        FScanned = End + 2;

        if (FFieldsStart != 0) {
            FLine = FScanned;
            if (Line.empty()) {
                FHead.Length = FScanned;
                if (Conclude())
                    FResult = HeadResult::Complete;
            } else if (!ReadFieldLine(Line))
                return FResult;
        } else if (Line.empty() && FLine == 0) {
            FLine = FScanned; // one CRLF of a sloppy client's last request (RFC 9112, 2.2)
        } else {
            FLine = FFieldsStart = FScanned;
            ReadRequestLine(Line);
        }
    }
    return FResult;
}

// method SP request-target SP HTTP-version (RFC 9112, 3)
bool RequestHeadParser::ReadRequestLine(std::string_view ALine)
{
    constexpr std::size_t VersionLength = 8;
    const auto Bad = [this](const char* AReason) {
        Refuse(400, AReason);
        return false;
    };
    const std::size_t MethodLength = Run(Token, ALine);
    if (MethodLength == 0 || MethodLength == ALine.size() || ALine[MethodLength] != ' ')
        return Bad("malformed method");
    if (ALine.size() < MethodLength + VersionLength + 3)
        return Bad("malformed request line");
    const std::string_view Version = ALine.substr(ALine.size() - VersionLength);
    if (ALine[ALine.size() - VersionLength - 1] != ' ' || Version.substr(0, 5) != "HTTP/" ||
        !IsDigit(Version[5]) || Version[6] != '.' || !IsDigit(Version[7]))
        return Bad("malformed request line");

    FHead.Method = ALine.substr(0, MethodLength);
    FHead.Verb = VerbOf(FHead.Method);
    FHead.Target = ALine.substr(MethodLength + 1, ALine.size() - MethodLength - VersionLength - 2);
    if (Version[5] != '1') {
        Refuse(505, "HTTP version not supported");
        return false;
    }
    FHead.Version = Version[7] == '0' ? HTTP_VERSION_1_0 : HTTP_VERSION_1_1;
    return ReadTarget(FHead.Target);
}

// The four forms of RFC 9112, 3.2.
bool RequestHeadParser::ReadTarget(std::string_view ATarget)
{
    if (FHead.Verb == HttpVerbCONNECT) {
        const std::size_t Colon = ATarget.rfind(':');
        const bool Authority = Colon != ATarget.npos && Colon + 1 < ATarget.size() && SplitHost(ATarget, 0);
        Authority ? Refuse(501, "no tunnels here") : Refuse(400, "malformed authority");
        return false;
    }
    if (ATarget.front() == '/')
        return ReadPathAndQuery(ATarget);
    if (ATarget == "*" && FHead.Verb == HttpVerbOPTIONS) {
        FHead.Path = ATarget;
        return true;
    }
    return ReadAbsoluteForm(ATarget);
}

bool RequestHeadParser::ReadPathAndQuery(std::string_view AText)
{
    const auto Bad = [this](const char* AReason) {
        Refuse(400, AReason);
        return false;
    };
    std::size_t At = 0;
    for (; At < AText.size() && Is(PathChar, AText[At]); ++At)
        if (AText[At] == '%') {
            if (!IsEscape(AText, At))
                return Bad("malformed escape in target");
            if (AText[At + 1] == '0' && AText[At + 2] == '0')
                return Bad("NUL in path");
        }
    FHead.Path = At == 0 ? RootPath : AText.substr(0, At);
    if (At == AText.size())
        return true;
    if (AText[At] != '?')
        return Bad("malformed target");
    FHead.Query = AText.substr(At);
    for (; At < AText.size() && Is(QueryChar, AText[At]); ++At)
        if (AText[At] == '%' && !IsEscape(AText, At))
            return Bad("malformed escape in target");
    return At == AText.size() || Bad("malformed target");
}

bool RequestHeadParser::ReadAbsoluteForm(std::string_view ATarget)
{
    const auto Bad = [this](const char* AReason) {
        Refuse(400, AReason);
        return false;
    };
    const std::size_t SchemeLength = ATarget.find("://");
    const std::string_view Scheme = ATarget.substr(0, SchemeLength);
    if (SchemeLength == ATarget.npos || !(EqualsLower(Scheme, "http") || EqualsLower(Scheme, "https")))
        return Bad("malformed target");
    const std::string_view Rest = ATarget.substr(SchemeLength + 3);
    const std::size_t HostLength = std::min(Rest.find_first_of("/?"), Rest.size());
    FHead.Scheme = Scheme;
    FHead.Host = Rest.substr(0, HostLength);
    if (!SplitHost(FHead.Host, 80)) // userinfo too ends here (RFC 9110, 4.2.4)
        return Bad("malformed host in target");
    return ReadPathAndQuery(Rest.substr(HostLength));
}

// field-name ":" OWS field-value OWS (RFC 9112, 5)
bool RequestHeadParser::ReadFieldLine(std::string_view ALine)
{
    if (FFields.size() >= FLimits.Fields) {
        Refuse(431, "too many header fields");
        return false;
    }
    const std::size_t NameLength = Run(Token, ALine);
    if (NameLength == 0 || NameLength == ALine.size() || ALine[NameLength] != ':') {
        // A blank in front is obs-fold, or a line that only one of two readers takes for a field; a blank
        // before the colon hides a field from the other (RFC 9112, 5.1 and 5.2).
        Refuse(400, IsBlank(ALine.front()) ? "folded field line" : "malformed field name");
        return false;
    }
    const std::string_view Name = ALine.substr(0, NameLength);
    const std::int8_t Id = RequestHeaderId(Name);
    FFields.push_back({Name, TrimBlanks(ALine.substr(NameLength + 1)), Id});
    if (Id < 0)
        return true;
    constexpr std::uint64_t Singletons =
        Bit(HttpHeaderHost) | Bit(HttpHeaderContentLength) | Bit(HttpHeaderTransferEncoding);
    const std::uint64_t Seen = std::uint64_t{1} << Id;
    if ((FSeen & Seen & Singletons) != 0) {
        Refuse(400, "repeated Host, Content-Length or Transfer-Encoding");
        return false;
    }
    FSeen |= Seen;
    return true;
}

// What holds for the head as a whole, most harmful first.
bool RequestHeadParser::Conclude()
{
    FHead.Fields = FFields;
    return ConcludeHost() && ConcludeFraming() && ConcludeOptions();
}

std::string_view RequestHeadParser::ValueOf(THTTP_HEADER_ID AId) const
{
    for (const FieldView& Field : FFields)
        if (Field.Id == static_cast<std::int8_t>(AId))
            return Field.Value;
    return {};
}

bool RequestHeadParser::ConcludeHost()
{
    if ((FSeen & Bit(HttpHeaderHost)) == 0) {
        if (FHead.Version == HTTP_VERSION_1_0)
            return true;
        Refuse(400, "missing Host");
        return false;
    }
    const std::string_view Host = ValueOf(HttpHeaderHost);
    if (!SplitHost(Host, 80)) {
        Refuse(400, "malformed Host");
        return false;
    }
    if (FHead.Scheme.empty()) // an absolute target wins over Host (RFC 9112, 3.2.2)
        FHead.Host = Host;
    return true;
}

// Where the body ends (RFC 9112, 6.3). Anything that another reader could see otherwise is refused.
bool RequestHeadParser::ConcludeFraming()
{
    if ((FSeen & Bit(HttpHeaderTransferEncoding)) != 0)
        return ConcludeTransferCoding(ValueOf(HttpHeaderTransferEncoding));
    if ((FSeen & Bit(HttpHeaderContentLength)) == 0)
        return true;

    const std::string_view Digits = ValueOf(HttpHeaderContentLength);
    constexpr std::uint64_t Largest = ~std::uint64_t{0} >> 1;
    std::uint64_t Length = 0;
    bool Valid = !Digits.empty();
    for (const char Digit : Digits) {
        const auto Value = static_cast<std::uint64_t>(Digit - '0');
        Valid = Valid && IsDigit(Digit) && Length <= (Largest - Value) / 10;
        if (!Valid)
            break;
        Length = Length * 10 + Value;
    }
    if (!Valid) {
        Refuse(400, "malformed Content-Length");
        return false;
    }
    FHead.Body = Length == 0 ? BodyKind::None : BodyKind::Length;
    FHead.ContentLength = Length;
    return true;
}

// "chunked" alone is understood. 501 is for codings under a final "chunked", where the body's end would be
// known; without that it isn't, and 400 is due (RFC 9112, 6.1 and 6.3).
bool RequestHeadParser::ConcludeTransferCoding(std::string_view AValue)
{
    const auto Bad = [this](const char* AReason) {
        Refuse(400, AReason);
        return false;
    };
    if ((FSeen & Bit(HttpHeaderContentLength)) != 0)
        return Bad("Content-Length beside Transfer-Encoding");
    if (FHead.Version == HTTP_VERSION_1_0)
        return Bad("Transfer-Encoding in HTTP/1.0");
    if (EqualsLower(AValue, "chunked")) {
        FHead.Body = BodyKind::Chunked;
        return true;
    }
    if (AValue.empty() || AValue.back() == ',')
        return Bad("malformed Transfer-Encoding");
    bool Chunked = false;
    do {
        const std::string_view Coding = NextElement(AValue);
        if (Chunked || !IsToken(Coding.substr(0, Coding.find(';'))))
            return Bad("malformed Transfer-Encoding");
        Chunked = EqualsLower(Coding, "chunked");
    } while (!AValue.empty());
    if (!Chunked)
        return Bad("Transfer-Encoding without a final chunked");
    Refuse(501, "transfer coding not supported");
    return false;
}

bool RequestHeadParser::ConcludeOptions()
{
    FHead.KeepAlive = FHead.Version == HTTP_VERSION_1_1;
    if ((FSeen & (Bit(HttpHeaderConnection) | Bit(HttpHeaderExpect))) == 0)
        return true;
    bool Close = false;
    for (const FieldView& Field : FFields) {
        std::string_view List = Field.Value;
        if (Field.Id == HttpHeaderConnection)
            while (!List.empty()) {
                const std::string_view Option = NextElement(List);
                Close = Close || EqualsLower(Option, "close");
                FHead.KeepAlive = FHead.KeepAlive || EqualsLower(Option, "keep-alive");
            }
        if (Field.Id == HttpHeaderExpect) {
            if (!EqualsLower(Field.Value, "100-continue")) {
                Refuse(417, "expectation not supported");
                return false;
            }
            // An HTTP/1.0 client can't mean it (RFC 9110, 10.1.1).
            FHead.ExpectContinue = FHead.Version == HTTP_VERSION_1_1 && FHead.Body != BodyKind::None;
        }
    }
    FHead.KeepAlive = FHead.KeepAlive && !Close;
    return true;
}

} // namespace Zn
