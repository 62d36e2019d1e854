#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

/// Stands between the multi client and libcurl's multi interface, its idle wait and the start of its threads,
/// whatever thread calls: the linker sends these calls here first (--wrap).
namespace zeb::http::test {

/// While it lives, its fields hold; one at a time. Counts of failures are used up call by call.
class MultiCurlSeam {
public:
    MultiCurlSeam();
    ~MultiCurlSeam();
    MultiCurlSeam(const MultiCurlSeam&) = delete;
    MultiCurlSeam& operator=(const MultiCurlSeam&) = delete;

    std::atomic<int> failingAdds{0};
    std::atomic<int> failingWaits{0};
    std::atomic<int> failingRemoves{0};
    std::atomic<int> oddMessages{0};
    /// A `CURLMcode` that perform answers with, once, after its work; 0 for none.
    std::atomic<int> performCode{0};
    std::atomic<int> longestWaitMs{20000};  ///< a wait is cut to that
    std::atomic<int> expiringIdleWaits{0};  ///< idle waits whose time is over at once
    std::atomic<long> expiringLengthMs{0};  ///< timed waits of that length, idle or not, are over at once
    std::atomic<int> failingThread{0};      ///< the thread with that number, from 1, can't be made

    std::atomic<int> adds{0};
    std::atomic<int> removes{0};
    std::atomic<int> performs{0};
    /// What the waits of both kinds were asked for, in milliseconds. Among the idle times are all timed waits
    /// for an event, whoever waits.
    std::vector<int> waits() const;
    std::vector<long> idleTimes() const;
    /// Returns when so many idle waits have begun; false when that takes longer than 10 seconds.
    bool awaitIdleWaits(std::size_t count) const;
    /// Returns when the wait for the network that was begun last goes on for longer than that while nothing
    /// comes; libcurl may have a timer that ends it earlier than it was asked for. False as above.
    bool awaitWaitOf(long ms) const;

private:
    friend struct MultiCurlSeamCalls;
    mutable std::mutex mutex_;  ///< guards what follows
    mutable std::condition_variable waited_;
    std::vector<int> waits_;
    std::vector<long> idleTimes_;
    long lastWaitMs_ = 0;
};

}  // namespace zeb::http::test
