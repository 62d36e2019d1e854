#include "core/Thread.h"

#include "core/Mutex.h"
#include "core/Runnable.h"
#include "core/ScopedLock.h"
#include "core/ThreadNameSetter.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <pthread.h>
#include <sstream>

namespace zeb {

struct thread_privdata {
    std::string name;
    int stackSize = 0;
    Runnable* runnable = nullptr;
    pthread_t thread{};
    std::atomic<bool> running{false};
    mutable Mutex startMutex;  ///< held throughout a start; guards all but `running`
    bool joinable = false;     ///< the handle has neither been joined nor detached
};

namespace {

constexpr int DEFAULT_STACK_SIZE = 128000;

std::string inHexadecimal(pthread_t thread) {
    std::ostringstream text;
    text << std::hex << thread;
    return text.str();
}

extern "C" void* zebThreadEntry(void* argument) {
    auto& data = *static_cast<thread_privdata*>(argument);
    // The lock also waits for start(): only then are the handle and the running flag there.
    ScopedLock lock(data.startMutex);
    if (data.name.empty()) {
        data.name = inHexadecimal(data.thread);
    }
    const std::string name = data.name;
    Runnable* const runnable = data.runnable;
    lock.unlock();

    ThreadNameSetter::SetCurrentThreadName(name);
    runnable->run();
    // The last touch: from here on the Thread may be destroyed, and the data with it.
    data.running = false;
    return nullptr;
}

/// 0, or the error with which the system refused the size.
int applyStackSize(pthread_attr_t& attributes, const thread_privdata& data) {
    if (data.stackSize == 0) {
        return 0;
    }
    const int error = pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(data.stackSize));
    if (error != 0) {
        std::printf("Invalid stacksize %d specified for thread '%s': %d\n", data.stackSize, data.name.c_str(),
                    error);
    }
    return error;
}

void detachIfJoinable(thread_privdata& data) {
    if (data.joinable) {
        pthread_detach(data.thread);
        data.joinable = false;
    }
}

}  // namespace

Thread::Thread() : Thread(std::string()) {}

Thread::Thread(const std::string& name) : data_(new thread_privdata) {
    initialize(name);
}

void Thread::initialize(const std::string& name) {
    data_->name = name;
    data_->stackSize = DEFAULT_STACK_SIZE;
}

Thread::~Thread() {
    const bool running = data_->running;
    {
        const ScopedLock lock(data_->startMutex);
        detachIfJoinable(*data_);
    }
    // Deliberate: a running thread keeps using the data, which is left behind.
    if (!running) {
        delete data_;
    }
}

int Thread::start(Runnable& runnable) {
    const ScopedLock lock(data_->startMutex);
    data_->runnable = &runnable;
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) {
        std::printf("Failed to init attribute for thread '%s': %d\n", data_->name.c_str(), error);
        return error;
    }
    const int stackSizeError = applyStackSize(attributes, *data_);

    detachIfJoinable(*data_);
    error = pthread_create(&data_->thread, &attributes, &zebThreadEntry, data_);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        std::printf("Creation of thread '%s' failed: %d\n", data_->name.c_str(), error);
        return error;
    }
    data_->joinable = true;
    data_->running = true;
    // Deliberate: a refused stack size is reported although the thread runs.
    return stackSizeError;
}

std::string Thread::getName() const {
    const ScopedLock lock(data_->startMutex);
    return data_->name;
}

void Thread::setName(const std::string& name) {
    const ScopedLock lock(data_->startMutex);
    data_->name = name;
}

int Thread::setStackSize(int bytes) {
    const ScopedLock lock(data_->startMutex);
    if (data_->running) {
        return 1;
    }
    data_->stackSize = bytes;
    return 0;
}

int Thread::getStackSize() const {
    const ScopedLock lock(data_->startMutex);
    return data_->stackSize;
}

int Thread::join() {
    ScopedLock lock(data_->startMutex);
    if (data_->running && pthread_equal(data_->thread, pthread_self()) != 0) {
        return EDEADLK;
    }
    if (!data_->joinable) {
        return ESRCH;
    }
    const pthread_t thread = data_->thread;
    data_->joinable = false;
    lock.unlock();
    return pthread_join(thread, nullptr);
}

bool Thread::isRunning() const {
    return data_->running;
}

unsigned long Thread::getThreadId() const {
    const ScopedLock lock(data_->startMutex);
    return data_->thread;
}

void Thread::sleep(unsigned long milliseconds) {
    timespec span{};
    span.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
    span.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    timespec remainder{};
    while (nanosleep(&span, &remainder) == -1) {
        span = remainder;
    }
}

}  // namespace zeb
