#include "support/Threads.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace zeb::test {

namespace {

/// Of "12 (name) S ..."; the name may hold anything. None for a thread that has just ended.
std::optional<ThreadState> stateOf(const std::filesystem::path& thread) {
    std::ifstream stat(thread / "stat");
    std::string line;
    std::getline(stat, line);
    const std::size_t nameBegin = line.find('(');
    const std::size_t nameEnd = line.rfind(") ");
    if (nameBegin == std::string::npos || nameEnd == std::string::npos) {
        return std::nullopt;
    }
    return ThreadState{static_cast<pid_t>(std::stol(line)),
                       line.substr(nameBegin + 1, nameEnd - nameBegin - 1),
                       line.compare(nameEnd + 2, 1, "S") == 0};
}

/// Pools that live as long as the process. Their idle threads bear their names.
bool isOfALastingPool(const std::string& thread) {
    return thread == "SharedPool" || thread == "NetEventReport" || thread == "NetEventNotify";
}

/// Threads that run a pool's task, or are about to end. One of a pool that has been replaced bears the name
/// of a lasting one until its end, but is awake by then; one of ThreadSanitizer's own bears that of the main
/// thread.
bool threadsAreEnding() {
    const std::vector<ThreadState> threads = threadStates();
    const auto main = std::find_if(threads.begin(), threads.end(),
                                   [](const ThreadState& thread) { return thread.id == getpid(); });
    return std::any_of(threads.begin(), threads.end(), [&](const ThreadState& thread) {
        const bool idle = isOfALastingPool(thread.name) && thread.asleep;
        return thread.name != main->name && !idle;
    });
}

}  // namespace

std::vector<ThreadState> threadStates() {
    std::vector<ThreadState> states;
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
        if (auto state = stateOf(thread.path())) {
            states.push_back(std::move(*state));
        }
    }
    return states;
}

std::size_t threadsNamed(const std::string& name) {
    const std::vector<ThreadState> states = threadStates();
    return static_cast<std::size_t>(std::count_if(
        states.begin(), states.end(), [&](const ThreadState& thread) { return thread.name == name; }));
}

bool awaitThreadsNamed(const std::string& name, std::size_t threads) {
    return awaitThreads([&] { return threadsNamed(name) == threads; });
}

bool awaitOthersAsleep() {
    const auto othersSleep = [self = ::gettid()] {
        const std::vector<ThreadState> states = threadStates();
        return std::all_of(states.begin(), states.end(),
                           [self](const ThreadState& thread) { return thread.asleep || thread.id == self; });
    };
    // More than once: one that goes on may sleep for a moment, waiting for a lock.
    return awaitThreads(othersSleep, 3);
}

bool awaitThreadsThatEnd() {
    // Looked at more than once: a thread that is ending may sleep for a moment, waiting for a lock.
    return awaitThreads([] { return !threadsAreEnding(); }, 5, std::chrono::seconds(5));
}

bool awaitThreads(const std::function<bool()>& condition, int times, std::chrono::seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    for (int held = condition() ? 1 : 0; held < times; held = condition() ? held + 1 : 0) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace zeb::test
