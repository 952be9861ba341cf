#include "common/Thread.h"

#include <functional>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "common/Events.h"
#include "common/Exceptions.h"
#include "platform/messages/Messages.h"

namespace
{

constexpr std::uint32_t cLimit = 20000;

class TWorker : public TThread
{
public:
    explicit TWorker(std::function<void(TWorker&)> AWork) : TThread("worker"), FWork(std::move(AWork)) {}
    ~TWorker() override
    {
        if (GetCurrentThread() != this) {
            Terminate();
            WaitFor();
        }
        if (Destroyed)
            Destroyed->SetEvent();
    }
    void Terminate() override
    {
        TThread::Terminate();
        Wake.SetEvent();
    }

    TSimpleEvent Wake;
    TSimpleEvent* Destroyed = nullptr;

protected:
    void Execute() override { FWork(*this); }

private:
    std::function<void(TWorker&)> FWork;
};

} // namespace

TEST(Thread, RunsOnceStarted)
{
    TWorker Worker([](TWorker& ASelf) {
        EXPECT_EQ(TThread::GetCurrentThread(), &ASelf);
        ASelf.SetReturnValue(5);
    });
    EXPECT_EQ(Worker.WaitFor(), 0) << "not started: nothing to wait for";
    Worker.Start();
    EXPECT_EQ(Worker.WaitFor(), 5);
    EXPECT_TRUE(Worker.GetFinished());
    EXPECT_THROW(Worker.Start(), EThread);
}

TEST(Thread, TerminateWakesItsWaits)
{
    TWorker Worker([](TWorker& ASelf) {
        while (!ASelf.GetTerminated())
            ASSERT_EQ(ASelf.Wake.WaitFor(cLimit), wrSignaled);
    });
    Worker.Start();
    Worker.Terminate();
    Worker.WaitFor();
}

TEST(Thread, KeepsTheExceptionThatLeftExecute)
{
    TWorker Worker([](TWorker&) { throw EAbort("enough"); });
    Worker.Start();
    Worker.WaitFor();
    ASSERT_TRUE(Worker.GetFatalException());
    EXPECT_THROW(std::rethrow_exception(Worker.GetFatalException()), EAbort);

    TWorker Plain([](TWorker&) { throw 42; });
    Plain.Start();
    Plain.WaitFor();
    EXPECT_THROW(std::rethrow_exception(Plain.GetFatalException()), int);
}

TEST(Thread, FreesItselfOnTermination)
{
    for (int i = 0; i < 200; ++i) {
        TSimpleEvent Destroyed;
        auto* Worker = new TWorker([&](TWorker& ASelf) {
            ASelf.Destroyed = &Destroyed;
            if (i % 2)
                throw EAbort();
        });
        Worker->SetFreeOnTerminate(true);
        Worker->Start();
        ASSERT_EQ(Destroyed.WaitFor(cLimit), wrSignaled);
    }
}

TEST(Thread, CannotWaitForItself)
{
    TWorker Worker([](TWorker& ASelf) { EXPECT_THROW(ASelf.WaitFor(), EThread); });
    Worker.Start();
    Worker.WaitFor();
}

TEST(Thread, SeveralThreadsMayWaitForOne)
{
    for (int i = 0; i < 100; ++i) {
        TWorker Worker([](TWorker& ASelf) { ASelf.SetReturnValue(1); });
        Worker.Start();
        TWorker Other([&](TWorker&) { EXPECT_EQ(Worker.WaitFor(), 1); });
        Other.Start();
        EXPECT_EQ(Worker.WaitFor(), 1);
        Other.WaitFor();
    }
}

TEST(Thread, SynchronizeRunsOnTheMainThreadWhileItWaits)
{
    // Would lock up if WaitFor did not serve the calls.
    auto MainId = std::this_thread::get_id();
    int Calls = 0;
    TWorker Worker([&](TWorker&) {
        for (int i = 0; i < 100; ++i) {
            TThread::Synchronize([&] {
                EXPECT_EQ(std::this_thread::get_id(), MainId);
                ++Calls; // both threads use it without a lock
            });
            EXPECT_EQ(Calls, i + 1);
        }
        EXPECT_THROW(TThread::Synchronize([] { throw EAbort("for the caller"); }), EAbort);
    });
    Worker.Start();
    Worker.WaitFor();
    EXPECT_EQ(Calls, 100);
    TThread::Synchronize([&] { ++Calls; });
    EXPECT_EQ(Calls, 101) << "on the main thread a plain call";
}

TEST(Thread, WaitForLeavesPostedMessagesAndRaisesAtItsEnd)
{
    std::vector<std::uint32_t> Seen;
    THandle Wnd = AllocateHWnd([&](TMessage& AMessage) {
        Seen.push_back(AMessage.Msg);
        if (AMessage.Msg == 2)
            throw std::runtime_error("window");
    });
    TWorker Worker([&](TWorker&) {
        PostMessage(Wnd, 1, 0, 0);
        SendMessage(Wnd, 2, 0, 0);
        SendMessage(Wnd, 3, 0, 0);
    });
    Worker.Start();
    EXPECT_THROW(Worker.WaitFor(), std::runtime_error);
    EXPECT_TRUE(Worker.GetFinished());
    EXPECT_EQ(Seen, (std::vector<std::uint32_t>{2, 3}));
    ProcessMessages();
    EXPECT_EQ(Seen.back(), 1U);
    DeallocateHWnd(Wnd);
}

TEST(Thread, SynchronizeWithoutAMainQueueRaisesInsteadOfHanging)
{
    // In a process of its own, whose only queue belonged to a thread that has ended: once before the
    // call, once with the call waiting in the queue.
    auto Check = [] {
        for (bool EndsWhileItWaits : {false, true}) {
            TSimpleEvent MainReady;
            bool Raised = false;
            std::thread Main([&] {
                CreateMainQueue();
                MainReady.SetEvent();
                if (EndsWhileItWaits)
                    WaitMessage(cLimit);
            });
            if (!EndsWhileItWaits)
                Main.join();
            std::thread Caller([&] {
                MainReady.WaitFor(cLimit);
                try {
                    TThread::Synchronize([] { std::exit(2); });
                } catch (const EThread&) {
                    Raised = true;
                }
            });
            Caller.join();
            if (EndsWhileItWaits)
                Main.join();
            if (!Raised)
                std::exit(1);
        }
        std::exit(0);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(Check(), testing::ExitedWithCode(0), "");
}
