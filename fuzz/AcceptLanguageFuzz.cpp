// Accept-Language: any bytes give at least one language, all of them of the library's table.

#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer/AcceptLanguage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Field(reinterpret_cast<const char*>(AData), ALength);
    const TZnHTTPAcceptedLanguages Languages = ZnParseAcceptLanguage(Field);
    Zn::FuzzCheck(!Languages.empty(), "a language is always found");
    for (const PZnLanguageIdent Each : Languages)
        Zn::FuzzCheck(ZnGetLanguage(Each->Language, Each->Sublanguage, true) == Each, "the table knows it");
    return 0;
}
