#pragma once

#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

#include "platform/pipes/FileDescriptor.h"
#include "platform/pipes/PipeStream.h"
#include "platform/pipes/ssh/SshSession.h"

namespace Zn
{

/// Carries bytes between a pipe's socket and its channel at another host.
///
///   PipeStream == socket pair == tunnel's thread == SSH channel == sshd == the server's socket
///
/// A session may be used by one thread only; so it is the tunnel's, and the pipe is a local one to all
/// others. Each way holds one buffer: who doesn't read holds up who writes, as on one machine.
class SshTunnel : public PipeRoute
{
public:
    SshTunnel(std::unique_ptr<SshSession> ASession, FileDescriptor ASocket);
    ~SshTunnel() override;

private:
    /// Bytes on their way.
    struct Cargo
    {
        std::vector<char> Bytes = std::vector<char>(64 * 1024);
        std::size_t Begin = 0;
        std::size_t End = 0;
        bool IsEmpty() const { return Begin == End; }
        void Took(std::size_t ACount) { Begin += ACount; }
        void Fill(std::size_t ACount)
        {
            Begin = 0;
            End = ACount;
        }
    };
    enum class Step { Nothing, Moved, Ended };

    void Run();
    Step FromChannel();
    Step ToSocket();
    Step FromSocket();
    Step ToChannel();
    void Wait();

    const std::unique_ptr<SshSession> FSession;
    const FileDescriptor FSocket;
    Cargo FInbound, FOutbound;
    std::thread FThread;
};

} // namespace Zn
