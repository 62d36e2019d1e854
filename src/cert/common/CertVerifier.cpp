#include "cert/common/CertVerifier.h"

#include "cert/utils/AltNameParser.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/Identity.h"
#include "cert/utils/IdentityBuilder.h"
#include "core/Log.h"

#include <utility>

namespace zeb::cert {

CertVerifier::CertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier)
    : BaseCertVerifier(std::move(platformCertVerifier)) {}

CertVerifier::~CertVerifier() = default;

CertIdentifierStatus::Status CertVerifier::checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                           const std::string& identifier) {
    ZEB_LOG_DEBUG(log::cert(), "Verifying identity '" << ZEBLogger_replacePIIData(identifier) << "'");
    return altNameParser->verify(identifier);
}

// --- a certificate by itself ------------------------------------------------------------------------------

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& reference) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder().referenceIdentifier(reference).build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& reference,
                                           const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(certificate),
        IdentityBuilder().referenceIdentifier(reference).identifierToDisplay(display).build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder().referenceIdentifiers(references).build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                           const Names& references) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(certificate),
        IdentityBuilder().mandatoryReferenceIdentifier(mandatory).referenceIdentifiers(references).build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const Names& references,
                                           const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(certificate),
        IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                           const Names& references, const std::string& display) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder()
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .identifierToDisplay(display)
                                 .build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& sni,
                                           const std::string& mandatory, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder()
                                 .referenceIdentifierForSNI(sni)
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .build());
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& sni,
                                           const std::string& mandatory, const Names& references,
                                           const std::string& display) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder()
                                 .referenceIdentifierForSNI(sni)
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .identifierToDisplay(display)
                                 .build());
}

// --- the certificate of a handshake, with its chain -------------------------------------------------------

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder().referenceIdentifier(reference).build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference,
                                           const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().referenceIdentifier(reference).identifierToDisplay(display).build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder().referenceIdentifiers(references).build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                           const Names& references) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().mandatoryReferenceIdentifier(mandatory).referenceIdentifiers(references).build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const Names& references,
                                           const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                           const Names& references, const std::string& display) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder()
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .identifierToDisplay(display)
                                 .build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                           const std::string& mandatory, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder()
                                 .referenceIdentifierForSNI(sni)
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .build());
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                           const std::string& mandatory, const Names& references,
                                           const std::string& display) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder()
                                 .referenceIdentifierForSNI(sni)
                                 .mandatoryReferenceIdentifier(mandatory)
                                 .referenceIdentifiers(references)
                                 .identifierToDisplay(display)
                                 .build());
}

bool CertVerifier::verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                          std::shared_ptr<CertificateVerificationListener> listener,
                                          CertResult& instantResult, unsigned int& requestId) {
    return verifyCertificateAsync(getCertContainerFactory().buildCertContainer(chain),
                                  IdentityBuilder().referenceIdentifier(reference).build(), listener,
                                  instantResult, requestId);
}

bool CertVerifier::verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                          const std::string& display,
                                          std::shared_ptr<CertificateVerificationListener> listener,
                                          CertResult& instantResult, unsigned int& requestId) {
    return verifyCertificateAsync(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().referenceIdentifier(reference).identifierToDisplay(display).build(), listener,
        instantResult, requestId);
}

}  // namespace zeb::cert
