#include "netutils/EdgeEventForwarder.h"

#include "core/Log.h"
#include "netutils/GlobalEdgeStateController.h"

namespace zeb::netutils {

namespace {

using InfrastructureEvent = EdgeEventForwarder::InfrastructureEvent;
using Kind = InfrastructureEvent::Kind;

struct Row {
    const char* label;
    InfrastructureEvent event;
};

constexpr Row INFRASTRUCTURE_EVENTS[] = {
    {"zebnetutils.edge.oauthExpired", {Kind::OAUTH_EXPIRED, false}},
    {"zebnetutils.edge.authenticationRequired", {Kind::AUTHENTICATION_REQUIRED, false}},
    {"zebnetutils.edge.hostUnreachableError", {Kind::CONNECTION_FAILED, true}},
    {"zebnetutils.edge.connectionTimeout", {Kind::CONNECTION_FAILED, true}},
    {"zebnetutils.edge.certValidationError", {Kind::CONNECTION_FAILED, true}},
    {"zebnetutils.edge.unresolvedHostError", {Kind::UNRESOLVED_HOST, true}},
    {"zebnetutils.edge.internalServerError", {Kind::INTERNAL_SERVER_ERROR, false}},
    {"zebnetutils.edge.serviceUnavailable", {Kind::SERVICE_UNAVAILABLE, false}},
    {"zebnetutils.edge.nextHopFailed", {Kind::NEXT_HOP_FAILED, false}},
    {"edge.successful.failover.hostUnreachableError", {Kind::CONNECTION_FAILED, false}},
    {"edge.successful.failover.connectionTimeout", {Kind::CONNECTION_FAILED, false}},
    {"edge.successful.failover.certValidationError", {Kind::CONNECTION_FAILED, false}},
    {"edge.successful.failover.unresolvedHostError", {Kind::UNRESOLVED_HOST, false}},
};

bool edgeIsInitialized() {
    if (GlobalEdgeStateController::isInitialized()) {
        return true;
    }
    ZEB_LOG_DEBUG(log::netutils(), "Event ignored. Edge not initialized.");
    return false;
}

// The handover to the controllers: the two operations that will enqueue with them.

void deliver(EdgeEventForwarder::Hint hint) {
    ZEB_LOG_WARNING(log::netutils(),
                    "Event not delivered, the edge layer has no controller for it: " << hint);
}

void deliver(const InfrastructureEvent& event, const std::string& server) {
    ZEB_LOG_WARNING(log::netutils(), "Event not delivered, the edge layer has no controller for it: "
                                         << event.kind << " clusterFailed: " << event.clusterFailed
                                         << " server: " << ZEBLogger_replacePIIData(server));
}

}  // namespace

void EdgeEventForwarder::forwardHint(Hint hint) {
    if (edgeIsInitialized()) {
        deliver(hint);
    }
}

void EdgeEventForwarder::forwardInfrastructureEvent(const std::string& label, const std::string& server) {
    if (!edgeIsInitialized()) {
        return;
    }
    const std::optional<InfrastructureEvent> event = findInfrastructureEvent(label);
    if (!event) {
        ZEB_LOG_WARNING(log::netutils(), "unknown event");
        return;
    }
    deliver(*event, server);
}

std::optional<InfrastructureEvent> EdgeEventForwarder::findInfrastructureEvent(const std::string& label) {
    for (const Row& row : INFRASTRUCTURE_EVENTS) {
        if (label == row.label) {
            return row.event;
        }
    }
    return std::nullopt;
}

std::ostream& operator<<(std::ostream& stream, EdgeEventForwarder::Hint hint) {
    using Hint = EdgeEventForwarder::Hint;
    switch (hint) {
        case Hint::NETWORK_INTERFACE_DROPPED:
            return stream << "HintNetworkInterfaceDropped";
        case Hint::NETWORK_STACK_NOT_READY:
            return stream << "HintNetworkStackNotReady";
        case Hint::NETWORK_ACTIVITY:
            return stream << "NetworkActivity";
        case Hint::IP_INTERFACE_CHANGED:
            return stream << "IpInterfaceChanged";
    }
    return stream << static_cast<int>(hint);
}

std::ostream& operator<<(std::ostream& stream, Kind kind) {
    switch (kind) {
        case Kind::OAUTH_EXPIRED:
            return stream << "EdgeOauthExpired";
        case Kind::AUTHENTICATION_REQUIRED:
            return stream << "EdgeAuthenticationRequired";
        case Kind::CONNECTION_FAILED:
            return stream << "EdgeConnectionFailed";
        case Kind::UNRESOLVED_HOST:
            return stream << "EdgeUnresolvedHost";
        case Kind::INTERNAL_SERVER_ERROR:
            return stream << "EdgeInternalServerErrorEvent";
        case Kind::SERVICE_UNAVAILABLE:
            return stream << "EdgeServiceUnavailableEvent";
        case Kind::NEXT_HOP_FAILED:
            return stream << "EdgeNextHopFailed";
    }
    return stream << static_cast<int>(kind);
}

}  // namespace zeb::netutils
