#pragma once

#include "cert/utils/CertEncoding.h"
#include "core/Export.h"

#include <string>

struct x509_st;

namespace zeb::cert {

/// Certificates and digests as bytes and as text.
class ZEBNETUTILS_EXPORT CertUtils {
public:
    CertUtils() = delete;

    /// Two upper-case hexadecimal digits per byte, no separator. "" for a null pointer.
    static std::string bytesToString(const unsigned char* bytes, unsigned long length);

    /// Reads two hexadecimal digits at a time into `out` and returns how many bytes it has written: those
    /// before the first pair that isn't hexadecimal; a single digit at the end is no pair.
    ///
    /// `size` is no limit, but for 0, with which nothing is written: `out` must have room for half the length
    /// of `hex`.
    static unsigned long stringToBytes(std::string hex, char* out, unsigned long size);

    /// The certificate, which the caller must release with X509_free(); null when there is none to be read or
    /// the format isn't known. With PEM the data must end in a NUL, and `length` is not looked at.
    static x509_st* loadCertificate(const unsigned char* data, int length, CertEncoding::Format format);
};

}  // namespace zeb::cert
