#include "cert/common/CertCacheInterface.h"

#include "cert/common/CertificateValidityCache.h"
#include "common/TrustEpoch.h"

namespace zeb::cert {

void CertCacheInterface::clearInvalidCertificateCache() {
    CertificateValidityCache::clear();
    common::TrustEpoch::advance();
}

void CertCacheInterface::clearAcceptedInvalidCerts() {
    CertificateValidityCache::clearAcceptedInvalidCerts();
    common::TrustEpoch::advance();
}

}  // namespace zeb::cert
