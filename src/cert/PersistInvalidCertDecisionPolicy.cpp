#include "cert/PersistInvalidCertDecisionPolicy.h"

#include "core/Log.h"

#include <array>
#include <ostream>

namespace zeb::cert {

std::string PersistInvalidCertDecisionPolicy::PolicyValue::asString(Value value) {
    switch (value) {
        case PERSIST_DECISION:
            return "PERSIST_DECISION";
        case DO_NOT_PERSIST_DECISION:
            return "DO_NOT_PERSIST_DECISION";
    }
    return std::to_string(static_cast<int>(value));
}

PersistInvalidCertDecisionPolicy::PersistInvalidCertDecisionPolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE, PolicyFailureClass::SOFT), value_(value) {}

PersistInvalidCertDecisionPolicy::~PersistInvalidCertDecisionPolicy() = default;

bool PersistInvalidCertDecisionPolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const PersistInvalidCertDecisionPolicy*>(&other);
    return Policy::equals(other) && same != nullptr && value_ == same->value_;
}

std::string PersistInvalidCertDecisionPolicy::getName() const {
    return PolicyValue::asString(value_);
}

bool PersistInvalidCertDecisionPolicy::verifyEnforceability() const {
    return true;
}

common::Policy::PolicyEnforcingResult::EnforcingResult PersistInvalidCertDecisionPolicy::enforce(
    bool& persist) const {
    switch (value_) {
        case PolicyValue::PERSIST_DECISION:
            persist = true;
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::DO_NOT_PERSIST_DECISION:
            persist = false;
            return PolicyEnforcingResult::SUCCESS;
    }
    ZEB_LOG_WARNING(log::cert(), "Policy not managed! Enforcing failed");
    return PolicyEnforcingResult::ENFORCING_FAILURE;
}

const std::shared_ptr<PersistInvalidCertDecisionPolicy>& PersistInvalidCertDecisionPolicy::shared(
    PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<PersistInvalidCertDecisionPolicy>, 2>{
        std::make_shared<PersistInvalidCertDecisionPolicy>(PolicyValue::PERSIST_DECISION),
        std::make_shared<PersistInvalidCertDecisionPolicy>(PolicyValue::DO_NOT_PERSIST_DECISION),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, PersistInvalidCertDecisionPolicy::PolicyValue::Value value) {
    return stream << PersistInvalidCertDecisionPolicy::PolicyValue::asString(value);
}

}  // namespace zeb::cert
