#include "core/Log.h"
#include "zeblogger/ZEBLogger.h"

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace {

bool noRandomness = false;

}  // namespace

/// Comes before OpenSSL's own for every library of this process.
extern "C" __attribute__((visibility("default"))) int RAND_bytes(unsigned char* bytes, int count) {
    using Function = int (*)(unsigned char*, int);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "RAND_bytes"));
    return noRandomness ? 0 : real(bytes, count);
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ZEBLoggerTest : public testing::Test {
protected:
    ~ZEBLoggerTest() override {
        control.setSink(nullptr);
        control.setLevel(ZEBLOG_WARNING);
    }

    /// Collects the messages; the fixture lives as long as the sink.
    void collect() {
        control.setSink([this](const LogController::Record& record) {
            const std::lock_guard<std::mutex> lock(mutex);
            messages.emplace_back(record.message);
        });
    }

    LogController& control = *LogController::getInstance();
    ZEBLogger* const logger = ZEBLogger_getLogger("test.logger");
    std::mutex mutex;  ///< guards messages
    std::vector<std::string> messages;
};

struct LevelRow {
    const char* testName;
    int level;
    int number;
};

class ZEBLoggerLevelTest : public ZEBLoggerTest, public testing::WithParamInterface<LevelRow> {};

TEST_P(ZEBLoggerLevelTest, HasItsNumber) {
    EXPECT_EQ(GetParam().number, GetParam().level);
}

TEST_P(ZEBLoggerLevelTest, LetsThroughWhatIsNotAboveIt) {
    collect();
    control.setLevel(GetParam().level);
    std::vector<std::string> expected;
    for (int level = ZEBLOG_ERROR; level <= ZEBLOG_TRACE; ++level) {
        ZEBLog(logger, level, nullptr, 0, std::to_string(level));
        EXPECT_EQ(level <= GetParam().level, ZEBLog_isEnabled(logger, level));
        if (level <= GetParam().level) {
            expected.push_back(std::to_string(level));
        }
    }
    EXPECT_EQ(expected, messages);
    EXPECT_EQ(GetParam().level >= ZEBLOG_DEBUG, ZEBLog_isDebugEnabled(logger));
    EXPECT_EQ(GetParam().level >= ZEBLOG_TRACE, ZEBLog_isTraceEnabled(logger));
    EXPECT_EQ(GetParam().level, control.getLevel());
}

INSTANTIATE_TEST_SUITE_P(Levels, ZEBLoggerLevelTest,
                         testing::Values(LevelRow{"Error", ZEBLOG_ERROR, 2},
                                         LevelRow{"Warning", ZEBLOG_WARNING, 3},
                                         LevelRow{"Info", ZEBLOG_INFO, 4}, LevelRow{"Debug", ZEBLOG_DEBUG, 5},
                                         LevelRow{"Trace", ZEBLOG_TRACE, 6}),
                         [](const auto& row) { return row.param.testName; });

TEST_F(ZEBLoggerTest, TheFirstLevelIsWarning) {
    EXPECT_EQ(ZEBLOG_WARNING, control.getLevel());
}

TEST_F(ZEBLoggerTest, ThereIsOneLoggerPerName) {
    EXPECT_EQ(logger, ZEBLogger_getLogger("test.logger"));
    EXPECT_NE(logger, ZEBLogger_getLogger("test.other"));
}

TEST_F(ZEBLoggerTest, ANullNameIsTheEmptyOne) {
    EXPECT_NE(nullptr, ZEBLogger_getLogger(nullptr));
    EXPECT_EQ(ZEBLogger_getLogger(""), ZEBLogger_getLogger(nullptr));
}

TEST_F(ZEBLoggerTest, ANullLoggerIsNeverEnabled) {
    collect();
    control.setLevel(ZEBLOG_TRACE);
    EXPECT_FALSE(ZEBLog_isEnabled(nullptr, ZEBLOG_ERROR));
    EXPECT_FALSE(ZEBLog_isDebugEnabled(nullptr));
    EXPECT_FALSE(ZEBLog_isTraceEnabled(nullptr));
    ZEBLog(nullptr, ZEBLOG_ERROR, nullptr, 0, "nowhere");
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(ZEBLoggerTest, ALoggerMadeLaterHasTheLevelOfAll) {
    control.setLevel(ZEBLOG_DEBUG);
    EXPECT_TRUE(ZEBLog_isDebugEnabled(ZEBLogger_getLogger("test.made.later")));
}

TEST_F(ZEBLoggerTest, OneLoggerMayHaveALevelOfItsOwnUntilTheNextForAll) {
    control.setLevel("test.logger", ZEBLOG_TRACE);
    EXPECT_TRUE(ZEBLog_isTraceEnabled(logger));
    EXPECT_FALSE(ZEBLog_isEnabled(ZEBLogger_getLogger("test.other"), ZEBLOG_INFO));
    EXPECT_EQ(ZEBLOG_WARNING, control.getLevel());
    control.setLevel(ZEBLOG_INFO);
    EXPECT_FALSE(ZEBLog_isTraceEnabled(logger));
}

TEST_F(ZEBLoggerTest, ALevelMayBeSetBeforeTheLoggerIsThere) {
    control.setLevel("test.not.yet", ZEBLOG_TRACE);
    EXPECT_TRUE(ZEBLog_isTraceEnabled(ZEBLogger_getLogger("test.not.yet")));
}

TEST_F(ZEBLoggerTest, ASinkGetsAllThatIsKnownOfALine) {
    std::vector<std::string> seen;
    control.setSink([&](const LogController::Record& record) {
        seen = {std::string(record.logger), std::to_string(record.level),
                record.file == nullptr ? "null" : record.file, std::to_string(record.line),
                std::string(record.message)};
    });
    ZEBLog(logger, ZEBLOG_ERROR, "file.cpp", 17, "two\nlines");
    EXPECT_THAT(seen, ElementsAre("test.logger", "2", "file.cpp", "17", "two\nlines"));
    ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "");
    EXPECT_THAT(seen, ElementsAre("test.logger", "2", "null", "0", ""));
}

TEST_F(ZEBLoggerTest, AnExpressionIsEvaluatedOnlyWhenItsLevelIsEnabled) {
    collect();
    int evaluated = 0;
    ZEB_LOG_INFO(logger, "value " << ++evaluated);
    EXPECT_EQ(0, evaluated);
    ZEB_LOG_WARNING(logger, "value " << ++evaluated);
    EXPECT_THAT(messages, ElementsAre("value 1"));
}

TEST_F(ZEBLoggerTest, WithoutASinkLinesGoToStandardError) {
    collect();
    control.setSink(nullptr);
    testing::internal::CaptureStderr();
    ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "an error {} %s");
    ZEBLogger_flush();
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_THAT(written, HasSubstr("[test.logger] an error {} %s"));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(ZEBLoggerTest, WhatASinkThrowsIsSwallowed) {
    control.setSink([](const LogController::Record&) { throw std::runtime_error("no disk"); });
    EXPECT_NO_THROW(ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "lost"));
    control.setSink([](const LogController::Record&) { throw 1; });
    EXPECT_NO_THROW(ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "lost, too"));
}

TEST_F(ZEBLoggerTest, ASinkMayLog) {
    control.setSink([this](const LogController::Record& record) {
        messages.emplace_back(record.message);
        if (record.message == "outer") {
            ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "inner");
        }
    });
    ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "outer");
    EXPECT_THAT(messages, ElementsAre("outer", "inner"));
}

TEST_F(ZEBLoggerTest, ASinkMayReplaceItselfAndSetLevels) {
    control.setSink([this](const LogController::Record&) {
        control.setLevel(ZEBLOG_TRACE);
        collect();
    });
    ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "first");
    ZEBLog(logger, ZEBLOG_TRACE, nullptr, 0, "second");
    EXPECT_THAT(messages, ElementsAre("second"));
}

TEST_F(ZEBLoggerTest, TheSinkMayBeReplacedWhileEightThreadsLog) {
    constexpr int THREADS = 8;
    constexpr int LINES = 500;
    std::atomic<int> written{0};
    const auto count = [&written](const LogController::Record& record) {
        written += record.message == "line" ? 1 : 0;
    };
    control.setSink(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([this] {
            for (int line = 0; line < LINES; ++line) {
                ZEBLog(logger, ZEBLOG_ERROR, nullptr, 0, "line");
                ZEBLogger_getLogger(("test." + std::to_string(line)).c_str());
            }
        });
    }
    for (int replaced = 0; replaced < 200; ++replaced) {
        control.setSink(count);
        control.setLevel(replaced % 2 == 0 ? ZEBLOG_ERROR : ZEBLOG_DEBUG);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(THREADS * LINES, written);
}

/// Asks for everything when static objects are destroyed, after everything made later than it.
struct LateUser {
    ~LateUser() {
        if (!armed) {
            return;
        }
        const std::shared_ptr<LogController> control = LogController::getInstance();
        bool written = false;
        control->setSink([&](const LogController::Record&) { written = true; });
        ZEBLog(ZEBLogger_getLogger("test.late"), ZEBLOG_ERROR, nullptr, 0, "late");
        // The host's share is one of two: a controller that has been destroyed has none left.
        std::_Exit(written && control.use_count() == 2 ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    bool armed = false;
};
LateUser lateUser;

TEST(ZEBLoggerDeathTest, ItWorksWhileStaticObjectsAreDestroyed) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            LogController::getInstance();
            lateUser.armed = true;
            std::exit(EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(ReplacePIIDataTest, TheSameTextIsShownTheSameWayThroughoutTheRun) {
    const std::string shown = ZEBLogger_replacePIIData("mail.corp.test");
    EXPECT_EQ(shown, ZEBLogger_replacePIIData("mail.corp.test"));
    std::thread other([&] { EXPECT_EQ(shown, ZEBLogger_replacePIIData("mail.corp.test")); });
    other.join();
}

TEST(ReplacePIIDataTest, OtherTextsAreShownOtherwise) {
    std::set<std::string> shown;
    for (int i = 0; i < 1000; ++i) {
        shown.insert(ZEBLogger_replacePIIData("user" + std::to_string(i)));
    }
    shown.insert(ZEBLogger_replacePIIData(""));
    shown.insert(ZEBLogger_replacePIIData(std::string("user1\0", 6)));
    EXPECT_EQ(1002U, shown.size());
}

TEST(ReplacePIIDataTest, NothingOfTheTextIsShown) {
    const std::string text = "alice@corp.test";
    const std::string shown = ZEBLogger_replacePIIData(text);
    EXPECT_THAT(shown, testing::MatchesRegex("<[0-9a-f]+>"));
    for (const char* part : {"alice", "@", "corp", "test", "."}) {
        EXPECT_THAT(shown, Not(HasSubstr(part)));
    }
}

TEST(ReplacePIIDataDeathTest, WithoutRandomnessTheTextIsHiddenAltogether) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            noRandomness = true;
            const bool hidden = ZEBLogger_replacePIIData("alice") == "<hidden>" &&
                                ZEBLogger_replacePIIData("bob") == "<hidden>";
            std::_Exit(hidden ? EXIT_SUCCESS : EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(ReplacePIIDataTest, TheLengthOfTheTextIsNotShown) {
    EXPECT_EQ(ZEBLogger_replacePIIData("").size(),
              ZEBLogger_replacePIIData(std::string(1 << 20, 'x')).size());
}

}  // namespace
