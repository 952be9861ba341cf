/// What a local way beside the stream could gain: a seqpacket socket keeps messages apart by itself. One
/// message has to fit the socket's buffer, which only root makes larger than the system's limit, and SSH
/// forwards streams alone.

#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "benchmarks/pipes/Peer.h"

namespace
{

constexpr std::size_t cLongest = (1 << 20) + 64;

sockaddr_un AddressIn(const std::string& AFolder)
{
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    std::strncpy(Address.sun_path, (AFolder + "/packets").c_str(), sizeof(Address.sun_path) - 1);
    return Address;
}

int Open()
{
    const int Socket = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    const int Room = 2 * static_cast<int>(cLongest);
    setsockopt(Socket, SOL_SOCKET, SO_SNDBUFFORCE, &Room, sizeof(Room));
    return Socket;
}

void Write(int ASocket, const std::string& ABlock)
{
    if (send(ASocket, ABlock.data(), ABlock.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(ABlock.size()))
        throw std::runtime_error("seqpacket: send");
}

class Server : public BenchServer
{
public:
    explicit Server(const std::string& AFolder) : FListener(Open())
    {
        const sockaddr_un Address = AddressIn(AFolder);
        if (bind(FListener, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) != 0 ||
            listen(FListener, 256) != 0)
            throw std::runtime_error("seqpacket: bind");
    }
    ~Server() override { close(FListener); }

    void Run() override
    {
        for (;;) {
            const int Client = accept(FListener, nullptr, nullptr);
            if (Client >= 0)
                std::thread([Client] { Serve(Client); }).detach();
        }
    }

private:
    static void Serve(int AClient)
    {
        std::vector<char> Buffer(cLongest);
        for (ssize_t Count = 0; (Count = recv(AClient, Buffer.data(), Buffer.size(), 0)) > 0;)
            if (Buffer[0] == '?')
                Write(AClient, {Buffer.data(), static_cast<std::size_t>(Count)});
        close(AClient);
    }

    const int FListener;
};

class Client : public BenchClient
{
public:
    explicit Client(const std::string& AFolder) : FSocket(Open()), FBuffer(cLongest)
    {
        const sockaddr_un Address = AddressIn(AFolder);
        while (connect(FSocket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ~Client() override { close(FSocket); }

    void Ask(const std::string& ABlock) override
    {
        Write(FSocket, ABlock);
        if (recv(FSocket, FBuffer.data(), FBuffer.size(), 0) != static_cast<ssize_t>(ABlock.size()))
            throw std::runtime_error("seqpacket: no answer");
    }
    void Send(const std::string& ABlock) override { Write(FSocket, ABlock); }
    void Finish() override { Ask("?"); }

private:
    const int FSocket;
    std::vector<char> FBuffer;
};

} // namespace

BenchPeer SeqPacketPeer()
{
    return {"seqpacket", true, [](const auto& AFolder) { return std::make_unique<Server>(AFolder); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
