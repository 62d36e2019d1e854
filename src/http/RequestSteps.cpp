#include "http/RequestSteps.h"

#include "common/FailureManagementPolicy.h"
#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/CurlHttpUtils.h"
#include "http/EdgePolicy.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "ip/IpFamilyPreferencePolicy.h"
#include "netutils/GlobalEdgeStateController.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <utility>

#include <curl/curl.h>

namespace zeb::http {

using common::Policy;

namespace {

constexpr int HTTP_UNAUTHORIZED = 401;
constexpr int HTTP_PROXY_AUTHENTICATION_REQUIRED = 407;
constexpr char USER_AGENT[] = "User-Agent";

void collectAddresses(const std::shared_ptr<HttpRequestData>& requestData, const std::string& prefix) {
    if (!CurlHttpUtils::getIpAddress(requestData)) {
        ZEB_LOG_WARNING(log::httpClient(), prefix << "Unable to get the IP addresses for request "
                                                  << requestData->formattedRequestID());
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(), prefix << "Request " << requestData->formattedRequestID()
                                            << " local address " << requestData->localIpAddress
                                            << ", destination address " << requestData->destinationIpAddress);
}

/// Null when it is another kind of policy.
template <typename Concrete>
std::shared_ptr<Concrete> concrete(std::shared_ptr<Policy> policy) {
    auto* const same = Policy::as<Concrete>(policy.get());
    return same == nullptr ? nullptr : std::shared_ptr<Concrete>(std::move(policy), same);
}

/// Nothing has been rewritten before the edge layer has started. To ask that would mean to wait for its
/// start, on the thread of a multi client that drives all transfers.
bool isBeforeTheEdge(const EdgePolicy& policy, const HttpClientData& clientData,
                     const HttpRequestData& requestData) {
    const std::shared_ptr<EdgeTransformer>& transformer = clientData.getEdgeTransformer();
    return policy.getValue() != EdgePolicy::PolicyValue::NEVER_USE &&
           (transformer == nullptr || !transformer->isRequestTransformed(requestData.getWrapper())) &&
           !netutils::GlobalEdgeStateController::isInitialized();
}

}  // namespace

std::string RequestSteps::hiddenUrl(const HttpRequestData& requestData) {
    return ZEBLogger_replacePIIData(CurlHttpUtils::loggableUrl(requestData.getRequest()));
}

bool RequestSteps::isUnknown(const std::shared_ptr<Policy>& policy) {
    return policy == nullptr || policy->getNature() == Policy::PolicyNature::UNKNOWN;
}

std::set<std::shared_ptr<Policy>> RequestSteps::defaultPolicies() {
    return {
        EdgePolicy::NEVER_USE_EDGE_POLICY,
        common::FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY,
        ip::IpFamilyPreferencePolicy::DUAL_STACK_POLICY,
        CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY,
    };
}

void RequestSteps::setPoliciesToRequestData(const common::PolicyDriven& client,
                                            const common::PolicyDriven::FailureJudge& judge,
                                            HttpRequestData& requestData, const char* noCommonCriteria,
                                            const std::string& prefix) {
    std::shared_ptr<Policy> ipFamily = client.getPolicy(Policy::PolicyNature::IP_FAMILY_PREFERENCE);
    if (isUnknown(ipFamily)) {
        ZEB_LOG_WARNING(log::httpClient(), prefix << "IP family policy not available.");
    } else {
        requestData.setIpFamilyPreferencePolicyCanBeIgnored(judge.canBeIgnored(*ipFamily));
        requestData.setIpFamilyPreferencePolicy(concrete<ip::IpFamilyPreferencePolicy>(std::move(ipFamily)));
    }
    std::shared_ptr<Policy> commonCriteria = client.getPolicy(Policy::PolicyNature::COMMON_CRITERIA_USAGE);
    if (isUnknown(commonCriteria)) {
        ZEB_LOG_WARNING(log::httpClient(), prefix << noCommonCriteria);
    } else {
        requestData.setCommonCriteriaUsageCanBeIgnored(judge.canBeIgnored(*commonCriteria));
        requestData.setCommonCriteriaUsagePolicy(
            concrete<CommonCriteriaUsagePolicy>(std::move(commonCriteria)));
    }
}

void RequestSteps::setUserAgentToRequestData(HttpRequestData& requestData, const std::string& prefix) {
    const std::shared_ptr<Request>& request = requestData.getRequest();
    if (request == nullptr || request->getOptions() == nullptr) {
        return;
    }
    const std::shared_ptr<HttpRequestOptions>& options = request->getOptions();
    if (options->headers == nullptr) {
        options->headers = std::make_shared<HttpHeaders>();
    }
    for (HttpHeader& header : *options->headers) {
        if (QRMCoreUtils::caseInsensitiveStringEquals(header.first, USER_AGENT)) {
            if (header.second.empty()) {
                header.second = QRMCoreUtils::SystemUtils::getHttpUserAgent();
                ZEB_LOG_DEBUG(log::httpClient(), prefix << "User-Agent set: " << header.second);
            }
            return;
        }
    }
    options->headers->emplace_back(USER_AGENT, QRMCoreUtils::SystemUtils::getHttpUserAgent());
    ZEB_LOG_DEBUG(log::httpClient(), prefix << "User-Agent added: " << options->headers->back().second);
}

RequestSteps::EnforcingResult::EnforcingResult RequestSteps::enforceEdge(
    const std::shared_ptr<Policy>& policy, const std::shared_ptr<HttpRequestData>& requestData,
    const HttpClientData& clientData) {
    const auto* const edgePolicy = Policy::as<EdgePolicy>(policy.get());
    return edgePolicy == nullptr ? EnforcingResult::ENFORCING_FAILURE
                                 : edgePolicy->enforce(requestData, clientData.getEdgeTransformer());
}

bool RequestSteps::isAuthenticationFailure(TransformResult::Result result) {
    return result == TransformResult::EDGE_AUTHENTICATION_FAILED ||
           result == TransformResult::EDGE_TOKEN_EXPIRED ||
           result == TransformResult::EDGE_PROXY_TOKEN_EXPIRED;
}

void RequestSteps::fabricateAuthenticationFailure(TransformResult::Result result, Response& response,
                                                  const std::string& prefix) {
    switch (result) {
        case TransformResult::EDGE_TOKEN_EXPIRED:
            ZEB_LOG_WARNING(log::httpClient(),
                            prefix << "Edge policy not enforced. token is expired, set response code 401");
            response.responseCode = HTTP_UNAUTHORIZED;
            break;
        case TransformResult::EDGE_PROXY_TOKEN_EXPIRED:
            ZEB_LOG_WARNING(log::httpClient(),
                            prefix << "Edge policy not enforced. token is expired, set response code 407");
            response.responseCode = HTTP_PROXY_AUTHENTICATION_REQUIRED;
            break;
        default:
            ZEB_LOG_WARNING(log::httpClient(),
                            prefix << "Edge policy not enforced. username or password is invalid or "
                                      "expired, set response code 401");
            response.responseCode = HTTP_UNAUTHORIZED;
            break;
    }
}

void RequestSteps::forgetFormerAttempt(HttpRequestData& requestData) {
    SecureStringUtils::ZEBZeroString(requestData.body);
    requestData.responseCode = 0;
    requestData.headers->clear();
    requestData.getWrapper().lastReportedProgress = 0;
    requestData.getWrapper().headerBytes = 0;
}

int RequestSteps::settleCode(int curlCode, HttpRequestData& requestData) {
    if (curlCode == CURLE_WRITE_ERROR && requestData.getRequest()->isCancelled()) {
        // Left as it is, it would send the cancelled request on to its next URL.
        return CURLE_ABORTED_BY_CALLBACK;
    }
    if (curlCode == CURLE_OK && !CurlHttpUtils::closeDownloadedFile(requestData.getWrapper())) {
        return CURLE_WRITE_ERROR;
    }
    return curlCode;
}

void RequestSteps::collectAnswer(const HttpClientData& clientData,
                                 const std::shared_ptr<HttpRequestData>& requestData,
                                 const std::string& prefix) {
    const std::shared_ptr<EdgeTransformer>& transformer = clientData.getEdgeTransformer();
    if (transformer != nullptr && transformer->isRequestTransformed(requestData->getWrapper())) {
        requestData->transformedUrl = requestData->getRequest()->getOptions()->url;
    }
    collectAddresses(requestData, prefix);
    if (!CurlHttpUtils::storeCookies(requestData)) {
        ZEB_LOG_ERROR(log::httpClient(), prefix << "Failed to store cookies in the response for request "
                                                << requestData->formattedRequestID());
    }
}

void RequestSteps::removeTransformedCookies(const std::shared_ptr<Policy>& policy,
                                            const HttpClientData& clientData, HttpRequestData& requestData,
                                            const std::string& prefix) {
    if (isUnknown(policy)) {
        ZEB_LOG_DEBUG(log::httpClient(), prefix << "Edge policy not available.");
        return;
    }
    const auto* const edgePolicy = Policy::as<EdgePolicy>(policy.get());
    if (edgePolicy == nullptr || isBeforeTheEdge(*edgePolicy, clientData, requestData) ||
        edgePolicy->enforce(requestData, requestData.getWrapper().url, clientData.getEdgeTransformer()) !=
            EnforcingResult::SUCCESS) {
        ZEB_LOG_WARNING(log::httpClient(), prefix << "Edge policy not enforced.");
    }
}

void RequestSteps::closeFiles(HttpRequestData& requestData) {
    RequestWrapper& wrapper = requestData.getWrapper();
    CurlHttpUtils::closeFile(&wrapper.writeFile);
    CurlHttpUtils::closeFile(&wrapper.readFile);
}

}  // namespace zeb::http
