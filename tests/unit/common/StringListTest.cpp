#include "common/StringList.h"

#include <gtest/gtest.h>

#include "common/Exceptions.h"

namespace
{

std::vector<std::string> Lines(const TStringList& AList)
{
    return {AList.begin(), AList.end()};
}

} // namespace

TEST(StringList, NamesAndValues)
{
    TStringList List{"Host=a=b", "empty=", "no separator", "=nameless", "HOST=second", "Hosts=other"};
    EXPECT_EQ(List.GetName(0), "Host");
    EXPECT_EQ(List.ValueFromIndex(0), "a=b");
    EXPECT_EQ(List.GetName(2), "");
    EXPECT_EQ(List.ValueFromIndex(2), "");
    EXPECT_EQ(List.GetValue("host"), "a=b");
    EXPECT_EQ(List.GetValue("hosts"), "other");
    EXPECT_EQ(List.GetValue("no separator"), "");
    EXPECT_EQ(List.GetValue(""), "nameless");
    EXPECT_EQ(List.IndexOfName("empty"), 1);
    EXPECT_EQ(List.IndexOfName("Hos"), -1);

    List.SetValue("EMPTY", "full");
    List.SetValue("new", "1");
    List.SetValue("hosts", "");
    List.SetValue("absent", "");
    EXPECT_EQ(Lines(List), (std::vector<std::string>{"Host=a=b", "EMPTY=full", "no separator", "=nameless",
                                                     "HOST=second", "new=1"}));
}

TEST(StringList, SortsWithoutRegardToCase)
{
    TStringList List{"b", "A", "a", "C", "B"};
    List.Sort();
    EXPECT_EQ(Lines(List), (std::vector<std::string>{"A", "a", "b", "B", "C"}));
    EXPECT_EQ(List.Add("aa"), 5) << "sorted once, not kept sorted";
    List.SetSorted(true);
    EXPECT_EQ(List.Add("B"), 5) << "behind its equals";
    EXPECT_EQ(List.IndexOf("c"), 6);
    EXPECT_EQ(List.IndexOf("bb"), -1);
    EXPECT_THROW(List.Insert(0, "x"), EStringListError);
    EXPECT_THROW(List.SetString(0, "x"), EStringListError);
    List.SetValue("Bb", "1");
    List.SetValue("bB", "2");
    EXPECT_EQ(List.IndexOf("bB=2"), 6);
}

TEST(StringList, TextSplitsAtEveryKindOfBreak)
{
    TStringList List;
    List.SetText("a\r\nb\nc\rd\r\n\r\ne\n");
    EXPECT_EQ(Lines(List), (std::vector<std::string>{"a", "b", "c", "d", "", "e"}));
    List.SetText("");
    EXPECT_EQ(List.Count(), 0);
    List.SetText("\n");
    EXPECT_EQ(Lines(List), (std::vector<std::string>{""}));
    EXPECT_EQ((TStringList{"x", ""}.GetText()), "x\r\n\r\n");
}

TEST(StringList, IndexOutsideRaises)
{
    TStringList List{"a"};
    for (int Index : {-1, 1, 1000000}) {
        EXPECT_THROW(List[Index], EStringListError);
        EXPECT_THROW(List.Delete(Index), EStringListError);
        EXPECT_THROW(List.SetString(Index, ""), EStringListError);
        EXPECT_THROW(List.GetName(Index), EStringListError);
    }
    EXPECT_THROW(List.Insert(2, ""), EStringListError);
    List.Insert(1, "b");
    List.AddStrings(List);
    EXPECT_EQ(Lines(List), (std::vector<std::string>{"a", "b", "a", "b"}));
    TStringList Copy;
    Copy.Assign(&List);
    EXPECT_EQ(Lines(Copy), Lines(List));
    TComponent NoList;
    EXPECT_THROW(Copy.Assign(&NoList), EConvertError);
}
