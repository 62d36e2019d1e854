#pragma once

#include "core/Event.h"
#include "core/Export.h"
#include "http/HttpNetworkEvent.h"

#include <memory>
#include <mutex>

namespace zeb::common {
class Policy;
}

namespace zeb::http {

class CurlAnswerEvaluator;
class EasyCURLConnection;
class EdgeTransformer;
class HttpNetworkEventReporter;
class HttpRequestData;

/// What all requests of one client share: the one easy handle that they borrow in turn, the edge policy in
/// force, the road to the edge layer and to the network event reporter. Any thread may call any operation.
class ZEBNETUTILS_EXPORT HttpClientData : public std::enable_shared_from_this<HttpClientData> {
public:
    /// Both may be null: no network events are reported, nothing is transformed.
    static std::shared_ptr<HttpClientData> build(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                                 std::shared_ptr<EdgeTransformer> edgeTransformer);
    virtual ~HttpClientData();

    HttpClientData(const HttpClientData&) = delete;
    HttpClientData& operator=(const HttpClientData&) = delete;

    /// Lends the handle to the request; waits, without limit, until it is free. Returns at once when the
    /// request has it already.
    void provideEasyCURLConnection(HttpRequestData& requestData);
    void onEasyCURLConnectionReturned();
    std::shared_ptr<EasyCURLConnection> getEasyCURLConnection() const;
    /// Replaces the handle by a new one, and with it all that libcurl remembers: connections, cookies, the
    /// state of a proxy. Whoever holds the former one keeps it to the end of the transfer.
    void resetEasyCURLConnection();

    const HttpNetworkEvent& getNetworkEvent() const { return networkEvent_; }
    const std::shared_ptr<EdgeTransformer>& getEdgeTransformer() const { return edgeTransformer_; }

    std::shared_ptr<common::Policy> getEdgePolicy() const;
    void setEdgePolicy(std::shared_ptr<common::Policy> policy);
    bool getEdgeUsagePolicyCanBeIgnored() const;
    void setEdgeUsagePolicyCanBeIgnored(bool canBeIgnored);
    /// Never null.
    std::shared_ptr<CurlAnswerEvaluator> getCurlAnswerEvaluator() const;
    /// A null evaluator brings back the default one.
    void setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator);

protected:
    /// Whether requests wait for each other's return of the handle, or there is but one.
    enum class Lending { IN_TURN, TO_ONE };

    HttpClientData(std::shared_ptr<HttpNetworkEventReporter> reporter,
                   std::shared_ptr<EdgeTransformer> edgeTransformer, Lending lending);

private:
    const HttpNetworkEvent networkEvent_;
    const std::shared_ptr<EdgeTransformer> edgeTransformer_;
    mutable std::mutex mutex_;  ///< guards the pointers and the flag below, never held during a call out
    std::shared_ptr<common::Policy> edgePolicy_;
    bool edgeUsagePolicyCanBeIgnored_ = false;
    const std::shared_ptr<Event> connectionAvailable_;  ///< null when nobody ever waits
    std::shared_ptr<EasyCURLConnection> easyConnection_;
    std::shared_ptr<CurlAnswerEvaluator> curlAnswerEvaluator_;  ///< null for the default one
};

}  // namespace zeb::http
