#include "Interrupt.h"

#include <csignal>
#include <pthread.h>
#include <utility>

namespace zebget {

namespace {

sigset_t theInterrupt() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    return signals;
}

}  // namespace

Interrupt::Interrupt() {
    const sigset_t signals = theInterrupt();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    taker_ = std::thread([this] { take(); });
}

Interrupt::~Interrupt() {
    over_ = true;
    pthread_kill(taker_.native_handle(), SIGINT);
    taker_.join();
}

void Interrupt::doFirst(std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    action_ = std::move(action);
}

/// False if this object ends.
bool Interrupt::wait() {
    const sigset_t signals = theInterrupt();
    int signal = 0;
    sigwait(&signals, &signal);
    return !over_;
}

void Interrupt::take() {
    if (!wait()) {
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    if (const std::function<void()> action = std::exchange(action_, nullptr)) {
        lock.unlock();
        action();
        if (!wait()) {
            return;
        }
    }
    const sigset_t signals = theInterrupt();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    (void)std::raise(SIGINT);
}

}  // namespace zebget
