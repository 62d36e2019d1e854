#include "http/RequestProcessing.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "core/SecureStringUtils.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/CurlHttpUtils.h"
#include "http/EdgePolicy.h"
#include "http/EnqueueClientDataTask.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClientData.h"
#include "http/Proxy.h"
#include "http/Request.h"
#include "http/RequestSteps.h"
#include "http/VerificationLabel.h"

#include <algorithm>
#include <utility>

#include <curl/curl.h>

namespace zeb::http {

using common::Policy;
using TransformResult = EdgeTransformer::TransformRequestResult;

namespace {

constexpr char POOL_THREADS[] = "MHttp-Q";
constexpr unsigned int MIN_POOL_THREADS = 1;
constexpr unsigned int POOL_IDLE_SECONDS = 60;
constexpr long IDLE_WAIT_MS = 30000;
constexpr int ACTIVITY_WAIT_MS = 20000;
constexpr std::size_t MANY_SPARE_TRANSFERS = 64;

/// Whose loop the thread runs.
thread_local const Runnable* drivenByThisThread = nullptr;

/// A listener is being called.
class CallOut {
public:
    explicit CallOut(MultiCurlConnection& connection) : connection_(connection) {
        connection_.setCallingOut(true);
    }
    ~CallOut() { connection_.setCallingOut(false); }
    CallOut(const CallOut&) = delete;
    CallOut& operator=(const CallOut&) = delete;

private:
    MultiCurlConnection& connection_;
};

bool useProxy(const Request& request) {
    const std::shared_ptr<Proxy> proxy = request.getProxy();
    return proxy != nullptr && !proxy->getURL().empty();
}

void logPerformResult(const std::string& prefix, CURLMcode code) {
    const char* name = nullptr;
    switch (code) {
        case CURLM_OK:
            return;
        case CURLM_CALL_MULTI_PERFORM:
            ZEB_LOG_DEBUG(log::httpClient(), prefix << "curl_multi_perform() returned "
                                                    << "CURLM_CALL_MULTI_PERFORM");
            return;
        case CURLM_BAD_HANDLE:
            name = "CURLM_BAD_HANDLE";
            break;
        case CURLM_BAD_EASY_HANDLE:
            name = "CURLM_BAD_EASY_HANDLE";
            break;
        case CURLM_OUT_OF_MEMORY:
            name = "CURLM_OUT_OF_MEMORY";
            break;
        case CURLM_INTERNAL_ERROR:
            name = "CURLM_INTERNAL_ERROR";
            break;
        case CURLM_BAD_SOCKET:
            name = "CURLM_BAD_SOCKET";
            break;
        case CURLM_UNKNOWN_OPTION:
            name = "CURLM_UNKNOWN_OPTION";
            break;
        case CURLM_LAST:
            name = "CURLM_LAST";
            break;
        default:
            ZEB_LOG_ERROR(log::httpClient(), prefix << "curl_multi_perform() returned an unknown value.");
            return;
    }
    ZEB_LOG_ERROR(log::httpClient(), prefix << "curl_multi_perform() returned " << name);
}

}  // namespace

/// Tells on a pool thread that a request could not be added.
class MultiHttpClientImpl::RequestProcessing::FailTask : public Task {
public:
    FailTask(ClientData clientData, std::shared_ptr<RequestProcessing> requestProcessing)
        : clientData_(std::move(clientData)), requestProcessing_(std::move(requestProcessing)) {}
    void execute() override { requestProcessing_->fail(clientData_, HttpClientResult::UNKNOWN_ERROR); }

private:
    const ClientData clientData_;
    const std::shared_ptr<RequestProcessing> requestProcessing_;
};

MultiHttpClientImpl::RequestProcessing::RequestProcessing(
    std::shared_ptr<MultiCurlConnection> multiConnection, HttpNetworkEvent networkEvent,
    std::shared_ptr<dns::DnsHostResolver> resolver, unsigned int threads)
    : multiConnection_(std::move(multiConnection)),
      networkEvent_(std::move(networkEvent)),
      unresolvedHostCache_(std::move(resolver)),
      // With no thread at all no request would ever be answered.
      enqueuePool_(MIN_POOL_THREADS, std::max(threads, MIN_POOL_THREADS),
                   multiConnection_->threadName(POOL_THREADS), POOL_IDLE_SECONDS) {}

MultiHttpClientImpl::RequestProcessing::~RequestProcessing() = default;

// --- from the caller to the transfer -----------------------------------------------------------------------

HttpClientError::Error MultiHttpClientImpl::RequestProcessing::enqueueClientDataOnNewThread(
    ClientData clientData) {
    if (becomesReadyAtOnce(clientData)) {
        return HttpClientError::SUCCESS;
    }
    enqueuePool_.enqueue(std::make_shared<EnqueueClientDataTask>(std::move(clientData), shared_from_this()),
                         false, false);
    return HttpClientError::SUCCESS;
}

/// Deliberate: what can't block doesn't go by way of the pool, which is there for what can. Nobody could tell
/// the difference but by the time that two changes of threads take, more than libcurl's part of a small
/// request. Whatever fails is done again on a pool thread, and told there.
bool MultiHttpClientImpl::RequestProcessing::becomesReadyAtOnce(ClientData& clientData) {
    const HttpRequestData& requestData = *clientData->getRequestData();
    const Request& request = *requestData.getRequest();
    const std::shared_ptr<Policy> edgePolicy = clientData->getEdgePolicy();
    const bool edgeMayBlock = edgePolicy != EdgePolicy::NEVER_USE_EDGE_POLICY;
    // Which proxy the system wants may be a question to the network itself.
    const bool lookupMayBlock = UnresolvedHostCache::namesHost(request.getOptions()->url) &&
                                (request.getIsUseSystemProxy() || !useProxy(request));
    return running_ && !edgeMayBlock && !lookupMayBlock && enforceEdgeUsagePolicy(clientData, edgePolicy) &&
           becomeReady(clientData);
}

void MultiHttpClientImpl::RequestProcessing::enqueueClientData(ClientData clientData) {
    if (!running_) {
        lose(clientData);
        return;
    }
    HttpRequestData& requestData = *clientData->getRequestData();
    if (!enforceEdgeUsagePolicy(clientData, clientData->getEdgePolicy())) {
        ZEB_LOG_ERROR(log::httpClient(), prefix() << "Edge policy not enforceable.");
        fail(clientData, requestData.getEdgeTransformResult() == TransformResult::EDGE_DISABLED_BY_OVT_POLICY
                             ? HttpClientResult::EDGE_DISABLED_BY_OVT_POLICY
                             : HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
        return;
    }
    const Request& request = *requestData.getRequest();
    if (!useProxy(request) && !unresolvedHostCache_.hostCanBeResolved(request.getOptions()->url)) {
        ZEB_LOG_ERROR(log::httpClient(), prefix() << "Unable to resolve the host");
        fail(clientData, HttpClientResult::UNRESOLVED_HOST_ERROR);
        return;
    }
    if (!becomeReady(clientData)) {
        lose(clientData);
    }
}

bool MultiHttpClientImpl::RequestProcessing::enforceEdgeUsagePolicy(
    const ClientData& clientData, const std::shared_ptr<Policy>& edgePolicy) const {
    const std::shared_ptr<HttpRequestData>& requestData = clientData->getRequestData();
    ZEB_LOG_DEBUG(log::httpClient(), prefix() << "About to enforce Edge policy with Url: "
                                              << RequestSteps::hiddenUrl(*requestData));
    if (RequestSteps::enforceEdge(edgePolicy, requestData, *clientData) !=
        Policy::PolicyEnforcingResult::SUCCESS) {
        const TransformResult::Result result = requestData->getEdgeTransformResult();
        if (result == TransformResult::EDGE_DISABLED_BY_OVT_POLICY) {
            ZEB_LOG_WARNING(log::httpClient(),
                            prefix() << "HTTP connection is disabled by OVT Policy(No Service).");
            return false;
        }
        if (!clientData->getEdgeUsagePolicyCanBeIgnored()) {
            logEnforcingResult(result);
            return false;
        }
        if (RequestSteps::isAuthenticationFailure(result)) {
            onAuthenticationFailed(*requestData);
            return false;
        }
    }
    ZEB_LOG_DEBUG(log::httpClient(), prefix() << "Edge policy enforced successfully with transformed Url: "
                                              << RequestSteps::hiddenUrl(*requestData));
    // Under this policy the transformer isn't asked: headers, token, cookies, names and URL are as
    // configured.
    const bool asConfigured = edgePolicy == EdgePolicy::NEVER_USE_EDGE_POLICY && !requestData->hasFailedUrl();
    return asConfigured ? requestData->getWrapper().urlGiven : applyTransformation(requestData);
}

void MultiHttpClientImpl::RequestProcessing::logEnforcingResult(TransformResult::Result result) const {
    ZEB_LOG_ERROR(log::httpClient(), prefix() << (result == TransformResult::EDGE_AUTHENTICATION_FAILED
                                                      ? "Edge policy not enforced because Edge "
                                                        "authentication failed"
                                                      : "Edge policy not enforced"));
}

void MultiHttpClientImpl::RequestProcessing::onAuthenticationFailed(HttpRequestData& requestData) const {
    // Deliberate: the answer is written, but what the listener gets is POLICY_NOT_ENFORCED_ERROR.
    RequestSteps::fabricateAuthenticationFailure(requestData.getEdgeTransformResult(), requestData, prefix());
}

/// The handle was configured before the edge rewrote the request.
bool MultiHttpClientImpl::RequestProcessing::applyTransformation(
    const std::shared_ptr<HttpRequestData>& requestData) const {
    const HttpRequestOptions& options = *requestData->getRequest()->getOptions();
    if (!CurlHttpUtils::setHeadersFromHttpRequestData(requestData)) {
        return false;
    }
    // As in the configuration: a token goes to nobody when the caller chose another authentication.
    if (options.authType == AuthType::OAUTH && !CurlHttpUtils::addOauthToken(requestData)) {
        return false;
    }
    // As in the configuration, too: through both, a cookie would be sent twice.
    const bool cookiesSet = options.isCookieMandatory() ? CurlHttpUtils::setCookieMandatory(requestData)
                                                        : CurlHttpUtils::setCookies(requestData);
    if (!cookiesSet || !CurlHttpUtils::setUrl(requestData)) {
        return false;
    }
    // The URL, or after a failover the next one, may have brought other names to judge the server by.
    VerificationLabel::putOn(*requestData);
    return true;
}

/// The driving thread adds it: this one would wait for the multi handle, through a wait for the network, and
/// each of the two would wake the other for each request. Nothing of the request is kept here, as its handle
/// must end there. False, and nothing taken, when the end has come.
bool MultiHttpClientImpl::RequestProcessing::becomeReady(ClientData& clientData) {
    const ScopedLock lock(transfersMutex_);
    if (!running_) {
        return false;
    }
    readyTransfers_.push_back(std::move(clientData));
    if (drivenByThisThread != this) {
        wakeEvent_.set();
    }
    return true;
}

// --- the loop ----------------------------------------------------------------------------------------------

void MultiHttpClientImpl::RequestProcessing::run() {
    // A listener may let go of the client, and with it of us, while it is being called from here.
    const std::shared_ptr<RequestProcessing> self = shared_from_this();
    drivenByThisThread = this;
    ZEB_LOG_INFO(log::httpClient(), prefix() << "Running MultiHttpClient processing thread loop.");
    while (running_) {
        multiConnection_->startDriving();
        performTransferRequests();
        multiConnection_->stopDriving();
        if (decideToWait()) {
            ZEB_LOG_DEBUG(log::httpClient(), prefix() << "waiting for new requests");
            wakeEvent_.timedWait(IDLE_WAIT_MS);
        }
    }
    giveUpTransfers();
    ZEB_LOG_INFO(log::httpClient(), prefix() << "Exiting MultiHttpClient processing thread.");
}

bool MultiHttpClientImpl::RequestProcessing::decideToWait() {
    const ScopedLock lock(transfersMutex_);
    if (!running_ || !activeTransfers_.empty() || !readyTransfers_.empty()) {
        return false;
    }
    wakeEvent_.reset();
    return true;
}

void MultiHttpClientImpl::RequestProcessing::performTransferRequests() {
    int running = performMultiRequests();
    int lastRunning = running;
    if (running > 0) {
        ZEB_LOG_DEBUG(log::httpClient(), prefix() << " Current running handles: " << running);
    }
    tellOfFallenCount();
    // Without the flag a transfer that nothing aborts would keep the client from its end.
    while (running >= 1 && running_) {
        if (!waitForActivity()) {
            ZEB_LOG_ERROR(log::httpClient(), prefix() << "curl_multi_wait() did not return successfully.");
            checkTransfersAndNotifyListeners();
            return;
        }
        if (running != lastRunning) {
            ZEB_LOG_DEBUG(log::httpClient(), prefix() << "Current running handles: " << running);
            lastRunning = running;
            checkTransfersAndNotifyListeners();
        }
        running = performMultiRequests();
        tellOfFallenCount();
    }
    checkTransfersAndNotifyListeners();
}

/// A listener is told at once: the next wait lasts until one of the other transfers stirs, and all of them
/// may be silent. The running count alone doesn't show an end: one may have ended while another has come.
void MultiHttpClientImpl::RequestProcessing::tellOfFallenCount() {
    if (someHaveEnded_) {
        checkTransfersAndNotifyListeners();
    }
}

/// All that have become ready, each under the mutex by itself.
void MultiHttpClientImpl::RequestProcessing::addReadyTransfers() {
    {
        const ScopedLock lock(transfersMutex_);
        if (readyTransfers_.empty()) {
            return;
        }
        batch_.swap(readyTransfers_);
    }
    for (ClientData& clientData : batch_) {
        if (!addToMultiHandle(clientData->getRequestData()->getEasyHandle())) {
            ZEB_LOG_ERROR(log::httpClient(), prefix() << "Unable to add the request to the CURL stack.");
            // As all failures before the transfer, it is told on a pool thread.
            enqueuePool_.enqueue(std::make_shared<FailTask>(std::move(clientData), shared_from_this()), false,
                                 false);
            clientData = nullptr;
        }
    }
    {
        const ScopedLock lock(transfersMutex_);
        for (ClientData& clientData : batch_) {
            if (clientData != nullptr) {
                const HttpRequestData& requestData = *clientData->getRequestData();
                ZEB_LOG_DEBUG(log::httpClient(), prefix()
                                                     << "adding request " << requestData.formattedRequestID()
                                                     << " to active transfers queue");
                addToActiveTransfers(requestData.getEasyHandle(), std::move(clientData));
            }
        }
    }
    batch_.clear();
}

/// With transfersMutex_ held. Under load each transfer that comes takes the place of one that has ended.
void MultiHttpClientImpl::RequestProcessing::addToActiveTransfers(void* easy, ClientData clientData) {
    if (spareTransfers_.empty()) {
        activeTransfers_.emplace(easy, std::move(clientData));
        return;
    }
    Transfers::node_type transfer = std::move(spareTransfers_.back());
    spareTransfers_.pop_back();
    transfer.key() = easy;
    transfer.mapped() = std::move(clientData);
    activeTransfers_.insert(std::move(transfer));
}

bool MultiHttpClientImpl::RequestProcessing::addToMultiHandle(void* easy) {
    const ScopedLock lock(multiConnection_->getMutex());
    multiConnection_->watchSocketsOf(easy);
    if (curl_multi_add_handle(multiConnection_->getHandle(), easy) != CURLM_OK) {
        return false;
    }
    ++inTransfer_;
    return true;
}

int MultiHttpClientImpl::RequestProcessing::performMultiRequests() {
    addReadyTransfers();
    int running = 0;
    CURLMcode code = CURLM_OK;
    {
        const ScopedLock lock(multiConnection_->getMutex());
        code = curl_multi_perform(multiConnection_->getHandle(), &running);
    }
    logPerformResult(prefix(), code);
    someHaveEnded_ = running < inTransfer_;
    inTransfer_ = running;
    return running;
}

bool MultiHttpClientImpl::RequestProcessing::waitForActivity() {
    addReadyTransfers();
    multiConnection_->giveWay();
    if (!multiConnection_->beginWait()) {
        return true;  // the end has come
    }
    CURLMcode code = CURLM_OK;
    {
        const ScopedLock lock(multiConnection_->getMutex());
        int descriptors = 0;
        code = curl_multi_wait(multiConnection_->getHandle(), nullptr, 0, ACTIVITY_WAIT_MS, &descriptors);
    }
    multiConnection_->endWait();
    return code == CURLM_OK;
}

// --- the end of a transfer ---------------------------------------------------------------------------------

void MultiHttpClientImpl::RequestProcessing::checkTransfersAndNotifyListeners() {
    int left = 1;
    while (left > 0) {
        void* easy = nullptr;
        CURLMSG kind = CURLMSG_NONE;
        int curlCode = CURLE_OK;
        bool read = false;
        {
            const ScopedLock lock(multiConnection_->getMutex());
            if (const CURLMsg* const message = curl_multi_info_read(multiConnection_->getHandle(), &left)) {
                // The message itself is libcurl's, and gone with the next call.
                read = true;
                kind = message->msg;
                easy = message->easy_handle;
                curlCode = message->data.result;
            }
        }
        if (!read) {
            ZEB_LOG_DEBUG(log::httpClient(), prefix() << "curl_multi_info_read() returned NULL.");
        } else if (kind != CURLMSG_DONE) {
            ZEB_LOG_WARNING(
                log::httpClient(),
                prefix() << "Unidentified message type returned from curl_multi_info_read(): " << kind);
        } else {
            finishTransfer(easy, curlCode);
        }
    }
    releaseEndedTransfers();
    reportOutcomes();
}

void MultiHttpClientImpl::RequestProcessing::finishTransfer(void* easy, int curlCode) {
    const ClientData clientData = takeTransfer(easy);
    if (clientData == nullptr) {
        ZEB_LOG_WARNING(log::httpClient(), prefix() << "The internal data object was not found on the list.");
        return;
    }
    const std::shared_ptr<HttpRequestData>& requestData = clientData->getRequestData();
    removeFromMultiHandle(easy);
    curlCode = RequestSteps::settleCode(curlCode, *requestData);
    const std::shared_ptr<CurlAnswerEvaluator> evaluator = clientData->getCurlAnswerEvaluator();
    const HttpClientResult::Result result = evaluator->curlCodeToResult(curlCode, requestData.get());
    ZEB_LOG_INFO(log::httpClient(), prefix() << "*-----* "
                                                "HTTP response code "
                                             << requestData->responseCode << " for request "
                                             << requestData->formattedRequestID() << " to "
                                             << RequestSteps::hiddenUrl(*requestData));
    if (evaluator->representServerFailure(curlCode) && failOver(clientData, result, curlCode)) {
        return;
    }
    CurlHttpUtils::resetCurlPassword(requestData);
    CurlHttpUtils::logOperationTiming(requestData);
    notifyListener(clientData, result);
    requestData->returnEasyCURLConnection();
}

MultiHttpClientImpl::RequestProcessing::ClientData MultiHttpClientImpl::RequestProcessing::takeTransfer(
    void* easy) {
    const ScopedLock lock(transfersMutex_);
    ClientData clientData;
    const auto active = activeTransfers_.find(easy);
    if (active != activeTransfers_.end()) {
        clientData = std::move(active->second);
        Transfers::node_type transfer = activeTransfers_.extract(active);
        if (spareTransfers_.size() < MANY_SPARE_TRANSFERS) {
            spareTransfers_.push_back(std::move(transfer));
        }
        return clientData;
    }
    // A cancelled one isn't told to anybody; releaseEndedTransfers() sees to the handle.
    const auto cancelled = cancelledTransfers_.find(easy);
    if (cancelled != cancelledTransfers_.end()) {
        endedTransfers_.emplace_back(easy, std::move(cancelled->second));
        cancelledTransfers_.erase(cancelled);
    }
    return nullptr;
}

bool MultiHttpClientImpl::RequestProcessing::failOver(const ClientData& clientData,
                                                      HttpClientResult::Result result, int curlCode) {
    const std::shared_ptr<HttpRequestData>& requestData = clientData->getRequestData();
    if (!requestData->hasFailoverUrl()) {
        return false;
    }
    ZEB_LOG_ERROR(log::httpClient(), prefix() << "There was an issue performing the call to "
                                                 "curl_multi_perform: "
                                              << curlCode << " Failing over to the next URL");
    requestData->switchToNextUrl(result);
    CurlHttpUtils::setUrl(requestData);
    // The handle isn't configured anew, so what the former attempt has left is cleared here.
    RequestSteps::forgetFormerAttempt(*requestData);
    CurlHttpUtils::prepareFile(requestData->getWrapper());
    enqueueClientDataOnNewThread(clientData);
    ZEB_LOG_DEBUG(log::httpClient(),
                  prefix() << "Avoiding listener notification waiting for the failover request result.");
    return true;
}

void MultiHttpClientImpl::RequestProcessing::notifyListener(const ClientData& clientData,
                                                            HttpClientResult::Result result) {
    HttpRequestData& requestData = *clientData->getRequestData();
    const std::shared_ptr<HttpClientListener> listener = requestData.getRequest()->getListener();
    if (listener == nullptr) {
        ZEB_LOG_WARNING(log::httpClient(),
                        prefix() << "An appropriate listener for the libCURL result is not available.");
        return;
    }
    if (requestData.getRequest()->isCancelled()) {
        ZEB_LOG_INFO(log::httpClient(), prefix() << "Avoiding listener notification for cancelled request"
                                                 << requestData.formattedRequestID());
        return;
    }
    const std::shared_ptr<Policy> edgePolicy = clientData->getEdgePolicy();
    if (result == HttpClientResult::SUCCESS) {
        collectAnswer(clientData, edgePolicy);
    }
    // Made before the listener is called: that may make another request of this one's options.
    outcomes_.push_back(networkEvent_.reportOf(result, requestData, edgePolicy));
    if (result == HttpClientResult::SUCCESS) {
        ZEB_LOG_INFO(log::httpClient(), prefix()
                                            << "Notifying listener of a completed transfer, request "
                                            << requestData.formattedRequestID() << ", data received "
                                            << requestData.getTotalDataReceived() << " bytes, response body "
                                            << requestData.body.size() << " bytes");
        const CallOut callOut(*multiConnection_);
        listener->onRequestCompleted(requestData.getRequestId(), requestData);
        SecureStringUtils::ZEBZeroString(requestData.body);
    } else {
        ZEB_LOG_INFO(log::httpClient(), prefix() << "Notifying listener of a failure for request "
                                                 << requestData.formattedRequestID());
        const CallOut callOut(*multiConnection_);
        listener->onRequestFailed(requestData.getRequestId(), result);
    }
}

void MultiHttpClientImpl::RequestProcessing::reportOutcomes() {
    for (const HttpNetworkEvent::Report& report : outcomes_) {
        networkEvent_.tell(report);
    }
    outcomes_.clear();
}

void MultiHttpClientImpl::RequestProcessing::collectAnswer(const ClientData& clientData,
                                                           const std::shared_ptr<Policy>& edgePolicy) {
    const std::shared_ptr<HttpRequestData>& requestData = clientData->getRequestData();
    RequestSteps::collectAnswer(*clientData, requestData, prefix());
    if (!CurlHttpUtils::getResponseCode(requestData.get())) {
        ZEB_LOG_ERROR(log::httpClient(), prefix() << "Failed to get the response code for request "
                                                  << requestData->formattedRequestID());
    }
    ZEB_LOG_INFO(log::httpClient(), prefix() << "Http Response Code " << requestData->responseCode
                                             << " connect code " << requestData->connectCode
                                             << " for request " << requestData->formattedRequestID());
    RequestSteps::removeTransformedCookies(edgePolicy, *clientData, *requestData, prefix());
    RequestSteps::closeFiles(*requestData);
}

// --- ends without an answer --------------------------------------------------------------------------------

void MultiHttpClientImpl::RequestProcessing::clearTransfers() {
    ZEB_LOG_DEBUG(log::httpClient(), prefix() << "waiting on _mutex");
    const ScopedLock lock(transfersMutex_);
    ZEB_LOG_INFO(log::httpClient(), prefix() << " number of active transfers: " << activeTransfers_.size());
    for (const auto& [easy, clientData] : activeTransfers_) {
        clientData->getRequestData()->getRequest()->cancel();
    }
    cancelledTransfers_.merge(activeTransfers_);
    activeTransfers_.clear();
}

void MultiHttpClientImpl::RequestProcessing::releaseEndedTransfers() {
    std::vector<std::pair<void*, ClientData>> ended;
    {
        const ScopedLock lock(transfersMutex_);
        ended.swap(endedTransfers_);
    }
    for (const auto& [easy, clientData] : ended) {
        removeFromMultiHandle(easy);
        clientData->getRequestData()->returnEasyCURLConnection();
    }
}

void MultiHttpClientImpl::RequestProcessing::stopThread() {
    {
        const ScopedLock lock(transfersMutex_);
        running_ = false;
        wakeEvent_.set();
    }
    multiConnection_->interruptWait();
}

void MultiHttpClientImpl::RequestProcessing::giveUpTransfers() {
    std::vector<ClientData> ready;
    Transfers active;
    Transfers cancelled;
    {
        const ScopedLock lock(transfersMutex_);
        ready.swap(readyTransfers_);
        active.swap(activeTransfers_);
        cancelled.swap(cancelledTransfers_);
    }
    for (const auto& [easy, clientData] : cancelled) {
        removeFromMultiHandle(easy);
        clientData->getRequestData()->returnEasyCURLConnection();
    }
    // These came between the cancellation of all and the end.
    for (const auto& [easy, clientData] : active) {
        removeFromMultiHandle(easy);
        lose(clientData);
    }
    for (const ClientData& clientData : ready) {
        lose(clientData);
    }
}

void MultiHttpClientImpl::RequestProcessing::removeFromMultiHandle(void* easy) {
    CURLMcode code = CURLM_OK;
    {
        const ScopedLock lock(multiConnection_->getMutex());
        code = curl_multi_remove_handle(multiConnection_->getHandle(), easy);
    }
    if (code != CURLM_OK) {
        ZEB_LOG_ERROR(log::httpClient(),
                      prefix() << "Unable to remove the easy handle from the CURL multi-handle: "
                               << curl_multi_strerror(code));
    }
}

/// Answers a request that has not become a transfer. The handle goes first: once the host has heard of the
/// end it may end the client and libcurl.
void MultiHttpClientImpl::RequestProcessing::fail(const ClientData& clientData,
                                                  HttpClientResult::Result result) const {
    const std::shared_ptr<HttpRequestData> requestData = clientData->getRequestData();
    requestData->returnEasyCURLConnection();
    const std::shared_ptr<HttpClientListener> listener = requestData->getRequest()->getListener();
    if (listener == nullptr) {
        ZEB_LOG_WARNING(log::httpClient(),
                        prefix() << "An appropriate listener for the libCURL result is not available.");
        return;
    }
    listener->onRequestFailed(requestData->getRequestId(), result);
}

/// The client ended before the request became a transfer.
void MultiHttpClientImpl::RequestProcessing::lose(const ClientData& clientData) const {
    const std::shared_ptr<HttpRequestData> requestData = clientData->getRequestData();
    if (requestData->getRequest()->isCancelled()) {
        requestData->returnEasyCURLConnection();
        return;
    }
    ZEB_LOG_WARNING(log::httpClient(), prefix() << "The client ends before request "
                                                << requestData->formattedRequestID() << " is transferred.");
    fail(clientData, HttpClientResult::REQUEST_LOST);
}

}  // namespace zeb::http
