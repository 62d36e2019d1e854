#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::cert {

/// Whether a certificate's key is as strong as is asked of it.
struct CertKeyStrengthResult {
    enum Result : int {
        SUCCESS = 0,
        FAILURE = 1,
        INTERNAL_ERROR = 2,  ///< no certificate has been read
    };
};

/// Prints the enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertKeyStrengthResult::Result result);

}  // namespace zeb::cert
