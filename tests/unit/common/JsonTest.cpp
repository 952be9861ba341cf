#include "common/Json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

TEST(Json, FindsValuesByPath)
{
    const TZnJSONDoc Doc = ZnCreateJSONDoc(
        R"({"access_token":"abc","a":{"b":[10,20,{"c d":true}],"x.y":1},"n":null,"d":1,"d":2})");
    const auto Text = [&Doc](const char* APath) { return ZnVarToStr(ZnGetJSONDocValue(Doc, APath), "none"); };
    EXPECT_EQ(Text("$.access_token"), "abc");
    EXPECT_EQ(Text("$.a.b[1]"), "20");
    EXPECT_EQ(Text("$.a.b[2]['c d']"), "true");
    EXPECT_EQ(Text("$[\"a\"]['x.y']"), "1");
    EXPECT_EQ(Text("$.a.b"), R"([10,20,{"c d":true}])");
    EXPECT_EQ(Text("$.d"), "2") << "of like-named members the last counts";
    for (const char* Path : {"$.n", "$.absent", "$.absent.a", "$.a.b[3]", "$.a[0]", "$.access_token.x"})
        EXPECT_EQ(Text(Path), "none") << Path;
    for (const char* Path :
         {"", "a", "$a", "$.", "$..a", "$[", "$[]", "$[x]", "$[-1]", "$['a", "$['a'", "$[0"})
        EXPECT_THROW(Text(Path), EInvalidArgument) << Path;
}

TEST(Json, ConvertsVariants)
{
    const TZnJSONDoc Doc = ZnCreateJSONDoc(
        R"([1, -9223372036854775808, 18446744073709551615, 2.0, 2.5, "17", "x", 1e30, false, null])");
    const std::int64_t Integers[] = {1, INT64_MIN, 7, 2, 7, 17, 7, 7, 7, 7};
    const char* const Texts[] = {
        "1", "-9223372036854775808", "18446744073709551615", "2", "2.5", "17", "x", "1e+30", "false", ""};
    for (int Index = 0; Index < 10; ++Index) {
        const TZnVariant Value = ZnGetJSONDocValue(Doc, "$[" + std::to_string(Index) + "]");
        EXPECT_EQ(ZnVarToInt(Value, 7), Integers[Index]) << Index;
        EXPECT_EQ(ZnVarToStr(Value), Texts[Index]) << Index;
    }
}

TEST(Json, KeepsTheDigitsOfNumbersThatNoTypeHolds)
{
    const char* const Text = "[123456789012345678901234567890,0.1,1E5,-0.0]";
    EXPECT_EQ(ZnCreateJSONDoc(Text)->ToJSON(), Text);
}

TEST(Json, RefusesWhatIsNoJson)
{
    for (const char* Text : {"", "{", "[1,]", "{'a':1}", "{\"a\":1}x", "01", "\"\\x\"", "\"\xFF\"", "NaN",
                             "1e999", "\"\x01\"", "\"\\ud800\"", "// c\n1"})
        EXPECT_THROW(ZnCreateJSONDoc(Text), EZnJSONException) << Text;
    EXPECT_THROW(TJSONObject::Parse("[]"), EZnJSONException);
}

TEST(Json, BoundsTheDepth)
{
    const auto Nested = [](std::size_t ADepth) {
        return std::string(ADepth, '[') + std::string(ADepth, ']');
    };
    EXPECT_EQ(ZnCreateJSONDoc(Nested(128))->ToJSON(), Nested(128));
    EXPECT_THROW(ZnCreateJSONDoc(Nested(129)), EZnJSONException);
    EXPECT_THROW(ZnCreateJSONDoc(std::string(1'000'000, '[')), EZnJSONException);
}

TEST(Json, WritesAndEscapes)
{
    EXPECT_EQ(TJSONString("a\"\\/\b\f\n\r\t\x01\x7F\xC3\xA4\xFF").ToJSON(),
              "\"a\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\x7F\xC3\xA4\xEF\xBF\xBD\"");
    auto List = std::make_unique<TJSONArray>();
    List->Add("x").Add(std::int64_t{1}).Add(std::unique_ptr<TJSONValue>());
    TJSONObject Object;
    Object.AddPair("text", "t")
        .AddPair("on", true)
        .AddPair("n", 5)
        .AddPair("r", 0.5)
        .AddPair("bad", std::nan(""));
    Object.AddPair("list", std::move(List)).AddPair("o", std::make_unique<TJSONObject>());
    EXPECT_EQ(Object.ToJSON(),
              R"({"text":"t","on":true,"n":5,"r":0.5,"bad":null,"list":["x",1,null],"o":{}})");
    EXPECT_EQ(TJSONObject::Parse(Object.ToJSON())->ToJSON(), Object.ToJSON());
}

} // namespace
