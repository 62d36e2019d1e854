#pragma once

#include "BasicHttpClientTestSupport.h"
#include "dns/DnsHostResolver.h"
#include "http/MultiHttpClientImpl.h"
#include "unit/http/MultiCurlSeam.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace zeb::http::test {

/// Answers as the test says, and counts.
class FakeResolver : public dns::DnsHostResolver {
public:
    std::atomic<bool> answer{true};
    std::atomic<int> questions{0};
    std::function<void()> whenAsked;

    bool isResolvable(const std::string&) override {
        ++questions;
        if (whenAsked) {
            whenAsked();
        }
        return answer;
    }
};

inline Reply silent(const LoopbackServer::Request&) {
    return Reply::silence();
}

class MultiHttpClientTestBase : public testing::Test {
protected:
    ~MultiHttpClientTestBase() override { client_.reset(); }

    MultiHttpClientImpl& client() {
        if (client_ == nullptr) {
            client_ =
                MultiHttpClientImpl::buildMultiHttpClientImpl(transformer_, nullptr, reporter_, resolver_, 2);
            if (transformer_ != nullptr) {
                client_->addPolicy(std::make_shared<ReachableEdgePolicy>());
            }
        }
        return *client_;
    }
    HttpClientError::Error enqueue(const std::shared_ptr<Request>& request) {
        return client().enqueueRequest(request, id_);
    }
    HttpClientError::Error enqueue(const std::string& url) { return enqueue(makeRequest(url, listener_)); }

    const std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
    const std::shared_ptr<FakeResolver> resolver_ = std::make_shared<FakeResolver>();
    std::shared_ptr<FakeTransformer> transformer_;
    std::shared_ptr<HttpNetworkEventReporter> reporter_;
    MultiCurlSeam seam_;
    unsigned int id_ = 4711;
    std::shared_ptr<MultiHttpClientImpl> client_;
};

}  // namespace zeb::http::test
