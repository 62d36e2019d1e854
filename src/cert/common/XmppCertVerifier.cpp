#include "cert/common/XmppCertVerifier.h"

#include "cert/utils/AltNameParser.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/Identity.h"
#include "cert/utils/IdentityBuilder.h"
#include "core/Log.h"

#include <utility>

namespace zeb::cert {

XmppCertVerifier::XmppCertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier)
    : BaseCertVerifier(std::move(platformCertVerifier)) {}

XmppCertVerifier::~XmppCertVerifier() = default;

CertIdentifierStatus::Status XmppCertVerifier::checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                               const std::string& identifier) {
    ZEB_LOG_DEBUG(log::cert(), "Verifying XMPP identity '" << ZEBLogger_replacePIIData(identifier) << "'");
    return altNameParser->verifyXmpp(identifier);
}

CertResult XmppCertVerifier::verifyXmppCertificate(const x509_st* certificate, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(certificate),
                             IdentityBuilder().referenceIdentifiers(references).build());
}

CertResult XmppCertVerifier::verifyXmppCertificate(const x509_st* certificate, const Names& references,
                                                   const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(certificate),
        IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build());
}

CertResult XmppCertVerifier::verifyXmppCertificate(const x509_store_ctx_st* chain, const Names& references) {
    return verifyCertificate(getCertContainerFactory().buildCertContainer(chain),
                             IdentityBuilder().referenceIdentifiers(references).build());
}

CertResult XmppCertVerifier::verifyXmppCertificate(const x509_store_ctx_st* chain, const Names& references,
                                                   const std::string& display) {
    return verifyCertificate(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build());
}

bool XmppCertVerifier::verifyXmppCertificateAsync(
    const x509_store_ctx_st* chain, const Names& references,
    const std::shared_ptr<CertificateVerificationListener>& listener, CertResult& instantResult,
    unsigned int& requestId) {
    return verifyCertificateAsync(getCertContainerFactory().buildCertContainer(chain),
                                  IdentityBuilder().referenceIdentifiers(references).build(), listener,
                                  instantResult, requestId);
}

bool XmppCertVerifier::verifyXmppCertificateAsync(
    const x509_store_ctx_st* chain, const Names& references, const std::string& display,
    const std::shared_ptr<CertificateVerificationListener>& listener, CertResult& instantResult,
    unsigned int& requestId) {
    return verifyCertificateAsync(
        getCertContainerFactory().buildCertContainer(chain),
        IdentityBuilder().referenceIdentifiers(references).identifierToDisplay(display).build(), listener,
        instantResult, requestId);
}

}  // namespace zeb::cert
