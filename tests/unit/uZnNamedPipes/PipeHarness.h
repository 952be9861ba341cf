#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Deadline.h"
#include "tests/support/TemporaryPipes.h"
#include "uZnNamedPipes.h"

inline constexpr std::uint32_t cLimit = 20000; // ms, for what has to happen
inline constexpr const char* cPipe = "test";

/// Serves this thread's messages until ADone holds. False when it didn't in time.
inline bool PumpUntil(const std::function<bool()>& ADone)
{
    const Zn::Deadline Deadline(cLimit);
    while (!ADone()) {
        if (Deadline.HasPassed())
            return false;
        WaitMessage(2);
        ProcessMessages();
    }
    return true;
}

/// Events as lines, from any thread.
class EventLog
{
public:
    void Add(std::string ALine)
    {
        const std::lock_guard Guard(FMutex);
        FLines.push_back(std::move(ALine));
    }
    std::vector<std::string> Lines()
    {
        const std::lock_guard Guard(FMutex);
        return FLines;
    }
    std::size_t Count(const std::string& ALine)
    {
        const auto All = Lines();
        return static_cast<std::size_t>(std::count(All.begin(), All.end(), ALine));
    }
    bool Has(const std::string& ALine) { return Count(ALine) != 0; }

private:
    std::mutex FMutex;
    std::vector<std::string> FLines;
};

inline std::string Text(PZnMemoryBuffer ABuffer)
{
    return {reinterpret_cast<const char*>(ABuffer->Bytes()), ABuffer->Size};
}

/// Answers text with "re " and itself, binary with itself.
inline void SetEcho(TZnNamedPipe& APipe)
{
    APipe.OnCmdReceivedS = [](TZnNamedPipeConnectionID, const std::string& AText) { return "re " + AText; };
    APipe.OnCmdReceivedB = [](TZnNamedPipeConnectionID, PZnMemoryBuffer AData) {
        const PZnMemoryBuffer Answer = ZnGetMem(AData->Size);
        std::copy_n(AData->Bytes(), AData->Size, Answer->Bytes());
        return Answer;
    };
}

/// Writes down what arrives.
inline void SetLog(TZnNamedPipe& APipe, EventLog& ALog)
{
    APipe.OnConnected = [&](TZnNamedPipeConnectionID) { ALog.Add("connected"); };
    APipe.OnDisconnected = [&](TZnNamedPipeConnectionID) { ALog.Add("disconnected"); };
    APipe.OnDataReceivedS = [&](TZnNamedPipeConnectionID, const std::string& AText) {
        ALog.Add("S " + AText);
    };
    APipe.OnDataReceivedB = [&](TZnNamedPipeConnectionID, PZnMemoryBuffer AData) {
        ALog.Add("B " + Text(AData));
    };
    APipe.OnNamedPipeException = [&](TZnNamedPipeConnectionID, const Exception& AException, bool&) {
        ALog.Add(AException.ClassName() + " " + AException.Message());
    };
}

/// A server and a client, connected, both with logs. Sends of the test's thread need a served peer:
/// rsThreaded.
class PipePair : public testing::TestWithParam<TZnNamedPipeReceiveSyncType>
{
protected:
    void Connect(TZnNamedPipeReceiveSyncType AType = rsThreaded)
    {
        for (TZnNamedPipe* Pipe :
             {static_cast<TZnNamedPipe*>(&Server), static_cast<TZnNamedPipe*>(&Client)}) {
            Pipe->SetPipeName(cPipe);
            Pipe->SetReceiveSyncType(AType);
            SetEcho(*Pipe);
        }
        SetLog(Server, ServerLog);
        SetLog(Client, ClientLog);
        Server.SetActive(true);
        Client.SetMinWaitBeforeReconnect(5);
        Client.Connect(-1);
        ASSERT_TRUE(PumpUntil([&] { return ServerLog.Has("connected") && ClientLog.Has("connected"); }));
    }
    /// A started server's instance is made by its own thread.
    bool PipeExists() const { return std::filesystem::exists(Pipes.Folder() + "/" + cPipe); }
    TZnNamedPipeConnectionID ServersID() { return Server.GetConnections().GetConnection(0)->GetID(); }

    Zn::TemporaryPipes Pipes;
    EventLog ServerLog, ClientLog;
    TZnNamedPipeServer Server;
    TZnNamedPipeClient Client;
};

/// What AWork raises, as "class code text"; empty for nothing.
inline std::string RaisedBy(const std::function<void()>& AWork)
{
    try {
        AWork();
    } catch (const EZnNamedPipe& Raised) {
        return Raised.ClassName() + " " + std::to_string(Raised.GetErrorCode()) + " " + Raised.Message();
    } catch (const Exception& Raised) {
        return Raised.ClassName() + " " + Raised.Message();
    }
    return "";
}
