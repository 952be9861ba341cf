#include "uZnHTTPClient.h"

#include <gtest/gtest.h>

namespace
{

TZnHTTPHeaderList Rendered(const TZnHTTPRequestHeaders& AHeaders)
{
    TZnHTTPHeaderList Result;
    Result.Assign(&AHeaders);
    return Result;
}

} // namespace

TEST(HeaderList, FindsNamesInAnyCaseAndSkipsLinesWithoutColon)
{
    TZnHTTPHeaderList List;
    List.SetText(" HTTP/1.1 200 OK\r\nHost : a:b\r\nhost: second\r\n\r\n");
    ASSERT_EQ(List.Count(), 3);
    EXPECT_EQ(List.IndexOfName("HOST"), 1);
    EXPECT_EQ(List.ValueOfName("host"), " a:b") << "untrimmed";
    EXPECT_EQ(List.GetValue(1), "a:b");
    EXPECT_EQ(List.GetName(1), "Host");
    EXPECT_EQ(List.GetName(0), "HTTP/1.1 200 OK");
    EXPECT_EQ(List.GetValue(0), "");
    EXPECT_EQ(List.IndexOfName("HTTP/1.1 200 OK"), -1);
    EXPECT_EQ(List.ValueOfName("none"), "");
    List.SetValue(1, "c");
    EXPECT_EQ(List.GetLine(1), "Host: c");
    EXPECT_THROW(List.GetLine(3), EStringListError);
}

TEST(RequestHeaders, OnlyAssignedFieldsAreSent)
{
    TZnHTTPRequestHeaders Headers;
    EXPECT_EQ(Rendered(Headers).Count(), 0);
    Headers.SetAccept("");
    EXPECT_TRUE(Headers.GetAssignedValues().Contains(rhfAccept));
    Headers.SetMaxForwards(-1);
    EXPECT_EQ(Rendered(Headers).Count(), 0);
    Headers.SetMaxForwards(0);
    EXPECT_EQ(Rendered(Headers).GetText(), "Max-Forwards: 0\r\n");
    Headers.SetUserAgent("x");
    Headers.SetConnection(ctClose);
    Headers.SetAssignedValues({rhfAccept});
    EXPECT_EQ(Headers.GetUserAgent(), "");
    EXPECT_EQ(Headers.GetMaxForwards(), -1);
    EXPECT_EQ(Headers.GetConnection(), ctKeepAlive);
}

TEST(RequestHeaders, RendersInOneOrderInBothForms)
{
    TZnHTTPRequestHeaders Headers;
    Headers.GetCustomHeaders() = {"X-Own=a=b", "pragma=custom"};
    Headers.GetCacheControl().SetNoCache(false);
    Headers.SetConnection(ctKeepAlive);
    Headers.SetOrigin("o");
    Headers.SetAcceptDatetime("d");
    Headers.SetFrom("f");
    Headers.SetCookie("c");
    Headers.SetExpect("e");
    Headers.SetAcceptCharset("ac");
    Headers.SetAcceptLanguage("al");
    Headers.SetAccept("a");
    Headers.SetUserAgent("u");
    Headers.SetReferer("r");
    Headers.SetPragma("p");
    Headers.SetAcceptEncoding("ae");
    Headers.SetMaxForwards(3);
    EXPECT_EQ(
        Rendered(Headers).GetText(),
        "Max-Forwards: 3\r\nAccept-Encoding: ae\r\nPragma: p\r\nReferer: r\r\nUser-Agent: u\r\nAccept: a\r\n"
        "Accept-Language: al\r\nAccept-Charset: ac\r\nExpect: e\r\nCookie: c\r\nFrom: f\r\n"
        "Accept-Datetime: d\r\nOrigin: o\r\nConnection: keep-alive\r\nCache-Control: \r\nX-Own: a=b\r\n"
        "pragma: custom\r\n");
    TStringList Pairs;
    Headers.GetHTTPHeaders(Pairs);
    EXPECT_EQ(Pairs[0], "X-Own=a=b");
    EXPECT_EQ(Pairs[1], "Pragma=p") << "overwritten in its place";
    EXPECT_EQ(Pairs[2], "Max-Forwards=3");

    TZnHTTPRequestHeaders Copy;
    Copy.Assign(&Headers);
    EXPECT_EQ(Rendered(Copy).GetText(), Rendered(Headers).GetText());
    TZnHTTPTimeOuts Other;
    EXPECT_THROW(Other.Assign(&Headers), EConvertError);
}

TEST(CacheControl, RendersWhatWasAssigned)
{
    TZnHTTPCacheControl Control;
    EXPECT_EQ(Control.AsString(), "");
    Control.SetMaxAge(0);
    EXPECT_EQ(Control.AsString(), "max-age=0");
    Control.SetCacheControlType(ccPrivate);
    Control.SetNoCache(true);
    Control.SetNoStore(true);
    Control.SetMaxStale(-1);
    Control.SetMinFresh(2);
    Control.SetNoTransform(true);
    Control.SetOnlyIfCached(true);
    Control.SetExtensions("a=b, c");
    EXPECT_EQ(Control.AsString(),
              "private, no-cache, no-store, max-age=0, max-stale=-1, min-fresh=2, no-transform, "
              "only-if-cached, a=b, c");
    Control.SetAssignedValues({ccfType});
    EXPECT_EQ(Control.AsString(), "private");
    EXPECT_EQ(Control.GetMaxStale(), 0);
    Control.SetAssignedValues({});
    EXPECT_EQ(Control.GetCacheControlType(), ccPublic);
}

TEST(ByteRange, EachPairOfFlagsHasItsText)
{
    TZnHTTPByteRange Range;
    EXPECT_EQ(Range.AsString(), "bytes=0-");
    Range.SetFirstBytePos(3000000000);
    EXPECT_EQ(Range.AsString(), "bytes=3000000000-");
    Range.SetLastBytePos(4000000000);
    EXPECT_EQ(Range.AsString(), "bytes=3000000000-4000000000");
    Range.SetFirstByteSet(false);
    EXPECT_EQ(Range.AsString(), "bytes=-4000000000");
}
