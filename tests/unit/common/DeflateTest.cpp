#include "common/Deflate.h"

#include <gtest/gtest.h>

#include <random>

#include "common/NetEncoding.h"
#include "common/Streams.h"

namespace
{

std::string Compressed(std::string_view ABytes, TZnCompressionLevel ALevel = clDefault)
{
    TStringStream Source(ABytes);
    TMemoryStream Target;
    ZlCompressStream(Source, Target, ALevel);
    return std::string(Target.View());
}

std::string Decompressed(std::string_view ABytes, std::int64_t AMaxSize = cZnMaxInflatedSize)
{
    TStringStream Source(ABytes);
    TMemoryStream Target;
    ZlDecompressStream(Source, Target, true, AMaxSize);
    return std::string(Target.View());
}

std::string SomeText(std::size_t ALength)
{
    std::mt19937 Random(1);
    std::string Text(ALength, ' ');
    for (char& Char : Text)
        Char = static_cast<char>('a' + Random() % 8);
    return Text;
}

TEST(Deflate, ComesBackAtEveryLevelAndSize)
{
    for (const std::size_t Length : {0u, 1u, 255u, 256u, 32768u, 200000u}) {
        const std::string Text = SomeText(Length);
        for (const TZnCompressionLevel Level : {clNone, clFastest, clDefault, clMax})
            EXPECT_EQ(Decompressed(Compressed(Text, Level)), Text) << Length << " at " << int{Level};
    }
    EXPECT_LT(Compressed(SomeText(200000)).size(), 100000u);
    EXPECT_GT(Compressed(SomeText(200000), clNone).size(), 200000u);
}

TEST(Deflate, TakesTheWholeSourceOrTheRest)
{
    TStringStream Source("headbody");
    for (const bool Whole : {true, false}) {
        Source.SetPosition(4);
        TMemoryStream Target;
        ZlCompressStream(Source, Target, clDefault, Whole);
        EXPECT_EQ(Decompressed(Target.View()), Whole ? "headbody" : "body");

        TMemoryStream Behind;
        Behind.WriteBuffer("head", 4);
        Behind.CopyFrom(Target);
        Behind.SetPosition(4);
        TMemoryStream Back;
        if (Whole)
            EXPECT_THROW(ZlDecompressStream(Behind, Back, true), EZnZlibException);
        else
            ZlDecompressStream(Behind, Back, false);
        EXPECT_EQ(Back.View(), Whole ? "" : "body");
    }
}

TEST(Deflate, ReadsBareDataAndPassesOverWhatFollows)
{
    const std::string Text = SomeText(1000);
    const std::string Zlib = Compressed(Text);
    EXPECT_EQ(Decompressed(std::string_view(Zlib).substr(2, Zlib.size() - 6)), Text);
    EXPECT_EQ(Decompressed(Zlib + "more"), Text);
}

TEST(Deflate, RefusesDamagedAndCutOffData)
{
    const std::string Zlib = Compressed(SomeText(1000));
    for (std::size_t Length = 0; Length < Zlib.size(); ++Length)
        EXPECT_THROW(Decompressed(std::string_view(Zlib).substr(0, Length)), EZnZlibException) << Length;
    std::string Damaged = Zlib;
    Damaged.back() ^= 1; // the checksum
    EXPECT_THROW(Decompressed(Damaged), EZnZlibException);
    EXPECT_THROW(Decompressed("no compressed data"), EZnZlibException);
}

TEST(Deflate, StopsAtTheBound)
{
    const std::string Zlib = Compressed(std::string(1 << 20, 'a'));
    EXPECT_EQ(Decompressed(Zlib, 1 << 20).size(), std::size_t{1} << 20);
    EXPECT_THROW(Decompressed(Zlib, (1 << 20) - 1), EZnZlibException);
}

} // namespace
