#include "uZnNamedPipes/NamedPipe.h"

namespace
{

TZnNamedPipeConnection* ConnectionOf(const TMessage& AMessage)
{
    return ZnInt2Ptr<TZnNamedPipeConnection>(AMessage.WParam);
}

PZnNamedPipeData RecordOf(const TMessage& AMessage)
{
    return ZnInt2Ptr<TZnNamedPipeData>(static_cast<std::uintptr_t>(AMessage.LParam));
}

std::string AnsiText(const TZnDataBuffer& ABuffer)
{
    return TZnEncoding::ConvertA(Zn::DataBufferToAnsi(ABuffer), cZnCodePageSystem);
}

} // namespace

TZnNamedPipe::TZnNamedPipe(TComponent* AOwner)
    : TComponent(AOwner),
      FApi(Zn::LoadPipeApi()),
      FHWND(AllocateHWnd([this](TMessage& AMessage) { WndProc(AMessage); }))
{
}

TZnNamedPipe::~TZnNamedPipe() = default;

void TZnNamedPipe::BeforeDestruction()
{
    // The window goes first, so that threads that end now don't fire OnDisconnected.
    if (const THandle Window = FHWND.exchange(0); Window != 0)
        DeallocateHWnd(Window);
    if (GetActive())
        SetActive(false);
    for (;;) {
        TZnNamedPipeConnection* Left = nullptr;
        {
            TZnLockGuard Guard(FLiveLock);
            if (FLive.empty())
                return;
            Left = FLive.begin()->second;
        }
        Left->Disconnect();
    }
}

void TZnNamedPipe::SetServerName(const std::string& /*AValue*/)
{
    throw EPropReadOnly("This property is read-only!");
}

std::string TZnNamedPipe::GetPipeName() const
{
    return "\\\\" + GetServerName() + "\\pipe\\" + FPipeName;
}

void TZnNamedPipe::AddLive(TZnNamedPipeConnection* AConnection)
{
    TZnLockGuard Guard(FLiveLock);
    FLive[AConnection->GetID()] = AConnection;
}

void TZnNamedPipe::RemoveLive(TZnNamedPipeConnection* AConnection)
{
    TZnLockGuard Guard(FLiveLock);
    FLive.erase(AConnection->GetID());
}

TZnNamedPipeConnection* TZnNamedPipe::FindLive(TZnNamedPipeConnectionID AID)
{
    TZnLockGuard Guard(FLiveLock);
    const auto Found = FLive.find(AID);
    return Found != FLive.end() ? Found->second : nullptr;
}

/// Keeps the connection's thread from its last step while the owner thread is in a handler for it.
void TZnNamedPipe::HandleFor(TZnNamedPipeConnection* AConnection, const std::function<void()>& AHandler)
{
    struct Inside
    {
        explicit Inside(TEvent& ALock) : Lock(ALock) { Lock.ResetEvent(); }
        ~Inside() { Lock.SetEvent(); }
        TEvent& Lock;
    } Guard(AConnection->FLock);
    AHandler();
}

void TZnNamedPipe::WndProc(TMessage& AMessage)
{
    switch (AMessage.Msg) {
    case WM_NAMEDPIPE_CONNECTED:
        return HandleFor(ConnectionOf(AMessage), [&] { DoConnected(ConnectionOf(AMessage)); });
    case WM_NAMEDPIPE_DISCONNECTED:
        return HandleFor(ConnectionOf(AMessage), [&] { DoDisconnected(ConnectionOf(AMessage)); });
    case WM_NAMEDPIPE_DATA:
        return DeliverPosted(AMessage);
    case WM_NAMEDPIPE_COMMAND:
        return HandleFor(ConnectionOf(AMessage),
                         [&] { DoCmdReceived(ConnectionOf(AMessage), RecordOf(AMessage)); });
    case WM_NAMEDPIPE_CONNDESTROYED:
        if (ConnectionOf(AMessage)->FOwnerFrees)
            return;
        DoConnDestroyed(ConnectionOf(AMessage));
        RemoveLive(ConnectionOf(AMessage));
        AMessage.Result = 1;
        return;
    case WM_POWERBROADCAST:
        return WMPowerBroadcast(AMessage);
    default:
        return;
    }
}

/// A posted message can outlive its connection.
void TZnNamedPipe::DeliverPosted(const TMessage& AMessage)
{
    TZnNamedPipeConnection* const Connection =
        FindLive(static_cast<TZnNamedPipeConnectionID>(AMessage.WParam));
    if (Connection)
        HandleFor(Connection, [&] { DoDataReceived(Connection, RecordOf(AMessage)); });
}

void TZnNamedPipe::DoDataReceived(TZnNamedPipeConnection* AConnection, PZnNamedPipeData ARecord)
{
    if (FReceiveSyncType == rsSynchronized && !IsActiveConnection(AConnection))
        return;
    // A connection that reconnects may have dropped what it had received before.
    if (!AConnection->RemoveDataRec(ARecord))
        return;
    const std::unique_ptr<TZnNamedPipeData, void (*)(PZnNamedPipeData)> Holder(
        ARecord, TZnNamedPipeConnection::DestroyDataRec);
    if (!ARecord->Data)
        return DoDataReceivedB(AConnection, ARecord->BufData);
    switch (ARecord->Data->DataType) {
    case btBinary:
        return DoDataReceivedB(AConnection, ARecord->Data->View());
    case btAString:
        return DoDataReceivedS(AConnection, AnsiText(*ARecord->Data));
    case btUTF8:
        return DoDataReceivedS(AConnection, Zn::DataBufferToString(*ARecord->Data));
    }
}

void TZnNamedPipe::DoCmdReceived(TZnNamedPipeConnection* AConnection, PZnNamedPipeData ARecord)
{
    ZnAssert(ARecord->Data != nullptr);
    const TZnDataBufType DataType = ARecord->Data->DataType;
    if (DataType == btBinary) {
        PZnMemoryBuffer Result = nullptr;
        DoCmdReceivedB(AConnection, ARecord->Data->View(), Result);
        const std::unique_ptr<TZnMemoryBuffer, void (*)(PZnMemoryBuffer)> Holder(Result, ZnFreeMem);
        const std::uint32_t Size = Result ? Result->Size : 0;
        ARecord->Response = ZnGetDataBuffer(Size, btBinary);
        if (Size != 0)
            std::copy_n(Result->Bytes(), Size, ARecord->Response->Data());
    } else if (DataType == btAString || DataType == btUTF8) {
        std::string Result;
        DoCmdReceivedS(AConnection,
                       DataType == btAString ? AnsiText(*ARecord->Data)
                                             : Zn::DataBufferToString(*ARecord->Data),
                       Result);
        ARecord->Response = ZnGetDataBuffer(Result);
    }
}

void TZnNamedPipe::WMPowerBroadcast(const TMessage& AMessage)
{
    if (!FDisconnectOnStandBy)
        return;
    if (AMessage.WParam == PBT_APMSUSPEND)
        BeforeSuspend();
    else if (AMessage.WParam == PBT_APMRESUMEAUTOMATIC)
        AfterResume();
}

void TZnNamedPipe::BeforeSuspend()
{
    FActiveBeforeSuspend = GetActive();
}

void TZnNamedPipe::AfterResume()
{
    if (!FActiveBeforeSuspend)
        return;
    for (const bool Active : {false, true}) {
        try {
            SetActive(Active);
        } catch (const std::exception&) { // a failing stop doesn't prevent the start
        }
    }
}

void TZnNamedPipe::DoConnDestroyed(TZnNamedPipeConnection* /*AConnection*/) {}

void TZnNamedPipe::DoConnected(TZnNamedPipeConnection* AConnection)
{
    if (OnConnected)
        OnConnected(AConnection->GetID());
}

void TZnNamedPipe::DoDisconnected(TZnNamedPipeConnection* AConnection)
{
    if (OnDisconnected)
        OnDisconnected(AConnection->GetID());
}

void TZnNamedPipe::DoHandlePipeException(TZnNamedPipeConnection* AConnection, const Exception& AException,
                                         bool& AHandled)
{
    if (OnNamedPipeException)
        OnNamedPipeException(AConnection->GetID(), AException, AHandled);
}

void TZnNamedPipe::DoDataReceivedB(TZnNamedPipeConnection* AConnection, PZnMemoryBuffer AData)
{
    if (OnDataReceivedB)
        OnDataReceivedB(AConnection->GetID(), AData);
}

void TZnNamedPipe::DoDataReceivedS(TZnNamedPipeConnection* AConnection, const std::string& AData)
{
    if (OnDataReceivedS)
        OnDataReceivedS(AConnection->GetID(), AData);
}

void TZnNamedPipe::DoCmdReceivedB(TZnNamedPipeConnection* AConnection, PZnMemoryBuffer AData,
                                  PZnMemoryBuffer& AResult)
{
    if (OnCmdReceivedB)
        AResult = OnCmdReceivedB(AConnection->GetID(), AData);
}

void TZnNamedPipe::DoCmdReceivedS(TZnNamedPipeConnection* AConnection, const std::string& AData,
                                  std::string& AResult)
{
    if (OnCmdReceivedS)
        AResult = OnCmdReceivedS(AConnection->GetID(), AData);
}
