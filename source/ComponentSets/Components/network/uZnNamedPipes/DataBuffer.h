#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/Encoding.h"
#include "common/Memory.h"
#include "platform/Api.h"

/// What the bytes of a block are. An AString is 8-bit text in the receiver's own code page (UTF-8
/// here); UTF8 has no byte order mark. Neither has a terminator.
enum TZnDataBufType : std::uint8_t { btBinary = 0, btAString = 1, btUTF8 = 2 };

/// A typed block of bytes, in memory as on the wire:
///
///   | DataType: 1 byte | Size: 4 bytes, little-endian | Size bytes |
struct [[gnu::packed]] TZnDataBuffer
{
    /// Bytes, a text of 8 bits, or UTF-8.
    TZnDataBufType DataType;
    /// Bytes behind the record.
    std::uint32_t Size;

    /// The first of them.
    std::byte* Data() { return reinterpret_cast<std::byte*>(this) + sizeof(TZnDataBuffer); }
    /// The first of them.
    const std::byte* Data() const { return reinterpret_cast<const std::byte*>(this) + sizeof(TZnDataBuffer); }

    /// The block without its type: Size and the bytes, without copying.
    PZnMemoryBuffer View()
    {
        return reinterpret_cast<PZnMemoryBuffer>(reinterpret_cast<std::byte*>(this) + 1);
    }
};
/// Owned by whoever gets it, and given back with ZnFreeMem.
using PZnDataBuffer = TZnDataBuffer*;

/// A new block, filled with zeros. The caller frees every block that one of these functions gives
/// with ZnFreeDataBuffer. They raise EOutOfMemory.
ZN_API PZnDataBuffer ZnGetDataBuffer(std::uint32_t ASize, TZnDataBufType ADataType);
/// A btAString block with a copy of the bytes.
ZN_API PZnDataBuffer ZnGetDataBuffer(const AnsiString& AText);
/// A btUTF8 block with a copy of the text.
ZN_API PZnDataBuffer ZnGetDataBuffer(const std::string& AText);

/// Changes the length and keeps the bytes that fit; ABuffer may move. After EOutOfMemory it is as before.
ZN_API void ZnReallocDataBuffer(PZnDataBuffer& ABuffer, std::uint32_t ASize);

/// Frees the block and sets the pointer to nullptr; nullptr is fine.
ZN_API void ZnFreeDataBuffer(PZnDataBuffer& ABuffer);

/// A block of the same type and size with a copy of the bytes.
ZN_API PZnDataBuffer ZnCloneDataBuffer(const TZnDataBuffer* ABuffer);

namespace Zn
{

/// The block's bytes as they are.
std::string DataBufferToAnsi(const TZnDataBuffer& ABuffer);
/// The block's bytes read as UTF-8: what is none becomes U+FFFD.
std::string DataBufferToString(const TZnDataBuffer& ABuffer);

/// Frees a block at the end of a scope.
class DataBufferHolder
{
public:
    explicit DataBufferHolder(PZnDataBuffer ABuffer) : FBuffer(ABuffer) {}
    ~DataBufferHolder() { ZnFreeDataBuffer(FBuffer); }
    DataBufferHolder(const DataBufferHolder&) = delete;
    DataBufferHolder& operator=(const DataBufferHolder&) = delete;

    PZnDataBuffer Get() const { return FBuffer; }

private:
    PZnDataBuffer FBuffer;
};

} // namespace Zn
