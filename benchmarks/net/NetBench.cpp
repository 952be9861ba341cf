// Each row measures the library and the other way to do it in turns, and prints the ratio of the best turns.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <linux/icmp.h>
#include <netinet/in.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/icmp/EchoMessage.h"
#include "uZnIPHelper.h"

namespace
{

constexpr int cTurns = 5;
constexpr int cPings = 500; // in one of many turns, so that some of them are undisturbed on a busy machine
constexpr int cPingTurns = 200;
constexpr int cAddresses = 200000;

double Seconds(const std::function<void()>& AWork)
{
    const auto Start = std::chrono::steady_clock::now();
    AWork();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
}

/// Prints the time of one of ACount, and how many times as fast the library is as the other.
void Compare(const char* AWhat, int ACount, const std::function<void()>& ALibrary, const char* AOtherName,
             const std::function<void()>& AOther, int ATurns = cTurns)
{
    double Library = 1e9;
    double Other = 1e9;
    for (int Turn = 0; Turn < ATurns; ++Turn) {
        Other = std::min(Other, Seconds(AOther));
        Library = std::min(Library, Seconds(ALibrary));
    }
    std::printf("%-32s %12.3f us   %-22s %12.3f us   ratio %.2f\n", AWhat, Library / ACount * 1e6, AOtherName,
                Other / ACount * 1e6, Other / Library);
    std::fflush(stdout);
}

[[noreturn]] void Fail(const char* AText)
{
    std::fprintf(stderr, "net_bench: %s\n", AText);
    std::exit(1);
}

void Command(const std::string& ALine)
{
    if (std::system(ALine.c_str()) != 0)
        Fail(ALine.c_str());
}

int RawSocket()
{
    const int Socket = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    const icmp_filter Replies{~(1U << ICMP_ECHOREPLY)};
    if (Socket < 0 || setsockopt(Socket, SOL_RAW, ICMP_FILTER, &Replies, sizeof(Replies)) != 0)
        Fail("no raw socket");
    return Socket;
}

int UnprivilegedSocket()
{
    const int Socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (Socket < 0)
        Fail("no unprivileged ICMP socket");
    return Socket;
}

/// What a program without the library would write: one socket, a request, the answer to it.
void BarePings(int ASocket, bool AHasIPv4Header)
{
    const timeval Limit{1, 0};
    if (setsockopt(ASocket, SOL_SOCKET, SO_RCVTIMEO, &Limit, sizeof(Limit)) != 0)
        Fail("no limit");
    sockaddr_in Target{};
    Target.sin_family = AF_INET;
    Target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto Data = std::as_bytes(std::span("ping", 4));
    for (int Count = 0; Count < cPings; ++Count) {
        const auto Sequence = static_cast<std::uint16_t>(Count);
        const auto Head = Zn::WriteEchoHead({ICMP_ECHO, 0, 77, Sequence}, Data);
        std::byte Message[12];
        std::copy(Head.begin(), Head.end(), Message);
        std::copy(Data.begin(), Data.end(), Message + Head.size());
        if (sendto(ASocket, Message, sizeof(Message), 0, reinterpret_cast<const sockaddr*>(&Target),
                   sizeof(Target)) < 0)
            Fail("sending failed");
        for (bool IsOurs = false; !IsOurs;) {
            std::byte Buffer[128];
            const ssize_t Size = recv(ASocket, Buffer, sizeof(Buffer), 0);
            if (Size < 0)
                Fail("no answer");
            const std::span<const std::byte> Received(Buffer, static_cast<std::size_t>(Size));
            const auto Echo = Zn::ReadEchoHead(AHasIPv4Header ? Zn::BehindIPv4Header(Received) : Received);
            IsOurs = Echo && Echo->Sequence == Sequence;
        }
    }
    close(ASocket);
}

void LibraryPings()
{
    in_addr Address{};
    std::uint32_t Time = 0;
    for (int Count = 0; Count < cPings; ++Count) {
        if (PingV4("127.0.0.1", 1000, Address, Time) != prSuccess)
            Fail("no answer");
    }
}

/// The library takes an unprivileged socket where the system allows it, and a raw one elsewhere. A new
/// network namespace allows nobody; sockets that were opened before stay what they are, so each kind has a
/// process.
void ComparePings()
{
    if (fork() == 0) {
        Compare(
            "Ping, raw sockets", cPings, LibraryPings, "a bare raw socket",
            [] { BarePings(RawSocket(), true); }, cPingTurns);
        std::_Exit(0);
    }
    wait(nullptr);
    Command("sysctl -q -w net.ipv4.ping_group_range='0 0'");
    if (fork() == 0) {
        Compare(
            "Ping, ICMP sockets", cPings, LibraryPings, "a bare ICMP socket",
            [] { BarePings(UnprivilegedSocket(), false); }, cPingTurns);
        std::_Exit(0);
    }
    wait(nullptr);
}

/// Interfaces in pairs, each with an address and a route.
void MakeInterfaces(int AFrom, int ATo)
{
    const std::string Lines = "/tmp/zn-net-bench-" + std::to_string(getpid());
    std::FILE* const File = std::fopen(Lines.c_str(), "w");
    if (!File)
        Fail("no file for the commands");
    for (int Number = AFrom; Number < ATo; Number += 2)
        std::fprintf(File,
                     "link add v%d type veth peer name v%d\naddr add 10.%d.%d.1/30 dev v%d\nlink set v%d up\n"
                     "addr add 10.%d.%d.5/30 dev v%d\nlink set v%d up\n",
                     Number, Number + 1, Number / 200 + 1, Number % 200, Number, Number, Number / 200 + 1,
                     Number % 200, Number + 1, Number + 1);
    std::fclose(File);
    Command("ip -batch " + Lines);
    unlink(Lines.c_str());
}

void CompareSnapshots(int ACount)
{
    TZnNetworkAdapters Adapters;
    const std::string What = "Refresh, " + std::to_string(ACount) + " interfaces";
    Compare(
        What.c_str(), 3,
        [&Adapters] {
            for (int Count = 0; Count < 3; ++Count)
                Adapters.Refresh();
        },
        "ip -j addr; ip -j route",
        [] {
            for (int Count = 0; Count < 3; ++Count)
                Command("ip -j addr >/dev/null; ip -j route >/dev/null");
        });
    if (Adapters.Count() < ACount)
        Fail("interfaces are missing");
}

template <typename T>
std::vector<T> RandomAddresses()
{
    std::mt19937 Random(1);
    std::vector<T> Result(1000);
    for (T& Address : Result) {
        auto* const Bytes = reinterpret_cast<unsigned char*>(&Address);
        for (std::size_t Index = 0; Index < sizeof(T); ++Index)
            Bytes[Index] = Random() % 3 == 0 && sizeof(T) > 4 ? 0 : static_cast<unsigned char>(Random());
    }
    return Result;
}

volatile std::size_t GSink; // keeps what is measured

template <typename T>
void CompareTexts(const char* AWrite, const char* ARead, int AFamily)
{
    const std::vector<T> Addresses = RandomAddresses<T>();
    std::vector<std::string> Texts;
    for (const T& Address : Addresses)
        Texts.push_back(ZnIPAddrToStr(Address));
    Compare(
        AWrite, cAddresses,
        [&] {
            for (int Count = 0; Count < cAddresses; ++Count)
                GSink = ZnIPAddrToStr(Addresses[static_cast<std::size_t>(Count % 1000)]).size();
        },
        "inet_ntop to a string",
        [&] {
            for (int Count = 0; Count < cAddresses; ++Count) {
                char Text[INET6_ADDRSTRLEN];
                GSink = std::string(inet_ntop(AFamily, &Addresses[static_cast<std::size_t>(Count % 1000)],
                                              Text, sizeof(Text)))
                            .size();
            }
        });
    Compare(
        ARead, cAddresses,
        [&] {
            T Address;
            for (int Count = 0; Count < cAddresses; ++Count)
                GSink = ZnStrToIPAddr(Texts[static_cast<std::size_t>(Count % 1000)], Address) ? 1 : 0;
        },
        "inet_pton",
        [&] {
            T Address;
            for (int Count = 0; Count < cAddresses; ++Count)
                GSink = static_cast<std::size_t>(
                    inet_pton(AFamily, Texts[static_cast<std::size_t>(Count % 1000)].c_str(), &Address));
        });
}

} // namespace

int main()
{
    Command("ip link set lo up");
    ComparePings();
    CompareTexts<in_addr>("IPv4 address to text", "IPv4 text to address", AF_INET);
    CompareTexts<IN6_ADDR>("IPv6 address to text", "IPv6 text to address", AF_INET6);
    int Made = 0;
    for (const int Count : {100, 500, 1000}) {
        MakeInterfaces(Made, Count);
        Made = Count;
        CompareSnapshots(Count);
    }
    return 0;
}
