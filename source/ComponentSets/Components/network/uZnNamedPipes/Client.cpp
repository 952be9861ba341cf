#include "uZnNamedPipes/Client.h"

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "uZnNamedPipes/ClientConnection.h"

TZnNamedPipeClient::~TZnNamedPipeClient()
{
    BeforeDestruction();
}

void TZnNamedPipeClient::BeforeDestruction()
{
    if (FDisconnecting)
        Disconnect(true);
    TZnNamedPipe::BeforeDestruction();
}

void TZnNamedPipeClient::SetConnection(TZnNamedPipeClientConnection* AConnection)
{
    TZnLockGuard Guard(FConnectionLock);
    FConnection = AConnection;
}

bool TZnNamedPipeClient::GetActive() const
{
    return !FDisconnecting && FConnection;
}

void TZnNamedPipeClient::SetActive(bool AValue)
{
    if (AValue && !GetActive())
        Connect(-1);
    else if (!AValue && GetActive())
        Disconnect(true);
}

void TZnNamedPipeClient::Connect(int ATimeOut)
{
    if (GetActive())
        return;
    if (FDisconnecting && FConnection) { // a non-blocking disconnect hasn't finished
        TMessage Dropped;
        RemoveMessage(FHWND, WM_NAMEDPIPE_DISCONNECT, WM_NAMEDPIPE_DISCONNECT, Dropped);
        FinishDisconnect();
    }
    FConnectErrMsg.clear();
    FConnectErrCode = 0;
    SetConnection(new TZnNamedPipeClientConnection(this));
    FConnection->Start();
    DoStatusChanged();
    if (ATimeOut > 0)
        AwaitFirstAttempt(static_cast<std::uint32_t>(ATimeOut));
    DoStatusChanged();
}

void TZnNamedPipeClient::AwaitFirstAttempt(std::uint32_t ATimeOut)
{
    const std::shared_ptr<TZnKernelEvent> Announced = FConnection->FAnnounced;
    FConnection->FConnectEvent.WaitFor(ATimeOut);
    if (FConnection->FConnected) {
        // The connection reads nothing before DoConnected has run here: a SendCmd that follows would wait for
        // an answer that nobody takes.
        ServeCallsUntil(*Announced, ATimeOut);
        return;
    }
    // Fills the error of the failed attempt: the wait for the thread serves its hand-over.
    Disconnect(true);
    if (FConnectErrCode == 0)
        FConnectErrCode = ERROR_PIPE_NOT_CONNECTED;
    if (FConnectErrMsg.empty())
        FConnectErrMsg = SysErrorMessage(FConnectErrCode);
    DoStatusChanged();
    throw EZnNamedPipeConnectError(FConnectErrCode, FConnectErrMsg);
}

void TZnNamedPipeClient::Disconnect(bool ABlocking)
{
    if (!(FDisconnecting && ABlocking) && !GetActive())
        return;
    // What was posted for a client that goes is dropped, a disconnect of before among it.
    TMessage Dropped;
    RemoveMessage(FHWND, WM_NAMEDPIPE_CONNECTED, WM_NAMEDPIPE_DISCONNECT, Dropped);
    if (!FDisconnecting.exchange(true))
        DoStatusChanged();
    if (ABlocking)
        FinishDisconnect();
    else
        PostMessage(FHWND, WM_NAMEDPIPE_DISCONNECT, 0, 0);
}

void TZnNamedPipeClient::FinishDisconnect()
{
    struct Finished
    {
        TZnNamedPipeClient* Client;
        ~Finished()
        {
            Client->FDisconnecting = false;
            try {
                Client->DoStatusChanged();
            } catch (const std::exception&) { // the disconnect is done whatever the handler says
            }
        }
    } AtTheEnd{this};
    if (FConnection)
        FConnection->Disconnect(); // DoConnDestroyed takes FConnection back
}

void TZnNamedPipeClient::WndProc(TMessage& AMessage)
{
    if (AMessage.Msg != WM_NAMEDPIPE_DISCONNECT)
        TZnNamedPipe::WndProc(AMessage);
    else if (FDisconnecting && FConnection)
        FinishDisconnect();
}

void TZnNamedPipeClient::DoConnDestroyed(TZnNamedPipeConnection* AConnection)
{
    TZnNamedPipe::DoConnDestroyed(AConnection);
    if (AConnection != FConnection)
        return;
    SetConnection(nullptr);
    FDisconnecting = false;
    DoStatusChanged();
}

void TZnNamedPipeClient::DoConnected(TZnNamedPipeConnection* AConnection)
{
    TZnNamedPipe::DoConnected(AConnection);
    DoStatusChanged();
}

void TZnNamedPipeClient::DoDisconnected(TZnNamedPipeConnection* AConnection)
{
    TZnNamedPipe::DoDisconnected(AConnection);
    DoStatusChanged();
}

void TZnNamedPipeClient::DoHandlePipeException(TZnNamedPipeConnection* AConnection,
                                               const Exception& AException, bool& AHandled)
{
    const auto* const Connection = dynamic_cast<TZnNamedPipeClientConnection*>(AConnection);
    if (!Connection || !Connection->GetConnecting())
        return TZnNamedPipe::DoHandlePipeException(AConnection, AException, AHandled);
    AHandled = true;
    const auto* const Refused = dynamic_cast<const EZnNamedPipeConnectError*>(&AException);
    FConnectErrCode = Refused ? Refused->GetErrorCode() : ERROR_PIPE_NOT_CONNECTED;
    FConnectErrMsg = AException.Message();
    if (OnAutoConnectException)
        OnAutoConnectException(AConnection->GetID(), AException, AHandled);
}

bool TZnNamedPipeClient::IsActiveConnection(TZnNamedPipeConnection* AConnection)
{
    return GetActive() && FConnection == AConnection && AConnection->GetConnected();
}

TZnNamedPipeClientStatus TZnNamedPipeClient::GetStatus() const
{
    if (FDisconnecting)
        return npcsDisconnecting;
    if (!FConnection)
        return npcsDisconnected;
    if (FConnection->GetTerminated())
        return npcsDisconnecting;
    return FConnection->GetConnected() ? npcsConnected : npcsConnecting;
}

bool TZnNamedPipeClient::GetConnecting() const
{
    return FConnection && FConnection->GetConnecting();
}

void TZnNamedPipeClient::DoStatusChanged()
{
    const TZnNamedPipeClientStatus Status = GetStatus();
    if (Status == FStatus)
        return;
    if (OnStatusChanged)
        OnStatusChanged();
    FStatus = Status;
}

TZnNamedPipeConnectionUse TZnNamedPipeClient::CheckConnected()
{
    TZnLockGuard Guard(FConnectionLock);
    if (FDisconnecting || !FConnection)
        throw EZnNamedPipe(ERROR_NOT_READY, "Not connected!");
    return TZnNamedPipeConnectionUse(FConnection);
}

int TZnNamedPipeClient::SendPing(std::uint32_t ATimeOut)
{
    return CheckConnected()->SendPing(ATimeOut);
}

void TZnNamedPipeClient::SendMsg(const AnsiString& AMessage)
{
    CheckConnected()->SendMsg(AMessage);
}

void TZnNamedPipeClient::SendMsg(const std::string& AMessage)
{
    CheckConnected()->SendMsg(AMessage);
}

void TZnNamedPipeClient::SendMsg(const void* ABuffer, std::uint32_t ABufSize, TZnDataBufType ADataType)
{
    CheckConnected()->SendMsg(ABuffer, ABufSize, ADataType);
}

AnsiString TZnNamedPipeClient::SendCmd(const AnsiString& ACommand, std::uint32_t ATimeOut)
{
    return CheckConnected()->SendCmd(ACommand, ATimeOut);
}

std::string TZnNamedPipeClient::SendCmd(const std::string& ACommand, std::uint32_t ATimeOut)
{
    return CheckConnected()->SendCmd(ACommand, ATimeOut);
}

PZnDataBuffer TZnNamedPipeClient::SendCmd(const void* ABuffer, std::uint32_t ABufSize, std::uint32_t ATimeOut,
                                          TZnDataBufType ADataType)
{
    return CheckConnected()->SendCmd(ABuffer, ABufSize, ATimeOut, ADataType);
}

bool TZnNamedPipeClient::GetPeer(TZnPipePeer& APeer)
{
    return CheckConnected()->GetPeer(APeer);
}
