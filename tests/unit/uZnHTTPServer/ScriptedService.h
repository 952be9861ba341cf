#pragma once

/// A scripted function set in the place of "Httpapi.dll": notes every call, fails the one it is told to,
/// serves the requests that a test hands in and keeps the answers.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/loader/Loader.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnHTTPServer.h"

struct ScriptedRequest
{
    THTTP_VERB Verb = HttpVerbGET;
    std::u16string Url = u"http://localhost:8080/localserver/x";
    std::map<THTTP_HEADER_ID, std::string> Known{};
    std::vector<std::pair<std::string, std::string>> Unknown{};
    THTTP_VERSION Version = HTTP_VERSION_1_1;
    /// What HttpReceiveRequestEntityBody gives, call by call: at most as many bytes as asked for, the rest
    /// at the next call. Behind the last entry 38.
    std::deque<std::pair<std::uint32_t, std::string>> Body{};
};

struct SendCall
{
    bool IsHead = false;
    std::uint32_t Flags = 0;
    std::uint16_t Status = 0;
    std::string Reason{};
    std::map<std::uint32_t, std::string> Known{};
    std::vector<std::pair<std::string, std::string>> Unknown{};
    std::vector<std::uint32_t> ChunkLengths{};
    std::string Body{};
    std::vector<THTTP_BYTE_RANGE> FileRanges{};
};

/// What became of one request.
struct Exchange
{
    std::vector<SendCall> Calls;
    bool Complete = false;
    bool Dropped = false;
    THandle Queue = 0; // the handle that the last send call used

    const SendCall& Head() const { return Calls.at(0); }
    const std::string& Body() const { return Calls.at(1).Body; }
};

class ScriptedService
{
public:
    explicit ScriptedService(std::vector<std::string> AMissing = {});
    ~ScriptedService();

    // --- What the test does
    HTTP_REQUEST_ID Push(ScriptedRequest ARequest = {});
    /// Waits until the request is answered or dropped; at most 10 s.
    Exchange Await(HTTP_REQUEST_ID AId);
    Exchange Ask(ScriptedRequest ARequest = {}) { return Await(Push(std::move(ARequest))); }
    /// Waits until a handler waits for the end of its client.
    void AwaitWait();
    /// The client of that handler goes away.
    void Disconnect();

    std::vector<std::string> Calls();
    std::size_t OpenHandles();
    std::uint32_t BodyCalls();

    int FailCall = -1; // the index of the opening call that fails, with error 5
    std::uint32_t SendResult = 0;
    std::uint32_t WaitForDisconnectResult = 997;
    std::function<void()> BeforeHeadReturns;

    // --- What the server calls
    std::uint32_t Note(const std::string& ACall);
    std::uint32_t Open(const std::string& ACall, THandle* AHandle);
    std::uint32_t CloseQueue(const std::string& ACall, THandle AHandle);
    void QueueClosed(THandle AHandle);
    std::uint32_t Receive(THandle AQueue, PHTTP_REQUEST ABuffer, std::uint32_t ALength,
                          std::uint32_t* AReceived);
    std::uint32_t ReceiveBody(HTTP_REQUEST_ID AId, void* ABuffer, std::uint32_t ALength,
                              std::uint32_t* ARead);
    std::uint32_t Send(THandle AQueue, HTTP_REQUEST_ID AId, SendCall ACall);
    std::uint32_t Drop(HTTP_REQUEST_ID AId);
    std::uint32_t WaitForDemand(THandle AQueue);
    std::uint32_t ArmDisconnect(OVERLAPPED* AOverlapped);

private:
    bool AwaitPending(std::unique_lock<std::mutex>& ALock, THandle AHandle);
    template <class TCondition>
    void WaitUntil(std::unique_lock<std::mutex>& ALock, const char* AWhat, TCondition ACondition);

    std::mutex FMutex;
    std::condition_variable FChanged;
    std::vector<std::string> FCalls;
    int FOpeningCalls = 0;
    std::map<THandle, THandle> FQueueOf; // of each open handle: the queue's own handle
    THandle FLastQueue = 0;
    std::deque<std::pair<HTTP_REQUEST_ID, ScriptedRequest>> FPending;
    std::map<HTTP_REQUEST_ID, ScriptedRequest> FReceived;
    std::map<HTTP_REQUEST_ID, Exchange> FExchanges;
    HTTP_REQUEST_ID FNextId = 1;
    std::uint32_t FBodyCalls = 0;
    THandle FDisconnectEvent = 0;
    ScriptedService* FOuter = nullptr; // scripts nest
    std::unique_ptr<TZnScopedLibrary> FLibrary;
};

/// The bytes of a file that lives as long as the test.
class ScratchFile
{
public:
    explicit ScratchFile(const std::string& AContent) : FName(FFolder.Write("file", AContent)) {}
    const std::string& Name() const { return FName; }

private:
    Zn::TemporaryFolder FFolder;
    std::string FName;
};
