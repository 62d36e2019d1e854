#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace zeb::cert::test {

struct TestChainDeleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_CRL* list) const { X509_CRL_free(list); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(STACK_OF(X509) * chain) const { sk_X509_free(chain); }
    void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
};
using X509Handle = std::unique_ptr<X509, TestChainDeleter>;
using CrlHandle = std::unique_ptr<X509_CRL, TestChainDeleter>;
using KeyHandle = std::shared_ptr<EVP_PKEY>;

/// A certificate with its key, so that it can sign others. A copy is the same certificate.
struct TestCertificate {
    std::shared_ptr<X509> certificate;
    KeyHandle key;

    X509* get() const { return certificate.get(); }
    std::string pem() const;
    /// As "TRUSTED CERTIFICATE" that is rejected for every use.
    std::string rejectedPem() const;
    /// A revocation list of this issuer's, with nobody on it.
    std::string revocationListPem() const;
};

/// What a certificate is to be. As it stands: a P-256 key of its own, SHA-256, valid since yesterday.
struct TestCertificateOptions {
    std::vector<std::pair<std::string, std::string>> extensions;  ///< as in OpenSSL's configuration files
    int validFromDays = -1;
    int validToDays = 30;
    const char* digest = "SHA256";
    KeyHandle key;         ///< null: a new one
    long version = 2;      ///< 2 is X.509 v3
    long serial = 0;       ///< 0: one that no other has
    bool damaged = false;  ///< a bit of the signature is wrong
};

KeyHandle newEcKey();
KeyHandle newRsaKey(int bits);

/// The extensions of a certificate authority.
TestCertificateOptions asAuthority();

/// Signed by `issuer`, or by itself where that is null.
TestCertificate issue(const std::string& name, const TestCertificate* issuer,
                      const TestCertificateOptions& options = {});

/// A context as a handshake passes it: the certificate of a server, and what it sent with it.
class HandshakeContext {
public:
    HandshakeContext(const TestCertificate& leaf, const std::vector<TestCertificate>& sent);

    const X509_STORE_CTX* get() const { return context_.get(); }

private:
    std::vector<TestCertificate> certificates_;
    std::unique_ptr<STACK_OF(X509), TestChainDeleter> chain_;
    std::unique_ptr<X509_STORE_CTX, TestChainDeleter> context_;
};

}  // namespace zeb::cert::test
