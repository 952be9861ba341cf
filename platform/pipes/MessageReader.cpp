#include "platform/pipes/MessageReader.h"

#include <algorithm>
#include <cstring>

std::array<std::byte, Zn::MessageReader::cPrefixLength> Zn::MessagePrefix(std::uint32_t ALength)
{
    return {std::byte(ALength), std::byte(ALength >> 8), std::byte(ALength >> 16), std::byte(ALength >> 24)};
}

bool Zn::MessageReader::PeekLength(std::uint32_t& ALength) const
{
    if (FEnd - FBegin < cPrefixLength)
        return false;
    const std::byte* At = FBuffer.get() + FBegin;
    ALength = 0;
    for (std::uint32_t Index = 0; Index < cPrefixLength; ++Index)
        ALength |= std::to_integer<std::uint32_t>(At[Index]) << (8 * Index);
    return true;
}

bool Zn::MessageReader::TakePrefix()
{
    std::uint32_t Length = 0;
    if (!PeekLength(Length))
        return false;
    if (Length > cMaxMessage)
        return true; // and stays in the buffer: whoever asks again is told again
    FBegin += cPrefixLength;
    FRemaining = Length;
    FInMessage = true;
    return true;
}

Zn::MessageReader::Taken Zn::MessageReader::Take(std::span<std::byte> AChunk)
{
    if (!FInMessage) {
        if (!TakePrefix())
            return {State::NeedMore, 0};
        if (!FInMessage)
            return {State::Refused, 0};
    }
    const std::size_t Count = std::min({AChunk.size(), FEnd - FBegin, std::size_t(FRemaining)});
    if (Count != 0)
        std::memcpy(AChunk.data(), FBuffer.get() + FBegin, Count);
    FBegin += Count;
    FRemaining -= static_cast<std::uint32_t>(Count);
    if (FRemaining == 0) {
        FInMessage = false;
        return {State::Complete, Count};
    }
    return {Count == AChunk.size() ? State::Part : State::NeedMore, Count};
}

Zn::MessageReader::State Zn::MessageReader::Finish()
{
    FInMessage = FRemaining != 0;
    return FInMessage ? State::Part : State::Complete;
}

std::span<std::byte> Zn::MessageReader::Room()
{
    if (FBegin == FEnd)
        FBegin = FEnd = 0;
    // Less than a prefix can be left over where more is needed, so moving it is cheap.
    if (FBegin != 0 && FEnd == cBufferSize) {
        std::memmove(FBuffer.get(), FBuffer.get() + FBegin, FEnd - FBegin);
        FEnd -= FBegin;
        FBegin = 0;
    }
    return {FBuffer.get() + FEnd, cBufferSize - FEnd};
}

std::uint32_t Zn::MessageReader::RestOfMessage() const
{
    std::uint32_t Length = FRemaining;
    if (!FInMessage && (!PeekLength(Length) || Length > cMaxMessage))
        return 0;
    return Length;
}

bool Zn::MessageReader::HasMessageEnd(std::size_t ASize) const
{
    std::uint32_t Remaining = FRemaining;
    std::size_t Here = FEnd - FBegin;
    if (!FInMessage) {
        if (!PeekLength(Remaining))
            return false;
        Here -= cPrefixLength;
    }
    return Remaining <= Here && Remaining <= ASize;
}
