#include "uZnNamedPipes/Server.h"

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "uZnNamedPipes/ServerConnection.h"

TZnNamedPipeServer::~TZnNamedPipeServer()
{
    BeforeDestruction();
}

void TZnNamedPipeServer::SetActive(bool AValue)
{
    if (AValue)
        Start();
    else
        Stop();
}

void TZnNamedPipeServer::Start()
{
    if (FActive)
        return;
    FAcceptNewConnections = true;
    FStarting = true;
    CheckConnectionCount();
    FActive = true;
    FStarting = false;
    if (OnStarted)
        OnStarted();
}

void TZnNamedPipeServer::Stop()
{
    if (!FActive || FStopping)
        return;
    struct Stopping
    {
        explicit Stopping(std::atomic<bool>& AFlag) : Flag(AFlag) { Flag = true; }
        ~Stopping() { Flag = false; }
        std::atomic<bool>& Flag;
    };
    {
        Stopping Guard(FStopping);
        StopAcceptingNewConnections();
        // The list isn't locked meanwhile: a thread that ends may just be sending by it.
        while (TZnNamedPipeConnection* const Connection = FConnections.Last()) {
            FConnections.Remove(Connection);
            Connection->Disconnect();
        }
    }
    FActive = false;
    if (OnStopped)
        OnStopped();
}

/// The one place where instances are born.
void TZnNamedPipeServer::CheckConnectionCount()
{
    if ((!FActive && !FStarting) || FPendingConnection || FStopping || !FAcceptNewConnections)
        return;
    const int Max = FMaxConnections;
    if (Max != 0 && static_cast<std::int64_t>(FConnections.GetCount()) >= Max)
        return;
    FPendingConnection = new TZnNamedPipeServerConnection(this);
    FPendingConnection->TThread::Start();
}

void TZnNamedPipeServer::DoConnected(TZnNamedPipeConnection* AConnection)
{
    ZnAssert(AConnection == FPendingConnection);
    FConnections.Add(AConnection);
    FPendingConnection = nullptr;
    CheckConnectionCount();
    TZnNamedPipe::DoConnected(AConnection);
}

void TZnNamedPipeServer::DoDisconnected(TZnNamedPipeConnection* AConnection)
{
    CleanupConnection(AConnection);
    TZnNamedPipe::DoDisconnected(AConnection);
}

void TZnNamedPipeServer::DoConnDestroyed(TZnNamedPipeConnection* AConnection)
{
    TZnNamedPipe::DoConnDestroyed(AConnection);
    CleanupConnection(AConnection);
}

void TZnNamedPipeServer::CleanupConnection(TZnNamedPipeConnection* AConnection)
{
    FConnections.Remove(AConnection);
    if (AConnection == FPendingConnection)
        FPendingConnection = nullptr;
    if (!FStopping)
        CheckConnectionCount();
}

void TZnNamedPipeServer::StopAcceptingNewConnections()
{
    FAcceptNewConnections = false;
    if (FPendingConnection)
        FPendingConnection->Disconnect();
    FPendingConnection = nullptr;
}

void TZnNamedPipeServer::StartAcceptingNewConnections()
{
    FAcceptNewConnections = true;
    CheckConnectionCount();
}

void TZnNamedPipeServer::DoHandlePipeException(TZnNamedPipeConnection* AConnection,
                                               const Exception& AException, bool& AHandled)
{
    if (FStopping)
        AHandled = true;
    else
        TZnNamedPipe::DoHandlePipeException(AConnection, AException, AHandled);
}

bool TZnNamedPipeServer::IsActiveConnection(TZnNamedPipeConnection* AConnection)
{
    return FActive && FConnections.HasConnection(AConnection) && AConnection->GetConnected();
}

void TZnNamedPipeServer::SetMaxConnections(int AValue)
{
    if (AValue < 0)
        throw EInvalidArgument("You must specify a value of 0 or greater!");
    FMaxConnections = AValue;
}

void TZnNamedPipeServer::CloseConnection(TZnNamedPipeConnectionID AConnectionID)
{
    FConnections.ConnectionByID(AConnectionID)->Disconnect();
}

template <class TSend>
void TZnNamedPipeServer::ForEach(TZnNamedPipeConnectionID AConnectionID, TSend ASend)
{
    if (AConnectionID != 0) {
        if (const auto Connection = FConnections.Use(AConnectionID))
            ASend(Connection);
        return;
    }
    for (const auto& Connection : FConnections.UseAll())
        ASend(Connection);
}

void TZnNamedPipeServer::SendRaw(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer,
                                 std::uint32_t ABufSize)
{
    ForEach(AConnectionID, [&](const auto& AConnection) { AConnection->WriteToPipe(ABuffer, ABufSize); });
}

void TZnNamedPipeServer::SendMsg(TZnNamedPipeConnectionID AConnectionID, const AnsiString& AMessage)
{
    ForEach(AConnectionID, [&](const auto& AConnection) { AConnection->SendMsg(AMessage); });
}

void TZnNamedPipeServer::SendMsg(TZnNamedPipeConnectionID AConnectionID, const std::string& AMessage)
{
    ForEach(AConnectionID, [&](const auto& AConnection) { AConnection->SendMsg(AMessage); });
}

void TZnNamedPipeServer::SendMsg(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer,
                                 std::uint32_t ABufSize, TZnDataBufType ADataType)
{
    ForEach(AConnectionID,
            [&](const auto& AConnection) { AConnection->SendMsg(ABuffer, ABufSize, ADataType); });
}

PZnDataBuffer TZnNamedPipeServer::SendCmd(TZnNamedPipeConnectionID AConnectionID, const void* ABuffer,
                                          std::uint32_t ABufSize, std::uint32_t ATimeOut,
                                          TZnDataBufType ADataType)
{
    ZnAssert(AConnectionID != 0);
    const auto Connection = FConnections.Use(AConnectionID);
    return Connection ? Connection->SendCmd(ABuffer, ABufSize, ATimeOut, ADataType) : nullptr;
}

PZnDataBuffer TZnNamedPipeServer::SendTextCmd(TZnNamedPipeConnectionID AConnectionID,
                                              std::string_view ACommand, std::uint32_t ATimeOut,
                                              TZnDataBufType ADataType)
{
    if (ACommand.size() > INT32_MAX)
        throw EZnNamedPipeWriteError(ERROR_INVALID_PARAMETER, SysErrorMessage(ERROR_INVALID_PARAMETER));
    PZnDataBuffer Answer = SendCmd(AConnectionID, ACommand.data(),
                                   static_cast<std::uint32_t>(ACommand.size()), ATimeOut, ADataType);
    if (!Answer)
        FConnections.ConnectionByID(AConnectionID); // tells that there is none
    // A byte string takes the answer of either kind of text: the other end answers each in UTF-8.
    const bool IsText =
        Answer && (Answer->DataType == btUTF8 || (ADataType == btAString && Answer->DataType == btAString));
    if (!IsText) {
        ZnFreeDataBuffer(Answer);
        throw Exception("The command result is not in the correct format!");
    }
    return Answer;
}

AnsiString TZnNamedPipeServer::SendCmd(TZnNamedPipeConnectionID AConnectionID, const AnsiString& ACommand,
                                       std::uint32_t ATimeOut)
{
    const Zn::DataBufferHolder Answer(SendTextCmd(AConnectionID, ACommand, ATimeOut, btAString));
    return AnsiString(Zn::DataBufferToAnsi(*Answer.Get()));
}

std::string TZnNamedPipeServer::SendCmd(TZnNamedPipeConnectionID AConnectionID, const std::string& ACommand,
                                        std::uint32_t ATimeOut)
{
    const Zn::DataBufferHolder Answer(SendTextCmd(AConnectionID, ACommand, ATimeOut, btUTF8));
    return Zn::DataBufferToString(*Answer.Get());
}
