#include "PosixSeam.h"
#include "core/Event.h"
#include "core/Runnable.h"
#include "core/Thread.h"
#include "core/ThreadNameSetter.h"
#include "support/Threads.h"

#include <cerrno>
#include <chrono>
#include <pthread.h>
#include <sstream>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace zeb::test {
namespace {

/// Runs until it is let go, and remembers what it saw.
class Gate : public Runnable {
public:
    void run() override {
        name = osThreadName();
        handle = pthread_self();
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stackSize);
        pthread_attr_destroy(&attributes);
        inside.set();
        go.wait();
        left.set();
    }

    Event inside{false};
    Event go{false};
    Event left{false};
    std::string name;
    unsigned long handle = 0;
    std::size_t stackSize = 0;
};

/// What start() returned and printed.
struct Started {
    int result;
    std::string printed;
};

Started start(Thread& thread, Runnable& runnable) {
    testing::internal::CaptureStdout();
    const int result = thread.start(runnable);
    std::fflush(stdout);
    return {result, testing::internal::GetCapturedStdout()};
}

TEST(ThreadTest, ANewThreadHasNoNameAndAStackOf128000Bytes) {
    const Thread thread;
    EXPECT_EQ("", thread.getName());
    EXPECT_EQ(128000, thread.getStackSize());
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(0u, thread.getThreadId());
    EXPECT_EQ("Named", Thread("Named").getName());
    EXPECT_EQ(128000, Thread("Named").getStackSize());
}

TEST(ThreadTest, ItRunsTheRunnableUnderItsNameAndHandle) {
    Gate gate;
    Thread thread("Worker 1");
    const Started started = start(thread, gate);
    EXPECT_EQ(0, started.result);
    EXPECT_EQ("", started.printed);
    EXPECT_TRUE(thread.isRunning());
    gate.inside.wait();
    EXPECT_TRUE(thread.isRunning());
    EXPECT_EQ("Worker 1", gate.name);
    EXPECT_EQ(gate.handle, thread.getThreadId());
    gate.go.set();
    EXPECT_EQ(0, thread.join());
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadTest, AnUnnamedThreadIsCalledByItsHandleInHexadecimal) {
    Gate gate;
    Thread thread;
    gate.go.set();
    ASSERT_EQ(0, thread.start(gate));
    thread.join();
    std::ostringstream hexadecimal;
    hexadecimal << std::hex << thread.getThreadId();
    EXPECT_EQ(hexadecimal.str(), thread.getName());
    EXPECT_EQ(hexadecimal.str(), gate.name);
}

TEST(ThreadTest, ANameSetBeforeTheStartIsShown) {
    Gate gate;
    gate.go.set();
    Thread thread("before");
    thread.setName("after");
    EXPECT_EQ("after", thread.getName());
    thread.start(gate);
    thread.join();
    EXPECT_EQ("after", gate.name);
}

TEST(ThreadTest, TheStackSizeIsApplied) {
    Gate gate;
    gate.go.set();
    Thread thread("Stack");
    EXPECT_EQ(0, thread.setStackSize(1 << 20));
    EXPECT_EQ(1 << 20, thread.getStackSize());
    ASSERT_EQ(0, thread.start(gate));
    thread.join();
    EXPECT_GE(gate.stackSize, std::size_t{1 << 20} - 8192);
    EXPECT_LE(gate.stackSize, std::size_t{2 << 20});
}

TEST(ThreadTest, AStackSizeOfZeroIsTheSystemsDefault) {
    Gate gate;
    gate.go.set();
    Thread thread("Stack");
    EXPECT_EQ(0, thread.setStackSize(0));
    const Started started = start(thread, gate);
    EXPECT_EQ(0, started.result);
    thread.join();
    EXPECT_GT(gate.stackSize, std::size_t{1 << 20});
}

TEST(ThreadTest, ARefusedStackSizeIsPrintedAndReturnedYetTheThreadRuns) {
    Gate gate;
    Thread thread("Tiny");
    thread.setStackSize(1);
    const Started started = start(thread, gate);
    EXPECT_EQ(EINVAL, started.result);
    EXPECT_EQ("Invalid stacksize 1 specified for thread 'Tiny': " + std::to_string(EINVAL) + "\n",
              started.printed);
    gate.inside.wait();
    EXPECT_TRUE(thread.isRunning());
    EXPECT_GT(gate.stackSize, std::size_t{1 << 20});
    gate.go.set();
    EXPECT_EQ(0, thread.join());
}

TEST(ThreadTest, TheStackSizeOfARunningThreadCannotBeChanged) {
    Gate gate;
    Thread thread("Fixed");
    thread.start(gate);
    EXPECT_EQ(1, thread.setStackSize(1 << 20));
    EXPECT_EQ(128000, thread.getStackSize());
    gate.go.set();
    thread.join();
    EXPECT_EQ(0, thread.setStackSize(1 << 20));
}

TEST(ThreadTest, FailingAttributesArePrintedAndReturned) {
    Gate gate;
    Thread thread("Bare");
    Started started{};
    {
        const FailingCall noAttributes(PosixCall::ATTR_INIT, ENOMEM);
        started = start(thread, gate);
    }
    EXPECT_EQ(ENOMEM, started.result);
    EXPECT_EQ("Failed to init attribute for thread 'Bare': 12\n", started.printed);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(ESRCH, thread.join());
}

TEST(ThreadTest, AFailingCreationIsPrintedAndReturned) {
    Gate gate;
    Thread thread("Never");
    Started started{};
    {
        const FailingCall noThread(PosixCall::THREAD_CREATE, EAGAIN);
        started = start(thread, gate);
    }
    EXPECT_EQ(EAGAIN, started.result);
    EXPECT_EQ("Creation of thread 'Never' failed: 11\n", started.printed);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(ESRCH, thread.join());
}

TEST(ThreadTest, AFailingCreationOutweighsARefusedStackSize) {
    Gate gate;
    Thread thread("Both");
    thread.setStackSize(1);
    Started started{};
    {
        const FailingCall noThread(PosixCall::THREAD_CREATE, EAGAIN);
        started = start(thread, gate);
    }
    EXPECT_EQ(EAGAIN, started.result);
    EXPECT_EQ("Invalid stacksize 1 specified for thread 'Both': 22\nCreation of thread 'Both' failed: 11\n",
              started.printed);
}

TEST(ThreadTest, JoiningWhatIsNotThereAnswersAnError) {
    Gate gate;
    gate.go.set();
    Thread thread("Once");
    EXPECT_EQ(ESRCH, thread.join());
    thread.start(gate);
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(ESRCH, thread.join());
}

TEST(ThreadTest, AThreadCannotJoinItself) {
    class Joiner : public Runnable {
    public:
        void run() override { result = thread->join(); }
        Thread* thread = nullptr;
        int result = 0;
    };
    Joiner joiner;
    Thread thread("Self");
    joiner.thread = &thread;
    thread.start(joiner);
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(EDEADLK, joiner.result);
}

TEST(ThreadTest, AnEndedThreadMayBeStartedAgain) {
    Gate gate;
    gate.go.set();
    Thread thread("Again");
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(0, thread.start(gate));
        gate.left.wait();
        if (i == 1) {
            EXPECT_EQ(0, thread.join());
        }
        while (thread.isRunning()) {  // nothing else tells of the end
            Thread::sleep(1);
        }
        gate.left.reset();
    }
}

TEST(ThreadTest, ADestroyedThreadObjectLeavesItsThreadRunning) {
    Gate gate;
#ifdef __SANITIZE_ADDRESS__
    __lsan_disable();  // the private data is left behind on purpose
#endif
    auto* const thread = new Thread("Orphan");
#ifdef __SANITIZE_ADDRESS__
    __lsan_enable();
#endif
    thread->start(gate);
    gate.inside.wait();
    delete thread;
    EXPECT_EQ(1u, threadsNamed("Orphan"));
    gate.go.set();
    gate.left.wait();
    EXPECT_TRUE(awaitThreadsNamed("Orphan", 0));
}

TEST(ThreadTest, AnEndedThreadNeedNotBeJoined) {
    Gate gate;
    gate.go.set();
    {
        Thread thread("Unjoined");
        thread.start(gate);
        while (thread.isRunning()) {  // nothing else tells of the end
            Thread::sleep(1);
        }
    }
    EXPECT_TRUE(awaitThreadsNamed("Unjoined", 0));
}

TEST(ThreadTest, ManyShortThreadsAreNeverSeenRunningAfterTheirEnd) {
    class Nothing : public Runnable {
    public:
        void run() override {}
    };
    Nothing nothing;
    for (int i = 0; i < 500; ++i) {
        Thread thread("Short");
        ASSERT_EQ(0, thread.start(nothing));
        ASSERT_EQ(0, thread.join());
        ASSERT_FALSE(thread.isRunning());
    }
}

TEST(ThreadTest, SleepLastsAtLeastAsLongAsAsked) {
    const auto before = std::chrono::steady_clock::now();
    Thread::sleep(15);  // real time is what is tested
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(15));
    Thread::sleep(0);
}

TEST(ThreadTest, AnInterruptedSleepGoesOnForTheRemainder) {
    const FailingCall interrupted(PosixCall::NANOSLEEP, EINTR);
    const auto before = std::chrono::steady_clock::now();
    Thread::sleep(3600000);
    const auto slept = std::chrono::steady_clock::now() - before;
    EXPECT_GE(slept, std::chrono::milliseconds(1)) << "the remainder";
    EXPECT_LT(slept, std::chrono::seconds(60)) << "not the whole span again";
}

TEST(ThreadTest, ASleepThatFailsForAnotherReasonGoesOnToo) {
    const FailingCall invalid(PosixCall::NANOSLEEP, EINVAL);
    const auto before = std::chrono::steady_clock::now();
    Thread::sleep(3600000);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1));
}

/// Sets the name on a thread of its own and tells what the system then shows.
std::string shownName(const std::string& name) {
    std::string shown;
    std::thread([&] {
        SetThreadName("initial");
        ThreadNameSetter::SetCurrentThreadName(name);
        shown = osThreadName();
    }).join();
    return shown;
}

TEST(ThreadNameSetterTest, AShortNameIsShownWhole) {
    EXPECT_EQ("a", shownName("a"));
    EXPECT_EQ("exactly fifteen", shownName("exactly fifteen"));
}

TEST(ThreadNameSetterTest, ALongerNameIsCutToFourteenCharacters) {
    EXPECT_EQ("sixteen letter", shownName("sixteen letters!"));
    EXPECT_EQ(std::string(14, 'x'), shownName(std::string(10000, 'x')));
}

TEST(ThreadNameSetterTest, AnEmptyNameIsIgnored) {
    EXPECT_EQ("initial", shownName(""));
}

TEST(ThreadNameSetterTest, AFailureIsPrintedToStandardError) {
    testing::internal::CaptureStderr();
    {
        const FailingCall failing(PosixCall::SETNAME, ERANGE);
        SetThreadName("whatever");
    }
    EXPECT_EQ("SetThreadName failed with error code 34\n", testing::internal::GetCapturedStderr());
}

}  // namespace
}  // namespace zeb::test
