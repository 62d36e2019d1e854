#include "cert/utils/CertificateDataFactory.h"

#include "cert/utils/CertificateDataImpl.h"

namespace zeb::cert {

CertificateDataFactory::~CertificateDataFactory() = default;

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(
    // NOLINTNEXTLINE(performance-unnecessary-value-param): hosts override it, and an override may keep it
    std::shared_ptr<CertContainer> certContainer) {
    return std::make_shared<CertificateDataImpl>(certContainer);
}

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(const x509_st* cert) {
    return std::make_shared<CertificateDataImpl>(cert);
}

std::shared_ptr<CertificateData> CertificateDataFactory::buildCertificateData(
    const x509_store_ctx_st* certChain) {
    return std::make_shared<CertificateDataImpl>(certChain);
}

}  // namespace zeb::cert
