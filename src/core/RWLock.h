#pragma once

#include "core/Condition.h"
#include "core/Export.h"
#include "core/Mutex.h"

#include <cstdint>
#include <ostream>

namespace zeb {

/// Many readers or one writer; writers go first. It is not recursive: a thread that takes a read lock twice
/// while a writer queues up between the two waits for ever, as a reader never passes a waiting writer.
///
/// All operations return 0 and never throw.
class ZEBNETUTILS_EXPORT RWLock {
public:
    RWLock() = default;
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    /// Waits while a writer holds the lock or waits for it.
    int readLock();
    /// Waits while anyone holds the lock.
    int writeLock();
    /// Releases what the caller holds, be it a read or a write lock. To be called by holders only: releasing
    /// a free lock leaves it as a writer would hold it.
    int unlock();

    /// "rwlock " and the number of readers (-1 while a writer holds it), ", waiting writers " and their
    /// number.
    friend ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const RWLock& lock);

private:
    mutable Mutex mutex_;  ///< guards readers_ and waitingWriters_
    std::int32_t readers_ = 0;
    Condition readersCondition_;
    std::uint32_t waitingWriters_ = 0;
    Condition writersCondition_;
};

ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const RWLock& lock);

}  // namespace zeb
