#include "common/TextParser.h"

#include <gtest/gtest.h>

#include "common/Encoding.h"
#include "common/Streams.h"

namespace
{

std::string Take(const TZnTextParser& AParser, TZnTextPosition AFrom, TZnTextPosition ATo)
{
    return std::string(AParser.Selected(AFrom, ATo));
}

TEST(TextParser, SkipsSelectsAndPeeks)
{
    TZnTextParser Parser("  name = value;");
    Parser.SkipWhile(poEqual, U' ');
    Parser.SetMark(tpMark1);
    Parser.SkipUntilAny(TZnTextSet("=;"));
    EXPECT_EQ(Take(Parser, tpMark1, tpCurrent), "name ");
    EXPECT_EQ(Take(Parser, tpMark1, tpBefore), "name");
    EXPECT_EQ(Parser.PeekString(3), "= v");
    Parser.SetMark(tpMark2);
    Parser.SkipWhile(poNotEqual, U';');
    EXPECT_EQ(Take(Parser, tpMark2, tpCurrent), "= value");
    EXPECT_EQ(Take(Parser, tpMark1, tpMark2), "name ");
    EXPECT_EQ(Take(Parser, tpMark2, tpMark1), "") << "from behind to";
    EXPECT_EQ(Parser.PeekString(9), ";");
    Parser.First();
    Parser.SkipWhile(poIn, TZnTextSet::Range('a', 'z') | TZnTextSet(" "));
    EXPECT_EQ(Parser.Current(), U'=');
    Parser.SkipWhile(poNotIn, TZnTextSet("u"));
    EXPECT_TRUE(Parser.At('u'));
}

TEST(TextParser, RaisesAtTheEndOnlyWhereACharacterIsNeeded)
{
    TZnTextParser Parser("ab");
    Parser.SkipUntil('x');
    EXPECT_TRUE(Parser.Eof());
    EXPECT_FALSE(Parser.At('b'));
    EXPECT_THROW(Parser.Current(), EZnTextParserEOF);
    EXPECT_THROW(Parser.NextChar(), EZnTextParserEOF);
    Parser.SkipWhile(poNotEqual, U'x');
    EXPECT_EQ(Parser.PeekString(1), "");
}

TEST(TextParser, AssertsMarks)
{
    TZnTextParser Parser("ab");
    EXPECT_THROW(Parser.Selected(tpMark1, tpCurrent), EAssertionFailed);
    Parser.SetMark(tpMark1);
    Parser.ClearMark(tpMark1);
    EXPECT_THROW(Parser.Selected(tpMark1, tpCurrent), EAssertionFailed);
    EXPECT_THROW(Parser.SetMark(tpCurrent), EAssertionFailed);
}

TEST(TextParser, StepsByCharactersOfUtf8AndKeepsBytesThatAreNone)
{
    const std::string Text = "\xC3\xA4\xF0\x9F\x98\x80\xFFz";
    TZnTextParser Parser(Text);
    const char32_t Expected[] = {U'\u00E4', U'\U0001F600', U'\uFFFD', U'z'};
    Parser.SetMark(tpMark1);
    for (const char32_t Char : Expected) {
        EXPECT_EQ(Parser.Current(), Char);
        Parser.NextChar();
    }
    EXPECT_EQ(Parser.Selected(tpMark1, tpCurrent), Text);
    Parser.First();
    EXPECT_EQ(Parser.PeekString(2), Text.substr(0, 6));
}

TEST(TextParser, ReadsOtherCodePagesAndStreams)
{
    const std::string Unaligned = std::string("?") + TZnEncoding::ConvertW("/\xC3\xA4?", cZnCodePageUTF16);
    TZnTextParser Wide(Unaligned.data() + 1, Unaligned.size() - 1, cZnCodePageUTF16);
    EXPECT_EQ(Wide.Text(), "/\xC3\xA4?");

    TMemoryStream Stream;
    Stream.WriteBuffer("a\xE4", 2); // its position is at the end now
    EXPECT_EQ(TZnTextParser(Stream, cZnCodePageLatin1).Text(), "a\xC3\xA4");
    EXPECT_EQ(TZnTextParser(std::make_unique<TStringStream>("a\xE4"), cZnCodePageUTF8).Text(), "a\xE4");
    EXPECT_THROW(TZnTextParser(Stream, 4711), EConvertError);
}

} // namespace
