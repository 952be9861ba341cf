#include "platform/pipes/Pipes.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/pipes/PipeName.h"
#include "platform/pipes/PipeTurns.h"
#include "platform/sync/Event.h"
#include "tests/support/TemporaryPipes.h"

namespace
{

constexpr const char16_t* cName = u"\\\\.\\pipe\\test";

struct Closing
{
    THandle Handle;
    ~Closing() { CloseHandle(Handle); }
    operator THandle() const { return Handle; }
};

THandle MakeInstance(const char16_t* AName = cName)
{
    return CreateNamedPipeW(AName, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                            PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, PIPE_UNLIMITED_INSTANCES, 0, 0, 0,
                            nullptr);
}

THandle OpenClient(const char16_t* AName = cName)
{
    return CreateFileW(AName, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED,
                       0);
}

/// The error of a call that has to fail; 0 for one that did not.
std::uint32_t ErrorOf(bool ASucceeded)
{
    return ASucceeded ? NO_ERROR : GetLastError();
}

std::uint32_t OpenError()
{
    const THandle Client = OpenClient();
    const std::uint32_t Error = GetLastError();
    return Client != INVALID_HANDLE_VALUE && CloseHandle(Client) ? NO_ERROR : Error;
}

struct Chunk
{
    std::uint32_t Error;
    std::string Bytes;
};

Chunk ReadChunk(THandle APipe, std::uint32_t ASize)
{
    Chunk Result{NO_ERROR, std::string(ASize, '?')};
    std::uint32_t Count = 0;
    Result.Error = ErrorOf(ReadFile(APipe, Result.Bytes.data(), ASize, &Count, nullptr));
    Result.Bytes.resize(Count);
    return Result;
}

bool Write(THandle APipe, std::string_view ABytes)
{
    std::uint32_t Count = 0;
    return WriteFile(APipe, ABytes.data(), static_cast<std::uint32_t>(ABytes.size()), &Count, nullptr) &&
           Count == ABytes.size();
}

/// Both ends of a connected pipe.
struct Pair
{
    Zn::TemporaryPipes Pipes;
    Closing Server{MakeInstance()};
    Closing Client{OpenClient()};
    Pair() { EXPECT_EQ(ErrorOf(ConnectNamedPipe(Server, nullptr)), ERROR_PIPE_CONNECTED); }
};

/// Writes bytes to the pipe past the library.
int RawClient(const std::string& AFolder)
{
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    std::strncpy(Address.sun_path, (AFolder + "/test").c_str(), sizeof(Address.sun_path) - 1);
    const int Socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(Socket, reinterpret_cast<sockaddr*>(&Address), sizeof(Address)), 0);
    return Socket;
}

} // namespace

TEST(Pipes, NamesBecomeFilesThatHideNowhere)
{
    const struct
    {
        const char* Path;
        const char* Host;
        const char* File;
    } Cases[] = {
        {"\\\\.\\pipe\\name", "", "name"},         {"\\\\\\pipe\\name", "", "name"},
        {"\\\\host\\pipe\\a b", "host", "a%20b"},  {"\\\\.\\pipe\\..", "", "%2E."},
        {"\\\\.\\pipe\\a/../b", "", "a%2F..%2Fb"}, {"\\\\.\\pipe\\50%", "", "50%25"},
        {"\\\\.\\pipe\\\xC3\xA4", "", "\xC3\xA4"},
    };
    for (const auto& Case : Cases) {
        const auto Name = Zn::PipeName::Parse(Case.Path);
        ASSERT_TRUE(Name) << Case.Path;
        EXPECT_EQ(Name->Host, Case.Host) << Case.Path;
        EXPECT_EQ(Name->FileName(), Case.File) << Case.Path;
    }
    for (const char* Path :
         {"", "name", "\\\\.\\pipe\\", "\\\\.\\pipe\\a\\b", "\\\\.\\file\\a", "\\.\\pipe\\a"})
        EXPECT_FALSE(Zn::PipeName::Parse(Path)) << Path;
}

TEST(Pipes, MessagesKeepTheirBordersInChunksOfAnySize)
{
    Pair Ends;
    const std::string Long(200000, 'x');
    std::thread Writer([&] {
        EXPECT_TRUE(Write(Ends.Client, "one"));
        EXPECT_TRUE(Write(Ends.Client, ""));
        EXPECT_TRUE(Write(Ends.Client, Long));
        EXPECT_TRUE(Write(Ends.Client, "last"));
    });
    EXPECT_EQ(ReadChunk(Ends.Server, 2).Error, ERROR_MORE_DATA);
    EXPECT_EQ(ReadChunk(Ends.Server, 2).Bytes, "e");
    EXPECT_EQ(ReadChunk(Ends.Server, 2).Error, NO_ERROR); // the empty one
    std::string Joined;
    Chunk Next;
    do {
        Next = ReadChunk(Ends.Server, 16384);
        Joined += Next.Bytes;
    } while (Next.Error == ERROR_MORE_DATA);
    EXPECT_EQ(Next.Error, NO_ERROR);
    EXPECT_TRUE(Joined == Long);
    EXPECT_EQ(ReadChunk(Ends.Server, 4).Bytes, "last"); // exactly one chunk
    EXPECT_TRUE(Write(Ends.Server, "back"));
    EXPECT_EQ(ReadChunk(Ends.Client, 100).Bytes, "back");
    Writer.join();
}

TEST(Pipes, AReadThatHasToWaitIsFetchedByItsResult)
{
    Pair Ends;
    char Buffer[16];
    std::uint32_t Count = 99;
    TOVERLAPPED Overlapped;
    EXPECT_EQ(ErrorOf(ReadFile(Ends.Server, Buffer, 4, &Count, &Overlapped)), ERROR_IO_PENDING);
    EXPECT_EQ(ErrorOf(GetOverlappedResult(Ends.Server, &Overlapped, &Count, false)), ERROR_IO_INCOMPLETE);
    EXPECT_EQ(Count, 0u);
    ASSERT_TRUE(Write(Ends.Client, "12345"));
    ASSERT_TRUE(Write(Ends.Client, "next"));
    EXPECT_EQ(ErrorOf(GetOverlappedResult(Ends.Server, &Overlapped, &Count, true)), ERROR_MORE_DATA);
    EXPECT_EQ(std::string(Buffer, Count), "1234");
    EXPECT_TRUE(ReadFile(Ends.Server, Buffer, 4, &Count, &Overlapped)); // here already
    EXPECT_EQ(std::string(Buffer, Count), "5");
}

TEST(Pipes, BusyIsToldFromMissingAndStale)
{
    Zn::TemporaryPipes Pipes;
    EXPECT_EQ(OpenError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(WaitNamedPipeW(cName, 1)), ERROR_FILE_NOT_FOUND);
    {
        const Closing First{MakeInstance()};
        const Closing Client{OpenClient()};
        EXPECT_EQ(OpenError(), ERROR_PIPE_BUSY); // come, not yet taken
        EXPECT_EQ(ErrorOf(ConnectNamedPipe(First, nullptr)), ERROR_PIPE_CONNECTED);
        EXPECT_EQ(OpenError(), ERROR_PIPE_BUSY); // taken
        EXPECT_EQ(ErrorOf(WaitNamedPipeW(cName, 5)), ERROR_SEM_TIMEOUT);
        const Closing Second{MakeInstance()};
        ASSERT_TRUE(WaitNamedPipeW(cName, 1000));
        EXPECT_EQ(ErrorOf(ConnectNamedPipe(Second, nullptr)), ERROR_PIPE_CONNECTED);
        const Closing Reserved{OpenClient()}; // what the wait found is this thread's
        EXPECT_NE(Reserved.Handle, INVALID_HANDLE_VALUE);
        EXPECT_TRUE(Write(Reserved, "hi"));
        EXPECT_EQ(ReadChunk(Second, 10).Bytes, "hi");
    }
    EXPECT_EQ(OpenError(), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(std::filesystem::is_empty(Pipes.Folder()));

    const int Dead = socket(AF_UNIX, SOCK_STREAM, 0); // what a killed server leaves
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    std::strncpy(Address.sun_path, (Pipes.Folder() + "/test").c_str(), sizeof(Address.sun_path) - 1);
    ASSERT_EQ(bind(Dead, reinterpret_cast<sockaddr*>(&Address), sizeof(Address)), 0);
    EXPECT_EQ(MakeInstance(), INVALID_HANDLE_VALUE); // it lives
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    close(Dead);
    EXPECT_EQ(OpenError(), ERROR_FILE_NOT_FOUND);
    const Closing Server{MakeInstance()};
    EXPECT_NE(Server.Handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenError(), NO_ERROR);
}

TEST(Pipes, InstancesThatWaitTogetherAreTakenOneAfterTheOther)
{
    Zn::TemporaryPipes Pipes;
    const Closing First{MakeInstance()}, Second{MakeInstance()};
    const Closing A{OpenClient()};
    ASSERT_EQ(ErrorOf(ConnectNamedPipe(First, nullptr)), ERROR_PIPE_CONNECTED);
    const Closing B{OpenClient()};
    ASSERT_EQ(ErrorOf(ConnectNamedPipe(Second, nullptr)), ERROR_PIPE_CONNECTED);
    EXPECT_TRUE(Write(B, "b"));
    EXPECT_EQ(ReadChunk(Second, 1).Bytes, "b");
    EXPECT_EQ(OpenError(), ERROR_PIPE_BUSY);
    ASSERT_TRUE(DisconnectNamedPipe(First));
    EXPECT_EQ(ReadChunk(A, 1).Error, ERROR_BROKEN_PIPE);
    TOVERLAPPED Overlapped; // the instance may be used again
    EXPECT_EQ(ErrorOf(ConnectNamedPipe(First, &Overlapped)), ERROR_IO_PENDING);
    const Closing C{OpenClient()};
    EXPECT_TRUE(GetOverlappedResult(First, &Overlapped, nullptr, true));
}

TEST(Pipes, WaitsAreEndedFromAnotherThread)
{
    const struct
    {
        const char* Name;
        std::function<void(THandle)> End;
        std::uint32_t Read;
        std::uint32_t Connect;
    } Cases[] = {
        {"disconnect", [](THandle AHandle) { DisconnectNamedPipe(AHandle); }, ERROR_PIPE_NOT_CONNECTED,
         ERROR_PIPE_NOT_CONNECTED},
        {"close", [](THandle AHandle) { CloseHandle(AHandle); }, ERROR_INVALID_HANDLE, ERROR_INVALID_HANDLE},
    };
    for (const auto& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        {
            Pair Ends;
            std::uint32_t Read = 0, Written = 0;
            std::thread Reader([&] { Read = ReadChunk(Ends.Server, 10).Error; });
            std::thread Writer([&] {
                const std::string Block(1 << 20, 'x'); // nobody reads it
                Written = ErrorOf(Write(Ends.Server, Block));
            });
            while (ReadChunk(Ends.Client, 1).Error != ERROR_MORE_DATA) {
            }
            Case.End(Ends.Server);
            Reader.join();
            Writer.join();
            EXPECT_EQ(Read, Case.Read);
            EXPECT_EQ(Written, Case.Read);
        }
        Zn::TemporaryPipes Pipes;
        const Closing Server{MakeInstance()};
        TOVERLAPPED Overlapped;
        ASSERT_EQ(ErrorOf(ConnectNamedPipe(Server, &Overlapped)), ERROR_IO_PENDING);
        std::uint32_t Connect = 0;
        std::thread Waiter(
            [&] { Connect = ErrorOf(GetOverlappedResult(Server, &Overlapped, nullptr, true)); });
        Case.End(Server);
        Waiter.join();
        EXPECT_EQ(Connect, Case.Connect);
    }
}

TEST(Pipes, ASetEventEndsTheWaitForAClient)
{
    Zn::TemporaryPipes Pipes;
    const Closing Server{MakeInstance()};
    auto Event = std::make_shared<TZnKernelEvent>();
    const Closing Handle{RegisterHandle(Event)};
    TOVERLAPPED Overlapped{.hEvent = Handle};
    ASSERT_EQ(ErrorOf(ConnectNamedPipe(Server, &Overlapped)), ERROR_IO_PENDING);
    std::thread Setter([&] { Event->Set(); });
    EXPECT_EQ(ErrorOf(GetOverlappedResult(Server, &Overlapped, nullptr, true)), ERROR_IO_INCOMPLETE);
    Setter.join();
}

TEST(Pipes, ThePeersEndComesBehindItsLastMessage)
{
    Pair Ends;
    ASSERT_TRUE(Write(Ends.Client, "unread by the client's end"));
    ASSERT_TRUE(Write(Ends.Server, "unread"));
    CloseHandle(Ends.Client);
    EXPECT_EQ(ReadChunk(Ends.Server, 100).Bytes, "unread by the client's end");
    EXPECT_EQ(ReadChunk(Ends.Server, 100).Error, ERROR_BROKEN_PIPE);
    EXPECT_EQ(ErrorOf(Write(Ends.Server, "x")), ERROR_NO_DATA);
    EXPECT_EQ(ReadChunk(MakeInstance(u"\\\\.\\pipe\\lonely"), 1).Error, ERROR_PIPE_NOT_CONNECTED);
}

TEST(Pipes, ForeignLengthsCostNothing)
{
    const struct
    {
        const char* Name;
        std::string Bytes;
        std::uint32_t Error;
    } Cases[] = {
        {"cut prefix", {"\x05\0", 2}, ERROR_BROKEN_PIPE},
        {"cut message", {"\x05\0\0\0abc", 7}, ERROR_BROKEN_PIPE},
        {"2^31 - 1, cut",
         {"\xFF\xFF\xFF\x7F"
          "abc",
          7},
         ERROR_BROKEN_PIPE},
        {"2^31",
         {"\0\0\0\x80"
          "abc",
          7},
         ERROR_INVALID_DATA},
        {"2^32 - 1", {"\xFF\xFF\xFF\xFF", 4}, ERROR_INVALID_DATA},
    };
    for (const auto& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        Zn::TemporaryPipes Pipes;
        const Closing Server{MakeInstance()};
        const int Client = RawClient(Pipes.Folder());
        ASSERT_EQ(ErrorOf(ConnectNamedPipe(Server, nullptr)), ERROR_PIPE_CONNECTED);
        ASSERT_EQ(write(Client, Case.Bytes.data(), Case.Bytes.size()),
                  static_cast<ssize_t>(Case.Bytes.size()));
        if (Case.Error == ERROR_BROKEN_PIPE)
            close(Client);
        EXPECT_EQ(ReadChunk(Server, 100).Error, Case.Error);
        EXPECT_EQ(ReadChunk(Server, 100).Error, Case.Error);
        if (Case.Error != ERROR_BROKEN_PIPE)
            close(Client);
    }
}

TEST(Pipes, ACrowdIsReadInTurnsAndLosesNothing)
{
    constexpr std::size_t cCount = Zn::PipeTurns::cCrowd + 8;
    Zn::TemporaryPipes Pipes;
    std::vector<THandle> Servers, Clients;
    for (std::size_t Index = 0; Index < cCount; ++Index) {
        Servers.push_back(MakeInstance());
        Clients.push_back(OpenClient());
        ASSERT_EQ(ErrorOf(ConnectNamedPipe(Servers.back(), nullptr)), ERROR_PIPE_CONNECTED);
    }
    std::vector<std::uint32_t> Ends(cCount);
    std::vector<std::thread> Threads;
    for (std::size_t Index = 0; Index < cCount; ++Index)
        Threads.emplace_back([&, Index] {
            Chunk Read;
            std::string Message;
            while (Read = ReadChunk(Servers[Index], 1000),
                   Read.Error == NO_ERROR || Read.Error == ERROR_MORE_DATA) {
                Message += Read.Bytes;
                if (Read.Error == NO_ERROR && !Write(Servers[Index], std::exchange(Message, "")))
                    break;
            }
            Ends[Index] = Read.Error;
        });
    const auto IsEchoed = [&](std::size_t AIndex, const std::string& AMessage) {
        return Write(Clients[AIndex], AMessage) && ReadChunk(Clients[AIndex], 200000).Bytes == AMessage;
    };
    for (const std::string& Message : {std::string("short"), std::string(100000, 'x'), std::string("last")})
        for (std::size_t Index = 0; Index < cCount; ++Index)
            EXPECT_TRUE(IsEchoed(Index, Message)) << Index;
    for (std::size_t Index = 0; Index < cCount / 2; ++Index) { // half of them leave
        CloseHandle(Clients[Index]);
        Threads[Index].join();
        EXPECT_EQ(Ends[Index], ERROR_BROKEN_PIPE);
        CloseHandle(Servers[Index]);
    }
    for (std::size_t Index = cCount / 2; Index < cCount; ++Index)
        EXPECT_TRUE(IsEchoed(Index, "among few") && IsEchoed(Index, "again")) << Index;
    for (std::size_t Index = cCount / 2; Index < cCount; ++Index) {
        DisconnectNamedPipe(Servers[Index]);
        Threads[Index].join();
        EXPECT_EQ(Ends[Index], ERROR_PIPE_NOT_CONNECTED);
        CloseHandle(Servers[Index]);
        CloseHandle(Clients[Index]);
    }
}

TEST(Pipes, AReceiveThatIsCutShortLeavesNothingBehindInACrowd)
{
    Zn::TemporaryPipes Pipes;
    std::vector<std::unique_ptr<Closing>> Company;
    for (std::size_t Index = 0; Index <= Zn::PipeTurns::cCrowd; ++Index) {
        Company.push_back(std::make_unique<Closing>(MakeInstance()));
        Company.push_back(std::make_unique<Closing>(OpenClient()));
        ASSERT_EQ(ErrorOf(ConnectNamedPipe(*Company[2 * Index], nullptr)), ERROR_PIPE_CONNECTED);
    }
    const Closing Server{MakeInstance()};
    const int Client = RawClient(Pipes.Folder());
    ASSERT_EQ(ErrorOf(ConnectNamedPipe(Server, nullptr)), ERROR_PIPE_CONNECTED);
    ASSERT_EQ(write(Client, "\5\0\0\0hello", 9), 9);
    EXPECT_EQ(ReadChunk(Server, 10).Bytes, "hello");
    // A descriptor that comes along ends a receive, whatever is behind it.
    iovec Bytes{const_cast<char*>("\3\0\0\0one"), 7};
    alignas(cmsghdr) char Control[CMSG_SPACE(sizeof(int))] = {};
    msghdr Message{};
    Message.msg_iov = &Bytes;
    Message.msg_iovlen = 1;
    Message.msg_control = Control;
    Message.msg_controllen = sizeof(Control);
    cmsghdr* const Along = CMSG_FIRSTHDR(&Message);
    *Along = {CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
    std::memcpy(CMSG_DATA(Along), &Client, sizeof(int));
    ASSERT_EQ(sendmsg(Client, &Message, 0), 7);
    ASSERT_EQ(write(Client, "\3\0\0\0two", 7), 7);
    EXPECT_EQ(ReadChunk(Server, 10).Bytes, "one");
    EXPECT_EQ(ReadChunk(Server, 10).Bytes, "two");
    close(Client);
}

TEST(Pipes, RefusedNamesFoldersAndModes)
{
    Zn::TemporaryPipes Pipes;
    const auto MakeError = [](const char16_t* AName) {
        const THandle Made = MakeInstance(AName);
        return Made == INVALID_HANDLE_VALUE ? GetLastError() : (CloseHandle(Made), NO_ERROR);
    };
    EXPECT_EQ(MakeError(u"\\\\.\\pipe\\"), ERROR_INVALID_NAME);
    EXPECT_EQ(MakeError(u"\\\\elsewhere\\pipe\\a"), ERROR_INVALID_NAME);
    EXPECT_EQ(MakeError((u"\\\\.\\pipe\\" + std::u16string(256, u'a')).c_str()), ERROR_FILENAME_EXCED_RANGE);
    const std::u16string Long =
        u"\\\\.\\pipe\\" + std::u16string(255, u'a'); // above a socket address's length
    const Closing Server{MakeInstance(Long.c_str())};
    const Closing Client{OpenClient(Long.c_str())};
    EXPECT_NE(Client.Handle, INVALID_HANDLE_VALUE);
    std::ofstream(Pipes.Folder() + "/test") << "precious";
    EXPECT_EQ(MakeError(cName), ERROR_ALREADY_EXISTS);
    EXPECT_TRUE(std::filesystem::is_regular_file(Pipes.Folder() + "/test"));
    setenv("ZN_PIPE_DIR", "/proc/nowhere", 1);
    EXPECT_EQ(MakeError(cName), ERROR_PATH_NOT_FOUND);
    setenv("ZN_PIPE_DIR", Pipes.Folder().c_str(), 1);
}

TEST(Pipes, APeerIsKnownByItsProcess)
{
    Pair Ends;
    TZnPipePeer Peer;
    ASSERT_TRUE(ZnGetNamedPipePeer(Ends.Server, &Peer));
    EXPECT_EQ(Peer.ProcessId, static_cast<std::uint32_t>(getpid()));
    EXPECT_EQ(Peer.UserId, getuid());
    EXPECT_EQ(Peer.GroupId, getgid());
}
