#pragma once

#include "common/FailureManagementPolicy.h"
#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/EdgePolicy.h"
#include "http/EdgeTransformer.h"
#include "http/HttpClientListener.h"
#include "http/HttpNetworkEventReporter.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::http::test {

using zeb::test::LogCapture;
using zeb::test::LoopbackServer;
using zeb::test::RefusedPort;
using Reply = LoopbackServer::Reply;
using TransformResult = EdgeTransformer::TransformRequestResult;

/// What an asynchronous request was answered with.
struct Outcome {
    unsigned int id = 0;
    bool completed = false;
    HttpClientResult::Result result = HttpClientResult::SUCCESS;
    Response response;
};

/// Keeps the answers and lets a test wait for them. The functions, set before the request starts, run within
/// the call.
class RecordingListener : public HttpClientListener {
public:
    std::function<void(ProgressData)> whenProgress;
    std::function<void(const Outcome&)> whenAnswered;

    void onRequestFailed(unsigned int requestId, HttpClientResult::Result result) override {
        take({requestId, false, result, {}});
    }
    void onRequestCompleted(unsigned int requestId, const Response& response) override {
        take({requestId, true, HttpClientResult::SUCCESS, response});
    }
    void onRequestProgress(unsigned int, ProgressData progress) override {
        if (whenProgress) {
            whenProgress(progress);
        }
    }

    /// Fewer than asked for after ten seconds.
    std::vector<Outcome> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return outcomes_.size() >= count; });
        return outcomes_;
    }
    /// The one answer that must come.
    Outcome wait() {
        const std::vector<Outcome> all = waitFor(1);
        EXPECT_EQ(all.size(), 1U);
        return all.empty() ? Outcome{} : all.front();
    }

private:
    void take(const Outcome& outcome) {
        if (whenAnswered) {
            whenAnswered(outcome);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        outcomes_.push_back(outcome);
        changed_.notify_all();
    }

    std::mutex mutex_;  ///< guards outcomes_
    std::condition_variable changed_;
    std::vector<Outcome> outcomes_;
};

/// Does to a request what the edge would, as the test says.
class FakeTransformer : public EdgeTransformer {
public:
    TransformResult::Result result = TransformResult::SUCCESS;
    std::string url;  ///< takes the place of the request's, unless empty
    std::deque<std::string> failoverUrls;
    TransformResult::Result cookieResult = TransformResult::SUCCESS;
    std::vector<std::string> cookieUrls;  ///< of each removeTransformedCookies
    int transformations = 0;

    TransformResult::Result transformRequest(std::shared_ptr<HttpRequestData> requestData) override {
        ++transformations;
        if (result == TransformResult::SUCCESS) {
            if (!url.empty()) {
                requestData->getRequest()->getOptions()->url = url;
            }
            requestData->setFailoverUrls(failoverUrls);
            requestData->getRequest()->getOptions()->setEdgeRequest(true);
        }
        return result;
    }
    TransformResult::Result transformRequestUsingRequestOAuthToken(
        std::shared_ptr<HttpRequestData> data) override {
        return transformRequest(std::move(data));
    }
    TransformResult::Result transformRequestUsingXEdgeAuth(std::shared_ptr<HttpRequestData> data) override {
        return transformRequest(std::move(data));
    }
    TransformResult::Result transformRequestUsingEdgeTokenAndLumenCookie(
        std::shared_ptr<HttpRequestData> data) override {
        return transformRequest(std::move(data));
    }
    TransformResult::Result removeTransformedCookies(Response&, const std::string& ofUrl) override {
        cookieUrls.push_back(ofUrl);
        return cookieResult;
    }
    bool isRequestTransformed(const RequestWrapper& wrapper) const override {
        return wrapper.request != nullptr && wrapper.request->getOptions() != nullptr &&
               wrapper.request->getOptions()->isEdgeRequest();
    }
};

/// Always through the edge, on a machine that needs no edge layer for it.
class ReachableEdgePolicy : public EdgePolicy {
public:
    ReachableEdgePolicy() : EdgePolicy(PolicyValue::ALWAYS_USE) {}
    bool verifyEnforceability() const override { return true; }
};

class MockReporter : public HttpNetworkEventReporter {
public:
    MOCK_METHOD(void, hintNetworkInterfaceMightHaveDropped, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkStackNotReady, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkIsInUse, (const std::string&), (override));
    MOCK_METHOD(void, edgeInfrastructureEvent, (const std::string&, const std::string&), (override));
};

inline std::shared_ptr<ThreadPool> makePool(unsigned threads = 10) {
    return std::make_shared<ThreadPool>(0, threads, "AsyncHttpReq", 60);
}

inline std::shared_ptr<BasicHttpClientImpl> makeClient(
    const std::shared_ptr<EdgeTransformer>& transformer = nullptr,
    const std::shared_ptr<HttpNetworkEventReporter>& reporter = nullptr) {
    auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(transformer, nullptr, makePool(), reporter);
    if (transformer != nullptr) {
        client->addPolicy(std::make_shared<ReachableEdgePolicy>());
    }
    return client;
}

inline std::shared_ptr<Request> makeRequest(const std::string& url,
                                            const std::shared_ptr<HttpClientListener>& listener = nullptr) {
    auto request = std::make_shared<Request>(url);
    request->setListener(listener);
    return request;
}

/// Answers everything with 200 and "hello".
inline Reply hello(const LoopbackServer::Request&) {
    return Reply::response(200, "hello");
}

/// The client's handle is free: a further request runs through.
inline void expectUsable(BasicHttpClient& client) {
    LoopbackServer server(hello);
    const auto listener = std::make_shared<RecordingListener>();
    unsigned int id = 0;
    ASSERT_EQ(client.executeAsync(makeRequest(server.url("/after"), listener), id), HttpClientError::SUCCESS);
    EXPECT_EQ(listener->wait().response.body, "hello") << "the handle is not free";
}

}  // namespace zeb::http::test
