#pragma once

#include "zeblogger/ZEBLogger.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zeb::test {

/// Collects every log line of the process while it lives: all loggers, all levels. At its end the level of
/// before is set again, for every logger, and lines go to standard error. One at a time.
///
/// Any thread may log and any thread may ask.
class LogCapture {
public:
    struct Line {
        std::string logger;
        int level;
        std::string message;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const;
    /// The messages of one logger, in the order in which they were written.
    std::vector<std::string> linesOf(const std::string& logger) const;
    /// All messages, one per line: what a secret must not be part of.
    std::string text() const;

    /// True when some message has that text in it.
    bool contains(const std::string& text) const;
    bool contains(int level, const std::string& text) const;
    /// How many messages have that text in them.
    std::size_t count(const std::string& text) const;
    /// Returns as soon as so many messages have that text in them, or with false after the time-out.
    bool waitFor(const std::string& text,
                 std::chrono::milliseconds timeout = std::chrono::milliseconds(10000),
                 std::size_t count = 1) const;

    void clear();

private:
    struct State;
    const std::shared_ptr<State> state_;  ///< shared with the sink: a thread may still be in it at our end
    const int levelBefore_;
};

}  // namespace zeb::test
