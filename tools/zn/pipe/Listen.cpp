#include <cstdio>
#include <mutex>

#include "tools/zn/Commands.h"
#include "tools/zn/pipe/PipeTools.h"
#include "tools/zn/pipe/Waiting.h"
#include "uZnNamedPipes.h"

namespace Zn
{

namespace
{

/// Lines of several threads, each whole.
class Printer
{
public:
    void Line(TZnNamedPipeConnectionID AID, const std::string& AText)
    {
        const std::lock_guard Guard(FMutex);
        std::printf("%d: %s\n", AID, AText.c_str());
        std::fflush(stdout);
    }

private:
    std::mutex FMutex;
};

std::string PeerText(TZnNamedPipeServer& AServer, TZnNamedPipeConnectionID AID)
{
    TZnPipePeer Peer;
    TZnNamedPipeConnection* const Connection = AServer.GetConnections().FindConnection(AID);
    if (!Connection || !Connection->GetPeer(Peer))
        return "connected";
    return "connected, process " + std::to_string(Peer.ProcessId) + " of user " + std::to_string(Peer.UserId);
}

std::string Answer(const TPipeListener& AListener, const std::string& ACommand)
{
    return AListener.Program.empty() ? ACommand : RunFilter(AListener.Program, ACommand);
}

} // namespace

int ListenOnPipe(const TPipeListener& AListener)
{
    StopSignal Stop;
    Printer Out;
    bool HasFailed = false;
    TZnNamedPipeServer Server;
    Server.SetPipeName(AListener.Name);
    Server.SetMaxConnections(AListener.MaxConnections);
    Server.SetReceiveSyncType(rsThreaded); // a program that takes its time holds up its own client only
    Server.OnConnected = [&](TZnNamedPipeConnectionID AID) { Out.Line(AID, PeerText(Server, AID)); };
    Server.OnDisconnected = [&](TZnNamedPipeConnectionID AID) { Out.Line(AID, "disconnected"); };
    Server.OnDataReceivedS = [&](TZnNamedPipeConnectionID AID, const std::string& AText) {
        Out.Line(AID, AText);
    };
    Server.OnDataReceivedB = [&](TZnNamedPipeConnectionID AID, PZnMemoryBuffer AData) {
        Out.Line(AID, "binary, " + std::to_string(AData->Size) + " bytes");
    };
    Server.OnCmdReceivedS = [&](TZnNamedPipeConnectionID AID, const std::string& AText) {
        Out.Line(AID, "command " + AText);
        try {
            return Answer(AListener, AText);
        } catch (const Exception& Failed) {
            Out.Line(AID, Failed.Message());
            return "error: " + Failed.Message();
        }
    };
    Server.OnNamedPipeException = [&](TZnNamedPipeConnectionID AID, const Exception& AException, bool&) {
        std::fprintf(stderr, "zn pipe: %s\n", OneLine(AException.Message()).c_str());
        HasFailed = HasFailed || dynamic_cast<const EZnNamedPipeConnectError*>(&AException) != nullptr;
        (void)AID;
    };
    Server.Start();
    while (!HasFailed && Stop.Serve(-1)) {
    }
    Server.Stop();
    return HasFailed ? cExitFailure : cExitOk;
}

} // namespace Zn
