#include "netutils/NetworkEventReporterObserver.h"

#include "core/ScopedLock.h"
#include "core/ThreadPool.h"
#include "netutils/NetworkEventCallback.h"
#include "netutils/NetworkEventNotificationTask.h"

#include <utility>

namespace zeb::netutils {

namespace {

bool evaluateWeakPointerPredicate(const std::weak_ptr<NetworkEventCallback>& callback) {
    return callback.expired();
}

}  // namespace

NetworkEventReporterObserver::NetworkEventReporterObserver() = default;

NetworkEventReporterObserver::~NetworkEventReporterObserver() = default;

std::shared_ptr<NetworkEventReporterObserver> NetworkEventReporterObserver::getInstance() {
    // Never destroyed: reports may still be worked off while the process ends.
    static const auto* const instance =
        new std::shared_ptr<NetworkEventReporterObserver>(new NetworkEventReporterObserver);
    return *instance;
}

ThreadPool& NetworkEventReporterObserver::eventNotificationThreadPool() {
    // One thread, so that a callback hears the events in their order, and one that stays, so that no event
    // waits for the next. Never destroyed, as above.
    static auto& pool = *new ThreadPool(1, 1, "NetEventNotify", 60);
    return pool;
}

void NetworkEventReporterObserver::onNetworkEvent(const std::string& eventName) {
    const ScopedLock lock(mutex_);
    for (const auto& entry : callbacks_) {
        if (std::shared_ptr<NetworkEventCallback> callback = entry.lock()) {
            eventNotificationThreadPool().enqueue(
                std::make_shared<NetworkEventNotificationTask>(std::move(callback), eventName), false, false);
        }
    }
    callbacks_.remove_if(evaluateWeakPointerPredicate);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts override it, and an override may keep it
void NetworkEventReporterObserver::registerForNetworkEvents(std::shared_ptr<NetworkEventCallback> callback) {
    const ScopedLock lock(mutex_);
    callbacks_.push_back(callback);
}

}  // namespace zeb::netutils
