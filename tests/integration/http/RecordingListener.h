#pragma once

#include "http/HttpClientListener.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

namespace zeb::http::test {

/// Keeps all that a listener hears, and lets a test wait for it.
class RecordingListener : public HttpClientListener {
public:
    struct Ending {
        bool completed = false;
        HttpClientResult::Result result = HttpClientResult::UNKNOWN_ERROR;
        Response response;
    };

    void onRequestFailed(unsigned int requestId, HttpClientResult::Result result) override {
        add(requestId, {false, result, {}});
    }
    void onRequestCompleted(unsigned int requestId, const Response& response) override {
        add(requestId, {true, HttpClientResult::SUCCESS, response});
    }
    void onRequestProgress(unsigned int /*requestId*/, ProgressData progress) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        progress_.push_back(progress);
        changed_.notify_all();
    }

    /// The one ending of that request; an unanswered one is a failure with UNKNOWN_ERROR.
    Ending waitFor(unsigned int requestId) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, PATIENCE, [&] { return endings_.count(requestId) != 0; });
        const auto found = endings_.find(requestId);
        return found == endings_.end() ? Ending{} : found->second;
    }
    bool waitForEndings(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, PATIENCE, [&] { return endings_.size() >= count; });
    }
    bool waitForProgress() {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, PATIENCE, [&] { return !progress_.empty(); });
    }
    std::multimap<unsigned int, Ending> endings() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return endings_;
    }
    std::vector<ProgressData> progress() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return progress_;
    }

private:
    static constexpr std::chrono::seconds PATIENCE{60};

    void add(unsigned int requestId, Ending ending) {
        const std::lock_guard<std::mutex> lock(mutex_);
        endings_.emplace(requestId, std::move(ending));
        changed_.notify_all();
    }

    mutable std::mutex mutex_;  ///< guards all below
    std::condition_variable changed_;
    std::multimap<unsigned int, Ending> endings_;
    std::vector<ProgressData> progress_;
};

}  // namespace zeb::http::test
