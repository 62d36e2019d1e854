#include "http/HttpNetworkEvent.h"

#include "core/Log.h"
#include "http/EdgePolicy.h"
#include "http/EdgeTransformer.h"
#include "http/HttpNetworkEventReporter.h"
#include "http/HttpNetworkEventUtils.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/HttpUtils.h"
#include "http/Request.h"

#include <utility>

namespace zeb::http {

namespace {

constexpr char EDGE_PREFIX[] = "zebnetutils.edge";
constexpr char FAILOVER_PREFIX[] = "edge.successful.failover";

std::shared_ptr<HttpRequestOptions> optionsOf(const HttpRequestData& requestData) {
    const auto& request = requestData.getRequest();
    return request == nullptr ? nullptr : request->getOptions();
}

std::string optionsUrlOf(const HttpRequestData& requestData) {
    const std::shared_ptr<HttpRequestOptions> options = optionsOf(requestData);
    return options == nullptr ? std::string() : options->url;
}

}  // namespace

HttpNetworkEvent::HttpNetworkEvent(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                   std::shared_ptr<EdgeTransformer> edgeTransformer)
    : reporter_(std::move(reporter)), edgeTransformer_(std::move(edgeTransformer)) {}

void HttpNetworkEvent::notifyNetworkEventReporter(HttpClientResult::Result result,
                                                  const HttpRequestData& requestData,
                                                  const std::shared_ptr<common::Policy>& edgePolicy) const {
    notifyHttpEvents(result);
    if (isEdgeRequest(requestData)) {
        notifyConnectionFailureEdgeEvents(result, optionsUrlOf(requestData), EDGE_PREFIX);
        notifyHttpErrorEdgeEvents(result, requestData, edgePolicy);
        notifySuccessfulFailoverEdgeEvents(result, requestData);
    }
}

void HttpNetworkEvent::notifyHttpEvents(HttpClientResult::Result result) const {
    if (reporter_ == nullptr) {
        return;
    }
    switch (result) {
        case HttpClientResult::SUCCESS:
            reporter_->hintNetworkIsInUse("zebnetutils.http.clientRequestSuccessful");
            break;
        case HttpClientResult::UNRESOLVED_HOST_ERROR:
            reporter_->hintNetworkInterfaceMightHaveDropped("zebnetutils.http.unresolvedHostError");
            break;
        case HttpClientResult::HOST_UNREACHABLE_ERROR:
            reporter_->hintNetworkInterfaceMightHaveDropped("zebnetutils.http.hostUnreachableError");
            break;
        default:
            break;
    }
}

bool HttpNetworkEvent::isEdgeRequest(const HttpRequestData& requestData) const {
    return edgeTransformer_ != nullptr && edgeTransformer_->isRequestTransformed(requestData.getWrapper());
}

void HttpNetworkEvent::notifyEdgeInfrastructureEvent(const std::string& eventName,
                                                     const std::string& url) const {
    if (reporter_ == nullptr) {
        return;
    }
    const std::string host = HttpUtils::extractHostFromHttpUrl(url);
    ZEB_LOG_INFO(log::httpClient(), "generating edgeInfrastructureEvent: '"
                                        << eventName << "' host: '" << ZEBLogger_replacePIIData(host) << "'");
    reporter_->edgeInfrastructureEvent(eventName, host);
}

void HttpNetworkEvent::notifyConnectionFailureEdgeEvents(HttpClientResult::Result result,
                                                         const std::string& url,
                                                         const std::string& prefix) const {
    switch (result) {
        case HttpClientResult::HOST_UNREACHABLE_ERROR:
            notifyEdgeInfrastructureEvent(prefix + ".hostUnreachableError", url);
            break;
        case HttpClientResult::UNRESOLVED_HOST_ERROR:
            notifyEdgeInfrastructureEvent(prefix + ".unresolvedHostError", url);
            break;
        case HttpClientResult::CONNECTION_TIMEOUT_ERROR:
            notifyEdgeInfrastructureEvent(prefix + ".connectionTimeout", url);
            break;
        case HttpClientResult::CERTIFICATE_VALIDATION_ERROR:
            notifyEdgeInfrastructureEvent(prefix + ".certValidationError", url);
            break;
        default:
            break;
    }
}

bool HttpNetworkEvent::isOauthExpiredResponse(const HttpRequestData& requestData,
                                              const std::shared_ptr<common::Policy>& edgePolicy) const {
    const auto& requestTokenPolicy =
        EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN_POLICY;
    const std::shared_ptr<HttpRequestOptions> options = optionsOf(requestData);
    return HttpNetworkEventUtils::isGlt403Response(requestData) && options != nullptr &&
           options->authType == AuthType::OAUTH &&
           (edgePolicy == nullptr || !requestTokenPolicy->equals(*edgePolicy));
}

void HttpNetworkEvent::notifyHttpErrorEdgeEvents(HttpClientResult::Result result,
                                                 const HttpRequestData& requestData,
                                                 const std::shared_ptr<common::Policy>& edgePolicy) const {
    if (result != HttpClientResult::SUCCESS) {
        return;  // an HTTP error is a completed transfer
    }
    const std::string url = optionsUrlOf(requestData);
    if (isOauthExpiredResponse(requestData, edgePolicy)) {
        notifyEdgeInfrastructureEvent("zebnetutils.edge.oauthExpired", url);
    } else if (HttpNetworkEventUtils::isGlt407Response(requestData)) {
        notifyEdgeInfrastructureEvent("zebnetutils.edge.authenticationRequired", url);
    } else if (HttpNetworkEventUtils::isGlt500Response(requestData)) {
        notifyEdgeInfrastructureEvent("zebnetutils.edge.internalServerError", url);
    } else if (HttpNetworkEventUtils::isGlt503Response(requestData)) {
        notifyEdgeInfrastructureEvent("zebnetutils.edge.serviceUnavailable", url);
    } else if (HttpNetworkEventUtils::isGlte502Response(requestData)) {
        notifyEdgeInfrastructureEvent("zebnetutils.edge.nextHopFailed", url);
    }
}

bool HttpNetworkEvent::isFailedOverEdgeRequest(const HttpRequestData& requestData) const {
    return requestData.hasFailedUrl() && isEdgeRequest(requestData);
}

void HttpNetworkEvent::notifySuccessfulFailoverEdgeEvents(HttpClientResult::Result result,
                                                          const HttpRequestData& requestData) const {
    if (result != HttpClientResult::SUCCESS || !isFailedOverEdgeRequest(requestData)) {
        return;
    }
    for (const FailedUrlInfo& failed : requestData.getFailedUrlInfo()) {
        notifyConnectionFailureEdgeEvents(failed.result, failed.url, FAILOVER_PREFIX);
    }
}

}  // namespace zeb::http
