#pragma once

#include "core/Export.h"
#include "core/Task.h"
#include "http/BasicHttpClient.h"
#include "http/HTTPFileOperation.h"

#include <functional>
#include <memory>
#include <string>

namespace zeb {
class ThreadPool;
}

namespace zeb::http {

class CertVerifier;
class CurlAnswerEvaluator;
class EasyCURLConnection;
class EdgeTransformer;
class HttpClientData;
class HttpNetworkEventReporter;
class HttpRequestData;

/// The basic client over one curl easy handle.
class ZEBNETUTILS_EXPORT BasicHttpClientImpl : public BasicHttpClient,
                                               public std::enable_shared_from_this<BasicHttpClientImpl> {
public:
    class AsyncTask;

    /// Any of the four may be null: without a transformer nothing goes through the edge, without a verifier
    /// every server certificate is refused, without a pool asynchronous requests are not accepted, without a
    /// reporter nobody hears of network events.
    static std::shared_ptr<BasicHttpClientImpl> buildBasicHttpClientImpl(
        std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
        std::shared_ptr<ThreadPool> threadPool, std::shared_ptr<HttpNetworkEventReporter> reporter);
    ~BasicHttpClientImpl() override;

    HttpClientResult::Result execute(std::shared_ptr<Request> request, Response& response) override;
    HttpClientError::Error executeAsync(std::shared_ptr<Request> request, unsigned int& requestId) override;
    HttpClientError::Error downloadAsync(std::shared_ptr<Request> request, unsigned int& requestId,
                                         const std::string& filePath) override;
    HttpClientError::Error uploadAsync(std::shared_ptr<Request> request, unsigned int& requestId,
                                       const std::string& filePath) override;

    /// For the transfers that follow. Null brings back the default one.
    void setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator);
    std::shared_ptr<EasyCURLConnection> getEasyCURLConnection() const;

private:
    using Completion = std::function<void(HttpClientResult::Result, bool)>;

    BasicHttpClientImpl(const std::set<std::shared_ptr<common::Policy>>& policies,
                        std::shared_ptr<EdgeTransformer> edgeTransformer,
                        std::shared_ptr<CertVerifier> certVerifier, std::shared_ptr<ThreadPool> threadPool,
                        std::shared_ptr<HttpNetworkEventReporter> reporter);

    HttpClientError::Error enqueueRequest(const std::shared_ptr<Request>& request,
                                          HTTPFileOperation::Method fileOperation,
                                          const std::string& filePath, unsigned int& requestId);
    void setPoliesToRequestData(HttpRequestData& requestData, const FailureJudge& judge) const;
    static HttpClientResult::Result onAuthentiactionFailed(const HttpRequestData& requestData,
                                                           Response& response);

    // The road of one transfer, on whatever thread runs it.
    static HttpClientResult::Result executeImpl(const std::shared_ptr<HttpClientData>& clientData,
                                                const std::shared_ptr<HttpRequestData>& requestData);
    static void performRequest(const std::shared_ptr<HttpClientData>& clientData,
                               const std::shared_ptr<HttpRequestData>& requestData,
                               const Completion& completion);
    /// What is parked when a proxy asks for credentials: the same request once more, on a fresh handle.
    static void retryRequest(const std::shared_ptr<HttpClientData>& clientData,
                             const std::shared_ptr<HttpRequestData>& requestData,
                             const Completion& completion);

    const std::shared_ptr<CertVerifier> certVerifier_;
    const std::shared_ptr<ThreadPool> threadPool_;
    const std::shared_ptr<HttpClientData> clientData_;
};

/// One queued request. It answers the request's listener exactly once, even if it is dropped unrun.
class BasicHttpClientImpl::AsyncTask : public Task, public std::enable_shared_from_this<AsyncTask> {
public:
    /// Without client data the request is answered with UNKNOWN_ERROR. The request data must be there.
    AsyncTask(std::shared_ptr<HttpClientData> clientData, std::shared_ptr<HttpRequestData> requestData);
    void execute() override;
    ~AsyncTask() override;

private:
    /// True when the request is to run; otherwise it has been answered.
    bool enforceEdgePolicy();
    void onEdgePolicyNotIgnorable();
    void onAuthenticationFailed();
    void complete();
    void fail(HttpClientResult::Result result);

    std::shared_ptr<HttpClientData> clientData_;  ///< null once the transfer has ended
    const std::shared_ptr<HttpRequestData> requestData_;
    bool executed_ = false;
};

}  // namespace zeb::http
