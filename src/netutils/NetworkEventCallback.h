#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::netutils {

/// What a host implements to hear which reports come in. Registered with
/// NetworkEventReporterObserver::registerForNetworkEvents.
class ZEBNETUTILS_EXPORT NetworkEventCallback {
public:
    /// One of "hintNetworkInterfaceMightHaveDropped", "hintNetworkStackNotReady", "hintNetworkIsInUse",
    /// "hintHostOsIpInterfaceChanged" and "hintedgeInfrastructureEvent", in the order of the reports. Called
    /// on the library's one notification thread, with no lock held; must not throw. One that is slow keeps
    /// the other callbacks waiting, but no report.
    virtual void onNetworkEvent(const std::string& eventName) = 0;
    virtual ~NetworkEventCallback();
};

}  // namespace zeb::netutils
