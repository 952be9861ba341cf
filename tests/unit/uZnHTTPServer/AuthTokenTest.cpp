#include "uZnHTTPServer/AuthToken.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "tests/support/ManualTimers.h"
#include "uZnHTTPServer.h"

namespace
{

using TToken = std::shared_ptr<TZnHTTPServerAuthToken>;

constexpr std::uint64_t cFiveMinutes = 300'000; // ms
constexpr std::uint64_t cHour = 3'600'000;

class AuthToken : public testing::Test
{
protected:
    TToken Find(const std::string& AId) { return Manager.FindToken(AId); }
    TToken Request(const std::string& AUri = "http://h/a.html")
    {
        return Find(Manager.GenerateTokenRequest(ZnMakeAuthToken, AUri));
    }
    TToken LoggedOn(std::int32_t AExpiresIn = 3600)
    {
        TToken Token = Request();
        Token->Validate("ada", "Admin", 45'000.5, AExpiresIn);
        return Token;
    }
    int Count() { return Manager.GetTokens()->Count(); }

    Zn::ManualTimers Timers;
    TZnHTTPServer Server{nullptr};
    TZnHTTPServerAuthTokenManager Manager{Server, Timers};
};

TEST_F(AuthToken, EndsWhenNobodyLogsOnFor300Seconds)
{
    const TToken Token = Request("http://h:81/a.html?x=1");
    EXPECT_EQ(Token->GetTokenId().size(), 50U);
    EXPECT_EQ(Token->GetRedirectUri(), "http://h:81/a.html?x=1");
    EXPECT_EQ(Token->GetTimeOut(), 300'000);
    EXPECT_FALSE(Token->GetValidated());
    Token->Touch(); // a use is no logon
    Timers.Advance(cFiveMinutes - 1);
    EXPECT_EQ(Find(Token->GetTokenId()), Token);
    Timers.Advance(1);
    EXPECT_EQ(Find(Token->GetTokenId()), nullptr);
    EXPECT_TRUE(Token->GetTerminated());
    EXPECT_EQ(Timers.Count(), 0U);
    EXPECT_EQ(Token.use_count(), 1) << "somebody still holds a token that is gone";
}

TEST_F(AuthToken, ValidateRestartsTheWaitWithThePeriod)
{
    const TToken Token = Request();
    Timers.Advance(cFiveMinutes - 1);
    const TDateTime Before = Now();
    Token->Validate("ada", "Admin", 45'000.5, 3600);
    EXPECT_TRUE(Token->GetValidated());
    EXPECT_EQ(Token->GetUserName(), "ada");
    EXPECT_EQ(Token->GetRoleName(), "Admin");
    EXPECT_EQ(Token->GetPasswordExpiresOn(), 45'000.5);
    EXPECT_NEAR(Token->GetExpiresOn(), Before + 3600 / 86'400.0, 60 / 86'400.0);
    EXPECT_EQ(Token->GetTimeOut(), 3'600'000);
    Timers.Advance(cHour - 1);
    EXPECT_EQ(Count(), 1);
    Timers.Advance(1); // not used for an hour
    EXPECT_EQ(Count(), 0);
}

TEST_F(AuthToken, LooksAtTheLastFiveMinutesOfEachPeriod)
{
    const struct
    {
        const char* Name;
        std::uint64_t UsedAt; // ms before the period's end
        bool GoesOn;
    } Cases[] = {{"just now", 0, true},
                 {"five minutes ago", cFiveMinutes, true},
                 {"longer ago", cFiveMinutes + 1, false},
                 {"at its beginning only", cHour, false}};
    for (const auto& Case : Cases) {
        const TToken Token = LoggedOn();
        const TDateTime ExpiresOn = Token->GetExpiresOn();
        Timers.Advance(cHour - Case.UsedAt - (Case.UsedAt == 0 ? 1 : 0));
        Token->Touch();
        Timers.Advance(Case.UsedAt + (Case.UsedAt == 0 ? 1 : 0));
        EXPECT_EQ(Count(), Case.GoesOn ? 1 : 0) << Case.Name;
        EXPECT_EQ(Token->GetExpiresOn(), ExpiresOn) << "a refresh moved it";
        Timers.Advance(cHour); // nobody comes again
        EXPECT_EQ(Count(), 0) << Case.Name;
    }
}

TEST_F(AuthToken, TakesTheLongestPeriodAsAWaitOf49Days)
{
    const TToken Token = LoggedOn(2'147'483'647);
    EXPECT_EQ(Token->GetTimeOut(), -1000);
    EXPECT_NEAR(Token->GetExpiresOn() - Now(), 24'855.13, 0.01);
    Timers.Advance(4'294'966'295);
    EXPECT_EQ(Count(), 1);
    Timers.Advance(1);
    EXPECT_EQ(Count(), 0);
}

TEST_F(AuthToken, APeriodOfNoTimeKeepsNobodyBusy)
{
    const TToken Token = LoggedOn(0);
    int Calls = 0;
    Timers.BeforeCall = [&] { ++Calls; };
    Timers.Advance(10'000);
    EXPECT_LE(Calls, 10);
    EXPECT_EQ(Count(), 1); // used at its creation, which is less than five minutes ago
}

TEST_F(AuthToken, LeavesTheTableOnTheTimersThread)
{
    const TToken Token = LoggedOn();
    Token->Terminate();
    Token->Terminate();
    EXPECT_EQ(Count(), 1); // still leaving
    EXPECT_TRUE(Token->GetTerminated());
    Token->Validate("eve", "Admin", 0, 3600); // too late
    Timers.Advance();
    EXPECT_EQ(Count(), 0);
    EXPECT_EQ(Timers.Count(), 0U);
}

TEST_F(AuthToken, AWakeAtTheVeryEndOfAWaitCounts)
{
    const TToken Token = Request();
    Timers.BeforeCall = [&] {
        Timers.BeforeCall = {};
        Token->Validate("ada", "", 0, 3600);
    };
    Timers.Advance(cFiveMinutes);
    EXPECT_EQ(Count(), 1) << "the logon came in time and was lost";
    Timers.Advance(cHour);
    EXPECT_EQ(Count(), 0);
}

TEST_F(AuthToken, ItsEventEndsTheFirstWaitAndRestartsLaterOnes)
{
    const TToken Token = Request();
    const std::shared_ptr<IZnSimpleEvent> Event = Token->GetTimeOutEvent();
    Timers.Advance(cFiveMinutes - 1);
    Event->SetEvent();
    EXPECT_EQ(Event->WaitFor(0), wrTimeout) << "the wait takes the signal";
    Timers.Advance(cFiveMinutes - 1);
    EXPECT_EQ(Count(), 1);
    Timers.Advance(1);
    EXPECT_EQ(Count(), 0);
    Event->SetEvent(); // of a token that is gone
    EXPECT_EQ(Timers.Count(), 0U);
}

TEST_F(AuthToken, ClearAndTheManagersEndTerminateAllTokens)
{
    const TToken Kept = LoggedOn();
    Request();
    const auto Table = Manager.GetTokens();
    Table->Clear();
    EXPECT_EQ(Table->Count(), 2);
    Timers.Advance();
    EXPECT_EQ(Table->Count(), 0);

    std::weak_ptr<IZnHTTPServerAuthTokens> OtherTable;
    {
        TZnHTTPServerAuthTokenManager Other(Server, Timers);
        OtherTable = Other.GetTokens();
        Other.GenerateTokenRequest(ZnMakeAuthToken, "");
    }
    EXPECT_FALSE(OtherTable.expired()) << "the table outlives the manager until its last token has gone";
    Timers.Advance();
    EXPECT_TRUE(OtherTable.expired());
}

/// Raises where the base class logs.
class TBrokenToken : public TZnHTTPServerAuthToken
{
public:
    using TZnHTTPServerAuthToken::TZnHTTPServerAuthToken;
    void RefreshToken() override { throw Exception("no refresh"); }
};

TEST_F(AuthToken, LogsItsLifeAndItsFailures)
{
    std::vector<std::string> Lines;
    TZnLogger::SetSink([&](const TZnLogLine& ALine) {
        EXPECT_EQ(ALine.Logger, "Tokens.AuthManager");
        Lines.emplace_back(ALine.Text);
    });
    const TZnLogLevel Level = TZnLogger::GetLevel();
    TZnLogger::SetLevel(TZnLogLevel::Debug);
    Manager.SetLogger(TZnLogger::GetLogger("Tokens")->Child("AuthManager"));

    const std::string Id = Manager.GenerateTokenRequest(
        [](auto& AManager, const auto& AUri) { return std::make_shared<TBrokenToken>(AManager, AUri); },
        "/x");
    const std::string Shown = "(" + Id.substr(0, 8) + "...)";
    Find(Id)->Validate("ada", "", 0, 3600);
    Timers.Advance(cHour - 1);
    Find(Id)->Touch();
    Timers.Advance(1);
    Find(Id);
    TZnLogger::SetSink({});
    TZnLogger::SetLevel(Level);

    ASSERT_EQ(Lines.size(), 6U);
    EXPECT_EQ(Lines[0], "AuthToken Created " + Shown);
    EXPECT_EQ(Lines[1], "AuthTokenRequest Generated for /x " + Shown);
    EXPECT_EQ(Lines[2], "AuthToken Validated " + Shown);
    EXPECT_NE(Lines[3].find("TokenError"), std::string::npos) << Lines[3];
    EXPECT_EQ(Lines[4], "AuthToken Destroyed " + Shown);
    EXPECT_EQ(Lines[5], "AuthToken not found " + Shown);
}

TEST_F(AuthToken, TheLimitEndsTheOldestThatNobodyLoggedOnWith)
{
    Manager.SetMaxTokens(3);
    const TToken First = LoggedOn();
    const TToken Second = Request();
    const TToken Third = Request();
    const TToken Fourth = Request();
    EXPECT_EQ(Find(Second->GetTokenId()), nullptr);
    EXPECT_TRUE(Second->GetTerminated());
    Third->Validate("bob", "", 0, 3600);
    Fourth->Validate("eve", "", 0, 3600);
    try {
        Request();
        FAIL() << "a fourth user";
    } catch (const EZnHTTPException& E) {
        EXPECT_EQ(E.GetErrorCode(), 503);
    }
    EXPECT_EQ(Count(), 3);
    Third->Terminate();
    Timers.Advance();
    Request();
    EXPECT_EQ(Count(), 3);
    for (const TToken& Token : {First, Fourth})
        EXPECT_EQ(Find(Token->GetTokenId()), Token);
}

TEST_F(AuthToken, IsFoundByItsExactIdOnly)
{
    const TToken Token = Request();
    std::string Wrong = Token->GetTokenId();
    Wrong[49] = Wrong[49] == 'a' ? 'A' : 'a';
    for (const std::string& Id : {Wrong, Wrong.substr(0, 49), Token->GetTokenId() + "a", std::string()})
        EXPECT_EQ(Find(Id), nullptr);
    TToken Found;
    EXPECT_TRUE(Manager.FindToken(Token->GetTokenId(), Found));
    EXPECT_EQ(Found, Token);
    EXPECT_FALSE(Manager.FindToken(Wrong, Found));
    EXPECT_EQ(Found, nullptr);
}

/// Requests read while others log on: who sees a user sees the role and dates of the same logon.
TEST(AuthTokenThreads, ValidateIsOneStepForReaders)
{
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerAuthTokenManager& Manager = Server.GetAuthTokenManager();
    const TToken Token = Manager.FindToken(Manager.GenerateTokenRequest(ZnMakeAuthToken, "/"));
    std::atomic<bool> Done{false};
    std::vector<std::thread> Readers;
    for (int i = 0; i < 2; ++i) {
        Readers.emplace_back([&] {
            while (!Done.load()) {
                Token->Touch();
                if (const auto Session = Token->GetSession()) {
                    ASSERT_EQ(Session->UserName, Session->RoleName);
                    ASSERT_EQ(Session->PasswordExpiresOn, static_cast<double>(Session->UserName.size()));
                }
            }
        });
    }
    for (int i = 1; i <= 3000; ++i) {
        const std::string Name(static_cast<std::size_t>(i % 50), 'x');
        Token->Validate(Name, Name, static_cast<double>(Name.size()), 3600);
    }
    Done = true;
    for (std::thread& Reader : Readers)
        Reader.join();
}

/// Tokens are made, found, logged on and ended by many threads; in the end the table is empty.
TEST(AuthTokenThreads, EndWhileOthersUseThem)
{
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerAuthTokenManager& Manager = Server.GetAuthTokenManager();
    std::vector<std::thread> Threads;
    for (int i = 0; i < 4; ++i) {
        Threads.emplace_back([&] {
            for (int Round = 0; Round < 500; ++Round) {
                const std::string Id = Manager.GenerateTokenRequest(ZnMakeAuthToken, "/");
                if (const TToken Token = Manager.FindToken(Id)) {
                    Token->Validate("ada", "", 0, Round % 2);
                    Token->Touch();
                    Token->Terminate();
                    EXPECT_EQ(Token->GetUserName(), "ada");
                }
            }
        });
    }
    for (std::thread& Each : Threads)
        Each.join();
    // The timers' thread works through its list in order: behind a token that has gone all have.
    TSimpleEvent Gone;
    struct Fence : Zn::TimerEntry
    {
        explicit Fence(TSimpleEvent& AEvent) : Event(AEvent) {}
        void OnTimer() noexcept override { Event.SetEvent(); }
        TSimpleEvent& Event;
    };
    Zn::TimerService::Shared().Schedule(std::make_shared<Fence>(Gone), 1);
    ASSERT_EQ(Gone.WaitFor(30'000), wrSignaled);
    EXPECT_EQ(Manager.GetTokens()->Count(), 0);
}

} // namespace
