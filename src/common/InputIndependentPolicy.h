#pragma once

#include "common/Policy.h"

namespace zeb::common {

/// A policy that can tell whether it could be enforced without knowing the operation it would apply to.
class ZEBNETUTILS_EXPORT InputIndependentPolicy : public Policy {
public:
    InputIndependentPolicy(PolicyNature::Nature nature, PolicyFailureClass::FailureClass failureClass);
    /// Failure class HARD.
    explicit InputIndependentPolicy(PolicyNature::Nature nature);
    ~InputIndependentPolicy() override;

    /// False when enforcing the policy now is bound to fail. Called with the mutex of the PolicySet held.
    virtual bool verifyEnforceability() const = 0;
};

}  // namespace zeb::common
