/// The yardstick: a Unix stream socket, 4 bytes of length before each block, one write for both, a
/// buffered reader. Nothing else.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <sys/uio.h>
#include <unistd.h>

#include "benchmarks/pipes/UnixSocket.h"

namespace
{

const UnixSocketKind cKind{"bare", SOCK_STREAM, [](int) {}};

class Stream
{
public:
    explicit Stream(int ASocket) : FSocket(ASocket), FBuffer(64 * 1024) {}
    ~Stream() { close(FSocket); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void Write(const std::string& ABlock) const
    {
        auto Length = static_cast<std::uint32_t>(ABlock.size());
        iovec Parts[] = {{&Length, sizeof(Length)}, {const_cast<char*>(ABlock.data()), ABlock.size()}};
        std::size_t Sent = 0;
        while (Sent < sizeof(Length) + ABlock.size()) {
            const ssize_t Count = Sent == 0 ? writev(FSocket, Parts, 2)
                                            : write(FSocket, ABlock.data() + Sent - sizeof(Length),
                                                    sizeof(Length) + ABlock.size() - Sent);
            if (Count <= 0)
                throw std::runtime_error("bare: write");
            Sent += static_cast<std::size_t>(Count);
        }
    }

    /// False at the end.
    bool Read(std::string& ABlock)
    {
        std::uint32_t Length = 0;
        if (!Take(&Length, sizeof(Length)))
            return false;
        ABlock.resize(Length);
        return Take(ABlock.data(), Length);
    }

private:
    bool Take(void* APlace, std::size_t ALength)
    {
        auto* Place = static_cast<char*>(APlace);
        while (ALength > 0) {
            if (FBegin == FEnd && ALength >= FBuffer.size()) { // no way round for what is long
                const ssize_t Count = read(FSocket, Place, ALength);
                if (Count <= 0)
                    return false;
                Place += Count;
                ALength -= static_cast<std::size_t>(Count);
                continue;
            }
            if (FBegin == FEnd) {
                const ssize_t Count = read(FSocket, FBuffer.data(), FBuffer.size());
                if (Count <= 0)
                    return false;
                FBegin = 0;
                FEnd = static_cast<std::size_t>(Count);
            }
            const std::size_t Count = std::min(ALength, FEnd - FBegin);
            std::memcpy(Place, FBuffer.data() + FBegin, Count);
            FBegin += Count;
            Place += Count;
            ALength -= Count;
        }
        return true;
    }

    const int FSocket;
    std::vector<char> FBuffer;
    std::size_t FBegin = 0, FEnd = 0;
};

// A request begins with '?', a one-way block with anything else.
void Serve(int AClient)
{
    Stream Connection(AClient);
    std::string Block;
    while (Connection.Read(Block)) {
        if (Block[0] == '?')
            Connection.Write(Block);
    }
}

class Client : public BenchClient
{
public:
    explicit Client(const std::string& AFolder) : FStream(ConnectUnixSocket(cKind, AFolder)) {}
    void Ask(const std::string& ABlock) override
    {
        FStream.Write(ABlock);
        if (!FStream.Read(FAnswer) || FAnswer.size() != ABlock.size())
            throw std::runtime_error("bare: no answer");
    }
    void Send(const std::string& ABlock) override { FStream.Write(ABlock); }
    void Finish() override { Ask("?"); }

private:
    Stream FStream;
    std::string FAnswer;
};

} // namespace

BenchPeer BarePeer()
{
    return {"bare", true,
            [](const auto& AFolder) { return std::make_unique<UnixSocketServer>(cKind, AFolder, Serve); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
