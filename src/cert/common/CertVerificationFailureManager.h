#pragma once

#include "cert/common/CertAcceptanceDecision.h"
#include "cert/common/CertStatus.h"
#include "common/Policy.h"
#include "core/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::cert {

class CertificateCacheAccessor;
class CertificateData;
class InvalidCertManagementPolicy;

/// Decides about a certificate that failed: by what the user has decided before, else by the policy of nature
/// INVALID_CERT_MANAGEMENT. Any thread; never throws. A null certificate data counts as one without content.
class ZEBNETUTILS_EXPORT CertVerificationFailureManager {
public:
    using Statuses = std::set<CertStatus::Status>;

    CertVerificationFailureManager() = delete;

    /// Blocks as long as the user takes, if the policy asks one. On YES the statuses are {VALID}, or were a
    /// success before. A policy of another class, and none at all, gives NO.
    static CertAcceptanceDecision::Decision manageCertValidationFailure(
        const std::shared_ptr<CertificateData>& data, const std::string& identifier,
        const std::string& identifierToDisplay, Statuses& statuses,
        const std::shared_ptr<common::Policy>& policy);

    /// The decision of before alone: asks nobody and enforces nothing. UNKNOWN when there is none. On YES the
    /// statuses are {VALID}.
    static CertAcceptanceDecision::Decision checkCertificateCachedDecision(
        const std::shared_ptr<CertificateData>& data, Statuses& statuses,
        const std::shared_ptr<common::Policy>& policy);

private:
    static CertAcceptanceDecision::Decision canBeAccepted(
        const std::shared_ptr<CertificateData>& data, const std::string& identifier,
        const std::string& identifierToDisplay, Statuses& statuses,
        const std::shared_ptr<InvalidCertManagementPolicy>& policy, const CertificateCacheAccessor& accessor);
    static CertAcceptanceDecision::Decision managePolicyEnforcementResult(
        common::Policy::PolicyEnforcingResult::EnforcingResult result, const Statuses& statuses);
};

}  // namespace zeb::cert
