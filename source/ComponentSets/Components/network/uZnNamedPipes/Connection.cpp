#include "uZnNamedPipes/Connection.h"

#include <algorithm>

#include "common/System.h"
#include "platform/messages/Messages.h"
#include "uZnNamedPipes/NamedPipe.h"

namespace
{

constexpr std::uint32_t cLastWait = 0x7FFFFFFF;

/// An address would do on a machine whose addresses have 32 bits.
TZnNamedPipeConnectionID NewConnectionID()
{
    static std::atomic<std::uint32_t> Last{0};
    std::uint32_t ID;
    do {
        ID = ++Last;
    } while (ID == 0);
    return static_cast<TZnNamedPipeConnectionID>(ID);
}

} // namespace

TZnNamedPipeConnection::TZnNamedPipeConnection(TZnNamedPipe* AOwner)
    : TThread("zn-pipe"),
      FOwner(AOwner),
      FApi(AOwner->FApi),
      FOwnerThreadID(std::this_thread::get_id()),
      FPipeName(AOwner->GetPipeName()),
      FConnectionID(NewConnectionID())
{
    FReadOverlapped.hEvent = FReadEvent.Handle();
    FWriteOverlapped.hEvent = FWriteEvent.Handle();
    FConnectOverlapped.hEvent = FConnectEvent.Handle();
    FOwner->AddLive(this);
}

TZnNamedPipeConnection::~TZnNamedPipeConnection()
{
    FConnected = false;
    StopNetworkCheck();
    ClearReceivedData();
    if (const THandle Handle = FPipeHandle.exchange(INVALID_HANDLE_VALUE); Handle != INVALID_HANDLE_VALUE)
        FApi->CloseHandle(Handle); // opened when the thread had been told to end
    WaitUntilUnused();
    DestroyDataRec(EndCommand());
    // A thread that frees its own object has told the owner in EndExecute, which may be gone by now.
    if (GetCurrentThread() != this) {
        FOwner->DoConnDestroyed(this);
        FOwner->RemoveLive(this);
    }
}

void TZnNamedPipeConnection::UseEnds()
{
    if (--FUsers == 0)
        FUnused.SetEvent();
}

void TZnNamedPipeConnection::WaitUntilUnused()
{
    UseEnds();
    FUnused.WaitFor(); // the pipe is closed: every send ends by that
}

void TZnNamedPipeConnection::EndExecute()
{
    FLock.WaitFor(cLastWait);
    StopNetworkCheck();
    const bool LetGo = SendMessage(FOwner->FHWND, WM_NAMEDPIPE_CONNDESTROYED, ZnPtr2Int(this), 0) != 0;
    // Not let go: the owner is in Disconnect, or about to be, and frees the object.
    SetFreeOnTerminate(LetGo);
}

void TZnNamedPipeConnection::StartNetworkCheck()
{
    if (FNetworkCheck || FOwner->GetDisableNetworkCheck())
        return;
    FNetworkCheck = std::make_unique<TZnNamedPipeNetworkCheck>(this);
    FNetworkCheck->Run();
}

void TZnNamedPipeConnection::StopNetworkCheck()
{
    FNetworkCheck.reset();
}

void TZnNamedPipeConnection::Terminate()
{
    TThread::Terminate();
    SetAllEvents();
    FConnected = false;
    const THandle Handle = FPipeHandle.exchange(INVALID_HANDLE_VALUE);
    if (Handle == INVALID_HANDLE_VALUE)
        return;
    FApi->CancelIo(Handle);
    FApi->DisconnectNamedPipe(Handle);
    FApi->CloseHandle(Handle);
}

void TZnNamedPipeConnection::ClosePipeGracefully()
{
    FConnected = false;
    if (GetTerminated())
        return;
    const THandle Handle = FPipeHandle.exchange(INVALID_HANDLE_VALUE);
    if (Handle == INVALID_HANDLE_VALUE)
        return;
    FApi->CancelIo(Handle);
    FApi->DisconnectNamedPipe(Handle);
    FApi->CloseHandle(Handle);
}

void TZnNamedPipeConnection::SetAllEvents()
{
    FReadEvent.SetEvent();
    FWriteEvent.SetEvent();
    FConnectEvent.SetEvent();
    FCommandEvent.SetEvent();
}

void TZnNamedPipeConnection::Disconnect()
{
    ZnAssert(std::this_thread::get_id() == FOwnerThreadID,
             "The thread may only be disconnected in the thread that created the connection!");
    if (FOwnerFrees)
        return; // a handler that runs while an outer call waits
    FOwnerFrees = true;
    Terminate();
    WaitFor();
    delete this;
}

void TZnNamedPipeConnection::HandOverException()
{
    const auto HandOver = [this](const Exception& AException) {
        FException = &AException;
        try {
            Synchronize([this] { HandleException(); });
        } catch (const Exception&) { // there is nobody to tell: no main thread, or another owner thread
        }
        FException = nullptr;
    };
    try {
        throw;
    } catch (const EAbort&) {
    } catch (const Exception& Raised) {
        HandOver(Raised);
    } catch (const std::exception& Raised) {
        HandOver(Exception(Raised.what()));
    }
}

void TZnNamedPipeConnection::HandleException()
{
    ZnAssert(std::this_thread::get_id() == FOwnerThreadID,
             "This method must be executed in the main thread! Use Synchronize(HandleException).");
    bool Handled = false;
    try {
        FOwner->DoHandlePipeException(this, *FException, Handled);
    } catch (const std::exception&) { // the handler of a failure has nobody to tell of its own
    }
}

bool TZnNamedPipeConnection::GetPeer(TZnPipePeer& APeer) const
{
    return FApi->ZnGetNamedPipePeer && FApi->ZnGetNamedPipePeer(FPipeHandle, &APeer);
}

PZnNamedPipeData TZnNamedPipeConnection::CreateDataRec(PZnMemoryBuffer ABufData, PZnDataBuffer AData)
{
    auto Record = std::make_unique<TZnNamedPipeData>();
    Record->BufData = ABufData;
    Record->Data = AData;
    TZnLockGuard Guard(FReceivedLock);
    FReceivedData.push_back(Record.get());
    return Record.release();
}

bool TZnNamedPipeConnection::RemoveDataRec(PZnNamedPipeData ARecord)
{
    TZnLockGuard Guard(FReceivedLock);
    // Records are delivered in the order in which they came: the first one, as a rule.
    const auto Found = std::ranges::find(FReceivedData, ARecord);
    if (Found == FReceivedData.end())
        return false;
    FReceivedData.erase(Found);
    return true;
}

void TZnNamedPipeConnection::FreeDataRec(PZnNamedPipeData ARecord)
{
    RemoveDataRec(ARecord);
    DestroyDataRec(ARecord);
}

void TZnNamedPipeConnection::DestroyDataRec(PZnNamedPipeData ARecord)
{
    if (!ARecord)
        return;
    ZnFreeDataBuffer(ARecord->Response);
    ZnFreeMem(ARecord->BufData);
    delete ARecord;
}

void TZnNamedPipeConnection::ClearReceivedData()
{
    TZnLockGuard Guard(FReceivedLock);
    while (!FReceivedData.empty())
        FreeDataRec(FReceivedData.back());
}
