#include "common/InputIndependentPolicy.h"

namespace zeb::common {

InputIndependentPolicy::InputIndependentPolicy(PolicyNature::Nature nature,
                                               PolicyFailureClass::FailureClass failureClass)
    : Policy(nature, failureClass, true) {}

InputIndependentPolicy::InputIndependentPolicy(PolicyNature::Nature nature)
    : InputIndependentPolicy(nature, PolicyFailureClass::HARD) {}

InputIndependentPolicy::~InputIndependentPolicy() = default;

}  // namespace zeb::common
