#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <thread>

#include "common/Encoding.h"
#include "common/Events.h"
#include "common/Locks.h"
#include "common/Thread.h"
#include "platform/Api.h"
#include "uZnNamedPipes/DataBuffer.h"
#include "uZnNamedPipes/Frames.h"
#include "uZnNamedPipes/NetworkCheck.h"
#include "uZnNamedPipes/PipeApi.h"
#include "uZnNamedPipes/PipeExceptions.h"

class TZnNamedPipe;

/// Names a connection: never 0, and no other connection of the process has it while this one lives.
/// 0 stands for none or, where an operation says so, for all.
using TZnNamedPipeConnectionID = std::int32_t;

/// What was received and is to be delivered.
struct TZnNamedPipeData
{
    PZnMemoryBuffer BufData = nullptr; // the whole frame; owned
    PZnDataBuffer Data = nullptr;      // in BufData; nullptr for a raw frame and a ping answer
    PZnDataBuffer Response = nullptr;  // the answer to a command; owned
};
/// A record on its way to the owner thread.
using PZnNamedPipeData = TZnNamedPipeData*;

/// One end of a connected pipe, and the thread that reads it and dispatches what it reads. Both ends
/// run this: after the connection is made they are peers.
///
/// Use:       made by a TZnNamedPipeServer or TZnNamedPipeClient; see there.
/// Threads:   the sends from any thread (SendCmd and SendPing: any but this connection's own, one
///            at a time); Disconnect on the thread that made the object; Terminate from any thread.
/// Ownership: the component owns it. A connection whose pipe has ended frees itself once the
///            owner thread has let it go (WM_NAMEDPIPE_CONNDESTROYED), the others go by Disconnect.
/// Errors:    the sends raise EZnNamedPipe classes to their caller. What ends the reading is told
///            by OnNamedPipeException, except for a peer that left, and by OnDisconnected.
class ZN_API TZnNamedPipeConnection : public TThread
{
public:
    /// For AOwner, which starts it and waits for its end.
    explicit TZnNamedPipeConnection(TZnNamedPipe* AOwner);
    ~TZnNamedPipeConnection() override;

    /// One data frame. Raises EZnNamedPipeWriteError: 233 without a connection, 231, 232 ...
    void SendMsg(const void* ABuffer, std::uint32_t ABufSize, TZnDataBufType ADataType);
    void SendMsg(const AnsiString& AMessage);  ///< btAString
    void SendMsg(const std::string& AMessage); ///< btUTF8

    /// Sends a command and waits for its answer, at most ATimeOut ms. The caller frees the result.
    /// Raises EZnNamedPipeReadTimeOut (232) without an answer, also when the connection ends meanwhile.
    PZnDataBuffer SendCmd(const void* ABuffer, std::uint32_t ABufSize, std::uint32_t ATimeOut,
                          TZnDataBufType ADataType);
    /// btAString out; the answer's bytes unchanged, whatever its type.
    AnsiString SendCmd(const AnsiString& ACommand, std::uint32_t ATimeOut);
    /// btUTF8 out; the answer's bytes read as UTF-8, whatever its type.
    std::string SendCmd(const std::string& ACommand, std::uint32_t ATimeOut);

    /// Milliseconds from sending here to answering there, by both machines' clocks: their difference is
    /// in it. -1 without an answer in ATimeOut ms.
    int SendPing(std::uint32_t ATimeOut);

    /// Writes the bytes as one message, adding nothing.
    void WriteToPipe(const void* ABuffer, std::uint32_t ABufSize);

    /// Writes a probe if nobody is writing. Never raises: a failure marks the connection broken.
    void CheckConnectionState();

    /// Ends the connection, waits for its thread and frees the object. Not from a handler that its
    /// thread waits for.
    void Disconnect();

    /// Ends the connection and wakes its thread.
    void Terminate() override;

    /// Of no other connection of the process. Any thread.
    TZnNamedPipeConnectionID GetID() const { return FConnectionID; }
    /// The peer is there, as far as is known. Any thread.
    bool GetConnected() const { return FConnected; }
    /// Last platform error of a read, a connect or an open.
    std::uint32_t GetErrorCode() const { return FErrorCode; }
    /// The process at the other end; false when there is none or it is on another machine.
    bool GetPeer(TZnPipePeer& APeer) const;

protected:
    friend class TZnNamedPipe;
    friend class TZnNamedPipeClient;
    friend class TZnNamedPipeServer;
    friend class TZnNamedPipeConnectionUse;

    /// Reads and dispatches until the connection ends; a subclass calls it once the pipe is connected.
    void Execute() override;
    /// The last step of every subclass's Execute: no handler of the owner thread is inside this object
    /// any more, and the owner knows that it goes.
    void EndExecute();

    /// One whole message, or nullptr when the connection ended.
    PZnMemoryBuffer ReadData();
    void ClosePipeGracefully();
    void SetAllEvents();
    /// Hands the exception that is being handled over to the owner thread.
    void HandOverException();
    void HandleException();

    PZnNamedPipeData CreateDataRec(PZnMemoryBuffer ABufData, PZnDataBuffer AData);
    /// Takes the record out of the list. False when it isn't there.
    bool RemoveDataRec(PZnNamedPipeData ARecord);
    void FreeDataRec(PZnNamedPipeData ARecord);
    /// One that is in no list; nullptr is fine.
    static void DestroyDataRec(PZnNamedPipeData ARecord);
    void ClearReceivedData();

    TZnNamedPipe* const FOwner;
    const std::shared_ptr<const Zn::PipeApi> FApi;
    const std::thread::id FOwnerThreadID;
    const Exception* FException = nullptr; // while HandleException runs
    TEvent FLock{true, true}; // reset while the owner thread handles a message of this connection
    std::atomic<std::uint32_t> FErrorCode{0};
    std::atomic<THandle> FPipeHandle{INVALID_HANDLE_VALUE};
    const std::string FPipeName;
    const TZnNamedPipeConnectionID FConnectionID;
    std::atomic<bool> FConnected{false};
    TEvent FConnectEvent, FReadEvent, FWriteEvent, FCommandEvent;
    TOVERLAPPED FReadOverlapped, FWriteOverlapped, FConnectOverlapped;

private:
    std::uint32_t NextChunk(std::uint32_t ACome) const;
    bool JudgeRead(bool ASucceeded);
    void RaiseReadError();
    void Dispatch(PZnMemoryBuffer& AFrame);
    void AnswerPing(PZnMemoryBuffer AFrame);
    void TakePingAnswer(PZnMemoryBuffer& AFrame);
    void RunCommand(PZnMemoryBuffer& AFrame);
    void TakeAnswer(PZnMemoryBuffer& AFrame);
    void DeliverData(PZnMemoryBuffer& AFrame, PZnDataBuffer AData);
    void StartNetworkCheck();
    void StopNetworkCheck();

    void WriteFrame(std::span<const std::byte> AHead, std::span<const std::byte> ABody);
    bool WriteParts(std::span<const std::byte> AHead, std::span<const std::byte> ABody,
                    std::uint32_t& ACount);
    void JudgeWrite(std::uint32_t AError);
    void MarkBroken();
    std::int64_t BeginCommand(const TDateTime* APingSendOn);
    PZnNamedPipeData EndCommand();

    void UseBegins() { ++FUsers; }
    void UseEnds();
    void WaitUntilUnused();

    std::unique_ptr<TZnNamedPipeNetworkCheck> FNetworkCheck;

    TCriticalSection FReceivedLock;
    std::deque<PZnNamedPipeData> FReceivedData ZN_GUARDED_BY(FReceivedLock);

    TCriticalSection FCommandProtect; // between the reader and the thread that waits for an answer
    std::int64_t FLastCommandID ZN_GUARDED_BY(FCommandProtect) = 0;
    std::int64_t FCommandID ZN_GUARDED_BY(FCommandProtect) = 0; // in flight; 0: none
    bool FPinging ZN_GUARDED_BY(FCommandProtect) = false;       // what is in flight is a ping
    TDateTime FPingSendOn ZN_GUARDED_BY(FCommandProtect) = 0;
    // Owned, in no list: the connection may end before the sender has taken it.
    PZnNamedPipeData FCommandResult ZN_GUARDED_BY(FCommandProtect) = nullptr;

    TCriticalSection FWriteLock; // one writer at a time. Order: behind FCommandProtect, never held with it

    bool FOwnerFrees = false; // the owner thread is in Disconnect. Owner thread only
    // Sends of other threads that reached this object through its component, and one for the object
    // itself; whoever frees it waits until all are gone.
    std::atomic<int> FUsers{1};
    TSimpleEvent FUnused;
};

/// Keeps a connection from being freed while a send of any thread is in it.
class ZN_API TZnNamedPipeConnectionUse
{
public:
    /// Under the lock that guards the place where AConnection was found; nullptr is fine.
    explicit TZnNamedPipeConnectionUse(TZnNamedPipeConnection* AConnection) : FConnection(AConnection)
    {
        if (FConnection)
            FConnection->UseBegins();
    }
    TZnNamedPipeConnectionUse(TZnNamedPipeConnectionUse&& AOther) noexcept
        : FConnection(std::exchange(AOther.FConnection, nullptr))
    {
    }
    TZnNamedPipeConnectionUse& operator=(TZnNamedPipeConnectionUse&&) = delete;
    ~TZnNamedPipeConnectionUse()
    {
        if (FConnection)
            FConnection->UseEnds();
    }

    /// The connection; not for an empty use.
    TZnNamedPipeConnection* operator->() const { return FConnection; }
    /// There is a connection.
    explicit operator bool() const { return FConnection != nullptr; }

private:
    TZnNamedPipeConnection* FConnection;
};
