#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "common/DateTime.h"
#include "uZnNamedPipes/DataBuffer.h"

/// The frames on the wire. One frame is one pipe message; integers are little-endian, nothing is
/// padded:
///
///   | 00 FF FF 00 | type | what the type says |
///
///   dtNetworkCheck                   Timestamp: 8                       13 bytes
///   dtPingRequest, dtPingResponse    SendOn: 8 | ReceivedOn: 8          21 bytes
///   dtCmdRequest, dtCmdResponse      CommandID: 8 | data block          18 bytes + payload
///   dtData                           data block                         10 bytes + payload
///
/// A date-time is a double: days since 30 December 1899, local time of the machine that wrote it.

enum TZnNamedPipeMsgType : std::uint8_t {
    dtNetworkCheck = 0,
    dtPingRequest = 1,
    dtPingResponse = 2,
    dtCmdRequest = 3,
    dtCmdResponse = 4,
    dtData = 5,
};

/// The first four bytes of a frame, the lowest first.
inline constexpr std::uint32_t cNamedPipeSignature = 0x00FFFF00;

namespace Zn
{

inline constexpr std::size_t cNetworkCheckLength = 13;
inline constexpr std::size_t cPingLength = 21;
inline constexpr std::size_t cCommandIDOffset = 5;
inline constexpr std::size_t cCmdBlockOffset = 13;
inline constexpr std::size_t cDataBlockOffset = 5;

/// What a frame is to its receiver. Raw: none of the typed frames, whatever it looks like.
enum class FrameKind { Raw, NetworkCheck, PingRequest, PingResponse, CmdRequest, CmdResponse, Data };

/// Reads the head of a frame. A frame whose data block claims more bytes than the frame has is raw.
FrameKind RecogniseFrame(std::span<const std::byte> AFrame);

/// Of a recognised frame.
std::int64_t FrameCommandID(const std::byte* AFrame);
TDateTime PingSendOn(const std::byte* AFrame);
TDateTime PingReceivedOn(const std::byte* AFrame);
inline PZnDataBuffer FrameBlock(std::byte* AFrame, std::size_t AOffset)
{
    return reinterpret_cast<PZnDataBuffer>(AFrame + AOffset);
}

/// What stands before the payload.
using DataHead = std::array<std::byte, cDataBlockOffset + sizeof(TZnDataBuffer)>;
using CommandHead = std::array<std::byte, cCmdBlockOffset + sizeof(TZnDataBuffer)>;
DataHead MakeDataHead(TZnDataBufType ADataType, std::uint32_t ASize);
CommandHead MakeCommandHead(TZnNamedPipeMsgType AType, std::int64_t ACommandID, TZnDataBufType ADataType,
                            std::uint32_t ASize);

using NetworkCheckFrame = std::array<std::byte, cNetworkCheckLength>;
using PingFrame = std::array<std::byte, cPingLength>;
NetworkCheckFrame MakeNetworkCheck(TDateTime ATimestamp);
PingFrame MakePingRequest(TDateTime ASendOn);
/// Turns a received request into its answer.
void MakePingResponse(std::byte* ARequest, TDateTime AReceivedOn);

} // namespace Zn
