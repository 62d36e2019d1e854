#include "cert/common/CertificateValidityCache.h"

#include "common/TrustEpoch.h"
#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

#include <algorithm>
#include <cstddef>
#include <map>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace zeb::cert {

namespace {

using common::TrustEpoch;
using Statuses = CertificateValidityCache::Statuses;
using Decisions = std::map<std::string, Statuses>;

struct Stores {
    Mutex acceptedInvalidFingerprintsMapMutex_;  ///< guards the next
    Decisions acceptedInvalidFingerprints_;
    Mutex rejectedInvalidFingerprintsMapMutex_;  ///< guards the next
    Decisions rejectedInvalidFingerprints_;
    Mutex acceptedValidFingerprintsMutex_;  ///< guards the next
    std::set<std::string> acceptedValidFingerprints_;
};

/// Made on first use and never destroyed: threads that still verify while the process ends find it intact.
Stores& stores() {
    static auto& instance = *new Stores;
    return instance;
}

Statuses valueOf(Mutex& mutex, const Decisions& decisions, const std::string& fingerprint) {
    const ScopedLock lock(mutex);
    const auto entry = decisions.find(fingerprint);
    return entry == decisions.end() ? Statuses() : entry->second;
}

/// Whether anything was added.
bool merge(Mutex& mutex, Decisions& decisions, const std::string& fingerprint, const Statuses& statuses) {
    const ScopedLock lock(mutex);
    Statuses& entry = decisions[fingerprint];
    const std::size_t before = entry.size();
    entry.insert(statuses.begin(), statuses.end());
    return entry.size() != before;
}

/// Whether there was anything to remove.
bool remove(Mutex& mutex, Decisions& decisions, const std::string& fingerprint) {
    const ScopedLock lock(mutex);
    return decisions.erase(fingerprint) != 0;
}

/// As above.
bool removeUnchanged(Mutex& mutex, Decisions& decisions, const std::string& fingerprint,
                     const Statuses& unchanged) {
    const ScopedLock lock(mutex);
    const auto entry = decisions.find(fingerprint);
    if (entry == decisions.end() || entry->second != unchanged) {
        return false;
    }
    decisions.erase(entry);
    return true;
}

template <typename Store>
void forget(Mutex& mutex, Store& store) {
    const ScopedLock lock(mutex);
    store.clear();
}

bool holdsAcceptedInvalid(const std::string& fingerprint) {
    const ScopedLock lock(stores().acceptedInvalidFingerprintsMapMutex_);
    return stores().acceptedInvalidFingerprints_.count(fingerprint) != 0;
}

bool isAccepted(const std::string& fingerprint) {
    return CertificateValidityCache::findInAcceptedValidCache(fingerprint) ||
           holdsAcceptedInvalid(fingerprint);
}

/// "0a 1b ": a blank behind every byte.
std::string asText(const unsigned char* bytes, unsigned int size) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(std::size_t{3} * size);
    std::for_each(bytes, bytes + size, [&](unsigned char byte) {
        text.append({DIGITS[byte >> 4U], DIGITS[byte & 0xFU], ' '});
    });
    return text;
}

/// Empty, and logged, when there is none.
std::string fingerprintToJudge(const x509_st* certificate) {
    std::string fingerprint = CertificateValidityCache::generateFingerprint(certificate);
    if (fingerprint.empty()) {
        ZEB_LOG_INFO(log::cert(), "Fingerprint was empty!");
    }
    return fingerprint;
}

}  // namespace

const evp_md_st* CertificateValidityCache::sha1() {
    return EVP_sha1();
}

std::string CertificateValidityCache::generateFingerprint(const x509_st* certificate) {
    return generateFingerprint(certificate, defaultType);
}

std::string CertificateValidityCache::generateFingerprint(const x509_st* certificate,
                                                          const evp_md_st* digest) {
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (certificate == nullptr || digest == nullptr || X509_digest(certificate, digest, bytes, &size) != 1) {
        ZEB_LOG_ERROR(log::cert(), "Could not generate fingerprint.");
        return {};
    }
    return asText(bytes, size);
}

bool CertificateValidityCache::verifyAcceptedCertificate(const x509_st* certificate) {
    const std::string fingerprint = fingerprintToJudge(certificate);
    if (fingerprint.empty()) {
        return false;
    }
    if (isAccepted(fingerprint)) {
        return true;
    }
    ZEB_LOG_INFO(log::cert(), "Fingerprint is not trusted!");
    return false;
}

bool CertificateValidityCache::verifyValidCertificate(const x509_st* certificate) {
    const std::string fingerprint = fingerprintToJudge(certificate);
    if (fingerprint.empty()) {
        return false;
    }
    if (findInAcceptedValidCache(fingerprint)) {
        return true;
    }
    ZEB_LOG_INFO(log::cert(), "Fingerprint is not trusted as valid!");
    return false;
}

void CertificateValidityCache::addAcceptedValidCertificate(const x509_st* certificate) {
    const std::string fingerprint = generateFingerprint(certificate);
    const ScopedLock lock(stores().acceptedValidFingerprintsMutex_);
    stores().acceptedValidFingerprints_.insert(fingerprint);
}

bool CertificateValidityCache::findInAcceptedValidCache(const x509_st* certificate) {
    return findInAcceptedValidCache(generateFingerprint(certificate));
}

bool CertificateValidityCache::findInAcceptedValidCache(const std::string& fingerprint) {
    const ScopedLock lock(stores().acceptedValidFingerprintsMutex_);
    return stores().acceptedValidFingerprints_.count(fingerprint) != 0;
}

std::set<std::string> CertificateValidityCache::getAcceptedValidFingerprints() {
    const ScopedLock lock(stores().acceptedValidFingerprintsMutex_);
    return stores().acceptedValidFingerprints_;
}

Statuses CertificateValidityCache::getAcceptedInvalidCacheValue(const x509_st* certificate) {
    return getAcceptedInvalidCacheValue(generateFingerprint(certificate));
}

Statuses CertificateValidityCache::getAcceptedInvalidCacheValue(const std::string& fingerprint) {
    return valueOf(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_,
                   fingerprint);
}

Statuses CertificateValidityCache::getRejectedInvalidCacheValue(const x509_st* certificate) {
    return getRejectedInvalidCacheValue(generateFingerprint(certificate));
}

Statuses CertificateValidityCache::getRejectedInvalidCacheValue(const std::string& fingerprint) {
    return valueOf(stores().rejectedInvalidFingerprintsMapMutex_, stores().rejectedInvalidFingerprints_,
                   fingerprint);
}

void CertificateValidityCache::addAcceptedInvalidCertificate(const x509_st* certificate,
                                                             CertStatus::Status status) {
    addAcceptedInvalidCertificate(generateFingerprint(certificate), status);
}

void CertificateValidityCache::addAcceptedInvalidCertificate(const x509_st* certificate,
                                                             const Statuses& statuses) {
    addAcceptedInvalidCertificate(generateFingerprint(certificate), statuses);
}

void CertificateValidityCache::addAcceptedInvalidCertificate(const std::string& fingerprint,
                                                             CertStatus::Status status) {
    addAcceptedInvalidCertificate(fingerprint, Statuses{status});
}

void CertificateValidityCache::addAcceptedInvalidCertificate(const std::string& fingerprint,
                                                             const Statuses& statuses) {
    merge(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_, fingerprint,
          statuses);
}

void CertificateValidityCache::addRejectedInvalidCertificate(const x509_st* certificate,
                                                             CertStatus::Status status) {
    addRejectedInvalidCertificate(generateFingerprint(certificate), status);
}

void CertificateValidityCache::addRejectedInvalidCertificate(const x509_st* certificate,
                                                             const Statuses& statuses) {
    addRejectedInvalidCertificate(generateFingerprint(certificate), statuses);
}

void CertificateValidityCache::addRejectedInvalidCertificate(const std::string& fingerprint,
                                                             CertStatus::Status status) {
    addRejectedInvalidCertificate(fingerprint, Statuses{status});
}

void CertificateValidityCache::addRejectedInvalidCertificate(const std::string& fingerprint,
                                                             const Statuses& statuses) {
    const bool added = merge(stores().rejectedInvalidFingerprintsMapMutex_,
                             stores().rejectedInvalidFingerprints_, fingerprint, statuses);
    // A rejection wins over an acceptance, so connections that the latter let through aren't lent any more.
    if (added && isAccepted(fingerprint)) {
        TrustEpoch::advance();
    }
}

void CertificateValidityCache::removeFromAcceptedInvalidCache(const x509_st* certificate) {
    removeFromAcceptedInvalidCache(generateFingerprint(certificate));
}

void CertificateValidityCache::removeFromAcceptedInvalidCache(const std::string& fingerprint) {
    if (remove(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_,
               fingerprint)) {
        TrustEpoch::advance();
    }
}

void CertificateValidityCache::removeFromRejectedInvalidCache(const x509_st* certificate) {
    removeFromRejectedInvalidCache(generateFingerprint(certificate));
}

void CertificateValidityCache::removeFromRejectedInvalidCache(const std::string& fingerprint) {
    remove(stores().rejectedInvalidFingerprintsMapMutex_, stores().rejectedInvalidFingerprints_, fingerprint);
}

void CertificateValidityCache::removeFromAcceptedInvalidCache(const std::string& fingerprint,
                                                              const Statuses& unchanged) {
    if (removeUnchanged(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_,
                        fingerprint, unchanged)) {
        TrustEpoch::advance();
    }
}

void CertificateValidityCache::removeFromRejectedInvalidCache(const std::string& fingerprint,
                                                              const Statuses& unchanged) {
    removeUnchanged(stores().rejectedInvalidFingerprintsMapMutex_, stores().rejectedInvalidFingerprints_,
                    fingerprint, unchanged);
}

void CertificateValidityCache::clear() {
    ZEB_LOG_INFO(log::cert(), "Clearing accepted and rejected certificates from memory");
    forget(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_);
    forget(stores().rejectedInvalidFingerprintsMapMutex_, stores().rejectedInvalidFingerprints_);
    forget(stores().acceptedValidFingerprintsMutex_, stores().acceptedValidFingerprints_);
    TrustEpoch::advance();
}

void CertificateValidityCache::clearAcceptedInvalidCerts() {
    ZEB_LOG_INFO(log::cert(), "Clearing accepted invalid certificates from memory");
    forget(stores().acceptedInvalidFingerprintsMapMutex_, stores().acceptedInvalidFingerprints_);
    TrustEpoch::advance();
}

}  // namespace zeb::cert
