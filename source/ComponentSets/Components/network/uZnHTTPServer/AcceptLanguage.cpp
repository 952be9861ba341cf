#include "uZnHTTPServer/AcceptLanguage.h"

#include <algorithm>
#include <optional>
#include <string>

#include "common/Exceptions.h"
#include "common/Text.h"

namespace
{

/// One entry while the field is read.
struct TZnHttpLanguage
{
    std::string_view Language;
    std::string_view Sublanguage;
    double Weight = 1.0;
    PZnLanguageIdent LanguageIdent = nullptr;

    void Place(std::string_view AToken)
    {
        if (!Sublanguage.empty())
            return;
        (Language.empty() ? Language : Sublanguage) = AToken;
    }
};

std::optional<double> ReadWeight(std::string_view AText)
{
    try {
        return ZnStrToFloat(AText);
    } catch (const EConvertError&) {
        return std::nullopt;
    }
}

class FieldReader
{
public:
    explicit FieldReader(std::string_view AField) : FRest(AField) {}

    std::vector<TZnHttpLanguage> Read()
    {
        std::vector<TZnHttpLanguage> Languages;
        while (!FRest.empty()) {
            TZnHttpLanguage Entry;
            if (!ReadEntry(Entry))
                continue;
            Entry.LanguageIdent = ZnGetLanguage(Entry.Language, Entry.Sublanguage, false);
            if (Entry.LanguageIdent != nullptr)
                Languages.push_back(Entry);
        }
        return Languages;
    }

private:
    /// Up to and with the entry's comma. False for an entry whose weight can't be read.
    bool ReadEntry(TZnHttpLanguage& AEntry)
    {
        for (;;) {
            const std::size_t Found = FRest.find_first_of(",-;");
            const char Separator = Found == std::string_view::npos ? ',' : FRest[Found];
            const std::string_view Token = ZnTrimView(Take(Found));
            if (Separator == '-') {
                AEntry.Language = Token;
                continue;
            }
            AEntry.Place(Token);
            return Separator == ',' || ReadParameter(AEntry);
        }
    }

    bool ReadParameter(TZnHttpLanguage& AEntry)
    {
        Take(FRest.find('='));
        const auto Weight = ReadWeight(Take(FRest.find(',')));
        AEntry.Weight = Weight.value_or(0);
        return Weight.has_value();
    }

    /// The text ahead of APosition (all of it for npos); steps over the character there.
    std::string_view Take(std::size_t APosition)
    {
        const std::string_view Token = FRest.substr(0, APosition);
        FRest.remove_prefix(APosition == std::string_view::npos ? FRest.size() : APosition + 1);
        return Token;
    }

    std::string_view FRest;
};

} // namespace

TZnHTTPAcceptedLanguages ZnParseAcceptLanguage(std::string_view AHeader)
{
    std::vector<TZnHttpLanguage> Languages = FieldReader(AHeader).Read();
    std::stable_sort(Languages.begin(), Languages.end(),
                     [](const auto& ALeft, const auto& ARight) { return ALeft.Weight > ARight.Weight; });
    TZnHTTPAcceptedLanguages Result;
    Result.reserve(Languages.size());
    for (const TZnHttpLanguage& Entry : Languages)
        Result.push_back(Entry.LanguageIdent);
    if (Result.empty())
        Result.push_back(LANGID_ENGLISH_US);
    return Result;
}
