#pragma once

#include "core/Export.h"

#include <optional>
#include <ostream>
#include <string>

namespace zeb::netutils {

/// The one place where a report leaves for the edge layer. Called on the thread of the reports' queue.
///
/// As long as the edge layer hasn't been initialised, every event ends here, logged as ignored. This build
/// has no controllers that could take the events of an initialised one: each is logged as undelivered.
class ZEBNETUTILS_EXPORT EdgeEventForwarder {
public:
    /// Events for the controller that watches over the transitions between inside and outside.
    enum class Hint {
        NETWORK_INTERFACE_DROPPED,
        NETWORK_STACK_NOT_READY,
        NETWORK_ACTIVITY,
        IP_INTERFACE_CHANGED,
    };

    /// Events for the controller that watches over the edge servers.
    struct InfrastructureEvent {
        enum class Kind {
            OAUTH_EXPIRED,
            AUTHENTICATION_REQUIRED,
            CONNECTION_FAILED,
            UNRESOLVED_HOST,
            INTERNAL_SERVER_ERROR,
            SERVICE_UNAVAILABLE,
            NEXT_HOP_FAILED,
        };
        Kind kind;
        /// The request failed for good, rather than on one server before it succeeded on another. Means
        /// something for CONNECTION_FAILED and UNRESOLVED_HOST only; false for all others.
        bool clusterFailed;
    };

    EdgeEventForwarder() = delete;

    static void forwardHint(Hint hint);
    /// An event by the name under which it was reported; `server` is the host it concerns.
    static void forwardInfrastructureEvent(const std::string& label, const std::string& server);

    /// What a reported name stands for; nothing for an unknown one.
    static std::optional<InfrastructureEvent> findInfrastructureEvent(const std::string& label);
};

/// The event as the edge layer calls it, such as "NetworkActivity".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, EdgeEventForwarder::Hint hint);
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            EdgeEventForwarder::InfrastructureEvent::Kind kind);

}  // namespace zeb::netutils
