#include "TestChain.h"

#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/pem.h>

namespace zeb::cert::test {

namespace {

void require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

template <typename Write>
std::string writtenBy(const Write& write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    require(write(bio.get()) == 1, "no PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

}  // namespace

CertificateBuilder asAuthority() {
    return CertificateBuilder().ca();
}

IssuedCertificate issue(const std::string& name, const IssuedCertificate* issuer,
                        CertificateBuilder builder) {
    if (issuer != nullptr) {
        builder.issuedBy(*issuer);
    }
    return builder.commonName(name).build();
}

std::string rejectedPemOf(const IssuedCertificate& certificate) {
    const std::unique_ptr<X509, decltype(&X509_free)> copy(X509_dup(certificate.get()), &X509_free);
    require(X509_add1_reject_object(copy.get(), OBJ_nid2obj(NID_anyExtendedKeyUsage)) == 1, "no rejection");
    return writtenBy([&](BIO* bio) { return PEM_write_bio_X509_AUX(bio, copy.get()); });
}

std::string revocationListPemOf(const IssuedCertificate& issuer) {
    const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> list(X509_CRL_new(), &X509_CRL_free);
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> now(X509_gmtime_adj(nullptr, 0),
                                                                    &ASN1_TIME_free);
    require(X509_CRL_set_version(list.get(), 1) == 1 &&
                X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(issuer.get())) == 1 &&
                X509_CRL_set1_lastUpdate(list.get(), now.get()) == 1 &&
                X509_CRL_set1_nextUpdate(list.get(), now.get()) == 1 &&
                X509_CRL_sign(list.get(), issuer.key.get(), EVP_sha256()) > 0,
            "no revocation list");
    return writtenBy([&](BIO* bio) { return PEM_write_bio_X509_CRL(bio, list.get()); });
}

HandshakeContext::HandshakeContext(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent)
    : certificates_(sent), chain_(sk_X509_new_null()), context_(X509_STORE_CTX_new()) {
    certificates_.push_back(leaf);
    for (const IssuedCertificate& certificate : sent) {
        sk_X509_push(chain_.get(), certificate.get());
    }
    require(X509_STORE_CTX_init(context_.get(), nullptr, leaf.get(), chain_.get()) == 1, "no context");
}

}  // namespace zeb::cert::test
