#include "uZnHTTPServer/IncludeParser.h"

#include <algorithm>

namespace Zn
{
namespace
{

constexpr std::string_view cDirectiveStart = "<!--#";
constexpr std::string_view cHalfStart = cDirectiveStart.substr(0, cDirectiveStart.size() - 1);
constexpr std::string_view cDirectiveEnd = "-->";
constexpr std::string_view cCommentStart = "<!-- ";
constexpr std::string_view cCommentEnd = " -->";

constexpr TZnTextPosition cToken = tpMark1; // where a command, a name or a value begins

/// How much of a directive's start AText ends with, at most all but the "#".
std::size_t HalfStartLength(std::string_view AText)
{
    for (std::size_t Length = 1; Length <= cHalfStart.size(); ++Length)
        if (AText.ends_with(cHalfStart.substr(0, Length)))
            return Length;
    return 0;
}

/// Whether the "<" of a start that follows AFront is passed over, as the end of a match that failed. In a row
/// of half starts every second one is passed over, and so begins no match.
bool IsHiddenBy(std::string_view AFront)
{
    bool Hidden = false;
    while (const std::size_t Length = HalfStartLength(AFront)) {
        Hidden = !Hidden;
        AFront.remove_suffix(Length);
    }
    return Hidden;
}

/// Steps over the characters that AExpected, which is ASCII, begins with. True when these were all of it;
/// else the current character is the first that differs, or the end.
bool SkipExpected(TZnTextParser& AParser, std::string_view AExpected)
{
    for (const char Char : AExpected) {
        if (!AParser.At(Char))
            return false;
        AParser.NextChar();
    }
    return true;
}

std::string AsComment(const std::string& AMarker)
{
    if (AMarker.starts_with(cCommentStart))
        return AMarker;
    return std::string(cCommentStart) + AMarker + std::string(cCommentEnd);
}

/// Where AMarker begins in AText at or behind AFrom; npos when it doesn't. Where a comparison fails the
/// search goes on, so that it takes linear time.
std::size_t FindMarker(std::string_view AText, std::string_view AMarker, std::size_t AFrom)
{
    std::size_t At = AFrom;
    while ((At = AText.find(AMarker.front(), At)) != AText.npos) {
        const std::string_view Candidate = AText.substr(At, AMarker.size());
        const auto Differs = std::mismatch(Candidate.begin(), Candidate.end(), AMarker.begin()).first;
        const auto Same = static_cast<std::size_t>(Differs - Candidate.begin());
        if (Same == AMarker.size())
            return At;
        At += Same;
    }
    return AText.npos;
}

} // namespace

bool MayHoldDirectives(std::string_view AFileName)
{
    return AFileName.ends_with(".shtml") || AFileName.ends_with(".htm");
}

bool DirectiveScanner::Next()
{
    FFrom = FPage.Position();
    try {
        if (FindStart()) {
            ReadDirective();
            return true;
        }
    } catch (const EZnTextParserEOF&) {
        FPage.Last(); // cut off: it stays as it stands, behind the text in front of it
    }
    FText = FPage.Text().substr(FFrom);
    return false;
}

/// Goes behind the next "<!--#", with FText in front of it. False at the end of the page.
bool DirectiveScanner::FindStart()
{
    while (true) {
        FPage.SkipUntil(cDirectiveStart.back()); // much rarer than "<"
        if (FPage.Eof())
            return false;
        FText = FPage.Text().substr(FFrom, FPage.Position() - FFrom);
        FPage.NextChar();
        if (!FText.ends_with(cHalfStart))
            continue;
        FText.remove_suffix(cHalfStart.size());
        if (!IsHiddenBy(FText))
            return true;
    }
}

/// From behind "<!--#" to behind the ">" that ends the directive. EZnTextParserEOF when the page ends first.
void DirectiveScanner::ReadDirective()
{
    FParams.Clear();
    FPage.SetMark(cToken);
    FPage.SkipUntil(' ');
    FCommand = FPage.Selected(cToken, tpCurrent);
    FPage.SkipBlanks();
    while (FPage.PeekString(cDirectiveEnd.size()) != cDirectiveEnd) {
        ReadParam();
        FPage.SkipBlanks();
    }
    SkipExpected(FPage, cDirectiveEnd);
}

void DirectiveScanner::ReadParam()
{
    FPage.SetMark(cToken);
    FPage.SkipUntil('=');
    std::string Param(FPage.Selected(cToken, tpCurrent));
    FPage.SkipUntil('"');
    FPage.NextChar();
    FPage.SetMark(cToken);
    FPage.SkipUntil('"');
    Param += '=';
    Param += FPage.Selected(cToken, tpCurrent);
    FPage.NextChar();
    FParams.Add(std::move(Param));
}

std::string_view SelectPart(std::string_view AText, const std::string& AStart, const std::string& AEnd)
{
    std::size_t Behind = 0;
    if (!AStart.empty()) {
        const std::string Marker = AsComment(AStart);
        const std::size_t At = FindMarker(AText, Marker, 0);
        if (At == AText.npos)
            return {};
        AText.remove_prefix(At);
        Behind = Marker.size();
    }
    if (AEnd.empty())
        return AText;
    const std::string Marker = AsComment(AEnd);
    const std::size_t At = FindMarker(AText, Marker, Behind);
    return At == AText.npos ? AText : AText.substr(0, At + Marker.size());
}

} // namespace Zn
