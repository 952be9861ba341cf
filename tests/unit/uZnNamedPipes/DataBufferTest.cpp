#include "uZnNamedPipes/DataBuffer.h"

#include <gtest/gtest.h>

TEST(DataBuffer, BlocksAreTypedCopiesThatTheCallerOwns)
{
    PZnDataBuffer Zeros = ZnGetDataBuffer(3, btBinary);
    EXPECT_EQ(Zn::DataBufferToAnsi(*Zeros), std::string(3, '\0'));
    ZnReallocDataBuffer(Zeros, 1);
    EXPECT_EQ(Zeros->Size, 1u);
    ZnFreeDataBuffer(Zeros);
    EXPECT_EQ(Zeros, nullptr);

    PZnDataBuffer Ansi = ZnGetDataBuffer(AnsiString("a\xE4"));
    PZnDataBuffer Clone = ZnCloneDataBuffer(Ansi);
    ZnFreeDataBuffer(Ansi);
    EXPECT_EQ(Clone->DataType, btAString);
    EXPECT_EQ(Clone->View()->Size, 2u);
    EXPECT_EQ(Zn::DataBufferToAnsi(*Clone), "a\xE4");
    EXPECT_EQ(Zn::DataBufferToString(*Clone), "a\xEF\xBF\xBD");
    ZnFreeDataBuffer(Clone);

    PZnDataBuffer Empty = ZnGetDataBuffer(std::string());
    EXPECT_EQ(Empty->DataType, btUTF8);
    EXPECT_EQ(Empty->Size, 0u);
    ZnFreeDataBuffer(Empty);
}
