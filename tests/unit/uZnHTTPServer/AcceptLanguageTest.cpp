#include "uZnHTTPServer/AcceptLanguage.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

std::string Languages(const char* AHeader)
{
    std::string Result;
    for (const PZnLanguageIdent Each : ZnParseAcceptLanguage(AHeader))
        Result.append(Result.empty() ? "" : " ").append(Each->Language).append("-").append(Each->Sublanguage);
    return Result;
}

TEST(AcceptLanguage, OrdersByWeightAndDropsWhatIsUnknown)
{
    const struct
    {
        const char* Name;
        const char* Header;
        const char* Expected;
    } Rows[] = {
        {"weights", "de-DE,en;q=0.5", "de-DE en-US"},
        {"highest first", "en;q=0.5,de-AT;q=0.7,fr-FR", "fr-FR de-AT en-US"},
        {"equal weights keep their order", "fr-FR,de-DE,it-IT", "fr-FR de-DE it-IT"},
        {"blanks", " de-DE , fr-FR ; q=0.9 ", "de-DE fr-FR"},
        {"unknown ones are dropped", "tlh,de-DE;q=0.1,x-y;q=0.9", "de-DE"},
        {"a weight that is none drops its entry", "fr-FR;q=high,de-DE;q=0.1", "de-DE"},
        {"a parameter without a value drops its entry", "de-DE,fr-FR;q", "de-DE"},
        {"nothing known", "*", "en-US"},
        {"nothing at all", "", "en-US"},
        {"separators only", ",-;=,;;,--", "en-US"},
        {"no comma behind the last one", "de-DE;q=0.3,fr-FR;q=0.2", "de-DE fr-FR"},
    };
    for (const auto& Row : Rows)
        EXPECT_EQ(Languages(Row.Header), Row.Expected) << Row.Name;
}

} // namespace
