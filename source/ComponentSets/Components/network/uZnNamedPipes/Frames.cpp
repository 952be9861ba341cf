#include "uZnNamedPipes/Frames.h"

#include <bit>
#include <cstring>

// Numbers are copied as they stand in memory.
static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(TDateTime) == 8);

namespace Zn
{

namespace
{

constexpr std::size_t cTypeOffset = 4;
constexpr std::size_t cSendOnOffset = 5;
constexpr std::size_t cReceivedOnOffset = 13;
constexpr std::size_t cShortest = 10;

template <class T>
void Put(std::byte* AFrame, std::size_t AOffset, T AValue)
{
    std::memcpy(AFrame + AOffset, &AValue, sizeof(AValue));
}

template <class T>
T Get(const std::byte* AFrame, std::size_t AOffset)
{
    T Value;
    std::memcpy(&Value, AFrame + AOffset, sizeof(Value));
    return Value;
}

void PutStart(std::byte* AFrame, TZnNamedPipeMsgType AType)
{
    Put(AFrame, 0, cNamedPipeSignature);
    Put(AFrame, cTypeOffset, AType);
}

void PutBlockHead(std::byte* AFrame, std::size_t AOffset, TZnDataBufType ADataType, std::uint32_t ASize)
{
    Put(AFrame, AOffset, ADataType);
    Put(AFrame, AOffset + 1, ASize);
}

/// There is a block with a payload at AOffset, and it ends in the frame.
bool HoldsBlock(std::span<const std::byte> AFrame, std::size_t AOffset)
{
    const std::size_t PayloadOffset = AOffset + sizeof(TZnDataBuffer);
    return AFrame.size() > PayloadOffset &&
           Get<std::uint32_t>(AFrame.data(), AOffset + 1) <= AFrame.size() - PayloadOffset;
}

} // namespace

FrameKind RecogniseFrame(std::span<const std::byte> AFrame)
{
    if (AFrame.size() < cShortest || Get<std::uint32_t>(AFrame.data(), 0) != cNamedPipeSignature)
        return FrameKind::Raw;
    const auto KindIf = [](bool AHolds, FrameKind AKind) { return AHolds ? AKind : FrameKind::Raw; };
    switch (std::to_integer<std::uint8_t>(AFrame[cTypeOffset])) {
    case dtNetworkCheck:
        return KindIf(AFrame.size() == cNetworkCheckLength, FrameKind::NetworkCheck);
    case dtPingRequest:
        return KindIf(AFrame.size() == cPingLength, FrameKind::PingRequest);
    case dtPingResponse:
        return KindIf(AFrame.size() == cPingLength, FrameKind::PingResponse);
    case dtCmdRequest:
        return KindIf(HoldsBlock(AFrame, cCmdBlockOffset), FrameKind::CmdRequest);
    case dtCmdResponse:
        return KindIf(HoldsBlock(AFrame, cCmdBlockOffset), FrameKind::CmdResponse);
    case dtData:
        return KindIf(HoldsBlock(AFrame, cDataBlockOffset), FrameKind::Data);
    default:
        return FrameKind::Raw;
    }
}

std::int64_t FrameCommandID(const std::byte* AFrame)
{
    return Get<std::int64_t>(AFrame, cCommandIDOffset);
}

TDateTime PingSendOn(const std::byte* AFrame)
{
    return Get<TDateTime>(AFrame, cSendOnOffset);
}

TDateTime PingReceivedOn(const std::byte* AFrame)
{
    return Get<TDateTime>(AFrame, cReceivedOnOffset);
}

DataHead MakeDataHead(TZnDataBufType ADataType, std::uint32_t ASize)
{
    DataHead Head;
    PutStart(Head.data(), dtData);
    PutBlockHead(Head.data(), cDataBlockOffset, ADataType, ASize);
    return Head;
}

CommandHead MakeCommandHead(TZnNamedPipeMsgType AType, std::int64_t ACommandID, TZnDataBufType ADataType,
                            std::uint32_t ASize)
{
    CommandHead Head;
    PutStart(Head.data(), AType);
    Put(Head.data(), cCommandIDOffset, ACommandID);
    PutBlockHead(Head.data(), cCmdBlockOffset, ADataType, ASize);
    return Head;
}

NetworkCheckFrame MakeNetworkCheck(TDateTime ATimestamp)
{
    NetworkCheckFrame Frame;
    PutStart(Frame.data(), dtNetworkCheck);
    Put(Frame.data(), cSendOnOffset, ATimestamp);
    return Frame;
}

PingFrame MakePingRequest(TDateTime ASendOn)
{
    PingFrame Frame;
    PutStart(Frame.data(), dtPingRequest);
    Put(Frame.data(), cSendOnOffset, ASendOn);
    Put(Frame.data(), cReceivedOnOffset, TDateTime(0));
    return Frame;
}

void MakePingResponse(std::byte* ARequest, TDateTime AReceivedOn)
{
    Put(ARequest, cTypeOffset, dtPingResponse);
    Put(ARequest, cReceivedOnOffset, AReceivedOn);
}

} // namespace Zn
