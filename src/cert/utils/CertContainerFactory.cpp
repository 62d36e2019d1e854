#include "cert/utils/CertContainerFactory.h"

#include "cert/utils/CertContainerImpl.h"

namespace zeb::cert {

CertContainerFactory::~CertContainerFactory() = default;

std::shared_ptr<CertContainer> CertContainerFactory::buildCertContainer(const x509_st* leafCert) {
    return std::make_shared<CertContainerImpl>(leafCert);
}

std::shared_ptr<CertContainer> CertContainerFactory::buildCertContainer(const x509_store_ctx_st* certChain) {
    return std::make_shared<CertContainerImpl>(certChain);
}

}  // namespace zeb::cert
