#pragma once

#include <arpa/inet.h>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// A hundred ports that are this process's until it ends. They lie below those that the system gives to
/// connections and to servers that ask for any port (from 32768 on), so nobody has one by chance; other test
/// processes find the name of the block taken.
class PortBlock
{
public:
    static PortBlock& Own()
    {
        static PortBlock Block;
        return Block;
    }
    /// One after the other: a port comes again as late as can be.
    std::uint16_t Next()
    {
        for (unsigned Tries = 0; Tries < cSize; ++Tries)
            if (const auto Port = static_cast<std::uint16_t>(FFirst + FGiven++ % cSize); IsFree(Port))
                return Port;
        throw std::runtime_error("no free port");
    }

private:
    static constexpr unsigned cSize = 100;
    static constexpr unsigned cBlocks = 220;

    PortBlock() : FHolder(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        for (unsigned Tries = 0; Tries < cBlocks; ++Tries) {
            const unsigned Block = (static_cast<unsigned>(getpid()) + Tries) % cBlocks;
            FFirst = 10'000 + Block * cSize;
            if (Take("zn-test-ports-" + std::to_string(Block)))
                return;
        }
        throw std::runtime_error("all ports for tests are taken");
    }
    /// A name without a file, which goes with the process.
    bool Take(const std::string& AName) const
    {
        sockaddr_un Address{};
        Address.sun_family = AF_UNIX;
        std::memcpy(Address.sun_path + 1, AName.data(), AName.size());
        const auto Length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + AName.size());
        return bind(FHolder, reinterpret_cast<const sockaddr*>(&Address), Length) == 0;
    }
    static bool IsFree(std::uint16_t APort)
    {
        const int Fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int Yes = 1; // as servers do: connections that have ended don't count
        setsockopt(Fd, SOL_SOCKET, SO_REUSEADDR, &Yes, sizeof Yes);
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_port = htons(APort);
        const bool Bound = bind(Fd, reinterpret_cast<const sockaddr*>(&Address), sizeof Address) == 0;
        close(Fd);
        return Bound;
    }

    const int FHolder;
    unsigned FFirst = 0;
    std::atomic<unsigned> FGiven{0};
};

/// A port for a server that a test starts, or one where nobody listens.
inline std::uint16_t FreePort()
{
    return PortBlock::Own().Next();
}
