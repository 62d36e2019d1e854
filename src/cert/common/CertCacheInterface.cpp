#include "cert/common/CertCacheInterface.h"

#include "cert/common/CertificateValidityCache.h"

namespace zeb::cert {

void CertCacheInterface::clearInvalidCertificateCache() {
    CertificateValidityCache::clear();
}

void CertCacheInterface::clearAcceptedInvalidCerts() {
    CertificateValidityCache::clearAcceptedInvalidCerts();
}

}  // namespace zeb::cert
