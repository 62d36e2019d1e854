#include "support/LogCapture.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace zeb::test {

struct LogCapture::State {
    mutable std::mutex mutex;  ///< guards lines
    std::condition_variable grown;
    std::vector<Line> lines;

    void add(const LogController::Record& record) {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back({std::string(record.logger), record.level, std::string(record.message)});
        grown.notify_all();
    }

    template <typename Predicate>
    std::size_t countLocked(Predicate predicate) const {
        return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), predicate));
    }
};

namespace {

auto having(const std::string& text) {
    return [&text](const LogCapture::Line& line) { return line.message.find(text) != std::string::npos; };
}

}  // namespace

LogCapture::LogCapture()
    : state_(std::make_shared<State>()), levelBefore_(LogController::getInstance()->getLevel()) {
    LogController::getInstance()->setSink(
        [state = state_](const LogController::Record& record) { state->add(record); });
    LogController::getInstance()->setLevel(ZEBLOG_TRACE);
}

LogCapture::~LogCapture() {
    LogController::getInstance()->setLevel(levelBefore_);
    LogController::getInstance()->setSink(nullptr);
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->lines;
}

std::vector<std::string> LogCapture::linesOf(const std::string& logger) const {
    std::vector<std::string> messages;
    const std::lock_guard<std::mutex> lock(state_->mutex);
    for (const Line& line : state_->lines) {
        if (line.logger == logger) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

std::string LogCapture::text() const {
    std::string all;
    const std::lock_guard<std::mutex> lock(state_->mutex);
    for (const Line& line : state_->lines) {
        all += line.message;
        all += '\n';
    }
    return all;
}

bool LogCapture::contains(const std::string& text) const {
    return count(text) != 0;
}

bool LogCapture::contains(int level, const std::string& text) const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->countLocked(
               [&, has = having(text)](const Line& line) { return line.level == level && has(line); }) != 0;
}

std::size_t LogCapture::count(const std::string& text) const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->countLocked(having(text));
}

bool LogCapture::waitFor(const std::string& text, std::chrono::milliseconds timeout,
                         std::size_t count) const {
    std::unique_lock<std::mutex> lock(state_->mutex);
    return state_->grown.wait_for(lock, timeout, [&] { return state_->countLocked(having(text)) >= count; });
}

void LogCapture::clear() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->lines.clear();
}

}  // namespace zeb::test
