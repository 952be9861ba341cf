#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/Exceptions.h"
#include "common/Streams.h"

TMemoryStream::TMemoryStream(std::int64_t ABlockSize) : FBlockSize(std::max<std::int64_t>(ABlockSize, 1)) {}

TMemoryStream::~TMemoryStream()
{
    if (!FBorrowed)
        std::free(FMemory);
}

std::int64_t TMemoryStream::Read(void* ABuffer, std::int64_t ACount)
{
    std::int64_t Count = std::min(ACount, FSize - FPosition);
    if (Count <= 0)
        return 0;
    std::memcpy(ABuffer, FMemory + FPosition, static_cast<std::size_t>(Count));
    FPosition += Count;
    return Count;
}

std::int64_t TMemoryStream::Write(const void* ABuffer, std::int64_t ACount)
{
    if (ACount <= 0)
        return 0;
    if (ACount > cMaxSize - FPosition)
        throw EOutOfMemory("Out of memory while expanding memory stream");
    const std::int64_t End = FPosition + ACount;
    if (End > FSize) {
        const std::int64_t OldSize = FSize;
        const std::int64_t Position = FPosition;
        SetSize(End);
        if (Position > OldSize)
            std::memset(FMemory + OldSize, 0, static_cast<std::size_t>(Position - OldSize));
    }
    CheckWritable();
    std::memcpy(FMemory + FPosition, ABuffer, static_cast<std::size_t>(ACount));
    FPosition = End;
    return ACount;
}

std::int64_t TMemoryStream::Seek(std::int64_t AOffset, TSeekOrigin AOrigin)
{
    const std::int64_t From = AOrigin == soBeginning ? 0 : AOrigin == soCurrent ? FPosition : FSize;
    if (AOffset < -From || AOffset > cMaxSize - From)
        throw EStreamError("Invalid stream position");
    return FPosition = From + AOffset;
}

void TMemoryStream::SetSize(std::int64_t ASize)
{
    CheckWritable();
    if (ASize < 0)
        throw EStreamError("Invalid stream size");
    if (ASize > FCapacity)
        Reserve(std::max({ASize, FCapacity + FCapacity / 2, std::min(FCapacity + FBlockSize, cMaxSize)}));
    else if (ASize == 0) {
        std::free(FMemory);
        FMemory = nullptr;
        FCapacity = 0;
    }
    FSize = ASize;
    FPosition = std::min(FPosition, FSize);
}

void TMemoryStream::Reserve(std::int64_t ACapacity)
{
    CheckWritable();
    if (ACapacity <= FCapacity)
        return;
    // realloc: pages of a large block are moved by the kernel, not copied, and new ones are not cleared
    // twice.
    void* Moved =
        ACapacity <= cMaxSize ? std::realloc(FMemory, static_cast<std::size_t>(ACapacity)) : nullptr;
    if (!Moved)
        throw EOutOfMemory("Out of memory while expanding memory stream");
    FMemory = static_cast<std::byte*>(Moved);
    FCapacity = ACapacity;
}

void TMemoryStream::Borrow(std::span<const std::byte> ABytes)
{
    // Never written through: CheckWritable stands before every change.
    FMemory = const_cast<std::byte*>(ABytes.data());
    FSize = static_cast<std::int64_t>(ABytes.size());
    FBorrowed = true;
}

void TMemoryStream::CheckWritable() const
{
    if (FBorrowed)
        throw EStreamError("The stream is read only");
}
