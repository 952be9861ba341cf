/// What a local way beside the stream could gain: a seqpacket socket keeps messages apart by itself. One
/// message has to fit the socket's buffer, which only root makes larger than the system's limit, and SSH
/// forwards streams alone.

#include <vector>

#include "benchmarks/pipes/UnixSocket.h"

namespace
{

constexpr std::size_t cLongest = (1 << 20) + 64;

const UnixSocketKind cKind{"packets", SOCK_SEQPACKET, [](int ASocket) {
                               const int Room = 2 * static_cast<int>(cLongest);
                               setsockopt(ASocket, SOL_SOCKET, SO_SNDBUFFORCE, &Room, sizeof(Room));
                           }};

void Write(int ASocket, const std::string& ABlock)
{
    if (send(ASocket, ABlock.data(), ABlock.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(ABlock.size()))
        throw std::runtime_error("seqpacket: send");
}

void Serve(int AClient)
{
    std::vector<char> Buffer(cLongest);
    for (ssize_t Count = 0; (Count = recv(AClient, Buffer.data(), Buffer.size(), 0)) > 0;)
        if (Buffer[0] == '?')
            Write(AClient, {Buffer.data(), static_cast<std::size_t>(Count)});
    close(AClient);
}

class Client : public BenchClient
{
public:
    explicit Client(const std::string& AFolder)
        : FSocket(ConnectUnixSocket(cKind, AFolder)), FBuffer(cLongest)
    {
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
    return {"seqpacket", true,
            [](const auto& AFolder) { return std::make_unique<UnixSocketServer>(cKind, AFolder, Serve); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
