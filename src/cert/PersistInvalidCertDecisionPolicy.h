#pragma once

#include "common/InputIndependentPolicy.h"

namespace zeb::cert {

/// Whether a host may offer to keep a user's decision about a certificate beyond this process. The library
/// itself keeps none.
class ZEBNETUTILS_EXPORT PersistInvalidCertDecisionPolicy
    : public common::InputIndependentPolicy,
      public std::enable_shared_from_this<PersistInvalidCertDecisionPolicy> {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int { PERSIST_DECISION = 0, DO_NOT_PERSIST_DECISION = 1 };
        /// The value's name, or its decimal number. Deliberately not called atString.
        static std::string asString(Value value);
    };

private:
    static const std::shared_ptr<PersistInvalidCertDecisionPolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::PERSIST_INVALID_CERT_DECISION;

    inline static const std::shared_ptr<PersistInvalidCertDecisionPolicy>& PERSIST_DECISION_POLICY =
        shared(PolicyValue::PERSIST_DECISION);
    inline static const std::shared_ptr<PersistInvalidCertDecisionPolicy>& DO_NOT_PERSIST_DECISION_POLICY =
        shared(PolicyValue::DO_NOT_PERSIST_DECISION);

    explicit PersistInvalidCertDecisionPolicy(PolicyValue::Value value);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~PersistInvalidCertDecisionPolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }

    /// Says whether the decision may be kept. An unknown value leaves `persist` alone and answers
    /// ENFORCING_FAILURE.
    PolicyEnforcingResult::EnforcingResult enforce(bool& persist) const;

private:
    const PolicyValue::Value value_;
};

/// As PolicyValue::asString.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            PersistInvalidCertDecisionPolicy::PolicyValue::Value value);

}  // namespace zeb::cert
