#pragma once

#include "core/Export.h"
#include "core/Task.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace zeb::netutils {

class NetworkEventReporterImpl;
class NetworkEventReporterObserver;

/// One report on its way through the queue, or several alike that came in a row.
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
    /// Makes a hint that comes behind this one, and nothing in between, a part of it. False when it isn't
    /// alike, or this one has been begun: then it is a task of its own.
    bool takeUp(Type type, const std::string& label,
                const std::shared_ptr<NetworkEventReporterObserver>& observer);
    /// Ends all rows there are: of one that is being told, or about to be, no more than the report it is at
    /// is told. For whoever drops the waiting reports.
    static void endRows();
    /// Once for each report; once if it has been executed before.
    void execute() override;

private:
    void executeOnce(NetworkEventReporterImpl& reporter) const;

    const Type type_;
    const std::string label_;
    std::string server_;
    const std::shared_ptr<NetworkEventReporterObserver> observer_;
    const std::uint32_t endedRows_;  ///< how often rows had been ended when this was made
    std::atomic<std::uint32_t> times_{1};
};

}  // namespace zeb::netutils
