#pragma once

#include <atomic>

#include "platform/Api.h"
#include "uZnNamedPipes/ConnectionList.h"
#include "uZnNamedPipes/NamedPipe.h"

class TZnNamedPipeServerConnection;

/// Serves many clients on a named pipe of this machine, one thread for each.
///
/// Use:       set PipeName and the events, then Start; see examples/pipe-chat.
/// Threads:   as TZnNamedPipe says. Start, Stop and CloseConnection on the owner thread and from no
///            handler that a connection's thread waits for; the sends from any thread.
/// Ownership: AOwner frees it; it owns its connections.
/// Errors:    a pipe that can't be made is told by OnNamedPipeException (EZnNamedPipeConnectError);
///            Start has returned by then, and MaxConnections reads -1.
class ZN_API TZnNamedPipeServer : public TZnNamedPipe
{
public:
    explicit TZnNamedPipeServer(TComponent* AOwner = nullptr) : TZnNamedPipe(AOwner) {}
    ~TZnNamedPipeServer() override;

    /// Opens the pipe; what goes wrong there comes by OnNamedPipeException.
    void Start();
    /// Ends every connection and waits for their threads; OnDisconnected runs for each.
    void Stop();
    /// Started, and not stopped. Setting it is Start or Stop. On the owner thread.
    bool GetActive() const override { return FActive; }
    void SetActive(bool AValue) override;

    /// Clients served at once, default 5; 0: no limit of the server's own. Further ones find the pipe
    /// busy. Takes effect at the next connection or Start. EInvalidArgument below 0.
    int GetMaxConnections() const { return FMaxConnections; }
    void SetMaxConnections(int AValue);

    /// The connected clients.
    TZnNamedPipeConnectionList& GetConnections() { return FConnections; }

    /// The bytes as one message without a frame: the peer gets a raw frame. ID 0: every connection, the
    /// newest first. Nothing happens for an ID that isn't there. A failure ends the walk.
    void SendRaw(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer, std::uint32_t ABufSize);
    /// The same with a data frame.
    void SendMsg(TZnNamedPipeConnectionID AConnectionID, const AnsiString& AMessage);
    void SendMsg(TZnNamedPipeConnectionID AConnectionID, const std::string& AMessage);
    void SendMsg(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer, std::uint32_t ABufSize,
                 TZnDataBufType ADataType);

    /// A command to one client, as TZnNamedPipeConnection has it. ID 0 is an assertion. An ID that
    /// isn't there: nullptr, the texts raise EZnNamedPipe, 6. A text raises Exception for a binary answer
    /// (and std::string for any but UTF-8).
    PZnDataBuffer SendCmd(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer, std::uint32_t ABufSize,
                          std::uint32_t ATimeOut, TZnDataBufType ADataType);
    AnsiString SendCmd(TZnNamedPipeConnectionID AConnectionID, const AnsiString& ACommand,
                       std::uint32_t ATimeOut);
    std::string SendCmd(TZnNamedPipeConnectionID AConnectionID, const std::string& ACommand,
                        std::uint32_t ATimeOut);

    /// Ends one connection and waits for its thread. EZnNamedPipe, 6, for an ID that isn't there.
    void CloseConnection(TZnNamedPipeConnectionID AConnectionID);

    /// Start has begun to serve. On the owner thread.
    TNotifyEvent OnStarted;
    /// All connections have ended. On the owner thread.
    TNotifyEvent OnStopped;

protected:
    friend class TZnNamedPipeServerConnection;

    bool IsActiveConnection(TZnNamedPipeConnection* AConnection) override;
    void DoConnDestroyed(TZnNamedPipeConnection* AConnection) override;
    void DoConnected(TZnNamedPipeConnection* AConnection) override;
    void DoDisconnected(TZnNamedPipeConnection* AConnection) override;
    void DoHandlePipeException(TZnNamedPipeConnection* AConnection, const Exception& AException,
                               bool& AHandled) override;

    void StopAcceptingNewConnections();
    void StartAcceptingNewConnections();

private:
    void CheckConnectionCount();
    void CleanupConnection(TZnNamedPipeConnection* AConnection);
    template <class TSend>
    void ForEach(TZnNamedPipeConnectionID AConnectionID, TSend ASend);
    PZnDataBuffer SendTextCmd(TZnNamedPipeConnectionID AConnectionID, std::string_view ACommand,
                              std::uint32_t ATimeOut, TZnDataBufType ADataType);

    bool FActive = false;
    bool FStarting = false;
    std::atomic<bool> FStopping{false};
    bool FAcceptNewConnections = true;
    TZnNamedPipeConnectionList FConnections;
    TZnNamedPipeServerConnection* FPendingConnection = nullptr; // waits for a client; not in FConnections
    std::atomic<int> FMaxConnections{5};                        // -1: the pipe couldn't be made
};
