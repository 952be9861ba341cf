#include "common/Deflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include <zlib.h>

#include "common/Streams.h"

namespace
{

constexpr std::size_t cChunk = 32768;

/// The bytes to work on, in place where they are in memory.
class TSource
{
public:
    TSource(TStream& AStream, bool AWhole)
    {
        const std::int64_t Skip = AWhole ? 0 : AStream.GetPosition();
        FOwned = ZnStreamToReadBuf(AStream, FBuffer, FLength);
        FSkip = std::min(Skip, FLength);
    }
    ~TSource()
    {
        if (FOwned)
            ZnFreeReadBuf(FBuffer);
    }
    TSource(const TSource&) = delete;
    TSource& operator=(const TSource&) = delete;

    std::string_view Rest() const
    {
        return std::string_view(static_cast<const char*>(FBuffer), static_cast<std::size_t>(FLength))
            .substr(static_cast<std::size_t>(FSkip));
    }

private:
    const void* FBuffer = nullptr;
    std::int64_t FLength = 0;
    std::int64_t FSkip = 0;
    bool FOwned = false;
};

/// Gives zlib its input in pieces, since its counts have 32 bits.
class TInput
{
public:
    explicit TInput(std::string_view ABytes) : FBytes(ABytes) {}

    /// True when AStream has been given the last piece.
    bool Refill(z_stream& AStream)
    {
        if (AStream.avail_in == 0 && !FBytes.empty()) {
            const std::size_t Count = std::min<std::size_t>(FBytes.size(), 1u << 30);
            AStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(FBytes.data()));
            AStream.avail_in = static_cast<uInt>(Count);
            FBytes.remove_prefix(Count);
        }
        return FBytes.empty();
    }

private:
    std::string_view FBytes;
};

[[noreturn]] void Fail(const char* AWhat, int AResult, const z_stream& AStream)
{
    throw EZnZlibException(
        ZnFormat("Failed to %s the data: %s!", AWhat, AStream.msg ? AStream.msg : zError(AResult)), AResult);
}

int LevelOf(TZnCompressionLevel ALevel)
{
    switch (ALevel) {
    case clNone:
        return Z_NO_COMPRESSION;
    case clFastest:
        return Z_BEST_SPEED;
    case clMax:
        return Z_BEST_COMPRESSION;
    default:
        return Z_DEFAULT_COMPRESSION;
    }
}

/// A window larger than the input gains nothing and costs memory that has to be cleared.
int WindowBitsFor(std::size_t ALength)
{
    return std::clamp(static_cast<int>(std::bit_width(ALength)), 9, MAX_WBITS);
}

struct TDeflater : z_stream
{
    TDeflater(TZnCompressionLevel ALevel, std::size_t ALength) : z_stream{}
    {
        const int WindowBits = WindowBitsFor(ALength);
        const int Result = deflateInit2(this, LevelOf(ALevel), Z_DEFLATED, WindowBits,
                                        std::clamp(WindowBits - 7, 1, 8), Z_DEFAULT_STRATEGY);
        if (Result != Z_OK)
            Fail("compress", Result, *this);
    }
    ~TDeflater() { deflateEnd(this); }
    TDeflater(const TDeflater&) = delete;
    TDeflater& operator=(const TDeflater&) = delete;
};

struct TInflater : z_stream
{
    explicit TInflater(int AWindowBits) : z_stream{}
    {
        const int Result = inflateInit2(this, AWindowBits);
        if (Result != Z_OK)
            Fail("decompress", Result, *this);
    }
    ~TInflater() { inflateEnd(this); }
    TInflater(const TInflater&) = delete;
    TInflater& operator=(const TInflater&) = delete;
};

/// Tells the head of the zlib format (RFC 1950, 2.2) from bare deflate data.
bool HasZlibHead(std::string_view ABytes)
{
    if (ABytes.size() < 2)
        return false;
    const unsigned First = static_cast<unsigned char>(ABytes[0]);
    const unsigned Second = static_cast<unsigned char>(ABytes[1]);
    return (First & 0x0F) == Z_DEFLATED && First >> 4 <= 7 && (First << 8 | Second) % 31 == 0;
}

} // namespace

void ZlCompressStream(TStream& ASource, TStream& ATarget, TZnCompressionLevel ALevel, bool AWhole)
{
    const TSource Source(ASource, AWhole);
    TInput Input(Source.Rest());
    TDeflater Deflater(ALevel, Source.Rest().size());
    std::array<Bytef, cChunk> Chunk;
    int Result = Z_OK;
    while (Result != Z_STREAM_END) {
        const bool Last = Input.Refill(Deflater);
        Deflater.next_out = Chunk.data();
        Deflater.avail_out = cChunk;
        Result = deflate(&Deflater, Last ? Z_FINISH : Z_NO_FLUSH);
        if (Result < 0 && Result != Z_BUF_ERROR)
            Fail("compress", Result, Deflater);
        ATarget.WriteBuffer(Chunk.data(), static_cast<std::int64_t>(cChunk - Deflater.avail_out));
    }
}

void ZlDecompressStream(TStream& ASource, TStream& ATarget, bool AWhole, std::int64_t AMaxSize)
{
    const TSource Source(ASource, AWhole);
    TInput Input(Source.Rest());
    TInflater Inflater(HasZlibHead(Source.Rest()) ? MAX_WBITS : -MAX_WBITS);
    std::array<Bytef, cChunk> Chunk;
    std::int64_t Written = 0;
    int Result = Z_OK;
    while (Result != Z_STREAM_END) {
        Input.Refill(Inflater);
        Inflater.next_out = Chunk.data();
        Inflater.avail_out = cChunk;
        Result = inflate(&Inflater, Z_NO_FLUSH);
        if (Result == Z_BUF_ERROR)
            throw EZnZlibException("Failed to decompress the data: they end too early!", Result);
        if (Result != Z_OK && Result != Z_STREAM_END)
            Fail("decompress", Result, Inflater);
        const auto Count = static_cast<std::int64_t>(cChunk - Inflater.avail_out);
        if (Count > AMaxSize - Written)
            throw EZnZlibException(ZnFormat("Failed to decompress the data: they have more than %lld bytes!",
                                            static_cast<long long>(AMaxSize)),
                                   Z_DATA_ERROR);
        ATarget.WriteBuffer(Chunk.data(), Count);
        Written += Count;
    }
}
