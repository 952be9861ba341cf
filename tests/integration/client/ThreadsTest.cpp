// Many threads, one session: sharing, cancelling and closing at any moment.

#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "tests/integration/server/ServerHarness.h"
#include "tests/support/ScriptedPeer.h"

namespace
{

void Greet(PZnHTTPServerRequest, Answer& AAnswer)
{
    AAnswer.SetResponseText("Hello, world!");
    AAnswer.AddCookie("seen", "1");
}

std::string Url(std::uint16_t APort)
{
    return "http://localhost:" + std::to_string(APort) + "/";
}

template <class TWork>
void InThreads(int ACount, TWork AWork)
{
    std::vector<std::jthread> Threads;
    for (int Index = 0; Index < ACount; ++Index)
        Threads.emplace_back([AWork, Index] { AWork(Index); });
}

struct WinHTTP
{
    using Client = TZnWinHTTPClient;
    using Session = TZnWinHTTPSession;
};
struct WinINet
{
    using Client = TZnWinINetClient;
    using Session = TZnWinINetSession;
};
template <class TTransport>
struct ClientThreads : testing::Test
{
};
using Transports = testing::Types<WinHTTP, WinINet>;
TYPED_TEST_SUITE(ClientThreads, Transports);

} // namespace

TYPED_TEST(ClientThreads, OneClientServesManyThreads)
{
    ServerHarness Server(Greet);
    typename TypeParam::Client Client(nullptr); // makes its session in whichever thread is first
    Client.SetCookieHandling(chManual);
    std::atomic<int> Good = 0;
    InThreads(16, [&](int) {
        for (int Round = 0; Round < 20; ++Round)
            Good += Client.Request(httpGET, Url(Server.Port), true)->GetResponse() == "Hello, world!" ? 1 : 0;
    });
    EXPECT_EQ(Good, 320);
    EXPECT_EQ(Client.GetTransportSession().GetConnections().Count(), 1);
}

TYPED_TEST(ClientThreads, ClosingTheSessionEndsRequestsAndTheNextOpenIt)
{
    ServerHarness Server(Greet);
    typename TypeParam::Session Session(nullptr);
    std::atomic<bool> Stop = false;
    std::atomic<int> Good = 0;
    std::atomic<int> Aborted = 0;
    {
        std::jthread Closer([&] {
            for (int Round = 0; Round < 100 || Good < 50; ++Round) {
                Session.Close();
                std::this_thread::yield();
            }
            Stop = true;
        });
        InThreads(6, [&](int) {
            typename TypeParam::Client Client(nullptr);
            Client.SetSession(&Session);
            while (!Stop) {
                try {
                    Client.Request(httpGET, Url(Server.Port), true)->GetResponse();
                    ++Good;
                } catch (const EAbort&) {
                    ++Aborted;
                }
            }
        });
    }
    EXPECT_GE(Good, 50);
    EXPECT_EQ(Session.GetConnections().Count(), 0);
    Session.Close();
    EXPECT_FALSE(Session.GetActive());
}

TYPED_TEST(ClientThreads, CancelAtAnyMomentLeavesNothing)
{
    ServerHarness Server(Greet);
    typename TypeParam::Client Client(nullptr);
    Client.Request(httpGET, Url(Server.Port), true)->GetResponse();
    std::mt19937 Random(1);
    int Cancelled = 0;
    const auto Round = [&] {
        const auto Request = Client.PrepareRequest(httpGET, Url(Server.Port), nullptr, "");
        const auto Moment = std::chrono::microseconds(Random() % 400);
        std::jthread Canceller([&] {
            const auto Until = std::chrono::steady_clock::now() + Moment;
            while (std::chrono::steady_clock::now() < Until)
                std::this_thread::yield();
            Request->CancelRequest();
        });
        try {
            Request->SendRequest()->GetResponse();
        } catch (const EAbort&) {
            ++Cancelled;
        }
    };
    for (int Warm = 0; Warm < 20; ++Warm)
        Round();
    for (int Count = 0; Count < 1000; ++Count)
        Round();
    EXPECT_GT(Cancelled, 0);
    Client.GetTransportSession().Close();
    // The server gives its side of the connections back when it sees their end.
    EXPECT_TRUE(Eventually([] { return OpenDescriptors() < 60; })) << OpenDescriptors();
}

TYPED_TEST(ClientThreads, AResponseReadsOnWhenItsClientIsGone)
{
    const std::string Large(3'000'000, 'l');
    ServerHarness Server([&](PZnHTTPServerRequest, Answer& AAnswer) { AAnswer.SetResponseText(Large); });
    typename TypeParam::Session Session(nullptr);
    auto Client = std::make_unique<typename TypeParam::Client>(nullptr);
    Client->SetSession(&Session);
    const auto Response = Client->Request(httpGET, Url(Server.Port), true);
    std::jthread Reader([&] { EXPECT_EQ(Response->GetResponse().size(), Large.size()); });
    Client.reset();
    Reader.join();
}

TYPED_TEST(ClientThreads, CancelReachesABlockedSend)
{
    std::atomic<bool> Asked = false;
    ScriptedPeer Stalls([&](PeerConnection& APeer) {
        APeer.ReadHead();
        Asked = true;
        APeer.WaitForEnd();
    });
    typename TypeParam::Client Client(nullptr);
    const auto Request = Client.PrepareRequest(
        httpGET, "http://127.0.0.1:" + std::to_string(Stalls.Port()) + "/", nullptr, "");
    std::jthread Canceller([&] {
        EXPECT_TRUE(Eventually([&] { return Asked.load(); }));
        Request->CancelRequest();
    });
    EXPECT_THROW(Request->SendRequest(), EAbort);
}
