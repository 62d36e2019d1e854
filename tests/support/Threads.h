#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// The threads of this process, as the system knows them.
namespace zeb::test {

struct ThreadState {
    pid_t id = 0;
    std::string name;     ///< at most 15 characters
    bool asleep = false;  ///< not running, nor about to
};

std::vector<ThreadState> threadStates();

/// How many have that name.
std::size_t threadsNamed(const std::string& name);
/// Returns when so many have that name; false when that takes longer than 10 seconds.
bool awaitThreadsNamed(const std::string& name, std::size_t threads);

/// Returns when all but the calling thread are asleep: what they could do they have done, and something keeps
/// them from the rest. False when that takes longer than 10 seconds.
bool awaitOthersAsleep();

/// Returns when all threads but the calling one, and the idle ones of pools that live as long as the process,
/// have ended; false when that takes longer than 5 seconds. Pools don't wait for their threads. One that
/// still uses OpenSSL when that is cleaned up at the end of the process races with it, and one that ends
/// after leaves behind what OpenSSL keeps for each thread: the sanitizers see both. So a test's process lets
/// them end first.
bool awaitThreadsThatEnd();

/// Returns when the condition held so many times in a row; false when that takes longer. The system tells of
/// no change of a thread, so it is asked again every millisecond.
bool awaitThreads(const std::function<bool()>& condition, int times = 1,
                  std::chrono::seconds patience = std::chrono::seconds(10));

}  // namespace zeb::test
