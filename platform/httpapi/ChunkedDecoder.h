#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Zn
{

/// Takes the chunked transfer coding (RFC 9112, 7.1) off a body, without recovery.
///
/// Use:       Decode the bytes at hand until Done. While DataRemaining() isn't 0, that many bytes on the wire
///            are content and nothing else: they may be received straight to where they are wanted, and
///            told by DataConsumed. Extensions and trailer fields are checked and dropped.
/// Threads:   none of its own; one user at a time.
/// Errors:    Bad, with Reason(); final. Where this body ends can't be known then: close the connection.
class ChunkedDecoder
{
public:
    /// Bounds per body, in bytes.
    struct Limits
    {
        std::size_t Extensions = 4096;
        std::size_t Trailers = 8192; // all trailer lines with their CRLFs
    };
    enum class State { NeedMore, Done, Bad };
    struct Result
    {
        std::size_t Consumed; // bytes of the input read; what follows belongs to the next request once Done
        std::size_t Produced; // bytes of content written
        State Status;
    };

    ChunkedDecoder() = default;
    explicit ChunkedDecoder(Limits ALimits) : FLimits(ALimits) {}

    /// Reads until the input is used up, content comes that AOut has no room for, or the body ends.
    /// AOut may be nullptr when AOutSize is 0.
    Result Decode(std::string_view AIn, char* AOut, std::size_t AOutSize);

    /// Bytes of content that follow on the wire before anything else does.
    std::uint64_t DataRemaining() const { return FStep == Step::Data ? FRemaining : 0; }
    /// ALength bytes of that content went past the decoder; at most DataRemaining().
    void DataConsumed(std::uint64_t ALength);

    State Status() const;
    const char* Reason() const { return FReason; }
    void Reset() { *this = ChunkedDecoder(FLimits); }

private:
    // The byte that is awaited, in the order in which they stand on the wire.
    enum class Step : std::uint8_t {
        Size,           // first hex digit
        SizeMore,       // further digits, blank, ";" or CR
        ExtGap,         // blanks before ";" or "="
        ExtName,        // first character of a name, or blanks before it
        ExtNameMore,    //
        ExtEquals,      // blanks behind a name, then "=" or ";"
        ExtValue,       // first character of a value, or blanks before it
        ExtToken,       //
        ExtQuoted,      // within quotes
        ExtEscaped,     // behind a backslash within quotes
        ExtAfterQuoted, // behind the closing quote: blank, ";" or CR
        SizeLf,         // LF of the chunk-size line
        Data,           //
        DataCr,         // CRLF behind the content of a chunk
        DataLf,         //
        TrailerStart,   // first character of a trailer field name, or CR of the empty line
        TrailerName,    //
        TrailerValue,   //
        TrailerLf,      //
        LastLf,         //
        Done,
        Bad
    };
    Step Next(char AByte);
    Step ReadSize(char AByte);
    Step ReadExtension(char AByte);
    Step ReadTrailer(char AByte);
    Step EndOfSizeLine() const;
    Step Refuse(const char* AReason);

    Limits FLimits;
    std::uint64_t FRemaining = 0; // size of the chunk in work; what is left of it while in Data
    std::size_t FExtensions = 0;  // bytes of extensions so far
    std::size_t FTrailers = 0;    // bytes of trailer lines so far
    const char* FReason = "";
    Step FStep = Step::Size;
    std::uint8_t FDigits = 0;
    std::uint8_t FNameLength = 0; // of the trailer name in work, ends to count past FName
    char FName[18] = {};          // long enough for every name that is forbidden in a trailer
};

} // namespace Zn
