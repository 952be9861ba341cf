#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "common/Component.h"
#include "common/Locks.h"
#include "common/RSASignature.h"
#include "platform/Api.h"

class TJSONObject;
class TZnCustomHTTPServer;
class TZnJWT;

/// One key of the provider's key set (RFC 7517), with the members as they stand there; what is absent is
/// empty.
class ZN_API TZnHTTPServerOIDCKey : public TObject
{
public:
    /// Copies the members of one key of a key set.
    explicit TZnHTTPServerOIDCKey(const TJSONObject& AKey);

    /// The key's id, by which tokens name it.
    const std::string FKid;
    /// "sig", or empty.
    const std::string FUse;
    /// "RSA", or the kind of a key that isn't used.
    const std::string FKty;
    const std::string FModulus;  // base64url
    const std::string FExponent; // base64url

    /// The key itself, imported when it is first asked for. Raises EInvalidArgument when it can't be used.
    /// Under the lock of the key table.
    std::shared_ptr<const TZnRSAPublicKey> GetPublicKey();

private:
    std::shared_ptr<const TZnRSAPublicKey> FPublicKey;
};

/// What is looked at in a token beside its signature. All off by default: a provider's claims differ.
struct TZnOpenIDChecks
{
    std::string Issuer{};        // "iss" is this; empty: any
    bool Audience = false;       // "aud" is or holds the client id, and "azp", where there is one, is it
    bool Times = false;          // "exp" is there and ahead, "nbf" behind
    std::int32_t ClockSkew = 60; // s that the provider's clock may differ by
    bool Nonce = false;          // "nonce" is the state that the browser was sent off with
    bool RefetchKeys = false;    // an unknown key id fetches the keys anew, at most once a minute
};

/// The server as relying party of an identity provider: OpenID Connect Core 1.0 with response_mode=form_post,
/// by the implicit flow, or by the code flow when there is a TokenUrl.
///
/// Use:       the server's OpenIDConnect. Set ClientId (and TokenUrl and ClientSecret), DiscoveryUrl,
///            AddRedirectUri, then the server's LogonUrl, which is the provider's authorization endpoint: the
///            keys are fetched at that moment.
/// Threads:   settings while the server is inactive; the rest on any worker.
/// Ownership: the server's.
/// Errors:    a provider that can't be reached leaves no keys, and logons fail until it can.
class ZN_API TZnHTTPServerOIDC : public TObject
{
public:
    /// For the server, whose own it is.
    explicit TZnHTTPServerOIDC(TZnCustomHTTPServer& AOwner);
    ~TZnHTTPServerOIDC() override;
    TZnHTTPServerOIDC(const TZnHTTPServerOIDC&) = delete;
    TZnHTTPServerOIDC& operator=(const TZnHTTPServerOIDC&) = delete;

    /// Client id and authorization endpoint without TokenUrl (implicit flow), or client id, secret, TokenUrl
    /// and at least one redirect URI (code flow).
    bool GetConfigured() const { return FConfigured.load(); }

    /// What the provider knows this server as. Default empty: not configured.
    const std::string& GetClientId() const { return FClientId; }
    void SetClientId(const std::string& AValue);
    /// A secret: in no log and no error text.
    const std::string& GetClientSecret() const { return FClientSecret; }
    void SetClientSecret(const std::string& AValue);
    /// The provider's document that tells where its keys are (".well-known/openid-configuration").
    const std::string& GetDiscoveryUrl() const { return FDiscoveryUrl; }
    void SetDiscoveryUrl(const std::string& AValue) { FDiscoveryUrl = AValue; }
    /// Fetches the keys when everything else is set.
    const std::string& GetAuthorizeUrl() const { return FAuthorizeUrl; }
    void SetAuthorizeUrl(const std::string& AValue);
    /// Empty, the default, selects the implicit flow.
    const std::string& GetTokenUrl() const { return FTokenUrl; }
    void SetTokenUrl(const std::string& AValue);

    /// What of a token is looked at beside its signature. Default nothing: switch it on.
    const TZnOpenIDChecks& GetChecks() const { return FChecks; }
    void SetChecks(TZnOpenIDChecks AValue) { FChecks = std::move(AValue); }

    /// Registers a URI for all pages of its folder. Raises EInvalidArgument for what is no URL, and
    /// EListError for a folder that has one.
    void AddRedirectUri(const std::string& AUri);
    /// The URI that is registered for the folder AOrigin + "/" + APath, of any case.
    bool IsRedirectUri(const std::string& AOrigin, const std::string& APath, std::string& RedirectUri) const;

    /// Adds the keys of a key set to the table. Raises EZnJSONException for what is no JSON object, and
    /// EListError for an id that is in the table already.
    void AddKeys(const std::string& AKeySet);
    /// The key of that id; empty when there is none. An empty table is filled first. Raises EInvalidArgument
    /// for a key that can't be used.
    std::shared_ptr<const TZnRSAPublicKey> FindKey(const std::string& AKid);

    /// Raises EZnHTTPServerAuthGetTokenFailure for a token that GetChecks refuses. ANonce is what was asked
    /// with.
    void CheckClaims(const TZnJWT& AToken, const std::string& ANonce) const;

    /// Held during the exchange of a code: one at a time.
    TZnCriticalSection& GetExchangeLock() { return FExchangeLock; }

private:
    using Keys = std::map<std::string, std::unique_ptr<TZnHTTPServerOIDCKey>>;
    using Clock = std::chrono::steady_clock;

    void CheckConfigured();
    void GetKeys(Keys& AKeys);
    void FetchKeys(Keys& AKeys) const;
    void RefetchKeys(Keys& AKeys);

    TZnCustomHTTPServer& FOwner;
    mutable TZnCriticalSection FLock;
    TZnCriticalSection FExchangeLock;
    std::atomic<bool> FConfigured{false};
    std::string FClientId;
    std::string FClientSecret;
    std::string FDiscoveryUrl;
    std::string FAuthorizeUrl;
    std::string FTokenUrl;
    TZnOpenIDChecks FChecks;
    TZnThreadSafeObject<Keys> FKeys; // its lock is held while keys are fetched: token checks wait for them
    std::optional<Clock::time_point> FRefetched; // under the lock of FKeys
    std::unordered_map<std::string, std::string> FRedirectUris ZN_GUARDED_BY(FLock); // by folder
};
