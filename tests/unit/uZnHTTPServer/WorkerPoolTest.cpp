#include "uZnHTTPServer/WorkerPool.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Exceptions.h"

namespace
{

/// Holds handlers until it is opened.
class Gate
{
public:
    void Enter()
    {
        std::unique_lock Lock(FMutex);
        ++FInside;
        FChanged.notify_all();
        FChanged.wait(Lock, [this] { return FOpen; });
    }
    void AwaitInside(int ACount)
    {
        std::unique_lock Lock(FMutex);
        ASSERT_TRUE(FChanged.wait_for(Lock, std::chrono::seconds(60), [&] { return FInside >= ACount; }));
    }
    void Open()
    {
        const std::scoped_lock Lock(FMutex);
        FOpen = true;
        FChanged.notify_all();
    }

private:
    std::mutex FMutex;
    std::condition_variable FChanged;
    int FInside = 0;
    bool FOpen = false;
};

class WorkerPool : public testing::Test
{
protected:
    ScriptedService Service;
    TZnHTTPServer Server{nullptr};
    Gate Hold;
};

TEST_F(WorkerPool, TheRequestBeyondTheLimitIsRefusedAndTheNextOneReusesAWorker)
{
    Server.SetOnResponse([&](auto&&...) { Hold.Enter(); });
    Server.SetActive(true);
    std::vector<HTTP_REQUEST_ID> Busy;
    for (int At = 0; At < 128; ++At)
        Busy.push_back(Service.Push());
    Hold.AwaitInside(128);
    const Exchange Refused = Service.Ask();
    ASSERT_EQ(Refused.Calls.size(), 1U);
    EXPECT_EQ(Refused.Head().Status, 503);
    EXPECT_EQ(Refused.Head().Reason, "Server resources exhausted... Try again later.");
    EXPECT_EQ(Refused.Head().Flags, 1U);
    EXPECT_FALSE(Refused.Dropped);
    Hold.Open();
    for (const HTTP_REQUEST_ID Id : Busy)
        EXPECT_EQ(Service.Await(Id).Head().Status, 200);
    EXPECT_EQ(Service.Ask().Head().Status, 200);
}

TEST_F(WorkerPool, IdleWorkersComeBackFirstInFirstOut)
{
    std::mutex Mutex;
    std::vector<std::thread::id> Order;
    Server.SetOnResponse([&](auto&&...) {
        {
            const std::scoped_lock Lock(Mutex);
            Order.push_back(std::this_thread::get_id());
        }
        Hold.Enter();
    });
    Server.SetActive(true);
    const HTTP_REQUEST_ID First = Service.Push();
    Service.Push();
    Service.Push();
    Hold.AwaitInside(3);
    Hold.Open();
    Service.Await(First);
    const auto AwaitAllIdle = [&] {
        while (Server.GetIdleWorkerCount() < 3)
            std::this_thread::yield();
    };
    for (int At = 0; At < 9; ++At) {
        AwaitAllIdle();
        Service.Ask();
    }
    AwaitAllIdle();
    EXPECT_EQ(Server.GetWorkerCount(), 3U);
    EXPECT_EQ(std::set<std::thread::id>(Order.begin(), Order.end()).size(), 3U);
    for (std::size_t At = 3; At + 3 < Order.size(); ++At)
        EXPECT_EQ(Order[At], Order[At + 3]) << At; // each serves every third request
}

TEST_F(WorkerPool, ABurstOfShortRequestsIsServedByFewWorkers)
{
    Server.SetOnResponse([](auto&&...) {});
    Server.SetActive(true);
    std::vector<HTTP_REQUEST_ID> Burst;
    for (int At = 0; At < 2000; ++At)
        Burst.push_back(Service.Push());
    for (const HTTP_REQUEST_ID Id : Burst)
        ASSERT_EQ(Service.Await(Id).Head().Status, 200) << Server.GetWorkerCount() << " workers";
    EXPECT_LT(Server.GetWorkerCount(), 128U);
}

TEST_F(WorkerPool, WhatAHandlerThrowsCostsNobodyElse)
{
    std::atomic<int> Round{0};
    Server.SetOnResponseRaw([&](TZnCustomHTTPServer&, TZnHTTPServerResponseThread&) {
        switch (Round++) {
        case 0:
            throw 5;
        case 1:
            throw std::bad_alloc();
        case 2:
            throw EAbort();
        default:
            return;
        }
    });
    Server.SetActive(true);
    for (int At = 0; At < 4; ++At) {
        const Exchange Seen = Service.Ask();
        EXPECT_TRUE(Seen.Dropped) << At;
        EXPECT_TRUE(Seen.Calls.empty()) << At;
    }
}

TEST_F(WorkerPool, NoClientIsLeftWaitingWhereNobodyAnswers)
{
    Server.SetActive(true); // no handler
    EXPECT_TRUE(Service.Ask().Dropped);
    Server.SetOnResponse([](auto&, auto*, TZnHTTPServerResponse& Answer) { Answer.SetContentType({}); });
    EXPECT_TRUE(Service.Ask().Dropped);
    Server.StopAcceptingRequests();
    EXPECT_TRUE(Service.Ask().Dropped);
    Server.SetActive(false);
    Server.SetOnResponse([](auto&&...) {});
    Server.SetActive(true); // accepts again
    EXPECT_EQ(Service.Ask().Head().Status, 200);
}

TEST_F(WorkerPool, ARequestThatDoesNotFitIsPassedOver)
{
    Server.SetOnResponse([](auto&&...) {});
    Server.SetActive(true);
    EXPECT_TRUE(Service.Ask({.Known = {{HttpHeaderCookie, std::string(4096, 'x')}}}).Calls.empty());
    EXPECT_EQ(Service.Ask().Head().Status, 200);
}

TEST_F(WorkerPool, StopWakesWaitingHandlersAndSendsNothingForThem)
{
    std::uint32_t Woken = 0;
    Server.SetOnResponse(
        [&](auto&, PZnHTTPServerRequest Request, auto&) { Woken = Request->WaitForEvents(-1, {}); });
    Server.SetActive(true);
    const HTTP_REQUEST_ID Id = Service.Push();
    Service.AwaitWait();
    Server.SetActive(false);
    EXPECT_TRUE(Service.Await(Id).Dropped);
    EXPECT_TRUE(Service.Await(Id).Calls.empty());
    EXPECT_EQ(Woken, 0U); // the stop of the server, behind no handles of the handler's own
}

TEST_F(WorkerPool, AHandlerCannotStopItsOwnServer)
{
    Server.SetOnResponse([](TZnCustomHTTPServer& Sender, auto&&...) { Sender.SetActive(false); });
    Server.SetActive(true);
    const Exchange Seen = Service.Ask();
    EXPECT_EQ(Seen.Head().Status, 500);
    EXPECT_NE(Seen.Body().find("EAssertionFailed"), std::string::npos);
    EXPECT_TRUE(Server.GetActive());
}

TEST_F(WorkerPool, StartsAndStopsUnderLoad)
{
    Server.SetOnResponse([](auto&&...) {});
    for (int Round = 0; Round < 50; ++Round) {
        Server.SetActive(true);
        std::vector<HTTP_REQUEST_ID> Ids;
        for (int At = 0; At < 20; ++At)
            Ids.push_back(Service.Push());
        Service.Await(Ids[static_cast<std::size_t>(Round % 20)]);
        Server.SetActive(false);
        EXPECT_EQ(Service.OpenHandles(), 0U);
    }
}

} // namespace
