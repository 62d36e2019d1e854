#include "core/Task.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <pthread.h>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QRMCoreUtils {
namespace {

constexpr std::chrono::seconds PATIENCE{30};

std::string threadName() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return name.data();
}

template <typename T>
bool arrives(const std::future<T>& future) {
    return future.wait_for(PATIENCE) == std::future_status::ready;
}

class NamedTask : public zeb::Task {
public:
    void execute() override { seen_.set_value(threadName()); }
    std::string name() const override { return "NamedTask"; }
    std::future<std::string> seen() { return seen_.get_future(); }

private:
    std::promise<std::string> seen_;
};

TEST(ThreadUtilsTest, RunsATaskUnderItsName) {
    const auto task = std::make_shared<NamedTask>();
    std::future<std::string> seen = task->seen();
    ThreadUtils::runInThreadPool(task);
    ASSERT_TRUE(arrives(seen));
    EXPECT_EQ("NamedTask", seen.get());
}

TEST(ThreadUtilsTest, LetsGoOfATaskThatHasRun) {
    auto released = std::make_shared<std::promise<void>>();
    std::future<void> gone = released->get_future();
    std::shared_ptr<int> guard(new int(0), [released](const int* value) {
        delete value;
        released->set_value();
    });
    ThreadUtils::runInThreadPool([guard] { (void)guard; }, "holder");
    guard.reset();
    EXPECT_TRUE(arrives(gone));
}

TEST(ThreadUtilsTest, RunsAFunctionUnderTheNameGiven) {
    std::promise<std::string> promise;
    std::future<std::string> seen = promise.get_future();
    ThreadUtils::runInThreadPool([&] { promise.set_value(threadName()); }, "ProxyRetry");
    ASSERT_TRUE(arrives(seen));
    EXPECT_EQ("ProxyRetry", seen.get());
}

TEST(ThreadUtilsTest, IgnoresNullAndEmpty) {
    ThreadUtils::runInThreadPool(nullptr);
    ThreadUtils::runInThreadPool(std::function<void()>(), "empty");
    std::promise<void> promise;
    std::future<void> ran = promise.get_future();
    ThreadUtils::runInThreadPool([&] { promise.set_value(); }, "after");
    EXPECT_TRUE(arrives(ran));
}

TEST(ThreadUtilsTest, ATaskMayWaitForOneHandedInAtTheSameTime) {
    for (int round = 0; round < 50; ++round) {
        auto go = std::make_shared<std::promise<void>>();
        auto done = std::make_shared<std::promise<bool>>();
        std::future<bool> finished = done->get_future();
        ThreadUtils::runInThreadPool([go, done] { done->set_value(arrives(go->get_future())); }, "waits");
        ThreadUtils::runInThreadPool([go] { go->set_value(); }, "is waited for");
        ASSERT_TRUE(finished.get()) << "round " << round;
    }
}

TEST(ThreadUtilsTest, SixteenTasksRunAtTheSameTime) {
    struct Meeting {
        std::atomic<int> missing{16};
        std::promise<void> complete;
    };
    const auto meeting = std::make_shared<Meeting>();
    const std::shared_future<void> complete = meeting->complete.get_future().share();
    std::vector<std::future<bool>> met;
    for (int i = 0; i < 16; ++i) {
        auto promise = std::make_shared<std::promise<bool>>();
        met.push_back(promise->get_future());
        ThreadUtils::runInThreadPool(
            [meeting, complete, promise] {
                if (--meeting->missing == 0) {
                    meeting->complete.set_value();
                }
                promise->set_value(complete.wait_for(PATIENCE) == std::future_status::ready);
            },
            "meets");
    }
    for (std::future<bool>& one : met) {
        EXPECT_TRUE(one.get());
    }
}

TEST(ThreadUtilsTest, ATaskMayHandInAnother) {
    std::promise<void> promise;
    std::future<void> ran = promise.get_future();
    ThreadUtils::runInThreadPool([&] { ThreadUtils::runInThreadPool([&] { promise.set_value(); }, "inner"); },
                                 "outer");
    EXPECT_TRUE(arrives(ran));
}

TEST(ThreadUtilsTest, AThousandTasksAllRun) {
    const auto left = std::make_shared<std::atomic<int>>(1000);
    const auto promise = std::make_shared<std::promise<void>>();
    std::future<void> allRan = promise->get_future();
    for (int i = 0; i < 1000; ++i) {
        ThreadUtils::runInThreadPool(
            [left, promise] {
                if (--*left == 0) {
                    promise->set_value();
                }
            },
            "one of many");
    }
    EXPECT_TRUE(arrives(allRan));
}

/// Hands a task in, and sees it run, from a static destructor.
struct LateUser {
    ~LateUser() {
        if (armed) {
            std::promise<void> promise;
            std::future<void> ran = promise.get_future();
            ThreadUtils::runInThreadPool([&] { promise.set_value(); }, "late");
            std::_Exit(arrives(ran) ? EXIT_SUCCESS : EXIT_FAILURE);
        }
    }
    bool armed = false;
};
LateUser lateUser;

TEST(ThreadUtilsDeathTest, ThePoolOutlivesStaticObjects) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ThreadUtils::runInThreadPool([] {}, "makes the pool after the static object");
            lateUser.armed = true;
            std::exit(EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace QRMCoreUtils
