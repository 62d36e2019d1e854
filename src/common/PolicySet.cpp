#include "common/PolicySet.h"

#include "common/InputIndependentPolicy.h"
#include "core/Log.h"
#include "core/ScopedLock.h"

#include <functional>
#include <sstream>
#include <utility>

namespace zeb::common {

PolicySet::VerifyPoliciesResult::VerifyPoliciesResult() = default;

PolicySet::VerifyPoliciesResult::VerifyPoliciesResult(const VerifyPoliciesResult& other)
    : success(other.success), failedPolicies(other.failedPolicies) {}

PolicySet::VerifyPoliciesResult& PolicySet::VerifyPoliciesResult::operator=(
    const VerifyPoliciesResult& other) {
    if (this != &other) {
        ScopedLock lock(mutex_);
        success = other.success;
        failedPolicies = other.failedPolicies;
    }
    return *this;
}

PolicySet::VerifyPoliciesResult::~VerifyPoliciesResult() = default;

void PolicySet::VerifyPoliciesResult::merge(VerifyPoliciesResult& other) {
    if (this == &other) {
        return;
    }
    // The lower address first, whichever of the two is merged into the other.
    const bool thisFirst = std::less<>()(&mutex_, &other.mutex_);
    ScopedLock first(thisFirst ? mutex_ : other.mutex_);
    ScopedLock second(thisFirst ? other.mutex_ : mutex_);
    success = success && other.success;
    failedPolicies.insert(other.failedPolicies.begin(), other.failedPolicies.end());
}

PolicySet::PolicySet() = default;

PolicySet::PolicySet(const PolicySet& other) : policies_(other.policies_) {}

PolicySet& PolicySet::operator=(const PolicySet& other) {
    if (this != &other) {
        ScopedLock lock(mutex_);
        policies_ = other.policies_;
    }
    return *this;
}

PolicySet::~PolicySet() = default;

void PolicySet::addPolicy(std::shared_ptr<Policy> policy) {
    if (policy == nullptr) {
        return;
    }
    const Policy::PolicyNature::Nature nature = policy->getNature();
    ScopedLock lock(mutex_);
    policies_[nature] = std::move(policy);
}

void PolicySet::removePolicy(Policy::PolicyNature::Nature nature) {
    ZEB_LOG_DEBUG(log::common(), "Removing a policy with nature " << nature);
    ScopedLock lock(mutex_);
    policies_.erase(nature);
}

void PolicySet::removeAll() {
    ScopedLock lock(mutex_);
    policies_.clear();
}

void PolicySet::resetForTesting() {
    removeAll();
}

void PolicySet::addAll(const Policies& policies) {
    ScopedLock lock(mutex_);
    for (const std::shared_ptr<Policy>& policy : policies) {
        addPolicy(policy);
    }
}

std::shared_ptr<Policy> PolicySet::getPolicy(Policy::PolicyNature::Nature nature) const {
    {
        ScopedLock lock(mutex_);
        const auto found = policies_.find(nature);
        if (found != policies_.end()) {
            return found->second;
        }
    }
    ZEB_LOG_DEBUG(log::common(), "Policy not found with nature " << nature);
    return Policy::UNKNOWN_POLICY;
}

PolicySet::Policies PolicySet::getAll() const {
    ScopedLock lock(mutex_);
    Policies all;
    for (const auto& entry : policies_) {
        all.insert(entry.second);
    }
    return all;
}

bool PolicySet::contains(const std::shared_ptr<Policy>& policy) const {
    if (policy == nullptr) {
        return false;
    }
    ScopedLock lock(mutex_);
    const auto found = policies_.find(policy->getNature());
    return found != policies_.end() && found->second->equals(*policy);
}

PolicySet::VerifyPoliciesResult PolicySet::verifyInputIndependentPolicies() const {
    VerifyPoliciesResult result;
    result.success = true;
    {
        ScopedLock lock(mutex_);
        for (const auto& entry : policies_) {
            // A plain policy may claim input independence without having anything to ask.
            const auto* const policy = dynamic_cast<const InputIndependentPolicy*>(entry.second.get());
            if (policy != nullptr && !policy->verifyEnforceability()) {
                result.success = false;
                result.failedPolicies.insert(entry.second);
            }
        }
    }
    ZEB_LOG_DEBUG(log::common(), "Enforceability check " << (result.success ? " succeeded" : " failed"));
    return result;
}

std::string PolicySet::toString() const {
    std::ostringstream text;
    const char* separator = "";
    ScopedLock lock(mutex_);
    for (const auto& entry : policies_) {
        text << separator << entry.first << '[' << entry.second->getName() << ']';
        separator = ", ";
    }
    return text.str();
}

}  // namespace zeb::common
