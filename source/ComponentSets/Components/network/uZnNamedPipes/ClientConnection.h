#pragma once

#include "uZnNamedPipes/Connection.h"

class TZnNamedPipeClient;

/// A client's connection: connects, reads until the connection ends, and does so again if it is to.
class TZnNamedPipeClientConnection : public TZnNamedPipeConnection
{
public:
    /// Takes a copy of the client's settings: later changes are for the next one.
    explicit TZnNamedPipeClientConnection(TZnNamedPipeClient* AClient);

    bool GetConnecting() const { return FConnecting; }

protected:
    void Execute() override;

private:
    friend class TZnNamedPipeClient;

    /// ALoggedOn: this attempt made a network logon, which is to be cancelled when it has ended.
    void ConnectToServer(bool& ALoggedOn);
    void TryConnect(bool& ALoggedOn);
    void RunOnce(bool& ALoggedOn);
    void AddNetworkConnection(bool& ALoggedOn);
    void CancelNetworkConnection(bool& ALoggedOn);
    void WaitForInstance();
    void OpenPipe();
    void PauseBeforeReconnect();
    bool IsRemote() const { return FServerName != "."; }

    const std::string FServerName;
    const std::string FUserName;
    const std::string FPassword;
    const bool FAutoReconnect;
    const std::uint32_t FMinWaitBeforeReconnect;
    std::atomic<bool> FConnecting{false};
    // Set once the owner thread has run DoConnected. Shared: who waits for it may outlive the connection.
    const std::shared_ptr<TZnKernelEvent> FAnnounced = std::make_shared<TZnKernelEvent>();
};
