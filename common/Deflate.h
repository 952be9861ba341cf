#pragma once

/// Compression of streams in the zlib format (RFC 1950), which is what HTTP calls "deflate"
/// (RFC 9110, 8.4.1.2).

#include <cstdint>

#include "common/Exceptions.h"

class TStream;

/// How much work goes into making the result shorter.
enum TZnCompressionLevel : std::uint8_t { clNone, clFastest, clDefault, clMax };

/// A failure of (de)compression: damaged, cut off or oversized data. The code is zlib's.
class EZnZlibException : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EZnZlibException")
};

/// Bytes that ZlDecompressStream writes at most unless told otherwise: 1 GiB. A few kilobytes can
/// unfold to gigabytes, so what comes from a peer always needs a bound.
inline constexpr std::int64_t cZnMaxInflatedSize = std::int64_t{1} << 30;

/// Compresses ASource into ATarget at its position. AWhole takes the source from its start,
/// wherever its position stands; otherwise the rest from its position on is taken.
void ZlCompressStream(TStream& ASource, TStream& ATarget, TZnCompressionLevel ALevel = clDefault,
                      bool AWhole = true);

/// The reverse. Reads the zlib format and, as some servers send it for "deflate", bare deflate
/// data (RFC 1951). Bytes behind the end of the compressed data are passed over. Raises
/// EZnZlibException for bad data and as soon as the result would exceed AMaxSize bytes.
void ZlDecompressStream(TStream& ASource, TStream& ATarget, bool AWhole = true,
                        std::int64_t AMaxSize = cZnMaxInflatedSize);
