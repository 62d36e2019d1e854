#pragma once

#include "core/Export.h"

#include <atomic>

namespace zeb {

struct MutexData;

/// A lock that its holder may take again; it is free once it has been released as often as it was taken.
///
/// Neither operation throws. Both return 0 or the error number of the POSIX call, and 1 on a mutex that has
/// been destroyed: code that still runs while static objects are destroyed goes on without the lock.
class ZEBNETUTILS_EXPORT Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits without limit.
    int lock();
    /// EPERM when the calling thread isn't the holder.
    int unlock();

private:
    friend class Condition;

    /// Atomic so that the null which the destructor leaves is really written.
    std::atomic<MutexData*> data_;
};

}  // namespace zeb
