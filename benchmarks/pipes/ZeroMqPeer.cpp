#include <stdexcept>

#include <zmq.h>

#include "benchmarks/pipes/Peer.h"

namespace
{

std::string Endpoint(const std::string& AFolder, const char* AName)
{
    return "ipc://" + AFolder + "/zmq-" + AName;
}

class Server : public BenchServer
{
public:
    explicit Server(const std::string& AFolder)
        : FContext(zmq_ctx_new()),
          FAnswers(zmq_socket(FContext, ZMQ_REP)),
          FBlocks(zmq_socket(FContext, ZMQ_PULL))
    {
        if (zmq_bind(FAnswers, Endpoint(AFolder, "rep").c_str()) != 0 ||
            zmq_bind(FBlocks, Endpoint(AFolder, "pull").c_str()) != 0)
            throw std::runtime_error("zeromq: bind");
    }
    void Run() override
    {
        zmq_pollitem_t Items[] = {{FBlocks, 0, ZMQ_POLLIN, 0}, {FAnswers, 0, ZMQ_POLLIN, 0}};
        zmq_msg_t Message;
        zmq_msg_init(&Message);
        // A plain loop over REP alone would be faster by nothing: poll is asked only when both are empty.
        for (;;) {
            if (zmq_msg_recv(&Message, FBlocks, ZMQ_DONTWAIT) >= 0)
                continue;
            if (zmq_msg_recv(&Message, FAnswers, ZMQ_DONTWAIT) >= 0) {
                zmq_msg_send(&Message, FAnswers, 0);
                continue;
            }
            zmq_poll(Items, 2, -1);
        }
    }

private:
    void* FContext;
    void* FAnswers;
    void* FBlocks;
};

class Client : public BenchClient
{
public:
    explicit Client(const std::string& AFolder)
        : FContext(zmq_ctx_new()),
          FRequests(zmq_socket(FContext, ZMQ_REQ)),
          FBlocks(zmq_socket(FContext, ZMQ_PUSH))
    {
        if (zmq_connect(FRequests, Endpoint(AFolder, "rep").c_str()) != 0 ||
            zmq_connect(FBlocks, Endpoint(AFolder, "pull").c_str()) != 0)
            throw std::runtime_error("zeromq: connect");
        zmq_msg_init(&FAnswer);
    }
    void Ask(const std::string& ABlock) override
    {
        zmq_send(FRequests, ABlock.data(), ABlock.size(), 0);
        if (zmq_msg_recv(&FAnswer, FRequests, 0) != static_cast<int>(ABlock.size()))
            throw std::runtime_error("zeromq: no answer");
    }
    void Send(const std::string& ABlock) override { zmq_send(FBlocks, ABlock.data(), ABlock.size(), 0); }
    // The two sockets keep no order between them; what the queues still hold is not waited for.
    void Finish() override { Ask("?"); }

private:
    void* FContext;
    void* FRequests;
    void* FBlocks;
    zmq_msg_t FAnswer;
};

} // namespace

BenchPeer ZeroMqPeer()
{
    return {"zeromq", false, [](const auto& AFolder) { return std::make_unique<Server>(AFolder); },
            [](const auto& AFolder) { return std::make_unique<Client>(AFolder); }};
}
