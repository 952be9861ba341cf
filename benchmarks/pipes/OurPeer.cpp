#include <stdexcept>

#include "benchmarks/pipes/Peer.h"
#include "platform/messages/Messages.h"
#include "uZnNamedPipes.h"

namespace
{

constexpr std::uint32_t cAnswerLimit = 20000;

class Server : public BenchServer
{
public:
    explicit Server(const std::string& /*AFolder*/)
    {
        FServer.SetPipeName("ours");
        FServer.SetReceiveSyncType(rsThreaded);
        FServer.SetMaxConnections(0);
        FServer.OnCmdReceivedB = [](TZnNamedPipeConnectionID, PZnMemoryBuffer AData) {
            const PZnMemoryBuffer Answer = ZnGetMem(AData->Size);
            std::copy_n(AData->Bytes(), AData->Size, Answer->Bytes());
            return Answer;
        };
        FServer.Start();
    }
    void Run() override
    {
        for (;;) {
            WaitMessage(1000);
            ProcessMessages();
        }
    }

private:
    TZnNamedPipeServer FServer;
};

class Client : public BenchClient
{
public:
    explicit Client(const std::string& /*AFolder*/)
    {
        FClient.SetPipeName("ours");
        FClient.SetReceiveSyncType(rsThreaded);
        FClient.SetMinWaitBeforeReconnect(5);
        FClient.Connect(-1);
        while (FClient.GetStatus() != npcsConnected || FConnected == 0) {
            WaitMessage(5);
            ProcessMessages();
            FConnected = FClient.GetStatus() == npcsConnected ? FConnected + 1 : 0;
        }
    }
    void Ask(const std::string& ABlock) override
    {
        PZnDataBuffer Answer =
            FClient.SendCmd(ABlock.data(), static_cast<std::uint32_t>(ABlock.size()), cAnswerLimit, btBinary);
        const bool IsWhole = Answer->Size == ABlock.size();
        ZnFreeDataBuffer(Answer);
        if (!IsWhole)
            throw std::runtime_error("ours: no answer");
    }
    void Send(const std::string& ABlock) override
    {
        FClient.SendMsg(ABlock.data(), static_cast<std::uint32_t>(ABlock.size()), btBinary);
    }
    void Finish() override { Ask("?"); } // keeps its order behind the data

private:
    TZnNamedPipeClient FClient;
    int FConnected = 0;
};

} // namespace

BenchPeer OurPeer()
{
    return {"ours", true, [](const auto& AFolder) { return std::make_unique<Server>(AFolder); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
