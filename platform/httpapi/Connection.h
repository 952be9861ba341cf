#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include <string>
#include <string_view>

#include <netinet/in.h>

#include "platform/httpapi/ChunkedDecoder.h"
#include "platform/httpapi/Httpapi.h"
#include "platform/httpapi/Patience.h"
#include "platform/httpapi/RequestHead.h"
#include "platform/httpapi/Socket.h"
#include "platform/sync/Mutex.h"

namespace Zn
{

class RequestQueue;

/// Who may touch a connection's data just now. The word itself is what hands it over:
///
///     Free --accept--> Poller --head complete--> Worker --response complete--> Poller
///                        |                       |  ^ event arrives
///                        v                       v  |
///                       Free <--closed--  WorkerMissed --response complete--> Poller, looked at again
///
/// Poller stands for the thread that leads (Dispatcher), Worker for the queue that holds the request
/// and then the thread that answers it.
enum class Owner : std::uint8_t { Free, Poller, Worker, WorkerMissed };

/// What the leader is waiting for on a connection that it owns.
enum class Expecting : std::uint8_t { ProxyHeader, Handshake, FirstByte, RestOfHead, EndOfLinger };

/// The part of a request that outlives its head: what the body reader and the response need.
struct RequestState
{
    bool Http11 = false;
    bool IsHead = false;
    bool KeepAlive = false;
    bool AwaitsContinue = false; // the peer holds its body back until it sees 100
    BodyKind Body = BodyKind::None;
    std::uint64_t BodyLeft = 0; // bytes still to come under BodyKind::Length
    bool BodyDone = true;
    std::unique_ptr<ChunkedDecoder> Chunked;
    Patience BodyWait;
    std::uint64_t BodyReceived = 0;
};

/// How the body leaves.
enum class Framing : std::uint8_t { Length, Chunked, UntilClose, None };

struct ResponseState
{
    bool HeadGiven = false; // HttpSendHttpResponse was called
    bool HeadSent = false;
    bool Close = false;
    bool Broken = false; // the peer is gone or too slow; nothing more is sent
    Framing Body = Framing::Length;
    std::uint64_t BodyLeft = 0; // promised by Content-Length and not sent yet
    std::string Head; // held until the first body call; without the Connection field and the empty line
    std::string KeepAliveValue; // what the response gives for Keep-Alive
    Patience SendWait;
    std::uint64_t Sent = 0; // bytes on the wire, head included
};

/// One accepted connection. Lives in the table's slots and is used again after Close.
struct Connection
{
    std::uint32_t Slot = 0; // place in the table, set once
    std::atomic<Owner> State{Owner::Free};

    // Names of this connection and of its present request; a stale one matches nothing.
    std::atomic<HTTP_CONNECTION_ID> ConnectionId{0};
    std::atomic<HTTP_REQUEST_ID> RequestId{0};
    std::atomic<const RequestQueue*> Queue{nullptr}; // of the present request

    // The owner's, in the sense of State.
    Socket Io;
    sockaddr_storage Remote{};
    sockaddr_storage Local{};
    std::atomic<std::uint16_t> LocalPort{0}; // written by Welcome alone; others look while State isn't Free
    bool IsFresh = true;                     // no request has come yet
    std::string Input;                       // received and not consumed
    bool MoreInKernel = false; // the last receive filled its buffer: there may be more without a new event
    Expecting Phase = Expecting::FirstByte;
    std::int64_t Deadline = 0; // on CoarseNow; when the leader gives up
    std::uint64_t LingerLeft = 0;
    RequestState Request;
    ResponseState Response;

    // A call of the request's owner holds Call. Who ends the request from outside sets Abandoned and then
    // either gets Call, or leaves the work to the call that has it (OwnedRequest).
    Mutex Call;
    std::atomic<bool> Abandoned{false}; // set and cleared under the dispatcher's lock

    // The peer closed its side while a worker had the connection.
    Mutex HangUpLock;
    bool HungUp ZN_GUARDED_BY(HangUpLock) = false;
    THandle HangUpEvent ZN_GUARDED_BY(HangUpLock) = 0;

    /// The leader saw the end of the peer's stream: sets the event of a pending disconnect wait.
    void NoteHangUp();
    /// Arms the event; false when the peer has gone already.
    bool ArmHangUp(THandle AEvent);
    /// The wait ends with its request: sets the event if it is armed.
    void EndHangUpWait();
    /// For a new connection in the slot.
    void ForgetHangUp();

    /// Takes the request's properties over from its head.
    void BeginRequest(const RequestHead& AHead, const RequestQueue* AQueue, HTTP_REQUEST_ID AId);
    /// Back to where a fresh connection stands, with Input kept.
    void EndRequest();
};

} // namespace Zn
