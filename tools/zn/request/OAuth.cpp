#include "tools/zn/request/OAuth.h"

#include "common/Exceptions.h"
#include "tools/zn/SecretOption.h"

namespace Zn
{

namespace
{

void Demand(const std::string& AValue, const char* AOption)
{
    if (AValue.empty())
        throw EInvalidArgument(std::string("this grant needs ") + AOption);
}

void CheckOptions(const TOAuthOptions& AOptions)
{
    Demand(AOptions.ClientId, "--client-id");
    if (AOptions.Grant == oagtAuthorize || AOptions.Grant == oagtImplicit) {
        Demand(AOptions.AuthEndpoint, "--auth-endpoint");
        Demand(AOptions.RedirectUri, "--redirect-uri");
    }
    if (AOptions.Grant != oagtImplicit)
        Demand(AOptions.TokenEndpoint, "--token-endpoint");
}

} // namespace

void TakeOAuthOptions(TZnOAuth& AOAuth, const TOAuthOptions& AOptions)
{
    CheckOptions(AOptions);
    AOAuth.SetGrantType(AOptions.Grant);
    AOAuth.SetAppID(AOptions.ClientId);
    AOAuth.SetClientSecret(ReadSecret(AOptions.ClientSecret, AOptions.ClientSecretFile, "ZN_CLIENT_SECRET"));
    AOAuth.SetAuthEndpoint(AOptions.AuthEndpoint);
    AOAuth.SetTokenEndpoint(AOptions.TokenEndpoint);
    AOAuth.SetRedirectURI(AOptions.RedirectUri);
    AOAuth.SetScope(AOptions.Scope);
    AOAuth.SetUsePKCE(AOptions.UsePKCE);
    AOAuth.SetUseState(AOptions.UseState);
    AOAuth.SetSuccessMessage({"<p>Done. zn has got its answer; this page can be closed.</p>"});
}

} // namespace Zn
