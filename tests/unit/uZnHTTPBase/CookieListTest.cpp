#include "uZnHTTPBase/Cookies.h"

#include <gtest/gtest.h>

namespace
{

/// "a=1 b=2" in the order in which the list hands them over.
std::string Sent(TZnHTTPCookieList& AList, const char* AURL)
{
    std::string Text;
    AList.GetCookies(ZnDecodeURL(AURL), [&Text](const std::string& AName, const std::string& AValue) {
        Text += (Text.empty() ? "" : " ") + AName + "=" + AValue;
    });
    return Text;
}

TEST(CookieList, HandsOverTheNewestFirst)
{
    TZnHTTPCookieList List;
    EXPECT_EQ(Sent(List, "http://h/"), "");
    const TZnURLData URL = ZnDecodeURL("http://h/");
    List.Add(URL, "a=1");
    List.Add(URL, "b=2");
    List.Add(URL, "A=3");
    EXPECT_EQ(Sent(List, "http://H/"), "A=3 b=2") << "a namesake is replaced, the host has no case";
    List.Clear();
    EXPECT_EQ(Sent(List, "http://h/"), "");
}

TEST(CookieList, ReplacesAndRemovesNamesakesOfAnyHost)
{
    TZnHTTPCookieList List;
    List.Add(ZnDecodeURL("http://a/"), "n=1; Domain=b");
    EXPECT_EQ(Sent(List, "http://b/"), "") << "the host decides, however the domain reads";
    List.Add(ZnDecodeURL("http://b/"), "n=2");
    EXPECT_EQ(List.Count(), 1);
    EXPECT_EQ(Sent(List, "http://a/"), "");
    EXPECT_EQ(Sent(List, "http://b/"), "n=2");
    List.Add(ZnDecodeURL("http://c/"), "n=");
    EXPECT_EQ(List.Count(), 0);
}

TEST(CookieList, MatchesPathDomainAndScheme)
{
    TZnHTTPCookieList List;
    const TZnURLData URL = ZnDecodeURL("http://www.h.net/");
    List.Add(URL, "way=1; Path=/x");
    List.Add(URL, "part=1; Domain=h.net");
    List.Add(URL, "other=1; Domain=H.net");
    List.Add(URL, "dot=1; Domain=.h.net");
    List.Add(URL, "secure=1; Secure");
    List.Add(TZnURLData(), "any=1; Path=/nowhere; Secure");
    EXPECT_EQ(Sent(List, "http://www.h.net/"), "any=1 dot=1 part=1");
    EXPECT_EQ(Sent(List, "http://www.h.net/a/xy/x"), "any=1 dot=1 part=1 way=1") << "in any position";
    EXPECT_EQ(Sent(List, "http://www.h.net/X"), "any=1 dot=1 part=1");
    EXPECT_EQ(Sent(List, "https://www.h.net/"), "any=1 secure=1 dot=1 part=1");
    EXPECT_EQ(Sent(List, "http://h.net/"), "any=1");
    EXPECT_EQ(List.Count(), 6);
}

TEST(CookieList, DropsTheExpiredOnlyWhereItBelongs)
{
    TZnHTTPCookieList List;
    const TZnURLData URL = ZnDecodeURL("http://h/");
    List.Add(URL, "old=1; Path=/x; Expires=Thu, 01 Jan 2015 00:00:00 GMT");
    List.Add(URL, "new=1; Expires=Fri, 01 Jan 2999 00:00:00 GMT");
    List.Add(TZnURLData(), "any=1; Expires=Thu, 01 Jan 2015 00:00:00 GMT");
    EXPECT_EQ(Sent(List, "http://h/"), "any=1 new=1");
    EXPECT_EQ(List.Count(), 3);
    EXPECT_EQ(Sent(List, "http://h/x"), "any=1 new=1");
    EXPECT_EQ(List.Count(), 2);
}

} // namespace
