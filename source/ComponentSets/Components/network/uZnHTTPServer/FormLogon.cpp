// Logging on by a form: the token cookie's way through the authentication stage, and the way to the logon
// page of a caller who has to log on.
//
//      anonymous --GET of a page that wants a logon--> token and cookie, 302 to the logon page
//          ^                                                   |
//          |                                   POST of userName and password to the logon page
//          |                                       | right                  | wrong
//          |                                       v                        v
//          +---- logoff URL, or not used ---- 302 to that page      another token, 302 to the logon page
//                                             the token says who

#include "common/Text.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/LogonForm.h"
#include "uZnHTTPServer/LogonRedirect.h"
#include "uZnHTTPServer/OpenIDConnect.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/Worker.h"

namespace
{

constexpr std::int32_t cSessionPeriod = 3600; // s

/// Nobody has sent this caller to the logon page; the default page will, if it wants a logon.
bool ReceiveVisitor(const TZnHTTPServerAuthTokenManager& AManager, const TZnHTTPServerRequest& ARequest,
                    TZnHTTPServerResponse& AResponse)
{
    const std::string& DefaultUrl = AManager.GetDefaultUrl();
    if (DefaultUrl.empty() || ARequest.UrlData.Resource != AManager.GetLogonUrl())
        return true;
    Zn::AuthRedirect(AResponse, DefaultUrl, false, "Ok");
    return false;
}

bool ContinueSession(const TZnHTTPServerAuthTokenManager& AManager, TZnHTTPServerAuthToken& AToken,
                     const TZnHTTPServerAuthSession& ASession, TZnHTTPServerRequest& ARequest,
                     TZnHTTPServerResponse& AResponse)
{
    const bool IsByProvider = AManager.GetOwner().GetOpenIDConnect().GetConfigured();
    const std::string& Resource = ARequest.UrlData.Resource;
    if (Resource == AManager.GetLogonUrl()) {
        Zn::AuthRedirect(AResponse, AToken.GetRedirectUri(), false, "Already Logged On");
        return false;
    }
    if (Resource == AManager.GetLogoffUrl()) {
        AToken.Terminate();
        Zn::DeleteTokenCookie(ARequest, AResponse);
        return true;
    }
    AToken.Touch();
    ARequest.AuthenticationType = IsByProvider ? authOAuth2 : authOther;
    ARequest.LogonName = ASession.UserName;
    ARequest.RoleName = ASession.RoleName;
    ARequest.PasswordExp = ASession.PasswordExpiresOn;
    ARequest.AuthTokenId = AToken.GetTokenId();
    ARequest.AuthTokenExp = ASession.ExpiresOn;
    return true;
}

/// Whether the request has a body to log on with. One that says it is far too long for that isn't read: Body
/// stays empty, and LogOn refuses it.
bool GetLogonBody(TZnHTTPServerResponseThread& AResponseThread, std::shared_ptr<IZnBodyContent>& ABody)
{
    const std::string_view Length = AResponseThread.GetHeaderView(HttpHeaderContentLength);
    if (StrToInt64Def(Length, 0) > static_cast<std::int64_t>(Zn::cMaxLogonForm))
        return true;
    return AResponseThread.GetBody(ABody);
}

void SendToLogonPage(TZnHTTPServerAuthTokenManager& AManager, const TZnHTTPServerRequest& ARequest,
                     TZnHTTPServerResponse& AResponse)
{
    try {
        const std::string TokenId = AManager.GenerateTokenRequest(ZnMakeAuthToken, ARequest.UrlData.URL);
        const std::string& LogonUrl = AManager.GetLogonUrl();
        Zn::SetTokenCookie(AManager.GetOwner(), ARequest, AResponse, TokenId);
        Zn::AnswerWithRedirect(AResponse, LogonUrl, ARequest.UrlData.Origin + LogonUrl,
                               "Form Authentication Redirect");
    } catch (const std::exception& E) {
        Zn::AnswerWithoutToken(ARequest, AResponse, E);
    }
}

/// A post can't be taken up again after a logon.
void ForbidPost(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    Zn::DeleteTokenCookie(ARequest, AResponse);
    AResponse.SetStatusCode(403);
    AResponse.SetStatusDescription("Forbidden");
    AResponse.SetResponseType(rtText);
    AResponse.SetResponseText("Forbidden");
}

} // namespace

/// True when the handler is to be called, false when the response is complete.
bool TZnCustomHTTPServer::AuthenticateByToken(TZnHTTPServerResponseThread& AResponseThread,
                                              TZnHTTPServerRequest& ARequest,
                                              TZnHTTPServerResponse& AResponse)
{
    std::string TokenId;
    if (!AResponseThread.GetCookie(ARequest.UrlData, ARequest.AuthTokenName, TokenId) || TokenId.empty()) {
        if (IsProviderAnswer(AResponseThread, ARequest))
            return LogOnByProvider(AResponseThread, ARequest, AResponse);
        return ReceiveVisitor(*FAuthTokenManager, ARequest, AResponse);
    }

    const std::shared_ptr<TZnHTTPServerAuthToken> Token = FAuthTokenManager->FindToken(TokenId);
    if (!Token || Token->GetTerminated()) { // one that ends just now is as good as gone, logged on or not
        Zn::DeleteTokenCookie(ARequest, AResponse);
        return true;
    }
    if (const auto Session = Token->GetSession())
        return ContinueSession(*FAuthTokenManager, *Token, *Session, ARequest, AResponse);

    std::shared_ptr<IZnBodyContent> Body;
    if (ARequest.UrlData.Resource != FAuthTokenManager->GetLogonUrl() || ARequest.HttpVerb != HttpVerbPOST ||
        !GetLogonBody(AResponseThread, Body))
        return true; // the logon page itself comes by here
    LogOn(AResponseThread, *Token, Body.get(), ARequest, AResponse);
    return false;
}

void TZnCustomHTTPServer::LogOn(TZnHTTPServerResponseThread& AResponseThread, TZnHTTPServerAuthToken& AToken,
                                IZnBodyContent* ABody, TZnHTTPServerRequest& ARequest,
                                TZnHTTPServerResponse& AResponse)
{
    const std::string& LogonUrl = FAuthTokenManager->GetLogonUrl();
    try {
        if (ABody == nullptr || ABody->GetSize() > static_cast<std::int64_t>(Zn::cMaxLogonForm))
            throw EZnHTTPException("The logon form is too large!", 413);
        // By the same road as a browser's own dialog, so that one place checks all passwords.
        const Zn::LogonForm Form = Zn::ReadLogonForm(ABody->AsString());
        DoAuthenticate(AResponseThread, Zn::BasicAuthorization(Form), &ARequest);
        if (ARequest.AuthenticationType == authBasic) {
            ARequest.AuthenticationType = authOther;
            Zn::AuthRedirect(AResponse, AToken.GetRedirectUri(), false, "Logged On");
            // The name whose password was checked. With a ":" or blanks around it the posted one is another.
            AToken.Validate(ARequest.LogonName, ARequest.RoleName, ARequest.PasswordExp, cSessionPeriod);
        } else {
            const std::string NewId =
                FAuthTokenManager->GenerateTokenRequest(ZnMakeAuthToken, AToken.GetRedirectUri());
            AToken.Terminate();
            Zn::SetTokenCookie(*this, ARequest, AResponse, NewId);
            Zn::AuthRedirect(AResponse, LogonUrl, true, "Invalid Username and/or Password");
        }
    } catch (const std::exception& E) {
        Zn::AuthRedirect(AResponse, LogonUrl, true, E.what());
    }
}

/// What becomes of a caller who has to log on and asks for a page. False when form logon isn't configured.
bool TZnCustomHTTPServer::AnswerLogonFailure(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    if (FOpenID->GetConfigured()) {
        SendToProvider(ARequest, AResponse);
        return true;
    }
    if (!FAuthTokenManager->GetConfigured())
        return false;
    if (ARequest.HttpVerb == HttpVerbGET)
        SendToLogonPage(*FAuthTokenManager, ARequest, AResponse);
    else
        ForbidPost(ARequest, AResponse);
    return true;
}

const std::string& TZnCustomHTTPServer::GetDefaultUrl() const
{
    return FAuthTokenManager->GetDefaultUrl();
}

void TZnCustomHTTPServer::SetDefaultUrl(const std::string& AValue)
{
    FAuthTokenManager->SetDefaultUrl(AValue);
}

const std::string& TZnCustomHTTPServer::GetLogonUrl() const
{
    return FAuthTokenManager->GetLogonUrl();
}

void TZnCustomHTTPServer::SetLogonUrl(const std::string& AValue)
{
    FAuthTokenManager->SetLogonUrl(AValue.starts_with('/') ? AValue : "/" + AValue);
    FOpenID->SetAuthorizeUrl(AValue);
}

const std::string& TZnCustomHTTPServer::GetLogoffUrl() const
{
    return FAuthTokenManager->GetLogoffUrl();
}

void TZnCustomHTTPServer::SetLogoffUrl(const std::string& AValue)
{
    FAuthTokenManager->SetLogoffUrl(AValue.starts_with('/') ? AValue : "/" + AValue);
}
