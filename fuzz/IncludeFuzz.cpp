/// A page, a text, a start and an end marker, with NULs between them. The pieces of the page stand in its
/// order and lose nothing but directives; a directive written down again reads as the same; parts are where a
/// plain search finds them.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer/IncludeParser.h"

namespace
{

using Zn::FuzzCheck;

/// Where the first directive's start lies, found step by step from the front.
std::size_t PlainStart(std::string_view AText)
{
    constexpr std::string_view cStart = "<!--#";
    std::size_t At = 0;
    while ((At = AText.find('<', At)) != AText.npos) {
        std::size_t Same = 0;
        while (Same < cStart.size() && At + Same < AText.size() && AText[At + Same] == cStart[Same])
            ++Same;
        if (Same == cStart.size())
            return At;
        At = std::min(At + Same + 1, AText.size()); // what ended the match is passed over
    }
    return AText.npos;
}

bool HasDirective(std::string_view AText)
{
    TZnTextParser Parser(AText);
    return Zn::DirectiveScanner(Parser).Next();
}

void CheckRewritten(const Zn::DirectiveScanner& ADirective)
{
    std::string Text = "<!--#" + ADirective.Command() + " ";
    const TStringList& Params = ADirective.Params();
    for (int At = 0; At < Params.Count(); ++At)
        Text += Params.GetName(At) + "=\"" + Params.ValueFromIndex(At) + "\" ";
    Text += "-->";
    TZnTextParser Parser(Text);
    Zn::DirectiveScanner Again(Parser);
    FuzzCheck(Again.Next() && Again.Text().empty() && Parser.Eof(), "what was read is one directive");
    FuzzCheck(Again.Command() == ADirective.Command() &&
                  std::equal(Params.begin(), Params.end(), Again.Params().begin(), Again.Params().end()),
              "it reads as the same");
}

void CheckPage(std::string_view APage)
{
    TZnTextParser Parser(APage);
    Zn::DirectiveScanner Scanner(Parser);
    std::size_t At = 0; // behind the last directive
    while (Scanner.Next()) {
        FuzzCheck(Scanner.Text() == APage.substr(At, Scanner.Text().size()), "text is where it was");
        FuzzCheck(!HasDirective(Scanner.Text()), "text holds no directive");
        FuzzCheck(PlainStart(APage.substr(At)) == Scanner.Text().size(),
                  "a directive begins where it should");
        At += Scanner.Text().size();
        const std::string_view Directive = APage.substr(At, Parser.Position() - At);
        FuzzCheck(Directive.starts_with("<!--#") && Directive.ends_with("-->"), "a directive has both ends");
        CheckRewritten(Scanner);
        At = Parser.Position();
    }
    FuzzCheck(Scanner.Text() == APage.substr(At), "the rest is all there");
    FuzzCheck(!HasDirective(Scanner.Text()), "the rest holds no directive");
}

std::string Comment(const std::string& AMarker)
{
    return AMarker.starts_with("<!-- ") ? AMarker : "<!-- " + AMarker + " -->";
}

/// By plain searches, which find the same unless a marker holds the beginning of another one.
std::string_view PlainPart(std::string_view AText, const std::string& AStart, const std::string& AEnd)
{
    std::size_t From = 0, Behind = 0;
    if (!AStart.empty()) {
        From = AText.find(Comment(AStart));
        if (From == AText.npos)
            return {};
        Behind = From + Comment(AStart).size();
    }
    const std::size_t End = AEnd.empty() ? AText.npos : AText.find(Comment(AEnd), Behind);
    return AText.substr(From, End == AText.npos ? AText.npos : End + Comment(AEnd).size() - From);
}

void CheckPart(std::string_view AText, const std::string& AStart, const std::string& AEnd)
{
    const std::string_view Part = Zn::SelectPart(AText, AStart, AEnd);
    if (Comment(AStart).rfind('<') == 0 && Comment(AEnd).rfind('<') == 0)
        FuzzCheck(Part == PlainPart(AText, AStart, AEnd), "parts are where a plain search finds them");
    else
        FuzzCheck(AText.find(Part) != AText.npos, "parts are pieces of the text");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    std::string_view Rest(reinterpret_cast<const char*>(AData), ALength);
    std::array<std::string, 4> Pieces; // page, text, start, end
    for (std::string& Piece : Pieces) {
        Piece = Rest.substr(0, Rest.find('\0'));
        Rest.remove_prefix(std::min(Piece.size() + 1, Rest.size()));
    }
    CheckPage(Pieces[0]);
    CheckPart(Pieces[1], Pieces[2], Pieces[3]);
    return 0;
}
