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

/// The verifier for servers that are known by DNS names: HTTPS and its like.
///
/// A reference identifier is a name of which the certificate must carry one; the mandatory identifier is a
/// name that it must carry besides; a match of the SNI identifier, the name asked for in the handshake
/// (RFC 6066), is enough by itself. The identifier to display is how a user knows the server. At least one
/// reference identifier must be given, whatever else is, and a mandatory or SNI identifier must not be empty:
/// otherwise the result is a FAILURE with INTERNAL_ERROR.
///
/// Certificates and store contexts belong to the caller, and are used during the call only. OpenSSL wants its
/// X509 for itself: two threads must not verify the same one at once.
class ZEBNETUTILS_EXPORT CertVerifier : public BaseCertVerifier {
public:
    using Names = std::vector<std::string>;

    explicit CertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier);
    ~CertVerifier() override;

    /// By AltNameParser::verify.
    CertIdentifierStatus::Status checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                 const std::string& identifier) override;

    using BaseCertVerifier::verifyCertificate;
    using BaseCertVerifier::verifyCertificateAsync;

    // A certificate by itself.
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& reference);
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& reference,
                                         const std::string& display);
    virtual CertResult verifyCertificate(const x509_st* certificate, const Names& references);
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                         const Names& references);
    virtual CertResult verifyCertificate(const x509_st* certificate, const Names& references,
                                         const std::string& display);
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& mandatory,
                                         const Names& references, const std::string& display);
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& sni,
                                         const std::string& mandatory, const Names& references);
    virtual CertResult verifyCertificate(const x509_st* certificate, const std::string& sni,
                                         const std::string& mandatory, const Names& references,
                                         const std::string& display);

    // The certificate of a handshake, with the chain that came along.
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& reference,
                                         const std::string& display);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const Names& references);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                         const Names& references);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const Names& references,
                                         const std::string& display);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& mandatory,
                                         const Names& references, const std::string& display);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                         const std::string& mandatory, const Names& references);
    virtual CertResult verifyCertificate(const x509_store_ctx_st* chain, const std::string& sni,
                                         const std::string& mandatory, const Names& references,
                                         const std::string& display);

    virtual bool verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                        std::shared_ptr<CertificateVerificationListener> listener,
                                        CertResult& instantResult, unsigned int& requestId);
    virtual bool verifyCertificateAsync(const x509_store_ctx_st* chain, const std::string& reference,
                                        const std::string& display,
                                        std::shared_ptr<CertificateVerificationListener> listener,
                                        CertResult& instantResult, unsigned int& requestId);

private:
    /// What all overloads of verifyCertificate() come to.
    template <typename Certificate, typename... Identifiers>
    CertResult verify(const Certificate* certificate, const Identifiers&... identifiers);
};

}  // namespace zeb::cert
