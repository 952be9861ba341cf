#include "platform/httpclient/Sockets.h"

#include <algorithm>
#include <array>
#include <limits>

#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Zn::HttpClient
{

namespace
{

int CurlBits(short AEvents)
{
    return ((AEvents & (POLLIN | POLLHUP)) != 0 ? CURL_CSELECT_IN : 0) |
           ((AEvents & POLLOUT) != 0 ? CURL_CSELECT_OUT : 0) |
           ((AEvents & (POLLERR | POLLNVAL)) != 0 ? CURL_CSELECT_ERR : 0);
}

} // namespace

Sockets::Sockets() : FWakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)), FWatched{{FWakeFd, POLLIN, 0}} {}

Sockets::~Sockets()
{
    if (IsGood())
        close(FWakeFd);
}

void Sockets::Attach(CURLM* AMulti)
{
    FMulti = AMulti;
    curl_multi_setopt(FMulti, CURLMOPT_SOCKETFUNCTION, OnSocket);
    curl_multi_setopt(FMulti, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(FMulti, CURLMOPT_TIMERFUNCTION, OnTimer);
    curl_multi_setopt(FMulti, CURLMOPT_TIMERDATA, this);
}

int Sockets::OnSocket(CURL* /*AEasy*/, curl_socket_t ASocket, int AWhat, void* ASelf, void* /*ASocketData*/)
{
    static_cast<Sockets*>(ASelf)->Watch(ASocket, AWhat);
    return 0;
}

void Sockets::Watch(curl_socket_t ASocket, int AWhat)
{
    const auto Found = std::ranges::find(FWatched, ASocket, &pollfd::fd);
    if (AWhat == CURL_POLL_REMOVE) {
        if (Found != FWatched.end())
            FWatched.erase(Found);
        return;
    }
    FLastWatched = ASocket;
    const auto Events = static_cast<short>(((AWhat & CURL_POLL_IN) != 0 ? POLLIN : 0) |
                                           ((AWhat & CURL_POLL_OUT) != 0 ? POLLOUT : 0));
    if (Found == FWatched.end())
        FWatched.push_back({ASocket, Events, 0});
    else
        Found->events = Events;
}

int Sockets::OnTimer(CURLM* /*AMulti*/, long AMilliseconds, void* ASelf)
{
    auto& Self = *static_cast<Sockets*>(ASelf);
    Self.FTimerIsDue = AMilliseconds == 0;
    if (AMilliseconds > 0)
        Self.FTimer = Clock::now() + std::chrono::milliseconds(AMilliseconds);
    else
        Self.FTimer.reset();
    return 0;
}

CURLMcode Sockets::Run()
{
    CURLMcode Result = CURLM_OK;
    while (FTimerIsDue && Result == CURLM_OK) {
        FTimerIsDue = false;
        Result = curl_multi_socket_action(FMulti, CURL_SOCKET_TIMEOUT, 0, &FRunning);
    }
    return Result;
}

CURLMcode Sockets::Wait(std::optional<Clock::time_point> ALimit)
{
    if (poll(FWatched.data(), FWatched.size(), Timeout(ALimit)) > 0)
        return HandleReady();
    if (FTimer && Clock::now() >= *FTimer) {
        FTimer.reset();
        FTimerIsDue = true;
    }
    return Run();
}

std::size_t Sockets::Waiting() const
{
    int Bytes = 0;
    const bool Told = ioctl(FLastWatched, FIONREAD, &Bytes) == 0;
    return Told ? static_cast<std::size_t>(std::max(Bytes, 0)) : 0;
}

/// Rounded up, so that the wait isn't over before its time.
int Sockets::Timeout(std::optional<Clock::time_point> ALimit) const
{
    if (FTimerIsDue)
        return 0;
    const auto First = !ALimit ? FTimer : !FTimer ? ALimit : std::min(ALimit, FTimer);
    if (!First)
        return -1;
    const auto Left = std::chrono::ceil<std::chrono::milliseconds>(*First - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(Left, 0, std::numeric_limits<int>::max()));
}

CURLMcode Sockets::HandleReady()
{
    if (FWatched.front().revents != 0) {
        eventfd_t Count = 0;
        eventfd_read(FWakeFd, &Count);
    }
    // libcurl changes the list while it runs; a handful is all that it ever watches for one exchange.
    std::array<pollfd, 8> Ready;
    const auto Last =
        std::ranges::copy_if(FWatched.begin() + 1,
                             FWatched.begin() +
                                 static_cast<std::ptrdiff_t>(std::min(FWatched.size(), Ready.size())),
                             Ready.begin(), [](const pollfd& AEach) { return AEach.revents != 0; })
            .out;
    CURLMcode Result = CURLM_OK;
    for (auto Each = Ready.begin(); Each != Last && Result == CURLM_OK; ++Each)
        Result = curl_multi_socket_action(FMulti, Each->fd, CurlBits(Each->revents), &FRunning);
    return Result == CURLM_OK ? Run() : Result;
}

void Sockets::Wake()
{
    eventfd_write(FWakeFd, 1);
}

} // namespace Zn::HttpClient
