#include "core/Condition.h"

#include "core/Mutex.h"
#include "core/MutexData.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <pthread.h>

namespace zeb {

struct ConditionData {
    pthread_cond_t condition;
    pthread_condattr_t attributes;
};

namespace {

constexpr long MILLISECONDS_PER_SECOND = 1000;
constexpr long NANOSECONDS_PER_MILLISECOND = 1000000;
constexpr long NANOSECONDS_PER_SECOND = 1000000000;

[[noreturn]] void die(const char* reason) {
    (void)std::fprintf(stderr, "%s\n", reason);
    std::abort();
}

ConditionData* makeMonotonic() {
    auto* const data = new ConditionData;
    pthread_condattr_init(&data->attributes);
    if (pthread_condattr_setclock(&data->attributes, CLOCK_MONOTONIC) != 0) {
        die("pthread_condattr_setclock: failed to set CLOCK_MONOTONIC");
    }
    if (pthread_cond_init(&data->condition, &data->attributes) != 0) {
        die("pthread_cond_init: failed to initialize condition variable");
    }
    return data;
}

timespec currentTimeTimespec() {
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
        std::perror("currentTimeTimespec: clock_gettime");
        return timespec{};
    }
    return now;
}

timespec deadlineIn(long milliseconds) {
    timespec deadline = currentTimeTimespec();
    deadline.tv_sec += milliseconds / MILLISECONDS_PER_SECOND;
    deadline.tv_nsec += (milliseconds % MILLISECONDS_PER_SECOND) * NANOSECONDS_PER_MILLISECOND;
    deadline.tv_sec += deadline.tv_nsec / NANOSECONDS_PER_SECOND;
    deadline.tv_nsec %= NANOSECONDS_PER_SECOND;
    return deadline;
}

}  // namespace

Condition::Condition() : data_(makeMonotonic()) {}

Condition::~Condition() {
    pthread_cond_destroy(&data_->condition);
    pthread_condattr_destroy(&data_->attributes);
    delete data_;
}

int Condition::signal() {
    return pthread_cond_signal(&data_->condition);
}

int Condition::broadcast() {
    return pthread_cond_broadcast(&data_->condition);
}

int Condition::wait(Mutex& mutex) {
    MutexData* const mutexData = mutex.data_.load(std::memory_order_relaxed);
    return mutexData == nullptr ? EINVAL : pthread_cond_wait(&data_->condition, &mutexData->mutex);
}

int Condition::timedWait(Mutex& mutex, long milliseconds) {
    MutexData* const mutexData = mutex.data_.load(std::memory_order_relaxed);
    if (mutexData == nullptr) {
        return EINVAL;
    }
    const timespec deadline = deadlineIn(milliseconds);
    const int result = pthread_cond_timedwait(&data_->condition, &mutexData->mutex, &deadline);
    if (result == EINVAL) {
        (void)std::fprintf(stderr, "Condition::timedWait: pthread_cond_timedwait: EINVAL\n");
    }
    return result;
}

}  // namespace zeb
