#pragma once

#include "cert/InvalidCertManagementPolicy.h"
#include "cert/common/InvalidCertNotificationManager.h"

#include <map>
#include <vector>

namespace zeb::cert {

class CertificateCacheAccessor;

/// Warns the user of a certificate that failed, or asks what to do, through the
/// InvalidCertNotificationManager.
///
/// An avoidable policy lets a decision that the user has taken before stand, when the certificate fails for
/// the same reasons, or for others that the policy's transitions declare to be covered. Any other asks every
/// time.
class ZEBNETUTILS_EXPORT UserInteractingInvalidCertManagementPolicy : public InvalidCertManagementPolicy {
public:
    using Statuses = std::set<CertStatus::Status>;
    /// From a status decided about to those that the decision also covers.
    using Transitions = std::map<CertStatus::Status, Statuses>;

    class AvoidableUserInteractingInvalidCertManagementPolicyBuilder;
    class NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
    class NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
    class PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;

    /// NOTIFY_USER_AND_FAIL of class HARD. Deliberately doesn't count as interacting with the user, and so
    /// can't be enforced in a verification.
    explicit UserInteractingInvalidCertManagementPolicy(bool requiresUserInput);
    /// An avoidable one.
    UserInteractingInvalidCertManagementPolicy(PolicyValue::Value value, bool requiresUserInput,
                                               const Transitions& acceptableTransitions,
                                               PolicyFailureClass::FailureClass failureClass);
    /// One that is not avoidable.
    UserInteractingInvalidCertManagementPolicy(PolicyValue::Value value, bool requiresUserInput,
                                               PolicyFailureClass::FailureClass failureClass);

    bool equals(const Policy& other) const override;
    ~UserInteractingInvalidCertManagementPolicy() override;

    using InvalidCertManagementPolicy::enforce;
    using InvalidCertManagementPolicy::verifyEnforceability;

    /// Blocks for as long as the listener, and for a question the user, takes. The verdict is left in the
    /// statuses. NOT_ENFORCEABLE without a listener, ENFORCING_FAILURE when no decision came of it.
    virtual PolicyEnforcingResult::EnforcingResult enforce(
        Statuses& statuses, const std::string& commonName, const std::string& identifier,
        const std::string& identifierToDisplay, const std::string& fingerprint, const std::string& leafPem,
        const std::vector<std::string>& chainPem, const CertificateCacheAccessor& accessor) const;
    /// Whether the value is one of the three that talk to the user, and a listener is registered.
    virtual bool verifyEnforceability(const Statuses& statuses, const std::string& commonName,
                                      const std::string& identifier, const std::string& identifierToDisplay,
                                      const std::string& fingerprint, const std::string& leafPem,
                                      const std::vector<std::string>& chainPem) const;

    bool isUserInteractionAvoidable() const { return userInteractionAvoidable_; }
    bool requiresUserInput() const { return requiresUserInput_; }

    /// Puts the decision into the statuses. False for one that is neither an acceptance nor a denial.
    bool manageUserDecision(InvalidCertNotificationManager::PromptDecision::Decision decision,
                            Statuses& statuses) const;

    /// Judges whether a decision taken about the old statuses also covers the current ones. NOT_ENFORCEABLE,
    /// with canBeAccepted untouched, for a policy that is not avoidable.
    PolicyEnforcingResult::EnforcingResult enforceWithoutUserInteraction(const Statuses& old,
                                                                         const Statuses& current,
                                                                         bool& canBeAccepted) const;
    bool verifyEnforceabilityWithoutUserInteraction(const Statuses& old, const Statuses& current) const;
    /// Whether the transitions from the old statuses reach all of the current ones.
    bool evaluateTransition(const Statuses& old, const Statuses& current) const;
    /// What the transitions reach from the old statuses. These are themselves no part of it, unless declared.
    Statuses buildAcceptableStatuses(const Statuses& old) const;

private:
    const bool userInteractionAvoidable_;
    const bool requiresUserInput_;
    const Transitions acceptableTransitions_;
};

/// Makes avoidable policies. The subclasses name value and class; each belongs to one thread.
class ZEBNETUTILS_EXPORT
    UserInteractingInvalidCertManagementPolicy::AvoidableUserInteractingInvalidCertManagementPolicyBuilder {
public:
    explicit AvoidableUserInteractingInvalidCertManagementPolicyBuilder(bool requiresUserInput);
    virtual ~AvoidableUserInteractingInvalidCertManagementPolicyBuilder();

    /// A decision taken under `from` also covers `to`. Does nothing when both are the same.
    AvoidableUserInteractingInvalidCertManagementPolicyBuilder& acceptTransaction(CertStatus::Status from,
                                                                                  CertStatus::Status to);

    /// The body, for subclasses to call: NOTIFY_USER_AND_FAIL of class HARD.
    virtual std::shared_ptr<UserInteractingInvalidCertManagementPolicy> build() = 0;
    virtual std::shared_ptr<UserInteractingInvalidCertManagementPolicy> build(
        PolicyValue::Value value, PolicyFailureClass::FailureClass failureClass);

private:
    Transitions transitions_;
    const bool requiresUserInput_;
};

/// NOTIFY_USER_AND_FAIL of class HARD.
class ZEBNETUTILS_EXPORT UserInteractingInvalidCertManagementPolicy::
    NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder
    : public AvoidableUserInteractingInvalidCertManagementPolicyBuilder {
public:
    NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder();

    using AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build;
    std::shared_ptr<UserInteractingInvalidCertManagementPolicy> build() override;
};

/// NOTIFY_USER_AND_SUCCEED of class HARD.
class ZEBNETUTILS_EXPORT UserInteractingInvalidCertManagementPolicy::
    NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder
    : public AvoidableUserInteractingInvalidCertManagementPolicyBuilder {
public:
    NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder();

    using AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build;
    std::shared_ptr<UserInteractingInvalidCertManagementPolicy> build() override;
};

/// PROMPT_USER of class HARD.
class ZEBNETUTILS_EXPORT UserInteractingInvalidCertManagementPolicy::
    PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder
    : public AvoidableUserInteractingInvalidCertManagementPolicyBuilder {
public:
    PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder();

    using AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build;
    std::shared_ptr<UserInteractingInvalidCertManagementPolicy> build() override;
};

}  // namespace zeb::cert
