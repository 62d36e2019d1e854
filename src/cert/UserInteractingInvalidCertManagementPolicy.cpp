#include "cert/UserInteractingInvalidCertManagementPolicy.h"

#include "core/Log.h"

#include <algorithm>
#include <stdexcept>

namespace zeb::cert {

namespace {

using Interacting = UserInteractingInvalidCertManagementPolicy;
using PromptDecision = InvalidCertNotificationManager::PromptDecision;
using Result = common::Policy::PolicyEnforcingResult;

}  // namespace

UserInteractingInvalidCertManagementPolicy::UserInteractingInvalidCertManagementPolicy(bool requiresUserInput)
    : InvalidCertManagementPolicy(PolicyValue::NOTIFY_USER_AND_FAIL, PolicyFailureClass::HARD),
      userInteractionAvoidable_(false),
      requiresUserInput_(requiresUserInput) {}

UserInteractingInvalidCertManagementPolicy::UserInteractingInvalidCertManagementPolicy(
    PolicyValue::Value value, bool requiresUserInput, const Transitions& acceptableTransitions,
    PolicyFailureClass::FailureClass failureClass)
    : InvalidCertManagementPolicy(value, true, failureClass),
      userInteractionAvoidable_(true),
      requiresUserInput_(requiresUserInput),
      acceptableTransitions_(acceptableTransitions) {}

UserInteractingInvalidCertManagementPolicy::UserInteractingInvalidCertManagementPolicy(
    PolicyValue::Value value, bool requiresUserInput, PolicyFailureClass::FailureClass failureClass)
    : InvalidCertManagementPolicy(value, true, failureClass),
      userInteractionAvoidable_(false),
      requiresUserInput_(requiresUserInput) {}

UserInteractingInvalidCertManagementPolicy::~UserInteractingInvalidCertManagementPolicy() = default;

bool UserInteractingInvalidCertManagementPolicy::equals(const common::Policy& other) const {
    const auto* const same = dynamic_cast<const UserInteractingInvalidCertManagementPolicy*>(&other);
    return InvalidCertManagementPolicy::equals(other) && same != nullptr &&
           userInteractionAvoidable_ == same->userInteractionAvoidable_ &&
           requiresUserInput_ == same->requiresUserInput_ &&
           acceptableTransitions_ == same->acceptableTransitions_;
}

bool UserInteractingInvalidCertManagementPolicy::verifyEnforceability(const Statuses&, const std::string&,
                                                                      const std::string&, const std::string&,
                                                                      const std::string&, const std::string&,
                                                                      const std::vector<std::string>&) const {
    const bool talksToTheUser = getValue() == PolicyValue::PROMPT_USER ||
                                getValue() == PolicyValue::NOTIFY_USER_AND_SUCCEED ||
                                getValue() == PolicyValue::NOTIFY_USER_AND_FAIL;
    return talksToTheUser && InvalidCertNotificationManager::getInstance()->isInitialized();
}

Result::EnforcingResult UserInteractingInvalidCertManagementPolicy::enforce(
    Statuses& statuses, const std::string& commonName, const std::string& identifier,
    const std::string& identifierToDisplay, const std::string& fingerprint, const std::string& leafPem,
    const std::vector<std::string>& chainPem, const CertificateCacheAccessor& accessor) const {
    if (!verifyEnforceability(statuses, commonName, identifier, identifierToDisplay, fingerprint, leafPem,
                              chainPem)) {
        ZEB_LOG_WARNING(log::cert(), "The policy can't be enforced.");
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    if (CertStatus::representsVerificationSuccess(statuses) || holdsRevoked(statuses)) {
        return PolicyEnforcingResult::SUCCESS;
    }
    const auto manager = InvalidCertNotificationManager::getInstance();
    const auto warn = [&](bool succeed) {
        manager->displayCertWarning(commonName, identifier, identifierToDisplay, statuses, fingerprint,
                                    leafPem, chainPem, succeed, accessor);
    };
    try {
        switch (getValue()) {
            case PolicyValue::NOTIFY_USER_AND_SUCCEED:
                warn(true);
                statuses = {CertStatus::VALID};
                return PolicyEnforcingResult::SUCCESS;
            case PolicyValue::NOTIFY_USER_AND_FAIL:
                warn(false);
                return PolicyEnforcingResult::SUCCESS;
            case PolicyValue::PROMPT_USER: {
                const auto decision =
                    manager->promptUserForAction(commonName, identifier, identifierToDisplay, statuses,
                                                 fingerprint, leafPem, chainPem, accessor);
                if (manageUserDecision(decision, statuses)) {
                    return PolicyEnforcingResult::SUCCESS;
                }
                ZEB_LOG_WARNING(log::cert(), "Unable to enforce user decision. Policy enforcement failed.");
                return PolicyEnforcingResult::ENFORCING_FAILURE;
            }
            default:  // reached by a subclass that calls more values enforceable
                logUnmanaged();
                ZEB_LOG_WARNING(log::cert(), "Fail to enforce this " << static_cast<int>(getValue())
                                                                     << " InvalidCertManagementPolicy.");
                return PolicyEnforcingResult::ENFORCING_FAILURE;
        }
    } catch (const std::logic_error& error) {
        ZEB_LOG_ERROR(log::cert(),
                      "Unable to enforce the policy, received a logic_error from "
                      "InvalidCertNotificationManager: "
                          << error.what());
        return PolicyEnforcingResult::ENFORCING_FAILURE;
    }
}

bool UserInteractingInvalidCertManagementPolicy::manageUserDecision(PromptDecision::Decision decision,
                                                                    Statuses& statuses) const {
    switch (decision) {
        case PromptDecision::ACCEPT_FOR_SESSION:
            statuses = {CertStatus::VALID};
            return true;
        case PromptDecision::DENY:
            return true;
        default:
            ZEB_LOG_WARNING(log::cert(), "Unable to manage user decision " << decision);
            return false;
    }
}

bool UserInteractingInvalidCertManagementPolicy::verifyEnforceabilityWithoutUserInteraction(
    const Statuses&, const Statuses&) const {
    return userInteractionAvoidable_;
}

Result::EnforcingResult UserInteractingInvalidCertManagementPolicy::enforceWithoutUserInteraction(
    const Statuses& old, const Statuses& current, bool& canBeAccepted) const {
    if (!verifyEnforceabilityWithoutUserInteraction(old, current)) {
        ZEB_LOG_WARNING(log::cert(), "Policy is not enforceable.");
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    canBeAccepted = !holdsRevoked(current) && evaluateTransition(old, current);
    return PolicyEnforcingResult::SUCCESS;
}

bool UserInteractingInvalidCertManagementPolicy::evaluateTransition(const Statuses& old,
                                                                    const Statuses& current) const {
    const Statuses acceptable = buildAcceptableStatuses(old);
    return std::includes(acceptable.begin(), acceptable.end(), current.begin(), current.end());
}

Interacting::Statuses UserInteractingInvalidCertManagementPolicy::buildAcceptableStatuses(
    const Statuses& old) const {
    Statuses acceptable;
    for (const CertStatus::Status status : old) {
        const auto transition = acceptableTransitions_.find(status);
        if (transition != acceptableTransitions_.end()) {
            acceptable.insert(transition->second.begin(), transition->second.end());
        }
    }
    return acceptable;
}

Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder::
    AvoidableUserInteractingInvalidCertManagementPolicyBuilder(bool requiresUserInput)
    : requiresUserInput_(requiresUserInput) {}

Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder::
    ~AvoidableUserInteractingInvalidCertManagementPolicyBuilder() = default;

Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder&
Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder::acceptTransaction(
    CertStatus::Status from, CertStatus::Status to) {
    if (from != to) {
        transitions_[from].insert(to);
    }
    return *this;
}

std::shared_ptr<Interacting>
Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build() {
    return build(PolicyValue::NOTIFY_USER_AND_FAIL, PolicyFailureClass::HARD);
}

std::shared_ptr<Interacting> Interacting::AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build(
    PolicyValue::Value value, PolicyFailureClass::FailureClass failureClass) {
    return std::make_shared<Interacting>(value, requiresUserInput_, transitions_, failureClass);
}

Interacting::NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::
    NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder()
    : AvoidableUserInteractingInvalidCertManagementPolicyBuilder(false) {}

std::shared_ptr<Interacting>
Interacting::NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::build() {
    return AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build();
}

Interacting::NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::
    NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder()
    : AvoidableUserInteractingInvalidCertManagementPolicyBuilder(false) {}

std::shared_ptr<Interacting>
Interacting::NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::build() {
    return build(PolicyValue::NOTIFY_USER_AND_SUCCEED, PolicyFailureClass::HARD);
}

Interacting::PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::
    PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder()
    : AvoidableUserInteractingInvalidCertManagementPolicyBuilder(true) {}

std::shared_ptr<Interacting>
Interacting::PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder::build() {
    return build(PolicyValue::PROMPT_USER, PolicyFailureClass::HARD);
}

}  // namespace zeb::cert
