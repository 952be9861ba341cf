#pragma once

/// A cursor over text: skip, mark, take out what stands between two marks.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "common/Exceptions.h"
#include "common/TextSet.h"

class TStream;

/// A parser was asked for a character behind the end of its text.
class EZnTextParserEOF : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnTextParserEOF")
};

/// What SkipWhile compares the current character with, and when it goes on.
enum TZnTextParserOp : std::uint8_t {
    poEqual = 0,    // while it is the given character
    poNotEqual = 3, // until it is the given character
    poIn = 4,       // while it is in the given set
    poNotIn = 7     // until it is in the given set
};

/// Positions that Selected knows. The marks are free for the caller.
enum TZnTextPosition : std::uint8_t {
    tpBefore = 0,  // the character in front of the current one
    tpCurrent = 1, // the current character, or the end of the text
    tpMark1 = 3,
    tpMark2 = 4,
    tpMark3 = 5
};

/// Reads a text from front to back, character by character or in leaps.
///
/// Use:       TZnTextParser Parser(Text); Parser.SetMark(tpMark1); Parser.SkipUntil(';');
///            use Parser.Selected(tpMark1, tpCurrent).
///            The text is UTF-8 inside, whatever the code page of the source. UTF-8 sources (code
///            pages 0 and 65001) are not copied, checked or changed, so what is taken out has the
///            source's own bytes; a byte that is no UTF-8 counts as one character, U+FFFD.
/// Threads:   one at a time.
/// Ownership: a text or buffer in UTF-8 is borrowed and outlives the parser; other code pages are
///            copied. A stream is read whole, from its start, when the parser is made. The views
///            that Selected and PeekString give live as long as the parser and its source.
/// Errors:    what needs a current character raises EZnTextParserEOF at the end of the text;
///            the Skip operations stop there without an error. An unknown code page raises
///            EConvertError.
class TZnTextParser
{
public:
    /// Borrows AText, which has to outlive the parser; stands at its beginning.
    explicit TZnTextParser(std::string_view AText) : FText(AText) {}

    /// ALength bytes in code page ACodePage. They need no alignment.
    TZnTextParser(const void* AData, std::size_t ALength, std::uint32_t ACodePage);

    /// The whole of a stream that stays the caller's and may go as soon as this returns.
    TZnTextParser(TStream& AStream, std::uint32_t ACodePage);

    /// The whole of a stream that is freed once it is read.
    TZnTextParser(std::unique_ptr<TStream> AStream, std::uint32_t ACodePage);

    TZnTextParser(const TZnTextParser&) = delete;
    TZnTextParser& operator=(const TZnTextParser&) = delete;

    void First() { FPosition = 0; }           ///< To the first character.
    void Last() { FPosition = FText.size(); } ///< Behind the last character: Eof() is true.
    /// Nothing is left.
    bool Eof() const { return FPosition >= FText.size(); }

    /// The current character as a code point.
    char32_t Current() const
    {
        const auto Byte = static_cast<unsigned char>(CurrentByte());
        return Byte < 0x80 ? Byte : DecodeCurrent();
    }

    /// True when the current character is the ASCII character AChar; false at the end.
    bool At(char AChar) const { return FPosition < FText.size() && FText[FPosition] == AChar; }

    /// One character on.
    void NextChar() { FPosition += static_cast<unsigned char>(CurrentByte()) < 0x80 ? 1 : CurrentLength(); }

    /// Goes on as long as AOp holds for the current character, at most to the end of the text.
    void SkipWhile(TZnTextParserOp AOp, char32_t AChar);
    /// Moves on while the present character is (poIn) or isn't (poNotIn) in the set, at most to the end.
    void SkipWhile(TZnTextParserOp AOp, const TZnTextSet& ASet);

    /// To the next AChar (ASCII) or the end.
    void SkipUntil(char AChar)
    {
        const std::size_t Found = FText.find(AChar, FPosition);
        FPosition = Found == std::string_view::npos ? FText.size() : Found;
    }

    /// To the next character out of ASet or the end.
    void SkipUntilAny(const TZnTextSet& ASet)
    {
        while (FPosition < FText.size() && !ASet.Contains(FText[FPosition])) {
            ++FPosition;
        }
    }

    /// Over blanks (U+0020 only).
    void SkipBlanks() { SkipWhile(poEqual, U' '); }

    /// Puts mark AMark (tpMark1 to tpMark3) at the current character.
    void SetMark(TZnTextPosition AMark) { FMarks[MarkIndex(AMark)] = FPosition; }

    /// Takes the mark away; Selected asserts that the marks it is given are set.
    void ClearMark(TZnTextPosition AMark) { FMarks[MarkIndex(AMark)] = cUnset; }

    /// The text from AFrom up to, not including, the character at ATo. Empty when ATo comes first.
    std::string_view Selected(TZnTextPosition AFrom, TZnTextPosition ATo) const;

    /// Up to ACount characters from the current one on; fewer at the end. Moves nothing.
    std::string_view PeekString(std::size_t ACount) const;

    /// The whole text in UTF-8.
    std::string_view Text() const { return FText; }

    /// Where the current character begins, in bytes of Text().
    std::size_t Position() const { return FPosition; }

private:
    static constexpr std::size_t cUnset = static_cast<std::size_t>(-1);

    void Load(TStream& AStream, std::uint32_t ACodePage);
    char CurrentByte() const
    {
        if (FPosition >= FText.size()) {
            RaiseEof();
        }
        return FText[FPosition];
    }
    [[noreturn]] static void RaiseEof();
    char32_t DecodeCurrent() const;
    std::size_t CurrentLength() const;
    static std::size_t MarkIndex(TZnTextPosition AMark);
    std::size_t PositionOf(TZnTextPosition APosition) const;

    std::string FOwned; // the text, when the source isn't borrowed
    std::string_view FText;
    std::size_t FPosition = 0;
    std::array<std::size_t, 3> FMarks{cUnset, cUnset, cUnset};
};
