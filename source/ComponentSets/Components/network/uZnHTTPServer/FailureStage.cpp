// The answer to a caller who has to log on: a redirect to a logon page where one is configured, else the
// challenge of a scheme.

#include "uZnHTTPServer/ErrorPages.h"
#include "uZnHTTPServer/RandomToken.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/Worker.h"

namespace
{

/// The realm as a quoted-string (RFC 9110, 5.6.4), without its quotes.
std::string QuotedPair(std::string_view AText)
{
    std::string Result;
    for (const char Char : AText) {
        if (Char == '"' || Char == '\\')
            Result += '\\';
        Result += Char;
    }
    return Result;
}

/// Whether a person with a browser asks for a page, and can be sent to log on.
bool AsksForPage(const TZnHTTPServerRequest& ARequest)
{
    const std::string& Document = ARequest.UrlData.Document;
    return (ARequest.HttpVerb == HttpVerbGET || ARequest.HttpVerb == HttpVerbPOST) &&
           ARequest.AuthenticationType == authNone &&
           (Document.empty() || Document.find(".htm") != std::string::npos);
}

} // namespace

void TZnCustomHTTPServer::AnswerAuthenticationFailure(TZnHTTPServerResponseThread& AResponseThread,
                                                      TZnHTTPServerRequest& ARequest,
                                                      TZnHTTPServerResponse& AResponse,
                                                      const EZnHTTPAuthenticationFailure& AException)
{
    Zn::AnswerWithErrorPage(
        AResponse, AException.GetErrorCode(),
        Zn::MakeErrorPage(AResponseThread.GetHeaderView(HttpHeaderAccept), AException.Message()));
    if (dynamic_cast<const EZnHTTPLogoff*>(&AException) != nullptr) {
        AResponse.SetWwwAuthenticate({});
        return;
    }
    if (AsksForPage(ARequest) && AnswerLogonFailure(ARequest, AResponse))
        return;
    AResponse.SetWwwAuthenticate(Challenge(AException.GetAuthenticationType()));
}

std::string TZnCustomHTTPServer::Challenge(TZnHTTPAuthentication AAuthType)
{
    const std::string Realm = QuotedPair(GetAuthenticationRealm());
    if (AAuthType == authBasic)
        return "Basic realm=\"" + Realm + "\"";
    return "Digest realm=\"" + Realm + "\",qop=\"auth,auth-int\",nonce=\"" + GenerateRandomToken() +
           "\",opaque=\"" + GenerateRandomToken() + "\"";
}
