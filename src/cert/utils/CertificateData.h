#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb::cert {

/// A snapshot of what users are shown of a certificate and what decisions are remembered by. Never changes
/// once built, so any thread may read it.
class ZEBNETUTILS_EXPORT CertificateData {
public:
    virtual ~CertificateData();

    /// As of CertificateValidityCache::generateFingerprint. Empty when there is no certificate.
    virtual std::string getFingerprint() const = 0;
    /// The certificate, then the chain that the server sent with it, each in PEM (RFC 7468).
    virtual std::vector<std::string> getPem() const = 0;
    /// The subject's common name; empty when it has none.
    virtual std::string getCommonName() const = 0;
};

}  // namespace zeb::cert
