#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::netutils {

/// The door through which facts about the network reach the edge layer: the HTTP clients report what their
/// transfers saw, the host what it knows. Each report also goes, by its name, to the callbacks that are
/// registered with NetworkEventReporterObserver. Made by NetUtilsFactory::createNetworkEventReporter.
///
/// Any thread may call any operation. Each only puts the report into a queue and returns; one background
/// thread works the queue off in order. `label` says in the reporter's own words what happened; of an edge
/// infrastructure event it is the name of the event.
class ZEBNETUTILS_EXPORT NetworkEventReporter {
public:
    /// Something failed as it would if an interface had gone down.
    virtual void hintNetworkInterfaceMightHaveDropped(const std::string& label) = 0;
    /// The system's network isn't up yet: what is asked now fails, and may not in a while.
    virtual void hintNetworkStackNotReady(const std::string& label) = 0;
    /// Something has just gone through.
    virtual void hintNetworkIsInUse(const std::string& label) = 0;
    /// The operating system says that an interface has changed.
    virtual void hintHostOsIpInterfaceChanged(const std::string& label) = 0;
    /// What happened to a request that went through an edge server; `server` is the host it concerns.
    virtual void edgeInfrastructureEvent(const std::string& label, const std::string& server) = 0;
    virtual ~NetworkEventReporter();
};

}  // namespace zeb::netutils
