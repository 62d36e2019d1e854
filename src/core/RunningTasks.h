#pragma once

#include "core/Condition.h"
#include "core/Mutex.h"

#include <cstddef>

namespace zeb {

/// How many tasks the pool threads of this process have begun and not ended. A task counts from the moment in
/// which it leaves its queue until it has been destroyed: by then what it held has gone, too. Any thread.
class RunningTasks {
public:
    /// Never destroyed: tasks may run while the process ends.
    static RunningTasks& getInstance();

    RunningTasks(const RunningTasks&) = delete;
    RunningTasks& operator=(const RunningTasks&) = delete;

    /// Both on the thread that runs the task.
    void begin();
    void end();
    /// Waits until none is left but the one that calls, if a task does. False when that takes longer.
    bool awaitNone(long milliseconds);

private:
    RunningTasks() = default;

    Mutex mutex_;  ///< guards running_
    Condition someEnded_;
    std::size_t running_ = 0;
};

}  // namespace zeb
