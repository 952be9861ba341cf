#include <stdexcept>

#include <grpcpp/grpcpp.h>

#include "benchmarks/pipes/Peer.h"
#include "echo.grpc.pb.h"

namespace
{

class Service final : public bench::Echo::Service
{
    grpc::Status Ask(grpc::ServerContext*, const bench::Block* ARequest, bench::Block* AAnswer) override
    {
        AAnswer->set_data(ARequest->data());
        return grpc::Status::OK;
    }
};

class Server : public BenchServer
{
public:
    explicit Server(const std::string& AFolder)
    {
        grpc::ServerBuilder Builder;
        Builder.AddListeningPort("unix:" + AFolder + "/grpc", grpc::InsecureServerCredentials());
        Builder.RegisterService(&FService);
        FServer = Builder.BuildAndStart();
    }
    void Run() override { FServer->Wait(); }

private:
    Service FService;
    std::unique_ptr<grpc::Server> FServer;
};

class Client : public BenchClient
{
public:
    explicit Client(const std::string& AFolder)
        : FChannel(grpc::CreateChannel("unix:" + AFolder + "/grpc", grpc::InsecureChannelCredentials())),
          FStub(bench::Echo::NewStub(FChannel))
    {
        FChannel->WaitForConnected(gpr_time_from_seconds(10, GPR_TIMESPAN));
    }
    void Ask(const std::string& ABlock) override
    {
        grpc::ClientContext Context;
        FRequest.set_data(ABlock);
        if (!FStub->Ask(&Context, FRequest, &FAnswer).ok() || FAnswer.data().size() != ABlock.size())
            throw std::runtime_error("grpc: no answer");
    }
    void Send(const std::string& ABlock) override { Ask(ABlock); }
    void Finish() override {}

private:
    std::shared_ptr<grpc::Channel> FChannel;
    std::unique_ptr<bench::Echo::Stub> FStub;
    bench::Block FRequest, FAnswer;
};

} // namespace

BenchPeer GrpcPeer()
{
    return {"grpc", false, [](const auto& AFolder) { return std::make_unique<Server>(AFolder); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
