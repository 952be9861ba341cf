#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/errors/Errors.h"
#include "platform/pipes/PipeStream.h"
#include "platform/pipes/ServedPipe.h"
#include "platform/sync/Handle.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

/// What a pipe's handle names: one end of a connection, or an instance that waits for its client.
///
///   server: waiting --client--> connected --Disconnect--> ended --Connect--> waiting ...
///   client: connected from the start
class Pipe : public KernelObject
{
public:
    /// A client's end.
    explicit Pipe(std::shared_ptr<PipeStream> AStream) : FStream(std::move(AStream)) {}
    /// A server's instance, waiting.
    Pipe(std::string AFile, unsigned AMode, ServedPipe::Instance AInstance)
        : FFile(std::move(AFile)), FMode(AMode), FInstance(std::move(AInstance))
    {
    }
    ~Pipe() override;
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// Has an ended instance wait again. ERROR_PIPE_CONNECTED for a connected one or when a client has come
    /// already.
    std::uint32_t BeginConnect();
    /// Waits for the client until AEvent (a descriptor, or -1) is readable: ERROR_IO_INCOMPLETE.
    std::uint32_t FinishConnect(int AEvent, bool AWait);
    std::uint32_t Disconnect();

    /// Empty without a connection.
    std::shared_ptr<PipeStream> Stream();

    void HandleClosed() override { End(ERROR_INVALID_HANDLE); }

private:
    bool IsServer() const { return !FFile.empty(); }
    std::uint32_t AcceptClient() ZN_REQUIRES(FMutex);
    void End(std::uint32_t AError);

    const std::string FFile; // of a server
    const unsigned FMode = 0;

    Mutex FMutex;
    ServedPipe::Instance FInstance ZN_GUARDED_BY(FMutex); // the entrance while waiting
    std::shared_ptr<PipeStream> FStream ZN_GUARDED_BY(FMutex);
    bool FClosed ZN_GUARDED_BY(FMutex) = false;
};

} // namespace Zn
