/// A frame is typed only if a reader of its fields stays within it, and what it is made of reads back.

#include <cstring>
#include <string>
#include <vector>

#include "fuzz/FuzzCheck.h"
#include "uZnNamedPipes/Frames.h"

namespace
{

using namespace Zn;

/// Reads what the dispatcher hands out of a block.
void ReadBlock(std::vector<std::byte>& AFrame, std::size_t AOffset)
{
    const TZnDataBuffer& Block = *FrameBlock(AFrame.data(), AOffset);
    FuzzCheck(Block.Size <= AFrame.size() - AOffset - sizeof(TZnDataBuffer), "the block ends in its frame");
    FuzzCheck(DataBufferToAnsi(Block).size() == Block.Size, "the bytes are there");
    DataBufferToString(Block);
    PZnDataBuffer Copy = ZnCloneDataBuffer(&Block);
    FuzzCheck(Copy->DataType == Block.DataType && Copy->Size == Block.Size, "a copy is the same");
    ZnFreeDataBuffer(Copy);
}

template <class THead>
std::vector<std::byte> Joined(const THead& AHead, const std::vector<std::byte>& APayload)
{
    std::vector<std::byte> Frame(AHead.begin(), AHead.end());
    Frame.insert(Frame.end(), APayload.begin(), APayload.end());
    return Frame;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    // On the heap and no byte longer: reading past the end is seen.
    std::vector<std::byte> Frame(reinterpret_cast<const std::byte*>(AData),
                                 reinterpret_cast<const std::byte*>(AData) + ALength);
    Frame.shrink_to_fit();
    switch (RecogniseFrame(Frame)) {
    case FrameKind::Data:
        ReadBlock(Frame, cDataBlockOffset);
        break;
    case FrameKind::CmdRequest:
    case FrameKind::CmdResponse:
        FrameCommandID(Frame.data());
        ReadBlock(Frame, cCmdBlockOffset);
        break;
    case FrameKind::PingRequest:
        MakePingResponse(Frame.data(), 1);
        FuzzCheck(RecogniseFrame(Frame) == FrameKind::PingResponse, "an answer is one");
        break;
    case FrameKind::PingResponse:
        PingSendOn(Frame.data());
        PingReceivedOn(Frame.data());
        break;
    case FrameKind::NetworkCheck:
    case FrameKind::Raw:
        break;
    }
    if (Frame.empty())
        return 0;
    const auto Size = static_cast<std::uint32_t>(Frame.size());
    auto Data = Joined(MakeDataHead(btBinary, Size), Frame);
    FuzzCheck(RecogniseFrame(Data) == FrameKind::Data, "what was made as data is data");
    auto Command = Joined(MakeCommandHead(dtCmdRequest, 7, btUTF8, Size), Frame);
    FuzzCheck(RecogniseFrame(Command) == FrameKind::CmdRequest && FrameCommandID(Command.data()) == 7,
              "a command");
    return 0;
}
