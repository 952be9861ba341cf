#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/Events.h"
#include "common/Locks.h"
#include "common/Thread.h"
#include "platform/Api.h"
#include "uZnHTTPServer/AcceptLanguage.h"
#include "uZnHTTPServer/BodyContent.h"
#include "uZnHTTPServer/ReceivedRequest.h"
#include "uZnHTTPServer/Request.h"
#include "uZnHTTPServer/TrustedProxies.h"

class TZnCustomHTTPServer;
namespace Zn
{
class RequestCounters;
}

/// Serves one request after the other: sleeps, is handed a request, runs the server's
/// DoOnResponseRaw, goes back to the idle list. A raw handler receives it and reads and answers
/// through it.
///
///     made --> sleeping --ProcessRequest, Wake--> serving (holds FLock) --> idle, sleeping --> ...
///                                                  |  ^
///                                                  TakeOver     Terminate ends it from any of them
///
/// Threads:   ProcessRequest on the listen thread, Wake and Terminate on any; everything else on the
///            worker's own thread, while a request is in hand.
/// Ownership: made and freed by the server's pool. Owns the request in hand, its body and cookies.
class ZN_API TZnHTTPServerResponseThread : public TThread
{
public:
    /// For the server's pool.
    explicit TZnHTTPServerResponseThread(TZnCustomHTTPServer& AHTTPServer);
    ~TZnHTTPServerResponseThread() override;

    /// The handover; the pool wakes the worker behind it. Raises Exception when the worker doesn't get
    /// to sleep within 100 ms after it entered the idle list.
    void ProcessRequest(Zn::ReceivedRequest ARequest);
    /// Ends the idle sleep. For the pool.
    void Wake();
    /// Takes the request that AFrom was handed and hasn't begun. For the pool, under its lock.
    void TakeOver(TZnHTTPServerResponseThread& AFrom);
    /// Wakes the worker, also out of WaitForEvents.
    void Terminate() override;

    /// Whether the calling thread is a worker of AHTTPServer.
    static bool IsWorkerOf(const TZnCustomHTTPServer& AHTTPServer);

    /// The service's record of the request in hand.
    PHTTP_REQUEST GetHTTP_REQUEST() const { return FHTTP_REQUEST.Get(); }
    /// What a trusted proxy told about it; as of a direct connection without one.
    const Zn::ForwardedOrigin& GetOrigin() const { return FOrigin; }
    /// The queue of the present request, for calls of the service.
    THandle GetReqQueue() const { return FHTTP_REQUEST.ReqQueue(); }

    /// The value as it came; empty when the client didn't send it.
    std::string GetHeaderValue(THTTP_HEADER_ID AHeader) const { return std::string(GetHeaderView(AHeader)); }
    /// The same without a copy; valid while the request is in hand.
    std::string_view GetHeaderView(THTTP_HEADER_ID AHeader) const;
    /// A header without a number, by name without regard to case; a pair of quotes is taken off.
    std::string GetHeaderValue(const std::string& AHeader) const;
    /// The same by index, with its name; two empty texts behind the last one.
    std::string GetUnknownHeaderValue(std::uint16_t AHeaderIdx, std::string& AHeader) const;
    /// The first lookup of a request reads the Cookie field and compares without regard to case,
    /// later ones with it. Of like-named cookies the last counts.
    bool GetCookie(const TZnURLData& AUrlData, const std::string& ACookieName, std::string& ACookieValue);
    /// The client's languages, the dearest first.
    TZnHTTPAcceptedLanguages GetAcceptedLanguages() const;
    /// Gives the body (null without one) and tells whether it has any bytes. It is read at the first
    /// call, straight into the stream that keeps it. Raises EZnHTTPConnection when the client is
    /// gone, EAbort when the body ends early, EZnHTTPException 413 for one over MaxBodySize or beyond
    /// memory, else what CheckResult raises; after that a further call tries again.
    bool GetBody(std::shared_ptr<IZnBodyContent>& Body);
    /// See TZnHTTPServerRequest::WaitForEvents.
    std::uint32_t WaitForEvents(std::int32_t ATimeOut, std::span<const THandle> AHandles);

    /// Sends status line and headers. Returns the service's number. AFlags: HTTP_SEND_RESPONSE_FLAG_*.
    std::uint32_t SendHttpResponse(std::uint32_t AFlags, const THTTP_RESPONSE* AResponse,
                                   std::uint32_t& BytesSent);
    /// The next piece of the body. 0 or the platform's number: 1229 when the client is gone.
    std::uint32_t SendHttpResponseEntityBody(std::uint32_t AFlags, std::uint16_t AChunkCount,
                                             const THTTP_DATA_CHUNK* AChunks, std::uint32_t& BytesSent);

    /// What has been sent for the request in hand: the status, 0 before it, and the bytes on the wire,
    /// head included. For logs.
    std::uint16_t GetSentStatus() const { return FSentStatus; }
    /// Bytes of the present answer that were sent, its head included.
    std::uint64_t GetSentBytes() const { return FSentBytes; }

protected:
    void Execute() override;

private:
    void Accept(Zn::ReceivedRequest ARequest);
    bool SleepUntilHandover();
    void ServeRequest() ZN_REQUIRES(FLock);
    void ServeCounted(Zn::RequestCounters& ACounters) ZN_REQUIRES(FLock);
    void Cleanup();
    void NoteSent(std::uint32_t AStatus, std::uint32_t AFlags);

    using TCookies = std::unordered_map<std::string, std::string>; // name, value

    TZnCustomHTTPServer& FHTTPServer;
    TZnCriticalSection FLock; // held while a request is served; order: before FWorkerThreadLock
    TSimpleEvent FTerminateEvent;
    TSimpleEvent FIdleEvent;
    Zn::ReceivedRequest FHTTP_REQUEST; // another thread's until the pool's Begin has given it to this worker
    Zn::ForwardedOrigin FOrigin;
    std::uint16_t FSentStatus = 0;
    std::uint64_t FSentBytes = 0;
    std::uint64_t FReceivedBytes = 0; // of the body
    OVERLAPPED FDisconnectOverlapped{};
    TSimpleEvent FDisconnectEvent;
    bool FDisconnectArmed = false; // FDisconnectEvent may have been set by the request before
    std::shared_ptr<IZnBodyContent> FBody;
    bool FCookiesParsed = false; // FCookies holds the cookies of the request in hand
    TZnThreadSafeType<TCookies> FCookies;
};
