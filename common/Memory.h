#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Api.h"

/// A block of bytes that knows its length, as it stands in pipe frames:
///
///   | Size: 32 bits | Size bytes ... |
///
/// Packed: a frame hands out a pointer to a Size field at any address.
struct [[gnu::packed]] TZnMemoryBuffer
{
    /// Bytes behind the record.
    std::uint32_t Size;

    /// The first of them.
    std::byte* Bytes() { return reinterpret_cast<std::byte*>(this) + sizeof(TZnMemoryBuffer); }
    /// The first of them.
    const std::byte* Bytes() const
    {
        return reinterpret_cast<const std::byte*>(this) + sizeof(TZnMemoryBuffer);
    }
};
/// A block as events of pipes take and give it.
using PZnMemoryBuffer = TZnMemoryBuffer*;

/// A new block of ASize bytes, not cleared; ZnFreeMem frees it. EOutOfMemory.
ZN_API PZnMemoryBuffer ZnGetMem(std::uint32_t ASize);

/// Changes the length and keeps the bytes that fit. ABuffer may move; nullptr gives a new block.
/// After EOutOfMemory it is as before.
ZN_API void ZnReallocateMem(PZnMemoryBuffer& ABuffer, std::uint32_t ASize);

/// Frees the block; nullptr is fine.
ZN_API void ZnFreeMem(PZnMemoryBuffer ABuffer);

/// A pointer as the number that a message carries, and back.
inline std::uintptr_t ZnPtr2Int(const void* APointer)
{
    return reinterpret_cast<std::uintptr_t>(APointer);
}
/// The pointer that a number in a message stands for.
template <class T>
T* ZnInt2Ptr(std::uintptr_t AValue)
{
    return reinterpret_cast<T*>(AValue);
}
