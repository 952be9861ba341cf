#pragma once

#include <cstdint>
#include <string>

#include "common/Component.h"

/// One byte range of a request (RFC 9110, 14.1.2). AsString gives the text for a "Range" field, which
/// goes out through TZnHTTPRequestHeaders' CustomHeaders.
///
///     First  Last
///      set   set    "bytes=10-19"
///      set    -     "bytes=10-"    from there to the end
///       -    set    "bytes=-20"    the last 20 bytes
///       -     -     "bytes=0-"
class TZnHTTPByteRange : public TPersistent
{
public:
    std::uint32_t GetFirstBytePos() const { return FFirstBytePos; }
    /// Sets FirstByteSet too.
    void SetFirstBytePos(std::uint32_t AValue);
    bool GetFirstByteSet() const { return FFirstByteSet; }
    void SetFirstByteSet(bool AValue) { FFirstByteSet = AValue; }

    std::uint32_t GetLastBytePos() const { return FLastBytePos; }
    /// Sets LastByteSet too.
    void SetLastBytePos(std::uint32_t AValue);
    bool GetLastByteSet() const { return FLastByteSet; }
    void SetLastByteSet(bool AValue) { FLastByteSet = AValue; }

    std::string AsString() const;

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    std::uint32_t FLastBytePos = 0;
    bool FLastByteSet = false;
    std::uint32_t FFirstBytePos = 0;
    bool FFirstByteSet = false;
};
