#pragma once

#include <cstdint>
#include <string>

#include "common/Component.h"
#include "platform/Api.h"

/// One byte range of a request (RFC 9110, 14.1.2). AsString gives the text for a "Range" field, which
/// goes out through TZnHTTPRequestHeaders' CustomHeaders.
///
///     First  Last
///      set   set    "bytes=10-19"
///      set    -     "bytes=10-"    from there to the end
///       -    set    "bytes=-20"    the last 20 bytes
///       -     -     "bytes=0-"
class ZN_API TZnHTTPByteRange : public TPersistent
{
public:
    /// Counted from 0. Default 0.
    std::uint32_t GetFirstBytePos() const { return FFirstBytePos; }
    /// Sets FirstByteSet too.
    void SetFirstBytePos(std::uint32_t AValue);
    /// False, the default: the range has no first byte.
    bool GetFirstByteSet() const { return FFirstByteSet; }
    void SetFirstByteSet(bool AValue) { FFirstByteSet = AValue; }

    /// The range includes it; without a first byte, how many of the last bytes. Default 0.
    std::uint32_t GetLastBytePos() const { return FLastBytePos; }
    /// Sets LastByteSet too.
    void SetLastBytePos(std::uint32_t AValue);
    /// False, the default: the range has no last byte.
    bool GetLastByteSet() const { return FLastByteSet; }
    void SetLastByteSet(bool AValue) { FLastByteSet = AValue; }

    /// "bytes=10-19", see the table above.
    std::string AsString() const;

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    std::uint32_t FLastBytePos = 0;
    bool FLastByteSet = false;
    std::uint32_t FFirstBytePos = 0;
    bool FFirstByteSet = false;
};
