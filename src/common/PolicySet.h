#pragma once

#include "common/Policy.h"
#include "core/Export.h"
#include "core/Mutex.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace zeb::common {

/// At most one policy per nature. Any thread may call; what a lookup returned lives on with its holder when
/// the set lets go of it. A null policy is ignored wherever one could be passed.
class ZEBNETUTILS_EXPORT PolicySet {
public:
    using Policies = std::set<std::shared_ptr<Policy>>;

    /// What became of a check of several policies.
    class ZEBNETUTILS_EXPORT VerifyPoliciesResult {
    public:
        VerifyPoliciesResult();
        /// Copying and assigning take the values without the source's mutex: the source must be at rest.
        VerifyPoliciesResult(const VerifyPoliciesResult& other);
        VerifyPoliciesResult& operator=(const VerifyPoliciesResult& other);
        ~VerifyPoliciesResult();

        /// Joins the other result to this one: success only if both succeeded, the failures of both. Two
        /// threads may merge two results into each other at the same time.
        void merge(VerifyPoliciesResult& other);

        bool success = false;
        Policies failedPolicies;

    private:
        Mutex mutex_;  ///< guards both fields during merge and assignment
    };

    PolicySet();
    /// Copying and assigning hold the destination's mutex only, deliberately, so that no order among sets is
    /// needed: the source must be at rest.
    PolicySet(const PolicySet& other);
    PolicySet& operator=(const PolicySet& other);
    ~PolicySet();

    /// Stores the policy under its nature in place of what was there.
    void addPolicy(std::shared_ptr<Policy> policy);
    void removePolicy(Policy::PolicyNature::Nature nature);
    void removeAll();
    void resetForTesting();
    /// As addPolicy for each in the set's order; no other thread sees a part of it.
    void addAll(const Policies& policies);

    /// The policy of that nature, else Policy::UNKNOWN_POLICY. Never null.
    std::shared_ptr<Policy> getPolicy(Policy::PolicyNature::Nature nature) const;
    Policies getAll() const;
    /// True when a policy of that nature is stored and equals the given one.
    bool contains(const std::shared_ptr<Policy>& policy) const;

    /// Asks every input independent policy, in the order of natures, whether it could be enforced; one that
    /// says no doesn't end the walk. The set's mutex is held throughout.
    VerifyPoliciesResult verifyInputIndependentPolicies() const;

    /// "EDGE_USAGE[NEVER_USE], FAILURE_MANAGEMENT[IGNORE_SOFT_FAILURE]": in the order of natures.
    std::string toString() const;

private:
    mutable Mutex mutex_;  ///< guards policies_; recursive, as addAll calls addPolicy
    std::map<Policy::PolicyNature::Nature, std::shared_ptr<Policy>> policies_;
};

}  // namespace zeb::common
