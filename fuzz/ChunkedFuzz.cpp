/// The decoder agrees with a reference that has the whole body before it, however the bytes are cut.

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "platform/httpapi/ChunkedDecoder.h"

namespace
{

using namespace Zn;

constexpr ChunkedDecoder::Limits Narrow{12, 16};

struct Outcome
{
    std::string Content;
    std::size_t Consumed = 0;
    bool operator==(const Outcome&) const = default;
};

// RFC 9112, 7.1 on a buffer that holds everything. Written apart from the library's classes on purpose.
class Reference
{
public:
    Reference(std::string_view ABytes, ChunkedDecoder::Limits ALimits) : FRest(ABytes), FLimits(ALimits) {}

    std::optional<Outcome> Decode()
    {
        Outcome Whole;
        const std::size_t Size = FRest.size();
        for (;;) {
            const auto Length = ChunkSize();
            if (!Length)
                return std::nullopt;
            if (*Length == 0)
                break;
            if (FRest.size() < 2 || *Length > FRest.size() - 2 || FRest.substr(*Length, 2) != "\r\n")
                return std::nullopt;
            Whole.Content += FRest.substr(0, *Length);
            FRest.remove_prefix(*Length + 2);
        }
        if (!Trailers())
            return std::nullopt;
        Whole.Consumed = Size - FRest.size();
        return Whole;
    }

private:
    static bool IsTchar(char AByte)
    {
        return std::isalnum(static_cast<unsigned char>(AByte)) ||
               (AByte != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(AByte) != std::string_view::npos);
    }

    static bool IsText(char AByte)
    {
        return AByte == '\t' || (static_cast<unsigned char>(AByte) >= 0x20 && AByte != 0x7F);
    }

    static bool SkipToken(std::string_view& AText)
    {
        const auto End = std::find_if_not(AText.begin(), AText.end(), IsTchar);
        const bool Found = End != AText.begin();
        AText.remove_prefix(static_cast<std::size_t>(End - AText.begin()));
        return Found;
    }

    static void SkipBlanks(std::string_view& AText)
    {
        AText.remove_prefix(std::min(AText.find_first_not_of(" \t"), AText.size()));
    }

    static bool SkipQuoted(std::string_view& AText)
    {
        for (std::size_t At = 1; At < AText.size(); ++At) {
            if (AText[At] == '"') {
                AText.remove_prefix(At + 1);
                return true;
            }
            At += AText[At] == '\\' ? 1 : 0;
            if (At >= AText.size() || !IsText(AText[At]))
                return false;
        }
        return false;
    }

    static bool Extensions(std::string_view AText)
    {
        while (!AText.empty()) {
            SkipBlanks(AText);
            if (!AText.starts_with(';'))
                return false;
            AText.remove_prefix(1);
            SkipBlanks(AText);
            if (!SkipToken(AText))
                return false;
            std::string_view Behind = AText;
            SkipBlanks(Behind);
            if (!Behind.starts_with('='))
                continue;
            Behind.remove_prefix(1);
            SkipBlanks(Behind);
            if (!(Behind.starts_with('"') ? SkipQuoted(Behind) : SkipToken(Behind)))
                return false;
            AText = Behind;
        }
        return true;
    }

    std::optional<std::string_view> Line()
    {
        const std::size_t End = FRest.find("\r\n");
        if (End == FRest.npos)
            return std::nullopt;
        const std::string_view Text = FRest.substr(0, End);
        FRest.remove_prefix(End + 2);
        return Text;
    }

    std::optional<std::size_t> ChunkSize()
    {
        const auto Text = Line();
        if (!Text)
            return std::nullopt;
        const std::size_t Digits = std::min(Text->find_first_not_of("0123456789abcdefABCDEF"), Text->size());
        if (Digits == 0 || Digits > 16 || !Extensions(Text->substr(Digits)))
            return std::nullopt;
        FExtensions += Text->size() - Digits;
        const std::uint64_t Size = std::stoull(std::string(Text->substr(0, Digits)), nullptr, 16);
        return FExtensions > FLimits.Extensions || Size >> 63 != 0 ? std::nullopt : std::optional(Size);
    }

    bool Trailers()
    {
        for (std::size_t Length = 0;;) {
            const auto Text = Line();
            if (!Text)
                return false;
            if (Text->empty())
                return true;
            Length += Text->size() + 2;
            std::string_view Rest = *Text;
            if (Length > FLimits.Trailers || !SkipToken(Rest) || !Rest.starts_with(':') ||
                !std::all_of(Rest.begin(), Rest.end(), IsText))
                return false;
            std::string Name(Text->substr(0, Text->size() - Rest.size()));
            std::transform(Name.begin(), Name.end(), Name.begin(),
                           [](unsigned char AByte) { return std::tolower(AByte); });
            if (Name == "content-length" || Name == "transfer-encoding" || Name == "host")
                return false;
        }
    }

    std::string_view FRest;
    ChunkedDecoder::Limits FLimits;
    std::size_t FExtensions = 0;
};

// Feeds pieces of AStep bytes into room for ARoom; ASkip lets content pass the decoder by instead.
std::optional<Outcome> Decode(std::string_view ABytes, ChunkedDecoder::Limits ALimits, std::size_t AStep,
                              std::size_t ARoom, bool ASkip)
{
    ChunkedDecoder Decoder(ALimits);
    Outcome Whole;
    std::string Room(ARoom, '?');
    while (Whole.Consumed < ABytes.size() && Decoder.Status() == ChunkedDecoder::State::NeedMore) {
        std::string_view Rest = ABytes.substr(Whole.Consumed);
        if (const std::uint64_t Passing = std::min<std::uint64_t>(Decoder.DataRemaining(), Rest.size());
            ASkip && Passing) {
            Rest = Rest.substr(0, Passing);
            Whole.Content += Rest;
            Whole.Consumed += Rest.size();
            Decoder.DataConsumed(Passing);
            continue;
        }
        const auto Done = Decoder.Decode(Rest.substr(0, AStep), Room.data(), ASkip ? 0 : Room.size());
        FuzzCheck(Done.Consumed <= std::min(AStep, Rest.size()) && Done.Produced <= Done.Consumed,
                  "within its bounds");
        FuzzCheck(Done.Consumed > 0 || Decoder.DataRemaining() > 0, "every call gets on");
        Whole.Content.append(Room, 0, Done.Produced);
        Whole.Consumed += Done.Consumed;
    }
    return Decoder.Status() == ChunkedDecoder::State::Done ? std::optional(Whole) : std::nullopt;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Bytes(reinterpret_cast<const char*>(AData), ALength);
    for (const ChunkedDecoder::Limits Limits : {ChunkedDecoder::Limits{}, Narrow}) {
        const auto Expected = Reference(Bytes, Limits).Decode();
        FuzzCheck(Decode(Bytes, Limits, ALength + 1, ALength + 1, false) == Expected, "whole");
        FuzzCheck(Decode(Bytes, Limits, 1, 1, false) == Expected, "byte by byte");
        FuzzCheck(Decode(Bytes, Limits, 5, 3, false) == Expected, "in pieces");
        FuzzCheck(Decode(Bytes, Limits, 3, 0, true) == Expected, "content passing by");
    }
    return 0;
}
