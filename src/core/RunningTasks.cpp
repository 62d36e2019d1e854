#include "core/RunningTasks.h"

#include "core/ScopedLock.h"

#include <chrono>

namespace zeb {

namespace {

thread_local std::size_t runningOnThisThread = 0;

}  // namespace

RunningTasks& RunningTasks::getInstance() {
    static auto& instance = *new RunningTasks;
    return instance;
}

void RunningTasks::begin() {
    ++runningOnThisThread;
    const ScopedLock lock(mutex_);
    ++running_;
}

void RunningTasks::end() {
    --runningOnThisThread;
    const ScopedLock lock(mutex_);
    --running_;
    someEnded_.broadcast();
}

bool RunningTasks::awaitNone(long milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    const ScopedLock lock(mutex_);
    while (running_ > runningOnThisThread) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        someEnded_.timedWait(mutex_, static_cast<long>(left));
    }
    return true;
}

}  // namespace zeb
