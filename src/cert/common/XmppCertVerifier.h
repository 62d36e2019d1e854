#pragma once

#include "cert/common/BaseCertVerifier.h"
#include "cert/common/CertResult.h"
#include "core/Export.h"

#include <memory>
#include <string>
#include <vector>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

/// The verifier for XMPP servers: an identifier also matches an XMPP address or the SRV name of an XMPP
/// server (RFC 6120, 13.7). Otherwise like CertVerifier.
class ZEBNETUTILS_EXPORT XmppCertVerifier : public BaseCertVerifier {
public:
    using Names = std::vector<std::string>;

    explicit XmppCertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier);
    ~XmppCertVerifier() override;

    /// By AltNameParser::verifyXmpp.
    CertIdentifierStatus::Status checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                 const std::string& identifier) override;

    CertResult verifyXmppCertificate(const x509_st* certificate, const Names& references);
    CertResult verifyXmppCertificate(const x509_st* certificate, const Names& references,
                                     const std::string& display);
    CertResult verifyXmppCertificate(const x509_store_ctx_st* chain, const Names& references);
    CertResult verifyXmppCertificate(const x509_store_ctx_st* chain, const Names& references,
                                     const std::string& display);

    bool verifyXmppCertificateAsync(const x509_store_ctx_st* chain, const Names& references,
                                    const std::shared_ptr<CertificateVerificationListener>& listener,
                                    CertResult& instantResult, unsigned int& requestId);
    bool verifyXmppCertificateAsync(const x509_store_ctx_st* chain, const Names& references,
                                    const std::string& display,
                                    const std::shared_ptr<CertificateVerificationListener>& listener,
                                    CertResult& instantResult, unsigned int& requestId);
};

}  // namespace zeb::cert
