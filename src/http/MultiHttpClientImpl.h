#pragma once

#include "core/Export.h"
#include "core/Mutex.h"
#include "http/HTTPFileOperation.h"
#include "http/HttpClientResult.h"
#include "http/MultiHttpClient.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>

namespace zeb {
class Thread;
}
namespace zeb::dns {
class DnsHostResolver;
}

namespace zeb::http {

class CertVerifier;
class CurlAnswerEvaluator;
class EdgeTransformer;
class HttpNetworkEventReporter;
class HttpRequestData;
class MultiCurlConnection;
class MultiHttpClientData;

/// The multi client over one curl multi handle.
class ZEBNETUTILS_EXPORT MultiHttpClientImpl : public MultiHttpClient {
public:
    class RequestProcessing;
    class EnqueueClientDataTask;

    /// Any of the three may be null: without a transformer nothing goes through the edge, without a verifier
    /// every server certificate is refused, without a reporter nobody hears of network events. The pool has
    /// up to `threads` threads, at least one.
    static std::shared_ptr<MultiHttpClientImpl> buildMultiHttpClientImpl(
        std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
        std::shared_ptr<HttpNetworkEventReporter> reporter, unsigned int threads);
    /// With a resolver of the caller's; null takes every host for resolvable.
    static std::shared_ptr<MultiHttpClientImpl> buildMultiHttpClientImpl(
        std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
        std::shared_ptr<HttpNetworkEventReporter> reporter, std::shared_ptr<dns::DnsHostResolver> resolver,
        unsigned int threads);
    /// Waits for the driving thread, and so for a listener that is being called. A listener itself may let go
    /// of the client: nothing is waited for then.
    ~MultiHttpClientImpl() override;

    void enableHttpPipelining() override;
    void disableHttpPipelining() override;
    HttpClientError::Error enqueueRequest(std::shared_ptr<Request> request, unsigned int& requestId) override;
    HttpClientError::Error enqueueDownloadRequest(std::shared_ptr<Request> request, unsigned int& requestId,
                                                  const std::string& filePath) override;
    HttpClientError::Error cancelAllRequests() override;
    void clearUnresolvedHostCache() override;

    /// For the requests that follow. Null brings back the default one.
    void setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator);

    /// 0 gives 0, 12 gives 6, 13 gives 7, all others 10.
    static HttpClientError::Error convertClientResultToError(HttpClientResult::Result result);

private:
    MultiHttpClientImpl(const std::set<std::shared_ptr<common::Policy>>& policies,
                        std::shared_ptr<EdgeTransformer> edgeTransformer,
                        std::shared_ptr<CertVerifier> certVerifier,
                        std::shared_ptr<HttpNetworkEventReporter> reporter,
                        std::shared_ptr<dns::DnsHostResolver> resolver, unsigned int threads);

    void startThread();
    void setPipelining(bool enabled);
    HttpClientError::Error enqueueRequest(const std::shared_ptr<Request>& request,
                                          HTTPFileOperation::Method fileOperation,
                                          const std::string& filePath, unsigned int& requestId);
    HttpClientError::Error enqueueRequest(std::shared_ptr<MultiHttpClientData> clientData);
    void setPoliesToRequestData(HttpRequestData& requestData, const FailureJudge& judge) const;

    const std::shared_ptr<CertVerifier> certVerifier_;
    const std::shared_ptr<EdgeTransformer> edgeTransformer_;
    const std::shared_ptr<MultiCurlConnection> multiConnection_;
    std::atomic<bool> available_{true};
    const std::shared_ptr<HttpNetworkEventReporter> reporter_;
    mutable Mutex evaluatorMutex_;  ///< guards curlAnswerEvaluator_
    std::shared_ptr<CurlAnswerEvaluator> curlAnswerEvaluator_;
    const std::shared_ptr<RequestProcessing> requestProcessing_;
    const std::unique_ptr<Thread> processingThread_;
};

}  // namespace zeb::http
