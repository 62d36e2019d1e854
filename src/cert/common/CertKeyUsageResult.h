#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::cert {

/// Whether a certificate's key may be used for what is asked of it (RFC 5280, 4.2.1.3 and 4.2.1.12).
struct CertKeyUsageResult {
    enum Result : int {
        SUCCESS = 0,
        NO_MATCHING_BASIC_KEY_USAGE_FOUND = 1,
        NO_MATCHING_EXTENDED_KEY_USAGE_FOUND = 2,
        INTERNAL_ERROR = 3,  ///< no certificate has been read
    };
};

/// Prints the enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertKeyUsageResult::Result result);

}  // namespace zeb::cert
