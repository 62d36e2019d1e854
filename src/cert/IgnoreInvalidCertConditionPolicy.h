#pragma once

#include "cert/common/CertStatus.h"
#include "common/InputIndependentPolicy.h"
#include "core/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::cert {

class IgnoreInvalidCertConditionPolicyBuilder;

/// Removes named conditions from what is wrong with a certificate, before anybody else sees them. Made by
/// IgnoreInvalidCertConditionPolicyBuilder.
class ZEBNETUTILS_EXPORT IgnoreInvalidCertConditionPolicy
    : public common::InputIndependentPolicy,
      public std::enable_shared_from_this<IgnoreInvalidCertConditionPolicy> {
    static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& revocationInfoUnavailable();
    static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& wrongKeyUsage();
    static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& weakKey();
    static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& nothing();

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::IGNORE_INVALID_CERT_CONDITION;
    static constexpr PolicyFailureClass::FailureClass FAILURE_CLASS = PolicyFailureClass::HARD;

    inline static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>&
        IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY = revocationInfoUnavailable();
    inline static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>&
        IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY = wrongKeyUsage();
    inline static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& IGNORE_WEAK_KEY_ERRORS_POLICY =
        weakKey();
    /// The name is spelt so, letter for letter: hosts use it.
    inline static const std::shared_ptr<IgnoreInvalidCertConditionPolicy>&
        DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY = nothing();

    /// Compares the conditions, not the names.
    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~IgnoreInvalidCertConditionPolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    /// Always SUCCESS. The statuses may be empty afterwards.
    PolicyEnforcingResult::EnforcingResult enforce(std::set<CertStatus::Status>& statuses) const;

    /// A policy that ignores what either ignores: one of the two where it does, else a new one. Null counts
    /// as one that ignores nothing.
    std::shared_ptr<IgnoreInvalidCertConditionPolicy> merge(
        const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& other);
    /// A policy that ignores what this one does and the other does not: this one where it does, else a new
    /// one; DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY when both are equal. Null as above.
    std::shared_ptr<IgnoreInvalidCertConditionPolicy> stripOut(
        const std::shared_ptr<IgnoreInvalidCertConditionPolicy>& other);

private:
    friend class IgnoreInvalidCertConditionPolicyBuilder;

    struct Conditions {
        bool revocationNotPerformed = false;
        bool revocationServerOffline = false;
        bool revocationStatusUnknown = false;
        bool wrongKeyUsage = false;
        bool weakKey = false;
    };
    static bool areEqual(const Conditions& left, const Conditions& right);

    std::shared_ptr<IgnoreInvalidCertConditionPolicy> thisUnlessChanged(const Conditions& ignored,
                                                                        std::string name);

    IgnoreInvalidCertConditionPolicy(const Conditions& ignored, std::string name);

    const Conditions ignored_;
    const std::string name_;
};

}  // namespace zeb::cert
