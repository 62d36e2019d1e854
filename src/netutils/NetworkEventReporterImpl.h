#pragma once

#include "core/Export.h"
#include "netutils/NetworkEventReporter.h"

#include <memory>
#include <string>

namespace zeb::netutils {

class NetworkEventReporterObserver;

/// The reporter over the process's one queue, the pool "NetEventReport" with its one thread, which is made at
/// the first report. Any thread may call.
class ZEBNETUTILS_EXPORT NetworkEventReporterImpl : public NetworkEventReporter {
public:
    /// Without an observer no callback hears of the reports.
    explicit NetworkEventReporterImpl(std::shared_ptr<NetworkEventReporterObserver> observer);
    ~NetworkEventReporterImpl() override;

    void hintNetworkInterfaceMightHaveDropped(const std::string& label) override;
    void hintNetworkStackNotReady(const std::string& label) override;
    void hintNetworkIsInUse(const std::string& label) override;
    void hintHostOsIpInterfaceChanged(const std::string& label) override;
    void edgeInfrastructureEvent(const std::string& label, const std::string& server) override;

    /// Drops the reports that still wait, those of other reporters too; later ones run as ever.
    static void stop();

    /// From now on reports stay in the queue; those that wait already are dropped.
    static void disableNetworkEventReporterForTesting();
    /// The reverse, with an empty queue.
    static void enableNetworkEventReporterForTesting();

    // What becomes of a report; called on the queue's thread: the callbacks hear its name, then the edge
    // layer gets the event, if it has been initialised.

    void hintNetworkInterfaceMightHaveDroppedImpl(const std::string& label);
    void hintNetworkStackNotReadyImpl(const std::string& label);
    void hintNetworkIsInUseImpl(const std::string& label);
    void hintHostOsIpInterfaceChangedImpl(const std::string& label);
    void edgeInfrastructureEventImpl(const std::string& label, const std::string& server);

private:
    void tellCallbacks(const char* eventName);

    const std::shared_ptr<NetworkEventReporterObserver> observer_;
};

}  // namespace zeb::netutils
