#include "uZnHTTPServer/ResponseSender.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>
#include <vector>

#include "common/Deflate.h"
#include "common/Exceptions.h"
#include "common/System.h"
#include "common/Text.h"
#include "platform/sync/File.h"
#include "uZnHTTPServer/Ranges.h"
#include "uZnHTTPServer/Worker.h"

namespace Zn
{
namespace
{

/// Lengths of the service's header records have 16 bits.
std::uint16_t Length16(std::string_view AText, const char* AWhat)
{
    if (AText.size() > std::numeric_limits<std::uint16_t>::max())
        throw Exception(ZnFormat("The %s of a response is longer than 65535 bytes!", AWhat));
    return static_cast<std::uint16_t>(AText.size());
}

/// A response's chunks: one in nearly all cases, and no allocation for it.
class ChunkList
{
public:
    ChunkList(const std::byte* ABytes, std::uint64_t ALength, std::uint32_t AMaxChunkSize)
    {
        constexpr std::uint64_t cMaxCount = std::numeric_limits<std::uint16_t>::max();
        // Larger chunks rather than more than their count can tell.
        const std::uint64_t Size =
            std::max<std::uint64_t>(AMaxChunkSize, (ALength + cMaxCount - 1) / cMaxCount);
        FCount = (ALength + Size - 1) / Size;
        if (FCount > 1)
            FMany.resize(FCount);
        THTTP_DATA_CHUNK* Chunk = Data();
        for (std::uint64_t Offset = 0; Offset < ALength; Offset += Size, ++Chunk) {
            Chunk->DataChunkType = HttpDataChunkFromMemory;
            Chunk->FromMemory.pBuffer = ABytes + Offset;
            Chunk->FromMemory.BufferLength = static_cast<std::uint32_t>(std::min(Size, ALength - Offset));
        }
    }

    std::uint16_t Count() const { return static_cast<std::uint16_t>(FCount); }
    THTTP_DATA_CHUNK* Data() { return FCount > 1 ? FMany.data() : &FOne; }

private:
    std::uint64_t FCount;
    THTTP_DATA_CHUNK FOne{};
    std::vector<THTTP_DATA_CHUNK> FMany;
};

/// The bytes of a stream, and their release if they were read for the purpose.
class StreamBytes
{
public:
    explicit StreamBytes(TStream& AStream) : FMustFree(ZnStreamToReadBuf(AStream, FBytes, FLength)) {}
    ~StreamBytes()
    {
        if (FMustFree)
            ZnFreeReadBuf(FBytes);
    }
    StreamBytes(const StreamBytes&) = delete;
    StreamBytes& operator=(const StreamBytes&) = delete;

    const void* Bytes() const { return FBytes; }
    std::uint64_t Length() const { return static_cast<std::uint64_t>(FLength); }

private:
    const void* FBytes = nullptr;
    std::int64_t FLength = 0;
    bool FMustFree;
};

} // namespace

void ResponseSender::Send()
{
    CheckSource();
    SetStatus();
    SetHeaders();
    CompressText(); // ahead of the length, which counts coded bytes
    ChooseConnection();
    MeasureContent();
    SelectRange();
    SetContentLength();
    if (SendHead())
        SendBody();
}

void ResponseSender::SendFailure()
{
    FHead = {};
    FHead.StatusCode = 500;
    FHead.pReason = FResponse.GetStatusDescription().data();
    FHead.ReasonLength = Length16(FResponse.GetStatusDescription(), "reason phrase");
    std::uint32_t BytesSent = 0;
    FWorker.SendHttpResponse(HTTP_SEND_RESPONSE_FLAG_DISCONNECT, &FHead, BytesSent);
}

/// Refuses what could not be sent once the head is out.
void ResponseSender::CheckSource() const
{
    const TZnHTTPServerResponseType Type = FResponse.GetResponseType();
    if (Type > rtFile)
        throw Exception("Invalid ResponseType");
    if (Type != rtFile && FResponse.GetMaxChunkSize() == 0)
        throw Exception("Invalid MaxChunkSize: 0");
}

void ResponseSender::SetStatus()
{
    // A status line has three digits, and a 1xx is no answer (RFC 9110, 15). The codes of platform
    // failures, which travel in the same exceptions, are the server's own trouble.
    const auto Code = static_cast<std::uint16_t>(FResponse.GetStatusCode());
    FHead.StatusCode = Code >= 200 && Code <= 999 ? Code : 500;
    FHead.pReason = FResponse.GetStatusDescription().data();
    FHead.ReasonLength = Length16(FResponse.GetStatusDescription(), "reason phrase");
}

void ResponseSender::SetHeaders()
{
    if (!FResponse.GetWwwAuthenticate().empty())
        SetKnown(HttpHeaderWwwAuthenticate, FResponse.GetWwwAuthenticate());
    if (FResponse.GetResponseType() == rtFile && FResponse.GetPartialContent())
        SetKnown(HttpHeaderAcceptRanges, "bytes");
    SetKnown(HttpHeaderContentType, FResponse.GetContentType());
    if (!FResponse.GetContentEncoding().empty())
        SetKnown(HttpHeaderContentEncoding, FResponse.GetContentEncoding());

    const std::vector<TZnHTTPHeader>& Headers = FResponse.GetUnknownHeaders();
    if (Headers.empty())
        return;
    if (Headers.size() > std::numeric_limits<std::uint16_t>::max())
        throw Exception("A response has more than 65535 headers!");
    FUnknownHeaders.reserve(Headers.size());
    for (const TZnHTTPHeader& Each : Headers)
        FUnknownHeaders.push_back({Length16(Each.Name, "header name"), Length16(Each.Value, "header value"),
                                   Each.Name.data(), Each.Value.data()});
    FHead.Headers.UnknownHeaderCount = static_cast<std::uint16_t>(FUnknownHeaders.size());
    FHead.Headers.pUnknownHeaders = FUnknownHeaders.data();
}

/// Only texts are ever compressed, when the application asks for it by a content coding and the
/// client takes "deflate".
void ResponseSender::CompressText()
{
    if (FResponse.GetContentEncoding().empty() || FResponse.GetResponseType() != rtText ||
        FResponse.GetResponseText().empty() ||
        RequestHeader(HttpHeaderAcceptEncoding).find("deflate") == std::string_view::npos)
        return;
    const std::string& Text = FResponse.GetResponseText();
    TZnMemoryStream Plain(std::as_bytes(std::span(Text)));
    auto Packed = std::make_unique<TMemoryStream>();
    ZlCompressStream(Plain, *Packed, clDefault, true);
    Packed->SetPosition(0);
    FResponse.SetResponseType(rtStream);
    FResponse.SetResponseStream(std::move(Packed));
}

void ResponseSender::ChooseConnection()
{
    if (SameText(RequestHeader(HttpHeaderKeepAlive), "Keep-Alive") ||
        FRequest.HTTP_REQUEST->Version.MinorVersion != 0) {
        SetKnown(HttpHeaderKeepAlive, "Keep-Alive");
        FSendFlags = 0;
    } else {
        FSendFlags = HTTP_SEND_RESPONSE_FLAG_DISCONNECT;
    }
}

void ResponseSender::MeasureContent()
{
    const auto NotNegative = [](std::int64_t ASize) {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(ASize, 0));
    };
    switch (FResponse.GetResponseType()) {
    case rtText:
        FContentLength = FResponse.GetResponseText().size();
        break;
    case rtMemory:
        FContentLength = FResponse.GetResponseBuffer() != nullptr ? FResponse.GetResponseBufSize() : 0;
        break;
    case rtStream:
        if (FResponse.GetResponseStream() != nullptr)
            FContentLength = NotNegative(FResponse.GetResponseStream()->GetSize());
        break;
    case rtFile:
        FContentLength = NotNegative(ZnGetFileSize(FResponse.GetResponseFileName()));
        break;
    }
}

void ResponseSender::SelectRange()
{
    const std::string_view Range = RequestHeader(HttpHeaderRange);
    const std::int32_t Status = FResponse.GetStatusCode();
    if (!FResponse.GetPartialContent() || FRequest.HttpVerb != HttpVerbGET ||
        FResponse.GetResponseType() != rtFile || Status < 200 || Status > 299 || Range.empty())
        return;
    ByteRange Selected = SelectByteRange(Range, FContentLength);
    FContentRange = std::move(Selected.ContentRange);
    SetKnown(HttpHeaderContentRange, FContentRange);
    FContentLength = Selected.ContentLength;
    FRangeFirst = Selected.First;
    FRangeLength = Selected.Length;
    FHead.StatusCode = Selected.Satisfiable ? 206 : 416;
    if (!Selected.Satisfiable) {
        FRefusedReason = HttpStatusMsg(416);
        FHead.pReason = FRefusedReason.data();
        FHead.ReasonLength = static_cast<std::uint16_t>(FRefusedReason.size());
    }
}

void ResponseSender::SetContentLength()
{
    // These have no content; a length of 0 would say that the representation is empty (RFC 9110, 8.6).
    if (HasNoContent())
        return;
    const auto End = std::to_chars(FContentLengthText.data(),
                                   FContentLengthText.data() + FContentLengthText.size(), FContentLength);
    SetKnown(HttpHeaderContentLength,
             {FContentLengthText.data(), static_cast<std::size_t>(End.ptr - FContentLengthText.data())});
}

/// True when a body is to follow.
bool ResponseSender::SendHead()
{
    const bool IsHead = FRequest.HttpVerb == HttpVerbHEAD;
    std::uint32_t BytesSent = 0;
    const std::uint32_t Status =
        FWorker.SendHttpResponse(IsHead ? 0 : HTTP_SEND_RESPONSE_FLAG_MORE_DATA, &FHead, BytesSent);
    return Status == 0 && !IsHead;
}

void ResponseSender::SendBody()
{
    if (HasNoContent())
        return SendNothing();
    switch (FResponse.GetResponseType()) {
    case rtText:
        SendMemory(FResponse.GetResponseText().data(), FContentLength);
        break;
    case rtMemory:
        SendMemory(FResponse.GetResponseBuffer(), FContentLength);
        break;
    case rtStream:
        SendStream();
        break;
    case rtFile:
        SendFile();
        break;
    }
}

void ResponseSender::SendFile()
{
    if (FResponse.GetResponseFileName().empty() || FContentLength == 0)
        return SendNothing();
    FResponse.SetResponseFileHandle(OpenFileForRead(FResponse.GetResponseFileName()));
    FResponse.SetReleaseContent(true);
    // Gone since it was measured: the promised bytes can't be sent, so the response stays unfinished.
    if (FResponse.GetResponseFileHandle() == 0)
        return;
    THTTP_DATA_CHUNK Chunk{};
    Chunk.DataChunkType = HttpDataChunkFromFileHandle;
    Chunk.FromFileHandle.ByteRange = {FRangeFirst, FRangeLength};
    Chunk.FromFileHandle.FileHandle = FResponse.GetResponseFileHandle();
    std::uint32_t BytesSent = 0;
    FWorker.SendHttpResponseEntityBody(FSendFlags, 1, &Chunk, BytesSent);
}

void ResponseSender::SendStream()
{
    if (FResponse.GetResponseStream() == nullptr)
        return SendNothing();
    const StreamBytes Bytes(*FResponse.GetResponseStream());
    // A stream that changed its length since: unfinished rather than another length than promised.
    if (Bytes.Length() == FContentLength)
        SendMemory(Bytes.Bytes(), FContentLength);
}

void ResponseSender::SendMemory(const void* ABytes, std::uint64_t ALength)
{
    ChunkList Chunks(static_cast<const std::byte*>(ABytes), ALength, FResponse.GetMaxChunkSize());
    std::uint32_t BytesSent = 0;
    FWorker.SendHttpResponseEntityBody(FSendFlags, Chunks.Count(), Chunks.Data(), BytesSent);
}

/// Ends a response without a body in an orderly way.
void ResponseSender::SendNothing()
{
    std::uint32_t BytesSent = 0;
    FWorker.SendHttpResponseEntityBody(FSendFlags, 0, nullptr, BytesSent);
}

bool ResponseSender::HasNoContent() const
{
    return FHead.StatusCode == 204 || FHead.StatusCode == 304;
}

void ResponseSender::SetKnown(THTTP_HEADER_ID AHeader, std::string_view AValue)
{
    FHead.Headers.KnownHeaders[AHeader] = {Length16(AValue, "header value"), AValue.data()};
}

std::string_view ResponseSender::RequestHeader(THTTP_HEADER_ID AHeader) const
{
    return FWorker.GetHeaderView(AHeader);
}

} // namespace Zn
