#include "uZnWinHTTP.h"

#include <gtest/gtest.h>

#include "ScriptedWinhttp.h"

// Connections, sessions, and who may go before whom.

namespace
{

struct LifeCycle : testing::Test
{
    ScriptedWinhttp Script;
    TZnWinHTTPSession Session{nullptr};
    std::unique_ptr<TZnWinHTTPClient> Client = std::make_unique<TZnWinHTTPClient>(nullptr);

    LifeCycle() { Client->SetSession(&Session); }

    /// Connections opened by a GET.
    std::ptrdiff_t ConnectionsOpenedFor(const std::string& AURL)
    {
        Script.TakeCalls();
        Client->Request(httpGET, AURL, false);
        return CountOf("Connect ");
    }
    std::ptrdiff_t CountOf(std::string_view ABeginning)
    {
        return std::ranges::count_if(Script.TakeCalls(),
                                     [&](auto& AEach) { return AEach.starts_with(ABeginning); });
    }
};

} // namespace

TEST_F(LifeCycle, ConnectionIsReusedForTheSameHostAndTimeOut)
{
    EXPECT_EQ(ConnectionsOpenedFor("http://h/"), 1);
    EXPECT_EQ(ConnectionsOpenedFor("https://h:99/"), 0) << "port and scheme don't count";
    Client->GetTimeOuts().SetConnectTimeOut(5);
    EXPECT_EQ(ConnectionsOpenedFor("http://h/"), 1);
    EXPECT_EQ(ConnectionsOpenedFor("http://H/"), 1);
    EXPECT_EQ(ConnectionsOpenedFor("http://h/"), 1);
    EXPECT_EQ(Session.GetConnections().Count(), 1);
    TZnWinHTTPClient Other(nullptr);
    Other.SetSession(&Session);
    Other.Request(httpGET, "http://h/", false);
    EXPECT_EQ(Session.GetConnections().Count(), 2) << "each client has its own";
    Client.reset();
    EXPECT_EQ(Session.GetConnections().Count(), 1);
}

TEST_F(LifeCycle, FailedAndClosingRequestsLeaveNoConnection)
{
    Script.Responses = {{.Error = 12030}};
    EXPECT_THROW(Client->Request(httpGET, "http://h/", false), EZnHTTPConnect);
    EXPECT_EQ(Session.GetConnections().Count(), 0);
    Client->GetRequestHeaders().SetConnection(ctClose);
    Script.Responses = {{.Body = {"still readable"}}};
    auto Response = Client->Request(httpGET, "http://h/", false);
    EXPECT_EQ(Response->GetResponse(), "still readable");
    Response.reset();
    EXPECT_EQ(Session.GetConnections().Count(), 0);
    EXPECT_EQ(Script.OpenHandles(), 1U) << "the session";
}

TEST_F(LifeCycle, HeldResponseKeepsItsConnectionOpen)
{
    Script.Responses = {{.Body = {"first"}}};
    auto Response = Client->Request(httpGET, "http://a/", false);
    Client->Request(httpGET, "http://b/", false);
    EXPECT_EQ(CountOf("CloseHandle C1"), 0);
    Response.reset();
    EXPECT_EQ(CountOf("CloseHandle C1"), 1);
}

TEST_F(LifeCycle, ResponseOutlivesItsClient)
{
    Script.Responses = {{.Body = {"a", "b"}}};
    int Pieces = 0;
    Client->SetOnProgress([&](TObject*, TStream*, std::int64_t, std::int64_t) { ++Pieces; });
    const auto Response = Client->Request(httpGET, "http://h/", false);
    Client.reset();
    EXPECT_EQ(Response->GetResponse(), "ab");
    EXPECT_EQ(Pieces, 0) << "nobody is left to be told";
}

TEST_F(LifeCycle, RequestOfAClientThatIsGoneAborts)
{
    const auto Request = Client->PrepareRequest(httpGET, "http://h/", nullptr, "");
    Client.reset();
    EXPECT_THROW(Request->SendRequest(), EAbort);
    EXPECT_EQ(Script.SendCount(), 0);
}

TEST_F(LifeCycle, ClosingTheSessionClosesAllOnceAndEndsWhatIsUnderWay)
{
    Script.Responses = {{.Body = {"a"}}, {.Error = 12017}};
    const auto Held = Client->Request(httpGET, "http://h/", false);
    const auto Waiting = Client->PrepareRequest(httpGET, "http://h/", nullptr, "");
    Script.DuringSend = [&] { Session.Close(); };
    Script.TakeCalls();
    EXPECT_THROW(Client->Request(httpGET, "http://h/", false), EAbort);
    Script.DuringSend = nullptr;
    const auto All = Script.TakeCalls();
    const auto First = std::ranges::find(All, "CloseHandle R2");
    ASSERT_NE(First, All.end());
    EXPECT_EQ(std::vector(First, All.end()), (std::vector<std::string>{"CloseHandle R2", "CloseHandle R1",
                                                                       "CloseHandle C1", "CloseHandle S1"}));
    EXPECT_THROW(Held->GetResponse(), EAbort);
    EXPECT_THROW(Waiting->SendRequest(), EAbort);
    EXPECT_FALSE(Session.GetActive());
    EXPECT_NO_THROW(Client->Request(httpGET, "http://h/", false)) << "opens it anew";
}

TEST_F(LifeCycle, SessionClosedBetweenTwoCallsAbortsToo)
{
    Client->SetOnRequest([&](TObject*, auto&) { Session.Close(); });
    EXPECT_THROW(Client->Request(httpGET, "http://h/", false), EAbort);
    EXPECT_EQ(Script.OpenHandles(), 0U);
    EXPECT_EQ(Script.SendCount(), 0);
}

TEST_F(LifeCycle, SessionClosedBetweenTwoReadsAbortsToo)
{
    Script.Responses = {{.Body = {"a", "b"}}};
    const auto Response = Client->Request(httpGET, "http://h/", false);
    Script.DuringRead = [&] { Session.Close(); };
    EXPECT_THROW(Response->GetResponse(), EAbort);
}

TEST_F(LifeCycle, CancelEndsTheSendAndLeavesNothing)
{
    const auto Request = Client->PrepareRequest(httpGET, "http://h/", nullptr, "");
    Request->CancelRequest(); // nothing is under way
    EXPECT_NO_THROW(Request->SendRequest());
    Script.Responses = {{.Error = 12017}};
    Script.DuringSend = [&] { Request->CancelRequest(); };
    EXPECT_THROW(Request->SendRequest(), EAbort) << "and a request may be sent again";
    EXPECT_EQ(Script.OpenHandles(), 2U) << "session and connection";
}

TEST_F(LifeCycle, SessionThatIsFreedIsForgotten)
{
    auto Shared = std::make_unique<TZnWinHTTPSession>(nullptr);
    Client->SetSession(Shared.get());
    const auto Response = Client->Request(httpGET, "http://h/", false);
    const auto Request = Client->PrepareRequest(httpGET, "http://h/", nullptr, "");
    Shared.reset();
    EXPECT_EQ(Script.OpenHandles(), 0U);
    EXPECT_THROW(Response->GetResponse(), EAbort);
    EXPECT_THROW(Request->SendRequest(), EAbort);
    EXPECT_NE(&Client->GetWinHTTPSession(), &Session) << "a new one of its own";
}

TEST_F(LifeCycle, ProxyAndAccessTypeFollowEachOther)
{
    Session.SetProxyServer("p:1");
    EXPECT_EQ(Session.GetAccessType(), atProxy);
    Session.SetAccessType(atDirect);
    EXPECT_THROW(Session.Open(), EZnWinHTTPInvalidArgument);
    Session.SetAccessType(atDefault);
    EXPECT_EQ(Session.GetProxyServer(), "");
    Session.SetAccessType(atProxy);
    EXPECT_THROW(Session.Open(), EZnWinHTTPInvalidArgument);
}

TEST_F(LifeCycle, FrontsFindTheTransportThatWasLinked)
{
    EXPECT_THROW(TZnHTTPClient(false), EZnHTTPInvalidArgument);
    const auto Shared = std::make_shared<TZnHTTPSession>(true);
    const auto Front = std::make_shared<TZnHTTPClient>(true);
    Front->SetSession(Shared);
    Shared->SetUserAgent("mine");
    Front->Request(httpGET, "http://h/", true);
    EXPECT_TRUE(Script.TakeCalls()[0].starts_with("Open mine "));
    EXPECT_TRUE(Shared->GetActive());
    EXPECT_EQ(dynamic_cast<TZnWinHTTPClient&>(*Front->GetAsComponent()).GetSession()->GetUserAgent(), "mine");
    struct OtherSession : TZnWinHTTPSession
    {
        using TZnWinHTTPSession::TZnWinHTTPSession;
        TObject* Implementor() override { return nullptr; }
    };
    EXPECT_THROW(Front->SetSession(std::make_shared<OtherSession>(nullptr)), EZnWinHTTPInvalidArgument);
    Front->SetSession(nullptr);
    EXPECT_NE(Front->GetSession()->GetUserAgent(), "mine");
}
