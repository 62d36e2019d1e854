#pragma once

#include "edge/GlobalEdgeState.h"
#include "netutils/GlobalEdgeStateController.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>

/// Until the edge configuration model defines it, an answer without content.
struct zeb::edge::GlobalEdgeState::GetEdgeConfigurationResult {};

namespace zeb::test {

/// An edge layer of which nothing works but the two questions for connectivity. It takes the layer's place
/// while it is in force:
///
///     const InstalledGlobalEdgeState edge(false, true);  // no enterprise network, an edge server
///     ... EdgePolicy::ALWAYS_USE_EDGE_POLICY->verifyEnforceability() ...
class FakeGlobalEdgeState : public edge::GlobalEdgeState {
public:
    /// Null unless the test puts one here, before anybody asks.
    std::shared_ptr<edge::EdgeDetectionController> detectionController;

    FakeGlobalEdgeState(bool internalAvailable, bool edgeAvailable)
        : internalAvailable_(internalAvailable), edgeAvailable_(edgeAvailable) {}

    void onVisibilityChange(bool internalAvailable, bool edgeAvailable, bool /*orderChanged*/) override {
        internalAvailable_ = internalAvailable;
        edgeAvailable_ = edgeAvailable;
    }
    bool isEdgeConnectivityAvailable() override {
        ++edgeQuestions_;
        return edgeAvailable_;
    }
    bool isInternalConnectivityAvailable() override {
        ++internalQuestions_;
        return internalAvailable_;
    }
    void registerForEdgeConfigChanges(std::shared_ptr<edge::GlobalEdgeStateObserver> /*observer*/) override {}
    void unregister(std::shared_ptr<edge::GlobalEdgeStateObserver> /*observer*/) override {}
    std::shared_ptr<edge::Credentials> getEdgeCredentials() override { return nullptr; }
    GetEdgeConfigurationResult getEdgeConfiguration(bool /*useCache*/) override { return {}; }
    GetEdgeConfigurationResult getEdgeConfigurationAsync(
        unsigned int& /*taskId*/, std::shared_ptr<edge::GetEdgeConfigurationListener> /*listener*/) override {
        return {};
    }
    GetEdgeConfigurationResult getEdgeConfiguration(const std::set<std::string>& /*services*/) override {
        return {};
    }
    GetEdgeConfigurationResult getEdgeConfigurationAsync(
        const std::set<std::string>& /*services*/, unsigned int& /*taskId*/,
        std::shared_ptr<edge::GetEdgeConfigurationListener> /*listener*/) override {
        return {};
    }
    std::string getEdgeDomain() override { return {}; }
    void setEdgeDomain(const std::string& /*domain*/, bool /*useCache*/, bool /*edgeOnly*/) override {}
    void removeEdgeConfig() override {}
    TerminateEdgeSessionResult::Result terminateEdgeSession() override {
        return TerminateEdgeSessionResult::SUCCESS;
    }
    std::shared_ptr<edge::EdgeDetectionController> getEdgeDetectionController() override {
        return detectionController;
    }
    void setEdgeConfigRequest(std::shared_ptr<edge::EdgeConfigRequest> /*request*/) override {}
    void setEdgeDetectionController(std::shared_ptr<edge::EdgeDetectionController> /*other*/) override {}
    void setCredentialsManager(std::shared_ptr<edge::CredentialsManager> /*manager*/) override {}
    void setOVTPolicyManager(std::shared_ptr<edge::OVTPolicyManager> /*manager*/) override {}
    std::shared_ptr<edge::OVTPolicyManager> getOVTPolicyManager() override { return nullptr; }
    void addRecentlyFailedServer(const std::string& /*server*/,
                                 edge::EdgeConfigRequest::Result /*result*/) override {}
    bool isEdgeConfigAvailable(bool /*includeCached*/) override { return false; }
    void setCachedEdgeConfig(const edge::EdgeConfig& /*config*/) override {}
    void updateEdgeServiceRecordData() override {}
    void setFenwipServerManager(std::shared_ptr<edge::FenwipServerManager> /*manager*/) override {}
    std::shared_ptr<edge::FenwipServerManager> getFenwipServerManager() override { return nullptr; }
    void stopIpInterfaceChangeMonitor() override {}

    int internalQuestions() const { return internalQuestions_; }
    int edgeQuestions() const { return edgeQuestions_; }

private:
    std::atomic<bool> internalAvailable_;
    std::atomic<bool> edgeAvailable_;
    std::atomic<int> internalQuestions_{0};
    std::atomic<int> edgeQuestions_{0};
};

/// Puts a FakeGlobalEdgeState in the place of the edge layer; its end takes it away again.
class InstalledGlobalEdgeState {
public:
    InstalledGlobalEdgeState(bool internalAvailable, bool edgeAvailable)
        : state_(std::make_shared<FakeGlobalEdgeState>(internalAvailable, edgeAvailable)) {
        netutils::GlobalEdgeStateController::setGlobalEdgeStateForTesting(state_);
    }
    ~InstalledGlobalEdgeState() {
        netutils::GlobalEdgeStateController::setGlobalEdgeStateForTesting(nullptr);
    }
    InstalledGlobalEdgeState(const InstalledGlobalEdgeState&) = delete;
    InstalledGlobalEdgeState& operator=(const InstalledGlobalEdgeState&) = delete;

    const FakeGlobalEdgeState* operator->() const { return state_.get(); }
    const std::shared_ptr<FakeGlobalEdgeState>& get() const { return state_; }

private:
    const std::shared_ptr<FakeGlobalEdgeState> state_;
};

}  // namespace zeb::test
