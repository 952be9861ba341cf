#include "common/NetEncoding.h"

#include <array>
#include <cstdint>
#include <optional>

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "common/Text.h"

namespace
{

constexpr std::string_view cUpperHex = "0123456789ABCDEF";
constexpr std::string_view cLowerHex = "0123456789abcdef";
constexpr std::string_view cBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view cBase64URL = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

constexpr std::uint8_t cNoDigit = 0xFF;
constexpr std::uint8_t cPassOver = 0xFE;
using TDigitTable = std::array<std::uint8_t, 256>;

constexpr TDigitTable HexDigits()
{
    TDigitTable Table;
    Table.fill(cNoDigit);
    for (std::uint8_t Digit = 0; Digit < 16; ++Digit) {
        Table[static_cast<unsigned char>(cUpperHex[Digit])] = Digit;
        Table[static_cast<unsigned char>(cLowerHex[Digit])] = Digit;
    }
    return Table;
}

constexpr TDigitTable Base64Digits()
{
    TDigitTable Table;
    Table.fill(cNoDigit);
    for (std::uint8_t Digit = 0; Digit < 64; ++Digit) {
        Table[static_cast<unsigned char>(cBase64[Digit])] = Digit;
        Table[static_cast<unsigned char>(cBase64URL[Digit])] = Digit;
    }
    for (const char Blank : {' ', '\t', '\r', '\n'})
        Table[static_cast<unsigned char>(Blank)] = cPassOver;
    return Table;
}

constexpr TDigitTable cHexDigits = HexDigits();
constexpr TDigitTable cBase64Digits = Base64Digits();

/// What RFC 3986 has in no URL unescaped.
constexpr TZnTextSet cNeverInURL = TZnTextSet::Range('\x00', ' ') | TZnTextSet("\"<>\\^`{|}\x7F");
constexpr TZnTextSet cFormPlain = TZnTextSet::Range('a', 'z') | TZnTextSet::Range('A', 'Z') |
                                  TZnTextSet::Range('0', '9') | TZnTextSet("*-._");

/// The byte that two hexadecimal digits at AIndex give.
std::optional<char> HexByteAt(std::string_view AText, std::size_t AIndex)
{
    if (AIndex + 1 >= AText.size())
        return std::nullopt;
    const std::uint8_t High = cHexDigits[static_cast<unsigned char>(AText[AIndex])];
    const std::uint8_t Low = cHexDigits[static_cast<unsigned char>(AText[AIndex + 1])];
    if (High == cNoDigit || Low == cNoDigit)
        return std::nullopt;
    return static_cast<char>(High << 4 | Low);
}

void AppendEscape(std::string& AText, char AByte)
{
    const auto Byte = static_cast<unsigned char>(AByte);
    AText.push_back('%');
    AText.push_back(cUpperHex[Byte >> 4]);
    AText.push_back(cUpperHex[Byte & 0x0F]);
}

std::string EncodeBase64(std::string_view ABytes, std::string_view ADigits, bool APad)
{
    std::string Result;
    Result.resize((ABytes.size() + 2) / 3 * 4);
    char* Out = Result.data();
    const auto Byte = [ABytes](std::size_t AIndex) {
        return std::uint32_t{static_cast<unsigned char>(ABytes[AIndex])};
    };
    std::size_t Index = 0;
    for (; Index + 3 <= ABytes.size(); Index += 3) {
        const std::uint32_t Bits = Byte(Index) << 16 | Byte(Index + 1) << 8 | Byte(Index + 2);
        *Out++ = ADigits[Bits >> 18];
        *Out++ = ADigits[Bits >> 12 & 0x3F];
        *Out++ = ADigits[Bits >> 6 & 0x3F];
        *Out++ = ADigits[Bits & 0x3F];
    }
    const std::size_t Left = ABytes.size() - Index;
    if (Left > 0) {
        const std::uint32_t Bits = Byte(Index) << 16 | (Left == 2 ? Byte(Index + 1) << 8 : 0);
        *Out++ = ADigits[Bits >> 18];
        *Out++ = ADigits[Bits >> 12 & 0x3F];
        if (Left == 2)
            *Out++ = ADigits[Bits >> 6 & 0x3F];
        for (; APad && Out != Result.data() + Result.size(); ++Out)
            *Out = '=';
    }
    Result.resize(static_cast<std::size_t>(Out - Result.data()));
    return Result;
}

[[noreturn]] void RaiseNoBase64()
{
    throw EConvertError("The text is no base64!");
}

} // namespace

std::string TURLEncoding::Encode(std::string_view AText, const TZnTextSet& AUnsafe,
                                 TEncodeOptions AOptions) const
{
    std::string Result;
    Result.reserve(AText.size() + AText.size() / 4);
    for (std::size_t Index = 0; Index < AText.size(); ++Index) {
        const char Char = AText[Index];
        if (Char == ' ' && AOptions.Contains(SpacesAsPlus)) {
            Result.push_back('+');
        } else if (Char == '%') {
            if (AOptions.Contains(EncodePercent) || AUnsafe.Contains('%') || !HexByteAt(AText, Index + 1))
                AppendEscape(Result, Char);
            else
                Result.push_back(Char);
        } else if ((Char & 0x80) != 0 || cNeverInURL.Contains(Char) || AUnsafe.Contains(Char)) {
            AppendEscape(Result, Char);
        } else {
            Result.push_back(Char);
        }
    }
    return Result;
}

std::string TURLEncoding::EncodeForm(std::string_view AText) const
{
    std::string Result;
    Result.reserve(AText.size() + AText.size() / 4);
    for (const char Char : AText) {
        if (Char == ' ')
            Result.push_back('+');
        else if (cFormPlain.Contains(Char))
            Result.push_back(Char);
        else
            AppendEscape(Result, Char);
    }
    return Result;
}

std::string TURLEncoding::Decode(std::string_view AText, TDecodeOptions AOptions) const
{
    std::string Bytes;
    Bytes.reserve(AText.size());
    for (std::size_t Index = 0; Index < AText.size(); ++Index) {
        const char Char = AText[Index];
        if (Char == '%') {
            const std::optional<char> Byte = HexByteAt(AText, Index + 1);
            if (!Byte)
                throw EConvertError(
                    ZnFormat("Two hexadecimal digits expected behind \"%%\" at position %zu!", Index + 1));
            Bytes.push_back(*Byte);
            Index += 2;
        } else {
            Bytes.push_back(Char == '+' && AOptions.Contains(PlusAsSpaces) ? ' ' : Char);
        }
    }
    return ZnIsUtf8(Bytes) ? Bytes : TZnEncoding::ConvertA(Bytes, cZnCodePageUTF8);
}

std::string TZnBinEncoding::Encode(const TZnBytes& ABytes) const
{
    return Encode(std::string_view(reinterpret_cast<const char*>(ABytes.data()), ABytes.size()));
}

TZnBytes TZnBinEncoding::DecodeBytes(std::string_view AText) const
{
    const std::string Bytes = Decode(AText);
    const auto* const First = reinterpret_cast<const std::byte*>(Bytes.data());
    return TZnBytes(First, First + Bytes.size());
}

void TZnBinEncoding::Decode(std::string_view AText, TStream& AOutput) const
{
    const std::string Bytes = Decode(AText);
    AOutput.WriteBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
}

std::string TZnBase64Encoding::Encode(std::string_view ABytes) const
{
    return EncodeBase64(ABytes, cBase64, true);
}

std::string TZnBase64Encoding::EncodeURL(std::string_view ABytes) const
{
    return EncodeBase64(ABytes, cBase64URL, false);
}

std::string TZnBase64Encoding::Decode(std::string_view AText) const
{
    std::string Result;
    Result.reserve(AText.size() / 4 * 3 + 2);
    std::uint32_t Bits = 0;
    unsigned Digits = 0; // of the current group of four
    unsigned Padding = 0;
    for (const char Char : AText) {
        const std::uint8_t Digit = cBase64Digits[static_cast<unsigned char>(Char)];
        if (Digit == cPassOver)
            continue;
        if (Char == '=') {
            ++Padding;
            continue;
        }
        if (Digit == cNoDigit || Padding > 0)
            RaiseNoBase64();
        Bits = Bits << 6 | Digit;
        if (++Digits == 4) {
            Result.push_back(static_cast<char>(Bits >> 16));
            Result.push_back(static_cast<char>(Bits >> 8));
            Result.push_back(static_cast<char>(Bits));
            Bits = Digits = 0;
        }
    }
    // Padding may be absent, but not wrong; bits that no byte takes have to be 0 (RFC 4648, 3.5),
    // so that bytes have one text only.
    if (Digits == 1 || (Padding > 0 && Digits + Padding != 4))
        RaiseNoBase64();
    if (Digits == 2) {
        if ((Bits & 0x0F) != 0)
            RaiseNoBase64();
        Result.push_back(static_cast<char>(Bits >> 4));
    } else if (Digits == 3) {
        if ((Bits & 0x03) != 0)
            RaiseNoBase64();
        Result.push_back(static_cast<char>(Bits >> 10));
        Result.push_back(static_cast<char>(Bits >> 2));
    }
    return Result;
}

std::string TZnHexEncoding::Encode(std::string_view ABytes) const
{
    std::string Result(ABytes.size() * 2, '\0');
    char* Digit = Result.data();
    for (const char Char : ABytes) {
        const auto Byte = static_cast<unsigned char>(Char);
        *Digit++ = cLowerHex[Byte >> 4];
        *Digit++ = cLowerHex[Byte & 0x0F];
    }
    return Result;
}

std::string TZnHexEncoding::Decode(std::string_view AText) const
{
    std::string Result;
    Result.reserve(AText.size() / 2);
    for (std::size_t Index = 0; Index < AText.size(); Index += 2) {
        const std::optional<char> Byte = HexByteAt(AText, Index);
        if (!Byte)
            throw EConvertError("The text is no hexadecimal form of bytes!");
        Result.push_back(*Byte);
    }
    return Result;
}

const TURLEncoding& TZnNetEncoding::URL()
{
    static const TURLEncoding Encoding;
    return Encoding;
}

const TZnBase64Encoding& TZnNetEncoding::GetBase64ExEncoding()
{
    static const TZnBase64Encoding Encoding;
    return Encoding;
}

const TZnHexEncoding& TZnNetEncoding::GetHexEncoding()
{
    static const TZnHexEncoding Encoding;
    return Encoding;
}
