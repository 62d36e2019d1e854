#pragma once

#include "common/InputIndependentPolicy.h"

namespace zeb::common {

/// Says what the failure of another policy means to the object that obeys it: whether it can be ignored.
class ZEBNETUTILS_EXPORT FailureManagementPolicy : public InputIndependentPolicy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int {
            IGNORE_SOFT_FAILURE = 0,
            IGNORE_HARD_FAILURE = 1,  ///< exactly the hard ones: soft failures are not ignored
            ALWAYS_IGNORE_FAILURE = 2,
            NEVER_IGNORE_FAILURE = 3,
        };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
    };

private:
    static const std::shared_ptr<FailureManagementPolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::FAILURE_MANAGEMENT;

    inline static const std::shared_ptr<FailureManagementPolicy>& IGNORE_SOFT_FAILURE_POLICY =
        shared(PolicyValue::IGNORE_SOFT_FAILURE);
    inline static const std::shared_ptr<FailureManagementPolicy>& IGNORE_HARD_FAILURE_POLICY =
        shared(PolicyValue::IGNORE_HARD_FAILURE);
    inline static const std::shared_ptr<FailureManagementPolicy>& ALWAYS_IGNORE_FAILURE_POLICY =
        shared(PolicyValue::ALWAYS_IGNORE_FAILURE);
    inline static const std::shared_ptr<FailureManagementPolicy>& NEVER_IGNORE_FAILURE_POLICY =
        shared(PolicyValue::NEVER_IGNORE_FAILURE);

    explicit FailureManagementPolicy(PolicyValue::Value value);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~FailureManagementPolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }

    /// Sets canBeIgnored by the class of the failed policy. An unknown value leaves it alone and answers
    /// ENFORCING_FAILURE.
    PolicyEnforcingResult::EnforcingResult enforce(const Policy& failed, bool& canBeIgnored) const;

private:
    const PolicyValue::Value value_;
};

/// Deliberately not atString: the first two values print as "INGNORE_...", which readers of the logs match.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            FailureManagementPolicy::PolicyValue::Value value);

}  // namespace zeb::common
