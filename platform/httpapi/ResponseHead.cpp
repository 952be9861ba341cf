#include "platform/httpapi/ResponseHead.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <span>
#include <string_view>

namespace Zn
{
namespace
{

constexpr std::string_view ServerName = "Zn-Network";

constexpr std::array<std::string_view, HttpHeaderResponseMaximum> FieldNames{"Cache-Control",
                                                                             "Connection",
                                                                             "Date",
                                                                             "Keep-Alive",
                                                                             "Pragma",
                                                                             "Trailer",
                                                                             "Transfer-Encoding",
                                                                             "Upgrade",
                                                                             "Via",
                                                                             "Warning",
                                                                             "Allow",
                                                                             "Content-Length",
                                                                             "Content-Type",
                                                                             "Content-Encoding",
                                                                             "Content-Language",
                                                                             "Content-Location",
                                                                             "Content-MD5",
                                                                             "Content-Range",
                                                                             "Expires",
                                                                             "Last-Modified",
                                                                             "Accept-Ranges",
                                                                             "Age",
                                                                             "ETag",
                                                                             "Location",
                                                                             "Proxy-Authenticate",
                                                                             "Retry-After",
                                                                             "Server",
                                                                             "Set-Cookie",
                                                                             "Vary",
                                                                             "WWW-Authenticate"};

std::string_view Text(const char* AText, std::size_t ALength)
{
    return AText ? std::string_view(AText, ALength) : std::string_view();
}

std::string_view Known(const THTTP_RESPONSE& AResponse, THTTP_HEADER_ID AId)
{
    const THTTP_KNOWN_HEADER& Header = AResponse.Headers.KnownHeaders[AId];
    return Text(Header.pRawValue, Header.RawValueLength);
}

std::span<const THTTP_UNKNOWN_HEADER> Unknown(const THTTP_RESPONSE& AResponse)
{
    return {AResponse.Headers.pUnknownHeaders, AResponse.Headers.UnknownHeaderCount};
}

bool IsToken(std::string_view AName)
{
    constexpr std::string_view Marks = "!#$%&'*+-.^_`|~";
    return !AName.empty() && std::all_of(AName.begin(), AName.end(), [&](char Each) {
        return (Each >= '0' && Each <= '9') || (Each >= 'A' && Each <= 'Z') || (Each >= 'a' && Each <= 'z') ||
               Marks.find(Each) != std::string_view::npos;
    });
}

bool IsFieldValue(std::string_view AValue)
{
    return std::none_of(AValue.begin(), AValue.end(), [](char Each) {
        const auto Byte = static_cast<unsigned char>(Each);
        return (Byte < 0x20 && Byte != '\t') || Byte == 0x7f;
    });
}

/// The fields that say how this connection carries the message; the service's own affair.
bool IsConnectionField(std::size_t AId)
{
    return AId == HttpHeaderConnection || AId == HttpHeaderKeepAlive || AId == HttpHeaderTransferEncoding;
}

void AppendField(std::string& AOut, std::string_view AName, std::string_view AValue)
{
    AOut.append(AName).append(": ").append(AValue).append("\r\n");
}

void AppendNumber(std::string& AOut, std::uint64_t ANumber)
{
    char Digits[20];
    const auto End = std::to_chars(Digits, Digits + sizeof Digits, ANumber);
    AOut.append(Digits, End.ptr);
}

/// IMF-fixdate (RFC 9110, 5.6.7), made once a second on each thread that answers.
std::string_view DateNow()
{
    thread_local std::time_t Made = -1;
    thread_local std::array<char, 32> Buffer{};
    thread_local std::size_t Length = 0;
    timespec Now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &Now);
    if (Now.tv_sec != Made) {
        constexpr const char* Days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
        constexpr const char* Months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
        Made = Now.tv_sec;
        std::tm Utc{};
        gmtime_r(&Made, &Utc);
        // strftime would follow the application's locale.
        const int Written = std::snprintf(Buffer.data(), Buffer.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                                          Days[Utc.tm_wday], Utc.tm_mday, Months[Utc.tm_mon],
                                          Utc.tm_year + 1900, Utc.tm_hour, Utc.tm_min, Utc.tm_sec);
        Length = static_cast<std::size_t>(std::clamp(Written, 0, static_cast<int>(Buffer.size()) - 1));
    }
    return {Buffer.data(), Length};
}

void AppendStatusLine(std::string& AOut, std::uint16_t AStatusCode, std::string_view AReason)
{
    AOut.append("HTTP/1.1 ");
    AppendNumber(AOut, AStatusCode);
    AOut.push_back(' ');
    // A reason is free text, often an exception's message: what can't stand in a line becomes a blank.
    for (const char Each : AReason) {
        const auto Byte = static_cast<unsigned char>(Each);
        AOut.push_back(Byte < 0x20 || Byte == 0x7f ? ' ' : Each);
    }
    AOut.append("\r\n");
}

bool IsFramingName(std::string_view AName)
{
    constexpr std::string_view Names[] = {"connection", "keep-alive", "transfer-encoding", "content-length"};
    const auto Same = [&](std::string_view AOther) {
        return std::equal(AName.begin(), AName.end(), AOther.begin(), AOther.end(),
                          [](char A, char B) { return (A >= 'A' && A <= 'Z' ? A + 32 : A) == B; });
    };
    return std::any_of(std::begin(Names), std::end(Names), Same);
}

} // namespace

bool IsSendable(const THTTP_RESPONSE& AResponse)
{
    if (AResponse.StatusCode < 200 || AResponse.StatusCode > 999)
        return false; // an interim response would be taken for the answer
    for (std::size_t Id = 0; Id < HttpHeaderResponseMaximum; ++Id)
        if (!IsFieldValue(Known(AResponse, static_cast<THTTP_HEADER_ID>(Id))))
            return false;
    const auto Others = Unknown(AResponse);
    return std::all_of(Others.begin(), Others.end(), [](const THTTP_UNKNOWN_HEADER& Each) {
        const std::string_view Name = Text(Each.pName, Each.NameLength);
        return IsToken(Name) && !IsFramingName(Name) &&
               IsFieldValue(Text(Each.pRawValue, Each.RawValueLength));
    });
}

bool HasNoBody(std::uint16_t AStatusCode)
{
    return AStatusCode < 200 || AStatusCode == 204 || AStatusCode == 304;
}

void AppendHead(std::string& AOut, const THTTP_RESPONSE& AResponse, HeadFraming AFraming)
{
    AppendStatusLine(AOut, AResponse.StatusCode, Text(AResponse.pReason, AResponse.ReasonLength));
    if (Known(AResponse, HttpHeaderDate).empty())
        AppendField(AOut, "Date", DateNow());
    if (Known(AResponse, HttpHeaderServer).empty())
        AppendField(AOut, "Server", ServerName);
    for (std::size_t Id = 0; Id < HttpHeaderResponseMaximum; ++Id) {
        const std::string_view Value = Known(AResponse, static_cast<THTTP_HEADER_ID>(Id));
        if (Value.empty() || IsConnectionField(Id))
            continue;
        if (Id == HttpHeaderContentLength && AFraming.Body != HeadFraming::Kind::AsGiven)
            continue;
        AppendField(AOut, FieldNames[Id], Value);
    }
    for (const THTTP_UNKNOWN_HEADER& Each : Unknown(AResponse))
        AppendField(AOut, Text(Each.pName, Each.NameLength), Text(Each.pRawValue, Each.RawValueLength));
    if (AFraming.Body == HeadFraming::Kind::Length) {
        AOut.append("Content-Length: ");
        AppendNumber(AOut, AFraming.Length);
        AOut.append("\r\n");
    } else if (AFraming.Body == HeadFraming::Kind::Chunked) {
        AOut.append("Transfer-Encoding: chunked\r\n");
    }
}

void AppendConnection(std::string& AOut, bool AClose, bool AHttp11, std::string_view AKeepAliveValue)
{
    if (AClose)
        AOut.append("Connection: close\r\n");
    else if (!AHttp11)
        AOut.append("Connection: keep-alive\r\n");
    if (!AClose && !AKeepAliveValue.empty())
        AppendField(AOut, "Keep-Alive", AKeepAliveValue);
    AOut.append("\r\n");
}

} // namespace Zn
