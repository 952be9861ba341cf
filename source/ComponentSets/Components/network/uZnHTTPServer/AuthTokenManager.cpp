#include "uZnHTTPServer/AuthTokenManager.h"

#include <algorithm>
#include <utility>

#include "common/Text.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPServer/AuthTokens.h"
#include "uZnHTTPServer/Server.h"

TZnHTTPServerAuthTokenManager::TZnHTTPServerAuthTokenManager(TZnCustomHTTPServer& AOwner, Zn::Timers& ATimers)
    : FOwner(AOwner), FTimers(ATimers), FTokens(std::make_shared<TZnHTTPServerAuthTokens>())
{
}

TZnHTTPServerAuthTokenManager::~TZnHTTPServerAuthTokenManager()
{
    FTokens->Clear();
}

void TZnHTTPServerAuthTokenManager::SetLogonUrl(const std::string& AValue)
{
    TZnLockGuard Guard(FLock);
    FLogonUrl = ZnTrim(AValue);
    CheckConfigured();
}

void TZnHTTPServerAuthTokenManager::CheckConfigured()
{
    FConfigured = !FLogonUrl.empty() && FLogonUrl != "/";
}

void TZnHTTPServerAuthTokenManager::SetMaxTokens(std::size_t AValue)
{
    FMaxTokens = std::max<std::size_t>(AValue, 1);
}

std::string
TZnHTTPServerAuthTokenManager::GenerateTokenRequest(const TZnHTTPServerAuthTokenClass& ATokenClass,
                                                    const std::string& ARedirectUri)
{
    const std::shared_ptr<TZnHTTPServerAuthToken> Token = ATokenClass(*this, ARedirectUri);
    if (!FTokens->AddWithin(Token, FMaxTokens))
        throw EZnHTTPException("Too many users are logged on! Try again later.", 503);
    Token->Start();
    LogLine(cLogInfo, "AuthTokenRequest Generated for " + ARedirectUri, Token->GetTokenId());
    return Token->GetTokenId();
}

std::shared_ptr<TZnHTTPServerAuthToken> TZnHTTPServerAuthTokenManager::FindToken(const std::string& ATokenId)
{
    std::shared_ptr<TZnHTTPServerAuthToken> Token;
    if (!FTokens->TryGetValue(ATokenId, Token))
        LogLine(cLogDetail, "AuthToken not found", ATokenId);
    return Token;
}

bool TZnHTTPServerAuthTokenManager::FindToken(const std::string& ATokenId,
                                              std::shared_ptr<TZnHTTPServerAuthToken>& ARequest)
{
    ARequest = FindToken(ATokenId);
    return ARequest != nullptr;
}

void TZnHTTPServerAuthTokenManager::RemoveToken(const std::string& ATokenId)
{
    std::shared_ptr<TZnHTTPServerAuthToken> Token;
    if (!FTokens->TryGetValue(ATokenId, Token))
        return;
    LogLine(cLogInfo, "AuthToken Removed", ATokenId);
    Token->Terminate();
}

std::shared_ptr<IZnHTTPServerAuthTokens> TZnHTTPServerAuthTokenManager::GetTokens() const
{
    return FTokens;
}

bool TZnHTTPServerAuthTokenManager::ServesDefaultSSL() const
{
    return FOwner.GetSSLModes().Contains(ssmDefaultSSL);
}

void TZnHTTPServerAuthTokenManager::LogLine(TZnLogLevel ALevel, const std::string& AText,
                                            const std::string& ATokenId) const
{
    if (FLogger && FLogger->IsEnabled(ALevel))
        FLogger->Log(ALevel, AText + " (" + Zn::TokenIdForLog(ATokenId) + ")");
}
