#include "benchmarks/client/Server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

constexpr std::size_t cPiece = 256 * 1024;

std::uint64_t NumberAfter(std::string_view AHead, std::string_view AWord)
{
    std::uint64_t Value = 0;
    const std::size_t At = AHead.find(AWord);
    if (At != std::string_view::npos)
        std::from_chars(AHead.data() + At + AWord.size(), AHead.data() + AHead.size(), Value);
    return Value;
}

bool SendAll(int AFd, const char* ABytes, std::size_t ALength)
{
    while (ALength > 0) {
        const ssize_t Sent = send(AFd, ABytes, ALength, MSG_NOSIGNAL);
        if (Sent <= 0)
            return false;
        ABytes += Sent;
        ALength -= static_cast<std::size_t>(Sent);
    }
    return true;
}

bool SendBytes(int AFd, std::uint64_t ACount, const std::vector<char>& APiece)
{
    const std::string Head = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(ACount) + "\r\n\r\n";
    bool Good = SendAll(AFd, Head.data(), Head.size());
    for (std::uint64_t Left = ACount; Good && Left > 0;) {
        const auto Now = static_cast<std::size_t>(std::min<std::uint64_t>(Left, APiece.size()));
        Good = SendAll(AFd, APiece.data(), Now);
        Left -= Now;
    }
    return Good;
}

bool TakeBytes(int AFd, std::uint64_t ACount, std::vector<char>& APiece)
{
    while (ACount > 0) {
        const ssize_t Count = recv(AFd, APiece.data(), std::min<std::uint64_t>(ACount, APiece.size()), 0);
        if (Count <= 0)
            return false;
        ACount -= static_cast<std::uint64_t>(Count);
    }
    return true;
}

void ServeConnection(int AFd)
{
    constexpr std::string_view cText13 = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nServer: "
                                         "bench\r\nContent-Length: 13\r\n\r\nHello, World!";
    const int On = 1;
    setsockopt(AFd, IPPROTO_TCP, TCP_NODELAY, &On, sizeof On);
    std::vector<char> Piece(cPiece);
    std::string Buffer(16384, '\0');
    std::size_t Filled = 0;
    for (;;) {
        const ssize_t Count = recv(AFd, Buffer.data() + Filled, Buffer.size() - Filled, 0);
        if (Count <= 0)
            break;
        Filled += static_cast<std::size_t>(Count);
        const std::string_view Seen(Buffer.data(), Filled);
        const std::size_t End = Seen.find("\r\n\r\n");
        if (End == std::string_view::npos)
            continue;
        const std::string_view Head = Seen.substr(0, End + 4);
        bool Good = true;
        if (Head.starts_with("GET /text13")) {
            Good = SendAll(AFd, cText13.data(), cText13.size());
        } else if (Head.starts_with("GET /bytes/")) {
            Good = SendBytes(AFd, NumberAfter(Head, "/bytes/"), Piece);
        } else {
            const std::uint64_t Length = NumberAfter(Head, "Content-Length: ");
            Good = TakeBytes(AFd, Length - std::min<std::uint64_t>(Length, Filled - Head.size()), Piece) &&
                   SendBytes(AFd, 0, Piece);
        }
        if (!Good)
            break;
        Filled = 0;
    }
    close(AFd);
}

[[noreturn]] void ServeForEver(int AListener)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "bench_server"); // a profiler tells the two apart
    for (;;)
        if (const int Fd = accept(AListener, nullptr, nullptr); Fd >= 0)
            std::thread(ServeConnection, Fd).detach();
}

} // namespace

BenchServer::BenchServer()
{
    const int Listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t Length = sizeof Address;
    if (bind(Listener, reinterpret_cast<sockaddr*>(&Address), Length) != 0 || listen(Listener, 512) != 0 ||
        getsockname(Listener, reinterpret_cast<sockaddr*>(&Address), &Length) != 0)
        throw std::runtime_error("the server can't listen");
    FPort = ntohs(Address.sin_port);
    FProcess = fork();
    if (FProcess == 0)
        ServeForEver(Listener);
    close(Listener);
}

BenchServer::~BenchServer()
{
    kill(FProcess, SIGKILL);
    waitpid(FProcess, nullptr, 0);
}
