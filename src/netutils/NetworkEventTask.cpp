#include "netutils/NetworkEventTask.h"

#include "core/Log.h"
#include "netutils/NetworkEventReporterImpl.h"

#include <limits>
#include <utility>

namespace zeb::netutils {

namespace {

/// In place of a number of times.
constexpr std::uint32_t BEGUN = std::numeric_limits<std::uint32_t>::max();

std::atomic<std::uint32_t> endedRows{0};

}  // namespace

NetworkEventTask::NetworkEventTask(Type type, std::string label,
                                   std::shared_ptr<NetworkEventReporterObserver> observer)
    : type_(type), label_(std::move(label)), observer_(std::move(observer)), endedRows_(endedRows) {}

NetworkEventTask::~NetworkEventTask() = default;

void NetworkEventTask::setServerForEdgeEvent(const std::string& server) {
    if (type_ != Type::EDGE_INFRASTRUCTURE_EVENT) {
        ZEB_LOG_WARNING(log::netutils(),
                        "Got a call to setServerForEdgeEvent for a non EDGE_INFRASTRUCTURE_EVENT");
        return;
    }
    server_ = server;
}

bool NetworkEventTask::takeUp(Type type, const std::string& label,
                              const std::shared_ptr<NetworkEventReporterObserver>& observer) {
    if (type != type_ || type == Type::EDGE_INFRASTRUCTURE_EVENT || observer != observer_ ||
        label != label_) {
        return false;
    }
    std::uint32_t times = times_;
    while (times != BEGUN && times + 1 != BEGUN) {
        if (times_.compare_exchange_weak(times, times + 1)) {
            return true;
        }
    }
    return false;
}

void NetworkEventTask::endRows() {
    ++endedRows;
}

void NetworkEventTask::execute() {
    NetworkEventReporterImpl reporter(observer_);
    const std::uint32_t times = times_.exchange(BEGUN);
    executeOnce(reporter);
    for (std::uint32_t done = 1; times != BEGUN && done < times && endedRows == endedRows_; ++done) {
        executeOnce(reporter);
    }
}

void NetworkEventTask::executeOnce(NetworkEventReporterImpl& reporter) const {
    ZEB_LOG_DEBUG(log::netutils(), "Executing a NetworkEventTask for label: " << label_);
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
