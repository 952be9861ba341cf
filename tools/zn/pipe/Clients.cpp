#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include <unistd.h>

#include "tools/zn/Commands.h"
#include "tools/zn/pipe/PipeTools.h"
#include "tools/zn/pipe/Waiting.h"
#include "uZnNamedPipes.h"

namespace Zn
{

namespace
{

using Clock = std::chrono::steady_clock;

void SetTarget(TZnNamedPipeClient& AClient, const TPipeTarget& ATarget)
{
    AClient.SetPipeName(ATarget.Name);
    if (!ATarget.Server.empty())
        AClient.SetServerName(ATarget.Server);
    AClient.SetUserName(ATarget.User);
    AClient.SetPassword(ATarget.Password);
    AClient.SetReceiveSyncType(rsThreaded); // this thread waits for answers
}

std::string Contents(const std::string& AText)
{
    if (!AText.starts_with('@'))
        return AText;
    std::ifstream File(AText.substr(1), std::ios::binary);
    if (!File)
        throw Exception("cannot open " + AText.substr(1));
    return {std::istreambuf_iterator<char>(File), {}};
}

/// A connected client that tries once.
class OneClient
{
public:
    explicit OneClient(const TPipeTarget& ATarget)
    {
        SetTarget(Client, ATarget);
        Client.SetAutoReconnect(false);
        Client.Connect(ATarget.ConnectTimeout);
    }

    StopSignal Stop;
    TZnNamedPipeClient Client;
};

double MillisecondsSince(Clock::time_point ABegin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - ABegin).count();
}

const char* StatusText(TZnNamedPipeClientStatus AStatus)
{
    switch (AStatus) {
    case npcsConnecting:
        return "connecting ...";
    case npcsConnected:
        return "connected";
    case npcsDisconnecting:
        return "disconnecting ...";
    default:
        return "disconnected";
    }
}

void SendLine(TZnNamedPipeClient& AClient, const std::string& ALine)
{
    constexpr std::string_view cCommand = "/cmd ";
    constexpr std::uint32_t cAnswerLimit = 10000;
    try {
        if (ALine.starts_with(cCommand))
            std::printf("= %s\n", AClient.SendCmd(ALine.substr(cCommand.size()), cAnswerLimit).c_str());
        else if (!ALine.empty())
            AClient.SendMsg(ALine);
    } catch (const Exception& Failed) {
        std::printf("* %s\n", OneLine(Failed.Message()).c_str());
    }
}

} // namespace

std::string OneLine(const std::string& AText)
{
    std::string Result;
    for (const char Char : AText) {
        if (Char == '\n')
            Result += ' ';
        else if (Char != '\r')
            Result += Char;
    }
    return Result;
}

int SendToPipe(const TPipeTarget& ATarget, const std::string& AText, std::uint32_t ATimeout)
{
    const std::string Text = Contents(AText);
    if (Text.empty())
        throw Exception("there is nothing to send");
    OneClient One(ATarget);
    if (ZnIsUtf8(Text))
        One.Client.SendMsg(Text);
    else
        One.Client.SendMsg(Text.data(), static_cast<std::uint32_t>(Text.size()), btBinary);
    // The answer to a ping tells that everything before it was read.
    if (One.Client.SendPing(ATimeout) == -1)
        throw Exception("the server has not taken it within the time");
    One.Client.Disconnect(true);
    return cExitOk;
}

int AskPipe(const TPipeTarget& ATarget, const std::string& AText, std::uint32_t ATimeout)
{
    const std::string Text = Contents(AText);
    if (Text.empty())
        throw Exception("a command has a text");
    OneClient One(ATarget);
    std::printf("%s\n", One.Client.SendCmd(Text, ATimeout).c_str());
    One.Client.Disconnect(true);
    return cExitOk;
}

int PingPipe(const TPipeTarget& ATarget, int ACount)
{
    constexpr std::uint32_t cLimit = 5000;
    constexpr int cPause = 1000;
    OneClient One(ATarget);
    int Lost = 0;
    for (int Sent = 1;; ++Sent) {
        const auto Begin = Clock::now();
        if (One.Client.SendPing(cLimit) != -1) {
            std::printf("%d: answered within %.3f ms\n", Sent, MillisecondsSince(Begin));
        } else {
            ++Lost;
            std::printf("%d: no answer\n", Sent);
        }
        std::fflush(stdout);
        if (Sent == ACount || !One.Stop.Serve(cPause))
            break;
    }
    return Lost == 0 ? cExitOk : cExitFailure;
}

int TalkWithPipe(const TPipeTarget& ATarget)
{
    StopSignal Stop;
    TZnNamedPipeClient Client;
    SetTarget(Client, ATarget);
    Client.SetReceiveSyncType(rsSynchronized); // what comes is printed by this thread, between the lines
    Client.OnStatusChanged = [&] { std::printf("* %s\n", StatusText(Client.GetStatus())); };
    Client.OnAutoConnectException = [](TZnNamedPipeConnectionID, const Exception& AException, bool&) {
        std::printf("* %s\n", OneLine(AException.Message()).c_str());
    };
    Client.OnDataReceivedS = [](TZnNamedPipeConnectionID, const std::string& AText) {
        std::printf("< %s\n", AText.c_str());
    };
    Client.OnDataReceivedB = [](TZnNamedPipeConnectionID, PZnMemoryBuffer AData) {
        std::printf("< binary, %u bytes\n", AData->Size);
    };
    Client.OnCmdReceivedS = [](TZnNamedPipeConnectionID, const std::string& AText) {
        std::printf("? %s\n", AText.c_str());
        return AText;
    };
    Client.Connect(-1);
    std::string Pending;
    // Lines wait in the input until there is somebody to send them to.
    const auto Input = [&] { return Client.GetStatus() == npcsConnected ? STDIN_FILENO : -1; };
    for (bool IsOpen = true; IsOpen && Stop.Serve(-1, Input()); std::fflush(stdout)) {
        if (!Stop.HasInput())
            continue;
        char Buffer[4096];
        const ssize_t Count = read(STDIN_FILENO, Buffer, sizeof(Buffer));
        IsOpen = Count > 0;
        Pending.append(Buffer, IsOpen ? static_cast<std::size_t>(Count) : 0);
        for (std::size_t End; (End = Pending.find('\n')) != Pending.npos; Pending.erase(0, End + 1))
            SendLine(Client, Pending.substr(0, End));
    }
    Client.Disconnect(true);
    return cExitOk;
}

} // namespace Zn
