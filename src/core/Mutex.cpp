#include "core/Mutex.h"

#include "core/MutexData.h"

namespace zeb {

namespace {

constexpr int DESTROYED = 1;

MutexData* makeRecursive() {
    auto* const data = new MutexData;
    pthread_mutexattr_init(&data->attributes);
    pthread_mutexattr_settype(&data->attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&data->mutex, &data->attributes);
    return data;
}

}  // namespace

Mutex::Mutex() : data_(makeRecursive()) {}

Mutex::~Mutex() {
    MutexData* const data = data_.exchange(nullptr);
    pthread_mutex_destroy(&data->mutex);
    pthread_mutexattr_destroy(&data->attributes);
    delete data;
}

int Mutex::lock() {
    MutexData* const data = data_.load(std::memory_order_relaxed);
    return data == nullptr ? DESTROYED : pthread_mutex_lock(&data->mutex);
}

int Mutex::unlock() {
    MutexData* const data = data_.load(std::memory_order_relaxed);
    return data == nullptr ? DESTROYED : pthread_mutex_unlock(&data->mutex);
}

}  // namespace zeb
