#include <csignal>
#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/RawClient.h"

namespace Zn
{
namespace
{

using namespace std::chrono_literals;

constexpr const char* cHead = " HTTP/1.1\r\nHost: localhost\r\n";

class Drain : public testing::TestWithParam<const char*>
{
protected:
    Drain() { Place.Write("page.txt", "a page"); }

    std::unique_ptr<TServedSite> Serve(const std::string& ASeconds) const
    {
        std::vector<std::string> Options{"--demo", "--metrics", "/metrics", "--drain", ASeconds};
        if (*GetParam() != '\0')
            Options.emplace_back(GetParam());
        return std::make_unique<TServedSite>(Place.Path(), Options);
    }
    /// Until handlers run for that many requests.
    static void WaitForWork(const TServedSite& ASite, int ACount)
    {
        const std::string Expected =
            "zn_http_requests_in_flight " + std::to_string(ACount + 1) + "\n"; // and its own
        const auto Limit = std::chrono::steady_clock::now() + cPatience;
        while (ASite.Get("metrics").Content.find(Expected) == std::string::npos)
            ASSERT_LT(std::chrono::steady_clock::now(), Limit);
    }
    static std::uint16_t PortOf(const TServedSite& ASite)
    {
        return static_cast<std::uint16_t>(std::stoi(ASite.Root().substr(17)));
    }

    TTemporaryFolder Place;
};

TEST_P(Drain, WhatHasBegunEndsAndNothingNewBegins)
{
    const auto Site = Serve("60");
    const std::uint16_t Port = PortOf(*Site);
    RawClient Idle(Port);
    ASSERT_EQ(StatusOf(Idle.Ask(std::string("GET /page.txt") + cHead + "\r\n")), "200");
    RawClient Upload(Port);
    ASSERT_EQ(Upload.Ask(std::string("POST /demo/echo") + cHead +
                         "Content-Length: 6\r\nExpect: 100-continue\r\n\r\n"),
              "HTTP/1.1 100 Continue\r\n\r\n"); // the handler asks for the body
    RawClient Download(Port, 4096);
    Download.Send(std::string("GET /demo/memory?size=30000000") + cHead + "\r\n");
    RawClient HalfAHead(Port);
    HalfAHead.Send("GET /page.txt HTTP/1.1\r\nHos");
    TChildProcess Waiting({"curl", "-sv", Site->Url("demo/wait?ms=1500")});
    ASSERT_TRUE(Waiting.WaitForErrors("> GET ", cPatience));

    Site->Process().Signal(SIGTERM);
    EXPECT_TRUE(Idle.EndsSilently());
    EXPECT_THROW(RawClient{Port}, std::runtime_error);
    Upload.Send("upload");
    HalfAHead.Send("t: localhost\r\n\r\n");
    for (const std::string& Answer : {Upload.ReadToEnd(), HalfAHead.ReadToEnd()}) {
        EXPECT_EQ(StatusOf(Answer), "200");
        EXPECT_NE(Answer.find("\r\nConnection: close\r\n"), std::string::npos) << Answer;
    }
    EXPECT_EQ(BodyOf(Download.ReadToEnd()).size(), 30'000'000U);
    EXPECT_EQ(Waiting.WaitForExit(cPatience), 0);
    EXPECT_EQ(Site->Process().WaitForExit(cPatience), 0);
    EXPECT_NE(Site->Process().Output().find("Drained: 4 requests ended, 0 were cut."), std::string::npos)
        << Site->Process().Output();
}

TEST_P(Drain, WhatDoesNotEndIsCutAtTheDeadline)
{
    const auto Site = Serve("1");
    const std::uint16_t Port = PortOf(*Site);
    RawClient Upload(Port);
    Upload.Send(std::string("POST /demo/echo") + cHead + "Content-Length: 6\r\n\r\nup");
    RawClient Download(Port, 4096);
    Download.Send(std::string("GET /demo/memory?size=30000000") + cHead + "\r\n");
    RawClient Waiting(Port);
    Waiting.Send(std::string("GET /demo/wait?ms=600000") + cHead + "\r\n");
    WaitForWork(*Site, 3);
    Site->Process().Signal(SIGTERM);
    EXPECT_EQ(Site->Process().WaitForExit(cPatience), 0);
    EXPECT_NE(Site->Process().Output().find("Drained: 0 requests ended, 3 were cut."), std::string::npos)
        << Site->Process().Output();
    EXPECT_TRUE(Upload.EndsSilently());
    EXPECT_TRUE(Waiting.EndsSilently());
    EXPECT_LT(Download.ReadToEnd().size(), 30'000'000U);
}

TEST_P(Drain, ASecondSignalStopsAtOnce)
{
    const auto Site = Serve("600");
    RawClient Waiting(PortOf(*Site));
    Waiting.Send(std::string("GET /demo/wait?ms=600000") + cHead + "\r\n");
    WaitForWork(*Site, 1);
    Site->Process().Signal(SIGTERM);
    ASSERT_TRUE(Site->Process().WaitForOutput("Stopping.", cPatience));
    Site->Process().Signal(SIGTERM);
    EXPECT_EQ(Site->Process().WaitForExit(cPatience), 128 + SIGTERM);
}

INSTANTIATE_TEST_SUITE_P(Versions, Drain, testing::Values("", "--v2"));

} // namespace
} // namespace Zn
