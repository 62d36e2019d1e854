#pragma once

#include "core/Export.h"

#include <ostream>
#include <set>

namespace zeb::cert {

/// What is wrong with a certificate. One certificate can have many problems at once, so results hold a set.
struct CertStatus {
    enum Status : int {  // so that any number that a host puts in can be printed
        VALID = 0,
        INVALID_REVOKED = 1,  ///< never made valid, whatever the policies say
        INTERNAL_ERROR = 2,
        BASIC_CONSTRAINTS = 3,
        NO_REVOCATION_CHECK = 4,
        REVOCATION_OFFLINE = 5,
        UNTRUSTED_ROOT = 6,
        INVALID_SIGNATURE = 7,
        INVALID_CHAIN = 8,
        CN_NO_MATCH = 9,  ///< none of the names in the certificate is the expected one
        WRONG_USAGE = 10,
        EXPIRED = 11,
        INVALID_NAME = 12,
        INVALID_POLICY = 13,
        FAILED_TO_VERIFY_XMPP_SUBJECT_ALT_NAME = 14,
        REVOCATION_STATUS_UNKNOWN = 15,
        INVALID_EXTENSION = 16,
        CTL_IS_NOT_VALID = 17,
        INVALID_NAME_CONSTRAINT = 18,
        POLICY_NO_ISSUANCE = 19,
        EXPLICIT_DISTRUST = 20,
        NOT_SUPPORTED_CRITICAL_EXT = 21,
        IS_PARTIAL_CHAIN = 22,
        CERT_TRUST_CYCLIC = 23,
        NO_TIME_VALID = 24,
        WEAK_KEY = 25,
        UNKNOWN = 26,  ///< the platform refused the certificate and gave no reason
    };

    /// True for the empty set and for a set of exactly VALID.
    ZEBNETUTILS_EXPORT static bool representsVerificationSuccess(const std::set<Status>& statuses);
};

/// Prints the enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertStatus::Status status);

/// Prints "[", the names separated by one blank, "]".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            const std::set<CertStatus::Status>& statuses);

}  // namespace zeb::cert
