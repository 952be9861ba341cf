#include "common/TextParser.h"

#include "common/Encoding.h"
#include "common/Streams.h"

namespace
{

bool IsUtf8CodePage(std::uint32_t ACodePage)
{
    return ACodePage == cZnCodePageSystem || ACodePage == cZnCodePageUTF8;
}

} // namespace

TZnTextParser::TZnTextParser(const void* AData, std::size_t ALength, std::uint32_t ACodePage)
{
    const std::string_view Bytes(static_cast<const char*>(AData), ALength);
    if (IsUtf8CodePage(ACodePage)) {
        FText = Bytes;
    } else {
        FOwned = TZnEncoding::ConvertA(Bytes, ACodePage);
        FText = FOwned;
    }
}

TZnTextParser::TZnTextParser(TStream& AStream, std::uint32_t ACodePage)
{
    Load(AStream, ACodePage);
}

TZnTextParser::TZnTextParser(std::unique_ptr<TStream> AStream, std::uint32_t ACodePage)
{
    Load(*AStream, ACodePage);
}

void TZnTextParser::Load(TStream& AStream, std::uint32_t ACodePage)
{
    FOwned.resize(static_cast<std::size_t>(AStream.GetSize()));
    AStream.SetPosition(0);
    AStream.ReadBuffer(FOwned.data(), static_cast<std::int64_t>(FOwned.size()));
    if (!IsUtf8CodePage(ACodePage))
        FOwned = TZnEncoding::ConvertA(FOwned, ACodePage);
    FText = FOwned;
}

void TZnTextParser::SkipWhile(TZnTextParserOp AOp, char32_t AChar)
{
    ZnAssert(AOp == poEqual || AOp == poNotEqual, "A character is compared by poEqual or poNotEqual");
    while (!Eof() && (Current() == AChar) == (AOp == poEqual))
        NextChar();
}

void TZnTextParser::SkipWhile(TZnTextParserOp AOp, const TZnTextSet& ASet)
{
    ZnAssert(AOp == poIn || AOp == poNotIn, "A set is searched by poIn or poNotIn");
    if (AOp == poNotIn) {
        SkipUntilAny(ASet);
        return;
    }
    while (!Eof() && ASet.Contains(FText[FPosition]))
        ++FPosition;
}

std::string_view TZnTextParser::Selected(TZnTextPosition AFrom, TZnTextPosition ATo) const
{
    const std::size_t From = PositionOf(AFrom);
    const std::size_t To = PositionOf(ATo);
    return From < To ? FText.substr(From, To - From) : std::string_view();
}

std::string_view TZnTextParser::PeekString(std::size_t ACount) const
{
    const std::string_view Rest = FText.substr(FPosition);
    std::size_t Length = 0;
    for (; ACount > 0 && Length < Rest.size(); --ACount)
        Length += Zn::DecodeUtf8(Rest.substr(Length)).Length;
    return Rest.substr(0, Length);
}

void TZnTextParser::RaiseEof()
{
    throw EZnTextParserEOF("Unexpected end of the text!");
}

char32_t TZnTextParser::DecodeCurrent() const
{
    return Zn::DecodeUtf8(FText.substr(FPosition)).CodePoint;
}

std::size_t TZnTextParser::CurrentLength() const
{
    return Zn::DecodeUtf8(FText.substr(FPosition)).Length;
}

std::size_t TZnTextParser::MarkIndex(TZnTextPosition AMark)
{
    ZnAssert(AMark >= tpMark1 && AMark <= tpMark3, "This position is no mark");
    return static_cast<std::size_t>(AMark - tpMark1);
}

std::size_t TZnTextParser::PositionOf(TZnTextPosition APosition) const
{
    if (APosition == tpCurrent)
        return FPosition;
    if (APosition == tpBefore) {
        std::size_t Position = FPosition > 0 ? FPosition - 1 : 0;
        while (Position > 0 && (FText[Position] & 0xC0) == 0x80)
            --Position;
        return Position;
    }
    const std::size_t Mark = FMarks[MarkIndex(APosition)];
    ZnAssert(Mark != cUnset, "This mark isn't set");
    return Mark;
}
