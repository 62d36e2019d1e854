#pragma once

#include "common/DefaultPoliciesStoreObserver.h"

#include <memory>
#include <set>
// Not needed to compile: its constants must be ready before the first static PolicyDriven is constructed.
#include "common/FailureManagementPolicy.h"
#include "common/PolicySet.h"
#include "core/Export.h"

namespace zeb::common {

/// An object whose behaviour is set by policies: the base of the clients and verifiers. Takes the defaults of
/// DefaultPoliciesStore over at construction and, if it follows them, on every change.
///
/// Of two policies of one nature the later addPolicy wins. Any thread may call.
///
/// Registration with the store needs a weak pointer to the finished object, so the builder of the derived
/// class does it.
class ZEBNETUTILS_EXPORT PolicyDriven : public DefaultPoliciesStoreObserver {
public:
    /// No policy at all, not even a failure policy, and no default is taken, now or later.
    PolicyDriven();
    explicit PolicyDriven(bool followDefaults);
    /// In rising order of weight: IGNORE_SOFT_FAILURE_POLICY, the given policies, the defaults of the store.
    /// The store wins deliberately also when followDefaults is false: that flag governs later changes only.
    PolicyDriven(const std::set<std::shared_ptr<Policy>>& policies, bool followDefaults);
    PolicyDriven(const PolicyDriven&) = delete;
    PolicyDriven& operator=(const PolicyDriven&) = delete;
    ~PolicyDriven() override;

    /// Takes the store's policies over again, if the object follows the defaults. What was removed from the
    /// store stays here; what was added here directly gives way to a default of that nature.
    void onDefaultPoliciesStoreUpdate() override;

    /// Null is ignored.
    virtual void addPolicy(std::shared_ptr<Policy> policy);
    virtual void removePolicy(Policy::PolicyNature::Nature nature);
    /// The policy of that nature, else Policy::UNKNOWN_POLICY. Never null.
    virtual std::shared_ptr<Policy> getPolicy(Policy::PolicyNature::Nature nature) const;
    /// Asks the input independent policies whether they could be enforced now.
    virtual PolicySet::VerifyPoliciesResult verifyPolicies();
    /// Leaves IGNORE_SOFT_FAILURE_POLICY alone in the set.
    virtual void resetForTesting();

    std::set<std::shared_ptr<Policy>> getAllPolicies() const;

    /// What this object's failure policy says to the failure of that policy; false without a failure policy.
    bool policyFailureCanBeIgnored(const Policy& failed) const;

    /// The same for several policies: the failure policy is that of the construction.
    class ZEBNETUTILS_EXPORT FailureJudge {
    public:
        explicit FailureJudge(const PolicyDriven& object);
        ~FailureJudge();
        bool canBeIgnored(const Policy& failed) const;

    private:
        const std::shared_ptr<Policy> failureManagement_;
    };

private:
    PolicySet policySet_;
    const bool followDefaults_;
};

}  // namespace zeb::common
