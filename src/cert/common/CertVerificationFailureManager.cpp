#include "cert/common/CertVerificationFailureManager.h"

#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertificateCacheAccessor.h"
#include "cert/utils/CertificateData.h"
#include "core/Log.h"

namespace zeb::cert {

namespace {

using Decision = CertAcceptanceDecision::Decision;
using common::Policy;

/// Null for no policy, for the unknown one, and for one of another class.
std::shared_ptr<InvalidCertManagementPolicy> asManagementPolicy(const std::shared_ptr<Policy>& policy) {
    return policy == nullptr || policy->getNature() == Policy::PolicyNature::UNKNOWN
               ? nullptr
               : std::dynamic_pointer_cast<InvalidCertManagementPolicy>(policy);
}

std::string fingerprintOf(const std::shared_ptr<CertificateData>& data) {
    return data == nullptr ? std::string() : data->getFingerprint();
}

/// What a user is shown of a certificate.
struct Shown {
    std::string commonName;
    std::string leafPem;
    std::vector<std::string> chainPem;
};

Shown shownOf(const std::shared_ptr<CertificateData>& data) {
    Shown shown;
    std::vector<std::string> pem;
    if (data != nullptr) {
        shown.commonName = data->getCommonName();
        pem = data->getPem();
    }
    if (shown.commonName.empty()) {
        ZEB_LOG_WARNING(log::cert(), "The certificate common name is empty, replacing with Unknown.");
        shown.commonName = "Unknown";
    }
    if (pem.empty()) {
        ZEB_LOG_WARNING(log::cert(), "The certificate data PEM list is empty.");
        return shown;
    }
    shown.leafPem = pem.front();
    shown.chainPem.assign(pem.begin() + 1, pem.end());
    return shown;
}

}  // namespace

Decision CertVerificationFailureManager::manageCertValidationFailure(
    const std::shared_ptr<CertificateData>& data, const std::string& identifier,
    const std::string& identifierToDisplay, Statuses& statuses, const std::shared_ptr<Policy>& policy) {
    ZEB_LOG_DEBUG(log::cert(), "About to manage Invalid Cert.");
    if (CertStatus::representsVerificationSuccess(statuses)) {
        ZEB_LOG_INFO(log::cert(), "Accepting the provided cert because its status represents a valid cert.");
        return CertAcceptanceDecision::YES;
    }
    const auto managementPolicy = asManagementPolicy(policy);
    if (managementPolicy == nullptr) {
        ZEB_LOG_WARNING(log::cert(),
                        "Invalid certificate management policy not available, cannot take any action, "
                        "rejecting");
        return CertAcceptanceDecision::NO;
    }
    const CertificateCacheAccessor accessor(fingerprintOf(data), statuses, managementPolicy);
    const Decision cached = accessor.buildDecisionFromCache();
    if (cached == CertAcceptanceDecision::UNKNOWN) {
        return canBeAccepted(data, identifier, identifierToDisplay, statuses, managementPolicy, accessor);
    }
    ZEB_LOG_INFO(log::cert(), "Cert Acceptance decision: " << cached);
    return cached;
}

Decision CertVerificationFailureManager::checkCertificateCachedDecision(
    const std::shared_ptr<CertificateData>& data, Statuses& statuses, const std::shared_ptr<Policy>& policy) {
    const auto managementPolicy = asManagementPolicy(policy);
    if (managementPolicy == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "Invalid certificate management policy not available");
        return CertAcceptanceDecision::UNKNOWN;
    }
    if (!managementPolicy->interactsWithUser()) {
        ZEB_LOG_WARNING(log::cert(), "Invalid certificate management policy not interacting with the cache");
        return CertAcceptanceDecision::UNKNOWN;
    }
    return CertificateCacheAccessor(fingerprintOf(data), statuses, managementPolicy).buildDecisionFromCache();
}

Decision CertVerificationFailureManager::canBeAccepted(
    const std::shared_ptr<CertificateData>& data, const std::string& identifier,
    const std::string& identifierToDisplay, Statuses& statuses,
    const std::shared_ptr<InvalidCertManagementPolicy>& policy, const CertificateCacheAccessor& accessor) {
    ZEB_LOG_DEBUG(log::cert(), "About to check if the Invalid Cert can be accepted.");
    const auto interacting = std::dynamic_pointer_cast<UserInteractingInvalidCertManagementPolicy>(policy);
    // One that says it interacts, but isn't of the class that can, is left to its own enforce.
    if (interacting == nullptr || !interacting->interactsWithUser()) {
        ZEB_LOG_DEBUG(log::cert(), "About to enforce InvalidCertManagementPolicy.");
        return managePolicyEnforcementResult(policy->enforce(statuses, data), statuses);
    }
    const Shown shown = shownOf(data);
    ZEB_LOG_DEBUG(log::cert(), "About to enforce UserInteractingInvalidCertManagementPolicy.");
    return managePolicyEnforcementResult(
        interacting->enforce(statuses, shown.commonName, identifier, identifierToDisplay, fingerprintOf(data),
                             shown.leafPem, shown.chainPem, accessor),
        statuses);
}

Decision CertVerificationFailureManager::managePolicyEnforcementResult(
    Policy::PolicyEnforcingResult::EnforcingResult result, const Statuses& statuses) {
    if (result != Policy::PolicyEnforcingResult::SUCCESS) {
        ZEB_LOG_WARNING(log::cert(), "Invalid certificate management policy not enforced");
        return CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR;
    }
    return CertStatus::representsVerificationSuccess(statuses) ? CertAcceptanceDecision::YES
                                                               : CertAcceptanceDecision::NO;
}

}  // namespace zeb::cert
