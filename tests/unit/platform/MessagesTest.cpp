#include "platform/messages/Messages.h"

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>

#include "platform/errors/Errors.h"

namespace
{

constexpr std::uint32_t cLimit = 20000;

/// A window of the test's thread that writes down what it gets.
struct Recorder
{
    Recorder()
        : Wnd(AllocateHWnd([this](TMessage& AMessage) {
              Seen.push_back(AMessage.Msg);
              AMessage.Result = static_cast<std::intptr_t>(AMessage.WParam) + AMessage.LParam;
          }))
    {
    }
    ~Recorder() { DeallocateHWnd(Wnd); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    std::vector<std::uint32_t> Seen;
    THandle Wnd;
};

bool QueueIsReadable()
{
    pollfd Fd{QueueFd(), POLLIN, 0};
    return poll(&Fd, 1, 0) == 1;
}

/// Pumps until ADone is set.
void PumpUntil(TZnKernelEvent& ADone)
{
    const Zn::Deadline Deadline(cLimit);
    while (!ADone.WaitFor(0) && !Deadline.HasPassed()) {
        ProcessMessages();
        WaitMessage(1);
    }
}

} // namespace

TEST(Messages, SentMessagesGoBeforePostedOnesAndBringTheResult)
{
    Recorder Window;
    TZnKernelEvent Done;
    std::intptr_t Result = 0;
    std::thread Other([&] {
        PostMessage(Window.Wnd, 1, 0, 0);
        PostMessage(Window.Wnd, 2, 0, 0);
        Result = SendMessage(Window.Wnd, 3, 40, 2);
        Done.Set();
    });
    ServeCallsUntil(Done, cLimit);
    EXPECT_EQ(Window.Seen, (std::vector<std::uint32_t>{3}));
    EXPECT_EQ(Result, 42);
    Other.join();
    EXPECT_EQ(ProcessMessages(), 2U);
    EXPECT_EQ(Window.Seen, (std::vector<std::uint32_t>{3, 1, 2}));
    EXPECT_EQ(SendMessage(Window.Wnd, 4, 1, 1), 2) << "on the own thread a plain call";
}

TEST(Messages, DescriptorIsReadableWhileThereIsWork)
{
    Recorder Window;
    ProcessMessages();
    EXPECT_FALSE(QueueIsReadable());
    PostMessage(Window.Wnd, 1, 0, 0);
    PostMessage(Window.Wnd, 2, 0, 0);
    EXPECT_TRUE(QueueIsReadable());
    EXPECT_TRUE(WaitMessage(0));
    TMessage Removed;
    EXPECT_FALSE(RemoveMessage(Window.Wnd, 3, 9, Removed));
    EXPECT_TRUE(RemoveMessage(Window.Wnd, 2, 2, Removed));
    EXPECT_EQ(Removed.Msg, 2U);
    EXPECT_TRUE(QueueIsReadable());
    ProcessMessages();
    EXPECT_FALSE(QueueIsReadable());
    EXPECT_EQ(Window.Seen, (std::vector<std::uint32_t>{1}));
}

TEST(Messages, TwoThreadsThatSendToEachOtherDontLockUp)
{
    CreateMainQueue();
    TZnKernelEvent Ready, Stop, Done;
    THandle Here = 0, There = 0;
    // Each answers by asking the other one level deeper.
    auto Answer = [](THandle& APeer) {
        return [&APeer](TMessage& AMessage) {
            AMessage.Result =
                AMessage.WParam == 0 ? 1 : 1 + SendMessage(APeer, AMessage.Msg, AMessage.WParam - 1, 0);
        };
    };
    Here = AllocateHWnd(Answer(There));
    std::thread Other([&] {
        There = AllocateHWnd(Answer(Here));
        Ready.Set();
        std::intptr_t Sum = 0;
        for (int i = 0; i < 500; ++i)
            Sum += SendMessage(Here, 1, 3, 0);
        EXPECT_EQ(Sum, 500 * 4);
        Done.Set();
        EXPECT_TRUE(ServeCallsUntil(Stop, cLimit));
        DeallocateHWnd(There);
    });
    ASSERT_TRUE(Ready.WaitFor(cLimit));
    std::intptr_t Sum = 0;
    for (int i = 0; i < 500; ++i)
        Sum += SendMessage(There, 1, 3, 0);
    EXPECT_EQ(Sum, 500 * 4);
    EXPECT_TRUE(ServeCallsUntil(Done, cLimit));
    Stop.Set();
    Other.join();
    DeallocateHWnd(Here);
}

TEST(Messages, SenderIsReleasedWhenTheWindowGoes)
{
    for (bool ThreadEnds : {false, true}) {
        THandle Wnd = 0;
        TZnKernelEvent Ready;
        std::thread Owner([&] {
            Wnd = AllocateHWnd([](TMessage& AMessage) { AMessage.Result = 7; });
            Ready.Set();
            EXPECT_TRUE(WaitMessage(cLimit)); // the message is in the queue and stays there
            EXPECT_TRUE(ThreadEnds || DeallocateHWnd(Wnd));
        });
        ASSERT_TRUE(Ready.WaitFor(cLimit));
        SetLastError(NO_ERROR);
        EXPECT_EQ(SendMessage(Wnd, 2, 0, 0), 0);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
        Owner.join();
        EXPECT_FALSE(PostMessage(Wnd, 1, 0, 0));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
        EXPECT_EQ(DeallocateHWnd(Wnd), ThreadEnds) << "nobody but this thread can any more";
    }
}

TEST(Messages, OnlyTheOwnerRemovesAWindow)
{
    Recorder Window;
    std::thread([&] {
        EXPECT_FALSE(DeallocateHWnd(Window.Wnd));
        EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    }).join();
    EXPECT_EQ(SendMessage(Window.Wnd, 1, 1, 0), 1);

    // By its own procedure, with more waiting for it.
    THandle Self = 0;
    int Calls = 0;
    Self = AllocateHWnd([&](TMessage&) {
        ++Calls;
        DeallocateHWnd(Self);
    });
    PostMessage(Self, 1, 0, 0);
    PostMessage(Self, 2, 0, 0);
    ProcessMessages();
    EXPECT_EQ(Calls, 1);
}

TEST(Messages, ExceptionLeavesThePumpAndReleasesTheSender)
{
    THandle Wnd = AllocateHWnd([](TMessage& AMessage) {
        AMessage.Result = 5;
        throw std::runtime_error(std::to_string(AMessage.Msg));
    });
    TZnKernelEvent Done;
    std::thread Other([&] {
        EXPECT_EQ(SendMessage(Wnd, 1, 0, 0), 0);
        Done.Set();
    });
    EXPECT_THROW(PumpUntil(Done), std::runtime_error);
    EXPECT_TRUE(Done.WaitFor(cLimit));
    Other.join();
    PostMessage(Wnd, 2, 0, 0);
    PostMessage(Wnd, 3, 0, 0);
    EXPECT_THROW(ProcessMessages(), std::runtime_error);
    EXPECT_THROW(ProcessMessages(), std::runtime_error) << "the second one waited for its turn";
    EXPECT_EQ(ProcessMessages(), 0U);
    DeallocateHWnd(Wnd);
}

TEST(Messages, PostedMessagesHaveABound)
{
    Recorder Window;
    int Taken = 0;
    while (Taken < 20000 && PostMessage(Window.Wnd, 1, 0, 0))
        ++Taken;
    EXPECT_EQ(Taken, 10000);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_QUOTA);
    EXPECT_EQ(ProcessMessages(), 10000U);
    EXPECT_TRUE(PostMessage(Window.Wnd, 1, 0, 0));
}

TEST(Messages, BroadcastReachesWindowsOfAllThreads)
{
    Recorder Window;
    TZnKernelEvent Ready, Got;
    std::thread Other([&] {
        THandle Wnd = AllocateHWnd([&](TMessage& AMessage) {
            if (AMessage.Msg == 536)
                Got.Set();
        });
        Ready.Set();
        PumpUntil(Got);
        DeallocateHWnd(Wnd);
    });
    ASSERT_TRUE(Ready.WaitFor(cLimit));
    BroadcastMessage(536, 4, 0);
    EXPECT_TRUE(Got.WaitFor(cLimit));
    Other.join();
    ProcessMessages();
    EXPECT_EQ(Window.Seen, (std::vector<std::uint32_t>{536}));
}

TEST(Messages, MainThreadCallsBringTheirExceptionHome)
{
    ASSERT_TRUE(CreateMainQueue());
    TZnKernelEvent Done;
    std::thread Other([&] {
        EXPECT_FALSE(IsMainThread());
        auto Main = std::thread::id();
        EXPECT_EQ(CallOnMainThread([&] { Main = std::this_thread::get_id(); }), TZnMainCallResult::Done);
        EXPECT_NE(Main, std::this_thread::get_id());
        EXPECT_THROW(CallOnMainThread([] { throw std::runtime_error("over there"); }), std::runtime_error);
        Done.Set();
    });
    EXPECT_TRUE(ServeCallsUntil(Done, cLimit));
    Other.join();
    EXPECT_TRUE(IsMainThread());
    EXPECT_THROW(CallOnMainThread([] { throw std::runtime_error("here"); }), std::runtime_error);
}
