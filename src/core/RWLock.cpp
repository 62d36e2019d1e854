#include "core/RWLock.h"

#include "core/ScopedLock.h"

namespace zeb {

namespace {

constexpr std::int32_t HELD_BY_WRITER = -1;

}  // namespace

int RWLock::readLock() {
    const ScopedLock lock(mutex_);
    while (readers_ < 0 || waitingWriters_ != 0) {
        readersCondition_.wait(mutex_);
    }
    ++readers_;
    return 0;
}

int RWLock::writeLock() {
    const ScopedLock lock(mutex_);
    while (readers_ != 0) {
        ++waitingWriters_;
        writersCondition_.wait(mutex_);
        --waitingWriters_;
    }
    readers_ = HELD_BY_WRITER;
    return 0;
}

int RWLock::unlock() {
    ScopedLock lock(mutex_);
    if (readers_ >= 0) {
        --readers_;
    } else {
        readers_ = 0;
    }
    const bool writersWait = waitingWriters_ != 0;
    const bool writerMayGo = writersWait && readers_ == 0;
    lock.unlock();

    if (writerMayGo) {
        writersCondition_.signal();
    } else if (!writersWait) {
        readersCondition_.broadcast();
    }
    return 0;
}

std::ostream& operator<<(std::ostream& stream, const RWLock& lock) {
    const ScopedLock guard(lock.mutex_);
    return stream << "rwlock " << lock.readers_ << ", waiting writers " << lock.waitingWriters_;
}

}  // namespace zeb
