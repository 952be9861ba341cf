#include "platform/sync/Handle.h"

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Event.h"
#include "platform/sync/File.h"

namespace
{

struct Counted : KernelObject
{
    explicit Counted(std::atomic<int>& AAlive) : Alive(AAlive) { ++Alive; }
    ~Counted() override { --Alive; }
    std::atomic<int>& Alive;
};

} // namespace

TEST(Handle, NumbersAreMultiplesOfFourIn32Bits)
{
    std::atomic<int> Alive{0};
    std::vector<THandle> Handles;
    std::set<THandle> Different;
    for (int i = 0; i < 1000; ++i) {
        THandle Handle = RegisterHandle(std::make_shared<Counted>(Alive));
        EXPECT_NE(Handle, 0U);
        EXPECT_EQ(Handle % 4, 0U);
        EXPECT_LE(Handle, 0xFFFFFFFFU);
        Handles.push_back(Handle);
        Different.insert(Handle);
    }
    EXPECT_EQ(Different.size(), Handles.size());
    for (THandle Handle : Handles)
        EXPECT_TRUE(CloseHandle(Handle));
    EXPECT_EQ(Alive, 0);
}

TEST(Handle, ClosedNumbersAreRefusedWhenTheirSlotIsUsedAgain)
{
    std::atomic<int> Alive{0};
    std::set<THandle> Seen;
    // More turns than slots rest: most of them reuse a slot.
    for (int i = 0; i < 100000; ++i) {
        THandle Handle = RegisterHandle(std::make_shared<Counted>(Alive));
        ASSERT_TRUE(Seen.insert(Handle).second) << "given out twice after " << i;
        ASSERT_TRUE(CloseHandle(Handle));
    }
    for (THandle Stale : Seen) {
        ASSERT_EQ(LookupHandle(Stale), nullptr);
        ASSERT_FALSE(CloseHandle(Stale));
    }
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST(Handle, RefusesWhatIsNoHandle)
{
    std::atomic<int> Alive{0};
    THandle Handle = RegisterHandle(std::make_shared<Counted>(Alive));
    for (THandle Wrong :
         {THandle{0}, Handle + 1, Handle + 2, Handle | THandle{1} << 32, ~THandle{0}, ~THandle{3}}) {
        SetLastError(NO_ERROR);
        EXPECT_EQ(LookupHandle(Wrong), nullptr) << Wrong;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE) << Wrong;
    }
    SetLastError(NO_ERROR);
    EXPECT_EQ(LookupHandleAs<TZnKernelEvent>(Handle), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_NE(LookupHandleAs<Counted>(Handle), nullptr);
    CloseHandle(Handle);
}

TEST(Handle, UserKeepsAnObjectThatIsClosed)
{
    std::atomic<int> Alive{0};
    THandle Handle = RegisterHandle(std::make_shared<Counted>(Alive));
    auto User = LookupHandle(Handle);
    CloseHandle(Handle);
    EXPECT_EQ(Alive, 1);
    User.reset();
    EXPECT_EQ(Alive, 0);
}

TEST(Handle, LookUpsAndClosesFromSeveralThreadsMeet)
{
    std::atomic<int> Alive{0};
    std::atomic<THandle> Current{0};
    std::atomic<bool> Stop{false};
    std::atomic<int> Found{0};
    std::vector<std::thread> Readers;
    for (int t = 0; t < 3; ++t) {
        Readers.emplace_back([&] {
            while (!Stop) {
                auto Object = LookupHandleAs<Counted>(Current);
                ASSERT_TRUE(!Object || Object->Alive > 0);
                Found += Object != nullptr;
            }
        });
    }
    for (int i = 0; i < 20000 || Found < 1000; ++i) {
        Current = RegisterHandle(std::make_shared<Counted>(Alive));
        ASSERT_TRUE(CloseHandle(Current));
    }
    Stop = true;
    for (auto& Reader : Readers)
        Reader.join();
    EXPECT_EQ(Alive, 0);
}

TEST(Handle, OddHandlesAreDescriptors)
{
    EXPECT_EQ(HandleFromFd(-1), 0U);
    EXPECT_EQ(FdFromHandle(HandleFromFd(0)), 0);
    EXPECT_EQ(FdFromHandle(HandleFromFd(70000)), 70000);
    EXPECT_EQ(FdFromHandle(8), -1);

    THandle File = OpenFileForRead("/proc/self/exe");
    ASSERT_NE(File, 0U);
    EXPECT_TRUE(fcntl(FdFromHandle(File), F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(CloseHandle(File));
    EXPECT_EQ(fcntl(FdFromHandle(File), F_GETFD), -1);
    EXPECT_FALSE(CloseHandle(File));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    EXPECT_EQ(OpenFileForRead("/nowhere/at/all"), 0U);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenFileForRead("/proc"), 0U);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}
