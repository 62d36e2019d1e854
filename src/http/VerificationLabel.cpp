#include "http/VerificationLabel.h"

#include "common/TrustEpoch.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/SSLData.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>

#include <curl/curl.h>
#include <openssl/evp.h>

namespace zeb::http {

namespace {

/// Tells verifiers apart for as long as the process runs: an address alone may be that of a verifier which
/// has gone.
class VerifierNumbers {
public:
    std::uint64_t of(const std::shared_ptr<CertVerifier>& verifier) {
        if (verifier == nullptr) {
            return 0;
        }
        const ScopedLock lock(mutex_);
        const auto found = numbers_.find(verifier);
        if (found != numbers_.end()) {
            return found->second;
        }
        forgetThoseThatHaveGone();
        return numbers_[verifier] = next_++;
    }

private:
    void forgetThoseThatHaveGone() {
        for (auto entry = numbers_.begin(); entry != numbers_.end();) {
            entry = entry->first.expired() ? numbers_.erase(entry) : std::next(entry);
        }
    }

    Mutex mutex_;  ///< guards numbers_ and next_
    std::map<std::weak_ptr<CertVerifier>, std::uint64_t, std::owner_less<>> numbers_;
    std::uint64_t next_ = 1;
};

/// Never destroyed: transfers may run while the process ends.
VerifierNumbers& verifierNumbers() {
    static auto& instance = *new VerifierNumbers;
    return instance;
}

void append(std::string& text, std::uint64_t number) {
    text.append(reinterpret_cast<const char*>(&number), sizeof number);
}

/// No two lists of fields give the same text: each is preceded by its length.
void append(std::string& text, const std::string& field) {
    append(text, std::uint64_t{field.size()});
    text.append(field);
}

/// In hexadecimal; empty when OpenSSL has no SHA-256 for us.
std::string digestOf(const std::string& text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
        return "";
    }
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string hexadecimal;
    for (unsigned int i = 0; i < size; ++i) {
        hexadecimal += DIGITS[digest[i] >> 4];
        hexadecimal += DIGITS[digest[i] & 0xF];
    }
    return hexadecimal;
}

}  // namespace

std::string VerificationLabel::of(const SSLData& sslData, long acceptableTlsVersions) {
    thread_local std::string text;
    text.clear();
    append(text, verifierNumbers().of(sslData.certVerifier));
    append(text, common::TrustEpoch::current());
    append(text, static_cast<std::uint64_t>(sslData.identityMatchModel));
    append(text, static_cast<std::uint64_t>(acceptableTlsVersions));
    append(text, sslData.sniServerName);
    // Usually empty before the handshake, which then takes the URL's host: that one libcurl compares itself.
    append(text, sslData.serverCurlFQDN);
    for (const std::string& identifier : sslData.referenceIdentifiers) {
        append(text, identifier);
    }
    // Most requests of a thread are judged alike, one after the other.
    thread_local std::string lastText;
    thread_local std::string lastLabel;
    if (text != lastText || lastLabel.empty()) {
        const std::string digest = digestOf(text);
        lastLabel = digest.empty() ? "" : "/dev/null/" + digest;
        lastText = text;
    }
    return lastLabel;
}

void VerificationLabel::putOn(HttpRequestData& data) {
    CURL* const curl = data.getEasyHandle();
    if (curl == nullptr) {
        return;
    }
    const std::string label = of(data.getSSLData(), data.getRequest()->getOptions()->acceptableTlsVersions);
    if (label.empty() || curl_easy_setopt(curl, CURLOPT_CAPATH, label.c_str()) != CURLE_OK) {
        // Without a label: a connection of this request's own, for it alone.
        curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    }
}

}  // namespace zeb::http
