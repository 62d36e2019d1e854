#include "TestChain.h"

#include <atomic>
#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace zeb::cert::test {

namespace {

void require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

KeyHandle generate(EVP_PKEY_CTX* context) {
    EVP_PKEY* key = nullptr;
    const bool done = EVP_PKEY_keygen(context, &key) == 1;
    EVP_PKEY_CTX_free(context);
    require(done, "no key");
    return {key, &EVP_PKEY_free};
}

template <typename Write>
std::string writtenBy(const Write& write) {
    BIO* const bio = BIO_new(BIO_s_mem());
    require(write(bio) == 1, "no PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    std::string text(data, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

void setName(X509_NAME* name, const std::string& commonName) {
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1,
                                       0) == 1,
            "no name");
}

void setTimes(X509* certificate, const TestCertificateOptions& options) {
    require(
        X509_time_adj_ex(X509_getm_notBefore(certificate), options.validFromDays, 0, nullptr) != nullptr &&
            X509_time_adj_ex(X509_getm_notAfter(certificate), options.validToDays, 0, nullptr) != nullptr,
        "no times");
}

void addExtensions(X509* certificate, X509* issuer, const TestCertificateOptions& options) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    for (const auto& [name, value] : options.extensions) {
        X509_EXTENSION* const extension = X509V3_EXT_nconf(nullptr, &context, name.c_str(), value.c_str());
        require(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1, name.c_str());
        X509_EXTENSION_free(extension);
    }
}

void damageSignature(X509* certificate) {
    const ASN1_BIT_STRING* signature = nullptr;
    X509_get0_signature(&signature, nullptr, certificate);
    auto* const bits = const_cast<ASN1_BIT_STRING*>(signature);
    ASN1_BIT_STRING_set_bit(bits, 200, 1 - ASN1_BIT_STRING_get_bit(bits, 200));
}

}  // namespace

std::string TestCertificate::pem() const {
    return writtenBy([this](BIO* bio) { return PEM_write_bio_X509(bio, get()); });
}

std::string TestCertificate::rejectedPem() const {
    const X509Handle copy(X509_dup(get()));
    ASN1_OBJECT* const anyUse = OBJ_nid2obj(NID_anyExtendedKeyUsage);
    require(X509_add1_reject_object(copy.get(), anyUse) == 1, "no rejection");
    return writtenBy([&](BIO* bio) { return PEM_write_bio_X509_AUX(bio, copy.get()); });
}

std::string TestCertificate::revocationListPem() const {
    const CrlHandle list(X509_CRL_new());
    ASN1_TIME* const now = X509_gmtime_adj(nullptr, 0);
    require(X509_CRL_set_version(list.get(), 1) == 1 &&
                X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(get())) == 1 &&
                X509_CRL_set1_lastUpdate(list.get(), now) == 1 &&
                X509_CRL_set1_nextUpdate(list.get(), now) == 1 &&
                X509_CRL_sign(list.get(), key.get(), EVP_sha256()) > 0,
            "no revocation list");
    ASN1_TIME_free(now);
    return writtenBy([&](BIO* bio) { return PEM_write_bio_X509_CRL(bio, list.get()); });
}

KeyHandle newEcKey() {
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr);
    require(EVP_PKEY_keygen_init(context) == 1 &&
                EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context, NID_X9_62_prime256v1) == 1,
            "no curve");
    return generate(context);
}

KeyHandle newRsaKey(int bits) {
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr);
    require(EVP_PKEY_keygen_init(context) == 1 && EVP_PKEY_CTX_set_rsa_keygen_bits(context, bits) == 1,
            "no key length");
    return generate(context);
}

TestCertificateOptions asAuthority() {
    TestCertificateOptions options;
    options.extensions = {{"basicConstraints", "critical,CA:TRUE"},
                          {"keyUsage", "critical,keyCertSign,cRLSign"},
                          {"subjectKeyIdentifier", "hash"}};
    return options;
}

TestCertificate issue(const std::string& name, const TestCertificate* issuer,
                      const TestCertificateOptions& options) {
    static std::atomic<long> lastSerial{1000};
    TestCertificate made;
    made.key = options.key != nullptr ? options.key : newEcKey();
    made.certificate.reset(X509_new(), &X509_free);
    X509* const certificate = made.get();
    X509* const signer = issuer != nullptr ? issuer->get() : certificate;
    EVP_PKEY* const signingKey = issuer != nullptr ? issuer->key.get() : made.key.get();
    setName(X509_get_subject_name(certificate), name);
    setTimes(certificate, options);
    require(X509_set_version(certificate, options.version) == 1 &&
                ASN1_INTEGER_set(X509_get_serialNumber(certificate),
                                 options.serial != 0 ? options.serial : ++lastSerial) == 1 &&
                X509_set_issuer_name(certificate, X509_get_subject_name(signer)) == 1 &&
                X509_set_pubkey(certificate, made.key.get()) == 1,
            "no certificate");
    addExtensions(certificate, signer, options);
    require(X509_sign(certificate, signingKey, EVP_get_digestbyname(options.digest)) > 0, "not signed");
    if (options.damaged) {
        damageSignature(certificate);
    }
    return made;
}

HandshakeContext::HandshakeContext(const TestCertificate& leaf, const std::vector<TestCertificate>& sent)
    : certificates_(sent), chain_(sk_X509_new_null()), context_(X509_STORE_CTX_new()) {
    certificates_.push_back(leaf);
    for (const TestCertificate& certificate : sent) {
        sk_X509_push(chain_.get(), certificate.get());
    }
    require(X509_STORE_CTX_init(context_.get(), nullptr, leaf.get(), chain_.get()) == 1, "no context");
}

}  // namespace zeb::cert::test
