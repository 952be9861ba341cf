#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Zn
{

/// Cuts a stream of bytes into messages and messages into chunks:
///
///   | length: 4 bytes, little-endian | length bytes | length | ...
///
/// Knows no socket. Bytes come in by Room and Added, or, in the middle of a long message, past the
/// buffer straight to where they belong. A message costs no memory here beyond the one buffer.
class MessageReader
{
public:
    static constexpr std::uint32_t cPrefixLength = 4;
    static constexpr std::uint32_t cMaxMessage = 0x7FFFFFFF;
    static constexpr std::size_t cBufferSize = 64 * 1024;

    enum class State {
        NeedMore, // everything that is here was given out, and the message goes on or has not begun
        Part,     // the chunk is full and the message goes on
        Complete, // the message ends with this chunk
        Refused,  // a length above the limit: where the next message begins can't be known
    };
    struct Taken
    {
        State Status;
        std::size_t Count; // bytes put into the chunk
    };

    /// Moves what is here of the present message into AChunk.
    Taken Take(std::span<std::byte> AChunk);

    /// Where to receive, never empty behind a Take that gave NeedMore.
    std::span<std::byte> Room();
    void Added(std::size_t ACount) { FEnd += ACount; }

    /// How many bytes of the present message are to come while none is buffered: these may be received
    /// elsewhere.
    std::size_t DirectLength() const { return FInMessage && FBegin == FEnd ? FRemaining : 0; }
    void PassedBy(std::size_t ACount) { FRemaining -= static_cast<std::uint32_t>(ACount); }
    /// Behind a chunk whose last bytes passed by: does the message end with it?
    State Finish();

    /// The rest of the present message is here and fits a chunk of ASize bytes.
    bool HasMessageEnd(std::size_t ASize) const;
    /// Between two messages, with nothing of the next one here.
    bool IsAtRest() const { return !FInMessage && !HasBytes(); }
    /// What is to come of the message that is begun, or all of the next one if its length is here; else 0.
    std::uint32_t RestOfMessage() const;
    /// Something was received and not given out.
    bool HasBytes() const { return FBegin != FEnd; }

private:
    bool TakePrefix();
    bool PeekLength(std::uint32_t& ALength) const;

    std::unique_ptr<std::byte[]> FBuffer = std::make_unique_for_overwrite<std::byte[]>(cBufferSize);
    std::size_t FBegin = 0; // what is buffered: FBegin to FEnd
    std::size_t FEnd = 0;
    std::uint32_t FRemaining = 0; // of the present message, buffered or not
    bool FInMessage = false;
};

/// The prefix of a message.
std::array<std::byte, MessageReader::cPrefixLength> MessagePrefix(std::uint32_t ALength);

} // namespace Zn
