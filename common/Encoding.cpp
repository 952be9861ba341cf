#include "common/Encoding.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <memory>
#include <unordered_map>

#include <iconv.h>

#include "common/CodePages.h"
#include "common/Exceptions.h"

namespace
{

constexpr std::string_view cReplacementUtf8 = "\xEF\xBF\xBD"; // U+FFFD

/// The length of the ASCII text that AText begins with.
std::size_t AsciiPrefix(std::string_view AText)
{
    constexpr std::uint64_t cHighBits = 0x8080808080808080;
    std::size_t Index = 0;
    for (; Index + sizeof(std::uint64_t) <= AText.size(); Index += sizeof(std::uint64_t)) {
        std::uint64_t Word;
        std::memcpy(&Word, AText.data() + Index, sizeof(Word));
        if ((Word & cHighBits) != 0)
            break;
    }
    while (Index < AText.size() && (AText[Index] & 0x80) == 0)
        ++Index;
    return Index;
}

bool IsReplacement(std::string_view AText, const Zn::TUtf8Step& AStep)
{
    return AStep.CodePoint == 0xFFFD && AText.substr(0, AStep.Length) != cReplacementUtf8;
}

std::string RepairedUtf8(std::string_view ABytes)
{
    std::string Result;
    Result.reserve(ABytes.size());
    while (!ABytes.empty()) {
        const std::size_t Ascii = AsciiPrefix(ABytes);
        Result.append(ABytes.substr(0, Ascii));
        ABytes.remove_prefix(Ascii);
        if (ABytes.empty())
            break;
        const Zn::TUtf8Step Step = Zn::DecodeUtf8(ABytes);
        Zn::AppendUtf8(Result, Step.CodePoint);
        ABytes.remove_prefix(Step.Length);
    }
    return Result;
}

/// Code pages whose first 128 or 256 characters are Unicode's: ALimit is the first that isn't in.
std::string NarrowedFrom(std::string_view AText, char32_t ALimit)
{
    std::string Result;
    Result.reserve(AText.size());
    while (!AText.empty()) {
        const Zn::TUtf8Step Step = Zn::DecodeUtf8(AText);
        Result.push_back(Step.CodePoint < ALimit ? static_cast<char>(Step.CodePoint) : '?');
        AText.remove_prefix(Step.Length);
    }
    return Result;
}

std::string WidenedTo(std::string_view ABytes, char32_t ALimit)
{
    std::string Result;
    Result.reserve(ABytes.size() + ABytes.size() / 8);
    for (const char Char : ABytes) {
        const char32_t CodePoint = static_cast<unsigned char>(Char);
        Zn::AppendUtf8(Result, CodePoint < ALimit ? CodePoint : 0xFFFD);
    }
    return Result;
}

/// One direction between UTF-8 and a code page.
class TConverter
{
public:
    /// AName: what iconv calls the code page.
    TConverter(std::uint32_t ACodePage, const char* AName, bool AToText)
        : FHandle(AToText ? iconv_open("UTF-8", AName) : iconv_open(AName, "UTF-8")),
          FToText(AToText),
          FUnit(Zn::CodePageUnit(ACodePage))
    {
        if (FHandle == cInvalid)
            throw EConvertError(ZnFormat("This system has no conversion for the code page %u!", ACodePage));
    }
    ~TConverter() { iconv_close(FHandle); }
    TConverter(const TConverter&) = delete;
    TConverter& operator=(const TConverter&) = delete;

    std::string Convert(std::string_view AInput)
    {
        iconv(FHandle, nullptr, nullptr, nullptr, nullptr); // to the initial shift state
        std::string Output;
        Output.reserve(AInput.size() + AInput.size() / 2 + 16);
        while (!Feed(AInput, Output)) {
            if (FToText) {
                Output.append(cReplacementUtf8);
                AInput.remove_prefix(std::min(FUnit, AInput.size()));
            } else {
                std::string_view Substitute = "?";
                Feed(Substitute, Output);
                AInput.remove_prefix(Zn::DecodeUtf8(AInput).Length);
            }
        }
        Finish(Output);
        return Output;
    }

private:
    static inline const iconv_t cInvalid = std::bit_cast<iconv_t>(static_cast<std::intptr_t>(-1));
    static constexpr std::size_t cFailed = static_cast<std::size_t>(-1);

    /// Converts as far as it goes and takes that off AInput; true when nothing is left. What stops
    /// it is ill-formed, cut off at the end, or a character that the code page lacks.
    bool Feed(std::string_view& AInput, std::string& AOutput)
    {
        while (!AInput.empty()) {
            char* In = const_cast<char*>(AInput.data()); // iconv only reads it
            std::size_t InLeft = AInput.size();
            char* Out = FBuffer.data();
            std::size_t OutLeft = FBuffer.size();
            const bool Stopped = iconv(FHandle, &In, &InLeft, &Out, &OutLeft) == cFailed && errno != E2BIG;
            AOutput.append(FBuffer.data(), FBuffer.size() - OutLeft);
            AInput.remove_prefix(AInput.size() - InLeft);
            if (Stopped)
                return false;
        }
        return true;
    }

    /// Writes what brings the output back to its initial shift state.
    void Finish(std::string& AOutput)
    {
        char* Out = FBuffer.data();
        std::size_t OutLeft = FBuffer.size();
        iconv(FHandle, nullptr, nullptr, &Out, &OutLeft);
        AOutput.append(FBuffer.data(), FBuffer.size() - OutLeft);
    }

    iconv_t FHandle;
    bool FToText;
    std::size_t FUnit;
    std::array<char, 1024> FBuffer;
};

/// Opening a converter costs far more than a short conversion, so each thread keeps its own.
TConverter& ThreadConverter(std::uint32_t ACodePage, bool AToText)
{
    thread_local std::unordered_map<std::uint64_t, std::unique_ptr<TConverter>> Converters;
    const std::uint64_t Key = std::uint64_t{ACodePage} << 1 | AToText;
    const auto Found = Converters.find(Key);
    if (Found != Converters.end())
        return *Found->second;
    const char* const Name = Zn::IconvName(ACodePage);
    if (!Name)
        throw EConvertError(ZnFormat("The code page %u is not known!", ACodePage));
    return *Converters.emplace(Key, std::make_unique<TConverter>(ACodePage, Name, AToText)).first->second;
}

} // namespace

std::string TZnEncoding::ConvertW(std::string_view AText, std::uint32_t ACodePage)
{
    switch (ACodePage) {
    case cZnCodePageSystem:
    case cZnCodePageUTF8:
        return std::string(AText);
    case cZnCodePageUTF16: {
        const std::u16string Units = Utf16FromUtf8(AText);
        return {reinterpret_cast<const char*>(Units.data()), Units.size() * sizeof(char16_t)};
    }
    case cZnCodePageASCII:
        return NarrowedFrom(AText, 0x80);
    case cZnCodePageLatin1:
        return NarrowedFrom(AText, 0x100);
    default:
        return ThreadConverter(ACodePage, false).Convert(AText);
    }
}

std::string TZnEncoding::ConvertA(std::string_view ABytes, std::uint32_t ACodePage)
{
    switch (ACodePage) {
    case cZnCodePageSystem:
    case cZnCodePageUTF8:
        return ZnIsUtf8(ABytes) ? std::string(ABytes) : RepairedUtf8(ABytes);
    case cZnCodePageUTF16:
        return Zn::Utf8FromUtf16Bytes(ABytes.data(), ABytes.size());
    case cZnCodePageASCII:
        return WidenedTo(ABytes, 0x80);
    case cZnCodePageLatin1:
        return WidenedTo(ABytes, 0x100);
    default:
        return ThreadConverter(ACodePage, true).Convert(ABytes);
    }
}

bool ZnIsUtf8(std::string_view ABytes)
{
    for (;;) {
        ABytes.remove_prefix(AsciiPrefix(ABytes));
        if (ABytes.empty())
            return true;
        const Zn::TUtf8Step Step = Zn::DecodeUtf8(ABytes);
        if (IsReplacement(ABytes, Step))
            return false;
        ABytes.remove_prefix(Step.Length);
    }
}
