#include "uZnHTTPServer/Ranges.h"

#include <gtest/gtest.h>

namespace
{

struct Case
{
    const char* Name;
    const char* Header;
    std::uint64_t Total;
    std::uint64_t First;
    std::uint64_t Length;
    std::uint64_t ContentLength;
    const char* ContentRange;
};

constexpr std::uint64_t ToEnd = HTTP_BYTE_RANGE_TO_EOF;

class Ranges : public testing::TestWithParam<Case>
{
};

TEST_P(Ranges, SelectsFirstLengthAndContentRange)
{
    const Case& Row = GetParam();
    const Zn::ByteRange Range = Zn::SelectByteRange(Row.Header, Row.Total);
    EXPECT_TRUE(Range.Satisfiable);
    EXPECT_EQ(Range.First, Row.First);
    EXPECT_EQ(Range.Length, Row.Length);
    EXPECT_EQ(Range.ContentLength, Row.ContentLength);
    EXPECT_EQ(Range.ContentRange, Row.ContentRange);
}

const Case Rows[] = {
    {"WholeFile", "bytes=0-", 1000, 0, ToEnd, 1000, "bytes 0-999/1000"},
    {"Within", "bytes=10-19", 1000, 10, 10, 10, "bytes 10-19/1000"},
    {"SuffixHasNoMeaning", "bytes=-500", 1000, 0, 501, 501, "bytes 0-500/1000"},
    {"LastBelowFirstReadsToTheEnd", "bytes=5-3", 1000, 5, ToEnd, 995, "bytes 5-999/1000"},
    {"LastEqualToFirstReadsToTheEnd", "bytes=5-5", 1000, 5, ToEnd, 995, "bytes 5-999/1000"},
    {"SeveralReadFromTheFirst", "bytes=0-99,200-299", 1000, 0, ToEnd, 1000, "bytes 0-999/1000"},
    {"LastBeyondTheEndIsTheEnd", "bytes=990-5000", 1000, 990, 10, 10, "bytes 990-999/1000"},
    {"LastByteByClamping", "bytes=999-5000", 1000, 999, 1, 1, "bytes 999-999/1000"},
    {"HugeLast", "bytes=1-99999999999999999999999", 1000, 1, 999, 999, "bytes 1-999/1000"},
    {"Over4GiB", "bytes=5000000000-5000000009", 6000000000, 5000000000, 10, 10,
     "bytes 5000000000-5000000009/6000000000"},
    {"NoUnit", "10-19", 1000, 10, 10, 10, "bytes 10-19/1000"},
    {"BlanksAround", "bytes= 10-19 ", 1000, 10, 10, 10, "bytes 10-19/1000"},
    {"NoNumbers", "bytes=a-b", 1000, 0, ToEnd, 1000, "bytes 0-999/1000"},
    {"NoMinus", "bytes=7", 1000, 7, ToEnd, 993, "bytes 7-999/1000"},
    {"SignedLast", "bytes=3--9", 1000, 3, ToEnd, 997, "bytes 3-999/1000"},
};

INSTANTIATE_TEST_SUITE_P(Table, Ranges, testing::ValuesIn(Rows),
                         [](const auto& Info) { return Info.param.Name; });

TEST(Ranges, FirstAtOrBehindTheEndIsRefused)
{
    for (const char* Header :
         {"bytes=1000-", "bytes=1000-1001", "bytes=5000-", "bytes=99999999999999999999-"}) {
        const Zn::ByteRange Range = Zn::SelectByteRange(Header, 1000);
        EXPECT_FALSE(Range.Satisfiable) << Header;
        EXPECT_EQ(Range.ContentLength, 0U) << Header;
        EXPECT_EQ(Range.ContentRange, "bytes */1000") << Header;
    }
    EXPECT_FALSE(Zn::SelectByteRange("bytes=0-", 0).Satisfiable);
}

} // namespace
