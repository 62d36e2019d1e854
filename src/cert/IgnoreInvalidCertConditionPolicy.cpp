#include "cert/IgnoreInvalidCertConditionPolicy.h"

#include "cert/IgnoreInvalidCertConditionPolicyBuilder.h"
#include "core/Log.h"

#include <tuple>
#include <utility>

namespace zeb::cert {

namespace {

using PolicyPtr = std::shared_ptr<IgnoreInvalidCertConditionPolicy>;

}  // namespace

IgnoreInvalidCertConditionPolicy::IgnoreInvalidCertConditionPolicy(const Conditions& ignored,
                                                                   std::string name)
    : InputIndependentPolicy(NATURE, FAILURE_CLASS), ignored_(ignored), name_(std::move(name)) {}

IgnoreInvalidCertConditionPolicy::~IgnoreInvalidCertConditionPolicy() = default;

bool IgnoreInvalidCertConditionPolicy::areEqual(const Conditions& left, const Conditions& right) {
    const auto asTuple = [](const Conditions& conditions) {
        return std::tie(conditions.revocationNotPerformed, conditions.revocationServerOffline,
                        conditions.revocationStatusUnknown, conditions.wrongKeyUsage, conditions.weakKey);
    };
    return asTuple(left) == asTuple(right);
}

bool IgnoreInvalidCertConditionPolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const IgnoreInvalidCertConditionPolicy*>(&other);
    return Policy::equals(other) && same != nullptr && areEqual(ignored_, same->ignored_);
}

std::string IgnoreInvalidCertConditionPolicy::getName() const {
    return name_;
}

bool IgnoreInvalidCertConditionPolicy::verifyEnforceability() const {
    return true;
}

common::Policy::PolicyEnforcingResult::EnforcingResult IgnoreInvalidCertConditionPolicy::enforce(
    std::set<CertStatus::Status>& statuses) const {
    const std::pair<bool, CertStatus::Status> conditions[] = {
        {ignored_.revocationNotPerformed, CertStatus::NO_REVOCATION_CHECK},
        {ignored_.revocationServerOffline, CertStatus::REVOCATION_OFFLINE},
        {ignored_.revocationStatusUnknown, CertStatus::REVOCATION_STATUS_UNKNOWN},
        {ignored_.wrongKeyUsage, CertStatus::WRONG_USAGE},
        {ignored_.weakKey, CertStatus::WEAK_KEY},
    };
    std::size_t removed = 0;
    for (const auto& [isIgnored, status] : conditions) {
        removed += isIgnored ? statuses.erase(status) : 0;
    }
    if (removed > 0) {
        ZEB_LOG_INFO(
            log::cert(),
            "Ignored statuses have been removed from the verification status. Removed statuses: " << removed);
    } else {
        ZEB_LOG_DEBUG(log::cert(), "No statuses have been removed from the verification status.");
    }
    ZEB_LOG_DEBUG(log::cert(), "Policy enforced");
    return PolicyEnforcingResult::SUCCESS;
}

PolicyPtr IgnoreInvalidCertConditionPolicy::thisUnlessChanged(const Conditions& ignored, std::string name) {
    if (areEqual(ignored, ignored_)) {
        return shared_from_this();
    }
    return PolicyPtr(new IgnoreInvalidCertConditionPolicy(ignored, std::move(name)));
}

PolicyPtr IgnoreInvalidCertConditionPolicy::merge(const PolicyPtr& other) {
    if (other == nullptr) {
        return shared_from_this();
    }
    if (equals(*other)) {
        return other;
    }
    const Conditions& theirs = other->ignored_;
    Conditions either;
    either.revocationNotPerformed = ignored_.revocationNotPerformed || theirs.revocationNotPerformed;
    either.revocationServerOffline = ignored_.revocationServerOffline || theirs.revocationServerOffline;
    either.revocationStatusUnknown = ignored_.revocationStatusUnknown || theirs.revocationStatusUnknown;
    either.wrongKeyUsage = ignored_.wrongKeyUsage || theirs.wrongKeyUsage;
    either.weakKey = ignored_.weakKey || theirs.weakKey;
    if (areEqual(either, theirs)) {
        return other;
    }
    return thisUnlessChanged(either, name_ + " merge " + other->name_);
}

PolicyPtr IgnoreInvalidCertConditionPolicy::stripOut(const PolicyPtr& other) {
    if (other == nullptr) {
        return shared_from_this();
    }
    if (equals(*other)) {
        return DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY;
    }
    const Conditions& theirs = other->ignored_;
    Conditions left;
    left.revocationNotPerformed = ignored_.revocationNotPerformed && !theirs.revocationNotPerformed;
    left.revocationServerOffline = ignored_.revocationServerOffline && !theirs.revocationServerOffline;
    left.revocationStatusUnknown = ignored_.revocationStatusUnknown && !theirs.revocationStatusUnknown;
    left.wrongKeyUsage = ignored_.wrongKeyUsage && !theirs.wrongKeyUsage;
    left.weakKey = ignored_.weakKey && !theirs.weakKey;
    return thisUnlessChanged(left, name_ + " stripOut " + other->name_);
}

const PolicyPtr& IgnoreInvalidCertConditionPolicy::revocationInfoUnavailable() {
    // The name differs from that of the constant, and stays so: hosts compare it.
    static const auto& policy =
        *new PolicyPtr(IgnoreInvalidCertConditionPolicyBuilder("IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS")
                           .ignoreRevocationNotPerformed()
                           .ignoreRevocationServerOffline()
                           .ignoreRevocationStatusUnknown()
                           .build());
    return policy;
}

const PolicyPtr& IgnoreInvalidCertConditionPolicy::wrongKeyUsage() {
    static const auto& policy =
        *new PolicyPtr(IgnoreInvalidCertConditionPolicyBuilder("IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY")
                           .ignoreWrongKeyUsage()
                           .build());
    return policy;
}

const PolicyPtr& IgnoreInvalidCertConditionPolicy::weakKey() {
    static const auto& policy = *new PolicyPtr(
        IgnoreInvalidCertConditionPolicyBuilder("IGNORE_WEAK_KEY_ERRORS_POLICY").ignoreWeakKey().build());
    return policy;
}

const PolicyPtr& IgnoreInvalidCertConditionPolicy::nothing() {
    static const auto& policy =
        *new PolicyPtr(IgnoreInvalidCertConditionPolicyBuilder("DO_NOT_IGNORE_FALURE_CONDITIONS").build());
    return policy;
}

}  // namespace zeb::cert
