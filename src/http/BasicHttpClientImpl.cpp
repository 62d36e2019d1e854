#include "http/BasicHttpClientImpl.h"

#include "core/Event.h"
#include "core/Log.h"
#include "core/ScopedLock.h"
#include "core/SecureStringUtils.h"
#include "core/ThreadPool.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/HttpRequestResult.h"
#include "http/Proxy.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/Request.h"
#include "http/RequestSteps.h"
#include "netutils/ApplicationEventHandler.h"

#include <mutex>
#include <utility>

#include <curl/curl.h>

namespace zeb::http {

using common::Policy;
using EnforcingResult = Policy::PolicyEnforcingResult;
using TransformResult = EdgeTransformer::TransformRequestResult;

namespace {

constexpr int HTTP_FORBIDDEN = 403;
constexpr int HTTP_PROXY_AUTHENTICATION_REQUIRED = 407;
constexpr char DISABLED_BY_OVT_POLICY[] = "DisabledByOVTPolicy";
constexpr char NO_LISTENER[] = "No listener is available to notify the client of the result.";

/// Where a transfer leaves its result for the thread that waits for it. The first result stands: a finish
/// function that was parked earlier may run long after the request has been answered.
class Mailbox {
public:
    void put(HttpClientResult::Result result, bool finished) {
        {
            const ScopedLock lock(mutex_);
            if (filled_) {
                return;
            }
            filled_ = true;
            content_.result = result;
            content_.finished = finished;
        }
        available_.set();
    }

    bool isFilled() {
        const ScopedLock lock(mutex_);
        return filled_;
    }

    /// Waits until there is something.
    HttpRequestResult take() {
        available_.wait();
        const ScopedLock lock(mutex_);
        return content_;
    }

private:
    Mutex mutex_;  ///< guards filled_ and content_
    bool filled_ = false;
    HttpRequestResult content_;
    Event available_{false};
};

void logDisabledByOvtPolicy() {
    ZEB_LOG_WARNING(log::httpClient(),
                    "HTTP connection is disabled by OVT Policy(No Service). Set response "
                    "code 403");
}

/// The answer that went out shares these with the request: from now on it is the receiver's alone.
void detachFromAnswer(HttpRequestData& requestData) {
    requestData.headers = std::make_shared<HttpHeaders>();
    requestData.redirectUrls = std::make_shared<std::vector<std::string>>();
}

int performCurlRequest(const std::shared_ptr<HttpRequestData>& requestData) {
    CURLcode code = CURLE_NO_CONNECTION_AVAILABLE;
    if (const std::shared_ptr<EasyCURLConnection> connection = requestData->getCurlConnection()) {
        code = curl_easy_perform(connection->getHandle());
    }
    CurlHttpUtils::resetCurlPassword(requestData);
    CurlHttpUtils::logOperationTiming(requestData);
    return RequestSteps::settleCode(code, *requestData);
}

/// What the end of a transfer tells of the proxy in use. Taken before the transfer's completion is announced:
/// from then on the request may belong to another thread.
class ProxyReport {
public:
    explicit ProxyReport(const HttpRequestData& requestData)
        : wanted_(requestData.getRequest()->getIsUseSystemProxy()),
          proxyUsed_(requestData.proxyUsed),
          authType_(requestData.proxyAuthType) {
        if (wanted_ && !proxyUsed_) {
            const std::shared_ptr<Proxy> proxy = requestData.getRequest()->getProxy();
            wanted_ = proxy == nullptr || proxy->getURL().empty();
        }
    }

    void send() const {
        if (wanted_) {
            ProxyAuthenticationHandler::getInstance()->updateProxyInfo(proxyUsed_, authType_);
        }
    }

private:
    bool wanted_;
    bool proxyUsed_;
    std::string authType_;
};

}  // namespace

// --- building and accessors --------------------------------------------------------------------------------

std::shared_ptr<BasicHttpClientImpl> BasicHttpClientImpl::buildBasicHttpClientImpl(
    std::shared_ptr<EdgeTransformer> edgeTransformer, std::shared_ptr<CertVerifier> certVerifier,
    std::shared_ptr<ThreadPool> threadPool, std::shared_ptr<HttpNetworkEventReporter> reporter) {
    return std::shared_ptr<BasicHttpClientImpl>(
        new BasicHttpClientImpl(RequestSteps::defaultPolicies(), std::move(edgeTransformer),
                                std::move(certVerifier), std::move(threadPool), std::move(reporter)));
}

BasicHttpClientImpl::BasicHttpClientImpl(const std::set<std::shared_ptr<Policy>>& policies,
                                         std::shared_ptr<EdgeTransformer> edgeTransformer,
                                         std::shared_ptr<CertVerifier> certVerifier,
                                         std::shared_ptr<ThreadPool> threadPool,
                                         std::shared_ptr<HttpNetworkEventReporter> reporter)
    : BasicHttpClient(policies, false),
      certVerifier_(std::move(certVerifier)),
      threadPool_(std::move(threadPool)),
      clientData_(HttpClientData::build(std::move(reporter), std::move(edgeTransformer))) {}

BasicHttpClientImpl::~BasicHttpClientImpl() = default;

void BasicHttpClientImpl::setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator) {
    clientData_->setCurlAnswerEvaluator(std::move(evaluator));
}

std::shared_ptr<EasyCURLConnection> BasicHttpClientImpl::getEasyCURLConnection() const {
    return clientData_->getEasyCURLConnection();
}

// --- what both roads begin with ----------------------------------------------------------------------------

void BasicHttpClientImpl::setPoliesToRequestData(HttpRequestData& requestData,
                                                 const FailureJudge& judge) const {
    RequestSteps::setPoliciesToRequestData(*this, judge, requestData, "CC Mode usage policy not available.");
}

HttpClientResult::Result BasicHttpClientImpl::onAuthentiactionFailed(const HttpRequestData& requestData,
                                                                     Response& response) {
    if (RequestSteps::isAuthenticationFailure(requestData.getEdgeTransformResult())) {
        RequestSteps::fabricateAuthenticationFailure(requestData.getEdgeTransformResult(), response);
    }
    return HttpClientResult::SUCCESS;
}

// --- synchronously -----------------------------------------------------------------------------------------

HttpClientResult::Result BasicHttpClientImpl::execute(std::shared_ptr<Request> request, Response& response) {
    const auto requestData = std::make_shared<HttpRequestData>(std::move(request), certVerifier_);
    const std::lock_guard run(requestData->getRunMutex());
    const std::shared_ptr<Policy> edgePolicy = getPolicy(Policy::PolicyNature::EDGE_USAGE);
    if (RequestSteps::isUnknown(edgePolicy)) {
        ZEB_LOG_ERROR(log::httpClient(), "Edge policy not available");
        return HttpClientResult::POLICY_NOT_AVAILABLE_ERROR;
    }
    if (RequestSteps::enforceEdge(edgePolicy, requestData, *clientData_) == EnforcingResult::SUCCESS) {
        ZEB_LOG_DEBUG(log::httpClient(), "Edge policy enforced successfully with transformed Url: "
                                             << RequestSteps::hiddenUrl(*requestData));
    } else {
        const TransformResult::Result edgeResult = requestData->getEdgeTransformResult();
        if (edgeResult == TransformResult::EDGE_DISABLED_BY_OVT_POLICY) {
            logDisabledByOvtPolicy();
            response.responseCode = HTTP_FORBIDDEN;
            response.body = DISABLED_BY_OVT_POLICY;
            return HttpClientResult::SUCCESS;
        }
        const bool canBeIgnored = policyFailureCanBeIgnored(*edgePolicy);
        if (canBeIgnored && RequestSteps::isAuthenticationFailure(edgeResult)) {
            return onAuthentiactionFailed(*requestData, response);
        }
        if (!canBeIgnored) {
            switch (edgeResult) {
                case TransformResult::EDGE_AUTHENTICATION_FAILED:
                    ZEB_LOG_ERROR(log::httpClient(), "Edge authentication failed");
                    return HttpClientResult::EDGE_AUTHENTICATION_FAILED;
                case TransformResult::EDGE_TOKEN_EXPIRED:
                case TransformResult::EDGE_PROXY_TOKEN_EXPIRED:
                    return onAuthentiactionFailed(*requestData, response);
                case TransformResult::EDGE_SSL_CONNECTION_ERROR:
                    ZEB_LOG_ERROR(log::httpClient(), "Edge SSL/TLS connection failed");
                    return HttpClientResult::SSL_CONNECTION_ERROR;
                default:
                    ZEB_LOG_ERROR(log::httpClient(), "Edge policy not enforced");
                    return HttpClientResult::POLICY_NOT_ENFORCED_ERROR;
            }
        }
    }
    clientData_->setEdgePolicy(edgePolicy);
    setPoliesToRequestData(*requestData, FailureJudge(*this));
    RequestSteps::setUserAgentToRequestData(*requestData);
    const HttpClientResult::Result result = executeImpl(clientData_, requestData);
    response = *requestData;
    SecureStringUtils::ZEBZeroString(requestData->body);
    return result;
}

// --- as a task ---------------------------------------------------------------------------------------------

namespace {

void warnWithoutListener(const std::shared_ptr<Request>& request) {
    if (request == nullptr || request->getListener() == nullptr) {
        ZEB_LOG_WARNING(log::httpClient(), "Listener is not set for request: " << ZEBLogger_replacePIIData(
                                               CurlHttpUtils::loggableUrl(request)));
    }
}

std::shared_ptr<HttpRequestOptions> optionsOrNull(const std::shared_ptr<Request>& request) {
    return request == nullptr ? nullptr : request->getOptions();
}

}  // namespace

HttpClientError::Error BasicHttpClientImpl::executeAsync(std::shared_ptr<Request> request,
                                                         unsigned int& requestId) {
    warnWithoutListener(request);
    return enqueueRequest(request, HTTPFileOperation::NONE, "", requestId);
}

HttpClientError::Error BasicHttpClientImpl::downloadAsync(std::shared_ptr<Request> request,
                                                          unsigned int& requestId,
                                                          const std::string& filePath) {
    warnWithoutListener(request);
    if (const std::shared_ptr<HttpRequestOptions> options = optionsOrNull(request)) {
        options->method = HttpMethod::GET;
    }
    return enqueueRequest(request, HTTPFileOperation::DOWNLOAD, filePath, requestId);
}

HttpClientError::Error BasicHttpClientImpl::uploadAsync(std::shared_ptr<Request> request,
                                                        unsigned int& requestId,
                                                        const std::string& filePath) {
    warnWithoutListener(request);
    const std::shared_ptr<HttpRequestOptions> options = optionsOrNull(request);
    if (options != nullptr && options->method != HttpMethod::POST) {
        options->method = HttpMethod::PUT;
    }
    return enqueueRequest(request, HTTPFileOperation::UPLOAD, filePath, requestId);
}

HttpClientError::Error BasicHttpClientImpl::enqueueRequest(const std::shared_ptr<Request>& request,
                                                           HTTPFileOperation::Method fileOperation,
                                                           const std::string& filePath,
                                                           unsigned int& requestId) {
    const std::shared_ptr<Policy> edgePolicy = getPolicy(Policy::PolicyNature::EDGE_USAGE);
    if (RequestSteps::isUnknown(edgePolicy)) {
        ZEB_LOG_ERROR(log::httpClient(), "Edge policy not available");
        return HttpClientError::POLICY_NOT_AVAILABLE_ERROR;
    }
    if (threadPool_ == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "No thread pool available, the request can't be processed");
        return HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR;
    }
    clientData_->setEdgePolicy(edgePolicy);
    const FailureJudge judge(*this);
    clientData_->setEdgeUsagePolicyCanBeIgnored(judge.canBeIgnored(*edgePolicy));
    const auto requestData = std::make_shared<HttpRequestData>(request, certVerifier_);
    requestData->getWrapper().fileOperation = fileOperation;
    if (fileOperation != HTTPFileOperation::NONE) {
        requestData->getWrapper().filePath = filePath;
    }
    requestId = requestData->getRequestId();
    setPoliesToRequestData(*requestData, judge);
    RequestSteps::setUserAgentToRequestData(*requestData);
    ZEB_LOG_DEBUG(log::httpClient(), "Creating task...");
    const auto task = std::make_shared<AsyncTask>(clientData_, requestData);
    ZEB_LOG_DEBUG(log::httpClient(), "Executing task...");
    threadPool_->enqueue(task, false, false);
    return HttpClientError::SUCCESS;
}

BasicHttpClientImpl::AsyncTask::AsyncTask(std::shared_ptr<HttpClientData> clientData,
                                          std::shared_ptr<HttpRequestData> requestData)
    : clientData_(std::move(clientData)), requestData_(std::move(requestData)) {}

BasicHttpClientImpl::AsyncTask::~AsyncTask() {
    if (executed_) {
        return;
    }
    ZEB_LOG_WARNING(log::httpClient(), "The Async task is going to be destroyed before its execution");
    const std::shared_ptr<Request>& request = requestData_->getRequest();
    const std::shared_ptr<HttpClientListener> listener =
        request == nullptr ? nullptr : request->getListener();
    if (listener != nullptr) {
        listener->onRequestFailed(requestData_->getRequestId(), HttpClientResult::REQUEST_LOST);
    } else {
        ZEB_LOG_WARNING(log::httpClient(),
                        "Unable to report the task as lost, no listeners registered for this request");
    }
}

void BasicHttpClientImpl::AsyncTask::execute() {
    executed_ = true;
    const std::lock_guard run(requestData_->getRunMutex());
    const std::shared_ptr<Request>& request = requestData_->getRequest();
    if (request != nullptr && request->isCancelled()) {
        ZEB_LOG_INFO(log::httpClient(), "request has been canceled, return.");
        fail(HttpClientResult::REQUEST_CANCELLED);
        return;
    }
    if (clientData_ != nullptr && !enforceEdgePolicy()) {
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(), "Edge policy enforced successfully with transformed Url:"
                                         << RequestSteps::hiddenUrl(*requestData_));
    const HttpClientResult::Result result = executeImpl(clientData_, requestData_);
    // Let go before the host hears of the end: from then on it may destroy the client and end libcurl, and
    // the easy handle must not be closed by this thread after that.
    clientData_.reset();
    if (request == nullptr || request->getListener() == nullptr) {
        SecureStringUtils::ZEBZeroString(requestData_->body);
        ZEB_LOG_WARNING(log::httpClient(),
                        "No listener is available to notify the client of the result. Result was " << result);
    } else if (result != HttpClientResult::SUCCESS) {
        ZEB_LOG_INFO(log::httpClient(),
                     "Notifying listener of a failure for request " << requestData_->formattedRequestID());
        fail(result);
    } else {
        ZEB_LOG_INFO(log::httpClient(), "Notifying listener of a completed transfer for request "
                                            << requestData_->formattedRequestID()
                                            << ", response code: " << requestData_->responseCode);
        complete();
    }
}

bool BasicHttpClientImpl::AsyncTask::enforceEdgePolicy() {
    const std::shared_ptr<Policy> policy = clientData_->getEdgePolicy();
    if (RequestSteps::enforceEdge(policy, requestData_, *clientData_) == EnforcingResult::SUCCESS) {
        return true;
    }
    const std::shared_ptr<Request>& request = requestData_->getRequest();
    const bool hasListener = request != nullptr && request->getListener() != nullptr;
    const TransformResult::Result result = requestData_->getEdgeTransformResult();
    if (result == TransformResult::EDGE_DISABLED_BY_OVT_POLICY && hasListener) {
        logDisabledByOvtPolicy();
        requestData_->responseCode = HTTP_FORBIDDEN;
        requestData_->body = DISABLED_BY_OVT_POLICY;
        complete();
        return false;
    }
    if (!clientData_->getEdgeUsagePolicyCanBeIgnored()) {
        if (hasListener) {
            onEdgePolicyNotIgnorable();
        } else {
            ZEB_LOG_WARNING(log::httpClient(), NO_LISTENER);
        }
        return false;
    }
    if (!hasListener) {
        ZEB_LOG_WARNING(log::httpClient(), "Http request client listener is empty");
        return true;
    }
    if (RequestSteps::isAuthenticationFailure(result)) {
        onAuthenticationFailed();
        return false;
    }
    return true;
}

void BasicHttpClientImpl::AsyncTask::onEdgePolicyNotIgnorable() {
    switch (requestData_->getEdgeTransformResult()) {
        case TransformResult::EDGE_AUTHENTICATION_FAILED:
            ZEB_LOG_ERROR(log::httpClient(), "Edge authentication failed");
            fail(HttpClientResult::EDGE_AUTHENTICATION_FAILED);
            break;
        case TransformResult::EDGE_TOKEN_EXPIRED:
        case TransformResult::EDGE_PROXY_TOKEN_EXPIRED:
            onAuthenticationFailed();
            break;
        case TransformResult::EDGE_SSL_CONNECTION_ERROR:
            ZEB_LOG_ERROR(log::httpClient(), "Edge SSL/TLS connection failed");
            fail(HttpClientResult::SSL_CONNECTION_ERROR);
            break;
        default:
            ZEB_LOG_ERROR(log::httpClient(), "Edge policy not enforced");
            fail(HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
            break;
    }
}

void BasicHttpClientImpl::AsyncTask::onAuthenticationFailed() {
    RequestSteps::fabricateAuthenticationFailure(requestData_->getEdgeTransformResult(), *requestData_);
    complete();
}

void BasicHttpClientImpl::AsyncTask::complete() {
    const std::shared_ptr<HttpClientListener> listener = requestData_->getRequest()->getListener();
    if (listener != nullptr) {
        listener->onRequestCompleted(requestData_->getRequestId(), *requestData_);
    }
    SecureStringUtils::ZEBZeroString(requestData_->body);
}

void BasicHttpClientImpl::AsyncTask::fail(HttpClientResult::Result result) {
    const std::shared_ptr<Request>& request = requestData_->getRequest();
    const std::shared_ptr<HttpClientListener> listener =
        request == nullptr ? nullptr : request->getListener();
    if (listener != nullptr) {
        listener->onRequestFailed(requestData_->getRequestId(), result);
    } else {
        ZEB_LOG_WARNING(log::httpClient(), NO_LISTENER);
    }
}

// --- one transfer ------------------------------------------------------------------------------------------

namespace {

HttpClientResult::Result finishFailedTransfer(HttpClientResult::Result result,
                                              const HttpClientData& clientData,
                                              HttpRequestData& requestData) {
    ZEB_LOG_ERROR(log::httpClient(),
                  "There was an issue performing the call to curl_easy_perform for request "
                      << requestData.formattedRequestID() << ": " << result);
    requestData.returnEasyCURLConnection();
    clientData.getNetworkEvent().notifyNetworkEventReporter(result, requestData, clientData.getEdgePolicy());
    return result;
}

HttpClientResult::Result finishCompletedTransfer(const HttpClientData& clientData,
                                                 const std::shared_ptr<HttpRequestData>& requestData) {
    RequestSteps::collectAnswer(clientData, requestData);
    requestData->returnEasyCURLConnection();
    const std::shared_ptr<Policy> edgePolicy = clientData.getEdgePolicy();
    RequestSteps::removeTransformedCookies(edgePolicy, clientData, *requestData);
    RequestSteps::closeFiles(*requestData);
    clientData.getNetworkEvent().notifyNetworkEventReporter(HttpClientResult::SUCCESS, *requestData,
                                                            edgePolicy);
    ZEB_LOG_DEBUG(
        log::httpClient(),
        "For request " << requestData->formattedRequestID()
                       << " the total size of the data received is: " << requestData->getTotalDataReceived()
                       << ", the size of the response body is: " << requestData->body.size());
    return HttpClientResult::SUCCESS;
}

}  // namespace

HttpClientResult::Result BasicHttpClientImpl::executeImpl(
    const std::shared_ptr<HttpClientData>& clientData, const std::shared_ptr<HttpRequestData>& requestData) {
    if (netutils::ApplicationEventHandler::getInstance()->isApplicationKilled()) {
        ZEB_LOG_WARNING(log::httpClient(), "Application is killed, Cancel request!");
        return HttpClientResult::REQUEST_CANCELLED;
    }
    if (clientData == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Internal object is NULL!");
        return HttpClientResult::UNKNOWN_ERROR;
    }
    const std::shared_ptr<Request>& request = requestData->getRequest();
    if (request == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Request not set.");
        return HttpClientResult::URL_NOT_SET_ERROR;
    }
    if (request->getOptions() == nullptr || request->getOptions()->url.empty()) {
        ZEB_LOG_ERROR(log::httpClient(), "URL not set");
        return HttpClientResult::URL_NOT_SET_ERROR;
    }
    const auto mailbox = std::make_shared<Mailbox>();
    performRequest(clientData, requestData, [mailbox](HttpClientResult::Result result, bool finished) {
        mailbox->put(result, finished);
    });
    // While it is parked the request belongs to the thread that runs the retry. One that has its result keeps
    // the mutex: a retry in between would write into the answer.
    const bool parked = !mailbox->isFilled();
    if (parked) {
        requestData->getRunMutex().unlock();
    }
    const HttpRequestResult outcome = mailbox->take();
    if (parked) {
        requestData->getRunMutex().lock();
    }
    requestData->setAnswered();
    if (outcome.finished) {
        return outcome.result;
    }
    return outcome.result == HttpClientResult::SUCCESS
               ? finishCompletedTransfer(*clientData, requestData)
               : finishFailedTransfer(outcome.result, *clientData, *requestData);
}

void BasicHttpClientImpl::retryRequest(const std::shared_ptr<HttpClientData>& clientData,
                                       const std::shared_ptr<HttpRequestData>& requestData,
                                       const Completion& completion) {
    const std::lock_guard run(requestData->getRunMutex());
    const bool answered = requestData->isAnswered();
    if (answered) {
        detachFromAnswer(*requestData);
    }
    requestData->returnEasyCURLConnection();
    // A fresh handle: libcurl would remember the refused state of the proxy.
    clientData->resetEasyCURLConnection();
    performRequest(clientData, requestData, completion);
    if (answered) {
        // Nobody collects this outcome. The handle must not stay with a request that may be parked again.
        requestData->returnEasyCURLConnection();
        SecureStringUtils::ZEBZeroString(requestData->body);
    }
}

void BasicHttpClientImpl::performRequest(const std::shared_ptr<HttpClientData>& clientData,
                                         const std::shared_ptr<HttpRequestData>& requestData,
                                         const Completion& completion) {
    clientData->provideEasyCURLConnection(*requestData);
    const std::shared_ptr<EasyCURLConnection> connection = requestData->getCurlConnection();
    if (connection == nullptr || connection->getHandle() == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "No CURL connection available");
        requestData->returnEasyCURLConnection();
        completion(HttpClientResult::UNKNOWN_ERROR, true);
        return;
    }
    const std::shared_ptr<CurlAnswerEvaluator> evaluator = clientData->getCurlAnswerEvaluator();
    HttpClientResult::Result result = HttpClientResult::UNKNOWN_ERROR;
    for (;;) {
        RequestSteps::forgetFormerAttempt(*requestData);
        if (!CurlHttpUtils::configureEasyRequest(requestData)) {
            ZEB_LOG_ERROR(log::httpClient(), "There was an issue configuring the request.");
            requestData->returnEasyCURLConnection();
            completion(HttpClientResult::HTTP_CONFIGURATION_ERROR, true);
            return;
        }
        result = requestData->enforceIpFamilyPreferencePolicy();
        if (result == HttpClientResult::SUCCESS) {
            result = requestData->enforceCommonCriteriaUsagePolicy();
        }
        if (result != HttpClientResult::SUCCESS) {
            // The handle goes back with the end of the request data.
            completion(result, true);
            return;
        }
        const int curlCode = performCurlRequest(requestData);
        result = evaluator->curlCodeToResult(curlCode, requestData.get());
        if (!evaluator->representServerFailure(curlCode) || !requestData->hasFailoverUrl()) {
            break;
        }
        ZEB_LOG_ERROR(log::httpClient(), "There was an issue performing the call to curl_easy_perform: "
                                             << curlCode << " Failing over to the next URL");
        requestData->switchToNextUrl(result);
        CurlHttpUtils::setUrl(requestData);
    }
    if (!CurlHttpUtils::getResponseCode(requestData.get())) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Failed to get the response code for request " << requestData->formattedRequestID());
    }
    ZEB_LOG_INFO(log::httpClient(),
                 "*-----* "
                 "HTTP response code "
                     << requestData->responseCode << " connect code " << requestData->connectCode
                     << " for request " << requestData->formattedRequestID() << " to "
                     << RequestSteps::hiddenUrl(*requestData));
    const bool refusedByProxy = requestData->connectCode == HTTP_PROXY_AUTHENTICATION_REQUIRED;
    if (refusedByProxy && requestData->getRequest()->isCancelled()) {
        // Nobody waits for credentials for this one any more: parked, it would not be answered until the host
        // has some. A scheme that takes a refused attempt first leaves its 407 behind when the next is
        // aborted.
        result = HttpClientResult::REQUEST_CANCELLED;
    } else if (refusedByProxy) {
        const std::shared_ptr<Proxy> proxy = requestData->getRequest()->getProxy();
        const auto retry = [clientData, requestData, completion] {
            retryRequest(clientData, requestData, completion);
        };
        ProxyAuthenticationHandler::getInstance()->handleProxyAuthRequired(
            proxy == nullptr ? std::string() : proxy->getURL(),
            requestData->getRequest()->shouldWaitUntilProxyCredentialReady(), retry,
            [completion, result] { completion(result, false); });
        return;
    }
    const ProxyReport report(*requestData);
    completion(result, false);
    report.send();
}

}  // namespace zeb::http
