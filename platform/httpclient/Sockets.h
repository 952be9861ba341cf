#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <poll.h>
#include <vector>

#include <curl/curl.h>

namespace Zn::HttpClient
{

/// The sockets that libcurl's event interface wants watched, and the waiting for them. Against
/// curl_multi_perform with curl_multi_poll it saves libcurl the asking which socket is ready: two of five
/// system calls of a small request.
///
/// Threads:   one; Wake from any.
class Sockets
{
public:
    using Clock = std::chrono::steady_clock;

    Sockets();
    ~Sockets();
    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;

    /// False without a descriptor for Wake.
    bool IsGood() const { return FWakeFd >= 0; }
    /// Before anything is added to AMulti, which may be driven only by this object from then on.
    void Attach(CURLM* AMulti);

    /// Lets libcurl do what can be done without waiting.
    CURLMcode Run();
    /// Waits until a socket is ready, libcurl's timer runs out, Wake was called, or ALimit passed; and lets
    /// libcurl handle it. Returns at once when libcurl has something to do.
    CURLMcode Wait(std::optional<Clock::time_point> ALimit);
    /// Bytes that have come to the socket of the exchange under way and that nobody has received yet.
    std::size_t Waiting() const;
    /// Exchanges that aren't done.
    int Running() const { return FRunning; }
    void Wake();

private:
    int Timeout(std::optional<Clock::time_point> ALimit) const;
    CURLMcode HandleReady();
    void Watch(curl_socket_t ASocket, int AWhat);
    static int OnSocket(CURL* AEasy, curl_socket_t ASocket, int AWhat, void* ASelf, void* ASocketData);
    static int OnTimer(CURLM* AMulti, long AMilliseconds, void* ASelf);

    const int FWakeFd; // the one thing that other threads use
    CURLM* FMulti = nullptr;
    std::vector<pollfd> FWatched;                 // the one for Wake first
    curl_socket_t FLastWatched = CURL_SOCKET_BAD; // while libcurl pauses it watches none
    std::optional<Clock::time_point> FTimer;
    bool FTimerIsDue = false;
    int FRunning = 0;
};

} // namespace Zn::HttpClient
