#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "platform/Api.h"
#include "platform/httpapi/Endpoint.h"

namespace Zn
{

/// A TCP connection for one thread that waits. Results are socket error numbers (10004 and up): 0 done,
/// 10060 the time is over, 10057 not connected. No failure closes it.
class TcpSocket
{
public:
    TcpSocket() = default;
    ~TcpSocket() { Close(); }
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;

    /// In the place of the connection that there was. After a failure there is none.
    std::uint32_t Connect(const Endpoint& ATarget, std::chrono::milliseconds ATimeout);
    ZN_API void Close();
    bool IsOpen() const { return FFd >= 0; }

    /// True when there are bytes to read, or the other side has closed, within the time.
    bool WaitForData(std::chrono::milliseconds ATimeout);

    /// What is there, up to ASize bytes; waits for the first. 0 bytes without an error: the other side has
    /// closed.
    std::uint32_t Receive(void* ABuffer, std::size_t ASize, std::chrono::milliseconds ATimeout,
                          std::size_t& ACount);

    /// As much as the system takes at once, at least one byte; waits until it takes any.
    std::uint32_t Send(const void* ABuffer, std::size_t ASize, std::chrono::milliseconds ATimeout,
                       std::size_t& ACount);

    /// -1 while closed.
    int Descriptor() const { return FFd; }
    /// Both ends; empty while closed.
    Endpoint Local() const;
    Endpoint Remote() const;

private:
    std::uint32_t WaitFor(short AEvents, std::chrono::milliseconds ATimeout) const;

    int FFd = -1;
};

} // namespace Zn
