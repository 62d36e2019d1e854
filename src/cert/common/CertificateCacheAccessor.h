#pragma once

#include "cert/common/CertAcceptanceDecision.h"
#include "cert/common/CertStatus.h"
#include "core/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::cert {

class InvalidCertManagementPolicy;
class UserInteractingInvalidCertManagementPolicy;

/// The rules for reading the CertificateValidityCache on behalf of one verification, and for writing a user's
/// decision into it. Lives within one verification, on its thread.
///
/// Only a policy that interacts with the user, and allows that the user isn't asked again, reads the cache.
class ZEBNETUTILS_EXPORT CertificateCacheAccessor {
public:
    /// Whether the user has decided so already; its numbers are fixed.
    struct AlreadyDecided {
        enum Answer : int { YES = 0, NO = 1, FAILURE = 2 };
    };

    /// The statuses stay the caller's and must outlive the accessor: an acceptance found in the cache
    /// rewrites them to {VALID}.
    CertificateCacheAccessor(const std::string& fingerprint, std::set<CertStatus::Status>& statuses,
                             std::shared_ptr<InvalidCertManagementPolicy> policy);
    ~CertificateCacheAccessor();

    /// NO for a certificate that was rejected, YES for one that was accepted, in this order. UNKNOWN when the
    /// policy doesn't read the cache, and when the cache says nothing; POLICY_ENFORCEMENT_ERROR when the
    /// policy failed to judge what it says.
    CertAcceptanceDecision::Decision buildDecisionFromCache() const;
    /// Whether buildDecisionFromCache has been called: a verification that has looked relies on what it saw.
    bool hasLookedIntoCache() const { return lookedIntoCache_; }

    /// Whether a rejection covers the statuses: each was there when the user rejected, or the policy's
    /// transitions allow it. One that doesn't is removed: the user will be asked afresh.
    AlreadyDecided::Answer hasBeenAlreadyRejectedByUser(
        const std::shared_ptr<UserInteractingInvalidCertManagementPolicy>& policy) const;
    /// The same for an acceptance. On YES the statuses become {VALID}; so they do for a certificate that
    /// stands in the valid store.
    AlreadyDecided::Answer hasBeenAlreadyAcceptedByUser(
        const std::shared_ptr<UserInteractingInvalidCertManagementPolicy>& policy) const;

    /// Remembers that the user has decided about these statuses.
    void updateCacheAccepted() const;
    void updateCacheRejected() const;

private:
    AlreadyDecided::Answer isCoveredByTransitions(const UserInteractingInvalidCertManagementPolicy& policy,
                                                  const std::set<CertStatus::Status>& cached) const;

    const std::string fingerprint_;
    std::set<CertStatus::Status>& statuses_;
    const std::shared_ptr<InvalidCertManagementPolicy> policy_;
    mutable bool lookedIntoCache_ = false;
};

}  // namespace zeb::cert
