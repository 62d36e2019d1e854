#include "cert/utils/CertificateDataFactory.h"

#include "cert/utils/CertificateDataImpl.h"

#include <utility>

namespace zeb::cert {

CertificateDataFactory::~CertificateDataFactory() = default;

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(
    std::shared_ptr<CertContainer> certContainer) {
    return std::make_shared<CertificateDataImpl>(std::move(certContainer));
}

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(const x509_st* cert) {
    return std::make_shared<CertificateDataImpl>(cert);
}

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(
    const x509_store_ctx_st* certChain) {
    return std::make_shared<CertificateDataImpl>(certChain);
}

}  // namespace zeb::cert
