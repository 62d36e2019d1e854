#pragma once

#include "core/Export.h"
#include "core/Mutex.h"

#include <list>
#include <memory>
#include <string>

namespace zeb {
class ThreadPool;
}

namespace zeb::netutils {

class NetworkEventCallback;

/// Passes the names of reports on to the callbacks that want to hear them. One per process; any thread may
/// call any operation.
class ZEBNETUTILS_EXPORT NetworkEventReporterObserver {
public:
    static std::shared_ptr<NetworkEventReporterObserver> getInstance();

    virtual ~NetworkEventReporterObserver();
    NetworkEventReporterObserver(const NetworkEventReporterObserver&) = delete;
    NetworkEventReporterObserver& operator=(const NetworkEventReporterObserver&) = delete;

    /// Has each callback that still lives called on the notification thread, and forgets the others.
    virtual void onNetworkEvent(const std::string& eventName);
    /// The callback stays the host's: it is heard until its last owner lets it go. One that is registered
    /// twice is called twice.
    virtual void registerForNetworkEvents(std::shared_ptr<NetworkEventCallback> callback);

protected:
    NetworkEventReporterObserver();

private:
    static ThreadPool& eventNotificationThreadPool();

    Mutex mutex_;  ///< guards callbacks_; no callback is called under it
    std::list<std::weak_ptr<NetworkEventCallback>> callbacks_;
};

}  // namespace zeb::netutils
