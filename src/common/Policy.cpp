#include "common/Policy.h"

#include <ostream>

namespace zeb::common {

Policy::Policy(PolicyNature::Nature nature, PolicyFailureClass::FailureClass failureClass,
               bool inputIndependent)
    : nature_(nature), failureClass_(failureClass), inputIndependent_(inputIndependent) {}

Policy::Policy(PolicyNature::Nature nature, bool inputIndependent)
    : Policy(nature, PolicyFailureClass::HARD, inputIndependent) {}

Policy::~Policy() = default;

bool Policy::equals(const Policy& other) const {
    return nature_ == other.nature_ && inputIndependent_ == other.inputIndependent_ &&
           failureClass_ == other.failureClass_;
}

std::string Policy::getName() const {
    return "UNKNOWN";
}

const std::shared_ptr<Policy>& Policy::unknownPolicy() {
    static const auto& policy =
        *new std::shared_ptr<Policy>(std::make_shared<Policy>(PolicyNature::UNKNOWN, true));
    return policy;
}

std::ostream& operator<<(std::ostream& stream, Policy::PolicyNature::Nature nature) {
    switch (nature) {
        case Policy::PolicyNature::EDGE_USAGE:
            return stream << "EDGE_USAGE";
        case Policy::PolicyNature::FAILURE_MANAGEMENT:
            return stream << "FAILURE_MANAGEMENT";
        case Policy::PolicyNature::INVALID_CERT_MANAGEMENT:
            return stream << "INVALID_CERT_MANAGEMENT";
        case Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION:
            return stream << "IGNORE_INVALID_CERT_CONDITION";
        case Policy::PolicyNature::EDGE_CAPABILITY:
            return stream << "EDGE_CAPABILITY";
        case Policy::PolicyNature::PERSIST_INVALID_CERT_DECISION:
            return stream << "PERSIST_INVALID_CERT_DECISION";
        case Policy::PolicyNature::IP_FAMILY_PREFERENCE:
            return stream << "IP_FAMILY_PREFERENCE";
        case Policy::PolicyNature::SYSTEM_PROXY_USAGE:
            return stream << "SYSTEM_PROXY_USAGE";
        case Policy::PolicyNature::UNKNOWN:
            return stream << "UNKNOWN";
        case Policy::PolicyNature::COMMON_CRITERIA_USAGE:
            break;  // deliberate: this nature has no text, and readers of the logs know it as 8
    }
    return stream << static_cast<int>(nature);
}

std::ostream& operator<<(std::ostream& stream, Policy::PolicyEnforcingResult::EnforcingResult result) {
    switch (result) {
        case Policy::PolicyEnforcingResult::SUCCESS:
            return stream << "SUCCESS";
        case Policy::PolicyEnforcingResult::NOT_ENFORCEABLE:
            return stream << "NOT_ENFORCEABLE";
        case Policy::PolicyEnforcingResult::ENFORCING_FAILURE:
            return stream << "ENFORCING_FAILURE";
    }
    return stream << static_cast<int>(result);
}

}  // namespace zeb::common
