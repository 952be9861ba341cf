#include "platform/text/Unicode.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "platform/text/WidenAscii.h"

namespace Zn
{

namespace
{

constexpr char32_t cReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t AUnit)
{
    return AUnit >= 0xD800 && AUnit < 0xDC00;
}

constexpr bool IsLowSurrogate(char32_t AUnit)
{
    return AUnit >= 0xDC00 && AUnit < 0xE000;
}

/// Up to four bytes at AOut; the number of them. ACodePoint is a scalar value.
std::size_t PutUtf8(char* AOut, char32_t ACodePoint)
{
    if (ACodePoint < 0x80) {
        AOut[0] = static_cast<char>(ACodePoint);
        return 1;
    }
    if (ACodePoint < 0x800) {
        AOut[0] = static_cast<char>(0xC0 | ACodePoint >> 6);
        AOut[1] = static_cast<char>(0x80 | (ACodePoint & 0x3F));
        return 2;
    }
    if (ACodePoint < 0x10000) {
        AOut[0] = static_cast<char>(0xE0 | ACodePoint >> 12);
        AOut[1] = static_cast<char>(0x80 | (ACodePoint >> 6 & 0x3F));
        AOut[2] = static_cast<char>(0x80 | (ACodePoint & 0x3F));
        return 3;
    }
    AOut[0] = static_cast<char>(0xF0 | ACodePoint >> 18);
    AOut[1] = static_cast<char>(0x80 | (ACodePoint >> 12 & 0x3F));
    AOut[2] = static_cast<char>(0x80 | (ACodePoint >> 6 & 0x3F));
    AOut[3] = static_cast<char>(0x80 | (ACodePoint & 0x3F));
    return 4;
}

template <class T>
using UnsignedOf = std::conditional_t<sizeof(T) == 1, std::uint8_t, std::uint16_t>;

/// Copies units of AFrom to ATo, neither of which need be aligned, while they are ASCII, and gives their
/// number. A block at a time: nearly all texts of the platform are ASCII from beginning to end.
template <class TFrom, class TTo>
std::size_t AsciiPrefix(const char* AFrom, std::size_t ACount, void* ATo)
{
    constexpr std::size_t cBlock = 8;
    auto* const Out = static_cast<char*>(ATo);
    std::size_t Index = 0;
    for (; Index + cBlock <= ACount; Index += cBlock) {
        TFrom Units[cBlock];
        std::memcpy(Units, AFrom + Index * sizeof(TFrom), sizeof(Units));
        unsigned All = 0;
        for (const TFrom Unit : Units)
            All |= static_cast<UnsignedOf<TFrom>>(Unit);
        if (All >= 0x80)
            break;
        TTo Copies[cBlock];
        for (std::size_t Offset = 0; Offset < cBlock; ++Offset)
            Copies[Offset] = static_cast<TTo>(Units[Offset]);
        std::memcpy(Out + Index * sizeof(TTo), Copies, sizeof(Copies));
    }
    for (; Index < ACount; ++Index) {
        TFrom Unit;
        std::memcpy(&Unit, AFrom + Index * sizeof(TFrom), sizeof(Unit));
        if (static_cast<UnsignedOf<TFrom>>(Unit) >= 0x80)
            break;
        const auto Copy = static_cast<TTo>(Unit);
        std::memcpy(Out + Index * sizeof(TTo), &Copy, sizeof(Copy));
    }
    return Index;
}

/// Sequences that begin with ALead: their length, the bits of ALead that count, and the range of
/// the second byte, which is what keeps out overlong forms, surrogates and values above U+10FFFF.
struct TLeadByte
{
    unsigned Length; // 0: begins nothing
    unsigned Bits;
    unsigned char SecondFirst;
    unsigned char SecondLast;
};

constexpr TLeadByte LeadByte(unsigned char ALead)
{
    if (ALead < 0xC2 || ALead > 0xF4)
        return {0, 0, 0, 0};
    if (ALead < 0xE0)
        return {2, ALead & 0x1Fu, 0x80, 0xBF};
    if (ALead < 0xF0) {
        return {3, ALead & 0x0Fu, static_cast<unsigned char>(ALead == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(ALead == 0xED ? 0x9F : 0xBF)};
    }
    return {4, ALead & 0x07u, static_cast<unsigned char>(ALead == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(ALead == 0xF4 ? 0x8F : 0xBF)};
}

} // namespace

std::string Utf8FromUtf16(std::u16string_view AText)
{
    return Utf8FromUtf16Bytes(AText.data(), AText.size() * sizeof(char16_t));
}

std::string Utf8FromUtf16Bytes(const void* AData, std::size_t AByteCount)
{
    const char* const Bytes = static_cast<const char*>(AData);
    const std::size_t Count = AByteCount / 2;
    const auto Unit = [Bytes](std::size_t AIndex) {
        char16_t Value;
        std::memcpy(&Value, Bytes + AIndex * 2, sizeof(Value));
        return Value;
    };

    // One byte for each unit is right for ASCII; the rest of the way grows the text as needed.
    std::string Result(Count, '\0');
    std::size_t Index = AsciiPrefix<char16_t, char>(Bytes, Count, Result.data());
    if (Index == Count && AByteCount % 2 == 0)
        return Result;

    std::size_t Length = Index;
    Result.resize(Length + (Count - Index) * 3 + 3);
    while (Index < Count) {
        char32_t CodePoint = Unit(Index++);
        if (IsHighSurrogate(CodePoint) && Index < Count && IsLowSurrogate(Unit(Index)))
            CodePoint = 0x10000 + ((CodePoint - 0xD800) << 10) + (Unit(Index++) - 0xDC00u);
        else if (IsHighSurrogate(CodePoint) || IsLowSurrogate(CodePoint))
            CodePoint = cReplacement;
        Length += PutUtf8(Result.data() + Length, CodePoint);
    }
    if (AByteCount % 2 != 0)
        Length += PutUtf8(Result.data() + Length, cReplacement);
    Result.resize(Length);
    return Result;
}

std::u16string Utf16FromUtf8(std::string_view AText)
{
    // A character takes no more UTF-16 units than it takes bytes.
    std::u16string Result(AText.size(), u'\0');
    std::size_t Length = AsciiPrefix<char, char16_t>(AText.data(), AText.size(), Result.data());
    for (std::size_t Index = Length; Index < AText.size();) {
        const auto Byte = static_cast<unsigned char>(AText[Index]);
        if (Byte < 0x80) {
            Result[Length++] = Byte;
            ++Index;
            continue;
        }
        const TUtf8Step Step = DecodeUtf8(AText.substr(Index));
        Index += Step.Length;
        if (Step.CodePoint < 0x10000) {
            Result[Length++] = static_cast<char16_t>(Step.CodePoint);
        } else {
            Result[Length++] = static_cast<char16_t>(0xD800 + ((Step.CodePoint - 0x10000) >> 10));
            Result[Length++] = static_cast<char16_t>(0xDC00 + (Step.CodePoint & 0x3FF));
        }
    }
    Result.resize(Length);
    return Result;
}

bool WidenAscii(std::string_view AText, void* ABuffer)
{
    return AsciiPrefix<char, char16_t>(AText.data(), AText.size(), ABuffer) == AText.size();
}

void AppendUtf8(std::string& AText, char32_t ACodePoint)
{
    if (ACodePoint > 0x10FFFF || IsHighSurrogate(ACodePoint) || IsLowSurrogate(ACodePoint))
        ACodePoint = cReplacement;
    char Bytes[4];
    AText.append(Bytes, PutUtf8(Bytes, ACodePoint));
}

TUtf8Step DecodeUtf8(std::string_view AText)
{
    const auto Byte = [AText](std::size_t AIndex) { return static_cast<unsigned char>(AText[AIndex]); };
    if (Byte(0) < 0x80)
        return {Byte(0), 1};
    const TLeadByte Lead = LeadByte(Byte(0));
    if (Lead.Length == 0 || AText.size() < 2 || Byte(1) < Lead.SecondFirst || Byte(1) > Lead.SecondLast)
        return {cReplacement, 1};
    char32_t CodePoint = Lead.Bits << 6 | (Byte(1) & 0x3Fu);
    for (std::size_t Index = 2; Index < Lead.Length; ++Index) {
        if (Index >= AText.size() || (Byte(Index) & 0xC0) != 0x80)
            return {cReplacement, Index};
        CodePoint = CodePoint << 6 | (Byte(Index) & 0x3Fu);
    }
    return {CodePoint, Lead.Length};
}

} // namespace Zn
