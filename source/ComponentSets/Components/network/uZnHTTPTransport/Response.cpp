#include "uZnHTTPTransport/Response.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "common/Deflate.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"

namespace
{

// Bodies come in pieces; one buffer for all of them, on the stack as long as they are small.
constexpr std::uint32_t cSmallPiece = 16 * 1024;
constexpr std::uint32_t cLargestPiece = 256 * 1024;

constexpr std::int64_t cBlockSize = 16;

} // namespace

namespace Zn
{

TransportResponse::TransportResponse(const FunctionBinding& ABinding,
                                     std::shared_ptr<ComponentLink<TZnHTTPTransportClient>> AHTTPClient,
                                     std::shared_ptr<IZnHTTPRequestEx> ARequest,
                                     std::shared_ptr<IZnHTTPRequestHandle> AHandle, TZnHTTPStatus AStatus)
    : FBinding(ABinding),
      FRequest(std::move(ARequest)),
      FHTTPClient(std::move(AHTTPClient)),
      FRequestHandle(std::move(AHandle)),
      FStatus(std::move(AStatus))
{
    const TZnHTTPTransportClient* const Client = FHTTPClient->Get();
    FMaxInflatedSize = Client != nullptr ? Client->GetMaxInflatedSize() : cZnMaxInflatedSize;
    FHead = FBinding.QueryText(Handle(), WINHTTP_QUERY_RAW_HEADERS_CRLF, {});
}

TZnHTTPHeaderList& TransportResponse::GetResponseHeaders()
{
    if (!std::exchange(FHeadersSplit, true))
        FResponseHeaders.SetText(FHead);
    return FResponseHeaders;
}

/// Runs AWork. A handle that somebody closes between two calls is refused by its number; that is a cancelled
/// operation as well as one that is closed during a call.
template <class TWork>
auto TransportResponse::UnlessClosed(TWork AWork) const
{
    try {
        return AWork();
    } catch (const EZnHTTPApiException&) {
        if (FRequestHandle->GetHandle(false) == nullptr)
            throw EAbort(FBinding.ErrorText(ERROR_WINHTTP_OPERATION_CANCELLED));
        throw;
    }
}

std::string TransportResponse::QueryText(std::uint32_t ALevel, std::string_view AName) const
{
    return UnlessClosed([&] { return FBinding.QueryText(Handle(), ALevel, AName); });
}

std::string TransportResponse::GetHeader(const std::string& AName)
{
    return QueryText(WINHTTP_QUERY_CUSTOM, AName);
}

std::string TransportResponse::GetCookie(const std::string& AName)
{
    std::optional<std::string_view> Found;
    ForEachCookie([&](std::string_view AValue) {
        if (!Found && AValue.starts_with(AName))
            Found = AValue;
    });
    const std::size_t Equals = Found ? Found->find('=') : std::string_view::npos;
    return Equals == std::string_view::npos ? std::string() : std::string(Found->substr(Equals + 1));
}

void TransportResponse::GetResponseData(TStream& AResponse)
{
    const std::int64_t Start = AResponse.GetPosition();
    if (UnlessClosed([&] { return ReadBody(AResponse); }) &&
        SameText(QueryText(WINHTTP_QUERY_CUSTOM, "Content-Encoding"), "deflate"))
        Inflate(AResponse, Start);
}

/// The length that the server announced; what is there already where it announced none.
std::uint64_t TransportResponse::TotalLength(std::uint32_t AAvailable)
{
    std::uint32_t Length = 0;
    if (FBinding.QueryNumber(Handle(), WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER, &Length,
                             sizeof(Length)))
        return Length;
    std::uint64_t LongLength = 0;
    if (FBinding.QueryNumber(Handle(), WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER64,
                             &LongLength, sizeof(LongLength)))
        return LongLength;
    return AAvailable;
}

/// True when there was a body.
bool TransportResponse::ReadBody(TStream& AResponse)
{
    const auto URL = [this] { return ShownURL(); };
    std::uint32_t Available = FBinding.QueryAvailable(Handle(), URL);
    if (Available == 0)
        return false;
    const std::uint64_t Total = TotalLength(Available);
    std::array<std::byte, cSmallPiece> Small;
    std::unique_ptr<std::byte[]> Large;
    while (Available > 0) {
        if (Available > cSmallPiece && !Large)
            Large = std::make_unique_for_overwrite<std::byte[]>(cLargestPiece);
        std::byte* const Buffer = Large ? Large.get() : Small.data();
        const std::uint32_t Count =
            FBinding.Read(Handle(), Buffer, std::min(Available, Large ? cLargestPiece : cSmallPiece), URL);
        AResponse.WriteBuffer(Buffer, Count);
        FHTTPClient->Use(
            [&](TZnHTTPTransportClient& AClient) { AClient.DoProgress(&AResponse, Count, Total); });
        Available = FBinding.QueryAvailable(Handle(), URL);
    }
    return true;
}

void TransportResponse::Inflate(TStream& AResponse, std::int64_t AStart) const
{
    TZnMemoryStream Inflated(cBlockSize);
    AResponse.SetPosition(AStart);
    ZlDecompressStream(AResponse, Inflated, false, FMaxInflatedSize);
    AResponse.SetSize(AStart);
    AResponse.SetPosition(AStart);
    AResponse.WriteBuffer(Inflated.Memory(), Inflated.GetSize());
}

std::string TransportResponse::GetResponse()
{
    if (!FResponseData) {
        auto Data = std::make_unique<TZnStringStream>(cZnCodePageUTF8, cBlockSize);
        GetResponseData(*Data);
        FResponseData = std::move(Data);
    }
    return FResponseData->GetAsString();
}

} // namespace Zn
