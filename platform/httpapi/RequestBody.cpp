#include "platform/httpapi/RequestBody.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include <sys/uio.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Connection.h"

namespace Zn
{
namespace
{

enum class Step { Bytes, End, Blocked, Failed };

struct StepResult
{
    Step Kind;
    std::uint32_t Bytes = 0;
};

StepResult FromIo(IoResult AResult)
{
    switch (AResult.State) {
    case IoState::Done:
        return {Step::Bytes, static_cast<std::uint32_t>(AResult.Bytes)};
    case IoState::WouldBlock:
        return {Step::Blocked};
    default:
        return {Step::Failed}; // the end of the stream too: the body promised more
    }
}

/// Moves up to ALength bytes from the front of what was received with the head.
std::uint32_t TakeInput(std::string& AInput, void* ABuffer, std::size_t ALength)
{
    const std::size_t Length = std::min(ALength, AInput.size());
    std::memcpy(ABuffer, AInput.data(), Length);
    AInput.erase(0, Length);
    return static_cast<std::uint32_t>(Length);
}

StepResult StepOfLength(Connection& AConnection, void* ABuffer, std::uint32_t ALength)
{
    RequestState& Request = AConnection.Request;
    const auto Wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(ALength, Request.BodyLeft));
    const StepResult Result = AConnection.Input.empty()
                                  ? FromIo(AConnection.Io.Receive(ABuffer, Wanted))
                                  : StepResult{Step::Bytes, TakeInput(AConnection.Input, ABuffer, Wanted)};
    Request.BodyLeft -= Result.Bytes;
    Request.BodyDone = Request.BodyLeft == 0;
    return Result;
}

StepResult DecodeInput(Connection& AConnection, void* ABuffer, std::uint32_t ALength)
{
    RequestState& Request = AConnection.Request;
    const auto Decoded = Request.Chunked->Decode(AConnection.Input, static_cast<char*>(ABuffer), ALength);
    AConnection.Input.erase(0, Decoded.Consumed);
    Request.BodyDone = Decoded.Status == ChunkedDecoder::State::Done;
    if (Decoded.Status == ChunkedDecoder::State::Bad)
        return {Step::Failed};
    if (Decoded.Produced > 0)
        return {Step::Bytes, static_cast<std::uint32_t>(Decoded.Produced)};
    return {Request.BodyDone ? Step::End : Step::Blocked};
}

StepResult StepOfChunked(Connection& AConnection, void* ABuffer, std::uint32_t ALength)
{
    constexpr std::size_t FramingStep = 4096; // chunk headers and trailers pass through Input
    ChunkedDecoder& Decoder = *AConnection.Request.Chunked;
    if (!AConnection.Input.empty()) {
        const StepResult Result = DecodeInput(AConnection, ABuffer, ALength);
        if (Result.Kind != Step::Blocked)
            return Result;
    }
    if (const std::uint64_t Left = Decoder.DataRemaining(); Left > 0) {
        const StepResult Result = FromIo(AConnection.Io.Receive(
            ABuffer, static_cast<std::size_t>(std::min<std::uint64_t>(ALength, Left))));
        Decoder.DataConsumed(Result.Bytes);
        return Result;
    }
    const std::size_t Had = AConnection.Input.size();
    AConnection.Input.resize(Had + FramingStep);
    const StepResult Framing = FromIo(AConnection.Io.Receive(AConnection.Input.data() + Had, FramingStep));
    AConnection.Input.resize(Had + Framing.Bytes);
    return Framing.Kind == Step::Bytes ? DecodeInput(AConnection, ABuffer, ALength) : Framing;
}

StepResult StepOfBody(Connection& AConnection, void* ABuffer, std::uint32_t ALength)
{
    return AConnection.Request.Body == BodyKind::Chunked ? StepOfChunked(AConnection, ABuffer, ALength)
                                                         : StepOfLength(AConnection, ABuffer, ALength);
}

/// RFC 9110, 10.1.1: the peer waits for this before it sends its body.
void SendContinue(Connection& AConnection)
{
    AConnection.Request.AwaitsContinue = false;
    if (!AConnection.Input.empty() || AConnection.Response.HeadSent)
        return; // it did not wait
    std::string_view Text = "HTTP/1.1 100 Continue\r\n\r\n";
    const iovec Part{const_cast<char*>(Text.data()), Text.size()};
    // 25 bytes into a send buffer that nothing was written to since the last response was taken.
    AConnection.Io.Send({&Part, 1}, false);
}

std::uint32_t Fail(Connection& AConnection)
{
    AConnection.Response.Close = true;
    return ERROR_CONNECTION_INVALID;
}

} // namespace

std::uint32_t ReceiveBody(Connection& AConnection, const TZnHttpServiceLimits& ALimits, void* ABuffer,
                          std::uint32_t ALength, std::uint32_t& AReceived)
{
    RequestState& Request = AConnection.Request;
    if (Request.BodyDone)
        return ERROR_HANDLE_EOF;
    if (AConnection.Response.Broken)
        return ERROR_CONNECTION_INVALID;
    if (Request.AwaitsContinue)
        SendContinue(AConnection);
    for (;;) {
        const StepResult Result = StepOfBody(AConnection, ABuffer, ALength);
        switch (Result.Kind) {
        case Step::Bytes:
            Request.BodyReceived += Result.Bytes;
            AReceived = Result.Bytes;
            return NO_ERROR;
        case Step::End:
            return ERROR_HANDLE_EOF;
        case Step::Failed:
            return Fail(AConnection);
        case Step::Blocked:
            if (!Request.BodyWait.Wait(AConnection.Io, Patience::Direction::Read, Request.BodyReceived,
                                       AConnection.Abandoned, ALimits.TransferWait,
                                       ALimits.MinBytesPerSecond))
                return Fail(AConnection);
        }
    }
}

bool DrainBody(Connection& AConnection)
{
    constexpr std::size_t Most = 256 * 1024; // beyond it a new connection is cheaper than reading on
    RequestState& Request = AConnection.Request;
    if (Request.AwaitsContinue)
        return false; // whether the body still comes is the peer's choice (RFC 9110, 10.1.1)
    char Discarded[16384];
    for (std::size_t Drained = 0; !Request.BodyDone && Drained < Most;) {
        const StepResult Result = StepOfBody(AConnection, Discarded, sizeof Discarded);
        if (Result.Kind != Step::Bytes)
            break;
        Drained += Result.Bytes;
    }
    return Request.BodyDone;
}

} // namespace Zn
