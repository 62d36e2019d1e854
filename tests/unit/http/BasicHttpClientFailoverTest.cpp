#include "BasicHttpClientTestSupport.h"
#include "http/CurlAnswerEvaluator.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

/// Keeps the request data, so that a test can ask it for the failed URLs.
class FailoverTransformer : public FakeTransformer {
public:
    std::shared_ptr<HttpRequestData> data;

    TransformResult::Result transformRequest(std::shared_ptr<HttpRequestData> requestData) override {
        data = requestData;
        return FakeTransformer::transformRequest(requestData);
    }
};

class BasicHttpClientFailoverTest : public testing::Test {
protected:
    HttpClientResult::Result execute(const std::string& url, const std::deque<std::string>& failoverUrls) {
        transformer_->url = url;
        transformer_->failoverUrls = failoverUrls;
        return client_->execute(makeRequest("http://inside.invalid/"), response_);
    }
    std::vector<FailedUrlInfo> failed() const { return transformer_->data->getFailedUrlInfo(); }

    std::shared_ptr<FailoverTransformer> transformer_ = std::make_shared<FailoverTransformer>();
    std::shared_ptr<testing::NiceMock<MockReporter>> reporter_ =
        std::make_shared<testing::NiceMock<MockReporter>>();
    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient(transformer_, reporter_);
    Response response_;
    RefusedPort refused_;
};

TEST_F(BasicHttpClientFailoverTest, TwoUnreachableUrlsEndAtTheThirdWithTwoFailuresTold) {
    const RefusedPort alsoRefused;
    LoopbackServer server(hello);
    LogCapture log;
    EXPECT_EQ(execute(refused_.url("/1"), {alsoRefused.url("/2"), server.url("/3")}),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, "hello");
    EXPECT_EQ(response_.transformedUrl, server.url("/3"));
    ASSERT_EQ(failed().size(), 2U);
    EXPECT_EQ(failed()[0].url, refused_.url("/1"));
    EXPECT_EQ(failed()[0].result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(failed()[1].url, alsoRefused.url("/2"));
    EXPECT_EQ(failed()[1].result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(server.requests().at(0).target, "/3");
    EXPECT_EQ(
        log.count("There was an issue performing the call to curl_easy_perform: 7 Failing over to the next "
                  "URL"),
        2U);
    EXPECT_EQ(transformer_->transformations, 1);
}

TEST_F(BasicHttpClientFailoverTest, TheLastUrlsFailureIsTheResult) {
    LoopbackServer silent([](const LoopbackServer::Request&) { return Reply::silence(); });
    transformer_->url = refused_.url("/");
    transformer_->failoverUrls = {silent.url("/")};
    const auto request = makeRequest("http://inside.invalid/");
    request->getOptions()->transferTimeout = 200;
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    EXPECT_EQ(failed().size(), 1U);
}

TEST_F(BasicHttpClientFailoverTest, AFirstUrlThatAnswersIsTheOnlyOne) {
    LoopbackServer server([](const LoopbackServer::Request&) { return Reply::response(503, "busy"); });
    LoopbackServer second(hello);
    EXPECT_EQ(execute(server.url("/"), {second.url("/")}), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 503);
    EXPECT_TRUE(failed().empty());
    EXPECT_EQ(second.connections(), 0U);
}

TEST_F(BasicHttpClientFailoverTest, AnUnresolvedHostFailsOver) {
    LoopbackServer server(hello);
    EXPECT_EQ(execute("http://nosuch.invalid/", {server.url("/")}), HttpClientResult::SUCCESS);
    EXPECT_EQ(failed().at(0).result, HttpClientResult::UNRESOLVED_HOST_ERROR);
}

TEST_F(BasicHttpClientFailoverTest, ATimeoutFailsOverWithAFreshSpan) {
    LoopbackServer silent([](const LoopbackServer::Request&) { return Reply::silence(); });
    LoopbackServer server(hello);
    transformer_->url = silent.url("/");
    transformer_->failoverUrls = {server.url("/")};
    const auto request = makeRequest("http://inside.invalid/");
    request->getOptions()->transferTimeout = 200;
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(failed().at(0).result, HttpClientResult::CONNECTION_TIMEOUT_ERROR);
}

TEST_F(BasicHttpClientFailoverTest, AFailedHandshakeFailsOver) {
    LoopbackServer::Options options;
    options.closeAfterReceiving = 5;
    LoopbackServer broken(hello, options);
    LoopbackServer server(hello);
    EXPECT_EQ(execute("https://" + broken.authority() + "/", {server.url("/")}), HttpClientResult::SUCCESS);
    EXPECT_EQ(failed().at(0).result, HttpClientResult::SSL_CONNECTION_ERROR);
}

TEST_F(BasicHttpClientFailoverTest, AnEarlyEndOfTheConnectionIsNoReasonToFailOver) {
    LoopbackServer closing([](const LoopbackServer::Request&) { return Reply::close(); });
    LoopbackServer server(hello);
    EXPECT_EQ(execute(closing.url("/"), {server.url("/")}), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(failed().empty());
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(BasicHttpClientFailoverTest, NothingOfAFailedAttemptIsInTheAnswerOfTheNext) {
    LoopbackServer half([](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nX-First: 1\r\nContent-Length: 100\r\n\r\nhalf of it")
            .thenWaitFor(std::make_shared<LoopbackServer::Gate>());
    });
    transformer_->url = half.url("/");
    transformer_->failoverUrls = {refused_.url("/")};
    const auto request = makeRequest("http://inside.invalid/");
    request->getOptions()->transferTimeout = 200;
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(response_.body, "");
    EXPECT_EQ(response_.responseCode, 0);
    EXPECT_EQ(response_.getHeader("X-First"), "");
    EXPECT_EQ(failed().size(), 1U);
}

TEST_F(BasicHttpClientFailoverTest, TheBodyIsSentAgainToTheNextUrl) {
    LoopbackServer server(hello);
    transformer_->url = refused_.url("/");
    transformer_->failoverUrls = {server.url("/")};
    const auto request = makeRequest("http://inside.invalid/");
    request->getOptions()->method = HttpMethod::POST;
    request->getOptions()->body = SecureString("the text");
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().at(0).body, "the text");
}

TEST_F(BasicHttpClientFailoverTest, ASuccessAfterFailuresIsReportedWithThem) {
    LoopbackServer server(hello);
    EXPECT_CALL(*reporter_, hintNetworkIsInUse("zebnetutils.http.clientRequestSuccessful"));
    EXPECT_CALL(*reporter_,
                edgeInfrastructureEvent("edge.successful.failover.hostUnreachableError", "127.0.0.1"));
    EXPECT_EQ(execute(refused_.url("/"), {server.url("/")}), HttpClientResult::SUCCESS);
}

TEST_F(BasicHttpClientFailoverTest, ACancelledRequestDoesNotGoOnToItsNextUrl) {
    LoopbackServer server(hello);
    LoopbackServer second(hello);
    transformer_->url = server.url("/");
    transformer_->failoverUrls = {second.url("/")};
    const auto request = makeRequest("http://inside.invalid/");
    request->cancel();
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(second.connections(), 0U);
    EXPECT_TRUE(failed().empty());
}

// --- a judgement of the host's own

class OwnEvaluator : public CurlAnswerEvaluator {
public:
    bool representServerFailure(int curlCode) override {
        codes.push_back(curlCode);
        return curlCode == CURLE_GOT_NOTHING;
    }
    HttpClientResult::Result curlCodeToResult(int curlCode, HttpRequestData* requestData) override {
        EXPECT_NE(requestData, nullptr);
        return curlCode == CURLE_OK ? HttpClientResult::SUCCESS : HttpClientResult::REQUEST_LOST;
    }
    std::vector<int> codes;
};

TEST_F(BasicHttpClientFailoverTest, AnEvaluatorOfTheHostsDecidesOnFailoverAndResult) {
    const auto evaluator = std::make_shared<OwnEvaluator>();
    client_->setCurlAnswerEvaluator(evaluator);
    LoopbackServer closing([](const LoopbackServer::Request&) { return Reply::close(); });
    LoopbackServer never(hello);
    EXPECT_EQ(execute(closing.url("/"), {refused_.url("/"), never.url("/")}), HttpClientResult::REQUEST_LOST);
    EXPECT_EQ(evaluator->codes, (std::vector<int>{CURLE_GOT_NOTHING, CURLE_COULDNT_CONNECT}));
    EXPECT_EQ(failed().size(), 1U);
    EXPECT_EQ(failed().at(0).result, HttpClientResult::REQUEST_LOST);
    EXPECT_EQ(never.connections(), 0U);
}

TEST_F(BasicHttpClientFailoverTest, ANullEvaluatorBringsTheDefaultBack) {
    client_->setCurlAnswerEvaluator(std::make_shared<OwnEvaluator>());
    client_->setCurlAnswerEvaluator(nullptr);
    EXPECT_EQ(execute(refused_.url("/"), {}), HttpClientResult::HOST_UNREACHABLE_ERROR);
}

}  // namespace
}  // namespace zeb::http::test
