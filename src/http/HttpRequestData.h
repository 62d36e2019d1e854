#pragma once

#include "core/Export.h"
#include "http/EdgeTransformer.h"
#include "http/FailedUrlInfo.h"
#include "http/HttpClientResult.h"
#include "http/RequestWrapper.h"
#include "http/Response.h"
#include "http/SSLData.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct curl_slist;

namespace zeb::ip {
class IpFamilyPreferencePolicy;
}

namespace zeb::http {

class CertVerifier;
class CommonCriteriaUsagePolicy;
class EasyCURLConnection;
class HttpClientData;
class Request;
struct HttpRequestOptions;

/// Everything about one run of a request. It is the Response that the transfer writes into, and the one
/// object that libcurl's callbacks are given. While the transfer runs it owns the client's easy handle.
///
/// connectionMutex_ guards the ownership of the handle, failoverMutex_ the failover URLs; all else belongs to
/// the one thread that runs the transfer. There is one of these for each request: its locks are those that
/// need no memory of their own.
class ZEBNETUTILS_EXPORT HttpRequestData : public Response {
public:
    HttpRequestData(std::shared_ptr<Request> request, std::shared_ptr<CertVerifier> certVerifier);
    /// Gives the handle back, so that a dropped request can't keep it, and wipes the body.
    ~HttpRequestData() override;

    HttpRequestData(const HttpRequestData&) = delete;
    HttpRequestData& operator=(const HttpRequestData&) = delete;

    RequestWrapper& getWrapper() { return wrapper_; }
    const RequestWrapper& getWrapper() const { return wrapper_; }
    const std::shared_ptr<Request>& getRequest() const { return wrapper_.request; }
    /// Unique in the process, from 0 on.
    std::uint32_t getRequestId() const { return requestId_; }
    /// "#" and the id: how log lines name the request.
    std::string formattedRequestID() const;
    SSLData& getSSLData() { return sslData_; }

    std::size_t getTotalDataReceived() const { return totalDataReceived_; }
    void addTotalDataReceived(std::size_t count) { totalDataReceived_ += count; }

    EdgeTransformer::TransformRequestResult::Result getEdgeTransformResult() const {
        return edgeTransformResult_;
    }
    void setEdgeTransformResult(EdgeTransformer::TransformRequestResult::Result result) {
        edgeTransformResult_ = result;
    }

    /// Takes the handle; changes nothing when one is owned already.
    void consumeEasyCURLConnection(std::shared_ptr<EasyCURLConnection> connection,
                                   std::shared_ptr<HttpClientData> clientData);
    /// Gives the handle back to the client it came from, once.
    void returnEasyCURLConnection();
    bool ownsEasyCURLConnection() const;
    /// Null when no handle is owned.
    std::shared_ptr<EasyCURLConnection> getCurlConnection() const;
    /// The `CURL*` of the owned connection, null without one: for the thread that transfers, at no cost.
    void* getEasyHandle() const { return easyHandle_; }

    bool hasFailoverUrl() const;
    /// The URLs to go on with, in this order, when the one before fails. Forgets earlier failures.
    void setFailoverUrls(const std::deque<std::string>& urls);
    bool hasFailedUrl() const;
    std::vector<FailedUrlInfo> getFailedUrlInfo() const;
    /// Notes that the present URL failed, makes the next one the options' URL, and drops what was derived
    /// from the former.
    void switchToNextUrl(HttpClientResult::Result result);

    void setIpFamilyPreferencePolicy(std::shared_ptr<ip::IpFamilyPreferencePolicy> policy);
    void setIpFamilyPreferencePolicyCanBeIgnored(bool canBeIgnored);
    /// On the owned handle: SUCCESS, POLICY_NOT_AVAILABLE_ERROR or POLICY_NOT_ENFORCED_ERROR.
    HttpClientResult::Result enforceIpFamilyPreferencePolicy();
    void setCommonCriteriaUsagePolicy(std::shared_ptr<CommonCriteriaUsagePolicy> policy);
    void setCommonCriteriaUsageCanBeIgnored(bool canBeIgnored);
    HttpClientResult::Result enforceCommonCriteriaUsagePolicy();

    /// Held by the thread that runs the request, but for the time in which the request is parked: a retry
    /// with late proxy credentials waits until the run before has ended or is parked. Not a lock in the order
    /// of locks: nothing but a retry of the same request waits for it, so the listener may be called within.
    std::recursive_mutex& getRunMutex() { return runMutex_; }

    /// Whoever waited for the request has its answer: a run after that is nobody's. Under the run mutex.
    bool isAnswered() const { return answered_; }
    void setAnswered() { answered_ = true; }

    curl_slist* getConnectToList() const { return connectToList_; }
    /// Takes the list over and frees the former one.
    void setConnectToList(curl_slist* list);

private:
    void readIdentity(const HttpRequestOptions& options);
    void switchUrls(HttpClientResult::Result result);

    std::recursive_mutex runMutex_;
    bool answered_ = false;
    RequestWrapper wrapper_;
    const std::uint32_t requestId_;
    SSLData sslData_;
    std::size_t totalDataReceived_ = 0;
    EdgeTransformer::TransformRequestResult::Result edgeTransformResult_ =
        EdgeTransformer::TransformRequestResult::UNKNOWN;
    std::shared_ptr<EasyCURLConnection> curlConnection_;
    bool ownsConnection_ = false;
    std::atomic<void*> easyHandle_{nullptr};  ///< written with curlConnection_
    mutable std::mutex connectionMutex_;
    std::shared_ptr<HttpClientData> clientData_;
    std::shared_ptr<ip::IpFamilyPreferencePolicy> ipFamilyPreferencePolicy_;
    bool ipFamilyPreferencePolicyCanBeIgnored_ = true;
    std::deque<std::string> failoverUrls_;
    std::vector<FailedUrlInfo> failedUrlInfo_;
    mutable std::mutex failoverMutex_;
    std::shared_ptr<CommonCriteriaUsagePolicy> commonCriteriaUsagePolicy_;
    bool commonCriteriaUsageCanBeIgnored_ = true;
    curl_slist* connectToList_ = nullptr;
};

}  // namespace zeb::http
