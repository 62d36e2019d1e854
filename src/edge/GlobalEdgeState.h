#pragma once

#include "core/Export.h"
#include "edge/EdgeConfigRequest.h"
#include "edge/VisibilityChangeObserver.h"

#include <memory>
#include <ostream>
#include <set>
#include <string>

namespace zeb::edge {

class CredentialsManager;
class EdgeConfig;
class EdgeDetectionController;
class FenwipServerManager;
class GetEdgeConfigurationListener;
class GlobalEdgeStateObserver;
class OVTPolicyManager;
struct Credentials;

/// The one place that knows, for the whole process, whether the client reaches the enterprise directly,
/// through an edge server, or not at all, and that owns the current edge configuration. Reached through
/// netutils::GlobalEdgeStateController. Any thread may call.
class ZEBNETUTILS_EXPORT GlobalEdgeState : public VisibilityChangeObserver {
public:
    /// A configuration, and how the call for it went. Comes with the edge configuration model.
    struct GetEdgeConfigurationResult;

    struct TerminateEdgeSessionResult {
        enum Result {
            SUCCESS = 0,
            INVALID_CREDENTIALS = 1,
            EDGE_CONNECTIVITY_UNAVAILABLE = 2,
            EDGE_CONFIG_UNAVAILABLE = 3,
            UNKNOWN_ERROR = 4,
        };
    };

    ~GlobalEdgeState() override;

    virtual bool isEdgeConnectivityAvailable() = 0;
    virtual bool isInternalConnectivityAvailable() = 0;
    virtual void registerForEdgeConfigChanges(std::shared_ptr<GlobalEdgeStateObserver> observer) = 0;
    virtual void unregister(std::shared_ptr<GlobalEdgeStateObserver> observer) = 0;
    /// Never null.
    virtual std::shared_ptr<Credentials> getEdgeCredentials() = 0;
    virtual GetEdgeConfigurationResult getEdgeConfiguration(bool useCache) = 0;
    virtual GetEdgeConfigurationResult getEdgeConfigurationAsync(
        unsigned int& taskId, std::shared_ptr<GetEdgeConfigurationListener> listener) = 0;
    virtual GetEdgeConfigurationResult getEdgeConfiguration(const std::set<std::string>& services) = 0;
    virtual GetEdgeConfigurationResult getEdgeConfigurationAsync(
        const std::set<std::string>& services, unsigned int& taskId,
        std::shared_ptr<GetEdgeConfigurationListener> listener) = 0;
    virtual std::string getEdgeDomain() = 0;
    virtual void setEdgeDomain(const std::string& domain, bool useCachedEdgeConfig, bool edgeOnlyMode) = 0;
    virtual void removeEdgeConfig() = 0;
    virtual TerminateEdgeSessionResult::Result terminateEdgeSession() = 0;
    virtual std::shared_ptr<EdgeDetectionController> getEdgeDetectionController() = 0;
    virtual void setEdgeConfigRequest(std::shared_ptr<EdgeConfigRequest> request) = 0;
    virtual void setEdgeDetectionController(std::shared_ptr<EdgeDetectionController> controller) = 0;
    virtual void setCredentialsManager(std::shared_ptr<CredentialsManager> manager) = 0;
    virtual void setOVTPolicyManager(std::shared_ptr<OVTPolicyManager> manager) = 0;
    virtual std::shared_ptr<OVTPolicyManager> getOVTPolicyManager() = 0;
    virtual void addRecentlyFailedServer(const std::string& server, EdgeConfigRequest::Result result) = 0;
    virtual bool isEdgeConfigAvailable(bool includeCached) = 0;
    virtual void setCachedEdgeConfig(const EdgeConfig& config) = 0;
    virtual void updateEdgeServiceRecordData() = 0;
    virtual void setFenwipServerManager(std::shared_ptr<FenwipServerManager> manager) = 0;
    virtual std::shared_ptr<FenwipServerManager> getFenwipServerManager() = 0;
    virtual void stopIpInterfaceChangeMonitor() = 0;
};

/// Prints the enumerator's name. Deliberately, EDGE_CONFIG_UNAVAILABLE has none and prints as "Unexpected
/// value (3)", as any unknown number does.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            GlobalEdgeState::TerminateEdgeSessionResult::Result result);

}  // namespace zeb::edge
