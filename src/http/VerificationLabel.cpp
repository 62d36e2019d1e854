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
#include <string>
#include <vector>

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
        // Most requests of a thread have the same one.
        thread_local std::weak_ptr<CertVerifier> last;
        thread_local std::uint64_t lastNumber = 0;
        if (lastNumber == 0 || last.owner_before(verifier) || verifier.owner_before(last)) {
            lastNumber = numberOf(verifier);
            last = verifier;
        }
        return lastNumber;
    }

private:
    std::uint64_t numberOf(const std::shared_ptr<CertVerifier>& verifier) {
        const ScopedLock lock(mutex_);
        const auto found = numbers_.find(verifier);
        if (found != numbers_.end()) {
            return found->second;
        }
        forgetThoseThatHaveGone();
        return numbers_[verifier] = next_++;
    }

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

/// Everything that the judgement of a certificate depends on.
struct Basis {
    std::uint64_t verifier = 0;
    std::uint64_t epoch = 0;
    IdentityMatchModel::Model model{};
    long acceptableTlsVersions = 0;
    std::string sniServerName;
    std::string serverCurlFQDN;
    std::vector<std::string> referenceIdentifiers;
};

/// No two lists of fields give the same text: each is preceded by its length.
void append(std::string& text, const std::string& field) {
    text.append(std::to_string(field.size())).append(":").append(field);
}

std::string textOf(const Basis& basis) {
    std::string text;
    append(text, std::to_string(basis.verifier));
    append(text, std::to_string(basis.epoch));
    append(text, std::to_string(static_cast<int>(basis.model)));
    append(text, std::to_string(basis.acceptableTlsVersions));
    append(text, basis.sniServerName);
    append(text, basis.serverCurlFQDN);
    for (const std::string& identifier : basis.referenceIdentifiers) {
        append(text, identifier);
    }
    return text;
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

/// Valid until the next call on this thread.
const std::string& labelOf(const SSLData& sslData, long acceptableTlsVersions) {
    const std::uint64_t verifier = verifierNumbers().of(sslData.certVerifier);
    const std::uint64_t epoch = common::TrustEpoch::current();
    // Most requests of a thread are judged alike, one after the other.
    thread_local Basis last;
    thread_local std::string label;
    const bool isLast =
        !label.empty() && last.verifier == verifier && last.epoch == epoch &&
        last.model == sslData.identityMatchModel && last.acceptableTlsVersions == acceptableTlsVersions &&
        last.sniServerName == sslData.sniServerName && last.serverCurlFQDN == sslData.serverCurlFQDN &&
        last.referenceIdentifiers == sslData.referenceIdentifiers;
    if (!isLast) {
        // The host's name is usually empty before the handshake, which then takes that of the URL: that one
        // libcurl compares itself.
        last = {verifier,
                epoch,
                sslData.identityMatchModel,
                acceptableTlsVersions,
                sslData.sniServerName,
                sslData.serverCurlFQDN,
                sslData.referenceIdentifiers};
        const std::string digest = digestOf(textOf(last));
        label = digest.empty() ? "" : "/dev/null/" + digest;
    }
    return label;
}

}  // namespace

std::string VerificationLabel::of(const SSLData& sslData, long acceptableTlsVersions) {
    return labelOf(sslData, acceptableTlsVersions);
}

bool VerificationLabel::putOn(HttpRequestData& data) {
    CURL* const curl = data.getEasyHandle();
    if (curl == nullptr) {
        return true;
    }
    const std::string& label =
        labelOf(data.getSSLData(), data.getRequest()->getOptions()->acceptableTlsVersions);
    if (!label.empty() && curl_easy_setopt(curl, CURLOPT_CAPATH, label.c_str()) == CURLE_OK) {
        return true;
    }
    // Without a label: a connection of this request's own, for it alone.
    curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    return false;
}

}  // namespace zeb::http
