/// A connection's thread: one message after the other is read, recognised and dispatched.

#include <algorithm>
#include <limits>

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "platform/messages/Messages.h"
#include "uZnNamedPipes/Connection.h"
#include "uZnNamedPipes/NamedPipe.h"

namespace
{

/// Room for one more chunk behind what is there. A long message's room grows by half of what has come,
/// so that it isn't moved for every chunk and a sender pays for what is allocated. A payload that would just
/// fill a chunk has a head before it: that much is there from the beginning.
void GrowByChunk(PZnMemoryBuffer& ABuffer, std::uint64_t& ARoom, std::uint32_t AChunk)
{
    constexpr std::uint64_t cMost = std::numeric_limits<std::uint32_t>::max();
    const std::uint32_t Size = ABuffer ? ABuffer->Size : 0;
    const std::uint64_t Needed = std::uint64_t(Size) + AChunk;
    if (Needed > cMost)
        throw EOutOfMemory();
    if (Needed > ARoom) {
        ARoom = std::min(cMost, Needed + std::max<std::uint64_t>(Size / 2, sizeof(Zn::CommandHead)));
        ZnReallocateMem(ABuffer, static_cast<std::uint32_t>(ARoom));
    }
    ABuffer->Size = Size;
}

std::span<std::byte> Bytes(PZnMemoryBuffer ABuffer)
{
    return {ABuffer->Bytes(), ABuffer->Size};
}

/// Frees what a dispatch left unclaimed.
class FrameHolder
{
public:
    explicit FrameHolder(PZnMemoryBuffer AFrame) : Frame(AFrame) {}
    ~FrameHolder() { ZnFreeMem(Frame); }
    FrameHolder(const FrameHolder&) = delete;
    FrameHolder& operator=(const FrameHolder&) = delete;

    PZnMemoryBuffer Frame;
};

/// An answer of the command's kind without content.
PZnDataBuffer EmptyAnswer(TZnDataBufType ADataType)
{
    return ZnGetDataBuffer(0, ADataType == btAString || ADataType == btUTF8 ? btUTF8 : btBinary);
}

} // namespace

void TZnNamedPipeConnection::Execute()
{
    try {
        FReadOverlapped.Rest = 0; // that of a connection before this one
        StartNetworkCheck();
        while (!GetTerminated() && FConnected) {
            FrameHolder Read(ReadData());
            if (!GetTerminated() && Read.Frame && Read.Frame->Size != 0)
                Dispatch(Read.Frame);
        }
        ClosePipeGracefully();
    } catch (...) {
        HandOverException();
        ClosePipeGracefully();
    }
    SetAllEvents(); // who waits for an answer learns that none will come
    if (FOwner->FHWND != 0)
        SendMessage(FOwner->FHWND, WM_NAMEDPIPE_DISCONNECTED, ZnPtr2Int(this), 0);
}

/// A chunk of the usual length, unless it is known what is to come: then as much as that, up to many times of
/// what has come, so that a sender still pays for what is allocated.
std::uint32_t TZnNamedPipeConnection::NextChunk(std::uint32_t ACome) const
{
    constexpr std::uint64_t cAhead = 64;
    const std::uint64_t Usual = FOwner->FOutputBufferSize;
    const std::uint64_t Known = FReadOverlapped.Rest;
    return static_cast<std::uint32_t>(Known == 0 ? Usual
                                                 : std::min(Known, std::max(2 * Usual, cAhead * ACome)));
}

PZnMemoryBuffer TZnNamedPipeConnection::ReadData()
{
    FReadEvent.ResetEvent();
    PZnMemoryBuffer Buffer = nullptr;
    std::uint64_t Room = 0;
    try {
        bool IsComplete = false;
        do {
            const std::uint32_t Chunk = NextChunk(Buffer ? Buffer->Size : 0);
            GrowByChunk(Buffer, Room, Chunk);
            std::byte* const Place = Buffer->Bytes() + Buffer->Size;
            const THandle Handle = FPipeHandle;
            if (FNetworkCheck)
                FNetworkCheck->Start();
            std::uint32_t Count = 0;
            IsComplete = JudgeRead(FApi->ReadFile(Handle, Place, Chunk, &Count, &FReadOverlapped));
            Buffer->Size += Count;
            if (!IsComplete && (FErrorCode == ERROR_IO_PENDING || FErrorCode == ERROR_MORE_DATA)) {
                Count = 0;
                IsComplete = JudgeRead(FApi->GetOverlappedResult(Handle, &FReadOverlapped, &Count, true));
                Buffer->Size += Count;
            }
            if (FNetworkCheck)
                FNetworkCheck->Stop();
            if (!IsComplete)
                RaiseReadError();
        } while (!IsComplete && !GetTerminated() && FConnected);
        if (!GetTerminated() && FConnected)
            return Buffer;
        ZnFreeMem(Buffer);
        return nullptr;
    } catch (...) {
        ZnFreeMem(Buffer);
        if (FNetworkCheck)
            FNetworkCheck->Stop();
        throw;
    }
}

/// True when the message is complete.
bool TZnNamedPipeConnection::JudgeRead(bool ASucceeded)
{
    FErrorCode = ASucceeded ? NO_ERROR : GetLastError();
    return ASucceeded || FErrorCode == ERROR_HANDLE_EOF;
}

void TZnNamedPipeConnection::RaiseReadError()
{
    switch (const std::uint32_t Error = FErrorCode) {
    case NO_ERROR:
    case ERROR_MORE_DATA:
    case ERROR_IO_PENDING:
        return;
    case ERROR_INVALID_HANDLE:
    case ERROR_NETNAME_DELETED:
    case ERROR_BROKEN_PIPE:
    case ERROR_PIPE_NOT_CONNECTED:
        FConnected = false;
        throw EAbort(SysErrorMessage(Error));
    default:
        FConnected = false;
        throw EZnNamedPipeReadError(Error, SysErrorMessage(Error));
    }
}

/// Who claims the frame sets AFrame to nullptr.
void TZnNamedPipeConnection::Dispatch(PZnMemoryBuffer& AFrame)
{
    switch (Zn::RecogniseFrame(Bytes(AFrame))) {
    case Zn::FrameKind::NetworkCheck:
        return;
    case Zn::FrameKind::PingRequest:
        return AnswerPing(AFrame);
    case Zn::FrameKind::PingResponse:
        return TakePingAnswer(AFrame);
    case Zn::FrameKind::CmdRequest:
        return RunCommand(AFrame);
    case Zn::FrameKind::CmdResponse:
        return TakeAnswer(AFrame);
    case Zn::FrameKind::Data:
        return DeliverData(AFrame, Zn::FrameBlock(AFrame->Bytes(), Zn::cDataBlockOffset));
    case Zn::FrameKind::Raw:
        return DeliverData(AFrame, nullptr);
    }
}

void TZnNamedPipeConnection::AnswerPing(PZnMemoryBuffer AFrame)
{
    Zn::MakePingResponse(AFrame->Bytes(), Now());
    WriteToPipe(AFrame->Bytes(), AFrame->Size);
}

/// An answer has no number: it belongs to the ping whose time it brings back. A late one is dropped.
void TZnNamedPipeConnection::TakePingAnswer(PZnMemoryBuffer& AFrame)
{
    TZnLockGuard Guard(FCommandProtect);
    if (!FPinging || FCommandResult || Zn::PingSendOn(AFrame->Bytes()) != FPingSendOn)
        return;
    FCommandResult = new TZnNamedPipeData{.BufData = AFrame};
    AFrame = nullptr;
    FCommandEvent.SetEvent();
}

void TZnNamedPipeConnection::TakeAnswer(PZnMemoryBuffer& AFrame)
{
    TZnLockGuard Guard(FCommandProtect);
    if (FCommandID <= 0 || FPinging || FCommandResult || Zn::FrameCommandID(AFrame->Bytes()) != FCommandID)
        return;
    FCommandResult =
        new TZnNamedPipeData{.BufData = AFrame, .Data = Zn::FrameBlock(AFrame->Bytes(), Zn::cCmdBlockOffset)};
    AFrame = nullptr;
    FCommandEvent.SetEvent();
}

void TZnNamedPipeConnection::DeliverData(PZnMemoryBuffer& AFrame, PZnDataBuffer AData)
{
    if (FOwner->GetReceiveSyncType() == rsThreaded) {
        const PZnNamedPipeData Record = CreateDataRec(AFrame, AData);
        AFrame = nullptr;
        FOwner->DoDataReceived(this, Record);
        return;
    }
    if (AFrame->Size <
        FOwner->FOutputBufferSize / 2) { // many may wait: none holds a chunk that it doesn't fill
        const auto Offset = AData ? reinterpret_cast<std::byte*>(AData) - AFrame->Bytes() : 0;
        ZnReallocateMem(AFrame, AFrame->Size);
        AData = AData ? Zn::FrameBlock(AFrame->Bytes(), static_cast<std::size_t>(Offset)) : nullptr;
    }
    const PZnNamedPipeData Record = CreateDataRec(AFrame, AData);
    AFrame = nullptr;
    // A full queue holds this connection up until the owner thread has taken something from it.
    while (!PostMessage(FOwner->FHWND, WM_NAMEDPIPE_DATA, static_cast<std::uint32_t>(FConnectionID),
                        static_cast<std::intptr_t>(ZnPtr2Int(Record))) &&
           GetLastError() == ERROR_NOT_ENOUGH_QUOTA && !GetTerminated())
        SendMessage(FOwner->FHWND, WM_NULL, 0, 0);
}

void TZnNamedPipeConnection::RunCommand(PZnMemoryBuffer& AFrame)
{
    const PZnNamedPipeData Record =
        CreateDataRec(AFrame, Zn::FrameBlock(AFrame->Bytes(), Zn::cCmdBlockOffset));
    AFrame = nullptr;
    struct Freed
    {
        TZnNamedPipeConnection* Connection;
        PZnNamedPipeData Record;
        ~Freed() { Connection->FreeDataRec(Record); }
    } AtTheEnd{this, Record};
    const std::int64_t CommandID = Zn::FrameCommandID(Record->BufData->Bytes());

    if (FOwner->GetReceiveSyncType() == rsThreaded)
        FOwner->DoCmdReceived(this, Record);
    else
        SendMessage(FOwner->FHWND, WM_NAMEDPIPE_COMMAND, ZnPtr2Int(this),
                    static_cast<std::intptr_t>(ZnPtr2Int(Record)));
    // No handler for this type, or one that raised: the requester gets an answer all the same.
    if (!Record->Response)
        Record->Response = EmptyAnswer(Record->Data->DataType);
    const TZnDataBuffer& Answer = *Record->Response;
    WriteFrame(Zn::MakeCommandHead(dtCmdResponse, CommandID, Answer.DataType, Answer.Size),
               {Answer.Data(), Answer.Size});
}
