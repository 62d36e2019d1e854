#include "cert/common/CertificateCacheAccessor.h"

#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertificateValidityCache.h"
#include "core/Log.h"

#include <algorithm>
#include <utility>

namespace zeb::cert {

namespace {

using Statuses = std::set<CertStatus::Status>;

bool includesAll(const Statuses& known, const Statuses& current) {
    return std::includes(known.begin(), known.end(), current.begin(), current.end());
}

}  // namespace

CertificateCacheAccessor::CertificateCacheAccessor(const std::string& fingerprint, Statuses& statuses,
                                                   std::shared_ptr<InvalidCertManagementPolicy> policy)
    : fingerprint_(fingerprint), statuses_(statuses), policy_(std::move(policy)) {}

CertificateCacheAccessor::~CertificateCacheAccessor() = default;

CertAcceptanceDecision::Decision CertificateCacheAccessor::buildDecisionFromCache() const {
    lookedIntoCache_ = true;
    if (policy_ == nullptr || !policy_->interactsWithUser()) {
        ZEB_LOG_DEBUG(log::cert(), "Policy does not interact with the user");
        return CertAcceptanceDecision::UNKNOWN;
    }
    const auto policy = std::dynamic_pointer_cast<UserInteractingInvalidCertManagementPolicy>(policy_);
    if (policy == nullptr || !policy->isUserInteractionAvoidable()) {
        ZEB_LOG_DEBUG(log::cert(), "User interaction is unavoidable");
        return CertAcceptanceDecision::UNKNOWN;
    }
    // Rejections first: one of them wins over an acceptance of the same certificate.
    switch (const AlreadyDecided::Answer rejected = hasBeenAlreadyRejectedByUser(policy)) {
        case AlreadyDecided::YES:
            ZEB_LOG_INFO(log::cert(),
                         "Certificate cached as rejected for fingerprint [" << fingerprint_ << "]");
            return CertAcceptanceDecision::NO;
        case AlreadyDecided::FAILURE:
            ZEB_LOG_WARNING(log::cert(), "Unable to check rejected certificate cache content: "
                                             << rejected << " Fingerprint: [" << fingerprint_ << "]");
            return CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR;
        case AlreadyDecided::NO:
            break;
    }
    switch (const AlreadyDecided::Answer accepted = hasBeenAlreadyAcceptedByUser(policy)) {
        case AlreadyDecided::YES:
            ZEB_LOG_INFO(log::cert(),
                         "Certificate cached as accepted for fingerprint [" << fingerprint_ << "]");
            return CertAcceptanceDecision::YES;
        case AlreadyDecided::FAILURE:
            ZEB_LOG_WARNING(log::cert(), "Unable to check accepted certificate cache content: "
                                             << accepted << " Fingerprint: [" << fingerprint_ << "]");
            return CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR;
        case AlreadyDecided::NO:
            break;
    }
    return CertAcceptanceDecision::UNKNOWN;
}

CertificateCacheAccessor::AlreadyDecided::Answer CertificateCacheAccessor::isCoveredByTransitions(
    const UserInteractingInvalidCertManagementPolicy& policy, const Statuses& cached) const {
    bool canBeAccepted = false;
    const auto result = policy.enforceWithoutUserInteraction(cached, statuses_, canBeAccepted);
    if (result != common::Policy::PolicyEnforcingResult::SUCCESS) {
        ZEB_LOG_WARNING(log::cert(), "UserInteractingInvalidCertManagementPolicy not enforced: " << result);
        return AlreadyDecided::FAILURE;
    }
    if (!canBeAccepted) {
        ZEB_LOG_DEBUG(log::cert(),
                      "Invalid Certificate management Policy rejected the failure reason give the cached "
                      "ones, removing cache entry if any");
        return AlreadyDecided::NO;
    }
    ZEB_LOG_DEBUG(log::cert(),
                  "Invalid Certificate management Policy accepted the failure reason give the cached ones, "
                  "updating the cache with those reasons");
    return AlreadyDecided::YES;
}

CertificateCacheAccessor::AlreadyDecided::Answer CertificateCacheAccessor::hasBeenAlreadyRejectedByUser(
    const std::shared_ptr<UserInteractingInvalidCertManagementPolicy>& policy) const {
    if (policy == nullptr) {
        return AlreadyDecided::FAILURE;
    }
    const Statuses cached = CertificateValidityCache::getRejectedInvalidCacheValue(fingerprint_);
    if (includesAll(cached, statuses_)) {
        return AlreadyDecided::YES;
    }
    const AlreadyDecided::Answer covered = isCoveredByTransitions(*policy, cached);
    if (covered == AlreadyDecided::NO) {
        // Not blindly: a user may have decided since the entry was read, and must not be asked again.
        CertificateValidityCache::removeFromRejectedInvalidCache(fingerprint_, cached);
    } else if (covered == AlreadyDecided::YES) {
        CertificateValidityCache::addRejectedInvalidCertificate(fingerprint_, statuses_);
    }
    return covered;
}

CertificateCacheAccessor::AlreadyDecided::Answer CertificateCacheAccessor::hasBeenAlreadyAcceptedByUser(
    const std::shared_ptr<UserInteractingInvalidCertManagementPolicy>& policy) const {
    if (policy == nullptr) {
        return AlreadyDecided::FAILURE;
    }
    if (CertificateValidityCache::findInAcceptedValidCache(fingerprint_)) {
        statuses_ = {CertStatus::VALID};
        return AlreadyDecided::YES;
    }
    const Statuses cached = CertificateValidityCache::getAcceptedInvalidCacheValue(fingerprint_);
    if (includesAll(cached, statuses_)) {
        statuses_ = {CertStatus::VALID};
        return AlreadyDecided::YES;
    }
    const AlreadyDecided::Answer covered = isCoveredByTransitions(*policy, cached);
    if (covered == AlreadyDecided::NO) {
        CertificateValidityCache::removeFromAcceptedInvalidCache(fingerprint_, cached);  // as above
    } else if (covered == AlreadyDecided::YES) {
        CertificateValidityCache::addAcceptedInvalidCertificate(fingerprint_, statuses_);
        statuses_ = {CertStatus::VALID};
    }
    return covered;
}

void CertificateCacheAccessor::updateCacheAccepted() const {
    ZEB_LOG_INFO(log::cert(), "Adding the certificate to accepted invalid certificate cache, fingerprint ["
                                  << fingerprint_ << "]");
    CertificateValidityCache::addAcceptedInvalidCertificate(fingerprint_, statuses_);
}

void CertificateCacheAccessor::updateCacheRejected() const {
    ZEB_LOG_INFO(log::cert(), "Adding the certificate to rejected invalid certificate cache, fingerprint ["
                                  << fingerprint_ << "]");
    CertificateValidityCache::addRejectedInvalidCertificate(fingerprint_, statuses_);
}

}  // namespace zeb::cert
