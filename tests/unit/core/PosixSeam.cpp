#include "PosixSeam.h"

#include "support/Threads.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace zeb::test {

namespace {

/// The error a call is to fail with; empty while it isn't to fail.
struct Failure {
    bool armed = false;
    int error = 0;
};

thread_local std::array<Failure, 8> failures;

Failure& failureOf(PosixCall call) {
    return failures.at(static_cast<std::size_t>(call));
}

constexpr long NANOSECONDS_PER_SECOND = 1000000000;

/// The state of HeldTimedWaits and CountedTimedWaits.
struct Hold {
    std::mutex mutex;  ///< guards all below
    std::condition_variable changed;
    bool active = false;
    std::size_t waiting = 0;
    std::size_t begun = 0;  ///< timed waits of any kind
    unsigned endings = 0;   ///< counts expire() and wake()
    int endingResult = 0;
    std::vector<long> limits;
};

Hold& hold() {
    static auto* const instance = new Hold;
    return *instance;
}

long secondsUntil(const timespec& deadline) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double seconds = static_cast<double>(deadline.tv_sec - now.tv_sec) +
                           static_cast<double>(deadline.tv_nsec - now.tv_nsec) / 1e9;
    return std::lround(seconds);
}

/// Timed waits that go on now and aren't held.
std::atomic<std::size_t> realWaits{0};

/// Those that are there without any test: the main thread, and a sanitizer's own, which comes with the first
/// thread that is made.
const std::size_t threadsAtStart = [] {
    std::thread([] {}).join();
    return threadStates().size();
}();

/// Waits as HeldTimedWaits says; `locked` is released meanwhile. False when waits aren't held.
bool heldWait(pthread_mutex_t* locked, const timespec& deadline, int& result) {
    Hold& held = hold();
    std::unique_lock<std::mutex> lock(held.mutex);
    ++held.begun;
    if (!held.active) {
        held.changed.notify_all();
        return false;
    }
    held.limits.push_back(secondsUntil(deadline));
    if (deadline.tv_nsec < 0 || deadline.tv_nsec >= NANOSECONDS_PER_SECOND) {
        result = EINVAL;
        held.changed.notify_all();
        return true;
    }
    const unsigned endingsBefore = held.endings;
    ++held.waiting;
    pthread_mutex_unlock(locked);
    held.changed.notify_all();
    held.changed.wait(lock, [&] { return !held.active || held.endings != endingsBefore; });
    --held.waiting;
    result = held.endings != endingsBefore ? held.endingResult : 0;
    held.changed.notify_all();
    lock.unlock();
    pthread_mutex_lock(locked);
    return true;
}

void endAll(int result) {
    const std::lock_guard<std::mutex> lock(hold().mutex);
    ++hold().endings;
    hold().endingResult = result;
    hold().changed.notify_all();
}

struct Sleeps {
    std::mutex mutex;  ///< guards all below
    std::condition_variable changed;
    bool held = false;
    std::size_t wakings = 0;
    std::vector<long> milliseconds;
};

/// Never destroyed: threads may outlive the tests.
Sleeps& sleeps() {
    static auto& instance = *new Sleeps;
    return instance;
}

bool holdSleep(const timespec& span) {
    Sleeps& all = sleeps();
    std::unique_lock<std::mutex> lock(all.mutex);
    if (!all.held) {
        return false;
    }
    all.milliseconds.push_back(span.tv_sec * 1000 + span.tv_nsec / 1000000);
    all.changed.notify_all();
    all.changed.wait(lock, [&all, before = all.wakings] { return all.wakings != before; });
    return true;
}

}  // namespace

HeldSleeps::HeldSleeps() {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    sleeps().held = true;
    sleeps().milliseconds.clear();
}

HeldSleeps::~HeldSleeps() {
    {
        const std::lock_guard<std::mutex> lock(sleeps().mutex);
        sleeps().held = false;
    }
    wake();
}

void HeldSleeps::awaitSleeps(std::size_t count) {
    std::unique_lock<std::mutex> lock(sleeps().mutex);
    sleeps().changed.wait(lock, [&] { return sleeps().milliseconds.size() >= count; });
}

void HeldSleeps::wake() {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    ++sleeps().wakings;
    sleeps().changed.notify_all();
}

std::vector<long> HeldSleeps::milliseconds() const {
    const std::lock_guard<std::mutex> lock(sleeps().mutex);
    return sleeps().milliseconds;
}

FailingCall::FailingCall(PosixCall call, int error) : call_(call) {
    failureOf(call) = {true, error};
}

FailingCall::~FailingCall() {
    failureOf(call_) = {};
}

HeldTimedWaits::HeldTimedWaits() {
    const std::lock_guard<std::mutex> lock(hold().mutex);
    hold().active = true;
    hold().limits.clear();
}

HeldTimedWaits::~HeldTimedWaits() {
    std::unique_lock<std::mutex> lock(hold().mutex);
    hold().active = false;
    hold().changed.notify_all();
    hold().changed.wait(lock, [] { return hold().waiting == 0; });
}

void HeldTimedWaits::awaitWaiting(std::size_t threads) {
    std::unique_lock<std::mutex> lock(hold().mutex);
    hold().changed.wait(lock, [&] { return hold().waiting == threads; });
}

void HeldTimedWaits::awaitCalls(std::size_t waits) {
    std::unique_lock<std::mutex> lock(hold().mutex);
    hold().changed.wait(lock, [&] { return hold().limits.size() == waits; });
}

void HeldTimedWaits::wake() {
    endAll(0);
}

void HeldTimedWaits::expire() {
    endAll(ETIMEDOUT);
}

std::vector<long> HeldTimedWaits::limitsInSeconds() const {
    const std::lock_guard<std::mutex> lock(hold().mutex);
    return hold().limits;
}

CountedTimedWaits::CountedTimedWaits() {
    const std::lock_guard<std::mutex> lock(hold().mutex);
    before_ = hold().begun;
}

void CountedTimedWaits::awaitCalls(std::size_t waits) const {
    std::unique_lock<std::mutex> lock(hold().mutex);
    hold().changed.wait(lock, [&] { return hold().begun - before_ >= waits; });
}

std::string osThreadName() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return name.data();
}

bool awaitThreadsAtRest() {
    return awaitThreads([] { return threadStates().size() <= threadsAtStart + realWaits; });
}

// The linker prescribes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

int __real_pthread_attr_init(pthread_attr_t* attributes);
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_pthread_condattr_setclock(pthread_condattr_t* attributes, clockid_t clock);
int __real_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes);
int __real_pthread_cond_signal(pthread_cond_t* condition);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
int __real_nanosleep(const timespec* span, timespec* remainder);
int __real_pthread_setname_np(pthread_t thread, const char* name);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument);

int __wrap_pthread_attr_init(pthread_attr_t* attributes) {
    const Failure& failure = failureOf(PosixCall::ATTR_INIT);
    return failure.armed ? failure.error : __real_pthread_attr_init(attributes);
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    const Failure& failure = failureOf(PosixCall::CLOCK_GETTIME);
    if (failure.armed) {
        errno = failure.error;
        return -1;
    }
    return __real_clock_gettime(clock, now);
}

int __wrap_pthread_condattr_setclock(pthread_condattr_t* attributes, clockid_t clock) {
    const Failure& failure = failureOf(PosixCall::CONDATTR_SETCLOCK);
    return failure.armed ? failure.error : __real_pthread_condattr_setclock(attributes, clock);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    const Failure& failure = failureOf(PosixCall::COND_INIT);
    return failure.armed ? failure.error : __real_pthread_cond_init(condition, attributes);
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    const Failure& failure = failureOf(PosixCall::COND_SIGNAL);
    return failure.armed ? failure.error : __real_pthread_cond_signal(condition);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
    int result = 0;
    if (!heldWait(mutex, *deadline, result)) {
        ++realWaits;
        result = __real_pthread_cond_timedwait(condition, mutex, deadline);
        --realWaits;
    }
    return result;
}

int __wrap_nanosleep(const timespec* span, timespec* remainder) {
    Failure& failure = failureOf(PosixCall::NANOSLEEP);
    if (failure.armed) {
        errno = failure.error;
        failure = {};
        *remainder = {0, 1000000};
        return -1;
    }
    return holdSleep(*span) ? 0 : __real_nanosleep(span, remainder);
}

int __wrap_pthread_setname_np(pthread_t thread, const char* name) {
    const Failure& failure = failureOf(PosixCall::SETNAME);
    return failure.armed ? failure.error : __real_pthread_setname_np(thread, name);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument) {
    const Failure& failure = failureOf(PosixCall::THREAD_CREATE);
    return failure.armed ? failure.error : __real_pthread_create(thread, attributes, entry, argument);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

}  // namespace zeb::test
