#include "common/Encoding.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"

namespace
{

constexpr char cFFFD[] = "\xEF\xBF\xBD";

TEST(Encoding, ConvertsBothWays)
{
    struct Row
    {
        const char* Name;
        std::uint32_t CodePage;
        std::string Text;
        std::string Bytes;
    };
    using namespace std::string_literals;
    const Row Rows[] = {
        {"system", 0, "\xC3\xA4", "\xC3\xA4"},
        {"UTF-8", 65001, "a\xF0\x9F\x98\x80", "a\xF0\x9F\x98\x80"},
        {"UTF-16", 1200, "a\xC3\xA4\xF0\x9F\x98\x80", "a\0\xE4\0\x3D\xD8\x00\xDE"s},
        {"UTF-16, big end first", 1201, "a\xC3\xA4", "\0a\0\xE4"s},
        {"UTF-32", 12000, "\xF0\x9F\x98\x80", "\x00\xF6\x01\x00"s},
        {"ASCII", 20127, "az~", "az~"},
        {"Latin-1", 28591, "\xC3\xBF\xC2\x80", "\xFF\x80"},
        {"Western", 1252, "\xE2\x82\xAC", "\x80"},
        {"Cyrillic", 1251, "\xD0\x96", "\xC6"},
        {"Latin-9", 28605, "\xE2\x82\xAC", "\xA4"},
        {"Japanese", 932, "\xE6\x97\xA5", "\x93\xFA"},
        {"Japanese with shifts", 50220, "\xE6\x97\xA5", "\x1B$BF|\x1B(B"},
        {"Chinese", 54936, "\xE6\x97\xA5", "\xC8\xD5"},
        {"empty", 1252, "", ""},
    };
    for (const Row& Case : Rows) {
        SCOPED_TRACE(Case.Name);
        EXPECT_EQ(TZnEncoding::ConvertW(Case.Text, Case.CodePage), Case.Bytes);
        EXPECT_EQ(TZnEncoding::ConvertA(Case.Bytes, Case.CodePage), Case.Text);
    }
}

TEST(Encoding, ReplacesWhatIsNoCharacter)
{
    struct Row
    {
        const char* Name;
        std::uint32_t CodePage;
        std::string Bytes;
        std::string Text;
    };
    using namespace std::string_literals;
    const std::string Bad = cFFFD;
    const Row Rows[] = {
        {"lone continuation", 65001, "a\x80z", "a" + Bad + "z"},
        {"cut off", 65001, "a\xE6\x97", "a" + Bad},
        {"overlong", 65001, "\xC0\xAF", Bad + Bad},
        {"overlong of three", 65001, "\xE0\x80\xAF", Bad + Bad + Bad},
        {"surrogate", 65001, "\xED\xA0\x80", Bad + Bad + Bad},
        {"above the last", 65001, "\xF4\x90\x80\x80", Bad + Bad + Bad + Bad},
        {"longest part counts once", 65001, "\xF0\x9F\x98z", Bad + "z"},
        {"a real U+FFFD stays", 65001, Bad + "\xFF", Bad + Bad},
        {"high without low", 1200,
         "\x3D\xD8"
         "a\0"s,
         Bad + "a"},
        {"low without high", 1200, "\x00\xDE"s, Bad},
        {"odd byte", 1200, "a\0b"s, "a" + Bad},
        {"above ASCII", 20127, "a\x80", "a" + Bad},
        {"undefined in 1252", 1252,
         "a\x81"
         "b",
         "a" + Bad + "b"},
        {"cut off in 932", 932, "a\x93", "a" + Bad},
        {"big end first, odd", 1201, "\0a\0"s, "a" + Bad},
    };
    for (const Row& Case : Rows) {
        SCOPED_TRACE(Case.Name);
        EXPECT_EQ(TZnEncoding::ConvertA(Case.Bytes, Case.CodePage), Case.Text);
    }
}

TEST(Encoding, WritesAQuestionMarkForWhatACodePageLacks)
{
    for (const std::uint32_t CodePage : {20127u, 28591u, 1252u, 932u, 50220u})
        EXPECT_EQ(TZnEncoding::ConvertW("a\xF0\x9F\x98\x80z", CodePage), "a?z") << CodePage;
    EXPECT_EQ(TZnEncoding::ConvertW("a\xFFz", 1252), "a?z");
}

TEST(Encoding, ConvertsMoreThanOneBuffer)
{
    std::string Text;
    for (int Index = 0; Index < 5000; ++Index)
        Text += "\xD0\x96z";
    EXPECT_EQ(TZnEncoding::ConvertA(TZnEncoding::ConvertW(Text, 1251), 1251), Text);
}

TEST(Encoding, RefusesUnknownCodePages)
{
    EXPECT_THROW(TZnEncoding::ConvertW("a", 4711), EConvertError);
    EXPECT_THROW(TZnEncoding::ConvertA("a", 1), EConvertError);
    EXPECT_THROW(TZnEncoding::ConvertA("a", 1), EConvertError) << "the second time as well";
}

TEST(Encoding, KnowsCharsetsByNameAndAlias)
{
    for (const char* Name : {"utf-8", "UTF-8", "utf8", "\"utf-8\"", " Utf-8 "})
        EXPECT_EQ(ZnCodePage(Name), 65001u) << Name;
    for (const char* Name : {"ISO-8859-1", "latin1", "iso_8859-1", "l1"})
        EXPECT_EQ(ZnCodePage(Name), 28591u) << Name;
    EXPECT_EQ(ZnCodePage("windows-1252"), 1252u);
    EXPECT_EQ(ZnCodePage("Shift_JIS"), 932u);
    EXPECT_EQ(ZnCodePage("us-ascii"), 20127u);
    for (const char* Name : {"", "utf-9", "'utf-8'", "utf-7", "\"utf-8"})
        EXPECT_THROW(ZnCodePage(Name), EConvertError) << Name;
}

TEST(Encoding, EveryNamedCharsetHasAConversion)
{
    for (const char* Name :
         {"big5",         "cp437",        "cp850",        "cp852",        "cp866",        "cp949",
          "dos-874",      "euc-jp",       "euc-kr",       "gb18030",      "gbk",          "ibm737",
          "ibm775",       "ibm855",       "ibm857",       "ibm860",       "ibm861",       "ibm862",
          "ibm863",       "ibm864",       "ibm865",       "ibm869",       "iso-2022-jp",  "iso-8859-2",
          "iso-8859-3",   "iso-8859-4",   "iso-8859-5",   "iso-8859-6",   "iso-8859-7",   "iso-8859-8",
          "iso-8859-9",   "iso-8859-13",  "iso-8859-15",  "koi8-r",       "koi8-u",       "macintosh",
          "utf-32",       "utf-32be",     "windows-1250", "windows-1253", "windows-1254", "windows-1255",
          "windows-1256", "windows-1257", "windows-1258"}) {
        const std::uint32_t CodePage = ZnCodePage(Name);
        EXPECT_EQ(TZnEncoding::ConvertA(TZnEncoding::ConvertW("az", CodePage), CodePage), "az") << Name;
    }
}

} // namespace
