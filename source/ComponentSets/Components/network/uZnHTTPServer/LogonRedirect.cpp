#include "uZnHTTPServer/LogonRedirect.h"

#include <algorithm>
#include <utility>

#include "common/Encoding.h"
#include "uZnHTTPServer/ErrorPages.h"
#include "uZnHTTPServer/Request.h"
#include "uZnHTTPServer/Response.h"
#include "uZnHTTPServer/Server.h"

namespace Zn
{
namespace
{

constexpr int cFound = 302;
constexpr std::string_view cSecureSuffix = "; Secure; SameSite=Strict; Path=/";
constexpr std::string_view cPlainSuffix = "; SameSite=Strict; Path=/";
constexpr std::string_view cDeleted = "deleted; Path=/; Expires=Thu, 01 Jan 1970 00:00:01 GMT";
constexpr std::string_view cErrorSuffix = ";Path=/; Max-Age=5";

std::string OneLine(std::string AText)
{
    std::replace_if(
        AText.begin(), AText.end(),
        [](char Each) { return static_cast<unsigned char>(Each) < 0x20 || Each == 0x7f; }, ' ');
    return AText;
}

} // namespace

std::string RefreshPage(std::string_view AUrl)
{
    // A URL has none of the three; a text that is none must not become markup.
    std::string Page = R"(<head>  <meta http-equiv="Refresh" content="0; URL=)";
    for (const char Each : AUrl) {
        switch (Each) {
        case '"':
            Page += "%22";
            break;
        case '<':
            Page += "%3C";
            break;
        case '>':
            Page += "%3E";
            break;
        default:
            Page += Each;
        }
    }
    return Page + R"("></head>)";
}

void AnswerWithRedirect(TZnHTTPServerResponse& AResponse, const std::string& ALocation, std::string_view AUrl,
                        std::string AStatusDescription)
{
    AResponse.SetStatusCode(cFound);
    AResponse.SetStatusDescription(std::move(AStatusDescription));
    AResponse.AddUnknownHeader("Location", TZnEncoding::ConvertW(OneLine(ALocation), cZnCodePageSystem));
    AResponse.SetResponseType(rtText);
    AResponse.SetContentEncoding({});
    AResponse.SetResponseText(RefreshPage(AUrl));
}

void AuthRedirect(TZnHTTPServerResponse& AResponse, const std::string& AUrl, bool AIsError,
                  const std::string& AMessage)
{
    const std::string Message = OneLine(AMessage);
    if (AIsError) {
        std::string Value = Message;
        std::replace(Value.begin(), Value.end(), ';', ',');
        AResponse.AddCookie("X-Auth-Error", Value.append(cErrorSuffix));
    }
    AnswerWithRedirect(AResponse, AUrl, AUrl, TZnEncoding::ConvertW(Message, cZnCodePageSystem));
}

void AnswerWithoutToken(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse,
                        const std::exception& AException)
{
    AnswerWithErrorPage(AResponse, 503,
                        MakeErrorPage(ARequest.GetKnownHeaderValue(HttpHeaderAccept),
                                      NumberedErrorText(503, AException.what())));
}

void SetTokenCookie(const TZnCustomHTTPServer& AServer, const TZnHTTPServerRequest& ARequest,
                    TZnHTTPServerResponse& AResponse, const std::string& ATokenId)
{
    const bool Secure = AServer.GetSSLModes().Contains(ssmDefaultSSL) || ARequest.Secure;
    AResponse.AddCookie(ARequest.AuthTokenName,
                        ATokenId + std::string(Secure ? cSecureSuffix : cPlainSuffix));
}

void DeleteTokenCookie(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    AResponse.AddCookie(ARequest.AuthTokenName, std::string(cDeleted));
}

} // namespace Zn
