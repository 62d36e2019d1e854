#pragma once

#include "core/Export.h"
#include "core/Mutex.h"

namespace zeb {

/// Holds a Mutex from its construction to the end of its scope, or to the first unlock(). Belongs to the
/// thread that made it.
class ZEBNETUTILS_EXPORT ScopedLock {
public:
    /// Waits without limit. The mutex must outlive the lock, or the call of unlock().
    explicit ScopedLock(Mutex& mutex) : mutex_(&mutex) { mutex.lock(); }
    ~ScopedLock() { unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    /// Releases early and forgets the mutex, so that the destructor does nothing. Returns what
    /// Mutex::unlock() returned; 0 from the second call on.
    int unlock() {
        Mutex* const mutex = mutex_;
        mutex_ = nullptr;
        return mutex == nullptr ? 0 : mutex->unlock();
    }

private:
    Mutex* mutex_;
};

}  // namespace zeb
