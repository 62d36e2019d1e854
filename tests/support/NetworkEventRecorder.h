#pragma once

#include "netutils/NetworkEventCallback.h"
#include "netutils/NetworkEventReporterImpl.h"
#include "netutils/NetworkEventReporterObserver.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zeb::test {

/// Strings in the order in which they came, from any thread.
class EventRecord {
public:
    using Events = std::vector<std::string>;

    void add(std::string event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
        grown_.notify_all();
    }
    /// As soon as there are that many; fewer after ten seconds.
    Events waitFor(std::size_t count) const {
        std::unique_lock<std::mutex> lock(mutex_);
        grown_.wait_for(lock, std::chrono::seconds(10), [&] { return events_.size() >= count; });
        return events_;
    }
    Events soFar() const { return waitFor(0); }

private:
    mutable std::mutex mutex_;  ///< guards events_
    mutable std::condition_variable grown_;
    Events events_;
};

/// A callback that keeps what it hears.
class NetworkEventRecorder : public netutils::NetworkEventCallback {
public:
    using Events = EventRecord::Events;

    /// One that hears every report from now on.
    static std::shared_ptr<NetworkEventRecorder> registered() {
        auto recorder = std::make_shared<NetworkEventRecorder>();
        netutils::NetworkEventReporterObserver::getInstance()->registerForNetworkEvents(recorder);
        return recorder;
    }

    void onNetworkEvent(const std::string& eventName) override { record_.add(eventName); }

    Events waitFor(std::size_t count) const { return record_.waitFor(count); }
    /// All that was reported before this call: reports are told in their order, so it sends one more behind
    /// them, "hintHostOsIpInterfaceChanged", waits for that, and leaves it out.
    Events allReported() const {
        netutils::NetworkEventReporterImpl(netutils::NetworkEventReporterObserver::getInstance())
            .hintHostOsIpInterfaceChanged("test.behindAllOthers");
        for (std::size_t count = 1;; ++count) {
            Events events = record_.waitFor(count);
            if (events.size() < count) {
                return {"the last report was never heard"};
            }
            if (events.back() == "hintHostOsIpInterfaceChanged") {
                events.pop_back();
                return events;
            }
            count = events.size();
        }
    }

private:
    EventRecord record_;
};

}  // namespace zeb::test
