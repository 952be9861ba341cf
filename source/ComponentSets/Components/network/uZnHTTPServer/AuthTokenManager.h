#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

#include "common/Component.h"
#include "common/Locks.h"
#include "common/Logger.h"
#include "common/TimerService.h"
#include "platform/Api.h"
#include "uZnHTTPServer/AuthToken.h"

class IZnHTTPServerAuthTokens;
class TZnCustomHTTPServer;
class TZnHTTPServerAuthTokens;

/// The sessions of a server's form logon, and the URLs that it goes by.
///
/// Use:       the server's AuthTokenManager. Setting LogonUrl switches form logon on.
/// Threads:   URLs and MaxTokens change while the server is inactive; tokens are made and found on any
/// thread. Ownership: the server's. Its end ends all tokens. Errors:    GenerateTokenRequest raises
/// EZnHTTPException 503 when MaxTokens users are logged on.
class ZN_API TZnHTTPServerAuthTokenManager : public TObject
{
public:
    /// Levels of the log lines: what happens to a token, and a cookie that fits none.
    static constexpr TZnLogLevel cLogInfo = TZnLogLevel::Info;
    /// Of a cookie that fits no token.
    static constexpr TZnLogLevel cLogDetail = TZnLogLevel::Debug;

    /// For the server, whose own it is; ATimers wait for the ends of tokens.
    explicit TZnHTTPServerAuthTokenManager(TZnCustomHTTPServer& AOwner,
                                           Zn::Timers& ATimers = Zn::TimerService::Shared());
    ~TZnHTTPServerAuthTokenManager() override;
    TZnHTTPServerAuthTokenManager(const TZnHTTPServerAuthTokenManager&) = delete;
    TZnHTTPServerAuthTokenManager& operator=(const TZnHTTPServerAuthTokenManager&) = delete;

    /// Form logon is on: there is a LogonUrl.
    bool GetConfigured() const { return FConfigured.load(); }

    /// Where a visitor of the logon page goes who was sent there by nobody. Default empty: stays.
    const std::string& GetDefaultUrl() const { return FDefaultUrl; }
    void SetDefaultUrl(std::string AValue) { FDefaultUrl = std::move(AValue); }

    /// The path of the logon page, compared exactly with the request's. Default empty, which like "/" means
    /// no form logon.
    const std::string& GetLogonUrl() const { return FLogonUrl; }
    void SetLogonUrl(const std::string& AValue);

    /// The path that ends a session; the handler answers it, as anonymous. Default empty.
    const std::string& GetLogoffUrl() const { return FLogoffUrl; }
    void SetLogoffUrl(std::string AValue) { FLogoffUrl = std::move(AValue); }

    /// Most tokens at a time, logged on or not. A further one takes the place of the oldest that nobody
    /// has logged on with; when there is none such, the request is answered 503. Default 1000000, which take
    /// about 650 MB; at least 1.
    std::size_t GetMaxTokens() const { return FMaxTokens; }
    void SetMaxTokens(std::size_t AValue);

    /// A new token that waits for its logon; returns its id.
    std::string GenerateTokenRequest(const TZnHTTPServerAuthTokenClass& ATokenClass,
                                     const std::string& ARedirectUri);

    /// Empty when there is no such token. The token lives at least as long as the reference.
    std::shared_ptr<TZnHTTPServerAuthToken> FindToken(const std::string& ATokenId);
    bool FindToken(const std::string& ATokenId, std::shared_ptr<TZnHTTPServerAuthToken>& ARequest);

    /// Set by the server once it has a name; empty before.
    const std::shared_ptr<IZnLogger>& GetLogger() const { return FLogger; }
    void SetLogger(std::shared_ptr<IZnLogger> ALogger) { FLogger = std::move(ALogger); }

    /// The server whose sessions these are.
    TZnCustomHTTPServer& GetOwner() const { return FOwner; }
    /// The table of all tokens. Any thread.
    std::shared_ptr<IZnHTTPServerAuthTokens> GetTokens() const;
    /// What waits for the ends of tokens.
    Zn::Timers& GetTimers() const { return FTimers; }

    /// The server has https on port 443: browsers belong there.
    bool ServesDefaultSSL() const;

protected:
    /// Ends the token of that id, if there is one: a logoff that comes from the application.
    void RemoveToken(const std::string& ATokenId);

private:
    void CheckConfigured() ZN_REQUIRES(FLock);
    void LogLine(TZnLogLevel ALevel, const std::string& AText, const std::string& ATokenId) const;

    TZnCustomHTTPServer& FOwner;
    Zn::Timers& FTimers;
    TZnCriticalSection FLock;
    std::shared_ptr<IZnLogger> FLogger;
    std::atomic<bool> FConfigured{false};
    std::shared_ptr<TZnHTTPServerAuthTokens> FTokens;
    std::string FDefaultUrl;
    std::string FLogonUrl;
    std::string FLogoffUrl;
    std::size_t FMaxTokens = 1'000'000;
};
