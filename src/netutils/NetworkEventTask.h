#pragma once

#include "core/Export.h"
#include "core/Task.h"

#include <memory>
#include <string>

namespace zeb::netutils {

class NetworkEventReporterObserver;

/// One report on its way through the queue.
class ZEBNETUTILS_EXPORT NetworkEventTask : public Task {
public:
    enum class Type {
        HINT_NETWORK_INTERFACE_MIGHT_HAVE_DROPPED = 0,
        HINT_NETWORK_STACK_NOT_READY = 1,
        HINT_NETWORK_IS_IN_USE = 2,
        HINT_HOST_OS_IP_INTERFACE_CHANGED = 3,
        EDGE_INFRASTRUCTURE_EVENT = 4,
    };

    NetworkEventTask(Type type, std::string label, std::shared_ptr<NetworkEventReporterObserver> observer);
    ~NetworkEventTask() override;

    /// For an EDGE_INFRASTRUCTURE_EVENT, before it is queued; any other type stays without, with a warning.
    void setServerForEdgeEvent(const std::string& server);
    void execute() override;

private:
    const Type type_;
    const std::string label_;
    std::string server_;
    const std::shared_ptr<NetworkEventReporterObserver> observer_;
};

}  // namespace zeb::netutils
