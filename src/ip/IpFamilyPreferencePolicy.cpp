#include "ip/IpFamilyPreferencePolicy.h"

#include <array>
#include <optional>
#include <ostream>

#include <curl/curl.h>

namespace zeb::ip {

namespace {

std::optional<long> resolveOption(IpFamilyPreferencePolicy::PolicyValue::Value value) {
    switch (value) {
        case IpFamilyPreferencePolicy::PolicyValue::IPV4_ONLY:
            return CURL_IPRESOLVE_V4;
        case IpFamilyPreferencePolicy::PolicyValue::IPV6_ONLY:
            return CURL_IPRESOLVE_V6;
        case IpFamilyPreferencePolicy::PolicyValue::DUAL_STACK:
            return CURL_IPRESOLVE_WHATEVER;
    }
    return std::nullopt;
}

}  // namespace

std::string IpFamilyPreferencePolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case IPV4_ONLY:
            return "IPV4_ONLY";
        case IPV6_ONLY:
            return "IPV6_ONLY";
        case DUAL_STACK:
            return "DUAL_STACK";
    }
    return std::to_string(static_cast<int>(value));
}

IpFamilyPreferencePolicy::IpFamilyPreferencePolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE, PolicyFailureClass::SOFT), value_(value) {}

IpFamilyPreferencePolicy::~IpFamilyPreferencePolicy() = default;

bool IpFamilyPreferencePolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const IpFamilyPreferencePolicy*>(&other);
    return Policy::equals(other) && same != nullptr && value_ == same->value_;
}

std::string IpFamilyPreferencePolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool IpFamilyPreferencePolicy::verifyEnforceability() const {
    return true;
}

common::Policy::PolicyEnforcingResult::EnforcingResult IpFamilyPreferencePolicy::enforce(
    void* curlHandle) const {
    const std::optional<long> option = resolveOption(value_);
    const bool enforced = option && curl_easy_setopt(curlHandle, CURLOPT_IPRESOLVE, *option) == CURLE_OK;
    return enforced ? PolicyEnforcingResult::SUCCESS : PolicyEnforcingResult::ENFORCING_FAILURE;
}

const std::shared_ptr<IpFamilyPreferencePolicy>& IpFamilyPreferencePolicy::shared(PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<IpFamilyPreferencePolicy>, 3>{
        std::make_shared<IpFamilyPreferencePolicy>(PolicyValue::IPV4_ONLY),
        std::make_shared<IpFamilyPreferencePolicy>(PolicyValue::IPV6_ONLY),
        std::make_shared<IpFamilyPreferencePolicy>(PolicyValue::DUAL_STACK),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, IpFamilyPreferencePolicy::PolicyValue::Value value) {
    return stream << IpFamilyPreferencePolicy::PolicyValue::atString(value);
}

}  // namespace zeb::ip
