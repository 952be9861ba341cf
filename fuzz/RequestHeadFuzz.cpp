/// A head means the same however it is cut, and what was taken can be written down again and read as the
/// same.

#include <optional>
#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "platform/httpapi/RequestHead.h"
#include "platform/httpapi/Target.h"
#include "platform/httpapi/UrlPrefix.h"

namespace
{

using namespace Zn;

constexpr HeadLimits Narrow{24, 60, 3};

// All that a reader learns, but for the length of the head on the wire.
std::string Meaning(const RequestHead& AHead)
{
    std::string All;
    const auto Add = [&All](std::string_view AText) { All.append(AText).append(1, '\n'); };
    for (const std::string_view Text :
         {AHead.Method, AHead.Target, AHead.Scheme, AHead.Host, AHead.Path, AHead.Query})
        Add(Text);
    for (const std::uint64_t Number : {std::uint64_t{AHead.Verb}, std::uint64_t{AHead.Version.MinorVersion},
                                       static_cast<std::uint64_t>(AHead.Body), AHead.ContentLength,
                                       std::uint64_t{AHead.KeepAlive}, std::uint64_t{AHead.ExpectContinue}})
        Add(std::to_string(Number));
    for (const FieldView& Field : AHead.Fields) {
        Add(Field.Name);
        Add(Field.Value);
        Add(std::to_string(Field.Id));
    }
    return All;
}

std::string Verdict(const RequestHeadParser& AParser, HeadResult AResult)
{
    if (AResult == HeadResult::Incomplete)
        return "incomplete";
    if (AResult == HeadResult::Refused)
        return std::to_string(AParser.Status()) + AParser.Reason();
    return std::to_string(AParser.Head().Length) + '\n' + Meaning(AParser.Head());
}

void CheckCuts(std::string_view ABytes, HeadLimits ALimits)
{
    RequestHeadParser Parser(ALimits);
    const std::string Whole = Verdict(Parser, Parser.Parse(ABytes));
    for (const std::size_t Step : {std::size_t{1}, ABytes.size() / 7 + 1, ABytes.size() / 2 + 1}) {
        RequestHeadParser Cut(ALimits), Moved(ALimits);
        std::string Places[2];
        HeadResult Results[2]{};
        for (std::size_t Size = 0, Turn = 0; Size < ABytes.size(); ++Turn) {
            Size = std::min(Size + Step, ABytes.size());
            Results[0] = Cut.Parse(ABytes.substr(0, Size));
            if (Step == 1 && ABytes.size() > 64 && Size < ABytes.size())
                continue; // every move begins anew, which takes the square of the length
            std::string& Place = Places[Turn % 2];
            Place.reserve(ABytes.size());
            Place.assign(ABytes.substr(0, Size));
            Results[1] = Moved.Parse(Place);
        }
        if (!ABytes.empty()) {
            FuzzCheck(Verdict(Cut, Results[0]) == Whole, "the same however cut");
            FuzzCheck(Verdict(Moved, Results[1]) == Whole, "the same however cut and moved");
        }
    }
}

void CheckTarget(const RequestHead& AHead)
{
    const std::string Path = AHead.Path == "*" ? "*" : CanonicalPath(AHead.Path).value();
    FuzzCheck(IsCanonical(Path), "a canonical path has no dot segment");
    FuzzCheck(IsCanonical(AHead.Path) == (Path == AHead.Path), "canonical paths stay as they are");
    if (AHead.Host.empty())
        return;
    const HostPort Host = SplitHost(AHead.Host, 80).value();
    std::u16string Room(AHead.Target.size() + AHead.Host.size() + 20, u'\0');
    FuzzCheck(ComposeUrl("http", Host, Path, AHead.Query, Room).has_value(), "a URL fits");

    // The path of a request is a prefix that covers it, unless it escapes what no registration may have.
    const std::string Text = "http://*:80" + (Path == "*" ? "/" : Path);
    if (const std::optional<UrlPrefix> Prefix = ParseUrlPrefix(Text))
        FuzzCheck(Covers(*Prefix, {false, Host.Host, "\x7F\1\1\1", 80, Path}), "a path covers itself");
}

void CheckRewritten(const RequestHead& AHead)
{
    std::string Bytes = std::string(AHead.Method).append(" ").append(AHead.Target).append(" HTTP/1.");
    Bytes.append(std::to_string(AHead.Version.MinorVersion)).append("\r\n");
    for (const FieldView& Field : AHead.Fields) {
        FuzzCheck(Field.Value.find_first_of(std::string_view("\r\n\0", 3)) == Field.Value.npos,
                  "a value is one line");
        Bytes.append(Field.Name).append(": ").append(Field.Value).append("\r\n");
    }
    Bytes += "\r\n";
    RequestHeadParser Again({Bytes.size(), Bytes.size(), 65535});
    FuzzCheck(Again.Parse(Bytes) == HeadResult::Complete, "what was taken is taken again");
    FuzzCheck(Meaning(Again.Head()) == Meaning(AHead), "what was taken means the same again");
    FuzzCheck(Again.Head().Length == Bytes.size(), "to the last byte");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string Bytes(reinterpret_cast<const char*>(AData), ALength);
    CheckCuts(Bytes, {});
    CheckCuts(Bytes, Narrow);
    RequestHeadParser Parser;
    if (Parser.Parse(Bytes) == HeadResult::Complete) {
        CheckTarget(Parser.Head());
        CheckRewritten(Parser.Head());
    }
    return 0;
}
