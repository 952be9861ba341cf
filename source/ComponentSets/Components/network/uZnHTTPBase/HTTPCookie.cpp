#include "uZnHTTPBase/Cookies.h"

#include "common/Text.h"
#include "common/TextParser.h"
#include "uZnHTTPBase/CookieDate.h"

namespace
{

constexpr TZnTextSet cTokenEnd("=;");

std::string_view TrimmedUntil(TZnTextParser& AParser, const TZnTextSet& AStop)
{
    AParser.SetMark(tpMark1);
    AParser.SkipUntilAny(AStop);
    return ZnTrimView(AParser.Selected(tpMark1, tpCurrent));
}

std::string_view ValueOf(TZnTextParser& AParser)
{
    static constexpr TZnTextSet cValueEnd(";");
    return TrimmedUntil(AParser, cValueEnd);
}

} // namespace

TZnHTTPCookie::TZnHTTPCookie(TZnURLData AURLData, std::string_view ACookieData)
    : FURLData(std::move(AURLData))
{
    Parse(ACookieData);
}

void TZnHTTPCookie::Parse(std::string_view ACookieData)
{
    const std::string Data = ZnTrim(ACookieData) + cZnSemiColon; // every part ends in one
    TZnTextParser Parser(Data);
    while (!Parser.Eof()) {
        Parser.SkipBlanks();
        const std::string_view Token = TrimmedUntil(Parser, cTokenEnd);
        if (Parser.At(cZnEquals)) {
            Parser.NextChar();
            if (SameText(Token, "Path")) {
                FPath = ValueOf(Parser);
            } else if (SameText(Token, "Domain")) {
                FDomain = ValueOf(Parser);
            } else if (SameText(Token, "Expires")) {
                FExpires = Zn::ReadCookieDate(Parser);
            } else if (FName.empty()) {
                FName = Token;
                FValue = ValueOf(Parser);
            } else {
                Parser.SkipUntil(cZnSemiColon); // an attribute without a meaning here
            }
        } else if (SameText(Token, "Secure")) {
            FSecure = true;
        } else if (SameText(Token, "HttpOnly")) {
            FHttpOnly = true;
        }
        if (!Parser.Eof())
            Parser.NextChar();
    }
}
