#include "core/Event.h"

#include "core/Condition.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

namespace zeb {

struct EventData {
    explicit EventData(bool isAutoReset) : autoReset(isAutoReset) {}

    /// To be called by a waiter that found the event signaled, with the mutex held.
    void consume() {
        if (autoReset) {
            signaled = false;
        }
    }

    const bool autoReset;
    bool signaled = false;
    Mutex mutex;  ///< guards signaled
    Condition condition;
};

Event::Event(bool autoReset) : data_(new EventData(autoReset)) {}

Event::~Event() {
    delete data_;
}

bool Event::set() {
    // Woken with the mutex held: a waiter may destroy the event as soon as it has been let through.
    const ScopedLock lock(data_->mutex);
    if (!data_->signaled) {
        data_->signaled = true;
        if (data_->autoReset) {
            data_->condition.signal();
        } else {
            data_->condition.broadcast();
        }
    }
    return true;
}

bool Event::reset() {
    const ScopedLock lock(data_->mutex);
    if (data_->autoReset) {
        return false;
    }
    data_->signaled = false;
    return true;
}

bool Event::wait() {
    const ScopedLock lock(data_->mutex);
    while (!data_->signaled) {
        data_->condition.wait(data_->mutex);
    }
    data_->consume();
    return true;
}

bool Event::timedWait(long milliseconds) {
    if (milliseconds < 0) {
        return false;
    }
    const ScopedLock lock(data_->mutex);
    while (!data_->signaled) {
        if (data_->condition.timedWait(data_->mutex, milliseconds) > 0) {
            return false;
        }
    }
    data_->consume();
    return true;
}

}  // namespace zeb
