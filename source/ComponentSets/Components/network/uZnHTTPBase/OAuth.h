#pragma once

#include <cstdint>
#include <string>

#include "common/Component.h"
#include "common/Locks.h"
#include "common/StringList.h"
#include "common/ThreadAnnotations.h"
#include "platform/Api.h"
#include "uZnHTTPBase/Vocabulary.h"

/// A bearer token and the moment from which on it is of no use.
class ZN_API TZnOAuthAccessToken
{
public:
    /// No token.
    TZnOAuthAccessToken() = default;
    /// AExpiresIn counts seconds from now.
    static TZnOAuthAccessToken Create(std::string AToken, std::uint32_t AExpiresIn);

    /// The token itself: a secret. Empty: none.
    const std::string& GetToken() const { return FToken; }
    /// On the millisecond counter of GetTickCount64, which doesn't wrap.
    std::uint64_t GetExpiresOn() const { return FExpiresOn; }

    /// True without a token, and for one whose time is over.
    bool GetExpired() const;

private:
    std::string FToken;
    std::uint64_t FExpiresOn = 0;
};

/// The settings of an OAuth 2 application (RFC 6749), its current access token, and other names for
/// the parameters of its requests.
///
/// Threads:   the access token: any. Everything else: one at a time, and not while a request of the
///            client that holds it is under way.
/// Ownership: owns its lists; setters copy.
/// Errors:    none.
class ZN_API TZnOAuth : public TPersistent
{
public:
    TZnOAuth();

    /// The client id by which the provider knows the application; required.
    const std::string& GetAppID() const { return FAppID; }
    void SetAppID(std::string AValue) { FAppID = std::move(AValue); }
    /// Sent when there is one; in no log and no error text.
    const std::string& GetClientSecret() const { return FClientSecret; }
    void SetClientSecret(std::string AValue) { FClientSecret = std::move(AValue); }
    /// Where the browser comes back to: "http://localhost:PORT/NAME", or 127.0.0.1.
    const std::string& GetRedirectURI() const { return FRedirectURI; }
    void SetRedirectURI(std::string AValue) { FRedirectURI = std::move(AValue); }
    /// The provider's page for the user.
    const std::string& GetAuthEndpoint() const { return FAuthEndpoint; }
    void SetAuthEndpoint(std::string AValue) { FAuthEndpoint = std::move(AValue); }
    /// Where codes, passwords and refresh tokens are exchanged for access tokens.
    const std::string& GetTokenEndpoint() const { return FTokenEndpoint; }
    void SetTokenEndpoint(std::string AValue) { FTokenEndpoint = std::move(AValue); }
    /// What the token is to be good for; sent when it isn't empty.
    const std::string& GetScope() const { return FScope; }
    void SetScope(std::string AValue) { FScope = std::move(AValue); }

    /// Default oagtAuthorize.
    TZnOAuthGrantType GetGrantType() const { return FGrantType; }
    void SetGrantType(TZnOAuthGrantType AValue) { FGrantType = AValue; }

    /// The present token, expired or not. Any thread.
    TZnOAuthAccessToken GetAccessToken() const;
    /// AExpiresIn counts seconds.
    void SetAccessToken(std::string AAccessToken, std::uint32_t AExpiresIn);
    void SetAccessToken(TZnOAuthAccessToken AAccessToken);

    /// The name under which the provider knows parameter AName: AName itself unless it was given
    /// another one. Looked up are client_id, client_secret, scope, grant_type, redirect_uri,
    /// response_type, access_token, expires_in and code. An empty value takes an alias away.
    std::string GetParamAlias(const std::string& AName) const;
    void SetParamAlias(const std::string& AName, const std::string& AValue);

    /// HTML that the user reads in the browser at the end, as it is: nothing in it is escaped.
    const TStringList& GetSuccessMessage() const { return FSuccessMessage; }
    void SetSuccessMessage(const TStringList& AValue) { FSuccessMessage = AValue; }

    // Beyond what every provider knows, and so off by default.

    /// The authorization code is bound to this client by a proof (RFC 7636, S256).
    bool GetUsePKCE() const { return FUsePKCE; }
    void SetUsePKCE(bool AValue) { FUsePKCE = AValue; }
    /// A random state goes to the provider and must come back (RFC 6749, section 10.12).
    bool GetUseState() const { return FUseState; }
    void SetUseState(bool AValue) { FUseState = AValue; }
    /// A refresh token that came with an access token gets the next one, without the user.
    bool GetUseRefreshToken() const { return FUseRefreshToken; }
    void SetUseRefreshToken(bool AValue) { FUseRefreshToken = AValue; }
    /// A secret. Any thread.
    std::string GetRefreshToken() const;
    void SetRefreshToken(std::string AValue);

    /// Whether AURL would do as RedirectURI: starts a server on it, calls it, and tells in AMessage what came
    /// of that. Raises nothing. In programs that link uZnHTTPServer.
    static bool TestRedirectURL(const std::string& AURL, std::string& AMessage);
    /// Adds 127.0.0.1 to the HTTP service's listen list. Raises Exception in a process without the rights to
    /// it. In programs that link uZnHTTPServer.
    static void RegisterLocalhost();

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    std::string FAppID;
    std::string FClientSecret;
    std::string FRedirectURI;
    std::string FAuthEndpoint;
    std::string FTokenEndpoint;
    std::string FScope;
    TZnOAuthGrantType FGrantType = oagtAuthorize;
    bool FUsePKCE = false;
    bool FUseState = false;
    bool FUseRefreshToken = false;
    mutable TZnCriticalSection FTokenLock;
    std::string FRefreshToken ZN_GUARDED_BY(FTokenLock);
    TZnOAuthAccessToken FAccessToken ZN_GUARDED_BY(FTokenLock);
    TStringList FParamNames;
    TStringList FSuccessMessage;
};
