#include "TransferTimes.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zebget {
namespace {

constexpr char LINE[] =
    "Request #7 network IO timestamps: [name lookup = 1.2e-05 ; connect = 0.0004 ; ssl connect = 0.0123 ; "
    "pre-transfer = 0.0124 ; start-transfer = 0.25 ; total = 1.5 ; redirect = 0]";

TEST(TransferTimesTest, AreToldStepByStepInMilliseconds) {
    EXPECT_EQ(TransferTimes::lineOf(LINE),
              "Request #7: name looked up after 0.0 ms, connected after 0.4 ms, TLS ready after 12.3 ms, "
              "first byte after 250.0 ms, all after 1500.0 ms");
}

TEST(TransferTimesTest, AStepThatThereWasNoneOfOrThatIsUnknownIsLeftOut) {
    EXPECT_EQ(
        TransferTimes::lineOf("Request #1 network IO timestamps: [name lookup = unavailable ; connect = "
                              "0 ; ssl connect = 0 ; pre-transfer = 1 ; start-transfer = 2 ; total = 3 ; "
                              "redirect = 4]"),
        "Request #1: redirected for 4000.0 ms, first byte after 2000.0 ms, all after 3000.0 ms");
}

TEST(TransferTimesTest, OtherLinesOfTheLogTellNone) {
    EXPECT_EQ(TransferTimes::lineOf(""), "");
    EXPECT_EQ(TransferTimes::lineOf("Request #7 configured with: total = 1"), "");
}

class TransferTimesLogTest : public testing::Test {
protected:
    void SetUp() override { LogController::getInstance()->setLevel(0); }
    void TearDown() override {
        LogController::getInstance()->setSink({});
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
    }
    static void log(int level, const std::string& message) {
        ZEBLog(ZEBLogger_getLogger("zeb.httpclient"), level, nullptr, 0, message);
    }
};

TEST_F(TransferTimesLogTest, EachTransferOfEveryThreadIsKept) {
    const auto times = TransferTimes::listen(false);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int transfer = 0; transfer < 100; ++transfer) {
                log(ZEBLOG_DEBUG, LINE);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(times->lines(), std::vector<std::string>(400, TransferTimes::lineOf(LINE)));
}

TEST_F(TransferTimesLogTest, TheRestOfTheLogIsShownWhenAskedForButForItsDetails) {
    for (const bool verbose : {false, true}) {
        const auto times = TransferTimes::listen(verbose);
        testing::internal::CaptureStderr();
        log(ZEBLOG_INFO, "something");
        log(ZEBLOG_DEBUG, "a detail");
        log(ZEBLOG_DEBUG, LINE);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), verbose ? "[zeb.httpclient] something\n" : "");
        EXPECT_EQ(times->lines().size(), 1U);
    }
}

}  // namespace
}  // namespace zebget
