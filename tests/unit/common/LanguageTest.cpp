#include "common/Language.h"

#include <gtest/gtest.h>

namespace
{

int IdOf(const char* ALanguage, const char* ARegion, bool AExact = false)
{
    const PZnLanguageIdent Ident = ZnGetLanguage(ALanguage, ARegion, AExact);
    return Ident ? Ident->LangId : 0;
}

TEST(Language, FindsLanguagesAndRegions)
{
    EXPECT_EQ(IdOf("en", "US"), 0x0409);
    EXPECT_EQ(IdOf("DE", "at"), 0x0C07);
    EXPECT_EQ(IdOf("de", ""), 0x0407) << "the usual region";
    EXPECT_EQ(IdOf("af", ""), 0x0436) << "first of the table";
    EXPECT_EQ(IdOf("zu", "ZA"), 0x0435) << "last of the table";
    EXPECT_EQ(IdOf("zh", "Hant"), 0x0404);
    EXPECT_EQ(IdOf("en", "DE"), 0x0409) << "an unknown region gives the usual one";
    EXPECT_EQ(IdOf("en", "DE", true), 0);
    for (const char* Unknown : {"", "*", "e", "eng", "xx"})
        EXPECT_EQ(IdOf(Unknown, ""), 0) << Unknown;
    EXPECT_EQ(LANGID_ENGLISH_US, ZnGetLanguage("en", "us", true));
}

} // namespace
