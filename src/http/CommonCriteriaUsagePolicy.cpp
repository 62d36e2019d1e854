#include "http/CommonCriteriaUsagePolicy.h"

#include <array>
#include <ostream>

#include <curl/curl.h>

namespace zeb::http {

const char* const CommonCriteriaUsagePolicy::cipherSuitsDefault =
    "EECDH+aRSA+AESGCM:HIGH:MEDIUM:!DH!DSS:!MD5:!DSS:!aNULL:!eNULL:!ADH:!LOW:!3DES:!EXP:!PSK:!SRP:!DSS:!RC4:"
    "!SEED";
const char* const CommonCriteriaUsagePolicy::cipherSuitsLimitation =
    "EECDH+aRSA+AESGCM:EECDH+ECDSA+AESGCM:EECDH+ECDSA+SHA256:EECDH+aRSA+SHA256:EECDH+ECDSA+SHA384:"
    "EECDH+aRSA+SHA384:!aNULL:!eNULL:!MEDIUM:!ADH:!LOW:!3DES:!MD5:!EXP:!PSK:!SRP:!DSS:!RC4:!SEED";
const char* const CommonCriteriaUsagePolicy::cipherSuitsAll = "ALL";

namespace {

bool restrictTls(void* easyHandle, long lowestVersion, const char* ciphers) {
    return curl_easy_setopt(easyHandle, CURLOPT_SSLVERSION, lowestVersion) == CURLE_OK &&
           curl_easy_setopt(easyHandle, CURLOPT_SSL_CIPHER_LIST, ciphers) == CURLE_OK;
}

}  // namespace

std::string CommonCriteriaUsagePolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case DISABLE_COMMON_CRITERIA_POLICY:
            return "DISABLE_COMMON_CRITERIA_POLICY";
        case ENABLE_COMMON_CRITERIA_POLICY:
            return "ENABLE_COMMON_CRITERIA_POLICY";
    }
    return std::to_string(static_cast<int>(value));
}

CommonCriteriaUsagePolicy::CommonCriteriaUsagePolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE, PolicyFailureClass::SOFT), value_(value) {}

CommonCriteriaUsagePolicy::~CommonCriteriaUsagePolicy() = default;

bool CommonCriteriaUsagePolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const CommonCriteriaUsagePolicy*>(&other);
    return Policy::equals(other) && same != nullptr && value_ == same->value_;
}

std::string CommonCriteriaUsagePolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool CommonCriteriaUsagePolicy::verifyEnforceability() const {
    return true;
}

bool CommonCriteriaUsagePolicy::isCommonCriteriaEnabled() const {
    return value_ == PolicyValue::ENABLE_COMMON_CRITERIA_POLICY;
}

std::string CommonCriteriaUsagePolicy::getCipherSuits() const {
    return isCommonCriteriaEnabled() ? cipherSuitsLimitation : cipherSuitsAll;
}

common::Policy::PolicyEnforcingResult::EnforcingResult CommonCriteriaUsagePolicy::enforce(
    void* easyHandle) const {
    bool enforced = false;
    switch (value_) {
        case PolicyValue::DISABLE_COMMON_CRITERIA_POLICY:
            enforced = restrictTls(easyHandle, CURL_SSLVERSION_DEFAULT, cipherSuitsDefault);
            break;
        case PolicyValue::ENABLE_COMMON_CRITERIA_POLICY:
            enforced = restrictTls(easyHandle, CURL_SSLVERSION_TLSv1_2, cipherSuitsLimitation);
            break;
    }
    return enforced ? PolicyEnforcingResult::SUCCESS : PolicyEnforcingResult::ENFORCING_FAILURE;
}

const std::shared_ptr<CommonCriteriaUsagePolicy>& CommonCriteriaUsagePolicy::shared(
    PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<CommonCriteriaUsagePolicy>, 2>{
        std::make_shared<CommonCriteriaUsagePolicy>(PolicyValue::DISABLE_COMMON_CRITERIA_POLICY),
        std::make_shared<CommonCriteriaUsagePolicy>(PolicyValue::ENABLE_COMMON_CRITERIA_POLICY),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, CommonCriteriaUsagePolicy::PolicyValue::Value value) {
    return stream << CommonCriteriaUsagePolicy::PolicyValue::atString(value);
}

}  // namespace zeb::http
