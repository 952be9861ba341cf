#pragma once

#include <cstdint>
#include <sys/types.h>

/// The least server that keeps a client busy: a process of its own, a thread for each connection, blocking
/// calls.
///
///   GET  /text13         13 bytes
///   GET  /bytes/COUNT    that many
///   PUT  /               reads the body, answers with nothing
class BenchServer
{
public:
    BenchServer();
    ~BenchServer();
    BenchServer(const BenchServer&) = delete;
    BenchServer& operator=(const BenchServer&) = delete;

    std::uint16_t Port() const { return FPort; }

private:
    std::uint16_t FPort = 0;
    pid_t FProcess = -1;
};
