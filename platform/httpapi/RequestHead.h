#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

/// Bounds of one request head. Past them the answer is 414 (request line) or 431 (fields).
struct HeadLimits
{
    std::size_t RequestLine = 16384; // bytes, without its CRLF
    std::size_t Headers = 16384;     // bytes of all field lines with their CRLFs, without the empty line
    std::uint16_t Fields = 100;      // field lines
};

struct FieldView
{
    std::string_view Name, Value; // the value without the blanks around it
    std::int8_t Id;               // THTTP_HEADER_ID of a request header, -1 for any other
};

enum class HeadResult { Incomplete, Complete, Refused };
enum class BodyKind { None, Length, Chunked };

/// A request head that has been read. The views point into the bytes given to Parse.
struct RequestHead
{
    std::string_view Method, Target; // as they came
    THTTP_VERB Verb = HttpVerbUnparsed;
    THTTP_VERSION Version =
        HTTP_VERSION_UNKNOWN;          // 1.0 or 1.1; a later minor version reads as 1.1 (RFC 9110, 2.5)
    std::span<const FieldView> Fields; // in order; lives in the parser
    std::string_view
        Host; // host[:port], checked; of an absolute target, else of Host; empty only in HTTP/1.0
    std::string_view Scheme;         // as written in an absolute target, else empty. Says nothing about TLS.
    std::string_view Path;           // raw, escapes checked, begins with "/"; "*" for OPTIONS *
    std::string_view Query;          // with its "?", or empty
    BodyKind Body = BodyKind::None;  // None also for Content-Length: 0
    std::uint64_t ContentLength = 0; // for BodyKind::Length; at most 2^63 - 1
    bool KeepAlive = false;
    bool ExpectContinue = false; // only where a body is announced in HTTP/1.1
    std::size_t Length = 0;      // bytes on the wire, a leading CRLF and the closing empty line included
};

/// Reads one request head (RFC 9110, RFC 9112) without recovery: whatever two readers could take in two
/// ways is refused. The verdict depends on the bytes alone, not on how they were cut, and a refusal comes
/// as soon as the offending line is there.
///
/// Use:       call Parse with all bytes that came so far for this head until it isn't Incomplete any more;
///            then, for the next request of the connection, Reset.
/// Threads:   none of its own; one user at a time.
/// Ownership: the bytes stay the caller's. They may move between calls (it begins anew then, so don't move
///            them each time); after Complete they have to stay where they are while Head() is in use.
///            The fields' storage grows with use and is kept.
/// Errors:    Refused, with Status() and Reason(). The connection can't be read on from there.
class RequestHeadParser
{
public:
    explicit RequestHeadParser(HeadLimits ALimits = {}) : FLimits(ALimits) {}
    RequestHeadParser(RequestHeadParser&&) = default; // a copy's Head() would show the other's fields
    RequestHeadParser& operator=(RequestHeadParser&&) = default;

    HeadResult Parse(std::string_view ABytes);

    /// Whole after Complete. After Refused, Method, Target and Version hold what was read before.
    const RequestHead& Head() const { return FHead; }

    /// After Refused: 400, 414, 417, 431, 501 or 505.
    std::uint16_t Status() const { return FStatus; }
    /// What was wrong, in a few words without any byte of the client's.
    const char* Reason() const { return FReason; }

    void Reset();

private:
    HeadResult Refuse(std::uint16_t AStatus, const char* AReason);
    void Restart();
    bool ReadRequestLine(std::string_view ALine);
    bool ReadTarget(std::string_view ATarget);
    bool ReadPathAndQuery(std::string_view AText);
    bool ReadAbsoluteForm(std::string_view ATarget);
    bool ReadFieldLine(std::string_view ALine);
    bool Conclude();
    bool ConcludeHost();
    bool ConcludeFraming();
    bool ConcludeTransferCoding(std::string_view AValue);
    bool ConcludeOptions();
    std::string_view ValueOf(THTTP_HEADER_ID AId) const;

    HeadLimits FLimits;
    RequestHead FHead;
    std::vector<FieldView> FFields;
    const char* FBase = nullptr;  // where the bytes stood at the last call
    std::size_t FLine = 0;        // offset of the line in work
    std::size_t FScanned = 0;     // offset up to which that line is known to hold no line end
    std::size_t FFieldsStart = 0; // offset of the first field line; 0 while the request line is in work
    std::uint64_t FSeen = 0;      // bit per THTTP_HEADER_ID
    HeadResult FResult = HeadResult::Incomplete;
    std::uint16_t FStatus = 0;
    const char* FReason = "";
};

} // namespace Zn
