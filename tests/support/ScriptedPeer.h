#pragma once

// A TCP server for tests: each connection runs a script that reads and writes bytes as it likes.

#include <arpa/inet.h>
#include <atomic>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

/// The server's end of one connection.
class PeerConnection
{
public:
    explicit PeerConnection(int AFd, int AIndex) : Index(AIndex), FFd(AFd) {}
    ~PeerConnection() { close(FFd); }
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;

    const int Index; // 0 for the first connection to the peer

    /// The head of the next request, with its empty line; empty at the end of the connection.
    std::string ReadHead()
    {
        std::size_t End;
        while ((End = FBuffer.find("\r\n\r\n")) == std::string::npos)
            if (!More())
                return {};
        return Take(End + 4);
    }
    /// Fewer bytes at the end of the connection.
    std::string ReadBytes(std::size_t ACount)
    {
        while (FBuffer.size() < ACount && More())
            ;
        return Take(std::min(ACount, FBuffer.size()));
    }
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
    /// A response of 200 with that body.
    bool Answer(std::string_view ABody, std::string_view AFields = {})
    {
        return Send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(ABody.size()) + "\r\n" +
                    std::string(AFields) + "\r\n" + std::string(ABody));
    }
    void WaitForEnd()
    {
        while (More())
            FBuffer.clear();
    }
    void Reset()
    {
        const linger AtOnce{1, 0};
        setsockopt(FFd, SOL_SOCKET, SO_LINGER, &AtOnce, sizeof AtOnce);
    }
    void Break() { shutdown(FFd, SHUT_RDWR); }

private:
    bool More()
    {
        pollfd Wait{FFd, POLLIN, 0};
        if (poll(&Wait, 1, 30'000) <= 0)
            return false;
        char Bytes[16384];
        const ssize_t Count = recv(FFd, Bytes, sizeof Bytes, 0);
        if (Count > 0)
            FBuffer.append(Bytes, static_cast<std::size_t>(Count));
        return Count > 0;
    }
    std::string Take(std::size_t ACount)
    {
        std::string Result = FBuffer.substr(0, ACount);
        FBuffer.erase(0, ACount);
        return Result;
    }

    int FFd;
    std::string FBuffer;
};

class ScriptedPeer
{
public:
    using Script = std::function<void(PeerConnection&)>;

    explicit ScriptedPeer(Script AScript)
        : FScript(std::move(AScript)), FListener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t Length = sizeof Address;
        if (bind(FListener, reinterpret_cast<sockaddr*>(&Address), Length) != 0 ||
            listen(FListener, 128) != 0 ||
            getsockname(FListener, reinterpret_cast<sockaddr*>(&Address), &Length) != 0)
            throw std::runtime_error("the peer can't listen");
        FPort = ntohs(Address.sin_port);
        FAcceptor = std::thread([this] { AcceptAll(); });
    }
    ~ScriptedPeer()
    {
        shutdown(FListener, SHUT_RDWR);
        FAcceptor.join();
        {
            std::lock_guard Lock(FLock);
            for (PeerConnection* Each : FOpen)
                Each->Break();
        }
        for (std::thread& Each : FThreads)
            Each.join();
        close(FListener);
    }
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    std::uint16_t Port() const { return FPort; }
    int Connections() const { return FCount.load(); }

private:
    void AcceptAll()
    {
        for (int Fd; (Fd = accept(FListener, nullptr, nullptr)) >= 0;)
            FThreads.emplace_back([this, Fd, Index = FCount++] { Serve(Fd, Index); });
    }
    void Serve(int AFd, int AIndex)
    {
        PeerConnection Connection(AFd, AIndex);
        {
            std::lock_guard Lock(FLock);
            FOpen.push_back(&Connection);
        }
        FScript(Connection);
        std::lock_guard Lock(FLock);
        std::erase(FOpen, &Connection);
    }

    const Script FScript;
    const int FListener;
    std::uint16_t FPort = 0;
    std::atomic<int> FCount{0};
    std::mutex FLock;
    std::vector<PeerConnection*> FOpen;
    std::vector<std::thread> FThreads; // the acceptor's, then the destructor's
    std::thread FAcceptor;
};
