#include "http/MultiHttpClientImpl.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "core/Thread.h"
#include "dns/DnsHostResolver.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/CurlHttpUtils.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiCurlConnection.h"
#include "http/MultiHttpClientData.h"
#include "http/Request.h"
#include "http/RequestProcessing.h"
#include "http/RequestSteps.h"

#include <utility>

#include <curl/curl.h>

namespace zeb::http {

using common::Policy;

namespace {

constexpr char DRIVING_THREAD[] = "MHttp-P";

/// Gives the handle back at its end, unless the request has gone on: with the handle, a request would keep
/// itself alive for ever.
class LentHandle {
public:
    explicit LentHandle(HttpRequestData& requestData) : requestData_(&requestData) {}
    ~LentHandle() {
        if (requestData_ != nullptr) {
            requestData_->returnEasyCURLConnection();
        }
    }
    LentHandle(const LentHandle&) = delete;
    LentHandle& operator=(const LentHandle&) = delete;

    void passOn() { requestData_ = nullptr; }

private:
    HttpRequestData* requestData_;
};

}  // namespace

// --- beginning and end -------------------------------------------------------------------------------------

std::shared_ptr<MultiHttpClientImpl> MultiHttpClientImpl::buildMultiHttpClientImpl(
    std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
    std::shared_ptr<HttpNetworkEventReporter> reporter, unsigned int threads) {
    return buildMultiHttpClientImpl(std::move(edgeTransformer), std::move(certVerifier), std::move(reporter),
                                    std::make_shared<dns::DnsHostResolver>(), threads);
}

std::shared_ptr<MultiHttpClientImpl> MultiHttpClientImpl::buildMultiHttpClientImpl(
    std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
    std::shared_ptr<HttpNetworkEventReporter> reporter, std::shared_ptr<dns::DnsHostResolver> resolver,
    unsigned int threads) {
    return std::shared_ptr<MultiHttpClientImpl>(
        new MultiHttpClientImpl(RequestSteps::defaultPolicies(), std::move(edgeTransformer),
                                std::move(certVerifier), std::move(reporter), std::move(resolver), threads));
}

MultiHttpClientImpl::MultiHttpClientImpl(const std::set<std::shared_ptr<Policy>>& policies,
                                         std::shared_ptr<EdgeTransformer> edgeTransformer,
                                         std::shared_ptr<CertVerifier> certVerifier,
                                         std::shared_ptr<HttpNetworkEventReporter> reporter,
                                         std::shared_ptr<dns::DnsHostResolver> resolver, unsigned int threads)
    : MultiHttpClient(policies, false),
      certVerifier_(std::move(certVerifier)),
      edgeTransformer_(std::move(edgeTransformer)),
      multiConnection_(std::make_shared<MultiCurlConnection>()),
      reporter_(std::move(reporter)),
      curlAnswerEvaluator_(std::make_shared<CurlAnswerEvaluator>()),
      requestProcessing_(std::make_shared<RequestProcessing>(
          multiConnection_, HttpNetworkEvent(reporter_, edgeTransformer_), std::move(resolver), threads)),
      processingThread_(std::make_unique<Thread>(multiConnection_->threadName(DRIVING_THREAD))) {
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix()
                                        << "constructing new instance of MultiHttpClientImpl");
    startThread();
}

void MultiHttpClientImpl::startThread() {
    // The system's size: TLS, certificate verification and the host's listeners run on this stack.
    processingThread_->setStackSize(0);
    if (processingThread_->start(*requestProcessing_) == 0) {
        return;
    }
    ZEB_LOG_ERROR(log::httpClient(), multiConnection_->logPrefix()
                                         << "The thread could not be started to process the requests.");
    available_ = false;
    ZEB_LOG_ERROR(log::httpClient(), multiConnection_->logPrefix()
                                         << "Preventing any new incoming requests to be submitted.");
}

MultiHttpClientImpl::~MultiHttpClientImpl() {
    const std::string& prefix = multiConnection_->logPrefix();
    ZEB_LOG_INFO(log::httpClient(), prefix << "Destructor called.");
    available_ = false;
    MultiHttpClientImpl::cancelAllRequests();
    requestProcessing_->stopThread();
    if (processingThread_->isRunning()) {
        ZEB_LOG_INFO(log::httpClient(), prefix << "Attempting to join the processing thread.");
        if (processingThread_->join() != 0) {
            // A listener let go of the client: the thread keeps what it works on, and ends by itself.
            ZEB_LOG_ERROR(log::httpClient(), prefix << "Could not join the processing thread.");
        }
    } else {
        ZEB_LOG_INFO(log::httpClient(), prefix << "Thread is not running.");
    }
    ZEB_LOG_INFO(log::httpClient(), prefix << "Destructor exit.");
}

// --- settings ----------------------------------------------------------------------------------------------

void MultiHttpClientImpl::setPipelining(bool enabled) {
    int code = CURLM_OK;
    {
        const MultiCurlConnection::Visit visit(*multiConnection_);
        const ScopedLock lock(multiConnection_->getMutex());
        code = multiConnection_->setPipelining(enabled);
    }
    if (code != CURLM_OK) {
        ZEB_LOG_ERROR(log::httpClient(),
                      multiConnection_->logPrefix()
                          << (enabled ? "Could not enable HTTP pipelining support, CURL error: "
                                      : "Could not disable HTTP pipelining support, CURL error: ")
                          << curl_multi_strerror(static_cast<CURLMcode>(code)));
        return;
    }
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix()
                                        << (enabled ? "Successfully enabled pipelining support."
                                                    : "Successfully disabled pipelining support."));
}

void MultiHttpClientImpl::enableHttpPipelining() {
    setPipelining(true);
}

void MultiHttpClientImpl::disableHttpPipelining() {
    setPipelining(false);
}

void MultiHttpClientImpl::setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator) {
    if (evaluator == nullptr) {
        evaluator = std::make_shared<CurlAnswerEvaluator>();
    }
    const ScopedLock lock(evaluatorMutex_);
    curlAnswerEvaluator_.swap(evaluator);
}

// --- requests ----------------------------------------------------------------------------------------------

HttpClientError::Error MultiHttpClientImpl::enqueueRequest(std::shared_ptr<Request> request,
                                                           unsigned int& requestId) {
    if (!available_) {
        ZEB_LOG_ERROR(log::httpClient(),
                      multiConnection_->logPrefix()
                          << "Unable to process the enqueue request as the class is not available.");
        return HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR;
    }
    if (request == nullptr) {
        return HttpClientError::REQUEST_NOT_SET_ERROR;
    }
    if (request->getOptions() == nullptr || request->getOptions()->url.empty()) {
        return HttpClientError::URL_NOT_SET_ERROR;
    }
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix()
                                        << "New request: "
                                        << ZEBLogger_replacePIIData(CurlHttpUtils::loggableUrl(request)));
    return enqueueRequest(request, HTTPFileOperation::NONE, "", requestId);
}

HttpClientError::Error MultiHttpClientImpl::enqueueDownloadRequest(std::shared_ptr<Request> request,
                                                                   unsigned int& requestId,
                                                                   const std::string& filePath) {
    if (!available_) {
        ZEB_LOG_ERROR(log::httpClient(),
                      multiConnection_->logPrefix()
                          << "Unable to process the enqueue download request as the class is not available.");
        return HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR;
    }
    // Deliberate: here the line comes before the request is looked at.
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix()
                                        << "New request: "
                                        << ZEBLogger_replacePIIData(CurlHttpUtils::loggableUrl(request)));
    if (request == nullptr) {
        return HttpClientError::REQUEST_NOT_SET_ERROR;
    }
    if (request->getOptions() == nullptr || request->getOptions()->url.empty()) {
        return HttpClientError::URL_NOT_SET_ERROR;
    }
    return enqueueRequest(request, HTTPFileOperation::DOWNLOAD, filePath, requestId);
}

HttpClientError::Error MultiHttpClientImpl::enqueueRequest(const std::shared_ptr<Request>& request,
                                                           HTTPFileOperation::Method fileOperation,
                                                           const std::string& filePath,
                                                           unsigned int& requestId) {
    std::shared_ptr<Policy> edgePolicy = getPolicy(Policy::PolicyNature::EDGE_USAGE);
    if (RequestSteps::isUnknown(edgePolicy)) {
        ZEB_LOG_ERROR(log::httpClient(), multiConnection_->logPrefix() << "Edge policy not available");
        return HttpClientError::POLICY_NOT_AVAILABLE_ERROR;
    }
    const auto requestData = std::make_shared<HttpRequestData>(request, certVerifier_);
    auto clientData = MultiHttpClientData::build(reporter_, edgeTransformer_, requestData);
    {
        const ScopedLock lock(evaluatorMutex_);
        clientData->setCurlAnswerEvaluator(curlAnswerEvaluator_);
    }
    const FailureJudge judge(*this);
    clientData->setEdgeUsagePolicyCanBeIgnored(judge.canBeIgnored(*edgePolicy));
    clientData->setEdgePolicy(std::move(edgePolicy));
    if (fileOperation != HTTPFileOperation::NONE) {
        requestData->getWrapper().fileOperation = fileOperation;
        requestData->getWrapper().filePath = filePath;
    }
    setPoliesToRequestData(*requestData, judge);
    RequestSteps::setUserAgentToRequestData(*requestData, multiConnection_->logPrefix());
    requestId = requestData->getRequestId();
    return enqueueRequest(std::move(clientData));
}

void MultiHttpClientImpl::setPoliesToRequestData(HttpRequestData& requestData,
                                                 const FailureJudge& judge) const {
    RequestSteps::setPoliciesToRequestData(*this, judge, requestData,
                                           "CommonCriteria usage policy not available.",
                                           multiConnection_->logPrefix());
}

HttpClientError::Error MultiHttpClientImpl::enqueueRequest(std::shared_ptr<MultiHttpClientData> clientData) {
    const std::shared_ptr<HttpRequestData>& requestData = clientData->getRequestData();
    clientData->provideEasyCURLConnection(*requestData);
    LentHandle handle(*requestData);
    if (!CurlHttpUtils::configureEasyRequest(requestData)) {
        // Deliberate: the caller is told success, nothing is enqueued, and the listener never hears of it.
        return HttpClientError::SUCCESS;
    }
    HttpClientError::Error error = convertClientResultToError(requestData->enforceIpFamilyPreferencePolicy());
    if (error != HttpClientError::SUCCESS) {
        return error;
    }
    error = convertClientResultToError(requestData->enforceCommonCriteriaUsagePolicy());
    if (error != HttpClientError::SUCCESS) {
        return error;
    }
    ZEB_LOG_DEBUG(log::httpClient(), multiConnection_->logPrefix() << "Adding data to the queue for request "
                                                                   << requestData->formattedRequestID());
    // From here on the request may be on its way, on another thread.
    handle.passOn();
    return requestProcessing_->enqueueClientDataOnNewThread(std::move(clientData));
}

HttpClientError::Error MultiHttpClientImpl::convertClientResultToError(HttpClientResult::Result result) {
    switch (result) {
        case HttpClientResult::SUCCESS:
            return HttpClientError::SUCCESS;
        case HttpClientResult::POLICY_NOT_ENFORCED_ERROR:
            return HttpClientError::POLICY_NOT_ENFORCED_ERROR;
        case HttpClientResult::POLICY_NOT_AVAILABLE_ERROR:
            return HttpClientError::POLICY_NOT_AVAILABLE_ERROR;
        default:
            return HttpClientError::UNKNOWN_ERROR;
    }
}

HttpClientError::Error MultiHttpClientImpl::cancelAllRequests() {
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix() << "Canceling all requests.");
    requestProcessing_->clearTransfers();
    return HttpClientError::SUCCESS;
}

void MultiHttpClientImpl::clearUnresolvedHostCache() {
    ZEB_LOG_INFO(log::httpClient(), multiConnection_->logPrefix() << "Clear unresolved host cache.");
    requestProcessing_->clearUnresolvedHostCache();
}

}  // namespace zeb::http
