#pragma once

#include "support/CertificateBuilder.h"

#include <memory>
#include <string>
#include <vector>

#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {

using zeb::test::CertificateBuilder;
using zeb::test::IssuedCertificate;

/// What a certificate authority says of itself.
CertificateBuilder asAuthority();

/// With that name, signed by `issuer`, or by itself where that is null.
IssuedCertificate issue(const std::string& name, const IssuedCertificate* issuer,
                        CertificateBuilder builder = {});

/// As "TRUSTED CERTIFICATE" that is rejected for every use.
std::string rejectedPemOf(const IssuedCertificate& certificate);
/// A revocation list of this issuer's, with nobody on it.
std::string revocationListPemOf(const IssuedCertificate& issuer);

/// A context as a handshake passes it: the certificate of a server, and what it sent with it.
class HandshakeContext {
public:
    HandshakeContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent);

    const X509_STORE_CTX* get() const { return context_.get(); }

private:
    struct Deleter {
        void operator()(STACK_OF(X509) * chain) const { sk_X509_free(chain); }
        void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
    };

    std::vector<IssuedCertificate> certificates_;
    const std::unique_ptr<STACK_OF(X509), Deleter> chain_;
    const std::unique_ptr<X509_STORE_CTX, Deleter> context_;
};

}  // namespace zeb::cert::test
