#include "http/SystemProxyUsagePolicy.h"

#include <array>
#include <ostream>

namespace zeb::http {

std::string SystemProxyUsagePolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case USE_SYSTEM_PROXY_WHEN_REQUESTED:
            return "USE_SYSTEM_PROXY_WHEN_REQUESTED";
        case NEVER_USE_SYSTEM_PROXY:
            return "NEVER_USE_SYSTEM_PROXY";
    }
    return std::to_string(static_cast<int>(value));
}

SystemProxyUsagePolicy::SystemProxyUsagePolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE, PolicyFailureClass::SOFT), value_(value) {}

SystemProxyUsagePolicy::~SystemProxyUsagePolicy() = default;

bool SystemProxyUsagePolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const SystemProxyUsagePolicy*>(&other);
    return Policy::equals(other) && same != nullptr && value_ == same->value_;
}

std::string SystemProxyUsagePolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool SystemProxyUsagePolicy::verifyEnforceability() const {
    return true;
}

common::Policy::PolicyEnforcingResult::EnforcingResult SystemProxyUsagePolicy::enforce(
    std::shared_ptr<Proxy>& proxy) const {
    switch (value_) {
        case PolicyValue::USE_SYSTEM_PROXY_WHEN_REQUESTED:
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::NEVER_USE_SYSTEM_PROXY:
            proxy.reset();
            return PolicyEnforcingResult::SUCCESS;
    }
    return PolicyEnforcingResult::ENFORCING_FAILURE;
}

const std::shared_ptr<SystemProxyUsagePolicy>& SystemProxyUsagePolicy::shared(PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<SystemProxyUsagePolicy>, 2>{
        std::make_shared<SystemProxyUsagePolicy>(PolicyValue::USE_SYSTEM_PROXY_WHEN_REQUESTED),
        std::make_shared<SystemProxyUsagePolicy>(PolicyValue::NEVER_USE_SYSTEM_PROXY),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, SystemProxyUsagePolicy::PolicyValue::Value value) {
    return stream << SystemProxyUsagePolicy::PolicyValue::atString(value);
}

}  // namespace zeb::http
