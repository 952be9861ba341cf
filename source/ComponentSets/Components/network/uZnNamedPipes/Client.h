#pragma once

#include "platform/Api.h"
#include "uZnNamedPipes/NamedPipe.h"

class TZnNamedPipeClientConnection;

/// Where a client stands; OnStatusChanged tells each change.
enum TZnNamedPipeClientStatus : std::uint8_t {
    npcsDisconnected = 0,
    npcsConnecting = 1,
    npcsConnected = 2,
    npcsDisconnecting = 3,
};

/// Connects to a pipe server on this machine or another one, and keeps the connection up.
///
/// Use:       set PipeName (ServerName, UserName and Password for another machine) and the events,
///            then Connect; see examples/pipe-chat.
/// Threads:   as TZnNamedPipe says. Connect and Disconnect on the owner thread; the sends from any
///            thread. From a handler only Disconnect(false).
/// Ownership: AOwner frees it; it owns its connection.
/// Errors:    Connect with a time raises EZnNamedPipeConnectError. Every other failed attempt comes by
///            OnAutoConnectException, and what ends a connection by OnNamedPipeException.
class ZN_API TZnNamedPipeClient : public TZnNamedPipe
{
public:
    explicit TZnNamedPipeClient(TComponent* AOwner = nullptr) : TZnNamedPipe(AOwner) {}
    ~TZnNamedPipeClient() override;

    /// Default "."; empty means the same. Settings hold for the next Connect.
    std::string GetServerName() const override { return FServerName; }
    void SetServerName(const std::string& AValue) override { FServerName = AValue; }
    /// For another machine. Empty: the present user, who logs on if the server asks for it.
    const std::string& GetUserName() const { return FUserName; }
    void SetUserName(const std::string& AValue) { FUserName = AValue; }
    /// For another machine; empty: agent and keys. A secret.
    const std::string& GetPassword() const { return FPassword; }
    void SetPassword(const std::string& AValue) { FPassword = AValue; }
    /// Try again, for ever, after a failed attempt or a lost connection. Default true.
    bool GetAutoReconnect() const { return FAutoReconnect; }
    void SetAutoReconnect(bool AValue) { FAutoReconnect = AValue; }
    /// Pause before that, ms. Default 2000.
    std::uint32_t GetMinWaitBeforeReconnect() const { return FMinWaitBeforeReconnect; }
    void SetMinWaitBeforeReconnect(std::uint32_t AValue) { FMinWaitBeforeReconnect = AValue; }

    /// Begins to connect. ATimeOut above 0: waits that many ms for the first attempt and raises when it
    /// failed or isn't done; no connection is left then. OnConnected has run when it returns. Else it returns
    /// at once. Nothing happens on an active client.
    void Connect(int ATimeOut);
    /// Blocking: returns when the connection's thread has ended. Else it ends behind the handler that runs
    /// now.
    void Disconnect(bool ABlocking);
    /// Not disconnected and not disconnecting: a client that still tries to connect is active.
    bool GetActive() const override;

    /// On the owner thread.
    TZnNamedPipeClientStatus GetStatus() const;
    /// It tries, and isn't connected. On the owner thread.
    bool GetConnecting() const;
    /// Of the last failed attempt to connect.
    const std::string& GetLastConnectErrMsg() const { return FConnectErrMsg; }
    /// Its number; 0 when the last attempt went well.
    std::uint32_t GetLastConnectErrCode() const { return FConnectErrCode; }

    // As TZnNamedPipeConnection has them; EZnNamedPipe, 21, without a connection.
    /// Milliseconds from sending here to answering there, by both machines' clocks. -1 without an answer in
    /// ATimeOut ms.
    int SendPing(std::uint32_t ATimeOut);
    /// Data of one message. Returns when it is written; waits as long as the server takes to make room.
    void SendMsg(const AnsiString& AMessage);
    void SendMsg(const std::string& AMessage);
    void SendMsg(const void* ABuffer, std::uint32_t ABufSize, TZnDataBufType ADataType);
    /// A command and its answer. Waits at most ATimeOut ms, then raises EZnNamedPipeReadTimeOut.
    AnsiString SendCmd(const AnsiString& ACommand, std::uint32_t ATimeOut);
    std::string SendCmd(const std::string& ACommand, std::uint32_t ATimeOut);
    PZnDataBuffer SendCmd(const void* ABuffer, std::uint32_t ABufSize, std::uint32_t ATimeOut,
                          TZnDataBufType ADataType);
    /// The process of the server; false without a connection or for another machine.
    bool GetPeer(TZnPipePeer& APeer);

    /// An attempt to connect failed that no Connect waits for. On the owner thread.
    TZnOnNamedPipeException OnAutoConnectException;
    /// Status has changed. On the owner thread.
    TNotifyEvent OnStatusChanged;

protected:
    bool IsActiveConnection(TZnNamedPipeConnection* AConnection) override;
    void SetActive(bool AValue) override;
    void WndProc(TMessage& AMessage) override;
    void BeforeDestruction() override;
    void DoConnDestroyed(TZnNamedPipeConnection* AConnection) override;
    void DoConnected(TZnNamedPipeConnection* AConnection) override;
    void DoDisconnected(TZnNamedPipeConnection* AConnection) override;
    void DoHandlePipeException(TZnNamedPipeConnection* AConnection, const Exception& AException,
                               bool& AHandled) override;

private:
    TZnNamedPipeConnectionUse CheckConnected();
    void DoStatusChanged();
    void SetConnection(TZnNamedPipeClientConnection* AConnection);
    void FinishDisconnect();
    void AwaitFirstAttempt(std::uint32_t ATimeOut);

    TZnNamedPipeClientStatus FStatus = npcsDisconnected; // last reported
    std::string FServerName = ".";
    std::string FUserName;
    std::string FPassword;
    bool FAutoReconnect = true;
    std::uint32_t FMinWaitBeforeReconnect = 2000;
    std::string FConnectErrMsg;
    std::uint32_t FConnectErrCode = 0;
    std::atomic<bool> FDisconnecting{false};
    // Changed by the owner thread under the lock; read there without it, by senders with it.
    mutable TCriticalSection FConnectionLock;
    TZnNamedPipeClientConnection* FConnection = nullptr;
};
