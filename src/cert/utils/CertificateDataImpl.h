#pragma once

#include "cert/utils/CertificateData.h"

#include <memory>
#include <string>
#include <vector>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

class CertContainer;

/// Copies what it needs: what it is built from may go. Built from nothing, it is empty.
class ZEBNETUTILS_EXPORT CertificateDataImpl : public CertificateData {
public:
    CertificateDataImpl(std::string fingerprint, std::vector<std::string> pem, std::string commonName);
    explicit CertificateDataImpl(const std::shared_ptr<CertContainer>& certContainer);
    /// A PEM list of one.
    explicit CertificateDataImpl(const x509_st* cert);
    /// The PEM list holds the server's certificate, then all certificates that came with the handshake, in
    /// their order; as a rule the server's own is the first of those again.
    explicit CertificateDataImpl(const x509_store_ctx_st* certChain);

    std::string getFingerprint() const override;
    std::vector<std::string> getPem() const override;
    /// All bytes of the name, a NUL among them too: what a user is shown must not end early.
    std::string getCommonName() const override;

private:
    void readChain(const x509_store_ctx_st* certChain);
    bool readCertificate(const x509_st* cert);

    std::string fingerprint_;
    std::string commonName_;
    std::vector<std::string> pem_;
};

}  // namespace zeb::cert
