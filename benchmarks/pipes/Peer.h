#pragma once

#include <functional>
#include <memory>
#include <string>

/// One way to get blocks from a process to another one. Each side lives in a process of its own.
class BenchServer
{
public:
    virtual ~BenchServer() = default;
    /// Answers every request with itself, takes one-way blocks, until the process is ended.
    virtual void Run() = 0;
};

class BenchClient
{
public:
    virtual ~BenchClient() = default;
    /// One round trip. The answer has the request's length.
    virtual void Ask(const std::string& ABlock) = 0;
    /// One way, where the peer has one.
    virtual void Send(const std::string& ABlock) = 0;
    /// Returns when the server has taken all that was sent.
    virtual void Finish() = 0;
};

struct BenchPeer
{
    const char* Name;
    bool HasOneWay;
    std::function<std::unique_ptr<BenchServer>(const std::string& AFolder)> Server;
    std::function<std::unique_ptr<BenchClient>(const std::string& AFolder)> Client;
};

BenchPeer OurPeer();
BenchPeer BarePeer();
BenchPeer SeqPacketPeer();
BenchPeer ZeroMqPeer();
BenchPeer GrpcPeer();
