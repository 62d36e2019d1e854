#pragma once

#include "cert/common/CertKeyStrengthResult.h"
#include "core/Export.h"

struct x509_st;

namespace zeb::cert {

/// Reads how strong a certificate's key is. Belongs to one verification, on one thread.
class ZEBNETUTILS_EXPORT KeyStrengthParser {
public:
    virtual ~KeyStrengthParser();

    /// Reads the certificate, which it doesn't keep. SUCCESS, or INTERNAL_ERROR for a null pointer, as a
    /// CertKeyStrengthResult::Result.
    virtual int parse(const x509_st* cert) = 0;
    virtual bool parsed() const = 0;

    /// FAILURE for a key of fewer bits; a key on an elliptic curve is always strong enough. INTERNAL_ERROR
    /// when no certificate has been read.
    virtual CertKeyStrengthResult::Result verify(int minimumBits) const = 0;
};

}  // namespace zeb::cert
