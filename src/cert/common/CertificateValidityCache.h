#pragma once

#include "cert/common/CertStatus.h"
#include "core/Export.h"

#include <set>
#include <string>

struct evp_md_st;
struct x509_st;

namespace zeb::cert {

/// What has been decided about certificates in this process, by fingerprint: in memory only, without age or
/// limit. The key is the fingerprint alone, so a decision holds for every server that presents that
/// certificate. An entry's statuses are those that it was decided under.
///
/// Any thread may call. Each of the three stores has a mutex of its own; no operation holds two. A null
/// certificate has the empty fingerprint, as one that can't be digested: a key like any other.
///
/// Whatever takes an acceptance back (a removal, a clear, a rejection of the same certificate) takes it back
/// from kept connections, too: requests that begin afterwards get none that was opened before.
class ZEBNETUTILS_EXPORT CertificateValidityCache {
public:
    using Statuses = std::set<CertStatus::Status>;

    CertificateValidityCache() = delete;

    /// As below, with defaultType.
    static std::string generateFingerprint(const x509_st* certificate);
    /// The digest of the certificate in DER: each byte as two lower-case hexadecimal digits and a blank, the
    /// last one too. This very text is the key, and what a user is shown. Empty when the certificate can't be
    /// digested. The digest is OpenSSL's EVP_MD.
    static std::string generateFingerprint(const x509_st* certificate, const evp_md_st* digest);

    // For hosts; verifications only read the valid ones.

    /// Whether the certificate stands in the valid store, or was accepted although invalid.
    static bool verifyAcceptedCertificate(const x509_st* certificate);
    /// Whether it stands in the valid store.
    static bool verifyValidCertificate(const x509_st* certificate);
    static void addAcceptedValidCertificate(const x509_st* certificate);
    static bool findInAcceptedValidCache(const x509_st* certificate);
    static bool findInAcceptedValidCache(const std::string& fingerprint);
    static std::set<std::string> getAcceptedValidFingerprints();

    // The statuses under which a certificate was accepted, or rejected; empty when it never was.

    static Statuses getAcceptedInvalidCacheValue(const x509_st* certificate);
    static Statuses getAcceptedInvalidCacheValue(const std::string& fingerprint);
    static Statuses getRejectedInvalidCacheValue(const x509_st* certificate);
    static Statuses getRejectedInvalidCacheValue(const std::string& fingerprint);

    // Statuses are added to those that an entry holds already.

    static void addAcceptedInvalidCertificate(const x509_st* certificate, CertStatus::Status status);
    static void addAcceptedInvalidCertificate(const x509_st* certificate, const Statuses& statuses);
    static void addAcceptedInvalidCertificate(const std::string& fingerprint, CertStatus::Status status);
    static void addAcceptedInvalidCertificate(const std::string& fingerprint, const Statuses& statuses);
    static void addRejectedInvalidCertificate(const x509_st* certificate, CertStatus::Status status);
    static void addRejectedInvalidCertificate(const x509_st* certificate, const Statuses& statuses);
    static void addRejectedInvalidCertificate(const std::string& fingerprint, CertStatus::Status status);
    static void addRejectedInvalidCertificate(const std::string& fingerprint, const Statuses& statuses);

    static void removeFromAcceptedInvalidCache(const x509_st* certificate);
    static void removeFromAcceptedInvalidCache(const std::string& fingerprint);
    static void removeFromRejectedInvalidCache(const x509_st* certificate);
    static void removeFromRejectedInvalidCache(const std::string& fingerprint);

    // Only if the entry's statuses are still these: what another thread has decided meanwhile stays.

    static void removeFromAcceptedInvalidCache(const std::string& fingerprint, const Statuses& unchanged);
    static void removeFromRejectedInvalidCache(const std::string& fingerprint, const Statuses& unchanged);

    /// Forgets everything, one store after the other.
    static void clear();
    /// Forgets what was accepted although invalid; rejections and valid ones stay.
    static void clearAcceptedInvalidCerts();

private:
    static const evp_md_st* sha1();

public:
    /// The digest of fingerprints: SHA-1, which names a certificate here and proves nothing.
    inline static const evp_md_st* const defaultType = sha1();
};

}  // namespace zeb::cert
