#include <gtest/gtest.h>
#include <regex>
#include <sstream>

#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

/// The samples of a text in Prometheus' format; throws at a line that isn't one.
std::map<std::string, double> SamplesOf(const std::string& AText)
{
    static const std::regex Comment(R"(# (HELP|TYPE) [a-z_]+ .+)");
    static const std::regex Sample(R"(([a-z_]+(?:\{[a-z]+="[^"\\]*"(?:,[a-z]+="[^"\\]*")*\})?) ([0-9.]+))");
    std::map<std::string, double> Samples;
    std::istringstream Lines(AText);
    for (std::string Line; std::getline(Lines, Line);) {
        std::smatch Parts;
        if (std::regex_match(Line, Parts, Sample))
            Samples[Parts[1]] = std::stod(Parts[2]);
        else if (!std::regex_match(Line, Comment))
            throw std::runtime_error(Line);
    }
    return Samples;
}

TEST(Metrics, CountWhatWasServedAndStandWhereTheyAreAskedFor)
{
    TTemporaryFolder Place;
    Place.Write("page.txt", std::string(10'000, 'x'));
    TServedSite Site(Place.Path(), {"--metrics", "/internal/metrics", "--demo"});
    for (int Count = 0; Count < 3; ++Count)
        Site.Get("page.txt");
    Site.Get("nothing");
    Site.Get("demo/fail");
    Site.Get("demo/echo", {"--data-binary", std::string(5'000, 'y')});
    EXPECT_EQ(Site.Get("internal/metrics", {"-X", "DELETE"}).Status, 405);

    // A request is counted when it is over, and a connection is gone when the server has seen its end.
    std::map<std::string, double> Samples;
    const auto IsQuiet = [&] {
        return Samples["zn_http_request_duration_seconds_count"] >= 7 &&
               Samples["zn_http_requests_in_flight"] == 1 && Samples["zn_http_connections"] == 1; // its own
    };
    for (int Step = 0; Step < 500 && !IsQuiet(); ++Step) {
        const THttpAnswer Answer = Site.Get("internal/metrics");
        ASSERT_EQ(Answer["content-type"], "text/plain; version=0.0.4; charset=utf-8");
        Samples = SamplesOf(Answer.Content);
    }
    EXPECT_TRUE(IsQuiet());
    EXPECT_GE(Samples["zn_http_requests_total{method=\"GET\",status=\"2xx\"}"], 3);
    EXPECT_EQ(Samples["zn_http_requests_total{method=\"GET\",status=\"4xx\"}"], 1);
    EXPECT_EQ(Samples["zn_http_requests_total{method=\"GET\",status=\"5xx\"}"], 1);
    EXPECT_EQ(Samples["zn_http_requests_total{method=\"POST\",status=\"2xx\"}"], 1);
    EXPECT_EQ(Samples["zn_http_requests_total{method=\"DELETE\",status=\"4xx\"}"], 1);
    EXPECT_EQ(Samples["zn_http_request_duration_seconds_bucket{le=\"+Inf\"}"],
              Samples["zn_http_request_duration_seconds_count"]);
    EXPECT_GT(Samples["zn_http_request_duration_seconds_sum"], 0);
    EXPECT_GT(Samples["zn_http_sent_bytes_total"], 35'000);
    EXPECT_GT(Samples["zn_http_received_bytes_total"], 5'000);
    EXPECT_LT(Samples["zn_http_received_bytes_total"], 10'000);
    EXPECT_GE(Samples["zn_http_connections_total"], 8);
    EXPECT_EQ(Samples["zn_http_queue_length"], 0);

    TServedSite Without(Place.Path(), {});
    EXPECT_EQ(Without.Get("internal/metrics").Status, 404);
}

TEST(Limits, OfTheCommandLineHoldAndWrongOnesAreNamed)
{
    TTemporaryFolder Place;
    Place.Write("page.txt", "a page");
    {
        TServedSite Site(Place.Path(), {"--limit", "RequestLine=64", "--limit", "MaxBodySize=3", "--demo"});
        EXPECT_EQ(Site.Get("page.txt").Status, 200);
        EXPECT_EQ(Site.Get(std::string(80, 'x')).Status, 414);
        EXPECT_EQ(Site.Get("demo/echo", {"--data-binary", "four"}).Status, 413);
    }
    for (const auto& [Limit, Text] :
         std::map<std::string, std::string>{{"Nothing=1", "is no limit of the server"},
                                            {"IdleWait=0", "IdleWait has to be 1 to 86400000 ms"},
                                            {"IdleWait", "NAME=VALUE"},
                                            {"IdleWait=1s", "NAME=VALUE"},
                                            {"IdleWait=-1", "NAME=VALUE"}}) {
        TChildProcess Process({ZN_PROGRAM, "serve", Place.Path().string(), "--limit", Limit});
        EXPECT_EQ(Process.WaitForExit(cPatience), 2) << Limit;
        EXPECT_NE(Process.Errors().find(Text), std::string::npos) << Process.Errors();
    }
}

} // namespace
} // namespace Zn
