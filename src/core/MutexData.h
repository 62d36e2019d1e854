#pragma once

#include <pthread.h>

namespace zeb {

/// What a Mutex points to. For Mutex.cpp and Condition.cpp only: it brings the POSIX header with it.
struct MutexData {
    pthread_mutex_t mutex;
    pthread_mutexattr_t attributes;
};

}  // namespace zeb
