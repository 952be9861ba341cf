#pragma once

#include <string>

#include "uZnHTTPClient/Contract.h"

class TZnHTTPClientBase;

namespace Zn
{

/// Gets an access token for a client (RFC 6749), by the grant that its settings name. Its own requests go
/// through the client.
///
///     refresh token, if there is one and it is used
///     password, client credentials:  token endpoint --> token
///     implicit:                      authorization page --> token
///     authorization code:            authorization page --> code --> token endpoint --> token
class OAuthFlow
{
public:
    explicit OAuthFlow(TZnHTTPClientBase& AClient);

    /// On return the client's OAuth has the token. Raises EZnHTTPInvalidArgument,
    /// EZnHTTPAuthenticationFailure, EZnHTTPException with the provider's status, and what requests and the
    /// redirect server raise.
    void GetToken();

private:
    // OAuthGrants.cpp
    bool Refresh();
    void ExchangeDirectly();
    void ExchangeCode(const std::string& ACode, const std::string& AVerifier);
    // OAuthFlow.cpp
    void AskUser();
    std::string Parameters() const;
    std::string Named(const char* AName, const std::string& AValue) const;
    std::string Alias(const char* AName) const { return FOAuth.GetParamAlias(AName); }
    std::shared_ptr<IZnHTTPResponse> Post(const std::string& AForm);
    void Store(const std::string& ADocument);

    TZnHTTPClientBase& FClient;
    TZnOAuth& FOAuth;
};

} // namespace Zn
