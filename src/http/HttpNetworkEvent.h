#pragma once

#include "core/Export.h"
#include "http/HttpClientResult.h"

#include <memory>
#include <string>
#include <vector>

namespace zeb::common {
class Policy;
}

namespace zeb::http {

class EdgeTransformer;
class HttpNetworkEventReporter;
class HttpRequestData;

/// Turns the outcome of a transfer into hints and events for the rest of the system. Without state of its
/// own: copies are cheap, any thread may call. Without a reporter it tells nobody; without a transformer no
/// request counts as one for the edge.
class ZEBNETUTILS_EXPORT HttpNetworkEvent {
public:
    HttpNetworkEvent(std::shared_ptr<HttpNetworkEventReporter> reporter,
                     std::shared_ptr<EdgeTransformer> edgeTransformer);

    /// What there is to tell of a transfer.
    struct Report {
        struct EdgeEvent {
            std::string name;
            std::string url;
        };
        HttpClientResult::Result result = HttpClientResult::SUCCESS;
        std::vector<EdgeEvent> edgeEvents;
    };

    /// The entry point: after each transfer. `edgePolicy` may be null. Tells the report of it.
    void notifyNetworkEventReporter(HttpClientResult::Result result, const HttpRequestData& requestData,
                                    const std::shared_ptr<common::Policy>& edgePolicy) const;

    /// For whoever tells it later: by then the request may have been changed.
    Report reportOf(HttpClientResult::Result result, const HttpRequestData& requestData,
                    const std::shared_ptr<common::Policy>& edgePolicy) const;
    void tell(const Report& report) const;

    // The steps of the entry point.

    /// A hint on success, on an unresolved and on an unreachable host.
    void notifyHttpEvents(HttpClientResult::Result result) const;
    /// True when the request has gone through a transformation.
    bool isEdgeRequest(const HttpRequestData& requestData) const;
    /// The event carries the host of `url`.
    void notifyEdgeInfrastructureEvent(const std::string& eventName, const std::string& url) const;
    /// For a host unreachable or unresolved, a time-out and a refused certificate: `prefix` and what
    /// happened.
    void notifyConnectionFailureEdgeEvents(HttpClientResult::Result result, const std::string& url,
                                           const std::string& prefix) const;
    /// For an HTTP error that comes from the edge server itself.
    void notifyHttpErrorEdgeEvents(HttpClientResult::Result result, const HttpRequestData& requestData,
                                   const std::shared_ptr<common::Policy>& edgePolicy) const;
    /// For each URL that failed before the request succeeded.
    void notifySuccessfulFailoverEdgeEvents(HttpClientResult::Result result,
                                            const HttpRequestData& requestData) const;
    bool isFailedOverEdgeRequest(const HttpRequestData& requestData) const;
    /// A 403 from the edge to a request with an OAuth token that the edge itself was to judge.
    bool isOauthExpiredResponse(const HttpRequestData& requestData,
                                const std::shared_ptr<common::Policy>& edgePolicy) const;

private:
    void addHttpError(std::vector<Report::EdgeEvent>& events, const HttpRequestData& requestData,
                      const std::shared_ptr<common::Policy>& edgePolicy) const;
    void tellAll(const std::vector<Report::EdgeEvent>& events) const;

    std::shared_ptr<HttpNetworkEventReporter> reporter_;
    std::shared_ptr<EdgeTransformer> edgeTransformer_;
};

}  // namespace zeb::http
