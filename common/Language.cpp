#include "common/Language.h"

#include <algorithm>
#include <iterator>

#include "common/Text.h"

namespace
{

// Sorted by language; the first entry of a language is its usual region. The numbers are those of
// the platform's language table; they leave a computer in protocols and files, so they are fixed.
// clang-format off
constexpr TZnLanguageIdent cLanguages[] = {
    {"af", "ZA", 0x0436}, {"am", "ET", 0x045E}, {"ar", "SA", 0x0401}, {"ar", "IQ", 0x0801},
    {"ar", "EG", 0x0C01}, {"ar", "LY", 0x1001}, {"ar", "DZ", 0x1401}, {"ar", "MA", 0x1801},
    {"ar", "TN", 0x1C01}, {"ar", "OM", 0x2001}, {"ar", "YE", 0x2401}, {"ar", "SY", 0x2801},
    {"ar", "JO", 0x2C01}, {"ar", "LB", 0x3001}, {"ar", "KW", 0x3401}, {"ar", "AE", 0x3801},
    {"ar", "BH", 0x3C01}, {"ar", "QA", 0x4001}, {"as", "IN", 0x044D}, {"az", "AZ", 0x042C},
    {"be", "BY", 0x0423}, {"bg", "BG", 0x0402}, {"bn", "IN", 0x0445}, {"bn", "BD", 0x0845},
    {"bo", "CN", 0x0451}, {"br", "FR", 0x047E}, {"bs", "BA", 0x141A}, {"ca", "ES", 0x0403},
    {"cs", "CZ", 0x0405}, {"cy", "GB", 0x0452}, {"da", "DK", 0x0406}, {"de", "DE", 0x0407},
    {"de", "CH", 0x0807}, {"de", "AT", 0x0C07}, {"de", "LU", 0x1007}, {"de", "LI", 0x1407},
    {"dv", "MV", 0x0465}, {"el", "GR", 0x0408}, {"en", "US", 0x0409}, {"en", "GB", 0x0809},
    {"en", "AU", 0x0C09}, {"en", "CA", 0x1009}, {"en", "NZ", 0x1409}, {"en", "IE", 0x1809},
    {"en", "ZA", 0x1C09}, {"en", "JM", 0x2009}, {"en", "BZ", 0x2809}, {"en", "TT", 0x2C09},
    {"en", "ZW", 0x3009}, {"en", "PH", 0x3409}, {"en", "HK", 0x3C09}, {"en", "IN", 0x4009},
    {"en", "MY", 0x4409}, {"en", "SG", 0x4809}, {"es", "ES", 0x0C0A}, {"es", "MX", 0x080A},
    {"es", "GT", 0x100A}, {"es", "CR", 0x140A}, {"es", "PA", 0x180A}, {"es", "DO", 0x1C0A},
    {"es", "VE", 0x200A}, {"es", "CO", 0x240A}, {"es", "PE", 0x280A}, {"es", "AR", 0x2C0A},
    {"es", "EC", 0x300A}, {"es", "CL", 0x340A}, {"es", "UY", 0x380A}, {"es", "PY", 0x3C0A},
    {"es", "BO", 0x400A}, {"es", "SV", 0x440A}, {"es", "HN", 0x480A}, {"es", "NI", 0x4C0A},
    {"es", "PR", 0x500A}, {"es", "US", 0x540A}, {"et", "EE", 0x0425}, {"eu", "ES", 0x042D},
    {"fa", "IR", 0x0429}, {"fi", "FI", 0x040B}, {"fil", "PH", 0x0464}, {"fo", "FO", 0x0438},
    {"fr", "FR", 0x040C}, {"fr", "BE", 0x080C}, {"fr", "CA", 0x0C0C}, {"fr", "CH", 0x100C},
    {"fr", "LU", 0x140C}, {"fr", "MC", 0x180C}, {"fy", "NL", 0x0462}, {"ga", "IE", 0x083C},
    {"gd", "GB", 0x0491}, {"gl", "ES", 0x0456}, {"gu", "IN", 0x0447}, {"ha", "NG", 0x0468},
    {"he", "IL", 0x040D}, {"hi", "IN", 0x0439}, {"hr", "HR", 0x041A}, {"hr", "BA", 0x101A},
    {"hu", "HU", 0x040E}, {"hy", "AM", 0x042B}, {"id", "ID", 0x0421}, {"ig", "NG", 0x0470},
    {"is", "IS", 0x040F}, {"it", "IT", 0x0410}, {"it", "CH", 0x0810}, {"ja", "JP", 0x0411},
    {"ka", "GE", 0x0437}, {"kk", "KZ", 0x043F}, {"kl", "GL", 0x046F}, {"km", "KH", 0x0453},
    {"kn", "IN", 0x044B}, {"ko", "KR", 0x0412}, {"kok", "IN", 0x0457}, {"ky", "KG", 0x0440},
    {"lb", "LU", 0x046E}, {"lo", "LA", 0x0454}, {"lt", "LT", 0x0427}, {"lv", "LV", 0x0426},
    {"mi", "NZ", 0x0481}, {"mk", "MK", 0x042F}, {"ml", "IN", 0x044C}, {"mn", "MN", 0x0450},
    {"mr", "IN", 0x044E}, {"ms", "MY", 0x043E}, {"ms", "BN", 0x083E}, {"mt", "MT", 0x043A},
    {"my", "MM", 0x0455}, {"nb", "NO", 0x0414}, {"ne", "NP", 0x0461}, {"nl", "NL", 0x0413},
    {"nl", "BE", 0x0813}, {"nn", "NO", 0x0814}, {"no", "NO", 0x0414}, {"oc", "FR", 0x0482},
    {"or", "IN", 0x0448}, {"pa", "IN", 0x0446}, {"pa", "PK", 0x0846}, {"pl", "PL", 0x0415},
    {"ps", "AF", 0x0463}, {"pt", "BR", 0x0416}, {"pt", "PT", 0x0816}, {"rm", "CH", 0x0417},
    {"ro", "RO", 0x0418}, {"ro", "MD", 0x0818}, {"ru", "RU", 0x0419}, {"ru", "MD", 0x0819},
    {"rw", "RW", 0x0487}, {"sa", "IN", 0x044F}, {"sd", "PK", 0x0859}, {"se", "NO", 0x043B},
    {"se", "SE", 0x083B}, {"se", "FI", 0x0C3B}, {"si", "LK", 0x045B}, {"sk", "SK", 0x041B},
    {"sl", "SI", 0x0424}, {"sq", "AL", 0x041C}, {"sr", "RS", 0x281A}, {"sr", "BA", 0x1C1A},
    {"sr", "ME", 0x301A}, {"sv", "SE", 0x041D}, {"sv", "FI", 0x081D}, {"sw", "KE", 0x0441},
    {"ta", "IN", 0x0449}, {"ta", "LK", 0x0849}, {"te", "IN", 0x044A}, {"tg", "TJ", 0x0428},
    {"th", "TH", 0x041E}, {"tk", "TM", 0x0442}, {"tn", "ZA", 0x0432}, {"tn", "BW", 0x0832},
    {"tr", "TR", 0x041F}, {"tt", "RU", 0x0444}, {"ug", "CN", 0x0480}, {"uk", "UA", 0x0422},
    {"ur", "PK", 0x0420}, {"ur", "IN", 0x0820}, {"uz", "UZ", 0x0443}, {"vi", "VN", 0x042A},
    {"wo", "SN", 0x0488}, {"xh", "ZA", 0x0434}, {"yo", "NG", 0x046A}, {"zh", "CN", 0x0804},
    {"zh", "TW", 0x0404}, {"zh", "HK", 0x0C04}, {"zh", "SG", 0x1004}, {"zh", "MO", 0x1404},
    {"zh", "HANS", 0x0804}, {"zh", "HANT", 0x0404}, {"zu", "ZA", 0x0435},
};
// clang-format on

constexpr const TZnLanguageIdent* FindEntry(std::string_view ALanguage, std::string_view ASublanguage)
{
    for (const TZnLanguageIdent& Entry : cLanguages) {
        if (Entry.Language == ALanguage && Entry.Sublanguage == ASublanguage)
            return &Entry;
    }
    return nullptr;
}

struct TLanguageLess
{
    bool operator()(const TZnLanguageIdent& AEntry, std::string_view ALanguage) const
    {
        return CompareText(AEntry.Language, ALanguage) < 0;
    }
    bool operator()(std::string_view ALanguage, const TZnLanguageIdent& AEntry) const
    {
        return CompareText(ALanguage, AEntry.Language) < 0;
    }
};

} // namespace

constinit const PZnLanguageIdent LANGID_ENGLISH_US = FindEntry("en", "US");

PZnLanguageIdent ZnGetLanguage(std::string_view ALanguage, std::string_view ASublanguage, bool AExact)
{
    const auto [First, Last] =
        std::equal_range(std::begin(cLanguages), std::end(cLanguages), ALanguage, TLanguageLess());
    if (First == Last)
        return nullptr;
    if (ASublanguage.empty())
        return First;
    const auto Found = std::find_if(First, Last, [ASublanguage](const TZnLanguageIdent& AEntry) {
        return SameText(AEntry.Sublanguage, ASublanguage);
    });
    if (Found != Last)
        return Found;
    return AExact ? nullptr : First;
}
