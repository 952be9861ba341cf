// The client components, as an application uses them.

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "benchmarks/client/Peers.h"
#include "common/Streams.h"
#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

namespace
{

/// A stream of a given length whose bytes are all the same, or which forgets what is written to it.
class EndlessStream : public TStream
{
public:
    explicit EndlessStream(std::int64_t ASize = 0) : FSize(ASize) {}
    std::int64_t Read(void* ABuffer, std::int64_t ACount) override
    {
        const std::int64_t Count = std::min(ACount, FSize - FPosition);
        std::memset(ABuffer, 'x', static_cast<std::size_t>(Count));
        FPosition += Count;
        return Count;
    }
    std::int64_t Write(const void* /*ABuffer*/, std::int64_t ACount) override
    {
        FPosition += ACount;
        FSize = std::max(FSize, FPosition);
        return ACount;
    }
    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override
    {
        const std::int64_t From = AOrigin == soBeginning ? 0 : AOrigin == soCurrent ? FPosition : FSize;
        return FPosition = From + AOffset;
    }
    std::int64_t GetSize() const override { return FSize; }
    void SetSize(std::int64_t ASize) override { FSize = ASize; }

private:
    std::int64_t FSize;
    std::int64_t FPosition = 0;
};

template <class TClient>
class ClientPeer : public BenchPeer
{
public:
    ClientPeer(const char* AName, std::uint16_t APort)
        : FName(AName), FAddress("http://127.0.0.1:" + std::to_string(APort)), FClient(nullptr)
    {
    }
    const char* Name() const override { return FName; }
    std::uint64_t Get(const char* ATarget) override
    {
        EndlessStream Sink;
        FClient.Request(httpGET, FAddress + ATarget, true)->GetResponseData(Sink);
        return static_cast<std::uint64_t>(Sink.GetSize());
    }
    void Put(std::uint64_t ALength) override
    {
        EndlessStream Source(static_cast<std::int64_t>(ALength));
        FClient.Request(httpPUT, FAddress + "/", &Source, "application/octet-stream", true);
    }

private:
    const char* FName;
    const std::string FAddress;
    TClient FClient;
};

} // namespace

std::unique_ptr<BenchPeer> MakeClientPeer(std::uint16_t APort)
{
    return std::make_unique<ClientPeer<TZnWinHTTPClient>>("client", APort);
}

std::unique_ptr<BenchPeer> MakeWinINetPeer(std::uint16_t APort)
{
    return std::make_unique<ClientPeer<TZnWinINetClient>>("wininet", APort);
}
