#pragma once

#include "core/RWLock.h"

namespace zeb {

/// Holds a read lock from its construction to the end of its scope. The RWLock must outlive it.
class ScopedReadRWLock {
public:
    explicit ScopedReadRWLock(RWLock& lock) : lock_(lock) { lock_.readLock(); }
    ~ScopedReadRWLock() { lock_.unlock(); }
    ScopedReadRWLock(const ScopedReadRWLock&) = delete;
    ScopedReadRWLock& operator=(const ScopedReadRWLock&) = delete;

private:
    RWLock& lock_;
};

/// Holds the write lock from its construction to the end of its scope. The RWLock must outlive it.
class ScopedWriteRWLock {
public:
    explicit ScopedWriteRWLock(RWLock& lock) : lock_(lock) { lock_.writeLock(); }
    ~ScopedWriteRWLock() { lock_.unlock(); }
    ScopedWriteRWLock(const ScopedWriteRWLock&) = delete;
    ScopedWriteRWLock& operator=(const ScopedWriteRWLock&) = delete;

private:
    RWLock& lock_;
};

}  // namespace zeb
