#pragma once

#include <string>

#include "platform/Api.h"
#include "uZnHTTPServer/AuthToken.h"

class TZnHTTPServerOIDC;

/// A session that an identity provider opens. Its id is the state, and the nonce, that the browser is sent to
/// the provider with.
class ZN_API TZnHTTPServerOAuthToken : public TZnHTTPServerAuthToken
{
public:
    /// A token whose logon an identity provider will carry out.
    TZnHTTPServerOAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager, const std::string& ARedirectUri);

    /// Exchanges an authorization code for the user's token and logs the user on. Only the first code is
    /// exchanged; after it the result tells whether that one did. Ends this token, and raises, when the
    /// provider doesn't give one that holds: EZnHTTPServerAuthGetTokenFailure with what it said instead, or
    /// what reading its answer raised. On a worker; waits for the provider, and for the exchange of another
    /// token.
    bool GetToken(const std::string& ACode);

private:
    void Exchange(const std::string& ACode);
    std::string RequestFor(const std::string& ACode) const;

    TZnHTTPServerOIDC& FOIDC;
    // Both under the lock of exchanges:
    std::string FCode;
    std::string FToken; // for the provider's other services, as JSON text
};

/// The tokens of OpenID Connect.
ZN_API std::shared_ptr<TZnHTTPServerAuthToken> ZnMakeOAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                                                const std::string& ARedirectUri);
