#include "http/ConnectionGroup.h"

#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"

#include <curl/curl.h>

namespace zeb::http {

namespace {

constexpr long EVERY_TLS_VERSION = TlsVersion::TLS_1_0 | TlsVersion::TLS_1_1 | TlsVersion::TLS_1_2;

void lockGroup(CURL* /*easy*/, curl_lock_data /*data*/, curl_lock_access /*access*/, void* group) {
    static_cast<ConnectionGroup*>(group)->getMutex().lock();
}

void unlockGroup(CURL* /*easy*/, curl_lock_data /*data*/, void* group) {
    static_cast<ConnectionGroup*>(group)->getMutex().unlock();
}

/// With its length, so that no two lists of texts read alike.
void append(std::string& key, const std::string& text) {
    key += std::to_string(text.size()) + ":" + text;
}

}  // namespace

ConnectionGroup::ConnectionGroup() : share_(curl_share_init()) {
    curl_share_setopt(share_, CURLSHOPT_LOCKFUNC, &lockGroup);
    curl_share_setopt(share_, CURLSHOPT_UNLOCKFUNC, &unlockGroup);
    curl_share_setopt(share_, CURLSHOPT_USERDATA, this);
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT);
}

ConnectionGroup::~ConnectionGroup() {
    curl_share_cleanup(share_);
}

std::string ConnectionGroup::keyOf(const HttpRequestData& requestData) {
    const HttpRequestOptions& options = *requestData.getRequest()->getOptions();
    if (!options.useProvidedIdentity && options.identifierToDisplay.empty() &&
        options.certIdentityValidationModel == IdentityMatchModel::SOFT_MATCH &&
        (options.acceptableTlsVersions & EVERY_TLS_VERSION) == EVERY_TLS_VERSION) {
        return {};
    }
    std::string key = std::to_string(options.certIdentityValidationModel) + " " +
                      std::to_string(options.acceptableTlsVersions) + " ";
    append(key, options.identifierToDisplay);
    if (options.useProvidedIdentity) {
        for (const std::string& identity : options.identities) {
            append(key, identity);
        }
    }
    return key;
}

bool ConnectionGroup::isAlone(const HttpRequestData& requestData) {
    const HttpRequestOptions& options = *requestData.getRequest()->getOptions();
    return options.useProvidedIdentity && options.followRedirects &&
           options.certIdentityValidationModel != IdentityMatchModel::STRICT_MATCH;
}

void ConnectionGroup::join(void* easy) {
    curl_easy_setopt(easy, CURLOPT_SHARE, share_);
}

void ConnectionGroup::leave(void* easy) {
    curl_easy_setopt(easy, CURLOPT_SHARE, nullptr);
}

}  // namespace zeb::http
