#include "platform/httpapi/ChunkedDecoder.h"

#include <algorithm>
#include <cstring>

#include "platform/httpapi/Grammar.h"

namespace Zn
{

using namespace Grammar;

namespace
{

constexpr std::uint8_t MostDigits = 16;
constexpr std::uint64_t LargestChunk = ~std::uint64_t{0} >> 1;

// A trailer that changed where the message ends or whom it is for would be read before or after the fact,
// depending on the reader (RFC 9110, 6.5.1).
bool IsForbiddenTrailer(std::string_view AName)
{
    return EqualsLower(AName, "content-length") || EqualsLower(AName, "transfer-encoding") ||
           EqualsLower(AName, "host");
}

} // namespace

ChunkedDecoder::State ChunkedDecoder::Status() const
{
    return FStep == Step::Done ? State::Done : FStep == Step::Bad ? State::Bad : State::NeedMore;
}

ChunkedDecoder::Step ChunkedDecoder::Refuse(const char* AReason)
{
    FReason = AReason;
    return Step::Bad;
}

void ChunkedDecoder::DataConsumed(std::uint64_t ALength)
{
    FRemaining -= std::min(ALength, DataRemaining());
    if (FStep == Step::Data && FRemaining == 0)
        FStep = Step::DataCr;
}

ChunkedDecoder::Result ChunkedDecoder::Decode(std::string_view AIn, char* AOut, std::size_t AOutSize)
{
    Result Done{0, 0, State::NeedMore};
    while (FStep != Step::Done && FStep != Step::Bad && Done.Consumed < AIn.size()) {
        if (FStep != Step::Data) {
            FStep = Next(AIn[Done.Consumed++]);
            continue;
        }
        const std::uint64_t AtHand = std::min(AIn.size() - Done.Consumed, AOutSize - Done.Produced);
        const auto Length = static_cast<std::size_t>(std::min(FRemaining, AtHand));
        if (Length == 0)
            break;
        std::memcpy(AOut + Done.Produced, AIn.data() + Done.Consumed, Length);
        Done.Consumed += Length;
        Done.Produced += Length;
        DataConsumed(Length);
    }
    Done.Status = Status();
    return Done;
}

ChunkedDecoder::Step ChunkedDecoder::Next(char AByte)
{
    if (FStep <= Step::SizeMore)
        return ReadSize(AByte);
    if (FStep <= Step::ExtAfterQuoted)
        return ReadExtension(AByte);
    if (FStep >= Step::TrailerStart && FStep <= Step::TrailerLf)
        return ReadTrailer(AByte);
    if (FStep == Step::DataCr)
        return AByte == '\r' ? Step::DataLf : Refuse("no CRLF behind a chunk");
    if (AByte != '\n')
        return Refuse("bare CR");
    if (FStep == Step::SizeLf)
        return FRemaining == 0 ? Step::TrailerStart : Step::Data;
    return FStep == Step::DataLf ? Step::Size : Step::Done;
}

// chunk-size = 1*HEXDIG
ChunkedDecoder::Step ChunkedDecoder::ReadSize(char AByte)
{
    if (FStep == Step::Size) {
        FRemaining = 0;
        FDigits = 0;
    }
    if (Is(HexDigit, AByte)) {
        if (FDigits == MostDigits || FRemaining > LargestChunk >> 4)
            return Refuse("chunk size too large");
        FRemaining = FRemaining << 4 | HexValue(AByte);
        ++FDigits;
        return Step::SizeMore;
    }
    if (FStep == Step::Size)
        return Refuse("malformed chunk size");
    if (AByte == '\r')
        return Step::SizeLf;
    FStep = Step::ExtGap;
    return ReadExtension(AByte);
}

// *( BWS ";" BWS chunk-ext-name [ BWS "=" BWS ( token / quoted-string ) ] )
ChunkedDecoder::Step ChunkedDecoder::ReadExtension(char AByte)
{
    if (AByte == '\r' &&
        (FStep == Step::ExtNameMore || FStep == Step::ExtToken || FStep == Step::ExtAfterQuoted))
        return Step::SizeLf;
    if (++FExtensions > FLimits.Extensions)
        return Refuse("chunk extensions too large");
    const bool Blank = IsBlank(AByte);
    const bool TokenChar = Is(Token, AByte);
    switch (FStep) {
    case Step::ExtName:
        if (Blank || TokenChar)
            return Blank ? Step::ExtName : Step::ExtNameMore;
        break;
    case Step::ExtNameMore:
        if (TokenChar)
            return Step::ExtNameMore;
        [[fallthrough]];
    case Step::ExtEquals:
        if (Blank)
            return Step::ExtEquals;
        if (AByte == '=' || AByte == ';')
            return AByte == '=' ? Step::ExtValue : Step::ExtName;
        break;
    case Step::ExtValue:
        if (AByte == '"')
            return Step::ExtQuoted;
        if (Blank || TokenChar)
            return Blank ? Step::ExtValue : Step::ExtToken;
        break;
    case Step::ExtQuoted:
        if (AByte == '"' || AByte == '\\')
            return AByte == '"' ? Step::ExtAfterQuoted : Step::ExtEscaped;
        if (Is(Quoted, AByte))
            return Step::ExtQuoted;
        break;
    case Step::ExtEscaped:
        if (Is(Value, AByte))
            return Step::ExtQuoted;
        break;
    default: // ExtToken, ExtAfterQuoted, ExtGap
        if (FStep == Step::ExtToken && TokenChar)
            return Step::ExtToken;
        if (Blank || AByte == ';')
            return Blank ? Step::ExtGap : Step::ExtName;
        break;
    }
    return Refuse("malformed chunk extension");
}

// *( field-name ":" OWS field-value OWS CRLF ) CRLF
ChunkedDecoder::Step ChunkedDecoder::ReadTrailer(char AByte)
{
    if (FStep == Step::TrailerStart && AByte == '\r')
        return Step::LastLf;
    if (++FTrailers > FLimits.Trailers)
        return Refuse("trailers too large");
    switch (FStep) {
    case Step::TrailerStart:
        FNameLength = 0;
        [[fallthrough]];
    case Step::TrailerName:
        if (Is(Token, AByte)) {
            if (FNameLength < sizeof FName)
                FName[FNameLength++] = AByte;
            return Step::TrailerName;
        }
        if (AByte != ':' || FStep == Step::TrailerStart)
            return Refuse("malformed trailer name");
        if (IsForbiddenTrailer({FName, FNameLength}))
            return Refuse("Host, Content-Length or Transfer-Encoding in a trailer");
        return Step::TrailerValue;
    case Step::TrailerValue:
        if (AByte == '\r')
            return Step::TrailerLf;
        return Is(Value, AByte) ? Step::TrailerValue : Refuse("control character in a trailer");
    default:
        return AByte == '\n' ? Step::TrailerStart : Refuse("bare CR");
    }
}

} // namespace Zn
