#pragma once

#include "cert/common/CertIdentifierStatus.h"
#include "cert/common/CertKeyStrengthResult.h"
#include "cert/common/CertKeyUsageResult.h"
#include "cert/common/CertStatus.h"
#include "core/Export.h"

#include <ostream>
#include <set>

namespace zeb::cert {

/// The verdict on one certificate and what led to it. A new one is a failure: success has to be found.
struct ZEBNETUTILS_EXPORT CertResult {
    enum Result : int {  // so that any number that a host puts in can be printed
        SUCCESS = 0,     ///< the connection may go on
        FAILURE = 1,
        POLICY_NOT_ENFORCED_ERROR = 2,  ///< the policy that should have decided could not
    };

    Result result = FAILURE;
    bool fingerprintValid = false;  ///< for hosts; the verifiers never set it
    /// What is wrong; of a success {VALID}, or what was left once conditions were ignored, which may be
    /// nothing.
    std::set<CertStatus::Status> statuses;
    CertIdentifierStatus identifierStatus;
    CertKeyUsageResult::Result keyUsageResult = CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND;
    CertKeyStrengthResult::Result keyStrengthResult = CertKeyStrengthResult::FAILURE;

    /// The same with the matched identifier hidden: what may go into a log.
    CertResult loggable() const;
};

/// Prints the enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertResult::Result result);
/// In one line, the matched identifier in clear.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const CertResult& result);

}  // namespace zeb::cert
