#include "benchmarks/http/servers/Common.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace Zn::Bench
{

namespace
{

template <typename T>
bool ReadNumber(std::string_view AText, T& ANumber)
{
    const char* const end = AText.data() + AText.size();
    const auto [stop, error] = std::from_chars(AText.data(), end, ANumber);
    return error == std::errc{} && stop == end;
}

std::string ReadWhole(const std::string& APath)
{
    std::ifstream file(APath, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", APath.c_str());
        std::exit(2);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

sigset_t EndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

} // namespace

TArguments TArguments::Read(int argc, char** argv)
{
    TArguments arguments{};
    if (argc < 3 || argc > 4 || !ReadNumber(argv[1], arguments.Port) ||
        (argc == 4 && !ReadNumber(argv[3], arguments.Threads))) {
        std::fprintf(stderr, "usage: %s PORT FOLDER [THREADS]\n", argv[0]);
        std::exit(2);
    }
    arguments.Folder = argv[2];
    return arguments;
}

TSite::TSite(std::string AFolder)
    : FFolder(std::move(AFolder)),
      FText13{ReadWhole(FFolder + "/text13"), cText},
      FText4K{ReadWhole(FFolder + "/text4k"), cText},
      FBody100K{ReadWhole(FFolder + "/body100k"), cBytes}
{
}

const TSite::TBody* TSite::Find(std::string_view ATarget) const
{
    if (ATarget == "/text13")
        return &FText13;
    if (ATarget == "/text4k")
        return &FText4K;
    if (ATarget == "/body100k")
        return &FBody100K;
    return nullptr;
}

std::string TSite::FileFor(std::string_view ATarget) const
{
    if (ATarget == "/file10m" || ATarget == "/file1g")
        return FFolder + std::string(ATarget);
    return {};
}

void BlockEndSignals()
{
    const sigset_t signals = EndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void WaitForEnd()
{
    const sigset_t signals = EndSignals();
    int received = 0;
    sigwait(&signals, &received);
}

} // namespace Zn::Bench
