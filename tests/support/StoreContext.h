#pragma once

#include "support/CertificateBuilder.h"

#include <memory>
#include <vector>

#include <openssl/x509_vfy.h>

namespace zeb::test {

/// A certificate and what came with it, as a handshake's verify callback gets them. Nothing has been
/// verified.
class StoreContext {
public:
    /// `sent` is the chain as the server sent it; trusted certificates are roots.
    explicit StoreContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent = {},
                          const std::vector<IssuedCertificate>& trusted = {});
    /// With a null entry in the chain at that index.
    StoreContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent, int nullAt);

    X509_STORE_CTX* get() const { return context_.get(); }

private:
    struct FreeStack {
        void operator()(STACK_OF(X509) * stack) const { sk_X509_pop_free(stack, &X509_free); }
    };

    void init(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent);

    const std::shared_ptr<X509_STORE> store_;
    const std::unique_ptr<STACK_OF(X509), FreeStack> sent_;
    const std::shared_ptr<X509> leaf_;
    const std::shared_ptr<X509_STORE_CTX> context_;
};

}  // namespace zeb::test
