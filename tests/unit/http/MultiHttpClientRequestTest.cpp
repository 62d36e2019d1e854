#include "MultiHttpClientTestSupport.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "ip/IpFamilyPreferencePolicy.h"
#include "support/CurlOptionSpy.h"
#include "support/ProxyHost.h"
#include "unit/http/CurlSeam.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <tuple>
#include <unistd.h>

#include <curl/curl.h>

// What a multi client does with a request on its road from the caller to the answer.

namespace zeb::http::test {
namespace {

using common::Policy;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using zeb::test::CurlOptionSpy;

std::string nameOfThisThread() {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

class MultiHttpClientRequestTest : public MultiHttpClientTestBase {
protected:
    /// The answer to the last of so many requests.
    Outcome answer(std::size_t number) {
        const std::vector<Outcome> outcomes = listener_->waitFor(number);
        EXPECT_EQ(outcomes.size(), number);
        return outcomes.empty() ? Outcome{} : outcomes.back();
    }
    std::shared_ptr<Request> throughProxy(const LoopbackServer& proxyServer, const std::string& url) {
        const auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(proxyServer.authority(), ProxyType::HTTP);
        auto request = makeRequest(url, listener_);
        request->setProxy(proxy);
        return request;
    }
};

// --- on the caller's thread --------------------------------------------------------------------------------

TEST_F(MultiHttpClientRequestTest, ANewClientHasTheFourDefaultPolicies) {
    EXPECT_THAT(client().getAllPolicies(),
                UnorderedElementsAre(EdgePolicy::NEVER_USE_EDGE_POLICY,
                                     common::FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY,
                                     ip::IpFamilyPreferencePolicy::DUAL_STACK_POLICY,
                                     CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY));
}

TEST_F(MultiHttpClientRequestTest, APolicyThatCantBeEnforcedIsToldTheCallerUnlessThatCanBeIgnored) {
    LoopbackServer server(hello);
    std::size_t answers = 0;
    for (const int option : {CURLOPT_IPRESOLVE, CURLOPT_SSL_CIPHER_LIST}) {
        CurlOptionSpy spy;
        spy.fail(option, CURLE_UNKNOWN_OPTION);
        client().addPolicy(common::FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
        const int adds = seam_.adds;
        const LogCapture log;
        EXPECT_EQ(enqueue(server.url("/")), HttpClientError::POLICY_NOT_ENFORCED_ERROR) << option;
        EXPECT_EQ(log.count("Adding data to the queue"), 0U);
        EXPECT_TRUE(log.contains("Request #" + std::to_string(id_) + " returning borrowed"));
        EXPECT_EQ(seam_.adds, adds);
        client().addPolicy(common::FailureManagementPolicy::ALWAYS_IGNORE_FAILURE_POLICY);
        EXPECT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS) << option;
        EXPECT_TRUE(answer(++answers).completed);
    }
}

TEST_F(MultiHttpClientRequestTest, AnUnavailableClientLooksAtNothing) {
    seam_.failingThread = 2;  // the first is the pool's
    client();
    const LogCapture log;
    EXPECT_EQ(client().enqueueRequest(nullptr, id_), HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
    EXPECT_EQ(client().enqueueDownloadRequest(nullptr, id_, ""),
              HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
    EXPECT_EQ(log.count("New request: "), 0U);
}

TEST_F(MultiHttpClientRequestTest, ADownloadKeepsItsMethod) {
    LoopbackServer server(hello);
    const std::string path =
        (std::filesystem::temp_directory_path() / ("multi-post-" + std::to_string(getpid()))).string();
    const auto request = makeRequest(server.url("/"), listener_);
    request->getOptions()->method = HttpMethod::POST;
    ASSERT_EQ(client().enqueueDownloadRequest(request, id_, path), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).response.body, "");
    EXPECT_EQ(server.requests().at(0).method, "POST");
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "hello");
    std::filesystem::remove(path);
}

// --- on the pool's threads ---------------------------------------------------------------------------------

TEST_F(MultiHttpClientRequestTest, FailuresFromBeforeTheTransferAreToldOnThreadsOfThePool) {
    const LogCapture log;
    std::vector<std::string> threads;
    listener_->whenAnswered = [&](const Outcome& outcome) {
        threads.push_back(nameOfThisThread().substr(0, 8));
        // Whoever hears of the end may end the client: nothing of it is lent any more.
        EXPECT_EQ(log.contains("Request #" + std::to_string(outcome.id) + " returning borrowed"),
                  threads.size() <= 3);
    };
    LoopbackServer server(hello);
    resolver_->answer = false;
    ASSERT_EQ(enqueue("http://nobody.invalid/"), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    seam_.failingAdds = 1;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(2).result, HttpClientResult::UNKNOWN_ERROR);
    client_.reset();
    transformer_ = std::make_shared<FakeTransformer>();
    transformer_->result = TransformResult::EDGE_TOKEN_EXPIRED;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(3).result, HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
    transformer_->result = TransformResult::SUCCESS;
    const RefusedPort refused;
    ASSERT_EQ(enqueue(refused.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(4).result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    ASSERT_EQ(threads.size(), 4U);
    EXPECT_EQ(std::count(threads.begin(), threads.begin() + 3, "MHttp-P-"), 0);
    EXPECT_EQ(threads.back(), "MHttp-P-");
}

TEST_F(MultiHttpClientRequestTest, ThePoolHasAsManyThreadsAsItWasTold) {
    constexpr int MANY = 1000;
    seam_.failingThread = MANY;  // counted down by each thread
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    client();
    EXPECT_EQ(MANY - seam_.failingThread, 2) << "one of the pool, and the driving one";
    for (std::size_t held = 1; held <= 2; ++held) {
        ASSERT_EQ(enqueue("http://slow.invalid/"), HttpClientError::SUCCESS);
        ASSERT_TRUE(gate.waitUntilReached(LoopbackServer::PATIENCE, held));
    }
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(enqueue("http://slow.invalid/"), HttpClientError::SUCCESS);
    }
    EXPECT_EQ(MANY - seam_.failingThread, 3) << "two of the pool";
    resolver_->answer = false;
    gate.open();
    EXPECT_EQ(listener_->waitFor(5).size(), 5U);
}

TEST_F(MultiHttpClientRequestTest, WhatCanAskNobodyDoesntWaitForThePool) {
    LoopbackServer server(hello);
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    const auto slow = std::make_shared<RecordingListener>();
    for (std::size_t held = 1; held <= 2; ++held) {
        ASSERT_EQ(enqueue(makeRequest("http://slow.invalid/", slow)), HttpClientError::SUCCESS);
        ASSERT_TRUE(gate.waitUntilReached(LoopbackServer::PATIENCE, held));
    }
    ASSERT_EQ(enqueue(server.url("/by-address")), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(1).completed);
    const auto request = makeRequest("http://named.invalid/", listener_);
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(server.url(""), ProxyType::HTTP);
    request->setProxy(proxy);
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(2).completed);
    EXPECT_EQ(resolver_->questions, 2);
    resolver_->answer = false;
    gate.open();
    EXPECT_EQ(slow->waitFor(2).size(), 2U);
}

TEST_F(MultiHttpClientRequestTest, WhichProxyTheSystemWantsIsFoundOutOnThePool) {
    class Resolver : public SystemProxyResolver {
    public:
        std::shared_ptr<Proxy> resolveSystemProxy(const std::string&) override {
            const std::lock_guard<std::mutex> lock(mutex);
            threads.push_back(nameOfThisThread());
            return proxy;
        }
        std::mutex mutex;  ///< guards threads
        std::vector<std::string> threads;
        const std::shared_ptr<Proxy> proxy = std::make_shared<Proxy>();
    };
    LoopbackServer server(hello);
    const auto resolver = std::make_shared<Resolver>();
    resolver->proxy->setProxyServer(server.url(""), ProxyType::HTTP);
    const auto request = makeRequest("http://named.invalid/", listener_);
    request->setSystemProxyResolver(resolver);
    request->useSystemProxy(true);
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(1).completed);
    const std::lock_guard<std::mutex> lock(resolver->mutex);
    // The configuration needs it, too, and has no other thread.
    EXPECT_THAT(resolver->threads, ElementsAre(nameOfThisThread(), "zeb::http::Mul"));
}

TEST_F(MultiHttpClientRequestTest, WhatFailsBeforeItsTransferIsToldOnThePoolEvenIfItCouldAskNobody) {
    std::string thread;
    listener_->whenAnswered = [&](const Outcome&) { thread = nameOfThisThread(); };
    ASSERT_EQ(enqueue("http://127.0.0.1/a\nb"), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).result, HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
    EXPECT_EQ(thread.rfind("zeb::http::Mul", 0), 0U) << thread;
}

TEST_F(MultiHttpClientRequestTest, AProxyWithoutAUrlIsNone) {
    resolver_->answer = false;
    const auto request = makeRequest("http://nobody.invalid/", listener_);
    request->setProxy(std::make_shared<Proxy>());
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ(resolver_->questions, 1);
}

TEST_F(MultiHttpClientRequestTest, CancelAllLeavesRequestsInThePoolAlone) {
    LoopbackServer server(hello);
    LoopbackServer::Gate gate;
    class Held : public FakeTransformer {
    public:
        explicit Held(LoopbackServer::Gate& gate) : gate_(gate) {}
        TransformResult::Result transformRequest(std::shared_ptr<HttpRequestData> data) override {
            gate_.wait();
            return FakeTransformer::transformRequest(std::move(data));
        }

    private:
        LoopbackServer::Gate& gate_;
    };
    transformer_ = std::make_shared<Held>(gate);
    const auto request = makeRequest(server.url("/"), listener_);
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    EXPECT_EQ(client().cancelAllRequests(), HttpClientError::SUCCESS);
    EXPECT_FALSE(request->isCancelled());
    gate.open();
    EXPECT_TRUE(answer(1).completed);
}

// --- what the edge has rewritten ---------------------------------------------------------------------------

/// Rewrites more than the URL.
class RewritingTransformer : public FakeTransformer {
public:
    std::function<void(HttpRequestOptions&)> rewrite;
    TransformResult::Result transformRequest(std::shared_ptr<HttpRequestData> data) override {
        rewrite(*data->getRequest()->getOptions());
        return FakeTransformer::transformRequest(std::move(data));
    }
};

class MultiHttpClientRewrittenRequestTest : public MultiHttpClientRequestTest {
protected:
    MultiHttpClientRewrittenRequestTest() { transformer_ = rewriting_; }

    const std::shared_ptr<RewritingTransformer> rewriting_ = std::make_shared<RewritingTransformer>();
    LoopbackServer server_{hello};
};

TEST_F(MultiHttpClientRewrittenRequestTest, HeadersTokenAndCookiesOfTheTransformationAreSent) {
    for (const bool mandatory : {false, true}) {
        rewriting_->rewrite = [&](HttpRequestOptions& options) {
            options.headers = std::make_shared<HttpHeaders>(HttpHeaders{{"X-Edge", "new"}});
            options.authType = AuthType::OAUTH;
            options.credentials = std::make_shared<Credentials>();
            options.credentials->token = SecureString("edge-token");
            options.cookies = {common::Cookie("127.0.0.1\tFALSE\t/\tFALSE\t0\tedge\tcookie")};
        };
        const auto request = makeRequest(server_.url("/"), listener_);
        request->getOptions()->headers = std::make_shared<HttpHeaders>(HttpHeaders{{"X-Edge", "old"}});
        request->getOptions()->setCookieMandatory(mandatory);
        ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
        EXPECT_TRUE(answer(mandatory ? 2 : 1).completed);
        const LoopbackServer::Request sent = server_.requests().back();
        EXPECT_EQ(sent.header("X-Edge"), "new");
        EXPECT_EQ(sent.countHeaders("X-Edge"), 1U);
        EXPECT_EQ(sent.header("Authorization"), "Bearer edge-token");
        EXPECT_EQ(sent.header("Cookie"), mandatory ? "edge=cookie;" : "edge=cookie");
        EXPECT_EQ(sent.countHeaders("Cookie"), 1U);
    }
}

TEST_F(MultiHttpClientRewrittenRequestTest, ATokenOfARequestWithAnotherAuthenticationIsNotSent) {
    rewriting_->rewrite = [](HttpRequestOptions&) {};
    const auto request = makeRequest(server_.url("/"), listener_);
    request->getOptions()->credentials = std::make_shared<Credentials>();
    request->getOptions()->credentials->token = SecureString("nobodys");
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(1).completed);
    EXPECT_FALSE(server_.requests().at(0).hasHeader("Authorization"));
}

TEST_F(MultiHttpClientRewrittenRequestTest, AStepThatFailsEndsTheRequestAndNoneFollows) {
    std::size_t answers = 0;
    for (const int option : {CURLOPT_HTTPHEADER, CURLOPT_COOKIELIST, CURLOPT_URL}) {
        CurlOptionSpy spy;
        std::size_t before = 0;
        rewriting_->rewrite = [&](HttpRequestOptions& options) {
            options.cookies = {common::Cookie("127.0.0.1\tFALSE\t/\tFALSE\t0\tedge\tcookie")};
            before = spy.calls().size();
            spy.fail(option, CURLE_OUT_OF_MEMORY);
        };
        const LogCapture log;
        ASSERT_EQ(enqueue(server_.url("/")), HttpClientError::SUCCESS);
        EXPECT_EQ(answer(++answers).result, HttpClientResult::POLICY_NOT_ENFORCED_ERROR) << option;
        EXPECT_TRUE(log.contains("Edge policy not enforceable."));
        ASSERT_GT(spy.calls().size(), before);
        EXPECT_EQ(spy.calls().back().option, option) << "none follows";
    }
    EXPECT_EQ(server_.connections(), 0U);
}

TEST_F(MultiHttpClientRewrittenRequestTest, CookiesThatTheEdgeCantTakeOutAgainAreLeftInTheAnswer) {
    rewriting_->rewrite = [](HttpRequestOptions&) {};
    rewriting_->cookieResult = TransformResult::EDGE_ENVIRONMENT_UNAVAILABLE;
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(200, "hello", {{"Set-Cookie", "a=b"}});
    });
    const LogCapture log;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    const Outcome outcome = answer(1);
    EXPECT_TRUE(outcome.completed);
    EXPECT_TRUE(log.contains("Edge policy not enforced."));
    ASSERT_EQ(outcome.response.cookies.size(), 1U);
    EXPECT_EQ(outcome.response.cookies.at(0).getName(), "a");
}

// --- on the driving thread ---------------------------------------------------------------------------------

TEST_F(MultiHttpClientRequestTest, TransfersDontWaitForAnEdgeLayerThatHasNotStarted) {
    constexpr long PATIENCE_MS = 1000;  // with its start
    seam_.expiringLengthMs = PATIENCE_MS;
    LoopbackServer server(hello);
    std::size_t answers = 0;
    for (const auto& transformer :
         {std::shared_ptr<FakeTransformer>(), std::make_shared<FakeTransformer>()}) {
        transformer_ = transformer;
        client_.reset();
        client().addPolicy(EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY);
        const LogCapture log;
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
        EXPECT_TRUE(answer(++answers).completed);
        EXPECT_TRUE(log.contains("Edge policy not enforced."));
    }
    const std::vector<long> waits = seam_.idleTimes();
    EXPECT_EQ(std::count(waits.begin(), waits.end(), PATIENCE_MS), 2) << "in the pool, once for each";
}

TEST_F(MultiHttpClientRequestTest, TransfersThatRunAreCountedInTheLog) {
    seam_.longestWaitMs = 20;
    LoopbackServer silentServer(silent);
    const LogCapture log;
    ASSERT_EQ(enqueue(silentServer.url("/")), HttpClientError::SUCCESS);
    // Deliberate: with another blank at the beginning of a round.
    EXPECT_TRUE(log.waitFor("]  Current running handles: 1"));
    LoopbackServer::Gate gate;
    LoopbackServer server([&](const LoopbackServer::Request&) {
        gate.wait();
        return Reply::response(200);
    });
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.waitFor("] Current running handles: 2"));
    gate.open();
    EXPECT_TRUE(log.waitFor("] Current running handles: 1"));
}

TEST_F(MultiHttpClientRequestTest, WhatCantBeReadFromTheHandleIsLoggedAndTheTransferCountsAllTheSame) {
    using Row = std::tuple<int, const char*>;
    LoopbackServer server(hello);
    std::size_t answers = 0;
    for (const auto& [info, text] :
         {Row{CURLINFO_RESPONSE_CODE, "] Failed to get the response code for request #"},
          Row{CURLINFO_COOKIELIST, "Failed to store cookies in the response for request #"}}) {
        // On the driving thread, between two requests.
        std::unique_ptr<FailingInfo> failing;
        listener_->whenAnswered = [&, info = info](const Outcome&) {
            failing = failing == nullptr ? std::make_unique<FailingInfo>(info) : nullptr;
        };
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
        EXPECT_TRUE(answer(++answers).completed);
        const LogCapture log;
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
        EXPECT_TRUE(answer(++answers).completed);
        EXPECT_TRUE(log.contains(text + std::to_string(id_))) << text;
    }
}

TEST_F(MultiHttpClientRequestTest, AnEvaluatorOfTheHostsDecidesWhetherAServerHasFailed) {
    class NoFailover : public CurlAnswerEvaluator {
    public:
        bool representServerFailure(int) override { return false; }
    };
    const RefusedPort refused;
    LoopbackServer server(hello);
    client().setCurlAnswerEvaluator(std::make_shared<NoFailover>());
    const auto request = makeRequest(refused.url("/"), listener_);
    request->getOptions()->failoverUrls = {server.url("/")};
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(MultiHttpClientRequestTest, NothingOfAFailedAttemptIsInTheAnswerOfTheNext) {
    class PartsAreFailures : public CurlAnswerEvaluator {
    public:
        bool representServerFailure(int code) override { return code == CURLE_PARTIAL_FILE; }
    };
    LoopbackServer broken([](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 500 Former\r\nX-Former: 1\r\nContent-Length: 99\r\n\r\nformer")
            .thenClose();
    });
    LoopbackServer server(hello);
    client().setCurlAnswerEvaluator(std::make_shared<PartsAreFailures>());
    const auto request = makeRequest(broken.url("/"), listener_);
    request->getOptions()->failoverUrls = {server.url("/")};
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    const Outcome outcome = answer(1);
    EXPECT_EQ(server.connections(), 1U);
    EXPECT_EQ(outcome.response.responseCode, 200);
    EXPECT_EQ(outcome.response.body, "hello");
    EXPECT_EQ(outcome.response.getHeader("X-Former"), "");
}

TEST_F(MultiHttpClientRequestTest, ACancelledRequestDoesNotGoOnToItsNextUrl) {
    // Without a listener there is no progress: what sees the cancellation is the body's next piece.
    const auto gate = std::make_shared<LoopbackServer::Gate>();
    LoopbackServer server([&](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\nhalf")
            .thenWaitFor(gate)
            .thenBytes("half");
    });
    LoopbackServer next(hello);
    const auto request = makeRequest(server.url("/"));
    request->getOptions()->failoverUrls = {next.url("/")};
    const LogCapture log;
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate->waitUntilReached());
    request->cancel();
    gate->open();
    EXPECT_TRUE(log.waitFor("An appropriate listener for the libCURL result is not available."));
    EXPECT_EQ(next.connections(), 0U);
}

TEST_F(MultiHttpClientRequestTest, ThePasswordIsOverwrittenInTheHandleBeforeTheAnswer) {
    LoopbackServer server(hello);
    const CurlOptionSpy spy;
    std::optional<std::string> left;
    listener_->whenAnswered = [&](const Outcome&) { left = spy.last(CURLOPT_USERPWD)->copy; };
    const auto request = makeRequest(server.url("/"), listener_);
    request->getOptions()->authType = AuthType::BASIC;
    request->getOptions()->credentials = std::make_shared<Credentials>();
    request->getOptions()->credentials->username = "user";
    request->getOptions()->credentials->password = SecureString("s3cret");
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(1).completed);
    EXPECT_EQ(server.requests().at(0).header("Authorization"), "Basic dXNlcjpzM2NyZXQ=");
    ASSERT_TRUE(left.has_value());
    EXPECT_EQ(left->find_first_not_of(' ', 5), std::string::npos) << *left;
}

TEST_F(MultiHttpClientRequestTest, ANextUrlWhoseHostDnsDoesntKnowEndsTheRequestInThePool) {
    const RefusedPort refused;
    resolver_->answer = false;
    const auto request = makeRequest(refused.url("/"), listener_);
    request->getOptions()->failoverUrls = {"http://nobody.invalid/"};
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_EQ(answer(1).result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ(resolver_->questions, 1);
    EXPECT_EQ(seam_.adds, 1);
}

TEST_F(MultiHttpClientRequestTest, AProxyThatAsksForCredentialsEndsItWithoutAQuestionToTheHost) {
    const std::shared_ptr<ProxyHost> host = ProxyHost::instance();
    host->clear();
    LoopbackServer proxy([](const LoopbackServer::Request&) {
        return Reply::response(407, "", {{"Proxy-Authenticate", "Basic realm=\"p\""}});
    });
    ASSERT_EQ(enqueue(throughProxy(proxy, "http://inside.invalid/")), HttpClientError::SUCCESS);
    const Outcome plain = answer(1);
    EXPECT_TRUE(plain.completed);
    EXPECT_EQ(plain.response.responseCode, 407);
    ASSERT_EQ(enqueue(throughProxy(proxy, "https://inside.invalid/")), HttpClientError::SUCCESS);
    const Outcome tunnelled = answer(2);
    EXPECT_FALSE(tunnelled.completed);
    EXPECT_EQ(tunnelled.result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(host->waitForAsked(0).empty());
}

TEST_F(MultiHttpClientRequestTest, ToSwitchPipeliningWhileProgressIsToldIsRefusedAtOnce) {
    LoopbackServer server(hello);
    const LogCapture log;
    listener_->whenProgress = [&](ProgressData) { client().disableHttpPipelining(); };
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(answer(1).completed);
    // libcurl's refusal: it is at work.
    EXPECT_TRUE(log.contains(std::string("Could not disable HTTP pipelining support, CURL error: ") +
                             curl_multi_strerror(CURLM_RECURSIVE_API_CALL)));
}

}  // namespace
}  // namespace zeb::http::test
