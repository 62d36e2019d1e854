#include "cert/utils/CertContainerImpl.h"

#include "core/Log.h"

#include <openssl/x509_vfy.h>

namespace zeb::cert {

namespace {

/// OpenSSL's operations that only read take pointers to what is not const, before release 3 nearly all.
template <typename T>
T* writable(const T* object) {
    return const_cast<T*>(object);
}

}  // namespace

CertContainerImpl::CertContainerImpl() = default;

CertContainerImpl::CertContainerImpl(const x509_st* leafCert) : leafCert_(leafCert), isLeafCert_(true) {}

CertContainerImpl::CertContainerImpl(const x509_store_ctx_st* certChain) : certChain_(certChain) {}

bool CertContainerImpl::isValid() const {
    return hasValidLeafCert();
}

x509_st* CertContainerImpl::getLeafCert() const {
    if (!hasValidLeafCert()) {
        ZEB_LOG_ERROR(log::cert(),
                      "Unexpected condition. Unable to return a leaf cert when hasValidLeafCert fails");
        return nullptr;
    }
    return isLeafCert_ ? writable(leafCert_) : X509_STORE_CTX_get0_cert(writable(certChain_));
}

bool CertContainerImpl::isLeafCert() const {
    return isLeafCert_;
}

bool CertContainerImpl::hasValidLeafCert() const {
    if (isLeafCert_) {
        return leafCert_ != nullptr;
    }
    return certChain_ != nullptr && X509_STORE_CTX_get0_cert(writable(certChain_)) != nullptr;
}

x509_store_ctx_st* CertContainerImpl::getCertChain() const {
    if (isLeafCert_) {
        ZEB_LOG_ERROR(log::cert(), "Unexpected condition. Unable to return a cert chain from a leaf cert");
        return nullptr;
    }
    return writable(certChain_);
}

}  // namespace zeb::cert
