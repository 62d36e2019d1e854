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

using EdgeEvents = std::vector<HttpNetworkEvent::Report::EdgeEvent>;

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

/// Nearly all reports are this one. Never destroyed: transfers may still report while the process ends.
const std::string& requestSuccessful() {
    static const auto& label = *new std::string("zebnetutils.http.clientRequestSuccessful");
    return label;
}

void addConnectionFailure(EdgeEvents& events, HttpClientResult::Result result, const std::string& url,
                          const std::string& prefix) {
    const auto add = [&](const char* suffix) { events.push_back({prefix + suffix, url}); };
    switch (result) {
        case HttpClientResult::HOST_UNREACHABLE_ERROR:
            add(".hostUnreachableError");
            break;
        case HttpClientResult::UNRESOLVED_HOST_ERROR:
            add(".unresolvedHostError");
            break;
        case HttpClientResult::CONNECTION_TIMEOUT_ERROR:
            add(".connectionTimeout");
            break;
        case HttpClientResult::CERTIFICATE_VALIDATION_ERROR:
            add(".certValidationError");
            break;
        default:
            break;
    }
}

void addFailedUrls(EdgeEvents& events, const HttpRequestData& requestData) {
    for (const FailedUrlInfo& failed : requestData.getFailedUrlInfo()) {
        addConnectionFailure(events, failed.result, failed.url, FAILOVER_PREFIX);
    }
}

}  // namespace

HttpNetworkEvent::HttpNetworkEvent(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                   std::shared_ptr<EdgeTransformer> edgeTransformer)
    : reporter_(std::move(reporter)), edgeTransformer_(std::move(edgeTransformer)) {}

void HttpNetworkEvent::notifyNetworkEventReporter(HttpClientResult::Result result,
                                                  const HttpRequestData& requestData,
                                                  const std::shared_ptr<common::Policy>& edgePolicy) const {
    tell(reportOf(result, requestData, edgePolicy));
}

HttpNetworkEvent::Report HttpNetworkEvent::reportOf(HttpClientResult::Result result,
                                                    const HttpRequestData& requestData,
                                                    const std::shared_ptr<common::Policy>& edgePolicy) const {
    Report report{result, {}};
    if (isEdgeRequest(requestData)) {
        addConnectionFailure(report.edgeEvents, result, optionsUrlOf(requestData), EDGE_PREFIX);
        if (result == HttpClientResult::SUCCESS) {  // an HTTP error is a completed transfer
            addHttpError(report.edgeEvents, requestData, edgePolicy);
            addFailedUrls(report.edgeEvents, requestData);
        }
    }
    return report;
}

void HttpNetworkEvent::tell(const Report& report) const {
    notifyHttpEvents(report.result);
    tellAll(report.edgeEvents);
}

void HttpNetworkEvent::tellAll(const std::vector<Report::EdgeEvent>& events) const {
    for (const Report::EdgeEvent& event : events) {
        notifyEdgeInfrastructureEvent(event.name, event.url);
    }
}

void HttpNetworkEvent::notifyHttpEvents(HttpClientResult::Result result) const {
    if (reporter_ == nullptr) {
        return;
    }
    switch (result) {
        case HttpClientResult::SUCCESS:
            reporter_->hintNetworkIsInUse(requestSuccessful());
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
    std::vector<Report::EdgeEvent> events;
    addConnectionFailure(events, result, url, prefix);
    tellAll(events);
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

void HttpNetworkEvent::addHttpError(std::vector<Report::EdgeEvent>& events,
                                    const HttpRequestData& requestData,
                                    const std::shared_ptr<common::Policy>& edgePolicy) const {
    const auto add = [&](const char* name) { events.push_back({name, optionsUrlOf(requestData)}); };
    if (isOauthExpiredResponse(requestData, edgePolicy)) {
        add("zebnetutils.edge.oauthExpired");
    } else if (HttpNetworkEventUtils::isGlt407Response(requestData)) {
        add("zebnetutils.edge.authenticationRequired");
    } else if (HttpNetworkEventUtils::isGlt500Response(requestData)) {
        add("zebnetutils.edge.internalServerError");
    } else if (HttpNetworkEventUtils::isGlt503Response(requestData)) {
        add("zebnetutils.edge.serviceUnavailable");
    } else if (HttpNetworkEventUtils::isGlte502Response(requestData)) {
        add("zebnetutils.edge.nextHopFailed");
    }
}

void HttpNetworkEvent::notifyHttpErrorEdgeEvents(HttpClientResult::Result result,
                                                 const HttpRequestData& requestData,
                                                 const std::shared_ptr<common::Policy>& edgePolicy) const {
    if (result != HttpClientResult::SUCCESS) {
        return;  // an HTTP error is a completed transfer
    }
    std::vector<Report::EdgeEvent> events;
    addHttpError(events, requestData, edgePolicy);
    tellAll(events);
}

bool HttpNetworkEvent::isFailedOverEdgeRequest(const HttpRequestData& requestData) const {
    return requestData.hasFailedUrl() && isEdgeRequest(requestData);
}

void HttpNetworkEvent::notifySuccessfulFailoverEdgeEvents(HttpClientResult::Result result,
                                                          const HttpRequestData& requestData) const {
    if (result != HttpClientResult::SUCCESS || !isFailedOverEdgeRequest(requestData)) {
        return;
    }
    std::vector<Report::EdgeEvent> events;
    addFailedUrls(events, requestData);
    tellAll(events);
}

}  // namespace zeb::http
