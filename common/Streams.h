#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "common/Component.h"
#include "platform/Api.h"
#include "platform/sync/Handle.h"

/// From where Seek counts.
enum TSeekOrigin { soBeginning, soCurrent, soEnd };

/// A sequence of bytes with a position. Lengths and positions are 64-bit counts of bytes.
///
/// Threads:   one at a time.
/// Errors:    Read and Write tell by their result how far they came; the Buffer operations raise
///            EReadError or EWriteError unless they came all the way. Both are EStreamErrors.
class ZN_API TStream : public TObject
{
public:
    /// Reads at most ACount bytes; fewer only at the end.
    virtual std::int64_t Read(void* ABuffer, std::int64_t ACount) = 0;
    /// Writes at the position and moves it; the number of bytes taken, which may be less than ACount.
    virtual std::int64_t Write(const void* ABuffer, std::int64_t ACount) = 0;

    /// The new position. It may lie behind the end: a read there gives nothing, a write fills the
    /// gap with zeros. EStreamError for a position below 0.
    virtual std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) = 0;

    /// The length in bytes.
    virtual std::int64_t GetSize() const = 0;
    /// Cuts the stream or makes it longer (new bytes: see the class). A position behind the new
    /// end moves to it.
    virtual void SetSize(std::int64_t ASize) = 0;

    /// Where the next read or write begins, in bytes from the beginning.
    std::int64_t GetPosition() { return Seek(0, soCurrent); }
    /// Moves there; behind the end is allowed, and a read finds nothing.
    void SetPosition(std::int64_t APosition) { Seek(APosition, soBeginning); }

    /// Reads exactly ACount bytes. Raises EReadError when the stream ends before.
    void ReadBuffer(void* ABuffer, std::int64_t ACount);
    /// Writes exactly ACount bytes. Raises EWriteError when the stream doesn't take them all.
    void WriteBuffer(const void* ABuffer, std::int64_t ACount);

    /// Copies ACount bytes from ASource's position, or all of ASource from its beginning for 0.
    /// Returns the count; EReadError when ASource ends before.
    std::int64_t CopyFrom(TStream& ASource, std::int64_t ACount = 0);
};

/// Bytes in memory.
///
/// SetSize does not clear what it adds (a body is received straight into it); only a gap that a
/// write leaves is filled with zeros. Memory grows by half of itself, at least by the block size.
class ZN_API TMemoryStream : public TStream
{
public:
    /// Empty; it grows by steps of ABlockSize bytes, or by a half of its size where that is more.
    explicit TMemoryStream(std::int64_t ABlockSize = 8192);
    ~TMemoryStream() override;
    TMemoryStream(const TMemoryStream&) = delete;
    TMemoryStream& operator=(const TMemoryStream&) = delete;

    std::int64_t Read(void* ABuffer, std::int64_t ACount) override;
    std::int64_t Write(const void* ABuffer, std::int64_t ACount) override;
    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override;
    std::int64_t GetSize() const override { return FSize; }
    void SetSize(std::int64_t ASize) override;

    /// Has room for ACapacity bytes without moving. EOutOfMemory.
    void Reserve(std::int64_t ACapacity);
    /// Forgets all bytes and gives their memory back.
    void Clear() { SetSize(0); }

    /// GetSize bytes, valid until the stream changes its size; may be nullptr while it is empty.
    std::byte* Memory() { return FMemory; }
    /// The first byte, until the size changes the next time.
    const std::byte* Memory() const { return FMemory; }
    /// All bytes, until the size changes the next time.
    std::string_view View() const
    {
        return {reinterpret_cast<const char*>(FMemory), static_cast<std::size_t>(FSize)};
    }

protected:
    /// Lays the stream over bytes of somebody else, who keeps them alive: read only.
    void Borrow(std::span<const std::byte> ABytes);

private:
    static constexpr std::int64_t cMaxSize = std::int64_t{1} << 62;

    void CheckWritable() const;

    std::byte* FMemory = nullptr;
    std::int64_t FSize = 0;
    std::int64_t FCapacity = 0;
    std::int64_t FPosition = 0;
    std::int64_t FBlockSize;
    bool FBorrowed = false;
};

/// A memory stream with a block size, or laid over bytes that stay the caller's (read only:
/// writing or SetSize raises EStreamError).
class ZN_API TZnMemoryStream : public TMemoryStream
{
public:
    /// Empty; it owns what is written into it.
    explicit TZnMemoryStream(std::int64_t ABlockSize = 8192) : TMemoryStream(ABlockSize) {}
    /// Reads ABytes where they lie; they have to outlive the stream. A write raises EStreamError.
    explicit TZnMemoryStream(std::span<const std::byte> ABytes) { Borrow(ABytes); }
};

/// Bytes in memory that are text in a code page.
class ZN_API TZnStringStream : public TMemoryStream
{
public:
    /// Code pages 0 and 65001 are UTF-8; see common/Encoding.h. An unknown one raises EConvertError.
    explicit TZnStringStream(std::uint16_t ACodePage = 0, std::int64_t ABlockSize = 256);

    /// How the bytes are to be read as text; 0 for UTF-8.
    std::uint16_t GetCodePage() const { return FCodePage; }

    /// The whole stream decoded from the code page.
    std::string GetAsString() const;
    /// Replaces the stream by AText in the code page; the position is 0 afterwards.
    void SetAsString(std::string_view AText);
    /// The bytes as they are.
    std::string GetAString() const { return std::string(View()); }

    /// Writes AText, encoded, at the position.
    void WriteString(std::string_view AText);

private:
    std::uint16_t FCodePage;
};

/// UTF-8 text in memory.
class ZN_API TStringStream : public TMemoryStream
{
public:
    /// With AText as its bytes, and the position at their beginning.
    explicit TStringStream(std::string_view AText = {});
    /// All bytes as a text, wherever the position stands.
    std::string DataString() const { return std::string(View()); }
    /// Writes the bytes of AText at the position.
    void WriteString(std::string_view AText);
};

/// Open a file that is there, to read it.
inline constexpr std::uint32_t fmOpenRead = 0x0000;
inline constexpr std::uint32_t fmOpenWrite = 0x0001; // the file has to be there
/// Open a file that is there, to read and to write it.
inline constexpr std::uint32_t fmOpenReadWrite = 0x0002;
inline constexpr std::uint32_t fmShareDenyNone = 0x0040; // the only way of sharing here
inline constexpr std::uint32_t fmCreate = 0xFF00;        // makes or empties; reads and writes

/// A file. It is closed in child processes. SetSize adds zeros.
class ZN_API TFileStream : public TStream
{
public:
    /// EFileNotFoundException when there is no such file, EFOpenError or EFCreateError with
    /// "Cannot open file "name". reason." and the like.
    TFileStream(const std::string& AFileName, std::uint32_t AMode);
    ~TFileStream() override;
    TFileStream(const TFileStream&) = delete;
    TFileStream& operator=(const TFileStream&) = delete;

    std::int64_t Read(void* ABuffer, std::int64_t ACount) override;
    std::int64_t Write(const void* ABuffer, std::int64_t ACount) override;
    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override;
    std::int64_t GetSize() const override;
    void SetSize(std::int64_t ASize) override;

    /// As it was given to the constructor.
    const std::string& GetFileName() const { return FFileName; }
    /// The descriptor as a handle; the stream's own.
    THandle Handle() const { return HandleFromFd(FFd); }

private:
    std::string FFileName;
    int FFd;
};

/// The whole stream, decoded from the code page as UTF-8. Its position is at the end afterwards.
ZN_API std::string ZnStreamToAnsiString(TStream& AStream, std::uint16_t ACodePage = 0);

/// The bytes of the whole stream for reading: those of a memory stream in place (valid until it
/// changes), those of any other read into new memory. True in that case: free it with
/// ZnFreeReadBuf. The position stays.
ZN_API bool ZnStreamToReadBuf(TStream& AStream, const void*& ABuffer, std::int64_t& ALength);
/// Gives a buffer of ZnReadBuf back; nullptr does nothing.
ZN_API void ZnFreeReadBuf(const void* ABuffer);
