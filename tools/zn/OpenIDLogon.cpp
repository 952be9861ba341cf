#include "tools/zn/OpenIDLogon.h"

#include <algorithm>

#include "common/Exceptions.h"
#include "common/Text.h"
#include "tools/zn/SecretOption.h"
#include "uZnHTTPServer/LogonRedirect.h"

namespace Zn
{

namespace
{

/// Browsers are sent to log on from pages only, and providers post to nothing else.
bool IsPage(const TZnURLData& AUrl)
{
    return AUrl.Document.empty() || AUrl.Document.find(".htm") != std::string::npos;
}

bool IsServed(const TZnCustomHTTPServer& AServer, const TZnURLData& AUri)
{
    const TStringList& Bindings = AServer.GetBindings();
    return std::any_of(Bindings.begin(), Bindings.end(), [&](const std::string& ABinding) {
        const TZnURLData Binding = TZnURLData::Create(ABinding);
        const bool IsForAll = Binding.Hostname == "+" || Binding.Hostname == "*";
        return Binding.Scheme == AUri.Scheme && Binding.Port == AUri.Port &&
               (IsForAll || SameText(Binding.Hostname, AUri.Hostname)) &&
               StartsText(Binding.FilePath, AUri.FilePath);
    });
}

TZnURLData CheckRedirect(const TZnCustomHTTPServer& AServer, const std::string& AUri)
{
    TZnURLData Url = TZnURLData::Create(AUri);
    if (!IsServed(AServer, Url))
        throw Exception("the redirect URI " + AUri + " is served by none of the bindings");
    if (!IsPage(Url))
        throw Exception("the redirect URI " + AUri + " has to end in \"/\" or in a page, such as back.html");
    return Url;
}

TZnOpenIDChecks ChecksFor(const TOpenIDOptions& AOptions)
{
    TZnOpenIDChecks Checks;
    Checks.Issuer = AOptions.Issuer;
    Checks.Audience = true;
    Checks.Times = true;
    Checks.Nonce = true;
    Checks.RefetchKeys = true;
    return Checks;
}

} // namespace

TOpenIDLogon::TOpenIDLogon(TZnCustomHTTPServer& AServer, const TOpenIDOptions& AOptions,
                           std::string ADefaultUrl)
    : FProvider(AServer.GetOpenIDConnect()),
      FRedirectUri(AOptions.RedirectUri),
      FRedirect(CheckRedirect(AServer, AOptions.RedirectUri)),
      FDefaultUrl(std::move(ADefaultUrl))
{
    TZnHTTPServerOIDC& Provider = AServer.GetOpenIDConnect();
    Provider.SetClientId(AOptions.ClientId);
    if (!AOptions.TokenUrl.empty()) {
        Provider.SetTokenUrl(AOptions.TokenUrl);
        Provider.SetClientSecret(ReadSecret({}, AOptions.ClientSecretFile, "ZN_OIDC_CLIENT_SECRET"));
        if (Provider.GetClientSecret().empty())
            throw Exception("the code flow needs the client's secret: give --oidc-client-secret-file, or set "
                            "ZN_OIDC_CLIENT_SECRET");
    }
    Provider.SetDiscoveryUrl(AOptions.DiscoveryUrl);
    Provider.SetChecks(ChecksFor(AOptions));
    Provider.AddRedirectUri(AOptions.RedirectUri);
    AServer.SetLogonUrl(AOptions.AuthorizeUrl); // last: now the keys are fetched
}

void TOpenIDLogon::Welcome(TExchange& AExchange) const
{
    // A page that goes on by itself, not a redirect: the browser came from the provider's site, and would not
    // send the cookie with what follows a redirect from there (SameSite=Strict).
    AExchange.Response.AddUnknownHeader("Cache-Control", "no-store");
    AExchange.RespondText(RefreshPage(FDefaultUrl), "text/html; charset=utf-8");
}

void TOpenIDLogon::SendToProvider(TExchange& AExchange) const
{
    const TZnHTTPServerRequest& Request = AExchange.Request;
    if (Request.HttpVerb != HttpVerbGET || !IsPage(Request.UrlData))
        throw EZnHTTPException("Log on to see this page.", 403);
    std::string Registered;
    if (FProvider.IsRedirectUri(Request.UrlData.Origin, Request.UrlData.SubPath, Registered) ||
        IsRedirectPage(Request.UrlData)) // by another origin, such as behind a proxy: no use to try again
        throw EZnHTTPAuthenticationFailure(authOAuth2, "Log on to see this page.", 401);
    AnswerWithRedirect(AExchange.Response, FRedirectUri, FRedirectUri, HttpStatusMsg(302));
}

} // namespace Zn
