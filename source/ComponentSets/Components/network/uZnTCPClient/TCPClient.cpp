#include "uZnTCPClient.h"

#include <array>
#include <chrono>

#include "common/Streams.h"
#include "platform/errors/Errors.h"

namespace
{

constexpr std::int32_t cAnswerTimeOut = 1000; // the longest pause within an answer
constexpr std::int32_t cLook = 100;
constexpr std::size_t cBlock = 1024;

/// Does AWork; a failed connection is closed, so that the next call makes a new one.
template <class TWork>
auto DisconnectOnError(TZnTCPClient& AClient, const TWork& AWork)
{
    try {
        return AWork();
    } catch (const ESocketError&) {
        AClient.Disconnect();
        throw;
    }
}

} // namespace

TZnTCPClient::TZnTCPClient(TComponent* AOwner) : TClientSocket(AOwner) {}

void TZnTCPClient::Send(const std::string& ACmd)
{
    DisconnectOnError(*this, [&] {
        Connect();
        TWinSocketStream Stream(*this, FTimeOut);
        Stream.WriteBuffer(ACmd.data(), static_cast<std::int64_t>(ACmd.size()));
    });
}

std::string TZnTCPClient::SendCmd(const std::string& ACmd, char ATerminator)
{
    return DisconnectOnError(*this, [&] {
        Connect();
        TWinSocketStream Stream(*this, cAnswerTimeOut);
        TZnStringStream Answer(0, 16);
        Stream.WriteBuffer(ACmd.data(), static_cast<std::int64_t>(ACmd.size()));
        InternalWaitForData(Stream, FTimeOut, true);
        InternalReadSocket(Stream, Answer, ATerminator);
        return Answer.GetAString();
    });
}

bool TZnTCPClient::InternalWaitForData(TWinSocketStream& AStream, std::int32_t ATimeout, bool ARaise)
{
    using TClock = std::chrono::steady_clock;
    const auto Start = TClock::now();
    bool Came = false;
    do {
        Came = AStream.WaitForData(cLook);
    } while (!Came && TClock::now() - Start <= std::chrono::milliseconds(ATimeout));
    if (!Came && ARaise)
        throw EZnSocketWaitForData("The server did not send data within the specified timeframe!\r\n"
                                   "This can be caused by a low WaitForData value!");
    return Came;
}

void TZnTCPClient::InternalReadSocket(TWinSocketStream& AStream, TStream& ATarget, char ATerminator)
{
    std::array<char, cBlock> Block;
    for (;;) {
        const std::int64_t Count = AStream.Read(Block.data(), cBlock);
        if (ATarget.GetSize() + Count > FMaxAnswerLength)
            RaiseError(WSAEMSGSIZE, "The answer is longer than MaxAnswerLength!");
        ATarget.WriteBuffer(Block.data(), Count);
        if (!GetActive())
            throw EZnSocketNotAllDataRetrieved(
                "The connection has dropped before the result could be fetched!");
        if (Count == 0 || Block[static_cast<std::size_t>(Count) - 1] == ATerminator)
            return;
    }
}
