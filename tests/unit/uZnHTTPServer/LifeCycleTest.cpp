#include "uZnHTTPServer/Server.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPServer/ApiBinding.h"

namespace
{

using Calls = std::vector<std::string>;

/// Each test in the version it names; the version is the process's.
class LifeCycle : public testing::TestWithParam<TZnHTTPServerVersion>
{
protected:
    void SetUp() override { Server.SetServerVersion(GetParam()); }
    void TearDown() override
    {
        Server.SetActive(false);
        Server.SetServerVersion(HTTPServerV1);
    }

    ScriptedService Service;
    TZnHTTPServer Server{nullptr};
};

INSTANTIATE_TEST_SUITE_P(Versions, LifeCycle, testing::Values(HTTPServerV1, HTTPServerV2),
                         [](const auto& Info) { return Info.param == HTTPServerV1 ? "V1" : "V2"; });

const Calls OpenAndCloseV1{
    "HttpInitialize 1 3",
    "HttpCreateHttpHandle",
    "HttpAddUrl http://host:81/a/",
    "HttpAddUrl https://host:443/",
    "HttpRemoveUrl HTTP://Host:81/A/",
    "HttpRemoveUrl https://host:443/",
    "HttpTerminate 3",
};

const Calls OpenAndCloseV2{
    "HttpInitialize 2 3",
    "HttpCreateServerSession",
    "HttpCreateUrlGroup",
    "HttpAddUrlToUrlGroup http://host:81/a/",
    "HttpAddUrlToUrlGroup https://host:443/",
    "HttpCreateRequestQueue SiteReqQueue 2",
    "HttpSetRequestQueueProperty 5=0",
    "HttpSetRequestQueueProperty 6=2",
    "HttpSetRequestQueueProperty 4=10",
    "HttpSetUrlGroupProperty 7",
    "HttpRemoveUrlFromUrlGroup HTTP://Host:81/A/",
    "HttpRemoveUrlFromUrlGroup https://host:443/",
    "HttpCloseUrlGroup 12",
    "HttpCloseServerSession 11",
    "HttpCloseRequestQueue",
    "HttpTerminate 3",
};

TEST_P(LifeCycle, OpensAndClosesInOrderAsOftenAsAsked)
{
    const Calls& Expected = GetParam() == HTTPServerV1 ? OpenAndCloseV1 : OpenAndCloseV2;
    Server.SetName("Site");
    Server.SetBindings({"HTTP://Host:81/A/", "https://host:443/"});
    Calls Seen;
    for (int Round = 0; Round < 2; ++Round) {
        Server.SetActive(true);
        Server.SetActive(true);
        EXPECT_TRUE(Server.GetActive());
        EXPECT_EQ(Service.OpenHandles(), 1U);
        Server.SetActive(false);
        Server.SetActive(false);
        EXPECT_FALSE(Server.GetActive());
        Seen.insert(Seen.end(), Expected.begin(), Expected.end());
        EXPECT_EQ(Service.Calls(), Seen);
        EXPECT_EQ(Service.OpenHandles(), 0U);
    }
    EXPECT_EQ(Server.GetSSLModes(), TZnHTTPServerSSLModes{ssmDefaultSSL});
}

TEST_P(LifeCycle, AFailureAtAnyCallLeavesNothingBehind)
{
    Server.SetBindings({"http://host:81/a/", "http://host:82/b/"});
    const int Count = GetParam() == HTTPServerV1 ? 4 : 10;
    for (int Failing = 0; Failing < Count; ++Failing) {
        ScriptedService Failure;
        Failure.FailCall = Failing;
        try {
            Server.SetActive(true);
            ADD_FAILURE() << "call " << Failing;
        } catch (const EZnHTTPException& E) {
            EXPECT_EQ(E.GetErrorCode(), 5) << Failing;
            EXPECT_EQ(E.Message(), "System Error: " + SysErrorText(5) + "!") << Failing;
        }
        EXPECT_FALSE(Server.GetActive()) << Failing;
        EXPECT_EQ(Failure.OpenHandles(), 0U) << Failing;
        EXPECT_FALSE(Zn::HttpApiInitialised()) << Failing;
        Server.SetServerVersion(GetParam());
    }
    // Nothing of the failures stands in the way of the next activation.
    Server.SetActive(true);
    Server.SetOnResponse([](auto&&...) {});
    EXPECT_EQ(Service.Ask().Head().Status, 200);
}

TEST_P(LifeCycle, AMissingFunctionIsNamed)
{
    for (const char* Name :
         {"HttpInitialize", "HttpTerminate", "HttpReceiveHttpRequest", "HttpWaitForDisconnectEx"}) {
        ScriptedService Service2({Name});
        try {
            Server.SetActive(true);
            ADD_FAILURE() << Name;
        } catch (const EAssertionFailed& E) {
            EXPECT_EQ(E.Message(), std::string("There is no function ") + Name + " in Httpapi.dll.");
        }
        EXPECT_FALSE(Zn::HttpApiInitialised());
    }
    const char* const Foreign =
        GetParam() == HTTPServerV1 ? "HttpCreateServerSession" : "HttpCreateHttpHandle";
    ScriptedService Service3({Foreign, "ZnHttpDropRequest"}); // of the other version; optional
    Server.SetActive(true);
    EXPECT_TRUE(Server.GetActive());
    Server.SetActive(false);
}

TEST_P(LifeCycle, TwoServersShareTheLibraryAndTheVersion)
{
    TZnHTTPServer Other(nullptr);
    Server.SetActive(true);
    Other.SetActive(true);
    EXPECT_THROW(Other.SetServerVersion(HTTPServerV1), Exception);
    Server.SetActive(false);
    EXPECT_THROW(Server.SetServerVersion(HTTPServerV1), Exception);
    Other.SetActive(false);
    const Calls Seen = Service.Calls();
    EXPECT_EQ(std::count(Seen.begin(), Seen.end(), Seen.front()), 1);
    EXPECT_EQ(Seen.back(), "HttpTerminate 3");
}

TEST(Server, RefusesToStartWithoutBindings)
{
    ScriptedService Service;
    TZnHTTPServer Server(nullptr);
    Server.SetBindings({});
    try {
        Server.SetActive(true);
        FAIL();
    } catch (const Exception& E) {
        EXPECT_EQ(E.Message(), "No bindings defined!");
    }
    EXPECT_TRUE(Service.Calls().empty());
}

TEST(Server, OfTwoHandlersTheLastOneSetStays)
{
    TZnHTTPServer Server(nullptr);
    Server.SetOnResponse([](auto&&...) {});
    Server.SetOnResponseRaw([](auto&&...) {});
    EXPECT_FALSE(Server.GetOnResponse());
    Server.SetOnResponse([](auto&&...) {});
    EXPECT_FALSE(Server.GetOnResponseRaw());
}

TEST(Server, TellsDefaultFromCustomSSL)
{
    ScriptedService Service;
    TZnHTTPServer Server(nullptr);
    Server.SetBindings({"https://host:8443/"});
    Server.SetActive(true);
    EXPECT_EQ(Server.GetSSLModes(), TZnHTTPServerSSLModes{ssmCustomSSL});
    Server.SetActive(false);
    Server.SetBindings({"https://host/"});
    Server.SetActive(true);
    EXPECT_EQ(Server.GetSSLModes(), (TZnHTTPServerSSLModes{ssmDefaultSSL, ssmCustomSSL}));
    Server.SetActive(false);
}

} // namespace
