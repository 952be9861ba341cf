#include "platform/servicemanager/Notification.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Zn
{

bool NotifyServiceManager(std::string_view AState)
{
    const char* const Value = std::getenv("NOTIFY_SOCKET");
    const std::string_view Path = Value != nullptr ? Value : "";
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    // A path, or "@" for a name without a file; anything else isn't defined.
    if (Path.size() < 2 || Path.size() >= sizeof Address.sun_path || (Path[0] != '/' && Path[0] != '@'))
        return false;
    std::memcpy(Address.sun_path, Path.data(), Path.size());
    if (Path[0] == '@')
        Address.sun_path[0] = '\0';
    const auto Length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + Path.size());
    const int Fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (Fd < 0)
        return false;
    const ssize_t Sent = sendto(Fd, AState.data(), AState.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&Address), Length);
    close(Fd);
    return Sent == static_cast<ssize_t>(AState.size());
}

std::string MonotonicStamp()
{
    timespec Now{};
    clock_gettime(CLOCK_MONOTONIC, &Now);
    return "MONOTONIC_USEC=" + std::to_string(std::int64_t{Now.tv_sec} * 1'000'000 + Now.tv_nsec / 1000);
}

} // namespace Zn
