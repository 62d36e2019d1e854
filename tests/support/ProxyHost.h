#pragma once

#include "core/SecureString.h"
#include "http/ProxyAuthenticationCallback.h"
#include "http/ProxyAuthenticationHandler.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zeb::http::test {

/// The host application towards the handler of proxy credentials. The handler keeps what is registered for
/// good, so there is one for the process, and each test begins with clear(). It leaves nothing parked.
class ProxyHost : public ProxyAuthenticationCallback {
public:
    static const std::shared_ptr<ProxyHost>& instance() {
        static const auto* const host = [] {
            auto* const made = new std::shared_ptr<ProxyHost>(new ProxyHost);
            handler().registerProxyAuthenticationCallback(*made);
            return made;
        }();
        return *host;
    }
    static ProxyAuthenticationHandler& handler() { return *ProxyAuthenticationHandler::getInstance(); }

    void clear() {
        handler().setProxyCredential("", "", SecureString());
        handler().reset();
        const std::lock_guard<std::mutex> lock(mutex_);
        asked_.clear();
        told_.clear();
        whenAsked_ = nullptr;
    }
    /// Runs within each question for credentials.
    void setWhenAsked(std::function<void(const std::string&)> whenAsked) {
        const std::lock_guard<std::mutex> lock(mutex_);
        whenAsked_ = std::move(whenAsked);
    }
    /// The proxies that credentials were asked for; fewer than `count` after ten seconds.
    std::vector<std::string> waitForAsked(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return asked_.size() >= count; });
        return asked_;
    }
    std::vector<std::pair<bool, std::string>> told() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return told_;
    }

    void onProxyAuthenticationRequired(const std::string& proxyUrl) override {
        std::function<void(const std::string&)> whenAsked;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            whenAsked = whenAsked_;
        }
        if (whenAsked) {
            whenAsked(proxyUrl);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        asked_.push_back(proxyUrl);
        changed_.notify_all();
    }
    void onProxyInfoUpdated(bool useProxy, const std::string& authType) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.emplace_back(useProxy, authType);
    }

private:
    std::mutex mutex_;  ///< guards all below
    std::condition_variable changed_;
    std::vector<std::string> asked_;
    std::vector<std::pair<bool, std::string>> told_;
    std::function<void(const std::string&)> whenAsked_;
};

/// Counts, and lets a test wait for a number.
class Counter {
public:
    void add() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    int get() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return count_;
    }
    bool waitFor(int count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return count_ >= count; });
    }

private:
    mutable std::mutex mutex_;  ///< guards count_
    std::condition_variable changed_;
    int count_ = 0;
};

}  // namespace zeb::http::test
