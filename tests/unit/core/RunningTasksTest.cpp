#include "core/Event.h"
#include "core/RunningTasks.h"
#include "core/Task.h"
#include "core/ThreadPool.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

constexpr long LONG_ENOUGH_MS = 20000;
constexpr long AT_ONCE_MS = 0;

class TwoStepTask : public Task {
public:
    TwoStepTask(std::function<void()> run, std::function<void()> destroy)
        : run_(std::move(run)), destroy_(std::move(destroy)) {}
    ~TwoStepTask() override { destroy_(); }
    void execute() override { run_(); }

private:
    std::function<void()> run_;
    std::function<void()> destroy_;
};

class RunningTasksTest : public testing::Test {
protected:
    ~RunningTasksTest() override { EXPECT_TRUE(running.awaitNone(LONG_ENOUGH_MS)); }

    void enqueue(
        std::function<void()> run, std::function<void()> destroy = [] {}) {
        pool.enqueue(std::make_shared<TwoStepTask>(std::move(run), std::move(destroy)), false, false);
    }

    RunningTasks& running = RunningTasks::getInstance();
    ThreadPool pool{0, 2, 60};
    Event inside{false};
    Event go{false};
};

TEST_F(RunningTasksTest, WithoutATaskNobodyWaits) {
    EXPECT_TRUE(running.awaitNone(AT_ONCE_MS));
    EXPECT_TRUE(running.awaitNone(-1));
}

TEST_F(RunningTasksTest, ATaskThatRunsIsWaitedFor) {
    enqueue([this] {
        inside.set();
        go.wait();
    });
    inside.wait();
    EXPECT_FALSE(running.awaitNone(AT_ONCE_MS));
    std::thread opener([this] { go.set(); });
    EXPECT_TRUE(running.awaitNone(LONG_ENOUGH_MS));
    opener.join();
}

TEST_F(RunningTasksTest, ATaskCountsUntilItHasBeenDestroyed) {
    std::atomic<bool> destroyed{false};
    enqueue([] {},
            [&] {
                inside.set();
                go.wait();
                destroyed = true;
            });
    inside.wait();
    EXPECT_FALSE(running.awaitNone(AT_ONCE_MS));
    go.set();
    EXPECT_TRUE(running.awaitNone(LONG_ENOUGH_MS));
    EXPECT_TRUE(destroyed);
}

TEST_F(RunningTasksTest, ATaskDoesNotWaitForItself) {
    Event done{false};
    bool none = false;
    enqueue([&] {
        none = running.awaitNone(LONG_ENOUGH_MS);
        done.set();
    });
    done.wait();
    EXPECT_TRUE(none);
}

TEST_F(RunningTasksTest, ATaskWaitsForTheOthers) {
    Event done{false};
    bool none = true;
    enqueue([this] {
        inside.set();
        go.wait();
    });
    inside.wait();
    enqueue([&] {
        none = running.awaitNone(AT_ONCE_MS);
        done.set();
    });
    done.wait();
    EXPECT_FALSE(none);
    go.set();
}

TEST_F(RunningTasksTest, ATaskThatWaitsInItsQueueIsNotRunning) {
    ThreadPool noThreads(0, 0, 60);
    noThreads.enqueue(std::make_shared<TwoStepTask>([] {}, [] {}), false, false);
    EXPECT_TRUE(running.awaitNone(AT_ONCE_MS));
}

}  // namespace
}  // namespace zeb::test
