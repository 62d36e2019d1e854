#pragma once

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

namespace zeb::test {

using Key = std::shared_ptr<EVP_PKEY>;

/// New keys. Those for RSA of 2048 bits and for DSA take a tenth of a second, those on curves none.
struct Keys {
    static Key rsa(int bits = 2048);
    static Key rsaPss(int bits = 2048);
    static Key ec(int curve = NID_X9_62_prime256v1);
    static Key dsa(int bits = 1024);
    static Key ed25519();
};

/// A certificate and the key that belongs to it.
struct IssuedCertificate {
    std::shared_ptr<X509> certificate;
    Key key;

    X509* get() const { return certificate.get(); }
    std::string der() const;
    std::string pem() const;
    /// PKCS #8, without a password.
    std::string keyPem() const;
    /// Into a file, for a server that reads its certificate from one.
    void writePem(const std::string& path) const;
    void writeKeyPem(const std::string& path) const;
};

/// The certificates' PEM one after the other, as a server's chain file or a bundle of roots has it.
std::string pemOf(const std::vector<IssuedCertificate>& certificates);
void writeFile(const std::string& path, const std::string& text);

/// Issues certificates, good and bad ones, so that none needs to be kept in a file:
///
///     const IssuedCertificate root = CertificateBuilder().commonName("Root").ca().build();
///     const IssuedCertificate server =
///         CertificateBuilder().commonName("a.test").dnsNames({"a.test"}).issuedBy(root).build();
///
/// What isn't said: an empty subject, self-signed, X.509 v3, no extension, a new key on the curve P-256,
/// SHA-256, a random serial number, valid from yesterday for a year. Every call of build() issues another
/// certificate; throws std::runtime_error when OpenSSL refuses.
///
/// Cross-signing: the same subject and key() under two issuers.
class CertificateBuilder {
public:
    CertificateBuilder& commonName(const std::string& text);
    /// One more entry of the subject: NID_commonName, V_ASN1_BMPSTRING and so on, with any bytes.
    CertificateBuilder& subjectEntry(int nid, int stringType, const std::string& bytes);
    CertificateBuilder& serial(long number);
    CertificateBuilder& validity(std::time_t from, std::time_t until);
    /// Ended yesterday.
    CertificateBuilder& expired();
    /// Begins tomorrow.
    CertificateBuilder& notYetValid();
    CertificateBuilder& key(Key key);
    /// The digest of the signature: EVP_sha1() and so on.
    CertificateBuilder& digest(const EVP_MD* digest);
    /// 1 to 3.
    CertificateBuilder& version(long number);

    /// In OpenSSL's words: (NID_key_usage, "critical,digitalSignature,keyEncipherment").
    CertificateBuilder& extension(int nid, const std::string& text);
    /// With these bytes for a value, whatever they are; the type is dotted.
    CertificateBuilder& rawExtension(const std::string& oid, const std::string& bytes, bool critical = false);
    /// The subject alternative names, complete values of Der.h's.
    CertificateBuilder& altNames(const std::vector<std::string>& generalNames);
    CertificateBuilder& dnsNames(const std::vector<std::string>& names);
    /// Basic constraints and key usage of an issuer; a path length of -1 is none.
    CertificateBuilder& ca(int pathLength = -1);

    /// An algorithm that nobody knows stands where the public key's does.
    CertificateBuilder& unreadablePublicKey();
    /// The last bit of the signature is another.
    CertificateBuilder& brokenSignature();

    CertificateBuilder& issuedBy(const IssuedCertificate& issuer);

    IssuedCertificate build() const;

private:
    struct SubjectEntry {
        int nid;
        int stringType;
        std::string bytes;
    };
    /// Adds an extension to `certificate`, whose issuer is `issuer`.
    using AddExtension = std::function<void(X509* certificate, X509* issuer)>;

    void fillIn(X509* certificate, EVP_PKEY* subjectKey) const;

    std::vector<SubjectEntry> subject_;
    long serial_ = 0;  ///< 0 for a random one
    std::time_t from_ = std::time(nullptr) - 24 * 3600;
    std::time_t until_ = std::time(nullptr) + 365 * 24 * 3600;
    Key key_;
    const EVP_MD* digest_ = EVP_sha256();
    long version_ = 3;
    std::vector<AddExtension> extensions_;
    bool unreadablePublicKey_ = false;
    bool brokenSignature_ = false;
    IssuedCertificate issuer_;
};

}  // namespace zeb::test
