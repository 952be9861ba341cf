#pragma once

// A TCP client for tests: sends the bytes it is given and reads what comes, each wait with a limit.

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "tests/support/FreePort.h"

class RawClient
{
public:
    static constexpr int Limit = 15'000; // ms for any one wait; the service's own limits are longer

    explicit RawClient(std::uint16_t APort, int AReceiveBuffer = 0) : FFd(socket(AF_INET, SOCK_STREAM, 0))
    {
        if (AReceiveBuffer > 0)
            setsockopt(FFd, SOL_SOCKET, SO_RCVBUF, &AReceiveBuffer, sizeof AReceiveBuffer);
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_port = htons(APort);
        Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(FFd, reinterpret_cast<sockaddr*>(&Address), sizeof Address) != 0) {
            const int Error = errno;
            Close(); // no destructor runs after a constructor that throws
            throw std::runtime_error(std::string("connect: ") + strerror(Error));
        }
    }
    RawClient(RawClient&& AOther) noexcept
        : FFd(std::exchange(AOther.FFd, -1)), FBuffer(std::move(AOther.FBuffer))
    {
    }
    RawClient& operator=(RawClient&&) = delete;
    ~RawClient() { Close(); }

    void Close()
    {
        if (FFd >= 0)
            close(std::exchange(FFd, -1));
    }
    /// Ends the connection with a reset instead of an orderly end.
    void Reset()
    {
        const linger AtOnce{1, 0};
        setsockopt(FFd, SOL_SOCKET, SO_LINGER, &AtOnce, sizeof AtOnce);
        Close();
    }
    void EndSending() { shutdown(FFd, SHUT_WR); }

    /// False when the peer is gone.
    bool Send(std::string_view AText)
    {
        while (!AText.empty()) {
            const ssize_t Sent = send(FFd, AText.data(), AText.size(), MSG_NOSIGNAL);
            if (Sent <= 0)
                return false;
            AText.remove_prefix(static_cast<std::size_t>(Sent));
        }
        return true;
    }

    /// The next response: head and body by its Content-Length (chunked: up to the last chunk). What came
    /// before the peer closed, if it did. AHeadOnly: the answer to HEAD.
    std::string Response(bool AHeadOnly = false)
    {
        std::size_t End;
        while ((End = FBuffer.find("\r\n\r\n")) == std::string::npos)
            if (!Receive())
                return std::exchange(FBuffer, {});
        End += 4;
        const std::string Head = FBuffer.substr(0, End);
        if (const auto At = Head.find("Content-Length: "); At != std::string::npos && !AHeadOnly)
            End += std::stoull(Head.substr(At + 16));
        else if (Head.find("Transfer-Encoding: chunked") != std::string::npos && !AHeadOnly)
            End = EndOfChunks(End);
        while (FBuffer.size() < End)
            if (!Receive())
                return std::exchange(FBuffer, {});
        std::string Result = FBuffer.substr(0, End);
        FBuffer.erase(0, End);
        return Result;
    }

    /// Everything up to the end of the connection. "<still open>" is appended when it didn't come within the
    /// limit.
    std::string ReadToEnd(int AMilliseconds = Limit)
    {
        while (Receive(AMilliseconds)) {
        }
        return std::exchange(FBuffer, {}) + (FTimedOut ? "<still open>" : "");
    }

    /// Whether the connection has ended, without an answer, within the limit.
    bool EndsSilently(int AMilliseconds = Limit) { return ReadToEnd(AMilliseconds).empty(); }

    std::string Ask(std::string_view ARequest)
    {
        Send(ARequest);
        return Response();
    }

    int Fd() const { return FFd; }

private:
    bool Receive(int AMilliseconds = Limit)
    {
        FTimedOut = false;
        pollfd Entry{FFd, POLLIN, 0};
        if (poll(&Entry, 1, AMilliseconds) <= 0) {
            FTimedOut = true;
            return false;
        }
        char Bytes[65536];
        const ssize_t Count = recv(FFd, Bytes, sizeof Bytes, 0);
        if (Count > 0)
            FBuffer.append(Bytes, static_cast<std::size_t>(Count));
        return Count > 0;
    }

    std::size_t EndOfChunks(std::size_t AStart)
    {
        std::size_t End;
        while ((End = FBuffer.find("\r\n0\r\n\r\n", AStart - 2)) == std::string::npos)
            if (!Receive())
                return FBuffer.size();
        return End + 7;
    }

    int FFd;
    std::string FBuffer;
    bool FTimedOut = false;
};

/// "200" of a response.
inline std::string StatusOf(std::string_view AResponse)
{
    return AResponse.starts_with("HTTP/1.1 ") ? std::string(AResponse.substr(9, 3)) : "none";
}

inline std::string BodyOf(std::string_view AResponse)
{
    const auto End = AResponse.find("\r\n\r\n");
    return End == std::string_view::npos ? std::string() : std::string(AResponse.substr(End + 4));
}
