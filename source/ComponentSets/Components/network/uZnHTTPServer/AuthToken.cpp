#include "uZnHTTPServer/AuthToken.h"

#include <algorithm>
#include <utility>

#include "common/Exceptions.h"
#include "uZnHTTPBase.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/AuthTokens.h"
#include "uZnHTTPServer/RandomToken.h"

namespace
{

constexpr std::int32_t cUnvalidatedWait = 300'000; // ms
constexpr std::int64_t cIdleLimit = 300'000;       // ms before the end of a period
constexpr double cSecondsPerDay = 86'400;

/// A period of no time would keep the timers busy with one token.
constexpr std::uint32_t cShortestWait = 1'000; // ms

/// The page to return to. Where https on its own port is served, what was asked for by another way
/// continues there.
std::string RedirectUriFor(const TZnHTTPServerAuthTokenManager& AManager, const std::string& AUri)
{
    if (!AManager.ServesDefaultSSL() || AUri.empty() || AUri == "about:blank")
        return AUri;
    const TZnURLData Url = TZnURLData::Create(AUri);
    return "https://" + Url.Hostname + Url.Resource;
}

} // namespace

/// An event whose setting also wakes the token.
class TZnHTTPServerAuthToken::TimeOutEvent final : public TZnSimpleEvent
{
public:
    explicit TimeOutEvent(std::weak_ptr<TZnHTTPServerAuthToken> AToken) : FToken(std::move(AToken)) {}

    void SetEvent() override
    {
        TZnSimpleEvent::SetEvent();
        if (const auto Token = FToken.lock())
            Token->Wake();
    }

private:
    const std::weak_ptr<TZnHTTPServerAuthToken> FToken;
};

TZnHTTPServerAuthToken::TZnHTTPServerAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                               const std::string& ARedirectUri)
    : FTokenManager(ATokenManager),
      FTimers(ATokenManager.GetTimers()),
      FTokens(ATokenManager.GetTokens()),
      FLogger(ATokenManager.GetLogger()),
      FTokenId(GenerateRandomToken()),
      FRedirectUri(RedirectUriFor(ATokenManager, ARedirectUri)),
      FLastUsed(TickCount()),
      FTimeOut(cUnvalidatedWait)
{
    LogLine("Created");
}

TZnHTTPServerAuthToken::~TZnHTTPServerAuthToken()
{
    FTokens.reset();
    LogLine("Destroyed");
}

void TZnHTTPServerAuthToken::Start()
{
    const Zn::MutexLock Guard(FLock);
    // Validate or Terminate may have come already.
    if (FFirstWait && !FTerminated)
        BeginWait(static_cast<std::uint32_t>(FTimeOut));
}

// --- What other threads do -----------------------------------------------------------------------

void TZnHTTPServerAuthToken::Validate(const std::string& AUserName, const std::string& ARoleName,
                                      TDateTime APasswordExpirationDate, std::int32_t AExpiresIn)
{
    LogLine("Validated");
    auto Session = std::make_shared<TZnHTTPServerAuthSession>(TZnHTTPServerAuthSession{
        AUserName, ARoleName, APasswordExpirationDate, Now() + AExpiresIn / cSecondsPerDay});
    {
        const Zn::MutexLock Guard(FLock);
        FSession = std::move(Session);
        // 32 bits, which wrap: the longest period becomes a wait of 49.7 days.
        FTimeOut = static_cast<std::int32_t>(static_cast<std::uint32_t>(AExpiresIn) * 1000U);
    }
    Wake();
}

std::shared_ptr<const TZnHTTPServerAuthSession> TZnHTTPServerAuthToken::GetSession() const
{
    const Zn::MutexLock Guard(FLock);
    return FSession;
}

std::int32_t TZnHTTPServerAuthToken::GetTimeOut() const
{
    const Zn::MutexLock Guard(FLock);
    return FTimeOut;
}

std::shared_ptr<IZnSimpleEvent> TZnHTTPServerAuthToken::GetTimeOutEvent()
{
    const Zn::MutexLock Guard(FLock);
    auto Event = FTimeOutEvent.lock();
    if (!Event) {
        Event = std::make_shared<TimeOutEvent>(weak_from_this());
        FTimeOutEvent = Event;
    }
    return Event;
}

void TZnHTTPServerAuthToken::Terminate()
{
    FTerminated = true;
    const Zn::MutexLock Guard(FLock);
    BeginWait(0);
}

/// What waited waits anew, for the period from now on.
void TZnHTTPServerAuthToken::Wake()
{
    const Zn::MutexLock Guard(FLock);
    FFirstWait = false;
    if (FTerminated)
        return;
    BeginWait(PeriodWait());
    if (const auto Event = FTimeOutEvent.lock())
        Event->ResetEvent();
}

// --- The life of a token, on the thread of the timers ---------------------------------------------

void TZnHTTPServerAuthToken::OnTimer() noexcept
{
    bool Ends = true;
    try {
        if (!WaitIsOver())
            return; // woken just when its time was up: it waits anew already
        Ends = !GoesOn();
    } catch (const std::exception& E) {
        if (FLogger)
            FLogger->Exception(E, "TokenError");
    } catch (...) {
        if (FLogger)
            FLogger->Exception(::Exception("unknown exception"), "TokenError");
    }
    if (Ends)
        Finish();
}

bool TZnHTTPServerAuthToken::WaitIsOver()
{
    const Zn::MutexLock Guard(FLock);
    return FTerminated || FTimers.Now() >= FWaitsUntil;
}

/// At the end of a wait. True: the token waits for another period.
bool TZnHTTPServerAuthToken::GoesOn()
{
    if (FTerminated)
        return false;
    {
        const Zn::MutexLock Guard(FLock);
        if (FFirstWait) {
            FTerminated = true; // nobody logged on, and from here on it is too late
            return false;
        }
    }
    // A clock that has gone round gives a negative difference: used just now.
    if (TickCount() - FLastUsed.load() > cIdleLimit) {
        FTerminated = true;
        return false;
    }
    RefreshToken();
    const Zn::MutexLock Guard(FLock);
    if (FTerminated)
        return false;
    BeginWait(PeriodWait());
    return true;
}

void TZnHTTPServerAuthToken::RefreshToken()
{
    LogLine("Refreshed");
}

void TZnHTTPServerAuthToken::Finish() noexcept
{
    FTerminated = true;
    {
        const Zn::MutexLock Guard(FLock);
        if (std::exchange(FFinished, true))
            return;
    }
    FTimers.Cancel(*this); // a wake that came too late
    FTokens->Removetoken(FTokenId);
}

void TZnHTTPServerAuthToken::BeginWait(std::uint32_t AMilliseconds)
{
    if (FFinished)
        return;
    FWaitsUntil = FTimers.Now() + AMilliseconds;
    FTimers.Schedule(shared_from_this(), AMilliseconds);
}

std::uint32_t TZnHTTPServerAuthToken::PeriodWait() const
{
    return std::max(static_cast<std::uint32_t>(FTimeOut), cShortestWait);
}

void TZnHTTPServerAuthToken::LogLine(const char* AText) const
{
    if (FLogger && FLogger->IsEnabled(TZnHTTPServerAuthTokenManager::cLogInfo))
        FLogger->Log(TZnHTTPServerAuthTokenManager::cLogInfo,
                     std::string("AuthToken ") + AText + " (" + Zn::TokenIdForLog(FTokenId) + ")");
}

std::shared_ptr<TZnHTTPServerAuthToken> ZnMakeAuthToken(TZnHTTPServerAuthTokenManager& ATokenManager,
                                                        const std::string& ARedirectUri)
{
    return std::make_shared<TZnHTTPServerAuthToken>(ATokenManager, ARedirectUri);
}

namespace Zn
{

std::string TokenIdForLog(const std::string& ATokenId)
{
    constexpr std::size_t cShown = 8; // 47 of 299 bits
    return ATokenId.size() > cShown ? ATokenId.substr(0, cShown) + "..." : ATokenId;
}

} // namespace Zn
