#pragma once

#include "core/Export.h"

namespace zeb {

class Mutex;
struct ConditionData;

/// A condition variable whose time limits are counted on the monotonic clock: setting the wall clock neither
/// prolongs nor cuts a wait.
///
/// A program that can't have condition variables can't run: failure to make one prints the reason to standard
/// error and aborts. The operations never throw and return 0 or the error number of the POSIX call.
class ZEBNETUTILS_EXPORT Condition {
public:
    Condition();
    /// No thread may wait any more.
    ~Condition();
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    /// Wakes one waiting thread, or none if none waits. The mutex need not be held.
    int signal();
    /// Wakes all waiting threads. The mutex need not be held.
    int broadcast();

    /// Releases the mutex, which the caller holds exactly once, waits, and takes it again. May wake without
    /// cause: test in a loop. EINVAL when the mutex has been destroyed.
    int wait(Mutex& mutex);
    /// The same with a limit; ETIMEDOUT when it has passed. A negative limit is either a time-out or EINVAL,
    /// which is printed to standard error.
    int timedWait(Mutex& mutex, long milliseconds);

private:
    ConditionData* const data_;
};

}  // namespace zeb
