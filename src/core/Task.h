#pragma once

#include "core/Export.h"

#include <chrono>
#include <string>

namespace zeb {

/// One piece of work for a ThreadPool, held by shared pointers.
class ZEBNETUTILS_EXPORT Task {
public:
    /// Called once, on a thread of the pool. An exception that leaves it ends the process.
    virtual void execute() = 0;
    virtual ~Task();
    /// Shown as the thread's name while the task runs: by default the name of the dynamic type.
    virtual std::string name() const;

protected:
    Task() = default;
    Task(const Task&) = default;
    Task& operator=(const Task&) = default;

    /// For derived classes that time themselves; nothing here reads or writes it.
    std::chrono::steady_clock::time_point time_;
};

}  // namespace zeb
