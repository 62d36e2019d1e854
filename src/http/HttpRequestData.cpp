#include "http/HttpRequestData.h"

#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "ip/IpFamilyPreferencePolicy.h"

#include <utility>

#include <curl/curl.h>

namespace zeb::http {

namespace {

std::uint32_t nextRequestId() {
    static std::atomic<std::uint32_t> next{0};
    return next++;
}

}  // namespace

HttpRequestData::HttpRequestData(std::shared_ptr<Request> request, std::shared_ptr<CertVerifier> certVerifier)
    : wrapper_(std::move(request)), requestId_(nextRequestId()) {
    sslData_.certVerifier = std::move(certVerifier);
    if (getRequest() != nullptr && getRequest()->getOptions() != nullptr) {
        const HttpRequestOptions& options = *getRequest()->getOptions();
        readIdentity(options);
        failoverUrls_.assign(options.failoverUrls.begin(), options.failoverUrls.end());
    }
}

void HttpRequestData::readIdentity(const HttpRequestOptions& options) {
    if (options.useProvidedIdentity && options.identities.empty()) {
        ZEB_LOG_WARNING(log::httpClient(),
                        "Received a malformed request options! useProvidedIdentity flag is set but empty "
                            << "identities vector is provided");
    }
    if (options.useProvidedIdentity) {
        for (const std::string& identity : options.identities) {
            if (identity.empty()) {
                ZEB_LOG_ERROR(
                    log::httpClient(),
                    "Received a malformed request options! some of the provided identities are empty");
                continue;
            }
            ZEB_LOG_DEBUG(log::httpClient(), "adding custom reference identifier: '"
                                                 << ZEBLogger_replacePIIData(identity) << "'");
            sslData_.referenceIdentifiers.push_back(identity);
        }
    }
    if (!options.identifierToDisplay.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(), "using display identifier provided : "
                                             << ZEBLogger_replacePIIData(options.identifierToDisplay));
        sslData_.identifierToDisplay = options.identifierToDisplay;
    }
    sslData_.identityMatchModel = options.certIdentityValidationModel;
}

HttpRequestData::~HttpRequestData() {
    // Whoever had it delivered has wiped it; what nobody was told is wiped here.
    SecureStringUtils::ZEBZeroString(body);
    setConnectToList(nullptr);
    if (ownsConnection_) {  // nobody else is left who could
        returnEasyCURLConnection();
    }
}

std::string HttpRequestData::formattedRequestID() const {
    return "#" + std::to_string(requestId_);
}

void HttpRequestData::consumeEasyCURLConnection(std::shared_ptr<EasyCURLConnection> connection,
                                                std::shared_ptr<HttpClientData> clientData) {
    const std::lock_guard lock(connectionMutex_);
    if (ownsConnection_) {
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << formattedRequestID() << " acquiring EasyCURLConnection");
    curlConnection_ = std::move(connection);
    easyHandle_ = curlConnection_ == nullptr ? nullptr : curlConnection_->getHandle();
    ownsConnection_ = true;
    clientData_ = std::move(clientData);
}

void HttpRequestData::returnEasyCURLConnection() {
    std::shared_ptr<HttpClientData> lender;  // outlives the lock: a lender may hold the last pointer to us
    const std::lock_guard lock(connectionMutex_);
    if (!ownsConnection_) {
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(),
                  "Request " << formattedRequestID() << " returning borrowed EasyCURLConnection");
    // The handle is let go before the client is told: the next owner must be the only one.
    easyHandle_ = nullptr;
    curlConnection_.reset();
    ownsConnection_ = false;
    lender.swap(clientData_);
    if (lender != nullptr) {
        lender->onEasyCURLConnectionReturned();
    }
}

bool HttpRequestData::ownsEasyCURLConnection() const {
    const std::lock_guard lock(connectionMutex_);
    return ownsConnection_;
}

std::shared_ptr<EasyCURLConnection> HttpRequestData::getCurlConnection() const {
    const std::lock_guard lock(connectionMutex_);
    return curlConnection_;
}

bool HttpRequestData::hasFailoverUrl() const {
    const std::lock_guard lock(failoverMutex_);
    return !failoverUrls_.empty();
}

void HttpRequestData::setFailoverUrls(const std::deque<std::string>& urls) {
    const std::lock_guard lock(failoverMutex_);
    failedUrlInfo_.clear();
    failoverUrls_ = urls;
}

bool HttpRequestData::hasFailedUrl() const {
    const std::lock_guard lock(failoverMutex_);
    return !failedUrlInfo_.empty();
}

std::vector<FailedUrlInfo> HttpRequestData::getFailedUrlInfo() const {
    const std::lock_guard lock(failoverMutex_);
    return failedUrlInfo_;
}

void HttpRequestData::switchUrls(HttpClientResult::Result result) {
    const std::lock_guard lock(failoverMutex_);
    if (failoverUrls_.empty() || getRequest() == nullptr || getRequest()->getOptions() == nullptr) {
        return;
    }
    const std::shared_ptr<HttpRequestOptions> options = getRequest()->getOptions();
    failedUrlInfo_.push_back({options->url, result});
    options->url = failoverUrls_.front();
    failoverUrls_.pop_front();
}

void HttpRequestData::switchToNextUrl(HttpClientResult::Result result) {
    switchUrls(result);
    ZEB_LOG_INFO(log::httpClient(), "switching to next url: " << ZEBLogger_replacePIIData(
                                        CurlHttpUtils::loggableUrl(getRequest())));
    if (sslData_.identifierToDisplayDefaulted) {
        ZEB_LOG_DEBUG(log::httpClient(), "resetting identifier to display");
        sslData_.resetIdentifierToDisplay();
    }
    if (sslData_.referenceIdentifiersDefaulted) {
        ZEB_LOG_DEBUG(log::httpClient(), "resetting reference identifiers");
        sslData_.resetReferenceIdentifiers();
    }
}

void HttpRequestData::setIpFamilyPreferencePolicy(std::shared_ptr<ip::IpFamilyPreferencePolicy> policy) {
    ipFamilyPreferencePolicy_ = std::move(policy);
}

void HttpRequestData::setIpFamilyPreferencePolicyCanBeIgnored(bool canBeIgnored) {
    ipFamilyPreferencePolicyCanBeIgnored_ = canBeIgnored;
}

HttpClientResult::Result HttpRequestData::enforceIpFamilyPreferencePolicy() {
    if (ipFamilyPreferencePolicy_ == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "IpFamilyPreferencePolicy is null and has not been enforced.");
        return HttpClientResult::POLICY_NOT_AVAILABLE_ERROR;
    }
    if (ipFamilyPreferencePolicy_->enforce(getEasyHandle()) ==
        common::Policy::PolicyEnforcingResult::SUCCESS) {
        return HttpClientResult::SUCCESS;
    }
    if (!ipFamilyPreferencePolicyCanBeIgnored_) {
        ZEB_LOG_ERROR(log::httpClient(), "IP family policy enforcement failed and policy cannot be ignored.");
        return HttpClientResult::POLICY_NOT_ENFORCED_ERROR;
    }
    ZEB_LOG_WARNING(log::httpClient(), "IP family policy enforcement failed but the policy can be ignored.");
    return HttpClientResult::SUCCESS;
}

void HttpRequestData::setCommonCriteriaUsagePolicy(std::shared_ptr<CommonCriteriaUsagePolicy> policy) {
    commonCriteriaUsagePolicy_ = std::move(policy);
}

void HttpRequestData::setCommonCriteriaUsageCanBeIgnored(bool canBeIgnored) {
    commonCriteriaUsageCanBeIgnored_ = canBeIgnored;
}

HttpClientResult::Result HttpRequestData::enforceCommonCriteriaUsagePolicy() {
    if (commonCriteriaUsagePolicy_ == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "CommonCriteriaUsagePolicy is null and has not been enforced.");
        return HttpClientResult::POLICY_NOT_AVAILABLE_ERROR;
    }
    if (commonCriteriaUsagePolicy_->enforce(getEasyHandle()) ==
        common::Policy::PolicyEnforcingResult::SUCCESS) {
        return HttpClientResult::SUCCESS;
    }
    if (!commonCriteriaUsageCanBeIgnored_) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Common criteria usage policy enforcement failed and policy cannot be ignored.");
        return HttpClientResult::POLICY_NOT_ENFORCED_ERROR;
    }
    ZEB_LOG_WARNING(log::httpClient(),
                    "Common criteria usage policy enforcement failed but the policy can be ignored.");
    return HttpClientResult::SUCCESS;
}

void HttpRequestData::setConnectToList(curl_slist* list) {
    if (connectToList_ != list) {
        curl_slist_free_all(connectToList_);
    }
    connectToList_ = list;
}

}  // namespace zeb::http
