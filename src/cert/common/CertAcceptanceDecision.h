#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::cert {

/// What the policies, or a decision remembered, say of a certificate that failed.
struct CertAcceptanceDecision {
    enum Decision : int {
        YES = 0,
        NO = 1,
        POLICY_ENFORCEMENT_ERROR = 2,  ///< the policy could not be enforced
        UNKNOWN = 3,                   ///< nothing is known yet
    };
};

/// Prints the enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertAcceptanceDecision::Decision decision);

}  // namespace zeb::cert
