#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tests/integration/server/ServerHarness.h"

namespace
{

// Sanitizers make each step several times slower, and keep what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int cCycles = 150;
constexpr std::size_t cMemory = std::size_t{1} << 40;
#else
constexpr int cCycles = 1000;
constexpr std::size_t cMemory = 8 << 20; // bytes more than after the first tenth
#endif

std::size_t Threads()
{
    const std::filesystem::directory_iterator Tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(Tasks), end(Tasks)));
}

std::size_t ResidentBytes()
{
    std::size_t Total = 0, Resident = 0;
    std::ifstream("/proc/self/statm") >> Total >> Resident;
    return Resident * 4096;
}

} // namespace

TEST(StartStop, ManyTimesUnderLoadLeavesNothingBehind)
{
    TZnHTTPServer Server(nullptr);
    const std::uint16_t Port = FreePort();
    Server.SetBindings({"http://127.0.0.1:" + std::to_string(Port) + "/"});
    Server.SetMetricsEnabled(true);
    Server.SetOnResponse([](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest, Answer& AAnswer) {
        std::shared_ptr<IZnBodyContent> Body;
        AAnswer.SetResponseText(ARequest->GetBody(Body) ? Body->AsString() : "none");
    });

    std::atomic<bool> IsOver{false};
    std::atomic<int> Served{0}, Wrong{0};
    std::vector<std::thread> Clients;
    const std::string Post = "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 5\r\n\r\nhello";
    for (int Count = 0; Count < 3; ++Count)
        Clients.emplace_back([&] {
            while (!IsOver) {
                try {
                    RawClient Client(Port);
                    for (int Step = 0; Step < 5; ++Step) {
                        const std::string Response = Client.Ask(Post);
                        if (Response.empty())
                            break;
                        // Whole, refused in whole, or cut: never somebody else's, never mixed up.
                        const bool IsRight = BodyOf(Response) == "hello" || StatusOf(Response) == "503" ||
                                             !Response.ends_with("hello");
                        Served += BodyOf(Response) == "hello" ? 1 : 0;
                        Wrong += IsRight ? 0 : 1;
                    }
                } catch (const std::runtime_error&) { // nobody listens just now
                    std::this_thread::yield();
                }
            }
        });

    const auto Cycle = [&](int ACount) {
        Server.SetActive(true);
        const int Before = Served;
        // Every other time it has certainly served, else it may have no more than begun.
        const int Looks = ACount % 2 == 0 ? 200'000 : 20;
        for (int Look = 0; Served == Before && Look < Looks; ++Look)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        if (ACount % 3 == 0)
            Server.Drain(std::chrono::milliseconds(ACount % 2));
        Server.SetActive(false);
    };
    for (int Count = 0; Count < cCycles / 10; ++Count)
        Cycle(Count);
    const std::size_t MemoryBefore = ResidentBytes();
    for (int Count = cCycles / 10; Count < cCycles; ++Count)
        Cycle(Count);
    IsOver = true;
    for (std::thread& Each : Clients)
        Each.join();
    EXPECT_LT(ResidentBytes(), MemoryBefore + cMemory);
    EXPECT_GE(Served, cCycles / 2);
    EXPECT_EQ(Wrong, 0);

    const std::size_t DescriptorsBefore = OpenDescriptors();
    // The test's, the timers', a sanitizer's. One that was joined is listed for a moment more.
    EXPECT_TRUE(Eventually([] { return Threads() < 8; })) << Threads();
    const std::size_t ThreadsBefore = Threads();
    Cycle(1);
    EXPECT_TRUE(Eventually([&] { return Threads() <= ThreadsBefore; })) << Threads() << " " << ThreadsBefore;
    EXPECT_EQ(OpenDescriptors(), DescriptorsBefore);
    EXPECT_LT(DescriptorsBefore, 32U);
}
