#include "netutils/GlobalEdgeStateController.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/LogCapture.h"
#include "support/Threads.h"

#include <chrono>
#include <future>
#include <stdexcept>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using std::chrono::steady_clock;
using zeb::test::FakeGlobalEdgeState;
using zeb::test::InstalledGlobalEdgeState;
using zeb::test::LogCapture;

TEST(GlobalEdgeStateControllerTest, IsNotInitializedAtFirst) {
    EXPECT_FALSE(GlobalEdgeStateController::isInitialized());
}

TEST(GlobalEdgeStateControllerTest, WithoutAStartWaitsASecondAndThrows) {
    const LogCapture log;
    const auto begin = steady_clock::now();
    try {
        GlobalEdgeStateController::getGlobalEdgeState();
        FAIL() << "nothing was thrown";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(
            "Unable to access GlobalEdgeState instance. GlobalEdgeStateController not initialized. Call init "
            "method before",
            error.what());
    }
    const auto took = steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(1000));
    EXPECT_LT(took, std::chrono::milliseconds(10000));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "GlobalEdgeStateController not initialized"));
    EXPECT_EQ(1U, log.linesOf("zeb.netutils").size());
}

TEST(GlobalEdgeStateControllerTest, GivesTheOneStateOnceThereIsOne) {
    const InstalledGlobalEdgeState installed(false, false);
    EXPECT_TRUE(GlobalEdgeStateController::isInitialized());
    EXPECT_EQ(installed.get(), GlobalEdgeStateController::getGlobalEdgeState());
}

TEST(GlobalEdgeStateControllerTest, AStartOnAnotherThreadEndsTheWait) {
    const auto state = std::make_shared<FakeGlobalEdgeState>(true, false);
    auto asked =
        std::async(std::launch::async, [] { return GlobalEdgeStateController::getGlobalEdgeState(); });
    EXPECT_TRUE(zeb::test::awaitOthersAsleep()) << "it waits by now";
    GlobalEdgeStateController::setGlobalEdgeStateForTesting(state);
    EXPECT_EQ(state, asked.get());
    GlobalEdgeStateController::setGlobalEdgeStateForTesting(nullptr);
}

TEST(GlobalEdgeStateControllerTest, AStateTakenAwayIsMissedAgain) {
    { const InstalledGlobalEdgeState installed(false, false); }
    EXPECT_FALSE(GlobalEdgeStateController::isInitialized());
    EXPECT_THROW(GlobalEdgeStateController::getGlobalEdgeState(), std::logic_error);
}

}  // namespace
}  // namespace zeb::netutils::test
