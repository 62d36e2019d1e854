#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::cert {

/// What a certificate's key may be used for (RFC 5280, 4.2.1.3), as a bit mask of this library's own.
struct BasicKeyUsage {
    enum Usage : int {
        DIGITAL_SIGNATURE = 1,
        NON_REPUDIATION = 2,
        KEY_ENCIPHERMENT = 4,
        DATA_ENCIPHERMENT = 8,
        KEY_AGREEMENT = 16,
        KEY_CERT_SIGN = 32,
        CRL_SIGN = 64,
        ENCIPHER_ONLY = 128,
        DECIPHER_ONLY = 256,
    };

    /// The mask of what X509_get_key_usage() answers: nine bits for its answer of all ones, which stands for
    /// a certificate that restricts nothing.
    ZEBNETUTILS_EXPORT static unsigned long fromX509KeyUsage(unsigned long keyUsage);
    /// "[" the names of the mask's bits in ascending order, joined by ", " "]".
    ZEBNETUTILS_EXPORT static void print(std::ostream& stream, unsigned long mask);
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, BasicKeyUsage::Usage usage);

}  // namespace zeb::cert
