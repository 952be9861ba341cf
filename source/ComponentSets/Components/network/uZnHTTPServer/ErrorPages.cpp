#include "uZnHTTPServer/ErrorPages.h"

#include "common/Exceptions.h"
#include "common/Json.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPServer/Response.h"

namespace Zn
{
namespace
{

constexpr std::string_view cPageHead =
    "<HTML><HEAD> <TITLE>Error</TITLE> <META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; "
    "charset=ISO-8859-1\"></HEAD><BODY><H1>";
constexpr std::string_view cPageTail = "</H1></BODY></HTML>";

/// A message may hold what a client sent; as text it can't become markup on this server's page.
void AppendEscaped(std::string& APage, std::string_view AText)
{
    for (const char Char : AText) {
        switch (Char) {
        case '&':
            APage += "&amp;";
            break;
        case '<':
            APage += "&lt;";
            break;
        case '>':
            APage += "&gt;";
            break;
        default:
            APage += Char;
        }
    }
}

} // namespace

ErrorPage MakeErrorPage(std::string_view AAccept, const std::string& AText)
{
    return MakeErrorPage(AAccept, AText, AText);
}

ErrorPage MakeErrorPage(std::string_view AAccept, const std::string& AHtmlText, const std::string& AJsonText)
{
    if (AAccept.find("json") != std::string_view::npos)
        return {"application/json", TJSONString(AJsonText).ToJSON()};
    std::string Page(cPageHead);
    AppendEscaped(Page, AHtmlText);
    Page += cPageTail;
    return {"text/html", std::move(Page)};
}

std::string NumberedErrorText(int ACode, const std::string& AMessage)
{
    return "ERROR " + std::to_string(ACode) + ": " + AMessage;
}

std::string ExceptionText(const std::exception& AException)
{
    return ExceptionClassName(AException) + ": " + AException.what();
}

void AnswerWithErrorPage(TZnHTTPServerResponse& AResponse, int AStatusCode, const ErrorPage& APage)
{
    AResponse.SetStatusCode(AStatusCode);
    AResponse.SetStatusDescription(HttpStatusMsg(static_cast<std::uint32_t>(AStatusCode)));
    AResponse.SetResponseType(rtText);
    AResponse.SetContentType(APage.ContentType);
    AResponse.SetContentEncoding({}); // belonged to the body that the page takes the place of
    AResponse.SetResponseText(APage.Body);
}

} // namespace Zn
