// Logging on by an identity provider: the way of a browser to it, and what it brings back.
//
//      anonymous --GET of a page in a registered folder--> token, 302 to the provider with its id as state
//                                                                |
//                              the browser posts "state" and "id_token" or "code" to the registered URI
//                                                                |
//                     id_token: its claims say who     code: the provider is asked for the token that says
//                     who
//                                                                |
//                                    cookie; from here on the session is that of form logon

#include "common/Text.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/ErrorPages.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/JWT.h"
#include "uZnHTTPServer/LogonRedirect.h"
#include "uZnHTTPServer/OAuthToken.h"
#include "uZnHTTPServer/OpenIDConnect.h"
#include "uZnHTTPServer/ProviderPost.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/Worker.h"

namespace
{

constexpr std::int64_t cMaxAnswer = 512 * 1024;  // bytes; a longer post is none of a provider
constexpr std::int32_t cForEver = 2'147'483'647; // s
constexpr double cPasswordDays = 365;

std::string UserOf(const TZnJWT& AToken)
{
    std::string User;
    if (!AToken.GetClaim("verified_primary_email", User, true) && !AToken.GetClaim("email", User, true))
        Zn::RefuseToken("Failed to exract a username or email from the returned token.");
    return User;
}

/// Where the browser has to go. Everything as it stands.
std::string ProviderUrl(const TZnHTTPServerOIDC& AOIDC, const std::string& ARedirectUri,
                        const std::string& AState)
{
    const std::string Wanted = AOIDC.GetTokenUrl().empty() ? "id_token" : "code";
    return AOIDC.GetAuthorizeUrl() + "?client_id=" + AOIDC.GetClientId() + "&response_type=" + Wanted +
           "&redirect_uri=" + ARedirectUri + "&response_mode=form_post&scope=openid&state=" + AState +
           "&nonce=" + AState;
}

void MakeAnonymous(TZnHTTPServerRequest& ARequest)
{
    const TZnHTTPServerRequest Fresh;
    ARequest.AuthenticationType = Fresh.AuthenticationType;
    ARequest.LogonName = Fresh.LogonName;
    ARequest.RoleName = Fresh.RoleName;
    ARequest.PasswordExp = Fresh.PasswordExp;
    ARequest.AuthTokenId = Fresh.AuthTokenId;
    ARequest.AuthTokenExp = Fresh.AuthTokenExp;
}

void AnswerForbidden(TZnHTTPServerResponse& AResponse, const std::string& AContentType,
                     const std::string& AText)
{
    AResponse.SetStatusCode(403);
    AResponse.SetResponseType(rtText);
    AResponse.SetContentType(AContentType);
    AResponse.SetResponseText(AText);
}

} // namespace

/// Whether the request is a post that the browser brings from the provider.
bool TZnCustomHTTPServer::IsProviderAnswer(TZnHTTPServerResponseThread& AResponseThread,
                                           const TZnHTTPServerRequest& ARequest) const
{
    if (ARequest.HttpVerb != HttpVerbPOST || !FOpenID->GetConfigured() ||
        !SameText(AResponseThread.GetHeaderView(HttpHeaderContentType), "application/x-www-form-urlencoded"))
        return false;
    const std::int64_t Length = StrToInt64Def(AResponseThread.GetHeaderView(HttpHeaderContentLength), 0);
    const std::string& Document = ARequest.UrlData.Document;
    std::string RedirectUri;
    return Length > 0 && Length <= cMaxAnswer &&
           (Document.empty() || Document.find(".htm") != std::string::npos) &&
           FOpenID->IsRedirectUri(ARequest.UrlData.Origin, ARequest.UrlData.SubPath, RedirectUri);
}

/// True when the handler is to be called, false when the response is complete.
bool TZnCustomHTTPServer::LogOnByProvider(TZnHTTPServerResponseThread& AResponseThread,
                                          TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    std::shared_ptr<IZnBodyContent> Body;
    if (!AResponseThread.GetBody(Body))
        return true;
    const Zn::ProviderPost Answer = Zn::ReadProviderPost(Body->AsString());
    const auto Token = Answer.State.empty() ? nullptr : FAuthTokenManager->FindToken(Answer.State);
    if (!Token)
        return true;
    if (!Answer.IdToken.empty())
        return AcceptIdToken(Answer.IdToken, *Token, ARequest, AResponse);
    if (!Answer.Code.empty())
        return AcceptCode(Answer.Code, *Token, ARequest, AResponse);
    return true;
}

bool TZnCustomHTTPServer::AcceptIdToken(const std::string& AIdToken, TZnHTTPServerAuthToken& AToken,
                                        TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    try {
        const TZnJWT IdToken(AIdToken, *FOpenID);
        FOpenID->CheckClaims(IdToken, AToken.GetTokenId());
        const std::string User = UserOf(IdToken);
        const std::string Role = RoleOfProviderUser(IdToken, User);
        ARequest.AuthenticationType = authOAuth2;
        ARequest.LogonName = User;
        ARequest.RoleName = Role;
        ARequest.PasswordExp = Now() + cPasswordDays;
        ARequest.AuthTokenId = AToken.GetTokenId();
        ARequest.AuthTokenExp = cForEver;
        Zn::SetTokenCookie(*this, ARequest, AResponse, AToken.GetTokenId());
        DoOnAuthenticate(User, true);
        AToken.Validate(User, Role, ARequest.PasswordExp, cForEver);
        return true;
    } catch (const EZnHTTPException&) {
        throw; // has a status, and so a page
    } catch (const EZnHTTPConnection&) {
        throw;
    } catch (const std::exception&) { // what was sent as a token is none
        AnswerForbidden(AResponse, "text/html", "<html><body>Invalid id-token!</body></html>");
        return false;
    }
}

/// The token's role, else that of the local account.
std::string TZnCustomHTTPServer::RoleOfProviderUser(const TZnJWT& AIdToken, const std::string& AUser)
{
    std::string Role;
    AIdToken.GetClaim("roles", Role, true);
    if (!Role.empty())
        return Role;
    std::string Hash;
    std::string Salt;
    TDateTime Expires = 0;
    if (!GetStoredPassword(*this, authOAuth2, AUser, Hash, Role, Salt, Expires))
        throw EZnHTTPServerAuthGetTokenFailure("text/html", "No local useraccount found for " + AUser + "!");
    return Role.empty() ? "Guest" : Role;
}

bool TZnCustomHTTPServer::AcceptCode(const std::string& ACode, TZnHTTPServerAuthToken& AToken,
                                     TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    try {
        if (!dynamic_cast<TZnHTTPServerOAuthToken&>(AToken).GetToken(ACode))
            throw EZnHTTPServerAuthGetTokenFailure("text/html", "Invalid OpenID Code");
        ARequest.AuthenticationType = authOAuth2;
        ARequest.LogonName = AToken.GetUserName();
        ARequest.RoleName = AToken.GetRoleName();
        ARequest.PasswordExp = 0;
        ARequest.AuthTokenId = AToken.GetTokenId();
        ARequest.AuthTokenExp = AToken.GetExpiresOn();
        Zn::SetTokenCookie(*this, ARequest, AResponse, AToken.GetTokenId());
        DoOnAuthenticate(ARequest.LogonName, true);
    } catch (const EZnHTTPServerAuthGetTokenFailure& E) {
        Zn::DeleteTokenCookie(ARequest, AResponse);
        AnswerForbidden(AResponse, E.GetContentType(), E.Message());
        return false;
    } catch (const std::exception& E) { // the provider can't be reached, or says what can't be read
        Zn::DeleteTokenCookie(ARequest, AResponse);
        MakeAnonymous(ARequest);
        if (FLogger)
            FLogger->Exception(E, "OpenIDCode");
    }
    return true;
}

void TZnCustomHTTPServer::SendToProvider(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    std::string RedirectUri;
    if (ARequest.HttpVerb != HttpVerbGET ||
        !FOpenID->IsRedirectUri(ARequest.UrlData.Origin, ARequest.UrlData.SubPath, RedirectUri))
        return;
    try {
        const std::string State = FAuthTokenManager->GenerateTokenRequest(ZnMakeOAuthToken, RedirectUri);
        const std::string Url = ProviderUrl(*FOpenID, RedirectUri, State);
        Zn::AnswerWithRedirect(AResponse, Url, Url, "OpenId Connect Authentication Redirect");
    } catch (const std::exception& E) {
        Zn::AnswerWithoutToken(ARequest, AResponse, E);
    }
}
