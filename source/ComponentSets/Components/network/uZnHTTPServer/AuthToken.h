#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "common/Component.h"
#include "common/DateTime.h"
#include "common/Events.h"
#include "common/Logger.h"
#include "common/TimerService.h"
#include "platform/Api.h"
#include "platform/sync/Mutex.h"

class IZnHTTPServerAuthTokens;
class TZnHTTPServerAuthTokenManager;

/// Who has logged on with a token, and for how long. Never changes once it is made.
struct TZnHTTPServerAuthSession
{
    /// Who logged on.
    std::string UserName;
    /// What the account event, or the provider, said of that user.
    std::string RoleName;
    /// As the account event gave it; 0: it gave none.
    TDateTime PasswordExpiresOn = 0;
    TDateTime ExpiresOn = 0; // of the first period; a refresh doesn't move it
};

/// A browser's session, or the wish for one: a random id, which the browser keeps as a cookie, and
/// later on the user who proved a right to it.
///
///     waiting for a logon --Validate--> logged on --period over, used in the last 5 min--+
///        |                                |  ^                                           |
///        | 5 min                          |  +------------- RefreshToken ----------------+
///        v                                v
///     gone <--------- Terminate, or period over and not used in the last 5 min
///
/// Its waits run on the manager's timers, so a token costs memory only, about 650 bytes.
///
/// Threads:   every operation from any thread. RefreshToken runs on the thread of the timers, which
///            serves all tokens: an override must not block.
/// Ownership: the table and the timers hold it until its end; who has found it holds it as long as
///            needed. The manager has to outlive what an override uses of it.
class ZN_API TZnHTTPServerAuthToken : public TObject,
                                      public Zn::TimerEntry,
                                      public std::enable_shared_from_this<TZnHTTPServerAuthToken>
{
public:
    /// ARedirectUri: where the browser goes after its logon. On a server with https on port 443 it is made
    /// https, without a port.
    TZnHTTPServerAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager, const std::string& ARedirectUri);
    ~TZnHTTPServerAuthToken() override;

    /// Begins the life: waits 300000 ms for a logon. Called once, by the manager, when the token is in
    /// the table.
    void Start();

    /// 50 random characters: the cookie's value, and a secret.
    const std::string& GetTokenId() const { return FTokenId; }
    /// The page that was asked for, where the logon leads back to.
    const std::string& GetRedirectUri() const { return FRedirectUri; }

    /// Logs AUserName on for periods of AExpiresIn seconds, and wakes the wait. One step for every other
    /// thread: who sees Validated sees all of this logon.
    void Validate(const std::string& AUserName, const std::string& ARoleName,
                  TDateTime APasswordExpirationDate, std::int32_t AExpiresIn);
    /// The logon, all of it at one moment; empty before Validate.
    std::shared_ptr<const TZnHTTPServerAuthSession> GetSession() const;

    /// Somebody has logged on with it. Any thread.
    bool GetValidated() const { return GetSession() != nullptr; }
    /// Empty before the logon. Any thread.
    std::string GetUserName() const { return SessionValue(&TZnHTTPServerAuthSession::UserName); }
    /// Empty before the logon. Any thread.
    std::string GetRoleName() const { return SessionValue(&TZnHTTPServerAuthSession::RoleName); }
    /// 0 before the logon. Any thread.
    TDateTime GetPasswordExpiresOn() const
    {
        return SessionValue(&TZnHTTPServerAuthSession::PasswordExpiresOn);
    }
    /// The end of the session, local time; 0 before the logon. Any thread.
    TDateTime GetExpiresOn() const { return SessionValue(&TZnHTTPServerAuthSession::ExpiresOn); }

    /// The wait in ms: 300000, then the period. Negative for a period over 24 days: the wait takes it as an
    /// unsigned number.
    std::int32_t GetTimeOut() const;

    /// Notes a use.
    void Touch() { FLastUsed.exchange(TickCount()); }

    /// Setting it wakes the wait: the first one gives way to that of the period, later ones begin anew.
    std::shared_ptr<IZnSimpleEvent> GetTimeOutEvent();

    /// Ends the token: it leaves the table and the timers at once, but on their thread. One-way.
    void Terminate();
    /// It has ended: by logoff, time, or another token in its place. Any thread.
    bool GetTerminated() const { return FTerminated.load(); }

    /// A period is over and the token goes on.
    virtual void RefreshToken();

    /// For the timers: the end of a wait for a logon, or of a session.
    void OnTimer() noexcept final;

protected:
    TZnHTTPServerAuthTokenManager& GetTokenManager() const { return FTokenManager; }

private:
    class TimeOutEvent;

    std::int64_t TickCount() const { return static_cast<std::int64_t>(FTimers.Now()); }
    void Wake();
    void BeginWait(std::uint32_t AMilliseconds) ZN_REQUIRES(FLock);
    std::uint32_t PeriodWait() const ZN_REQUIRES(FLock);
    bool WaitIsOver();
    bool GoesOn();
    void Finish() noexcept;
    void LogLine(const char* AText) const;

    template <class T>
    T SessionValue(T TZnHTTPServerAuthSession::*AMember) const
    {
        const auto Session = GetSession();
        return Session ? (*Session).*AMember : T{};
    }

    TZnHTTPServerAuthTokenManager& FTokenManager;
    Zn::Timers& FTimers;
    std::shared_ptr<IZnHTTPServerAuthTokens> FTokens;
    std::shared_ptr<IZnLogger> FLogger;
    std::string FTokenId;
    std::string FRedirectUri;
    std::atomic<std::int64_t> FLastUsed;
    std::atomic<bool> FTerminated{false};

    mutable Zn::Mutex FLock; // order: before the timers' lock
    std::shared_ptr<const TZnHTTPServerAuthSession> FSession ZN_GUARDED_BY(FLock);
    std::weak_ptr<TimeOutEvent> FTimeOutEvent ZN_GUARDED_BY(FLock); // made when it is asked for
    std::uint64_t FWaitsUntil ZN_GUARDED_BY(FLock) = 0;             // by the timers' clock
    std::int32_t FTimeOut ZN_GUARDED_BY(FLock);
    bool FFirstWait ZN_GUARDED_BY(FLock) = true;
    bool FFinished ZN_GUARDED_BY(FLock) = false; // out of the table for good
};

/// Makes tokens of a class.
using TZnHTTPServerAuthTokenClass = std::function<std::shared_ptr<TZnHTTPServerAuthToken>(
    TZnHTTPServerAuthTokenManager& ATokenManager, const std::string& ARedirectUri)>;

/// The tokens of form logon.
ZN_API std::shared_ptr<TZnHTTPServerAuthToken> ZnMakeAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                                               const std::string& ARedirectUri);

namespace Zn
{

/// How logs name a token: its id is a secret, of which they tell the first eight characters.
std::string TokenIdForLog(const std::string& ATokenId);

} // namespace Zn
