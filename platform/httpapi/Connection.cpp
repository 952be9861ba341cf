#include "platform/httpapi/Connection.h"

#include "platform/sync/Event.h"

namespace Zn
{

void Connection::NoteHangUp()
{
    const MutexLock Guard(HangUpLock);
    HungUp = true;
    // Set under the lock: once EndHangUpWait has returned, the event belongs to its owner alone.
    if (const auto Event = LookupHandleAs<TZnKernelEvent>(HangUpEvent))
        Event->Set();
    HangUpEvent = 0;
}

bool Connection::ArmHangUp(THandle AEvent)
{
    const MutexLock Guard(HangUpLock);
    if (HungUp)
        return false;
    HangUpEvent = AEvent;
    return true;
}

void Connection::EndHangUpWait()
{
    const MutexLock Guard(HangUpLock);
    if (HangUpEvent == 0)
        return;
    if (const auto Event = LookupHandleAs<TZnKernelEvent>(HangUpEvent))
        Event->Set();
    HangUpEvent = 0;
}

void Connection::ForgetHangUp()
{
    const MutexLock Guard(HangUpLock);
    HungUp = false;
    HangUpEvent = 0;
}

void Connection::BeginRequest(const RequestHead& AHead, const RequestQueue* AQueue, HTTP_REQUEST_ID AId)
{
    Queue.store(AQueue, std::memory_order_relaxed);
    Abandoned.store(false, std::memory_order_relaxed);
    Request.Http11 = AHead.Version == HTTP_VERSION_1_1;
    Request.IsHead = AHead.Verb == HttpVerbHEAD;
    Request.KeepAlive = AHead.KeepAlive;
    Request.AwaitsContinue = AHead.ExpectContinue && AHead.Body != BodyKind::None;
    Request.Body = AHead.Body;
    Request.BodyLeft = AHead.Body == BodyKind::Length ? AHead.ContentLength : 0;
    Request.BodyDone =
        AHead.Body == BodyKind::None || (AHead.Body == BodyKind::Length && AHead.ContentLength == 0);
    if (AHead.Body == BodyKind::Chunked)
        Request.Chunked = std::make_unique<ChunkedDecoder>();
    IsFresh = false;
    RequestId.store(AId, std::memory_order_release);
}

void Connection::EndRequest()
{
    constexpr std::size_t KeptHeadCapacity = 1024; // an idle connection keeps no more
    RequestId.store(0, std::memory_order_release);
    Queue.store(nullptr, std::memory_order_relaxed);
    EndHangUpWait();
    Request = RequestState{};
    std::string Head = std::move(Response.Head);
    Response = ResponseState{};
    if (Head.capacity() <= KeptHeadCapacity) {
        Head.clear();
        Response.Head = std::move(Head);
    }
}

} // namespace Zn
