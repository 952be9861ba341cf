#pragma once

#include <cstring>
#include <functional>
#include <stdexcept>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "benchmarks/pipes/Peer.h"

/// What the peers on a bare Unix socket have in common: the way to each other, and a thread for each client.

/// A socket and how to make it. The server's and a client's are made alike.
struct UnixSocketKind
{
    const char* Name;
    int Type;
    std::function<void(int)> SetUp;
};

inline sockaddr_un UnixAddress(const UnixSocketKind& AKind, const std::string& AFolder)
{
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    std::strncpy(Address.sun_path, (AFolder + "/" + AKind.Name).c_str(), sizeof(Address.sun_path) - 1);
    return Address;
}

inline int OpenUnixSocket(const UnixSocketKind& AKind)
{
    const int Socket = socket(AF_UNIX, AKind.Type, 0);
    AKind.SetUp(Socket);
    return Socket;
}

/// Waits for the server to come.
inline int ConnectUnixSocket(const UnixSocketKind& AKind, const std::string& AFolder)
{
    const int Socket = OpenUnixSocket(AKind);
    const sockaddr_un Address = UnixAddress(AKind, AFolder);
    while (connect(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) != 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return Socket;
}

class UnixSocketServer : public BenchServer
{
public:
    /// AServe runs on a thread of its own with each client's socket, which is its to close.
    UnixSocketServer(const UnixSocketKind& AKind, const std::string& AFolder, void (*AServe)(int))
        : FListener(OpenUnixSocket(AKind)), FServe(AServe)
    {
        const sockaddr_un Address = UnixAddress(AKind, AFolder);
        if (bind(FListener, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) != 0 ||
            listen(FListener, 256) != 0)
            throw std::runtime_error(std::string(AKind.Name) + ": bind");
    }
    ~UnixSocketServer() override { close(FListener); }

    void Run() override
    {
        for (;;) {
            const int Client = accept(FListener, nullptr, nullptr);
            if (Client >= 0)
                std::thread(FServe, Client).detach();
        }
    }

private:
    const int FListener;
    void (*const FServe)(int);
};
