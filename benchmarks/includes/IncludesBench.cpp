/// Time from the request to the last byte of a 100 KiB page, over one keep-alive connection: expanded from a
/// file with 20 includes, and read from a file that holds the expansion, as a stream. The two take turns. CPU
/// time counts the server and the client, which are one process.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "uZnHTTPServer.h"

namespace
{

constexpr int cIncludes = 20;
constexpr std::size_t cPageLength = 100 * 1024;
constexpr int cRounds = 41, cRequests = 100; // of each kind, in turns
constexpr double cMostAllowed = 1.5;

/// Markup of about ALength bytes; no directive in it.
std::string Markup(std::size_t ALength)
{
    static const std::string Line =
        "<li class=\"item\"><a href=\"/goods/4711\">A thing</a> and what there is to say of it</li>\n";
    std::string Text;
    while (Text.size() < ALength)
        Text += Line;
    Text.resize(ALength);
    return Text;
}

/// A folder with page.htm, its parts and the expansion, gone at the end.
class Site
{
public:
    Site()
    {
        std::string Name = (std::filesystem::temp_directory_path() / "bench-includes-XXXXXX").string();
        if (mkdtemp(Name.data()) == nullptr)
            throw std::runtime_error("no folder");
        Folder = Name + "/";
        const std::string Piece = Markup(cPageLength / (2 * cIncludes)); // half of the bytes are included
        std::string Page, Expansion;
        for (int Each = 0; Each < cIncludes; ++Each) {
            const std::string Part = "part" + std::to_string(Each) + ".html";
            Write(Part, Piece);
            Page += Piece + "<!--#include file=\"" + Part + "\" -->";
            Expansion += Piece + Piece;
        }
        Write("page.htm", Page);
        Write("expanded.html", Expansion);
    }
    ~Site() { std::filesystem::remove_all(Folder); }
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    std::string Folder;

private:
    void Write(const std::string& AName, const std::string& AContent) const
    {
        std::ofstream(Folder + AName, std::ios::binary) << AContent;
    }
};

sockaddr_in Loopback(std::uint16_t APort)
{
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_port = htons(APort);
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return Address;
}

std::uint16_t FreePort()
{
    const int Probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in Address = Loopback(0);
    socklen_t Length = sizeof(Address);
    if (bind(Probe, reinterpret_cast<sockaddr*>(&Address), Length) != 0 ||
        getsockname(Probe, reinterpret_cast<sockaddr*>(&Address), &Length) != 0)
        throw std::runtime_error("no free port");
    close(Probe);
    return ntohs(Address.sin_port);
}

class Client
{
public:
    explicit Client(std::uint16_t APort) : FSocket(socket(AF_INET, SOCK_STREAM, 0))
    {
        const sockaddr_in Address = Loopback(APort);
        if (connect(FSocket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) != 0)
            throw std::runtime_error("no connection");
    }
    ~Client() { close(FSocket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The whole answer, whose body has ABodyLength bytes.
    std::string Get(const std::string& ATarget, std::size_t ABodyLength)
    {
        Ask(ATarget);
        std::string Answer;
        std::size_t End = 0;
        while ((End = Answer.find("\r\n\r\n")) == Answer.npos || Answer.size() < End + 4 + ABodyLength) {
            const ssize_t Count = recv(FSocket, FBuffer.data(), FBuffer.size(), 0);
            if (Count <= 0)
                throw std::runtime_error("the answer is short");
            Answer.append(FBuffer.data(), static_cast<std::size_t>(Count));
        }
        return Answer;
    }

    /// The same without looking at it.
    void Drain(const std::string& ATarget, std::size_t ALength)
    {
        Ask(ATarget);
        while (ALength > 0) {
            const ssize_t Count = recv(FSocket, FBuffer.data(), std::min(FBuffer.size(), ALength), 0);
            if (Count <= 0)
                throw std::runtime_error("the answer is short");
            ALength -= static_cast<std::size_t>(Count);
        }
    }

private:
    void Ask(const std::string& ATarget)
    {
        const std::string Request = "GET " + ATarget + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
        if (send(FSocket, Request.data(), Request.size(), 0) != static_cast<ssize_t>(Request.size()))
            throw std::runtime_error("the request is refused");
    }

    int FSocket;
    std::vector<char> FBuffer = std::vector<char>(256 * 1024);
};

double CpuMicroseconds()
{
    rusage Usage;
    getrusage(RUSAGE_SELF, &Usage);
    const auto Of = [](const timeval& ATime) {
        return static_cast<double>(ATime.tv_sec) * 1e6 + static_cast<double>(ATime.tv_usec);
    };
    return Of(Usage.ru_utime) + Of(Usage.ru_stime);
}

double Median(std::vector<double> AValues)
{
    std::sort(AValues.begin(), AValues.end());
    return AValues[AValues.size() / 2];
}

} // namespace

int main()
{
    const Site Files;
    const std::uint16_t Port = FreePort();
    TZnHTTPServer Server(nullptr);
    Server.SetBindings({"http://127.0.0.1:" + std::to_string(Port) + "/"});
    Server.SetOnResponse([&](auto&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
        if (ARequest->UrlData.Document == "page")
            AResponse.SetResponseFileName(Files.Folder + "page.htm");
        else
            AResponse.SetResponseStream(
                std::make_unique<TFileStream>(Files.Folder + "expanded.html", fmOpenRead));
    });
    Server.SetActive(true);

    const std::string Targets[] = {"/stream", "/page"};
    const std::size_t Length = std::filesystem::file_size(Files.Folder + "expanded.html");
    Client Connection(Port);
    std::string Answers[2];
    for (int Which = 0; Which < 2; ++Which)
        Answers[Which] = Connection.Get(Targets[Which], Length);
    if (Answers[0].size() != Answers[1].size() ||
        !Answers[1].ends_with(Answers[0].substr(Answers[0].size() - Length))) {
        std::fprintf(stderr, "the two answers differ\n");
        return 1;
    }

    // The server keeps small files that haven't changed for two seconds.
    const auto Warm = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (std::chrono::steady_clock::now() < Warm)
        for (int Which = 0; Which < 2; ++Which)
            Connection.Drain(Targets[Which], Answers[Which].size());

    std::vector<double> Times[2], Cpu[2], Ratios; // microseconds a request
    for (int Round = 0; Round < cRounds; ++Round) {
        for (int Which = 0; Which < 2; ++Which) {
            const double CpuBefore = CpuMicroseconds();
            const auto Start = std::chrono::steady_clock::now();
            for (int Each = 0; Each < cRequests; ++Each)
                Connection.Drain(Targets[Which], Answers[Which].size());
            const std::chrono::duration<double, std::micro> Took = std::chrono::steady_clock::now() - Start;
            Times[Which].push_back(Took.count() / cRequests);
            Cpu[Which].push_back((CpuMicroseconds() - CpuBefore) / cRequests);
        }
        Ratios.push_back(Times[1].back() / Times[0].back());
    }
    Server.SetActive(false);

    const double Ratio = Median(Ratios);
    std::printf("%zu bytes as a stream:         %7.1f us a request, %7.1f us CPU\n", Length, Median(Times[0]),
                Median(Cpu[0]));
    std::printf("the same out of %d includes:  %7.1f us a request, %7.1f us CPU\n", cIncludes,
                Median(Times[1]), Median(Cpu[1]));
    std::printf("%s: at most %.1f of the stream's time: %.2f\n", Ratio <= cMostAllowed ? "pass" : "FAIL",
                cMostAllowed, Ratio);
}
