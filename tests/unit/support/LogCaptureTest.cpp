#include "core/Log.h"
#include "support/LogCapture.h"

#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::test {
namespace {

using testing::ElementsAre;

TEST(LogCaptureTest, CollectsEveryLevelOfEveryLogger) {
    const LogCapture capture;
    ZEB_LOG_ERROR(log::common(), "one");
    ZEB_LOG_TRACE(log::http(), "two " << 2);
    ZEB_LOG_DEBUG(log::common(), "three");
    EXPECT_THAT(capture.linesOf("zeb.common"), ElementsAre("one", "three"));
    EXPECT_THAT(capture.linesOf("zeb.http"), ElementsAre("two 2"));
    EXPECT_EQ("one\ntwo 2\nthree\n", capture.text());
    ASSERT_EQ(3U, capture.lines().size());
    EXPECT_EQ(ZEBLOG_TRACE, capture.lines().at(1).level);
}

TEST(LogCaptureTest, FindsPartsOfMessages) {
    LogCapture capture;
    ZEB_LOG_WARNING(log::common(), "the quick fox");
    ZEB_LOG_WARNING(log::common(), "the slow fox");
    EXPECT_TRUE(capture.contains("quick"));
    EXPECT_FALSE(capture.contains("dog"));
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "quick"));
    EXPECT_FALSE(capture.contains(ZEBLOG_ERROR, "quick"));
    EXPECT_EQ(2U, capture.count("fox"));
    capture.clear();
    EXPECT_FALSE(capture.contains("quick"));
}

TEST(LogCaptureTest, WaitsForALineOfAnotherThread) {
    const LogCapture capture;
    std::thread other([] { ZEB_LOG_INFO(log::common(), "it has come"); });
    EXPECT_TRUE(capture.waitFor("has come"));
    EXPECT_FALSE(capture.waitFor("never", std::chrono::milliseconds(1)));
    other.join();
}

TEST(LogCaptureTest, SetsTheLevelOfBeforeAgain) {
    LogController::getInstance()->setLevel(ZEBLOG_ERROR);
    { const LogCapture capture; }
    EXPECT_EQ(ZEBLOG_ERROR, LogController::getInstance()->getLevel());
    EXPECT_FALSE(ZEBLog_isEnabled(log::common(), ZEBLOG_WARNING));
    LogController::getInstance()->setLevel(ZEBLOG_WARNING);
}

TEST(LogCaptureTest, MayEndWhileOtherThreadsLog) {
    std::vector<std::thread> threads;
    {
        const LogCapture capture;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] {
                for (int line = 0; line < 200; ++line) {
                    ZEB_LOG_DEBUG(log::common(), "line " << line);
                }
            });
        }
        EXPECT_TRUE(capture.waitFor("line 0"));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace zeb::test
