#include "cert/InvalidCertManagementPolicy.h"

#include "core/Log.h"

#include <array>

namespace zeb::cert {

std::string InvalidCertManagementPolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case SILENTLY_FAIL:
            return "SILENTLY_FAIL";
        case SILENTLY_SUCCEED:
            return "SILENTLY_SUCCEED";
        case PROMPT_USER:
            return "PROMPT_USER";
        case NOTIFY_USER_AND_SUCCEED:
            return "NOTIFY_USER_AND_SUCCEED";
        case NOTIFY_USER_AND_FAIL:
            return "NOTIFY_USER_AND_FAIL";
    }
    return std::to_string(static_cast<int>(value));
}

InvalidCertManagementPolicy::InvalidCertManagementPolicy(PolicyValue::Value value,
                                                         PolicyFailureClass::FailureClass failureClass)
    : InvalidCertManagementPolicy(value, false, failureClass) {}

InvalidCertManagementPolicy::InvalidCertManagementPolicy(PolicyValue::Value value, bool interactsWithUser,
                                                         PolicyFailureClass::FailureClass failureClass)
    : Policy(NATURE, failureClass, false), value_(value), interactsWithUser_(interactsWithUser) {}

InvalidCertManagementPolicy::~InvalidCertManagementPolicy() = default;

bool InvalidCertManagementPolicy::equals(const Policy& other) const {
    const auto* const same = dynamic_cast<const InvalidCertManagementPolicy*>(&other);
    return Policy::equals(other) && same != nullptr && value_ == same->value_ &&
           interactsWithUser_ == same->interactsWithUser_;
}

std::string InvalidCertManagementPolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool InvalidCertManagementPolicy::holdsRevoked(const std::set<CertStatus::Status>& statuses) {
    if (statuses.count(CertStatus::INVALID_REVOKED) == 0) {
        return false;
    }
    ZEB_LOG_WARNING(log::cert(),
                    "Invalid certificate management policy enforcement does not manage failures reporting "
                    "INVALID_REVOKED error");
    return true;
}

void InvalidCertManagementPolicy::logUnmanaged() const {
    ZEB_LOG_WARNING(log::cert(), "Unable to enforce this "
                                     << static_cast<int>(value_)
                                     << " InvalidCertManagementPolicy, unmanaged policy");
}

bool InvalidCertManagementPolicy::verifyEnforceability(const std::set<CertStatus::Status>&,
                                                       const std::shared_ptr<CertificateData>&) const {
    if (value_ == PolicyValue::SILENTLY_FAIL || value_ == PolicyValue::SILENTLY_SUCCEED) {
        return true;
    }
    logUnmanaged();
    return false;
}

common::Policy::PolicyEnforcingResult::EnforcingResult InvalidCertManagementPolicy::enforce(
    std::set<CertStatus::Status>& statuses, const std::shared_ptr<CertificateData>& data) const {
    if (!verifyEnforceability(statuses, data)) {
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    if (CertStatus::representsVerificationSuccess(statuses) || holdsRevoked(statuses)) {
        return PolicyEnforcingResult::SUCCESS;
    }
    switch (value_) {
        case PolicyValue::SILENTLY_FAIL:
            return PolicyEnforcingResult::SUCCESS;
        case PolicyValue::SILENTLY_SUCCEED:
            statuses = {CertStatus::VALID};
            return PolicyEnforcingResult::SUCCESS;
        default:  // reached by a subclass that calls more values enforceable
            logUnmanaged();
            return PolicyEnforcingResult::ENFORCING_FAILURE;
    }
}

const std::shared_ptr<InvalidCertManagementPolicy>& InvalidCertManagementPolicy::shared(
    PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<InvalidCertManagementPolicy>, 2>{
        std::make_shared<InvalidCertManagementPolicy>(PolicyValue::SILENTLY_FAIL, PolicyFailureClass::SOFT),
        std::make_shared<InvalidCertManagementPolicy>(PolicyValue::SILENTLY_SUCCEED,
                                                      PolicyFailureClass::SOFT),
    };
    return policies.at(value);
}

std::ostream& operator<<(std::ostream& stream, InvalidCertManagementPolicy::PolicyValue::Value value) {
    switch (value) {
        case InvalidCertManagementPolicy::PolicyValue::SILENTLY_SUCCEED:
            return stream << static_cast<int>(value);
        case InvalidCertManagementPolicy::PolicyValue::NOTIFY_USER_AND_SUCCEED:
            return stream << "NOTIFY_USER_AND_SUCCEEDE";
        default:
            return stream << InvalidCertManagementPolicy::PolicyValue::atString(value);
    }
}

std::ostream& operator<<(std::ostream& stream, const InvalidCertManagementPolicy& policy) {
    return stream << policy.getValue();
}

}  // namespace zeb::cert
