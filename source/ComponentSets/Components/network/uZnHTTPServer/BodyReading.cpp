#include "uZnHTTPServer/BodyReading.h"

#include <algorithm>
#include <limits>
#include <new>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/System.h"
#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/Worker.h"

namespace Zn
{

std::uint16_t BodyCodePage(std::string_view AContentType)
{
    constexpr std::string_view cCharset = "charset=";
    const std::size_t Found = AContentType.find(cCharset);
    if (Found != std::string_view::npos) {
        const std::string_view Charset = AContentType.substr(Found + cCharset.size());
        try {
            return ZnCodePage(Charset.substr(0, Charset.find(';')));
        } catch (const EConvertError&) {
            return cZnCodePageLatin1;
        }
    }
    if (AContentType.find("xml") != std::string_view::npos ||
        AContentType.find("json") != std::string_view::npos)
        return cZnCodePageUTF8;
    if (AContentType.starts_with("text/"))
        return cZnCodePageLatin1;
    return cZnCodePageSystem;
}

void BodyReader::ReadLength(TZnStringStream& ABody, std::int64_t ALength)
{
    if (FMaxSize > 0 && ALength > FMaxSize)
        RaiseTooLarge();
    SetSize(ABody, ALength);
    while (FReceived < ALength) {
        const std::uint32_t Status = Receive(ABody);
        // The last bytes may come together with the news that they were the last.
        if (FReceived == ALength)
            return;
        CheckConnection(Status);
        if (Status == ERROR_HANDLE_EOF || FLastRead == 0)
            RaiseIncomplete();
        CheckResult(Status);
    }
}

void BodyReader::ReadChunked(TZnStringStream& ABody)
{
    SetSize(ABody, FStep);
    for (;;) {
        const std::uint32_t Status = Receive(ABody);
        if (Status == ERROR_HANDLE_EOF)
            break;
        CheckConnection(Status);
        CheckResult(Status);
        if (FLastRead == 0)
            RaiseIncomplete(); // would go round for ever
        if (ABody.GetSize() - FReceived < FStep)
            SetSize(ABody, ABody.GetSize() + FStep);
    }
    SetSize(ABody, FReceived);
}

/// Receives behind what is there already. Counts bytes that came with a failure as well.
std::uint32_t BodyReader::Receive(TZnStringStream& ABody)
{
    const std::int64_t Room = ABody.GetSize() - FReceived;
    FLastRead = 0;
    const std::uint32_t Status = HttpApi.HttpReceiveRequestEntityBody(
        FReqQueue, FRequestId, 0, ABody.Memory() + FReceived,
        static_cast<std::uint32_t>(std::min<std::int64_t>(Room, std::numeric_limits<std::uint32_t>::max())),
        &FLastRead, nullptr);
    FReceived += FLastRead;
    if (FMaxSize > 0 && FReceived > FMaxSize)
        RaiseTooLarge();
    return Status;
}

void BodyReader::SetSize(TZnStringStream& ABody, std::int64_t ASize)
{
    try {
        ABody.SetSize(ASize);
    } catch (const EOutOfMemory&) {
        RaiseTooLarge();
    } catch (const std::bad_alloc&) {
        RaiseTooLarge();
    }
}

void BodyReader::RaiseTooLarge()
{
    throw EZnHTTPException("The request body is too large!", 413);
}

void BodyReader::RaiseIncomplete()
{
    throw EAbort("Failed to retrieve the complete content!");
}

void BodyReader::CheckConnection(std::uint32_t AStatus)
{
    if (AStatus == ERROR_CONNECTION_INVALID)
        throw EZnHTTPConnection(SysErrorMessage(AStatus), ERROR_CONNECTION_INVALID);
}

} // namespace Zn

static constexpr std::uint32_t cBodyStepFactor = 16;

bool TZnHTTPServerResponseThread::GetBody(std::shared_ptr<IZnBodyContent>& Body)
{
    Body = FBody;
    if (FBody)
        return !FBody->IsEmpty();

    // 64 bits, also where 32 would do for most: a length that was cut would read as another body.
    const std::int64_t Length = StrToInt64Def(GetHeaderView(HttpHeaderContentLength), 0);
    const bool Chunked = Length == 0 && SameText(GetHeaderView(HttpHeaderTransferEncoding), "Chunked");
    if (Length <= 0 && !Chunked)
        return false;

    std::string ContentType = GetHeaderValue(HttpHeaderContentType);
    const std::uint32_t Step = static_cast<std::uint32_t>(std::max(RequestBufferSize, 1)) * cBodyStepFactor;
    auto Stream = std::make_unique<TZnStringStream>(Zn::BodyCodePage(ContentType), Step);
    Zn::BodyReader Reader(GetReqQueue(), FHTTP_REQUEST->RequestId, Step, FHTTPServer.GetMaxBodySize());
    try {
        if (Chunked)
            Reader.ReadChunked(*Stream);
        else
            Reader.ReadLength(*Stream, Length);
    } catch (...) {
        FReceivedBytes += static_cast<std::uint64_t>(Reader.GetReceived());
        throw;
    }
    FReceivedBytes += static_cast<std::uint64_t>(Reader.GetReceived());
    FBody = std::make_shared<TZnBodyContent>(std::move(Stream), std::move(ContentType));
    Body = FBody;
    return !FBody->IsEmpty();
}
