#include "http/HttpClientData.h"

#include "core/Log.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpRequestData.h"

#include <utility>

namespace zeb::http {

namespace {

/// It has no state: one serves all. Never destroyed: transfers may still end while the process does.
const std::shared_ptr<CurlAnswerEvaluator>& defaultEvaluator() {
    static const auto& evaluator = *new auto(std::make_shared<CurlAnswerEvaluator>());
    return evaluator;
}

}  // namespace

HttpClientData::HttpClientData(std::shared_ptr<HttpNetworkEventReporter> reporter,
                               std::shared_ptr<EdgeTransformer> edgeTransformer, Lending lending)
    : networkEvent_(std::move(reporter), edgeTransformer),
      edgeTransformer_(std::move(edgeTransformer)),
      connectionAvailable_(lending == Lending::IN_TURN ? std::make_shared<Event>(true) : nullptr),
      easyConnection_(std::make_shared<EasyCURLConnection>()) {
    if (lending == Lending::TO_ONE) {
        easyConnection_->setPristine();
    }
    onEasyCURLConnectionReturned();
}

HttpClientData::~HttpClientData() = default;

std::shared_ptr<HttpClientData> HttpClientData::build(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                                      std::shared_ptr<EdgeTransformer> edgeTransformer) {
    return std::shared_ptr<HttpClientData>(
        new HttpClientData(std::move(reporter), std::move(edgeTransformer), Lending::IN_TURN));
}

void HttpClientData::provideEasyCURLConnection(HttpRequestData& requestData) {
    if (requestData.ownsEasyCURLConnection()) {
        ZEB_LOG_DEBUG(log::httpClient(), "The provided consumer already owns a curl connection");
        return;
    }
    if (connectionAvailable_ != nullptr) {
        connectionAvailable_->wait();
    }
    requestData.consumeEasyCURLConnection(getEasyCURLConnection(), shared_from_this());
}

void HttpClientData::onEasyCURLConnectionReturned() {
    if (connectionAvailable_ != nullptr) {
        connectionAvailable_->set();
    }
}

std::shared_ptr<EasyCURLConnection> HttpClientData::getEasyCURLConnection() const {
    const std::lock_guard lock(mutex_);
    return easyConnection_;
}

void HttpClientData::resetEasyCURLConnection() {
    auto replacement = std::make_shared<EasyCURLConnection>();
    const std::lock_guard lock(mutex_);
    // Swapped, so that the former handle is closed after the lock has gone.
    easyConnection_.swap(replacement);
}

std::shared_ptr<common::Policy> HttpClientData::getEdgePolicy() const {
    const std::lock_guard lock(mutex_);
    return edgePolicy_;
}

void HttpClientData::setEdgePolicy(std::shared_ptr<common::Policy> policy) {
    const std::lock_guard lock(mutex_);
    // Swapped, so that the former policy, which may be the host's, ends after the lock has gone.
    edgePolicy_.swap(policy);
}

bool HttpClientData::getEdgeUsagePolicyCanBeIgnored() const {
    const std::lock_guard lock(mutex_);
    return edgeUsagePolicyCanBeIgnored_;
}

void HttpClientData::setEdgeUsagePolicyCanBeIgnored(bool canBeIgnored) {
    const std::lock_guard lock(mutex_);
    edgeUsagePolicyCanBeIgnored_ = canBeIgnored;
}

std::shared_ptr<CurlAnswerEvaluator> HttpClientData::getCurlAnswerEvaluator() const {
    const std::lock_guard lock(mutex_);
    return curlAnswerEvaluator_ == nullptr ? defaultEvaluator() : curlAnswerEvaluator_;
}

void HttpClientData::setCurlAnswerEvaluator(std::shared_ptr<CurlAnswerEvaluator> evaluator) {
    const std::lock_guard lock(mutex_);
    curlAnswerEvaluator_.swap(evaluator);
}

}  // namespace zeb::http
