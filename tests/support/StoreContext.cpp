#include "support/StoreContext.h"

#include <stdexcept>

namespace zeb::test {

StoreContext::StoreContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent,
                           const std::vector<IssuedCertificate>& trusted)
    : store_(X509_STORE_new(), &X509_STORE_free),
      sent_(sk_X509_new_null()),
      leaf_(leaf.certificate),
      context_(X509_STORE_CTX_new(), &X509_STORE_CTX_free) {
    for (const IssuedCertificate& root : trusted) {
        X509_STORE_add_cert(store_.get(), root.get());
    }
    init(leaf, sent);
}

StoreContext::StoreContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent,
                           int nullAt)
    : StoreContext(leaf, sent) {
    sk_X509_insert(sent_.get(), nullptr, nullAt);
}

void StoreContext::init(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent) {
    for (const IssuedCertificate& certificate : sent) {
        X509_up_ref(certificate.get());
        sk_X509_push(sent_.get(), certificate.get());
    }
    if (X509_STORE_CTX_init(context_.get(), store_.get(), leaf.get(), sent_.get()) != 1) {
        throw std::runtime_error("No context");
    }
}

}  // namespace zeb::test
