#include "core/ScopedLock.h"

#include "core/Mutex.h"

#include <utility>

namespace zeb {

ScopedLock::ScopedLock(Mutex& mutex) : mutex_(&mutex) {
    mutex_->lock();
}

ScopedLock::~ScopedLock() {
    unlock();
}

int ScopedLock::unlock() {
    Mutex* const mutex = std::exchange(mutex_, nullptr);
    return mutex == nullptr ? 0 : mutex->unlock();
}

}  // namespace zeb
