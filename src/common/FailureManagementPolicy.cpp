#include "common/FailureManagementPolicy.h"

#include <array>
#include <ostream>

namespace zeb::common {

std::string FailureManagementPolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case IGNORE_SOFT_FAILURE:
            return "IGNORE_SOFT_FAILURE";
        case IGNORE_HARD_FAILURE:
            return "IGNORE_HARD_FAILURE";
        case ALWAYS_IGNORE_FAILURE:
            return "ALWAYS_IGNORE_FAILURE";
        case NEVER_IGNORE_FAILURE:
            return "NEVER_IGNORE_FAILURE";
    }
    return std::to_string(static_cast<int>(value));
}

FailureManagementPolicy::FailureManagementPolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE), value_(value) {}

FailureManagementPolicy::~FailureManagementPolicy() = default;

bool FailureManagementPolicy::equals(const Policy& other) const {
    if (!Policy::equals(other)) {
        return false;
    }
    const auto* const same = dynamic_cast<const FailureManagementPolicy*>(&other);
    return same != nullptr && value_ == same->value_;
}

std::string FailureManagementPolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool FailureManagementPolicy::verifyEnforceability() const {
    return true;
}

Policy::PolicyEnforcingResult::EnforcingResult FailureManagementPolicy::enforce(const Policy& failed,
                                                                                bool& canBeIgnored) const {
    switch (value_) {
        case PolicyValue::IGNORE_SOFT_FAILURE:
            canBeIgnored = failed.getFailureClass() == PolicyFailureClass::SOFT;
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::IGNORE_HARD_FAILURE:
            canBeIgnored = failed.getFailureClass() == PolicyFailureClass::HARD;
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::ALWAYS_IGNORE_FAILURE:
            canBeIgnored = true;
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::NEVER_IGNORE_FAILURE:
            canBeIgnored = false;
            return PolicyEnforcingResult::SUCCESS;
    }
    return PolicyEnforcingResult::ENFORCING_FAILURE;
}

const std::shared_ptr<FailureManagementPolicy>& FailureManagementPolicy::shared(PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<FailureManagementPolicy>, 4>{
        std::make_shared<FailureManagementPolicy>(PolicyValue::IGNORE_SOFT_FAILURE),
        std::make_shared<FailureManagementPolicy>(PolicyValue::IGNORE_HARD_FAILURE),
        std::make_shared<FailureManagementPolicy>(PolicyValue::ALWAYS_IGNORE_FAILURE),
        std::make_shared<FailureManagementPolicy>(PolicyValue::NEVER_IGNORE_FAILURE),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, FailureManagementPolicy::PolicyValue::Value value) {
    switch (value) {
        case FailureManagementPolicy::PolicyValue::IGNORE_SOFT_FAILURE:
            return stream << "INGNORE_SOFT_FAILURE";
        case FailureManagementPolicy::PolicyValue::IGNORE_HARD_FAILURE:
            return stream << "INGNORE_HARD_FAILURE";
        default:
            return stream << FailureManagementPolicy::PolicyValue::atString(value);
    }
}

}  // namespace zeb::common
