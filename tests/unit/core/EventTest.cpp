#include "PosixSeam.h"
#include "core/Condition.h"
#include "core/Event.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include <climits>
#include <gmock/gmock.h>

namespace zeb::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(ConditionTest, ATimedWaitAnswersTheTimeOutAfterItsSpanOnly) {
    Mutex mutex;
    Condition condition;
    const ScopedLock lock(mutex);
    const auto before = steady_clock::now();
    EXPECT_EQ(ETIMEDOUT, condition.timedWait(mutex, 20));
    EXPECT_GE(steady_clock::now() - before, milliseconds(20));
}

TEST(ConditionTest, TheDeadlineOfALongWaitIsNormalised) {
    HeldTimedWaits held;
    Mutex mutex;
    Condition condition;
    std::thread waiter([&] {
        const ScopedLock lock(mutex);
        EXPECT_EQ(ETIMEDOUT, condition.timedWait(mutex, 61999));
    });
    held.awaitCalls(1);
    held.expire();
    waiter.join();
    EXPECT_THAT(held.limitsInSeconds(), testing::ElementsAre(62));
}

TEST(ConditionTest, ASignalEndsATimedWaitWithZero) {
    Mutex mutex;
    Condition condition;
    int result = -1;
    bool waits = false;
    std::thread waiter([&] {
        const ScopedLock lock(mutex);
        waits = true;
        result = condition.timedWait(mutex, 10000);
    });
    for (bool signaled = false; !signaled;) {
        const ScopedLock lock(mutex);
        if (waits) {
            EXPECT_EQ(0, condition.signal());
            signaled = true;
        }
    }
    waiter.join();
    EXPECT_EQ(0, result);
}

TEST(ConditionTest, ABroadcastWakesAll) {
    Mutex mutex;
    Condition condition;
    bool go = false;
    int waiting = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            const ScopedLock lock(mutex);
            ++waiting;
            while (!go) {
                EXPECT_EQ(0, condition.wait(mutex));
            }
        });
    }
    while (true) {
        const ScopedLock lock(mutex);
        if (waiting == 3) {
            go = true;
            EXPECT_EQ(0, condition.broadcast());
            break;
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(ConditionTest, ANegativeSpanThatGivesNoTimeIsPrintedAndAnswersEINVAL) {
    Mutex mutex;
    Condition condition;
    const ScopedLock lock(mutex);
    testing::internal::CaptureStderr();
    int result = 0;
    {
        // Zero time less one millisecond: the nanoseconds are below zero.
        const FailingCall noClock(PosixCall::CLOCK_GETTIME, EFAULT);
        result = condition.timedWait(mutex, -1);
    }
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(EINVAL, result);
    EXPECT_THAT(printed, testing::HasSubstr("Condition::timedWait: pthread_cond_timedwait: EINVAL\n"));
}

TEST(ConditionTest, AFailingClockIsPrintedAndCountsAsZeroTime) {
    Mutex mutex;
    Condition condition;
    const ScopedLock lock(mutex);
    testing::internal::CaptureStderr();
    int result = 0;
    {
        const FailingCall noClock(PosixCall::CLOCK_GETTIME, EFAULT);
        result = condition.timedWait(mutex, 10);
    }
    EXPECT_EQ("currentTimeTimespec: clock_gettime: Bad address\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(ETIMEDOUT, result) << "10 ms after time zero is long past";
}

TEST(ConditionDeathTest, WithoutTheMonotonicClockTheProcessAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const FailingCall noClock(PosixCall::CONDATTR_SETCLOCK, EINVAL);
            const Condition condition;
        },
        testing::KilledBySignal(SIGABRT), "pthread_condattr_setclock: failed to set CLOCK_MONOTONIC");
}

TEST(ConditionDeathTest, WithoutConditionVariablesTheProcessAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const FailingCall noCondition(PosixCall::COND_INIT, ENOMEM);
            const Condition condition;
        },
        testing::KilledBySignal(SIGABRT), "pthread_cond_init: failed to initialize condition variable");
}

TEST(EventTest, ItStartsUnsignaled) {
    Event manual(false);
    Event automatic(true);
    EXPECT_FALSE(manual.timedWait(0));
    EXPECT_FALSE(automatic.timedWait(0));
}

TEST(EventTest, AManualEventStaysSignaledUntilReset) {
    Event event(false);
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.wait());
    EXPECT_TRUE(event.timedWait(0));
    EXPECT_TRUE(event.reset());
    EXPECT_FALSE(event.timedWait(0));
    EXPECT_TRUE(event.reset());
}

TEST(EventTest, AnAutoResetEventLetsOneWaiterThroughPerSet) {
    Event event(true);
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.set()) << "set while signaled counts once";
    EXPECT_TRUE(event.wait());
    EXPECT_FALSE(event.timedWait(0));
    event.set();
    EXPECT_TRUE(event.timedWait(0));
    EXPECT_FALSE(event.timedWait(0));
}

TEST(EventTest, ResetOfAnAutoResetEventDoesNothing) {
    Event event(true);
    event.set();
    EXPECT_FALSE(event.reset());
    EXPECT_TRUE(event.timedWait(0)) << "still signaled";
}

TEST(EventTest, ANegativeSpanAnswersFalseEvenWhenSignaled) {
    Event event(false);
    event.set();
    EXPECT_FALSE(event.timedWait(-1));
    EXPECT_FALSE(event.timedWait(LONG_MIN));
    Event automatic(true);
    automatic.set();
    EXPECT_FALSE(automatic.timedWait(-1));
    EXPECT_TRUE(automatic.timedWait(0)) << "and consumes nothing";
}

TEST(EventTest, ATimedWaitEndsWithFalseAfterItsSpan) {
    Event event(true);
    const auto before = steady_clock::now();
    EXPECT_FALSE(event.timedWait(20));
    EXPECT_GE(steady_clock::now() - before, milliseconds(20));
}

TEST(EventTest, AWakeUpThatFindsItUnsignaledStartsTheFullSpanAgain) {
    HeldTimedWaits held;
    Event event(true);
    bool result = true;
    std::thread waiter([&] { result = event.timedWait(7000); });
    held.awaitCalls(1);
    held.wake();
    held.awaitCalls(2);
    held.expire();
    waiter.join();
    EXPECT_THAT(held.limitsInSeconds(), testing::ElementsAre(7, 7));
    EXPECT_FALSE(result);
}

TEST(EventTest, ATimeOutDecidesEvenWhenTheEventWasSignaledInTheSameMoment) {
    HeldTimedWaits held;
    Event event(true);
    bool result = true;
    std::thread waiter([&] { result = event.timedWait(7000); });
    held.awaitCalls(1);
    event.set();
    held.expire();
    waiter.join();
    EXPECT_FALSE(result);
    EXPECT_TRUE(event.timedWait(0)) << "and the event stays signaled for the next";
}

TEST(EventTest, SetWakesEveryWaiterOfAManualEvent) {
    Event event(false);
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            EXPECT_TRUE(event.timedWait(10000));
            ++passed;
        });
    }
    event.set();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(4, passed);
}

TEST(EventTest, EachSetOfAnAutoResetEventIsSeenByOneOfManyWaiters) {
    Event event(true);
    Event seen(true);
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            event.wait();
            ++passed;
            seen.set();
        });
    }
    for (int i = 1; i <= 4; ++i) {
        event.set();
        seen.wait();
        EXPECT_EQ(i, passed);
        EXPECT_FALSE(event.timedWait(0));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(EventTest, AWaiterMayDestroyTheEventAsSoonAsItIsLetThrough) {
    for (int i = 0; i < 500; ++i) {
        auto* const event = new Event(true);
        std::thread setter([event] { event->set(); });
        event->wait();
        delete event;
        setter.join();
    }
}

}  // namespace
}  // namespace zeb::test
