#include "support/CertificateBuilder.h"

#include "support/Der.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <openssl/bio.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

namespace zeb::test {

namespace {

constexpr std::time_t DAY = 24 * 3600;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string(what) + ": " + ERR_error_string(ERR_get_error(), nullptr));
    }
}

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

KeyContext contextOf(int type) {
    KeyContext context(EVP_PKEY_CTX_new_id(type, nullptr), &EVP_PKEY_CTX_free);
    require(context != nullptr, "No such type of keys");
    return context;
}

Key own(EVP_PKEY* key) {
    return {key, &EVP_PKEY_free};
}

Key generate(EVP_PKEY_CTX* context) {
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_keygen(context, &key) == 1, "No key");
    return own(key);
}

Key generateRsa(int type, int bits) {
    const KeyContext context = contextOf(type);
    require(EVP_PKEY_keygen_init(context.get()) == 1, "No key");
    require(EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), bits) == 1, "No such size of keys");
    return generate(context.get());
}

std::shared_ptr<X509> own(X509* certificate) {
    require(certificate != nullptr, "No certificate");
    return {certificate, &X509_free};
}

template <typename Write>
std::string written(Write write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    require(write(bio.get()) == 1, "Not to be written");
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

/// As it would come over the wire, with nothing cached from its making.
std::shared_ptr<X509> decoded(const std::string& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    return own(d2i_X509(nullptr, &bytes, static_cast<long>(der.size())));
}

std::string encoded(X509* certificate) {
    return written([&](BIO* bio) { return i2d_X509_bio(bio, certificate); });
}

void setSerial(X509* certificate, long serial) {
    unsigned long random = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&random), sizeof(random)) == 1, "No random number");
    const long number = serial != 0 ? serial : static_cast<long>(random >> 1U);
    require(ASN1_INTEGER_set(X509_get_serialNumber(certificate), number) == 1, "No serial number");
}

void setUnreadablePublicKey(X509* certificate) {
    require(X509_PUBKEY_set0_param(X509_get_X509_PUBKEY(certificate), OBJ_txt2obj("1.2.3.4.5", 1),
                                   V_ASN1_NULL, nullptr, nullptr, 0) == 1,
            "No such public key");
}

void addText(X509* certificate, X509* issuer, int nid, const std::string& text) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, nid, const_cast<char*>(text.c_str())), &X509_EXTENSION_free);
    require(extension != nullptr, "No such extension");
    require(X509_add_ext(certificate, extension.get(), -1) == 1, "No extension");
}

void addBytes(X509* certificate, const std::string& oid, const std::string& bytes, bool critical) {
    const std::unique_ptr<ASN1_OBJECT, decltype(&ASN1_OBJECT_free)> type(OBJ_txt2obj(oid.c_str(), 1),
                                                                         &ASN1_OBJECT_free);
    const std::unique_ptr<ASN1_OCTET_STRING, decltype(&ASN1_OCTET_STRING_free)> value(
        ASN1_OCTET_STRING_new(), &ASN1_OCTET_STRING_free);
    require(type != nullptr && value != nullptr, "No such extension");
    ASN1_OCTET_STRING_set(value.get(), reinterpret_cast<const unsigned char*>(bytes.data()),
                          static_cast<int>(bytes.size()));
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509_EXTENSION_create_by_OBJ(nullptr, type.get(), critical ? 1 : 0, value.get()),
        &X509_EXTENSION_free);
    require(X509_add_ext(certificate, extension.get(), -1) == 1, "No extension");
}

}  // namespace

Key Keys::rsa(int bits) {
    return generateRsa(EVP_PKEY_RSA, bits);
}

Key Keys::rsaPss(int bits) {
    return generateRsa(EVP_PKEY_RSA_PSS, bits);
}

Key Keys::ec(int curve) {
    const KeyContext context = contextOf(EVP_PKEY_EC);
    require(EVP_PKEY_keygen_init(context.get()) == 1, "No key");
    require(EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), curve) == 1, "No such curve");
    require(EVP_PKEY_CTX_set_ec_param_enc(context.get(), OPENSSL_EC_NAMED_CURVE) == 1, "No such curve");
    return generate(context.get());
}

Key Keys::dsa(int bits) {
    const KeyContext parameterContext = contextOf(EVP_PKEY_DSA);
    EVP_PKEY* parameters = nullptr;
    require(EVP_PKEY_paramgen_init(parameterContext.get()) == 1, "No parameters");
    require(EVP_PKEY_CTX_set_dsa_paramgen_bits(parameterContext.get(), bits) == 1, "No such size of keys");
    require(EVP_PKEY_paramgen(parameterContext.get(), &parameters) == 1, "No parameters");
    const Key owned = own(parameters);
    const KeyContext context(EVP_PKEY_CTX_new(parameters, nullptr), &EVP_PKEY_CTX_free);
    require(EVP_PKEY_keygen_init(context.get()) == 1, "No key");
    return generate(context.get());
}

Key Keys::ed25519() {
    const KeyContext context = contextOf(EVP_PKEY_ED25519);
    require(EVP_PKEY_keygen_init(context.get()) == 1, "No key");
    return generate(context.get());
}

std::string IssuedCertificate::der() const {
    return encoded(get());
}

std::string IssuedCertificate::pem() const {
    return written([this](BIO* bio) { return PEM_write_bio_X509(bio, get()); });
}

std::string IssuedCertificate::keyPem() const {
    return written([this](BIO* bio) {
        return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
}

void IssuedCertificate::writePem(const std::string& path) const {
    writeFile(path, pem());
}

void IssuedCertificate::writeKeyPem(const std::string& path) const {
    writeFile(path, keyPem());
}

std::string pemOf(const std::vector<IssuedCertificate>& certificates) {
    std::string text;
    for (const IssuedCertificate& certificate : certificates) {
        text += certificate.pem();
    }
    return text;
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("Not to be written: " + path);
    }
}

CertificateBuilder& CertificateBuilder::commonName(const std::string& text) {
    return subjectEntry(NID_commonName, V_ASN1_UTF8STRING, text);
}

CertificateBuilder& CertificateBuilder::subjectEntry(int nid, int stringType, const std::string& bytes) {
    subject_.push_back({nid, stringType, bytes});
    return *this;
}

CertificateBuilder& CertificateBuilder::serial(long number) {
    serial_ = number;
    return *this;
}

CertificateBuilder& CertificateBuilder::validity(std::time_t from, std::time_t until) {
    from_ = from;
    until_ = until;
    return *this;
}

CertificateBuilder& CertificateBuilder::expired() {
    const std::time_t now = std::time(nullptr);
    return validity(now - 30 * DAY, now - DAY);
}

CertificateBuilder& CertificateBuilder::notYetValid() {
    const std::time_t now = std::time(nullptr);
    return validity(now + DAY, now + 30 * DAY);
}

CertificateBuilder& CertificateBuilder::key(Key key) {
    key_ = std::move(key);
    return *this;
}

CertificateBuilder& CertificateBuilder::digest(const EVP_MD* digest) {
    digest_ = digest;
    return *this;
}

CertificateBuilder& CertificateBuilder::version(long number) {
    version_ = number;
    return *this;
}

CertificateBuilder& CertificateBuilder::extension(int nid, const std::string& text) {
    extensions_.emplace_back(
        [nid, text](X509* certificate, X509* issuer) { addText(certificate, issuer, nid, text); });
    return *this;
}

CertificateBuilder& CertificateBuilder::rawExtension(const std::string& oid, const std::string& bytes,
                                                     bool critical) {
    extensions_.emplace_back([oid, bytes, critical](X509* certificate, X509* /*issuer*/) {
        addBytes(certificate, oid, bytes, critical);
    });
    return *this;
}

CertificateBuilder& CertificateBuilder::altNames(const std::vector<std::string>& generalNames) {
    return rawExtension("2.5.29.17", der::sequence(generalNames));
}

CertificateBuilder& CertificateBuilder::dnsNames(const std::vector<std::string>& names) {
    std::vector<std::string> values(names.size());
    std::transform(names.begin(), names.end(), values.begin(), der::dnsName);
    return altNames(values);
}

CertificateBuilder& CertificateBuilder::ca(int pathLength) {
    std::string constraints = "critical,CA:TRUE";
    if (pathLength >= 0) {
        constraints += ",pathlen:" + std::to_string(pathLength);
    }
    extension(NID_basic_constraints, constraints);
    extension(NID_subject_key_identifier, "hash");
    return extension(NID_key_usage, "critical,keyCertSign,cRLSign");
}

CertificateBuilder& CertificateBuilder::unreadablePublicKey() {
    unreadablePublicKey_ = true;
    return *this;
}

CertificateBuilder& CertificateBuilder::brokenSignature() {
    brokenSignature_ = true;
    return *this;
}

CertificateBuilder& CertificateBuilder::issuedBy(const IssuedCertificate& issuer) {
    issuer_ = issuer;
    return *this;
}

IssuedCertificate CertificateBuilder::build() const {
    const Key subjectKey = key_ != nullptr ? key_ : Keys::ec();
    const std::shared_ptr<X509> certificate = own(X509_new());
    fillIn(certificate.get(), subjectKey.get());

    X509* const issuer = issuer_.certificate != nullptr ? issuer_.get() : certificate.get();
    EVP_PKEY* const signingKey = issuer_.key != nullptr ? issuer_.key.get() : subjectKey.get();
    require(X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuer)) == 1, "No issuer");
    for (const AddExtension& addExtension : extensions_) {
        addExtension(certificate.get(), issuer);
    }
    const EVP_MD* const digest = EVP_PKEY_id(signingKey) == EVP_PKEY_ED25519 ? nullptr : digest_;
    require(X509_sign(certificate.get(), signingKey, digest) > 0, "Not to be signed");

    std::string bytes = encoded(certificate.get());
    if (brokenSignature_) {
        bytes.back() = static_cast<char>(static_cast<unsigned char>(bytes.back()) ^ 1U);
    }
    return {decoded(bytes), subjectKey};
}

void CertificateBuilder::fillIn(X509* certificate, EVP_PKEY* subjectKey) const {
    require(X509_set_version(certificate, version_ - 1) == 1, "No such version");
    setSerial(certificate, serial_);
    require(ASN1_TIME_adj(X509_getm_notBefore(certificate), from_, 0, 0) != nullptr, "No such time");
    require(ASN1_TIME_adj(X509_getm_notAfter(certificate), until_, 0, 0) != nullptr, "No such time");
    for (const SubjectEntry& entry : subject_) {
        require(X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), entry.nid, entry.stringType,
                                           reinterpret_cast<const unsigned char*>(entry.bytes.data()),
                                           static_cast<int>(entry.bytes.size()), -1, 0) == 1,
                "No such entry of a name");
    }
    require(X509_set_pubkey(certificate, subjectKey) == 1, "No public key");
    if (unreadablePublicKey_) {
        setUnreadablePublicKey(certificate);
    }
}

}  // namespace zeb::test
