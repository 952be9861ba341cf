#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "common/Component.h"
#include "common/Locks.h"
#include "platform/Api.h"
#include "platform/messages/Messages.h"
#include "platform/power/Power.h"
#include "uZnNamedPipes/Connection.h"

/// Where data and commands are handled.
enum TZnNamedPipeReceiveSyncType : std::uint8_t {
    rsSynchronized = 0, // on the owner thread, in its pump
    rsThreaded = 1,     // on the connection's thread
};

/// Something happened to the component.
using TNotifyEvent = std::function<void()>;
/// Something happened to a connection.
using TZnOnNamedPipeEvent = std::function<void(TZnNamedPipeConnectionID AConnectionID)>;
/// Bytes came; they are borrowed until the event returns.
using TZnOnNamedPipeDataReceivedB =
    std::function<void(TZnNamedPipeConnectionID AConnectionID, PZnMemoryBuffer AData)>;
/// A text came, in UTF-8.
using TZnOnNamedPipeDataReceivedS =
    std::function<void(TZnNamedPipeConnectionID AConnectionID, const std::string& AData)>;
/// The result comes from ZnGetMem and is freed by the library; nullptr answers without content.
using TZnOnNamedPipeCmdReceivedB =
    std::function<PZnMemoryBuffer(TZnNamedPipeConnectionID AConnectionID, PZnMemoryBuffer AData)>;
/// A command came as text; the result is the answer.
using TZnOnNamedPipeCmdReceivedS =
    std::function<std::string(TZnNamedPipeConnectionID AConnectionID, const std::string& AData)>;
/// A connection failed. Setting AHandled keeps the exception from being shown anywhere else.
using TZnOnNamedPipeException =
    std::function<void(TZnNamedPipeConnectionID AConnectionID, const Exception& AException, bool& AHandled)>;

// Messages of connections to their component's window.
enum : std::uint32_t {
    WM_NULL = 0,
    WM_NAMEDPIPE_CONNECTED = 1025,     // sent: the connection
    WM_NAMEDPIPE_DISCONNECTED = 1026,  // sent: the connection
    WM_NAMEDPIPE_DATA = 1027,          // posted: the connection's ID (it may be gone by then), the record
    WM_NAMEDPIPE_COMMAND = 1028,       // sent: the connection, the record
    WM_NAMEDPIPE_CONNDESTROYED = 1029, // sent: the connection; the result tells whether it may free itself
    WM_NAMEDPIPE_DISCONNECT = 1030,    // posted, client only
};

/// What the pipe server and the pipe client have in common: the settings, the events, and the window
/// through which connection threads reach the thread that owns the component.
///
/// Use:       make a TZnNamedPipeServer or a TZnNamedPipeClient.
/// Threads:   belongs to the thread that made it, the application's main thread, which has to pump
///            messages (ProcessMessages). OnConnected, OnDisconnected and OnNamedPipeException run
///            there, the connection's thread waiting; data and commands there or, with rsThreaded, on the
///            connection's thread. Properties change while inactive.
/// Ownership: AOwner frees it. What an event receives is valid until the event returns.
/// Errors:    what a data handler raises leaves the pump (rsSynchronized) or ends the connection and
///            is told by OnNamedPipeException (rsThreaded).
class ZN_API TZnNamedPipe : public TComponent
{
public:
    explicit TZnNamedPipe(TComponent* AOwner = nullptr);
    ~TZnNamedPipe() override;

    /// "." is this machine. Read-only where a subclass doesn't override it: EPropReadOnly.
    virtual std::string GetServerName() const { return "."; }
    virtual void SetServerName(const std::string& AValue);

    /// The short name; any characters but a backslash. Connections that exist keep theirs.
    const std::string& GetShortPipeName() const { return FPipeName; }
    /// The short name. Takes effect at the next Start or Connect.
    void SetPipeName(const std::string& AValue) { FPipeName = AValue; }

    /// The whole path, `\\\\server\\pipe\\name`.
    std::string GetPipeName() const;

    /// Stop at the system's stand-by and start again when it resumes. Default true.
    bool GetDisconnectOnStandBy() const { return FDisconnectOnStandBy; }
    void SetDisconnectOnStandBy(bool AValue) { FDisconnectOnStandBy = AValue; }

    /// Default rsSynchronized.
    TZnNamedPipeReceiveSyncType GetReceiveSyncType() const { return FReceiveSyncType; }
    void SetReceiveSyncType(TZnNamedPipeReceiveSyncType AValue) { FReceiveSyncType = AValue; }

    /// True: new connections get no probe thread. Default false.
    bool GetDisableNetworkCheck() const { return FDisableNetworkCheck; }
    void SetDisableNetworkCheck(bool AValue) { FDisableNetworkCheck = AValue; }

    /// A connection stands. On the owner thread, the connection waiting.
    TZnOnNamedPipeEvent OnConnected;
    /// A connection has ended. On the owner thread, the connection waiting.
    TZnOnNamedPipeEvent OnDisconnected;
    /// What ended a connection, or kept a server from being made. On the owner thread.
    TZnOnNamedPipeException OnNamedPipeException;
    TZnOnNamedPipeDataReceivedB OnDataReceivedB; ///< binary data, and raw frames whole
    /// Texts, where they are handled by ReceiveSyncType.
    TZnOnNamedPipeDataReceivedS OnDataReceivedS;
    /// Commands of bytes; one at a time for each connection.
    TZnOnNamedPipeCmdReceivedB OnCmdReceivedB;
    /// Commands of text; one at a time for each connection.
    TZnOnNamedPipeCmdReceivedS OnCmdReceivedS;

protected:
    friend class TZnNamedPipeConnection;
    friend class TZnNamedPipeServerConnection;
    friend class TZnNamedPipeClientConnection;

    virtual bool GetActive() const = 0;
    virtual bool IsActiveConnection(TZnNamedPipeConnection* AConnection) = 0;
    virtual void SetActive(bool AValue) = 0;
    virtual void WndProc(TMessage& AMessage);
    virtual void BeforeSuspend();
    virtual void AfterResume();

    virtual void DoConnDestroyed(TZnNamedPipeConnection* AConnection);
    virtual void DoConnected(TZnNamedPipeConnection* AConnection);
    virtual void DoDisconnected(TZnNamedPipeConnection* AConnection);
    virtual void DoHandlePipeException(TZnNamedPipeConnection* AConnection, const Exception& AException,
                                       bool& AHandled);
    virtual void DoDataReceivedB(TZnNamedPipeConnection* AConnection, PZnMemoryBuffer AData);
    virtual void DoDataReceivedS(TZnNamedPipeConnection* AConnection, const std::string& AData);
    virtual void DoCmdReceivedB(TZnNamedPipeConnection* AConnection, PZnMemoryBuffer AData,
                                PZnMemoryBuffer& AResult);
    virtual void DoCmdReceivedS(TZnNamedPipeConnection* AConnection, const std::string& AData,
                                std::string& AResult);

    /// Closes the window, stops, and waits until no connection is left. Each subclass calls it first in its
    /// destructor.
    virtual void BeforeDestruction();

    void DoDataReceived(TZnNamedPipeConnection* AConnection, PZnNamedPipeData ARecord);
    void DoCmdReceived(TZnNamedPipeConnection* AConnection, PZnNamedPipeData ARecord);
    void WMPowerBroadcast(const TMessage& AMessage);

    const std::shared_ptr<const Zn::PipeApi> FApi;
    const std::shared_ptr<Zn::PowerWatch> FPowerWatch = Zn::PowerWatch::Shared();
    std::atomic<THandle> FHWND{0}; // 0 once destruction has begun

private:
    /// Every connection that was made and not freed, so that none outlives its component.
    void AddLive(TZnNamedPipeConnection* AConnection);
    void RemoveLive(TZnNamedPipeConnection* AConnection);
    TZnNamedPipeConnection* FindLive(TZnNamedPipeConnectionID AID);
    void HandleFor(TZnNamedPipeConnection* AConnection, const std::function<void()>& AHandler);
    void DeliverPosted(const TMessage& AMessage);

    std::string FPipeName;
    const std::uint32_t FOutputBufferSize = 16384; // also the length of one read
    const std::uint32_t FInputBufferSize = 16384;
    TZnNamedPipeReceiveSyncType FReceiveSyncType = rsSynchronized;
    bool FDisconnectOnStandBy = true;
    bool FActiveBeforeSuspend = false;
    bool FDisableNetworkCheck = false;
    TCriticalSection FLiveLock;
    std::map<TZnNamedPipeConnectionID, TZnNamedPipeConnection*> FLive ZN_GUARDED_BY(FLiveLock);
};
