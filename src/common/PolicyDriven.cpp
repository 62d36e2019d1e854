#include "common/PolicyDriven.h"

#include "common/DefaultPoliciesStore.h"
#include "core/Log.h"

#include <utility>

namespace zeb::common {

PolicyDriven::PolicyDriven() : followDefaults_(false) {}

PolicyDriven::PolicyDriven(bool followDefaults) : PolicyDriven({}, followDefaults) {}

PolicyDriven::PolicyDriven(const std::set<std::shared_ptr<Policy>>& policies, bool followDefaults)
    : followDefaults_(followDefaults) {
    policySet_.addPolicy(FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY);
    policySet_.addAll(policies);
    policySet_.addAll(DefaultPoliciesStore::getAllPolicies());
    ZEB_LOG_DEBUG(log::common(), "PolicySet : " << policySet_.toString());
}

PolicyDriven::~PolicyDriven() = default;

void PolicyDriven::onDefaultPoliciesStoreUpdate() {
    if (!followDefaults_) {
        return;
    }
    ZEB_LOG_DEBUG(log::common(), "DefaultPolicyStore has been updated, storing all the available policies");
    policySet_.addAll(DefaultPoliciesStore::getAllPolicies());
}

void PolicyDriven::addPolicy(std::shared_ptr<Policy> policy) {
    policySet_.addPolicy(std::move(policy));
}

void PolicyDriven::removePolicy(Policy::PolicyNature::Nature nature) {
    policySet_.removePolicy(nature);
}

std::shared_ptr<Policy> PolicyDriven::getPolicy(Policy::PolicyNature::Nature nature) const {
    return policySet_.getPolicy(nature);
}

PolicySet::VerifyPoliciesResult PolicyDriven::verifyPolicies() {
    return policySet_.verifyInputIndependentPolicies();
}

void PolicyDriven::resetForTesting() {
    policySet_.resetForTesting();
    policySet_.addPolicy(FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY);
}

std::set<std::shared_ptr<Policy>> PolicyDriven::getAllPolicies() const {
    return policySet_.getAll();
}

bool PolicyDriven::policyFailureCanBeIgnored(const Policy& failed) const {
    return FailureJudge(*this).canBeIgnored(failed);
}

PolicyDriven::FailureJudge::FailureJudge(const PolicyDriven& object)
    : failureManagement_(object.getPolicy(Policy::PolicyNature::FAILURE_MANAGEMENT)) {}

PolicyDriven::FailureJudge::~FailureJudge() = default;

bool PolicyDriven::FailureJudge::canBeIgnored(const Policy& failed) const {
    ZEB_LOG_DEBUG(log::common(), "Checking if the failure of a policy can be ignored by this object");
    const auto* const policy = Policy::as<FailureManagementPolicy>(failureManagement_.get());
    if (policy == nullptr) {
        ZEB_LOG_WARNING(log::common(),
                        "FailureManagementPolicy policy not available, the failure can't be ignored");
        return false;
    }
    bool canBeIgnored = false;
    policy->enforce(failed, canBeIgnored);
    ZEB_LOG_DEBUG(log::common(), "The policy failure can" << (canBeIgnored ? "" : "not") << " be ignored");
    return canBeIgnored;
}

}  // namespace zeb::common
