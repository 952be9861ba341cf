#pragma once

#include <string>

#include "uZnHTTPBase.h"

namespace Zn
{

/// How `zn request --auth oauth2` gets its access token.
struct TOAuthOptions
{
    TZnOAuthGrantType Grant = oagtAuthorize;
    std::string ClientId;
    std::string ClientSecret; // empty: from the file or ZN_CLIENT_SECRET, or there is none
    std::string ClientSecretFile;
    std::string AuthEndpoint;
    std::string TokenEndpoint;
    std::string RedirectUri;
    std::string Scope;
    bool UsePKCE = false;
    bool UseState = false;
};

/// Hands them to a client's settings. Raises EInvalidArgument where the grant needs what is not there, and
/// Exception for a file that can't be read.
void TakeOAuthOptions(TZnOAuth& AOAuth, const TOAuthOptions& AOptions);

} // namespace Zn
