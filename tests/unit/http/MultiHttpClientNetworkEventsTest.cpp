#include "MultiHttpClientTestSupport.h"

#include <condition_variable>
#include <mutex>
#include <vector>

// What the reporter hears of the requests of a multi client.

namespace zeb::http::test {
namespace {

using testing::ElementsAre;

constexpr char IN_USE[] = "in use: zebnetutils.http.clientRequestSuccessful";

/// Keeps what it is told, in order.
class RecordingReporter : public HttpNetworkEventReporter {
public:
    void hintNetworkInterfaceMightHaveDropped(const std::string& reason) override {
        take("dropped: " + reason);
    }
    void hintNetworkStackNotReady(const std::string& reason) override { take("not ready: " + reason); }
    void hintNetworkIsInUse(const std::string& reason) override { take("in use: " + reason); }
    void edgeInfrastructureEvent(const std::string& eventName, const std::string& host) override {
        take("edge: " + eventName + " " + host);
    }

    /// Fewer than asked for after ten seconds.
    std::vector<std::string> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return told_.size() >= count; });
        return told_;
    }

private:
    void take(const std::string& text) {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.push_back(text);
        changed_.notify_all();
    }

    std::mutex mutex_;  ///< guards told_
    std::condition_variable changed_;
    std::vector<std::string> told_;
};

/// Sends requests with their own token through the edge, on a machine that needs no edge layer for it.
class ReachableOauthPolicy : public EdgePolicy {
public:
    ReachableOauthPolicy() : EdgePolicy(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN) {}
    bool verifyEnforceability() const override { return true; }
};

class MultiHttpClientNetworkEventsTest : public MultiHttpClientTestBase {
protected:
    MultiHttpClientNetworkEventsTest() { reporter_ = told_; }

    void throughTheEdgeTo(const std::string& url) {
        transformer_ = std::make_shared<FakeTransformer>();
        transformer_->url = url;
    }

    const std::shared_ptr<RecordingReporter> told_ = std::make_shared<RecordingReporter>();
};

TEST_F(MultiHttpClientNetworkEventsTest, AFailedTransferIsReported) {
    const RefusedPort refused;
    ASSERT_EQ(enqueue(refused.url("/")), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(1), ElementsAre("dropped: zebnetutils.http.hostUnreachableError"));
}

TEST_F(MultiHttpClientNetworkEventsTest, WhatHasNoListenerOrIsCancelledOrNeverBecomesATransferIsNotReported) {
    LoopbackServer server(hello);
    LoopbackServer silentServer(silent);
    seam_.longestWaitMs = 20;
    const LogCapture log;
    ASSERT_EQ(enqueue(makeRequest(server.url("/"))), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.waitFor("An appropriate listener for the libCURL result is not available."));
    const auto cancelled = makeRequest(silentServer.url("/"), listener_);
    ASSERT_EQ(enqueue(cancelled), HttpClientError::SUCCESS);
    ASSERT_TRUE(silentServer.waitForRequests(1));
    cancelled->cancel();
    EXPECT_TRUE(log.waitFor("Avoiding listener notification for cancelled request"));
    resolver_->answer = false;
    ASSERT_EQ(enqueue("http://nobody.invalid/"), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    // One behind them that is: nothing came before it.
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(1), ElementsAre(IN_USE));
}

TEST_F(MultiHttpClientNetworkEventsTest, AnUnreachableEdgeServerYieldsTheHintAndTheEventForItsHost) {
    const RefusedPort refused;
    throughTheEdgeTo(refused.url("/edge"));
    ASSERT_EQ(enqueue("http://inside.invalid/"), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(2), ElementsAre("dropped: zebnetutils.http.hostUnreachableError",
                                               "edge: zebnetutils.edge.hostUnreachableError 127.0.0.1"));
}

TEST_F(MultiHttpClientNetworkEventsTest, ASucceededFailoverYieldsTheHintAndOneEventForEachFailedUrl) {
    const RefusedPort first;
    const RefusedPort second;
    LoopbackServer server(hello);
    // The next attempt isn't transformed again, as the edge's own transformer wouldn't.
    class Once : public FakeTransformer {
    public:
        TransformResult::Result transformRequest(std::shared_ptr<HttpRequestData> data) override {
            return transformations == 0 ? FakeTransformer::transformRequest(std::move(data)) : result;
        }
    };
    const auto once = std::make_shared<Once>();
    once->url = first.url("/edge");
    once->failoverUrls = {second.url("/edge"), server.url("/edge")};
    transformer_ = once;
    ASSERT_EQ(enqueue("http://inside.invalid/"), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(3),
                ElementsAre(IN_USE, "edge: edge.successful.failover.hostUnreachableError 127.0.0.1",
                            "edge: edge.successful.failover.hostUnreachableError 127.0.0.1"));
    EXPECT_TRUE(listener_->wait().completed);
}

TEST_F(MultiHttpClientNetworkEventsTest, ThePolicyUnderWhichTheRequestWentDecidesAboutTheTokensEnd) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(403, "", {{"Server", "QX_A"}});
    });
    throughTheEdgeTo(server.url("/edge"));
    const auto request = [&] {
        const auto made = makeRequest("http://inside.invalid/", listener_);
        made->getOptions()->authType = AuthType::OAUTH;
        return made;
    };
    seam_.expiringLengthMs = 1000;  // nobody waits for a start of the edge layer
    client().addPolicy(std::make_shared<ReachableOauthPolicy>());
    ASSERT_EQ(enqueue(request()), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(1), ElementsAre(IN_USE));
    client().addPolicy(std::make_shared<ReachableEdgePolicy>());
    ASSERT_EQ(enqueue(request()), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(3),
                ElementsAre(IN_USE, IN_USE, "edge: zebnetutils.edge.oauthExpired 127.0.0.1"));
}

TEST_F(MultiHttpClientNetworkEventsTest, WhatAListenerMakesOfTheRequestDoesntChangeTheReport) {
    const RefusedPort refused;
    throughTheEdgeTo(refused.url("/edge"));
    const auto request = makeRequest("http://inside.invalid/", listener_);
    listener_->whenAnswered = [&](const Outcome&) {
        request->setOptions(std::make_shared<HttpRequestOptions>("http://other.invalid/"));
    };
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_THAT(told_->waitFor(2), ElementsAre("dropped: zebnetutils.http.hostUnreachableError",
                                               "edge: zebnetutils.edge.hostUnreachableError 127.0.0.1"));
}

}  // namespace
}  // namespace zeb::http::test
