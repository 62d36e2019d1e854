#pragma once

#include "netutils/NetworkEventCallback.h"
#include "netutils/NetworkEventReporterImpl.h"
#include "netutils/NetworkEventReporterObserver.h"

#include <algorithm>
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
    /// All that was reported before this call. Reports are told in their order, so it sends one more behind
    /// them, FENCE, and waits for that; such reports are left out. For one thread.
    Events allReported() {
        netutils::NetworkEventReporterImpl(netutils::NetworkEventReporterObserver::getInstance())
            .hintHostOsIpInterfaceChanged("test.behindAllOthers");
        ++fences_;
        Events events;
        do {
            const std::size_t seen = events.size();
            events = record_.waitFor(seen + 1);
            if (events.size() == seen) {
                return {"the last report was never heard"};
            }
        } while (std::count(events.begin(), events.end(), FENCE) != fences_);
        events.erase(std::remove(events.begin(), events.end(), FENCE), events.end());
        return events;
    }

private:
    static constexpr char FENCE[] = "hintHostOsIpInterfaceChanged";

    std::ptrdiff_t fences_ = 0;
    EventRecord record_;
};

}  // namespace zeb::test
