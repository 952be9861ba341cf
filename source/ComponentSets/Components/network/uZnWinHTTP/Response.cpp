#include "uZnWinHTTP/Response.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/Deflate.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace
{

constexpr std::uint16_t cUnauthorized = 401;
constexpr std::uint16_t cProxyAuthenticationRequired = 407;

// Bodies come in pieces; one buffer for all of them, on the stack as long as they are small.
constexpr std::uint32_t cSmallPiece = 16 * 1024;
constexpr std::uint32_t cLargestPiece = 256 * 1024;

constexpr std::int64_t cBlockSize = 16;

constexpr const char* cNoKeepAlive =
    "The server requested a NTLM or NEGOTIATE authentication, however, it also responded with a HTTP/1.0!\r\n"
    "As both the NTLM and NEGOTIATE authentication need the Keep-Alive to work properly and as HTTP/1.0 does "
    "not support Keep-Alive, the authentication failed.\r\n"
    "The most common cause for this problem is the server you are trying to reach is located behind a "
    "proxy/firewall which doesn't support HTTP/1.0\r\n"
    "A pfSense firewall with Squid configured as reverse proxy is an example of such a firewall.";

bool IsConnectionLogon(TWINHTTP_AUTH_SCHEME AScheme)
{
    return AScheme == asNTLM || AScheme == asNEGOTIATE;
}

} // namespace

namespace Zn
{

TZnHTTPResponse::TZnHTTPResponse(std::shared_ptr<ComponentLink<TZnWinHTTPClient>> AHTTPClient,
                                 std::shared_ptr<IZnHTTPRequestEx1> ARequest,
                                 std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus)
    : FRequest(std::move(ARequest)),
      FHTTPClient(std::move(AHTTPClient)),
      FRequestHandle(std::move(AHandle)),
      FStatus(std::move(AStatus))
{
    const TZnWinHTTPClient* const Client = FHTTPClient->Get();
    FMaxInflatedSize = Client != nullptr ? Client->GetMaxInflatedSize() : cZnMaxInflatedSize;
    std::string Headers;
    WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_RAW_HEADERS_CRLF, {}, Headers);
    FResponseHeaders.SetText(Headers);
}

TZnHTTPResponse::~TZnHTTPResponse()
{
    FRequestHandle->CloseHandle();
}

/// Runs AWork. A handle that somebody closes between two calls is refused by its number; that is a cancelled
/// operation as well as one that is closed during a call.
template <class TWork>
auto TZnHTTPResponse::UnlessClosed(TWork AWork) const
{
    try {
        return AWork();
    } catch (const EZnHTTPApiException&) {
        if (FRequestHandle->GetHandle(false) == nullptr)
            throw EAbort(WinHttpErrorMsg(ERROR_WINHTTP_OPERATION_CANCELLED));
        throw;
    }
}

std::string TZnHTTPResponse::GetHeader(const std::string& AName)
{
    return UnlessClosed([&] {
        std::string Value;
        WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_CUSTOM, AName, Value);
        return Value;
    });
}

std::string TZnHTTPResponse::GetCookie(const std::string& AName)
{
    for (int Index = 0; Index < FResponseHeaders.Count(); ++Index) {
        const std::string_view Value = FResponseHeaders.ValueView(Index);
        if (FResponseHeaders.NameView(Index) != "Set-Cookie" || !Value.starts_with(AName))
            continue;
        const std::size_t Equals = Value.find('=');
        return Equals == std::string_view::npos ? std::string() : std::string(Value.substr(Equals + 1));
    }
    return {};
}

void TZnHTTPResponse::GetResponseData(TStream& AResponse)
{
    const std::int64_t Start = AResponse.GetPosition();
    if (UnlessClosed([&] { return ReadBody(AResponse); }) &&
        SameText(GetHeader("Content-Encoding"), "deflate"))
        Inflate(AResponse, Start);
}

/// The length that the server announced; what is there already where it announced none.
std::uint64_t TZnHTTPResponse::TotalLength(std::uint32_t AAvailable)
{
    std::uint32_t Length = 0;
    std::uint32_t Size = sizeof(Length);
    if (WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER, &Length,
                            Size))
        return Length;
    std::uint64_t LongLength = 0;
    Size = sizeof(LongLength);
    if (WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER64, &LongLength,
                            Size))
        return LongLength;
    return AAvailable;
}

/// True when there was a body.
bool TZnHTTPResponse::ReadBody(TStream& AResponse)
{
    std::uint32_t Available = WinHttpQueryDataAvailable(Handle());
    if (Available == 0)
        return false;
    const std::uint64_t Total = TotalLength(Available);
    std::array<std::byte, cSmallPiece> Small;
    std::unique_ptr<std::byte[]> Large;
    while (Available > 0) {
        if (Available > cSmallPiece && !Large)
            Large = std::make_unique_for_overwrite<std::byte[]>(cLargestPiece);
        std::byte* const Buffer = Large ? Large.get() : Small.data();
        const std::uint32_t Count = WinHttpReadData(
            Handle(), Buffer, std::min(Available, Large ? cLargestPiece : cSmallPiece), false);
        AResponse.WriteBuffer(Buffer, Count);
        FHTTPClient->Use([&](TZnWinHTTPClient& AClient) { AClient.DoProgress(&AResponse, Count, Total); });
        Available = WinHttpQueryDataAvailable(Handle());
    }
    return true;
}

void TZnHTTPResponse::Inflate(TStream& AResponse, std::int64_t AStart) const
{
    TZnMemoryStream Inflated(cBlockSize);
    AResponse.SetPosition(AStart);
    ZlDecompressStream(AResponse, Inflated, false, FMaxInflatedSize);
    AResponse.SetSize(AStart);
    AResponse.SetPosition(AStart);
    AResponse.WriteBuffer(Inflated.Memory(), Inflated.GetSize());
}

std::string TZnHTTPResponse::GetResponse()
{
    if (!FResponseData) {
        auto Data = std::make_unique<TZnStringStream>(cZnCodePageUTF8, cBlockSize);
        GetResponseData(*Data);
        FResponseData = std::move(Data);
    }
    return FResponseData->GetAsString();
}

/// Logons that belong to a connection can't work where each request gets a new one.
bool TZnHTTPResponse::BreaksConnectionLogon() const
{
    return (FStatus.StatusCode == cProxyAuthenticationRequired &&
            IsConnectionLogon(FRequest->GetFirstProxyAuthScheme())) ||
           (FStatus.StatusCode == cUnauthorized && IsConnectionLogon(FRequest->GetFirstAuthScheme()));
}

void TZnHTTPResponse::CheckError()
{
    if (BreaksConnectionLogon()) {
        const std::string Version = UnlessClosed([&] {
            std::string Text;
            WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_VERSION, {}, Text);
            return Text;
        });
        if (Version == ZnHTTPVersion[HTTP1_0])
            throw EZnWinHTTPException(cNoKeepAlive);
        return;
    }
    if (FStatus.StatusCode >= 200 && FStatus.StatusCode <= 299)
        return;
    if (FStatus.StatusCode == cUnauthorized || FStatus.StatusCode == cProxyAuthenticationRequired)
        throw EZnWinHTTPHException(FRequest->GetURL(), ERROR_WINHTTP_LOGIN_FAILURE, "");
    throw EZnHTTPException(GetResponse(), FStatus.StatusCode);
}

} // namespace Zn
