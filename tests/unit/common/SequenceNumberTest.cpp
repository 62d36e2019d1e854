#include "common/SequenceNumber.h"
#include "support/LogCapture.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::common::test {
namespace {

using ::testing::ElementsAre;
using zeb::test::LogCapture;

class SequenceNumberTest : public ::testing::Test {
protected:
    SequenceNumberTest() { SequenceNumber::setLastNumberForTests(0); }
    ~SequenceNumberTest() override { SequenceNumber::setLastNumberForTests(0); }
};

TEST(SequenceNumberDeathTest, TheFirstNumberOfAProcessIs1) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own, from its beginning
    EXPECT_EXIT(std::exit(static_cast<int>(SequenceNumber::getSequenceNumber())),
                ::testing::ExitedWithCode(1), "");
}

TEST_F(SequenceNumberTest, EachNumberIsOneHigherThanTheLast) {
    EXPECT_EQ(1U, SequenceNumber::getSequenceNumber());
    EXPECT_EQ(2U, SequenceNumber::getSequenceNumber());
    EXPECT_EQ(3U, SequenceNumber::getSequenceNumber());
}

TEST_F(SequenceNumberTest, TheCounterStaysAtItsMaximumAndWarnsOfEachCallThere) {
    const LogCapture log;
    SequenceNumber::setLastNumberForTests(0xFFFFFFFC);
    EXPECT_EQ(0xFFFFFFFDU, SequenceNumber::getSequenceNumber());
    EXPECT_EQ(0xFFFFFFFEU, SequenceNumber::getSequenceNumber());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(0xFFFFFFFEU, SequenceNumber::getSequenceNumber());
    EXPECT_EQ(0xFFFFFFFEU, SequenceNumber::getSequenceNumber());
    const auto* const line = "The counter has reached it's maximum limit. Returning maximum value.";
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre(line, line));
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING, line));
}

TEST_F(SequenceNumberTest, TheCounterCannotBePutBehindItsMaximum) {
    SequenceNumber::setLastNumberForTests(0xFFFFFFFF);
    EXPECT_EQ(0xFFFFFFFEU, SequenceNumber::getSequenceNumber());
}

TEST_F(SequenceNumberTest, ThreadsNeverGetTheSameNumberAndEachGetsThemInOrder) {
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t CALLS = 5000;
    std::vector<std::vector<std::uint32_t>> numbers(THREADS);
    std::vector<std::thread> threads;
    for (std::vector<std::uint32_t>& mine : numbers) {
        threads.emplace_back([&mine] {
            for (std::size_t i = 0; i < CALLS; ++i) {
                mine.push_back(SequenceNumber::getSequenceNumber());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::uint32_t> all;
    for (const std::vector<std::uint32_t>& mine : numbers) {
        EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
        all.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(THREADS * CALLS, all.size());
    EXPECT_EQ(THREADS * CALLS, *all.rbegin());
}

}  // namespace
}  // namespace zeb::common::test
