/// How many of the malformed heads of the test table each parser takes, and with --names which.

#include <cstdio>
#include <cstring>

#include "benchmarks/micro/HeadParsers.h"
#include "tests/unit/httpapi/MalformedRequests.h"

int main(int AArgumentCount, char** AArguments)
{
    using namespace Zn;
    const bool Names = AArgumentCount > 1 && std::strcmp(AArguments[1], "--names") == 0;
    RequestHeadParser Own;
    struct Count
    {
        unsigned Heads = 0, Taken[3] = {};
    };
    const char* Kinds[] = {"request line", "Host", "field lines", "line ends and the rest",
                           "control characters"};
    Count Counts[std::size(Kinds)], Sum;
    for (const MalformedRequest& Each : MalformedRequests()) {
        const bool Taken[] = {Bench::ReadByZn(Own, Each.Bytes), Bench::ReadByHttpParser(Each.Bytes),
                              Bench::ReadByBeast(Each.Bytes)};
        for (Count* Of : {&Counts[static_cast<std::size_t>(Each.Kind)], &Sum}) {
            ++Of->Heads;
            for (std::size_t At = 0; At < std::size(Taken); ++At)
                Of->Taken[At] += Taken[At] ? 1 : 0;
        }
        if (Names && (Taken[0] || Taken[1] || Taken[2]))
            std::printf("%c%c%c %s\n", Taken[0] ? 'Z' : '-', Taken[1] ? 'H' : '-', Taken[2] ? 'B' : '-',
                        Each.Name.c_str());
    }
    const auto Print = [](const char* AKind, const Count& ACount) {
        std::printf("%-24s %5u %13u %12u %12u\n", AKind, ACount.Heads, ACount.Taken[0], ACount.Taken[1],
                    ACount.Taken[2]);
    };
    std::printf("%-24s %5s %13s %12s %12s\n", "malformed in", "heads", "this library", "http-parser",
                "Boost.Beast");
    for (std::size_t At = 0; At < std::size(Kinds); ++At)
        Print(Kinds[At], Counts[At]);
    Print("all", Sum);
    return 0;
}
