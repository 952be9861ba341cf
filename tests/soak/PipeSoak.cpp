/// Twenty client processes on one pipe server: random data, commands, pings, disconnects and kills, and a
/// server that stops and starts. Nothing that was acknowledged may be lost, nothing come twice or out of
/// order, and nothing leak.
///
///     pipe_soak [SECONDS] [CLIENTS] [SEED]      exit code 0: all of it held

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <map>
#include <mutex>
#include <poll.h>
#include <random>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/messages/Messages.h"
#include "tests/support/TemporaryPipes.h"
#include "uZnNamedPipes.h"

namespace
{

using Clock = std::chrono::steady_clock;

constexpr const char* cPipe = "soak";
constexpr std::uint32_t cLimit = 60000; // ms: a command that waits longer is a fault

// KiB: the ledger, and pages that hold something small. Sanitizers hold freed memory back, and look for leaks
// themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t cRoomForMemory = 4 * 1024 * 1024;
#else
constexpr std::size_t cRoomForMemory = 16 * 1024;
#endif

/// Serves this thread's messages for that many ms.
void Pump(int AMilliseconds)
{
    const auto End = Clock::now() + std::chrono::milliseconds(AMilliseconds);
    do {
        ProcessMessages();
        const auto Left = std::chrono::ceil<std::chrono::milliseconds>(End - Clock::now()).count();
        if (Left > 0)
            WaitMessage(static_cast<std::uint32_t>(Left));
    } while (Clock::now() < End);
    ProcessMessages();
}

// --- A client process ------------------------------------------------------------------------------
//
// A session is one connection. Its data carries the session's name and a number without gaps; a command's
// answer tells how much of the data before it was received.

class SoakClient
{
public:
    explicit SoakClient(std::uint32_t ASeed) : FName(std::to_string(ASeed)), FRandom(ASeed)
    {
        FClient.SetPipeName(cPipe);
        FClient.SetReceiveSyncType(rsThreaded);
        FClient.SetMinWaitBeforeReconnect(20);
        FClient.OnConnected = [this](TZnNamedPipeConnectionID) {
            FSession = FName + '.' + std::to_string(++FSessions);
            FSent = 0;
            FLive = true;
        };
        FClient.OnDisconnected = [this](TZnNamedPipeConnectionID) { FLive = false; };
        FClient.OnAutoConnectException = [](TZnNamedPipeConnectionID, const Exception&, bool& AHandled) {
            AHandled = true; // the server is between Stop and Start
        };
        FClient.OnNamedPipeException = FClient.OnAutoConnectException;
    }

    [[noreturn]] void RunForEver()
    {
        for (;;) {
            Pump(Upto(3) == 0 ? Upto(20) : 0);
            const auto Begun = Clock::now();
            try {
                if (!FClient.GetActive())
                    FClient.Connect(-1);
                else if (FLive)
                    DoSomething();
                else
                    Pump(5);
            } catch (const Exception& Error) { // the connection broke in the middle
                if (Clock::now() - Begun >= std::chrono::milliseconds(cLimit))
                    Tell('E', Error.Message());
                Pump(5);
            }
        }
    }

private:
    int Upto(int AMost) { return std::uniform_int_distribution(0, AMost)(FRandom); }

    void DoSomething()
    {
        const int Dice = Upto(99);
        if (Dice < 60)
            SendData();
        else if (Dice < 90)
            Ask();
        else if (Dice < 98)
            FClient.SendPing(cLimit);
        else
            FClient.Disconnect(true);
    }

    void SendData()
    {
        const int Size = Upto(50) == 0 ? Upto(1 << 21) : Upto(200);
        const std::string Head =
            "d " + FSession + ' ' + std::to_string(FSent + 1) + ' ' + std::to_string(Size) + '\n';
        ++FSent; // a send that breaks may have arrived
        FClient.SendMsg(Head + std::string(static_cast<std::size_t>(Size), 'x'));
    }

    void Ask()
    {
        const std::string Session = FSession;
        const std::uint64_t Sent = FSent;
        const std::string Answer = FClient.SendCmd("c " + Session, cLimit);
        if (Answer != std::to_string(Sent))
            Tell('E', Session + " sent " + std::to_string(Sent) + ", the server has " + Answer);
        else if (Sent > 0)
            Tell('A', Session + ' ' + Answer);
    }

    static void Tell(char AKind, const std::string& AText)
    {
        const std::string Line = AKind + (' ' + AText) + '\n';
        if (write(STDOUT_FILENO, Line.data(), Line.size()) < 0)
            std::_Exit(1);
    }

    const std::string FName; // a process number comes back within minutes
    std::mt19937 FRandom;
    std::string FSession;
    unsigned FSessions = 0;
    std::uint64_t FSent = 0;
    bool FLive = false;         // between the session's beginning and its end
    TZnNamedPipeClient FClient; // last: its threads end before what they use
};

// --- The server --------------------------------------------------------------------------------------

/// What the server received. Its lock is held by the connections' threads for a few steps.
class Ledger
{
public:
    void TakeData(const std::string& AText)
    {
        const std::size_t HeadEnd = AText.find('\n');
        std::istringstream Head(AText.substr(0, HeadEnd));
        std::string Kind, Session;
        std::uint64_t Number = 0;
        std::size_t Size = 0;
        if (!(Head >> Kind >> Session >> Number >> Size) || Kind != "d" || AText.size() - HeadEnd - 1 != Size)
            return Fault("data that nobody sent: " + AText.substr(0, 60));
        const std::lock_guard Guard(FLock);
        std::uint64_t& Last = FReceived[Session];
        if (Number != Last + 1)
            FFaults.push_back(Session + ": " + std::to_string(Number) + " after " + std::to_string(Last));
        Last = Number;
        ++FMessages;
    }
    std::string Answer(const std::string& ACommand)
    {
        const std::lock_guard Guard(FLock);
        ++FCommands;
        return std::to_string(FReceived[ACommand.substr(2)]);
    }
    /// What a client's process told: an acknowledgement, or a fault that it saw.
    void TakeLine(const std::string& ALine)
    {
        if (ALine.starts_with("E "))
            return Fault(ALine.substr(2));
        std::istringstream Words(ALine.substr(2));
        std::string Session;
        std::uint64_t Number = 0;
        Words >> Session >> Number;
        const std::lock_guard Guard(FLock);
        ++FAcknowledged;
        if (FReceived[Session] < Number)
            FFaults.push_back(Session + ": lost after its acknowledgement");
    }
    void Fault(const std::string& AText)
    {
        const std::lock_guard Guard(FLock);
        FFaults.push_back(AText);
    }
    bool Report() const
    {
        std::printf("%llu messages, %llu commands, %llu acknowledgements, %zu sessions, %zu faults\n",
                    FMessages, FCommands, FAcknowledged, FReceived.size(), FFaults.size());
        for (const std::string& Each : FFaults)
            std::printf("  fault: %s\n", Each.c_str());
        return FFaults.empty() && FAcknowledged > 0;
    }

private:
    std::mutex FLock;
    std::map<std::string, std::uint64_t> FReceived;
    std::vector<std::string> FFaults;
    unsigned long long FMessages = 0, FCommands = 0, FAcknowledged = 0;
};

/// A client's process and the end of its output.
struct Child
{
    pid_t Process = -1;
    int Output = -1;
    std::string Rest;
};

Child StartClient(std::uint32_t ASeed)
{
    std::array<int, 2> Ends{};
    if (pipe2(Ends.data(), O_CLOEXEC) != 0)
        throw Exception("no pipe for a client");
    const pid_t Process = fork();
    if (Process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(Ends[1], STDOUT_FILENO);
        const std::string Seed = std::to_string(ASeed);
        execl("/proc/self/exe", "pipe_soak", "client", Seed.c_str(), nullptr);
        std::_Exit(127);
    }
    close(Ends[1]);
    fcntl(Ends[0], F_SETFL, O_NONBLOCK);
    return {Process, Ends[0], {}};
}

void ReadLines(Child& AChild, Ledger& ALedger)
{
    std::array<char, 4096> Buffer;
    for (ssize_t Count = 0; (Count = read(AChild.Output, Buffer.data(), Buffer.size())) > 0;)
        AChild.Rest.append(Buffer.data(), static_cast<std::size_t>(Count));
    for (std::size_t End = 0; (End = AChild.Rest.find('\n')) != std::string::npos;) {
        ALedger.TakeLine(AChild.Rest.substr(0, End));
        AChild.Rest.erase(0, End + 1);
    }
}

void Kill(Child& AChild, Ledger& ALedger)
{
    kill(AChild.Process, SIGKILL);
    waitpid(AChild.Process, nullptr, 0);
    ReadLines(AChild, ALedger);
    close(AChild.Output);
}

struct Holdings
{
    std::size_t Descriptors = 0;
    std::size_t Threads = 0;
    std::size_t Kilobytes = 0;

    static std::size_t CountIn(const char* AFolder)
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(AFolder), {}));
    }
    /// When what has ended is gone: a thread that was joined is listed for a moment more.
    static Holdings Settled()
    {
        for (Holdings Last = Now();;) {
            Pump(300);
            const Holdings Result = Now();
            if (Result.Descriptors >= Last.Descriptors && Result.Threads >= Last.Threads)
                return Result;
            Last = Result;
        }
    }
    static Holdings Now()
    {
        malloc_trim(0); // what the allocator keeps for later isn't held
        Holdings Result{CountIn("/proc/self/fd"), CountIn("/proc/self/task"), 0};
        std::ifstream Status("/proc/self/status");
        for (std::string Line; std::getline(Status, Line);)
            if (Line.starts_with("VmRSS:"))
                Result.Kilobytes = std::stoul(Line.substr(6));
        return Result;
    }
    void Print(const char* AWhen) const
    {
        std::printf("%s: %zu descriptors, %zu threads, %zu KiB\n", AWhen, Descriptors, Threads, Kilobytes);
    }
};

/// One run over AClients processes, all of which are gone at its end.
class Soak
{
public:
    Soak(Ledger& ALedger, std::uint32_t ASeed) : FLedger(ALedger), FRandom(ASeed)
    {
        FServer.SetPipeName(cPipe);
        FServer.SetMaxConnections(0);
        FServer.SetReceiveSyncType(rsThreaded);
        FServer.OnDataReceivedS = [this](TZnNamedPipeConnectionID, const std::string& AText) {
            FLedger.TakeData(AText);
        };
        FServer.OnDataReceivedB = [this](TZnNamedPipeConnectionID, PZnMemoryBuffer) {
            FLedger.Fault("a raw frame");
        };
        FServer.OnCmdReceivedS = [this](TZnNamedPipeConnectionID, const std::string& ACommand) {
            return FLedger.Answer(ACommand);
        };
        FServer.OnNamedPipeException = [](TZnNamedPipeConnectionID, const Exception&, bool& AHandled) {
            AHandled = true; // a client was killed
        };
        FServer.Start();
    }

    void Run(std::size_t AClients, std::chrono::seconds ATime)
    {
        std::vector<Child> Clients;
        for (std::size_t Index = 0; Index < AClients; ++Index)
            Clients.push_back(StartClient(FRandom()));
        for (const auto End = Clock::now() + ATime; Clock::now() < End;) {
            Pump(50);
            for (Child& Each : Clients)
                ReadLines(Each, FLedger);
            Disturb(Clients[FRandom() % Clients.size()]);
        }
        for (Child& Each : Clients)
            Kill(Each, FLedger);
        for (int Tries = 0; FServer.GetConnections().GetCount() > 0 && Tries < 600; ++Tries)
            Pump(50);
        if (FServer.GetConnections().GetCount() > 0)
            FLedger.Fault("connections of killed clients are left");
    }

private:
    void Disturb(Child& AChild)
    {
        const std::uint32_t Dice = FRandom() % 200;
        if (Dice == 0) {
            FServer.Stop();
            FServer.Start();
        } else if (Dice < 20) {
            Kill(AChild, FLedger);
            AChild = StartClient(FRandom());
        }
        try {
            FServer.SendMsg(0, "to all");
        } catch (const Exception&) { // one of them was just going away
        }
    }

    Ledger& FLedger;
    std::mt19937 FRandom;
    TZnNamedPipeServer FServer;
};

std::uint32_t Number(int ACount, char** AArguments, int AIndex, std::uint32_t ADefault)
{
    return AIndex < ACount ? static_cast<std::uint32_t>(std::atoi(AArguments[AIndex])) : ADefault;
}

} // namespace

int main(int argc, char** argv)
{
    // Large messages go back to the system at once: left to itself, the allocator keeps the top of each
    // arena.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    mallopt(M_TRIM_THRESHOLD, 128 * 1024);
    CreateMainQueue();
    if (argc == 3 && argv[1] == std::string("client"))
        SoakClient(Number(argc, argv, 2, 1)).RunForEver();

    const std::chrono::seconds Time(Number(argc, argv, 1, 600));
    const std::uint32_t Clients = Number(argc, argv, 2, 20);
    const std::uint32_t Seed = Number(argc, argv, 3, std::random_device()());
    std::printf("%lld s, %u clients, seed %u\n", static_cast<long long>(Time.count()), Clients, Seed);
    std::fflush(stdout);
    const Zn::TemporaryPipes Pipes;
    Ledger Received;
    Soak Run(Received, Seed);
    // What a first tenth of the time left behind is what may stay.
    Run.Run(Clients, Time / 10 + std::chrono::seconds(1));
    const Holdings Before = Holdings::Settled();
    Before.Print("warm");
    Run.Run(Clients, Time - Time / 10);
    const Holdings After = Holdings::Settled();
    After.Print("after");
    constexpr std::size_t cFew = 4; // made when they are first needed
    if (After.Descriptors > Before.Descriptors + cFew || After.Threads > Before.Threads ||
        After.Kilobytes > Before.Kilobytes + cRoomForMemory)
        Received.Fault("something leaked");
    return Received.Report() ? 0 : 1;
}
