#include "common/Exceptions.h"

#include <stdexcept>

#include <gtest/gtest.h>

TEST(Exceptions, ClassNameSurvivesCatchingByTheBase)
{
    auto NameOf = [](auto&& ARaise) {
        try {
            ARaise();
        } catch (const std::exception& Error) {
            return ExceptionClassName(Error);
        }
        return std::string();
    };
    EXPECT_EQ(NameOf([] { throw EFileNotFoundException("x"); }), "EFileNotFoundException");
    EXPECT_EQ(NameOf([] { throw EZnException("x", 5); }), "EZnException");
    EXPECT_EQ(NameOf([] { ZnAssert(false); }), "EAssertionFailed");
    EXPECT_EQ(NameOf([] { throw std::out_of_range("x"); }), "std::out_of_range");
    EXPECT_EQ(NameOf([] { ZnAssert(true, "not raised"); }), "");
}

TEST(Exceptions, FormatTakesTextsOfAnyLength)
{
    std::string Long(1000, 'x');
    EXPECT_EQ(ZnFormat("%s-%d", Long.c_str(), 7), Long + "-7");
    EXPECT_EQ(ZnFormat("%s", std::string(255, 'y').c_str()), std::string(255, 'y'));
    EXPECT_EQ(ZnFormat("%s", std::string(256, 'y').c_str()), std::string(256, 'y'));
    auto Error = EZnException::CreateFmt(404, "No %s", "page");
    EXPECT_EQ(Error.Message(), "No page");
    EXPECT_EQ(Error.GetErrorCode(), 404);
}
