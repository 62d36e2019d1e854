#pragma once

#include "cert/common/CertKeyUsageResult.h"
#include "cert/utils/BasicKeyUsage.h"
#include "cert/utils/ExtendedKeyUsage.h"
#include "core/Export.h"

#include <vector>

struct x509_st;

namespace zeb::cert {

/// Reads what a certificate's key may be used for. Belongs to one verification, on one thread.
class ZEBNETUTILS_EXPORT KeyUsageParser {
public:
    virtual ~KeyUsageParser();

    /// Reads the certificate, which it doesn't keep. SUCCESS, or INTERNAL_ERROR for a null pointer, as a
    /// CertKeyUsageResult::Result.
    virtual int parse(const x509_st* cert) = 0;
    virtual bool parsed() const = 0;

    /// SUCCESS when the certificate has every usage of the list, so for an empty list too. INTERNAL_ERROR
    /// when no certificate has been read.
    virtual CertKeyUsageResult::Result verifyBasicKeyUsage(
        const std::vector<BasicKeyUsage::Usage>& usages) const = 0;
    virtual CertKeyUsageResult::Result verifyExtendedKeyUsage(
        const std::vector<ExtendedKeyUsage::Usage>& usages) const = 0;

    /// Whether there is any usage; a certificate that restricts nothing has them all.
    virtual bool hasBasicKeyUsage() const = 0;
    /// Whether the certificate names any purpose, also one that this library doesn't know.
    virtual bool hasExtendedKeyUsage() const = 0;
    virtual bool isAnyExtendedKeyUsageSet() const = 0;
};

}  // namespace zeb::cert
