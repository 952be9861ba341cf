/// One cell of the comparison: zn_bench_pipes PEER CASE SECONDS CPU. CPU -1 leaves both processes unpinned.
/// Prints the figures as one line of JSON.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/pipes/Cases.h"

namespace
{

constexpr double cLonger = 4; // for each of 200 clients to have the hundreds of round trips that a p99 needs

BenchPeer PeerNamed(const std::string& AName)
{
    for (auto* Make : {OurPeer, BarePeer, SeqPacketPeer, ZeroMqPeer, GrpcPeer}) {
        if (BenchPeer Peer = Make(); AName == Peer.Name)
            return Peer;
    }
    throw std::runtime_error("no such peer: " + AName);
}

void PinTo(int ACpu)
{
    cpu_set_t Set;
    CPU_ZERO(&Set);
    CPU_SET(static_cast<unsigned>(ACpu), &Set);
    sched_setaffinity(0, sizeof(Set), &Set);
}

BenchFigures RunCase(const BenchPeer& APeer, const std::string& ACase, double ASeconds,
                     const std::string& AFolder)
{
    if (ACase == "fair")
        return Fairness(APeer, AFolder, 200, cLonger * ASeconds, std::chrono::microseconds(0));
    if (ACase == "fair-paced")
        return Fairness(APeer, AFolder, 200, cLonger * ASeconds, std::chrono::milliseconds(20));
    const auto Client = APeer.Client(AFolder);
    if (ACase == "ask64")
        return RoundTrips(*Client, 64, ASeconds);
    if (ACase == "giant")
        return Giant(*Client);
    const std::size_t Length = ACase == "send64" ? 64 : ACase == "send16k" ? 16384 : 1 << 20;
    return OneWay(*Client, Length, ASeconds);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
        return 2;
    std::string Folder = (std::filesystem::temp_directory_path() / "zn-bench-XXXXXX").string();
    if (!mkdtemp(Folder.data()))
        return 1;
    setenv("ZN_PIPE_DIR", Folder.c_str(), 1);
    if (const int Cpu = std::atoi(argv[4]); Cpu >= 0)
        PinTo(Cpu);
    int Result = 0;
    pid_t Server = -1;
    try {
        const BenchPeer Peer = PeerNamed(argv[1]);
        Server = fork(); // before any thread
        if (Server == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            Peer.Server(Folder)->Run();
            _exit(0);
        }
        const BenchFigures Figures = RunCase(Peer, argv[2], std::atof(argv[3]), Folder);
        kill(Server, SIGKILL);
        rusage Child{};
        int Status = 0;
        wait4(Server, &Status, 0, &Child);
        Server = -1;
        std::printf(
            "{\"rate\": %.1f, \"mbs\": %.1f, \"median\": %.2f, \"p99\": %.2f, \"worst_median\": %.2f, "
            "\"peak\": %.1f, \"server_peak\": %.1f}\n",
            Figures.PerSecond, Figures.MegabytesPerS, Figures.MedianUs, Figures.P99Us, Figures.MedianWorstUs,
            Figures.PeakMiB, static_cast<double>(Child.ru_maxrss) / 1024);
    } catch (const std::exception& Error) {
        std::fprintf(stderr, "%s %s: %s\n", argv[1], argv[2], Error.what());
        Result = 1;
    }
    if (Server > 0)
        kill(Server, SIGKILL);
    std::error_code Ignored;
    std::filesystem::remove_all(Folder, Ignored);
    std::fflush(stdout);
    _exit(Result); // the peers' own threads need no orderly end
}
