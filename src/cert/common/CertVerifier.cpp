#include "cert/common/CertVerifier.h"

#include "cert/utils/AltNameParser.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/Identity.h"
#include "cert/utils/IdentityBuilder.h"
#include "core/Log.h"

#include <utility>

namespace zeb::cert {

namespace {

using Names = CertVerifier::Names;

// Whom a call's names tell of.

Identity identityOf(const std::string& reference) {
    return IdentityBuilder().referenceIdentifier(reference).build();
}

Identity identityOf(const std::string& reference, const std::string& display) {
    return IdentityBuilder().referenceIdentifier(reference).identifierToDisplay(display).build();
}

Identity identityOf(const Names& references) {
    return IdentityBuilder().referenceIdentifiers(references).build();
}

Identity identityOf(const std::string& mandatory, const Names& references) {
    return IdentityBuilder().mandatoryReferenceIdentifier(mandatory).referenceIdentifiers(references).build();
}

Identity identityOf(const Names& references, const std::string& display) {
    return IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build();
}

Identity identityOf(const std::string& mandatory, const Names& references, const std::string& display) {
    return IdentityBuilder()
        .mandatoryReferenceIdentifier(mandatory)
        .referenceIdentifiers(references)
        .identifierToDisplay(display)
        .build();
}

Identity identityOf(const std::string& sni, const std::string& mandatory, const Names& references) {
    return IdentityBuilder()
        .referenceIdentifierForSNI(sni)
        .mandatoryReferenceIdentifier(mandatory)
        .referenceIdentifiers(references)
        .build();
}

Identity identityOf(const std::string& sni, const std::string& mandatory, const Names& references,
                    const std::string& display) {
    return IdentityBuilder()
        .referenceIdentifierForSNI(sni)
        .mandatoryReferenceIdentifier(mandatory)
        .referenceIdentifiers(references)
        .identifierToDisplay(display)
        .build();
}

}  // namespace

CertVerifier::CertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier)
    : BaseCertVerifier(std::move(platformCertVerifier)) {}

CertVerifier::~CertVerifier() = default;

CertIdentifierStatus::Status CertVerifier::checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                           const std::string& identifier) {
    ZEB_LOG_DEBUG(log::cert(), "Verifying identity '" << ZEBLogger_replacePIIData(identifier) << "'");
    return altNameParser->verify(identifier);
}

template <typename Certificate, typename... Identifiers>
CertResult CertVerifier::verify(const Certificate* certificate, const Identifiers&... identifiers) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             identityOf(identifiers...));
}

// --- a certificate by itself ------------------------------------------------------------------------------

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& reference) {
    return verify(certificate, reference);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& reference,
                                           const std::string& display) {
    return verify(certificate, reference, display);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const Names& references) {
    return verify(certificate, references);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                           const Names& references) {
    return verify(certificate, mandatory, references);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const Names& references,
                                           const std::string& display) {
    return verify(certificate, references, display);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                           const Names& references, const std::string& display) {
    return verify(certificate, mandatory, references, display);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& sni,
                                           const std::string& mandatory, const Names& references) {
    return verify(certificate, sni, mandatory, references);
}

CertResult CertVerifier::verifyCertificate(const x509_st* certificate, const std::string& sni,
                                           const std::string& mandatory, const Names& references,
                                           const std::string& display) {
    return verify(certificate, sni, mandatory, references, display);
}

// --- the certificate of a handshake, with its chain -------------------------------------------------------

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference) {
    return verify(chain, reference);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference,
                                           const std::string& display) {
    return verify(chain, reference, display);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const Names& references) {
    return verify(chain, references);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                           const Names& references) {
    return verify(chain, mandatory, references);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const Names& references,
                                           const std::string& display) {
    return verify(chain, references, display);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                           const Names& references, const std::string& display) {
    return verify(chain, mandatory, references, display);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                           const std::string& mandatory, const Names& references) {
    return verify(chain, sni, mandatory, references);
}

CertResult CertVerifier::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                           const std::string& mandatory, const Names& references,
                                           const std::string& display) {
    return verify(chain, sni, mandatory, references, display);
}

// Hosts override these two, and an override may keep the listener.
// NOLINTBEGIN(performance-unnecessary-value-param)
bool CertVerifier::verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                          std::shared_ptr<CertificateVerificationListener> listener,
                                          CertResult& instantResult, unsigned int& requestId) {
    return verifyCertificateAsync(getCertContainerFactory().buildCertContainer(chain), identityOf(reference),
                                  listener, instantResult, requestId);
}

bool CertVerifier::verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                          const std::string& display,
                                          std::shared_ptr<CertificateVerificationListener> listener,
                                          CertResult& instantResult, unsigned int& requestId) {
    return verifyCertificateAsync(getCertContainerFactory().buildCertContainer(chain),
                                  identityOf(reference, display), listener, instantResult, requestId);
}
// NOLINTEND(performance-unnecessary-value-param)

}  // namespace zeb::cert
