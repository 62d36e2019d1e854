#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::cert {

/// Which purposes a certificate's key is for (RFC 5280, 4.2.1.12), as a bit mask of this library's own. The
/// purpose "any" has no bit: KeyUsageParser::isAnyExtendedKeyUsageSet() tells it.
struct ExtendedKeyUsage {
    enum Usage : int {
        SERVER_AUTH = 1,
        CLIENT_AUTH = 2,
        CODE_SIGNING = 4,
        EMAIL_PROTECTION = 8,
        IPSEC_END_SYSTEM = 16,
        IPSEC_TUNNEL = 32,
        IPSEC_USER = 64,
        TIME_STAMPING = 128,
        OCSP_SIGN = 256,
        DVCS = 512,
    };

    /// The bit of a purpose by OpenSSL's number for it; 0 for those that have none.
    ZEBNETUTILS_EXPORT static unsigned long fromNid(int nid);
    /// "[" the names of the mask's bits in ascending order, joined by ", " "]".
    ZEBNETUTILS_EXPORT static void print(std::ostream& stream, unsigned long mask);
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, ExtendedKeyUsage::Usage usage);

}  // namespace zeb::cert
