#include "PosixSeam.h"
#include "core/Event.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "core/Task.h"
#include "core/ThreadPool.h"
#include "support/Threads.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace zeb::test {
namespace {

constexpr unsigned IDLE_SECONDS = 60;

class FunctionTask : public Task {
public:
    explicit FunctionTask(std::function<void()> function, std::string taskName = "Function")
        : function_(std::move(function)), name_(std::move(taskName)) {}
    void execute() override { function_(); }
    std::string name() const override { return name_; }

private:
    std::function<void()> function_;
    std::string name_;
};

std::shared_ptr<Task> task(std::function<void()> function, std::string name = "Function") {
    return std::make_shared<FunctionTask>(std::move(function), std::move(name));
}

void enqueue(ThreadPool& pool, std::function<void()> function) {
    pool.enqueue(task(std::move(function)), false, false);
}

/// Occupies one thread of a pool from its construction to release().
class Occupied {
public:
    explicit Occupied(ThreadPool& pool) {
        enqueue(pool, [state = state_] {
            state->inside.set();
            state->go.wait();
            state->left.set();
        });
        state_->inside.wait();
    }
    ~Occupied() { release(); }
    Occupied(const Occupied&) = delete;
    Occupied& operator=(const Occupied&) = delete;

    void release() { state_->go.set(); }
    /// Returns when the task has ended.
    void awaitEnd() { state_->left.wait(); }

private:
    struct State {
        Event inside{false};
        Event go{false};
        Event left{false};
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Names in the order in which they were noted, from any thread.
class Record {
public:
    void note(const std::string& name) {
        const ScopedLock lock(mutex_);
        names_.push_back(name);
    }
    std::vector<std::string> names() const {
        const ScopedLock lock(mutex_);
        return names_;
    }

private:
    mutable Mutex mutex_;
    std::vector<std::string> names_;
};

class ThreadPoolTest : public testing::Test {
protected:
    /// A pool doesn't wait for its threads: one of them could still begin a wait, and the next test hold it.
    ~ThreadPoolTest() override { EXPECT_TRUE(awaitThreadsAtRest()); }
};

TEST_F(ThreadPoolTest, AMinimumOfZeroStartsNoThread) {
    ThreadPool pool(0, 10, "MinZero", IDLE_SECONDS);
    EXPECT_EQ(0u, threadsNamed("MinZero"));
    EXPECT_EQ(0u, pool.queueSize());
}

TEST_F(ThreadPoolTest, TheFirstEnqueueCreatesAThread) {
    ThreadPool pool(0, 10, "FirstOne", IDLE_SECONDS);
    pool.enqueue(task([] {}), true, false);
    EXPECT_TRUE(awaitThreadsNamed("FirstOne", 1));
}

TEST_F(ThreadPoolTest, TheMinimumOfThreadsIsStartedAtOnce) {
    const ThreadPool pool(3, 5, "MinThree", IDLE_SECONDS);
    EXPECT_TRUE(awaitThreadsNamed("MinThree", 3));
}

TEST_F(ThreadPoolTest, AMinimumAboveTheMaximumStartsTheMaximum) {
    HeldTimedWaits held;
    const ThreadPool pool(5, 2, "MinAbove", IDLE_SECONDS);
    held.awaitWaiting(2);
    EXPECT_EQ(2u, threadsNamed("MinAbove"));
}

TEST_F(ThreadPoolTest, IdleThreadsOfAnUnnamedPoolAreCalledPoolThread) {
    const ThreadPool pool(2, 2, IDLE_SECONDS);
    EXPECT_TRUE(awaitThreadsNamed("PoolThread", 2));
}

TEST_F(ThreadPoolTest, AThreadShowsTheNameOfItsTaskAndTheNameOfThePoolAfterwards) {
    ThreadPool pool(1, 1, "Naming", IDLE_SECONDS);
    std::string during;
    pool.enqueue(task([&] { during = osThreadName(); }, "Crunching"), true, false);
    EXPECT_EQ("BT-Crunching", during);
    Event ran(false);
    pool.enqueue(task(
                     [&] {
                         during = osThreadName();
                         ran.set();
                     },
                     "Crunching"),
                 false, false);
    ran.wait();
    EXPECT_EQ("Crunching", during);
    EXPECT_TRUE(awaitThreadsNamed("Naming", 1));
}

TEST_F(ThreadPoolTest, ABlockingEnqueueReturnsOnlyAfterTheTaskHasRun) {
    ThreadPool pool(0, 1, "Blocking", IDLE_SECONDS);
    Occupied occupied(pool);
    std::atomic<bool> ran{false};
    Event returned(false);
    std::thread caller([&] {
        pool.enqueue(task([&] { ran = true; }), true, false);
        EXPECT_TRUE(ran);
        returned.set();
    });
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(returned.timedWait(0));
    EXPECT_FALSE(ran);
    occupied.release();
    EXPECT_TRUE(returned.wait());
    caller.join();
}

TEST_F(ThreadPoolTest, WhileAllAreBusyEachTaskGetsAThreadOfItsOwn) {
    ThreadPool pool(0, 10, "Growing", IDLE_SECONDS);
    std::vector<std::unique_ptr<Occupied>> tasks;
    for (std::size_t i = 1; i <= 10; ++i) {
        tasks.push_back(std::make_unique<Occupied>(pool));
        EXPECT_EQ(i, threadsNamed("Function"));
    }
}

TEST_F(ThreadPoolTest, AnEleventhSimultaneousLongTaskOnADefaultPoolWaitsInTheQueue) {
    ThreadPool pool(0, 10, "AsyncHttpReq", IDLE_SECONDS);
    std::vector<std::unique_ptr<Occupied>> tasks;
    for (int i = 0; i < 10; ++i) {
        tasks.push_back(std::make_unique<Occupied>(pool));
    }
    EXPECT_EQ(0u, pool.queueSize());
    Event ran(false);
    enqueue(pool, [&] { ran.set(); });
    EXPECT_EQ(1u, pool.queueSize());
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(ran.timedWait(0));
    tasks.front()->release();
    EXPECT_TRUE(ran.wait()) << "a thread that finishes takes it";
    EXPECT_EQ(0u, pool.queueSize());
}

TEST_F(ThreadPoolTest, ASecondEnqueueBeforeTheFirstTaskHasStartedOnlySignals) {
    HeldTimedWaits held;
    ThreadPool pool(1, 10, "OneIdle", IDLE_SECONDS);
    held.awaitWaiting(1);
    std::vector<std::thread::id> ids;
    Event done(false);
    // The idle thread sleeps on: neither task has started when the second one comes.
    enqueue(pool, [&] { ids.push_back(std::this_thread::get_id()); });
    enqueue(pool, [&] {
        ids.push_back(std::this_thread::get_id());
        done.set();
    });
    EXPECT_EQ(2u, pool.queueSize());
    held.wake();
    done.wait();
    ASSERT_EQ(2u, ids.size());
    EXPECT_EQ(ids[0], ids[1]);
    held.awaitCalls(2);
    EXPECT_TRUE(awaitThreadsNamed("OneIdle", 1));
}

TEST_F(ThreadPoolTest, TasksOfOneQueueRunInTheirOrder) {
    ThreadPool pool(1, 1, "Fifo", IDLE_SECONDS);
    Record record;
    Occupied occupied(pool);
    for (int i = 0; i < 5; ++i) {
        enqueue(pool, [&record, i] { record.note(std::to_string(i)); });
    }
    occupied.release();
    pool.enqueue(task([] {}), true, false);
    EXPECT_THAT(record.names(), testing::ElementsAre("0", "1", "2", "3", "4"));
}

TEST_F(ThreadPoolTest, APriorityTaskAfterTenNormalOnesRunsBeforeThem) {
    ThreadPool pool(1, 1, "Priority", IDLE_SECONDS);
    Record record;
    Occupied occupied(pool);
    for (int i = 0; i < 10; ++i) {
        enqueue(pool, [&record] { record.note("normal"); });
    }
    pool.enqueue(task([&record] { record.note("first"); }), false, true);
    pool.enqueue(task([&record] { record.note("second"); }), false, true);
    EXPECT_EQ(12u, pool.queueSize());
    occupied.release();
    pool.enqueue(task([] {}), true, false);
    std::vector<std::string> expected(12, "normal");
    expected[0] = "first";
    expected[1] = "second";
    EXPECT_EQ(expected, record.names());
}

TEST_F(ThreadPoolTest, ABlockingPriorityTaskOvertakesTheNormalOnes) {
    ThreadPool pool(1, 1, "Both", IDLE_SECONDS);
    Record record;
    Occupied occupied(pool);
    enqueue(pool, [&record] { record.note("normal"); });
    std::thread caller([&] { pool.enqueue(task([&record] { record.note("urgent"); }), true, true); });
    while (pool.queueSize() != 2) {
        std::this_thread::yield();
    }
    occupied.release();
    caller.join();
    pool.enqueue(task([] {}), true, false);
    EXPECT_THAT(record.names(), testing::ElementsAre("urgent", "normal"));
}

TEST_F(ThreadPoolTest, ANullTaskIsIgnored) {
    ThreadPool pool(0, 1, "NullTask", IDLE_SECONDS);
    pool.enqueue(nullptr, false, false);
    pool.enqueue(nullptr, true, true);
    EXPECT_EQ(0u, pool.queueSize());
    EXPECT_EQ(0u, threadsNamed("NullTask"));
}

TEST_F(ThreadPoolTest, APoolOfNoThreadsKeepsItsTasksQueued) {
    ThreadPool pool(1, 0, "NoThreads", IDLE_SECONDS);
    const auto waiting = task([] { ADD_FAILURE(); });
    pool.enqueue(waiting, false, false);
    pool.enqueue(waiting, false, true);
    EXPECT_EQ(2u, pool.queueSize());
    EXPECT_EQ(0u, threadsNamed("NoThreads"));
}

TEST_F(ThreadPoolTest, ClearQueueRemovesWaitingTasksFromBothQueuesAndLeavesTheRunningOne) {
    ThreadPool pool(1, 1, "Clearing", IDLE_SECONDS);
    Occupied occupied(pool);
    auto normal = task([] { ADD_FAILURE(); });
    auto priority = task([] { ADD_FAILURE(); });
    const std::weak_ptr<Task> normalLeft = normal;
    const std::weak_ptr<Task> priorityLeft = priority;
    pool.enqueue(std::move(normal), false, false);
    pool.enqueue(std::move(priority), false, true);
    EXPECT_EQ(2u, pool.queueSize());
    pool.clearQueue();
    EXPECT_EQ(0u, pool.queueSize());
    EXPECT_TRUE(normalLeft.expired());
    EXPECT_TRUE(priorityLeft.expired());
    occupied.release();
    occupied.awaitEnd();
    pool.enqueue(task([] {}), true, false);
}

TEST_F(ThreadPoolTest, ATaskMayCallThePoolWhenItIsDroppedFromTheQueue) {
    ThreadPool pool(0, 0, "Dropping", IDLE_SECONDS);
    auto observer = std::shared_ptr<void>(nullptr, [&pool](void*) { EXPECT_EQ(0u, pool.queueSize()); });
    enqueue(pool, [observer] {});
    observer.reset();
    pool.clearQueue();
}

TEST_F(ThreadPoolTest, ATaskMayEnqueueOnItsOwnPool) {
    ThreadPool pool(0, 2, "Nested", IDLE_SECONDS);
    Event inner(false);
    pool.enqueue(task([&] { pool.enqueue(task([&] { inner.set(); }), true, false); }), true, false);
    EXPECT_TRUE(inner.timedWait(0));
}

TEST_F(ThreadPoolTest, AThreadDropsItsTaskWhenItHasRun) {
    ThreadPool pool(0, 1, "Releasing", IDLE_SECONDS);
    auto once = task([] {});
    const std::weak_ptr<Task> left = once;
    pool.enqueue(std::move(once), false, false);
    pool.enqueue(task([] {}), true, false);
    EXPECT_TRUE(left.expired());
}

TEST_F(ThreadPoolTest, AfterSixtyIdleSecondsADefaultPoolIsBackToNoThreads) {
    HeldTimedWaits held;
    ThreadPool pool(0, 10, "DefaultIdle", 60);
    std::vector<std::unique_ptr<Occupied>> tasks;
    for (int i = 0; i < 3; ++i) {
        tasks.push_back(std::make_unique<Occupied>(pool));
    }
    tasks.clear();
    held.awaitWaiting(3);
    EXPECT_TRUE(awaitThreadsNamed("DefaultIdle", 3));
    EXPECT_THAT(held.limitsInSeconds(), testing::Each(60));
    held.expire();
    EXPECT_TRUE(awaitThreadsNamed("DefaultIdle", 0));
    Event ran(false);
    enqueue(pool, [&] { ran.set(); });
    EXPECT_TRUE(ran.wait()) << "a new thread is made for the next task";
}

TEST_F(ThreadPoolTest, IdleThreadsAboveTheMinimumEndAfterTheirTimeAndTheMinimumStays) {
    auto pool = std::make_unique<ThreadPool>(1, 4, "AboveMin", IDLE_SECONDS);
    std::vector<std::unique_ptr<Occupied>> tasks;
    for (int i = 0; i < 3; ++i) {
        tasks.push_back(std::make_unique<Occupied>(*pool));
    }
    HeldTimedWaits held;
    tasks.clear();
    held.awaitWaiting(3);
    held.expire();
    EXPECT_TRUE(awaitThreadsNamed("AboveMin", 1));
    held.awaitCalls(4);
    held.expire();
    held.awaitCalls(5);
    EXPECT_EQ(1u, threadsNamed("AboveMin"));
    pool.reset();
}

TEST_F(ThreadPoolTest, AThreadOfTheMinimumWaitsAgainAfterItsTime) {
    HeldTimedWaits held;
    ThreadPool pool(1, 1, "Staying", IDLE_SECONDS);
    for (std::size_t i = 1; i <= 3; ++i) {
        held.awaitCalls(i);
        held.expire();
    }
    held.awaitCalls(4);
    EXPECT_EQ(1u, threadsNamed("Staying"));
}

TEST_F(ThreadPoolTest, ATaskThatArrivesAsTheLastThreadGivesUpWaitsForTheNextEnqueue) {
    HeldTimedWaits held;
    ThreadPool pool(0, 1, "GivingUp", IDLE_SECONDS);
    enqueue(pool, [] {});
    held.awaitWaiting(1);
    Record record;
    enqueue(pool, [&] { record.note("stranded"); });
    held.expire();
    EXPECT_TRUE(awaitThreadsNamed("GivingUp", 0));
    EXPECT_EQ(1u, pool.queueSize());
    EXPECT_THAT(record.names(), testing::IsEmpty());
    pool.enqueue(task([&] { record.note("next"); }), true, false);
    EXPECT_THAT(record.names(), testing::ElementsAre("stranded", "next"));
}

TEST_F(ThreadPoolTest, ATaskThatArrivesAsAMinimumThreadTimesOutRunsInItsNextPass) {
    HeldTimedWaits held;
    ThreadPool pool(1, 1, "NextPass", IDLE_SECONDS);
    held.awaitWaiting(1);
    Event ran(false);
    enqueue(pool, [&] { ran.set(); });
    held.expire();
    EXPECT_TRUE(ran.wait());
}

TEST_F(ThreadPoolTest, AThreadThatRestsAfterItsTasksTakesWhatHasComeMeanwhileWithoutBeingCalled) {
    HeldSleeps held;
    Record record;
    ThreadPool pool(1, 1, "Resting", IDLE_SECONDS);
    pool.restBetweenTasks(7);
    enqueue(pool, [&] { record.note("first"); });
    held.awaitSleeps(1);
    EXPECT_THAT(record.names(), testing::ElementsAre("first"));
    for (const char* name : {"second", "third"}) {
        enqueue(pool, [&record, name] { record.note(name); });
    }
    EXPECT_EQ(2u, pool.queueSize());
    held.wake();
    held.awaitSleeps(2);
    EXPECT_THAT(record.names(), testing::ElementsAre("first", "second", "third"));
    EXPECT_THAT(held.milliseconds(), testing::ElementsAre(7, 7));
}

TEST_F(ThreadPoolTest, AThreadThatFindsNothingAfterItsRestWaitsToBeCalled) {
    CountedTimedWaits waits;
    HeldSleeps held;
    ThreadPool pool(0, 1, "Rested", IDLE_SECONDS);
    pool.restBetweenTasks(1);
    enqueue(pool, [] {});
    held.awaitSleeps(1);
    held.wake();
    waits.awaitCalls(1);
    Event ran(false);
    enqueue(pool, [&] { ran.set(); });
    EXPECT_TRUE(ran.wait());
}

TEST_F(ThreadPoolTest, APoolMayGoWhileItsThreadRests) {
    HeldSleeps held;
    {
        ThreadPool pool(1, 1, "RestsOn", IDLE_SECONDS);
        pool.restBetweenTasks(1);
        enqueue(pool, [] {});
        held.awaitSleeps(1);
        enqueue(pool, [] { ADD_FAILURE() << "a dropped task has run"; });
    }
    held.wake();
}

TEST_F(ThreadPoolTest, ALostWakeUpIsMadeGoodWhenTheIdleTimeEnds) {
    HeldTimedWaits held;
    ThreadPool pool(1, 1, "LostWake", IDLE_SECONDS);
    held.awaitWaiting(1);
    Event ran(false);
    {
        const FailingCall lost(PosixCall::COND_SIGNAL, 0);
        enqueue(pool, [&] { ran.set(); });
    }
    EXPECT_EQ(1u, pool.queueSize());
    held.expire();
    EXPECT_TRUE(ran.wait());
}

TEST_F(ThreadPoolTest, AThreadThatCouldNotBeMadeCountsForEver) {
#ifdef __SANITIZE_ADDRESS__
    __lsan_disable();  // the worker waits for ever for the thread that never was
#endif
    {
        std::unique_ptr<ThreadPool> pool;
        {
            const FailingCall noThread(PosixCall::THREAD_CREATE, EAGAIN);
            pool = std::make_unique<ThreadPool>(1, 1, "TooMany", IDLE_SECONDS);
        }
        enqueue(*pool, [] { ADD_FAILURE(); });
        enqueue(*pool, [] { ADD_FAILURE(); });
        EXPECT_EQ(2u, pool->queueSize()) << "the missing thread counts as an idle one";
        EXPECT_EQ(0u, threadsNamed("TooMany"));
    }
#ifdef __SANITIZE_ADDRESS__
    __lsan_enable();
#endif
}

TEST_F(ThreadPoolTest, ADestroyedPoolDropsItsWaitingTasksUnrun) {
    std::weak_ptr<Task> normalLeft;
    std::weak_ptr<Task> priorityLeft;
    std::unique_ptr<Occupied> occupied;
    {
        ThreadPool pool(1, 1, "Dropped", IDLE_SECONDS);
        occupied = std::make_unique<Occupied>(pool);
        auto normal = task([] { ADD_FAILURE(); });
        auto priority = task([] { ADD_FAILURE(); });
        normalLeft = normal;
        priorityLeft = priority;
        pool.enqueue(std::move(normal), false, false);
        pool.enqueue(std::move(priority), false, true);
    }
    EXPECT_TRUE(normalLeft.expired());
    EXPECT_TRUE(priorityLeft.expired());
    occupied->release();
    occupied->awaitEnd();
    EXPECT_TRUE(awaitThreadsNamed("Function", 0));
}

TEST_F(ThreadPoolTest, ADestroyedPoolDoesNotWaitForARunningTaskWhichEndsOnItsOwn) {
    auto pool = std::make_unique<ThreadPool>(0, 2, "Outlived", IDLE_SECONDS);
    Occupied first(*pool);
    Occupied second(*pool);
    pool.reset();
    EXPECT_EQ(2u, threadsNamed("Function")) << "both tasks run on";
    first.release();
    first.awaitEnd();
    EXPECT_TRUE(awaitThreadsNamed("Function", 1));
    second.release();
    second.awaitEnd();
    EXPECT_TRUE(awaitThreadsNamed("Function", 0));
    EXPECT_TRUE(awaitThreadsNamed("Outlived", 0));
}

TEST_F(ThreadPoolTest, TheIdleThreadsOfADestroyedPoolEndAtOnceAndNotAfterTheirIdleTime) {
    const CountedTimedWaits waits;
    auto pool = std::make_unique<ThreadPool>(3, 3, "EndIdle", IDLE_SECONDS);
    waits.awaitCalls(3);
    pool->queueSize();  // takes the mutex that they have released by waiting
    EXPECT_EQ(3u, threadsNamed("EndIdle"));
    pool.reset();
    EXPECT_TRUE(awaitThreadsNamed("EndIdle", 0));
}

TEST_F(ThreadPoolTest, ATaskMayDestroyItsOwnPool) {
    auto pool = std::make_shared<ThreadPool>(0, 2, "Own", IDLE_SECONDS);
    const std::weak_ptr<ThreadPool> left = pool;
    Event ran(false);
    Event go(false);
    enqueue(*pool, [&, held = std::make_shared<std::shared_ptr<ThreadPool>>(pool)] {
        go.wait();
        held->reset();
        ran.set();
    });
    pool.reset();
    go.set();
    EXPECT_TRUE(ran.wait());
    EXPECT_TRUE(left.expired());
    EXPECT_TRUE(awaitThreadsNamed("Function", 0));
}

TEST_F(ThreadPoolTest, APoolThatNeverHadAThreadCanBeDestroyed) {
    { const ThreadPool unused(0, 4, "Unused", IDLE_SECONDS); }
    ThreadPool pool(0, 0, IDLE_SECONDS);
    enqueue(pool, [] { ADD_FAILURE(); });
}

TEST(ThreadPoolDeathTest, ABlockingTaskThatIsDroppedKeepsItsEnqueuerForEver) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ThreadPool pool(0, 0, "Forever", IDLE_SECONDS);
            Event returned(false);
            std::thread caller([&] {
                pool.enqueue(task([] {}), true, false);
                returned.set();
            });
            while (pool.queueSize() == 0) {
                std::this_thread::yield();
            }
            pool.clearQueue();
            _exit(awaitOthersAsleep() && !returned.timedWait(0) ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(ThreadPoolDeathTest, ATaskThatThrowsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            ThreadPool pool(0, 1, "Throwing", IDLE_SECONDS);
            pool.enqueue(task([] { throw 1; }), true, false);
        },
        "");
}

TEST_F(ThreadPoolTest, TensOfThousandsOfTasksFromManyThreadsAllRunOnce) {
    constexpr int ENQUEUERS = 4;
    constexpr int TASKS = 10000;
    std::atomic<int> left{ENQUEUERS * TASKS};
    std::vector<std::atomic<char>> runs(ENQUEUERS * TASKS);
    Event done(false);
    ThreadPool pool(2, 8, "Stress", IDLE_SECONDS);
    std::vector<std::thread> enqueuers;
    for (int e = 0; e < ENQUEUERS; ++e) {
        enqueuers.emplace_back([&, e] {
            for (int i = 0; i < TASKS; ++i) {
                pool.enqueue(task([&, number = e * TASKS + i] {
                                 ++runs[static_cast<std::size_t>(number)];
                                 if (--left == 0) {
                                     done.set();
                                 }
                             }),
                             i % 97 == 0, i % 3 == 0);
            }
        });
    }
    for (std::thread& enqueuer : enqueuers) {
        enqueuer.join();
    }
    done.wait();
    EXPECT_EQ(0u, pool.queueSize());
    for (const std::atomic<char>& count : runs) {
        ASSERT_EQ(1, count);
    }
}

TEST_F(ThreadPoolTest, PoolsComeAndGoWhileTheirTasksRun) {
    auto ran = std::make_shared<std::atomic<int>>(0);
    for (int i = 0; i < 200; ++i) {
        ThreadPool pool(static_cast<unsigned>(i % 3), 4, "Passing", 1);
        for (int n = 0; n < 20; ++n) {
            pool.enqueue(task([ran] { ++*ran; }), n == 10, n % 2 == 0);
        }
    }
    EXPECT_GE(*ran, 200) << "the blocking ones at least";
    EXPECT_TRUE(awaitThreadsNamed("Passing", 0));
    EXPECT_TRUE(awaitThreadsNamed("Function", 0));
}

}  // namespace
}  // namespace zeb::test
