#pragma once

#include <string>
#include <vector>

#include "tools/zn/Exchange.h"
#include "uZnHTTPServer.h"

namespace Zn
{

/// The provider of `zn serve --oidc-client-id`, and what it knows this site as.
struct TOpenIDOptions
{
    std::string ClientId; // empty: no provider
    std::string DiscoveryUrl;
    std::string AuthorizeUrl;
    std::string TokenUrl;         // empty: the implicit flow
    std::string ClientSecretFile; // empty: the secret is in ZN_OIDC_CLIENT_SECRET
    std::string Issuer;           // empty: any
    std::string RedirectUri;
};

/// Lets an identity provider log visitors on. A stranger who asks for a protected page is taken to the page
/// of the redirect URI, from where the server sends him to the provider; who comes back from there goes on to
/// the default page. Tokens have to be for this client, in their time, and answer the very request.
///
/// Threads: made on the main thread; the rest on any worker.
class TOpenIDLogon
{
public:
    /// ADefaultUrl is a path on this server. Asks the provider for its keys. Raises Exception for a redirect
    /// URI that no binding of AServer serves or that names neither a folder nor a page, and for a code flow
    /// without a secret.
    TOpenIDLogon(TZnCustomHTTPServer& AServer, const TOpenIDOptions& AOptions, std::string ADefaultUrl);

    /// Whether this is the page of the redirect URI, which strangers are sent on from.
    bool IsRedirectPage(const TZnURLData& AUrl) const { return AUrl.FilePath == FRedirect.FilePath; }

    /// Takes who is logged on from the page of the redirect URI to the default page.
    void Welcome(TExchange& AExchange) const;

    /// For a stranger where a logon is needed: sends him on his way to the provider, or raises
    /// EZnHTTPAuthenticationFailure 401, whose answer is that way, or EZnHTTPException 403 for what is no
    /// page.
    void SendToProvider(TExchange& AExchange) const;

private:
    const TZnHTTPServerOIDC& FProvider;
    const std::string FRedirectUri;
    const TZnURLData FRedirect;
    const std::string FDefaultUrl;
};

} // namespace Zn
