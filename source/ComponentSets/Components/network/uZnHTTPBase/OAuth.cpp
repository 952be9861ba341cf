#include "uZnHTTPBase/OAuth.h"

#include "common/System.h"

TZnOAuthAccessToken TZnOAuthAccessToken::Create(std::string AToken, std::uint32_t AExpiresIn)
{
    TZnOAuthAccessToken Result;
    Result.FToken = std::move(AToken);
    Result.FExpiresOn = GetTickCount64() + std::uint64_t{AExpiresIn} * 1000;
    return Result;
}

bool TZnOAuthAccessToken::GetExpired() const
{
    return FToken.empty() || GetTickCount64() > FExpiresOn;
}

TZnOAuth::TZnOAuth() : FSuccessMessage{"Successfully authenticated.<br/>You can close this window."} {}

TZnOAuthAccessToken TZnOAuth::GetAccessToken() const
{
    const TZnLockGuard Guard(FTokenLock);
    return FAccessToken;
}

void TZnOAuth::SetAccessToken(std::string AAccessToken, std::uint32_t AExpiresIn)
{
    SetAccessToken(TZnOAuthAccessToken::Create(std::move(AAccessToken), AExpiresIn));
}

void TZnOAuth::SetAccessToken(TZnOAuthAccessToken AAccessToken)
{
    const TZnLockGuard Guard(FTokenLock);
    FAccessToken = std::move(AAccessToken);
}

std::string TZnOAuth::GetRefreshToken() const
{
    const TZnLockGuard Guard(FTokenLock);
    return FRefreshToken;
}

void TZnOAuth::SetRefreshToken(std::string AValue)
{
    const TZnLockGuard Guard(FTokenLock);
    FRefreshToken = std::move(AValue);
}

std::string TZnOAuth::GetParamAlias(const std::string& AName) const
{
    const int Index = FParamNames.IndexOfName(AName);
    return Index < 0 ? AName : FParamNames.ValueFromIndex(Index);
}

void TZnOAuth::SetParamAlias(const std::string& AName, const std::string& AValue)
{
    FParamNames.SetValue(AName, AValue);
}

void TZnOAuth::AssignTo(TPersistent* ADest) const
{
    auto* OAuth = dynamic_cast<TZnOAuth*>(ADest);
    if (OAuth == nullptr) {
        TPersistent::AssignTo(ADest);
        return;
    }
    OAuth->FAppID = FAppID;
    OAuth->FClientSecret = FClientSecret;
    OAuth->FRedirectURI = FRedirectURI;
    OAuth->FAuthEndpoint = FAuthEndpoint;
    OAuth->FTokenEndpoint = FTokenEndpoint;
    OAuth->FScope = FScope;
    OAuth->FGrantType = FGrantType;
    OAuth->FUsePKCE = FUsePKCE;
    OAuth->FUseState = FUseState;
    OAuth->FUseRefreshToken = FUseRefreshToken;
    OAuth->SetAccessToken(GetAccessToken());
    OAuth->SetRefreshToken(GetRefreshToken());
    OAuth->FParamNames = FParamNames;
    OAuth->FSuccessMessage = FSuccessMessage;
}
