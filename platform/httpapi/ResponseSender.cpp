#include "platform/httpapi/ResponseSender.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <optional>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <sys/uio.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Connection.h"
#include "platform/httpapi/RequestBody.h"
#include "platform/httpapi/RequestQueue.h"
#include "platform/httpapi/ResponseHead.h"

namespace Zn
{
namespace
{

bool IsFile(const THTTP_DATA_CHUNK& AChunk)
{
    return AChunk.DataChunkType == HttpDataChunkFromFileHandle;
}

/// Bytes of a chunk; a file "to its end" is measured now. nullopt for a file that isn't one.
std::optional<std::uint64_t> LengthOf(const THTTP_DATA_CHUNK& AChunk)
{
    if (!IsFile(AChunk))
        return AChunk.FromMemory.BufferLength;
    const THTTP_BYTE_RANGE& Range = AChunk.FromFileHandle.ByteRange;
    struct stat Info
    {
    };
    const int Fd = FdFromHandle(AChunk.FromFileHandle.FileHandle);
    if (Fd < 0 || fstat(Fd, &Info) != 0 || !S_ISREG(Info.st_mode))
        return std::nullopt;
    const auto Size = static_cast<std::uint64_t>(Info.st_size);
    const std::uint64_t ToEnd = Size > Range.StartingOffset ? Size - Range.StartingOffset : 0;
    return Range.Length == HTTP_BYTE_RANGE_TO_EOF ? ToEnd : Range.Length;
}

std::optional<std::uint64_t> LengthOf(std::span<const THTTP_DATA_CHUNK> AChunks)
{
    std::uint64_t Sum = 0;
    for (const THTTP_DATA_CHUNK& Each : AChunks) {
        const auto Length = LengthOf(Each);
        if (!Length)
            return std::nullopt;
        Sum += *Length;
    }
    return Sum;
}

/// Writes to the socket of one connection, waiting where it has to. After a failure nothing more is sent.
class Output
{
public:
    Output(Connection& AConnection, const TZnHttpServiceLimits& ALimits)
        : FConnection(AConnection), FLimits(ALimits)
    {
    }

    void Add(std::string_view AText)
    {
        if (!AText.empty())
            FParts.push_back({const_cast<char*>(AText.data()), AText.size()}); // only read
    }

    /// AMore: a file follows in the same segment.
    bool Flush(bool AMore)
    {
        std::span<iovec> Left = FParts;
        while (!Left.empty()) {
            const auto Batch = Left.first(std::min<std::size_t>(Left.size(), IOV_MAX));
            const IoResult Result = FConnection.Io.Send(Batch, AMore || Batch.size() < Left.size());
            if (!Proceed(Result))
                return false;
            Left = Skip(Left, Result.Bytes);
        }
        FParts.clear();
        return true;
    }

    /// Sends exactly ALength bytes of the file, fewer where it turned out shorter.
    std::optional<std::uint64_t> SendFile(const THTTP_DATA_CHUNK& AChunk, std::uint64_t ALength)
    {
        const int Fd = FdFromHandle(AChunk.FromFileHandle.FileHandle);
        std::uint64_t Done = 0;
        while (Done < ALength) {
            const IoResult Result = FConnection.Io.SendFile(
                Fd, AChunk.FromFileHandle.ByteRange.StartingOffset + Done, ALength - Done);
            if (Result.State == IoState::Ended)
                break;
            if (!Proceed(Result))
                return std::nullopt;
            Done += Result.Bytes;
        }
        return Done;
    }

private:
    /// Counts what was sent, waits where the peer has to read first; false when the connection is lost.
    bool Proceed(IoResult AResult)
    {
        ResponseState& Response = FConnection.Response;
        Response.Sent += AResult.Bytes;
        if (AResult.State == IoState::Done)
            return true;
        if (AResult.State == IoState::WouldBlock &&
            Response.SendWait.Wait(FConnection.Io, Patience::Direction::Write, Response.Sent,
                                   FConnection.Abandoned, FLimits.TransferWait, FLimits.MinBytesPerSecond))
            return true;
        Response.Broken = true;
        return false;
    }

    static std::span<iovec> Skip(std::span<iovec> AParts, std::size_t ABytes)
    {
        while (!AParts.empty() && ABytes >= AParts.front().iov_len) {
            ABytes -= AParts.front().iov_len;
            AParts = AParts.subspan(1);
        }
        if (ABytes > 0) {
            AParts.front().iov_base = static_cast<char*>(AParts.front().iov_base) + ABytes;
            AParts.front().iov_len -= ABytes;
        }
        return AParts;
    }

    Connection& FConnection;
    const TZnHttpServiceLimits& FLimits;
    std::vector<iovec> FParts;
};

std::string_view MemoryOf(const THTTP_DATA_CHUNK& AChunk)
{
    return {static_cast<const char*>(AChunk.FromMemory.pBuffer), AChunk.FromMemory.BufferLength};
}

/// "1a2b\r\n": the line ahead of a chunk (RFC 9112, 7.1).
class ChunkLine
{
public:
    std::string_view Make(std::uint64_t ALength)
    {
        char* const End = std::to_chars(FText.data(), FText.data() + FText.size() - 2, ALength, 16).ptr;
        End[0] = '\r';
        End[1] = '\n';
        return {FText.data(), static_cast<std::size_t>(End - FText.data()) + 2};
    }

private:
    std::array<char, 20> FText{};
};

/// The bytes of the chunks as they are. False when the connection is lost or a promise can't be kept.
bool SendPlain(Connection& AConnection, Output& AOutput, std::span<const THTTP_DATA_CHUNK> AChunks)
{
    ResponseState& Response = AConnection.Response;
    const bool Promised = Response.Body == Framing::Length;
    for (const THTTP_DATA_CHUNK& Each : AChunks) {
        if (!IsFile(Each)) {
            const std::uint32_t Length = Each.FromMemory.BufferLength;
            if (Promised && Length > Response.BodyLeft)
                return false; // a file ahead of it grew and used the promise up
            AOutput.Add(MemoryOf(Each));
            Response.BodyLeft -= Promised ? Length : 0;
            continue;
        }
        // A file that grew since its length was promised ends at the promise.
        const std::uint64_t Length =
            Promised ? std::min(*LengthOf(Each), Response.BodyLeft) : *LengthOf(Each);
        if (!AOutput.Flush(true))
            return false;
        const auto Sent = AOutput.SendFile(Each, Length);
        if (!Sent)
            return false;
        if (Promised)
            Response.BodyLeft -= *Sent;
        if (*Sent < Length)
            Response.Close = true;
    }
    return true;
}

/// Each run of memory chunks and each file becomes one chunk of the transfer coding.
bool SendChunked(Output& AOutput, std::span<const THTTP_DATA_CHUNK> AChunks)
{
    while (!AChunks.empty()) {
        const auto RunEnd = IsFile(AChunks.front()) ? AChunks.begin() + 1
                                                    : std::find_if(AChunks.begin(), AChunks.end(), IsFile);
        const auto Run = AChunks.first(static_cast<std::size_t>(RunEnd - AChunks.begin()));
        AChunks = AChunks.subspan(Run.size());
        const std::uint64_t Length = *LengthOf(Run);
        if (Length == 0)
            continue; // a chunk of length 0 would end the body
        ChunkLine Line;
        AOutput.Add(Line.Make(Length));
        if (IsFile(Run.front())) {
            if (!AOutput.Flush(true) || AOutput.SendFile(Run.front(), Length) != Length)
                return false;
        } else {
            for (const THTTP_DATA_CHUNK& Each : Run)
                AOutput.Add(MemoryOf(Each));
        }
        AOutput.Add("\r\n");
        if (!AOutput.Flush(true)) // Line goes out of scope
            return false;
    }
    return true;
}

/// What the peer still sends decides whether the connection can stay: the last moment to say so is the head.
void DecideConnection(Connection& AConnection, bool AFinal)
{
    if (AFinal && !AConnection.Request.BodyDone && !DrainBody(AConnection))
        AConnection.Response.Close = true;
}

bool SendParts(Connection& AConnection, Output& AOutput, std::span<const THTTP_DATA_CHUNK> AChunks,
               bool AFinal)
{
    switch (AConnection.Response.Body) {
    case Framing::None:
        break;
    case Framing::Chunked:
        if (!SendChunked(AOutput, AChunks))
            return false;
        if (AFinal)
            AOutput.Add("0\r\n\r\n");
        break;
    case Framing::Length:
    case Framing::UntilClose:
        if (!SendPlain(AConnection, AOutput, AChunks))
            return false;
        break;
    }
    return AOutput.Flush(false);
}

SendResult Emit(Connection& AConnection, const TZnHttpServiceLimits& ALimits,
                std::span<const THTTP_DATA_CHUNK> AChunks, bool AFinal)
{
    ResponseState& Response = AConnection.Response;
    if (Response.Broken)
        return {ERROR_CONNECTION_INVALID, AFinal};
    const std::uint64_t Before = Response.Sent;
    Output Out(AConnection, ALimits);
    if (!Response.HeadSent) {
        DecideConnection(AConnection, AFinal);
        AppendConnection(Response.Head, Response.Close, AConnection.Request.Http11, Response.KeepAliveValue);
        Out.Add(Response.Head);
        Response.HeadSent = true;
    }
    const bool Alive = SendParts(AConnection, Out, AChunks, AFinal);
    if (!Alive)
        Response.Broken = true;
    // A body shorter than promised can only be told by the end of the connection.
    if (AFinal && Response.Body == Framing::Length && Response.BodyLeft > 0)
        Response.Close = true;
    return {Alive ? NO_ERROR : ERROR_CONNECTION_INVALID, AFinal || !Alive, Response.Sent - Before};
}

std::optional<std::uint64_t> GivenLength(const THTTP_RESPONSE& AResponse, bool& AMalformed)
{
    const THTTP_KNOWN_HEADER& Header = AResponse.Headers.KnownHeaders[HttpHeaderContentLength];
    AMalformed = false;
    if (Header.pRawValue == nullptr || Header.RawValueLength == 0)
        return std::nullopt;
    std::uint64_t Length = 0;
    const char* const End = Header.pRawValue + Header.RawValueLength;
    const auto Read = std::from_chars(Header.pRawValue, End, Length);
    AMalformed = Read.ec != std::errc() || Read.ptr != End;
    return Length;
}

/// Chooses how the body leaves and tells the head so. False for a Content-Length that is none, or a file that
/// is none.
bool ChooseFraming(Connection& AConnection, const THTTP_RESPONSE& AResponse, bool AMoreFollows,
                   std::span<const THTTP_DATA_CHUNK> AChunks, HeadFraming& AHead)
{
    ResponseState& Response = AConnection.Response;
    bool Malformed = false;
    const auto Given = GivenLength(AResponse, Malformed);
    const auto InHand = LengthOf(AChunks);
    if (Malformed || !InHand)
        return false;
    if (HasNoBody(AResponse.StatusCode)) {
        Response.Body = Framing::None;
        // 304 may tell the length of what it stands for, 204 must not (RFC 9110, 8.6).
        AHead.Body = AResponse.StatusCode == 304 ? HeadFraming::Kind::AsGiven : HeadFraming::Kind::Nothing;
    } else if (Given) {
        Response.Body = Framing::Length;
        Response.BodyLeft = *Given;
    } else if (!AMoreFollows) {
        Response.Body = Framing::Length;
        Response.BodyLeft = *InHand;
        AHead = {HeadFraming::Kind::Length, *InHand};
    } else if (AConnection.Request.Http11) {
        Response.Body = Framing::Chunked;
        AHead.Body = HeadFraming::Kind::Chunked;
    } else {
        Response.Body = Framing::UntilClose;
        Response.Close = true;
    }
    if (AConnection.Request.IsHead)
        Response.Body = Framing::None; // the head is that of GET, the body stays away (RFC 9110, 9.3.2)
    return true;
}

/// Whether the chunks stay within what was promised. Files are cut at the promise instead.
bool WithinPromise(const ResponseState& AResponse, std::span<const THTTP_DATA_CHUNK> AChunks)
{
    if (AResponse.Body != Framing::Length)
        return true;
    std::uint64_t InMemory = 0;
    for (const THTTP_DATA_CHUNK& Each : AChunks)
        InMemory += IsFile(Each) ? 0 : Each.FromMemory.BufferLength;
    return InMemory <= AResponse.BodyLeft;
}

} // namespace

SendResult SendResponse(Connection& AConnection, const TZnHttpServiceLimits& ALimits, std::uint32_t AFlags,
                        const THTTP_RESPONSE& AResponse)
{
    ResponseState& Response = AConnection.Response;
    const bool MoreFollows = (AFlags & HTTP_SEND_RESPONSE_FLAG_MORE_DATA) != 0;
    const std::span<const THTTP_DATA_CHUNK> Chunks{AResponse.pEntityChunks, AResponse.EntityChunkCount};
    HeadFraming Head;
    if (Response.HeadGiven || !IsSendable(AResponse) ||
        !ChooseFraming(AConnection, AResponse, MoreFollows, Chunks, Head) || !WithinPromise(Response, Chunks))
        return {ERROR_INVALID_PARAMETER};
    Response.HeadGiven = true;
    Response.Close |= !AConnection.Request.KeepAlive || (AFlags & HTTP_SEND_RESPONSE_FLAG_DISCONNECT) != 0 ||
                      IsLastAnswer(AConnection);
    const THTTP_KNOWN_HEADER& KeepAlive = AResponse.Headers.KnownHeaders[HttpHeaderKeepAlive];
    if (KeepAlive.pRawValue != nullptr)
        Response.KeepAliveValue.assign(KeepAlive.pRawValue, KeepAlive.RawValueLength);
    Response.Head.clear();
    AppendHead(Response.Head, AResponse, Head);
    if (MoreFollows && Chunks.empty())
        return {NO_ERROR}; // held: it leaves with the first bytes of the body
    return Emit(AConnection, ALimits, Chunks, !MoreFollows);
}

SendResult SendBody(Connection& AConnection, const TZnHttpServiceLimits& ALimits, std::uint32_t AFlags,
                    std::span<const THTTP_DATA_CHUNK> AChunks)
{
    ResponseState& Response = AConnection.Response;
    if (!Response.HeadGiven || !LengthOf(AChunks) || !WithinPromise(Response, AChunks))
        return {ERROR_INVALID_PARAMETER};
    Response.Close |= (AFlags & HTTP_SEND_RESPONSE_FLAG_DISCONNECT) != 0;
    return Emit(AConnection, ALimits, AChunks, (AFlags & HTTP_SEND_RESPONSE_FLAG_MORE_DATA) == 0);
}

} // namespace Zn
