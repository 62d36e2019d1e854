#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace zebget {

/// Ctrl-C, taken by a thread of its own, which unlike a signal handler may lock and notify. The first one
/// does what it is told to, on that thread; the second, and one while there is nothing to do, ends the
/// process at once: it may be in the middle of a question. Made before any other thread, since those must not
/// take the signal.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    void doFirst(std::function<void()> action);

private:
    void take();
    bool wait();

    std::mutex mutex_;  ///< guards action_
    std::function<void()> action_;
    std::atomic<bool> over_{false};
    std::thread taker_;
};

}  // namespace zebget
