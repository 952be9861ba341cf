#pragma once

/// A server on a free port of the loopback, over the real HTTP service.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/RawClient.h"
#include "uZnHTTPServer.h"

using Answer = TZnHTTPServerResponse;
using Handler = std::function<void(PZnHTTPServerRequest, Answer&)>;

/// One server with one handler; another thread's clients ask it by RawClient.
class ServerHarness
{
public:
    explicit ServerHarness(Handler AHandler, TZnHTTPServerVersion AVersion = HTTPServerV1) : Port(FreePort())
    {
        Server.SetServerVersion(AVersion);
        Server.SetBindings({"http://localhost:" + std::to_string(Port) + "/"});
        Server.SetOnResponse([AHandler](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest,
                                        Answer& AAnswer) { AHandler(ARequest, AAnswer); });
        Server.SetActive(true);
    }
    ~ServerHarness()
    {
        Server.SetActive(false);
        Server.SetServerVersion(HTTPServerV1);
    }

    std::string Request(std::string_view ATarget, std::string_view AMore = {},
                        std::string_view AMethod = "GET") const
    {
        return std::string(AMethod) + " " + std::string(ATarget) +
               " HTTP/1.1\r\nHost: localhost:" + std::to_string(Port) + "\r\n" + std::string(AMore) + "\r\n";
    }
    std::string Get(std::string_view ATarget, std::string_view AMore = {}) const
    {
        return RawClient(Port).Ask(Request(ATarget, AMore));
    }

    std::uint16_t Port;
    TZnHTTPServer Server{nullptr};
};

/// Whether ACondition came true within a minute.
template <class TCondition>
bool Eventually(TCondition ACondition)
{
    const auto Limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!ACondition()) {
        if (std::chrono::steady_clock::now() > Limit)
            return false;
        std::this_thread::yield();
    }
    return true;
}

inline std::size_t OpenDescriptors()
{
    const std::filesystem::directory_iterator Fds("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(Fds), end(Fds)));
}
