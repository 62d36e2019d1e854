#include "netutils/NetworkEventTask.h"

#include "core/Log.h"
#include "netutils/NetworkEventReporterImpl.h"

#include <utility>

namespace zeb::netutils {

NetworkEventTask::NetworkEventTask(Type type, std::string label,
                                   std::shared_ptr<NetworkEventReporterObserver> observer)
    : type_(type), label_(std::move(label)), observer_(std::move(observer)) {}

NetworkEventTask::~NetworkEventTask() = default;

void NetworkEventTask::setServerForEdgeEvent(const std::string& server) {
    if (type_ != Type::EDGE_INFRASTRUCTURE_EVENT) {
        ZEB_LOG_WARNING(log::netutils(),
                        "Got a call to setServerForEdgeEvent for a non EDGE_INFRASTRUCTURE_EVENT");
        return;
    }
    server_ = server;
}

void NetworkEventTask::execute() {
    ZEB_LOG_DEBUG(log::netutils(), "Executing a NetworkEventTask for label: " << label_);
    NetworkEventReporterImpl reporter(observer_);
    switch (type_) {
        case Type::HINT_NETWORK_INTERFACE_MIGHT_HAVE_DROPPED:
            reporter.hintNetworkInterfaceMightHaveDroppedImpl(label_);
            return;
        case Type::HINT_NETWORK_STACK_NOT_READY:
            reporter.hintNetworkStackNotReadyImpl(label_);
            return;
        case Type::HINT_NETWORK_IS_IN_USE:
            reporter.hintNetworkIsInUseImpl(label_);
            return;
        case Type::HINT_HOST_OS_IP_INTERFACE_CHANGED:
            reporter.hintHostOsIpInterfaceChangedImpl(label_);
            return;
        case Type::EDGE_INFRASTRUCTURE_EVENT:
            if (server_.empty()) {
                ZEB_LOG_WARNING(log::netutils(),
                                "Executing an EDGE_INFRASTRUCTURE_EVENT with an empty edge server");
            }
            reporter.edgeInfrastructureEventImpl(label_, server_);
            return;
    }
    ZEB_LOG_ERROR(log::netutils(),
                  "Unrecognized NetworkEventTask::Type :'" << static_cast<int>(type_) << "'");
}

}  // namespace zeb::netutils
