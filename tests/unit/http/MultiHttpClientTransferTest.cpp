#include "MultiHttpClientTestSupport.h"
#include "http/CurlAnswerEvaluator.h"
#include "http/Proxy.h"
#include "netutils/SNIUtil.h"
#include "support/CertificateBuilder.h"
#include "support/CurlOptionSpy.h"
#include "support/FakeCertVerifier.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <tuple>
#include <unistd.h>

#include <curl/curl.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace zeb::http::test {
namespace {

using testing::Each;
using testing::StrictMock;
using zeb::test::CertificateBuilder;
using zeb::test::CurlOptionSpy;
using zeb::test::FakeCertVerifier;
using zeb::test::IssuedCertificate;

/// What becomes of accepted requests.
class MultiHttpClientTransferTest : public MultiHttpClientTestBase {
protected:
    /// A transfer whose server never says anything, under way.
    void startSilentTransfer() {
        ASSERT_EQ(enqueue(makeRequest(silentServer_.url("/silent"), silentListener_)),
                  HttpClientError::SUCCESS);
        ASSERT_TRUE(silentServer_.waitForRequests(1));
    }

    LoopbackServer silentServer_{silent};
    const std::shared_ptr<RecordingListener> silentListener_ = std::make_shared<RecordingListener>();
};

TEST_F(MultiHttpClientTransferTest, ARequestIsAnsweredOnceOnTheDrivingThreadAndEachStepIsLogged) {
    LoopbackServer server(hello);
    const LogCapture log;
    std::promise<std::string> thread;
    listener_->whenAnswered = [&](const Outcome&) {
        char name[16] = "";
        pthread_getname_np(pthread_self(), name, sizeof name);
        thread.set_value(name);
    };
    ASSERT_EQ(enqueue(server.url("/page")), HttpClientError::SUCCESS);
    const Outcome outcome = listener_->wait();
    EXPECT_EQ(outcome.id, id_);
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.response.body, "hello");
    EXPECT_EQ(outcome.response.responseCode, 200);
    EXPECT_EQ(outcome.response.destinationIpAddress.getAddress(), "127.0.0.1");
    EXPECT_EQ(thread.get_future().get().substr(0, 8), "MHttp-P-");
    EXPECT_TRUE(server.requests().at(0).hasHeader("User-Agent"));
    const std::string id = "#" + std::to_string(id_);
    for (const std::string& line :
         {std::string("New request: "), "Adding data to the queue for request " + id,
          std::string("About to enforce Edge policy with Url: "),
          std::string("Edge policy enforced successfully with transformed Url: "),
          "adding request " + id + " to active transfers queue", std::string("Current running handles: "),
          std::string("*-----* HTTP response code "), " for request " + id + " to ",
          "Http Response Code 200 connect code 0 for request " + id,
          "Notifying listener of a completed transfer, request " + id +
              ", data received 5 bytes, response body 5 bytes",
          "Request " + id + " network IO timestamps: ",
          std::string("curl_multi_info_read() returned NULL.")}) {
        EXPECT_TRUE(log.waitFor(line)) << line;
    }
    EXPECT_THAT(seam_.waits(), Each(20000));
}

TEST_F(MultiHttpClientTransferTest, AnAddressNeedsNoDns) {
    LoopbackServer server(hello);
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_EQ(resolver_->questions, 0);
}

TEST_F(MultiHttpClientTransferTest, AHostThatDnsDoesntKnowFailsAtOnceWithoutCurlUntilTheCacheIsCleared) {
    resolver_->answer = false;
    const LogCapture log;
    for (std::size_t round = 1; round <= 2; ++round) {
        ASSERT_EQ(enqueue("http://nobody.invalid/"), HttpClientError::SUCCESS);
        const std::vector<Outcome> outcomes = listener_->waitFor(round);
        ASSERT_EQ(outcomes.size(), round);
        EXPECT_EQ(outcomes.back().result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    }
    EXPECT_EQ(resolver_->questions, 1);
    EXPECT_EQ(seam_.adds, 0);
    EXPECT_EQ(log.count("Unable to resolve the host"), 2U);
    client().clearUnresolvedHostCache();
    EXPECT_TRUE(log.contains("Clear unresolved host cache."));
    ASSERT_EQ(enqueue("http://nobody.invalid/"), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->waitFor(3).size(), 3U);
    EXPECT_EQ(resolver_->questions, 2);
}

TEST_F(MultiHttpClientTransferTest, ThroughAProxyTheSameHostIsNotAskedFor) {
    resolver_->answer = false;
    ASSERT_EQ(enqueue("http://nobody.invalid/"), HttpClientError::SUCCESS);
    ASSERT_EQ(listener_->wait().result, HttpClientResult::UNRESOLVED_HOST_ERROR);
    LoopbackServer proxyServer(hello);
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxyServer.authority(), ProxyType::HTTP);
    const auto request = makeRequest("http://nobody.invalid/", listener_);
    request->setProxy(proxy);
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    const std::vector<Outcome> outcomes = listener_->waitFor(2);
    ASSERT_EQ(outcomes.size(), 2U);
    EXPECT_TRUE(outcomes.back().completed);
    EXPECT_EQ(resolver_->questions, 1);
}

TEST_F(MultiHttpClientTransferTest, AFailedTransferIsTold) {
    const RefusedPort refused;
    const LogCapture log;
    ASSERT_EQ(enqueue(refused.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_TRUE(log.contains("Notifying listener of a failure for request #" + std::to_string(id_)));
}

TEST_F(MultiHttpClientTransferTest, AHandleThatCantBeAddedIsAnswered) {
    LoopbackServer server(hello);
    seam_.failingAdds = 1;
    const LogCapture log;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(log.contains("Unable to add the request to the CURL stack."));
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->waitFor(2).size(), 2U);
}

TEST_F(MultiHttpClientTransferTest, TheReporterHearsOfTheOutcomeAfterTheListener) {
    const auto reporter = std::make_shared<StrictMock<MockReporter>>();
    reporter_ = reporter;
    std::promise<void> told;
    bool answered = false;
    listener_->whenAnswered = [&](const Outcome&) { answered = true; };
    EXPECT_CALL(*reporter, hintNetworkIsInUse("zebnetutils.http.clientRequestSuccessful"))
        .WillOnce([&](const std::string&) {
            EXPECT_TRUE(answered);
            told.set_value();
        });
    LoopbackServer server(hello);
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    told.get_future().wait();
}

TEST_F(MultiHttpClientTransferTest, AnEvaluatorOfTheHostsJudges) {
    class Lenient : public CurlAnswerEvaluator {
    public:
        HttpClientResult::Result curlCodeToResult(int, HttpRequestData*) override {
            return HttpClientResult::TOO_MANY_REDIRECTS_ERROR;
        }
    };
    LoopbackServer server(hello);
    client().setCurlAnswerEvaluator(std::make_shared<Lenient>());
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().result, HttpClientResult::TOO_MANY_REDIRECTS_ERROR);
    client().setCurlAnswerEvaluator(nullptr);
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->waitFor(2).back().completed);
}

TEST_F(MultiHttpClientTransferTest, WithoutAListenerTheTransferRunsAndTheHandleComesBack) {
    LoopbackServer server(hello);
    const LogCapture log;
    ASSERT_EQ(enqueue(makeRequest(server.url("/"))), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.waitFor("An appropriate listener for the libCURL result is not available."));
    EXPECT_TRUE(log.waitFor("returning borrowed EasyCURLConnection"));
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(MultiHttpClientTransferTest, AnAnsweredRequestIsLetGoOfThoughNoOtherFollows) {
    struct Ending : RecordingListener {
        std::promise<void> end;
        ~Ending() override { end.set_value(); }
    };
    LoopbackServer server(hello);
    auto listener = std::make_shared<Ending>();
    auto ended = listener->end.get_future();
    ASSERT_EQ(enqueue(makeRequest(server.url("/"), std::move(listener))), HttpClientError::SUCCESS);
    EXPECT_EQ(ended.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST_F(MultiHttpClientTransferTest, AListenerMayEnqueueFromItsCallback) {
    LoopbackServer server(hello);
    int left = 50;
    listener_->whenAnswered = [&](const Outcome&) {
        if (--left > 0) {
            enqueue(server.url("/next"));
        }
    };
    client();
    ASSERT_EQ(enqueue(server.url("/first")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->waitFor(50).size(), 50U);
    EXPECT_EQ(server.requests().size(), 50U);
    EXPECT_EQ(server.connections(), 1U) << "the connection is kept";
}

TEST_F(MultiHttpClientTransferTest, RequestsThatEndInTheirFirstMomentAreAllAnswered) {
    // Over before the pool thread can put them among the active ones, time and again.
    constexpr std::size_t COUNT = 2000;
    client();
    for (std::size_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(enqueue("nosuchscheme://127.0.0.1/"), HttpClientError::SUCCESS);
    }
    EXPECT_EQ(listener_->waitFor(COUNT).size(), COUNT);
    EXPECT_EQ(seam_.removes, static_cast<int>(COUNT));
}

// --- failover ----------------------------------------------------------------------------------------------

TEST_F(MultiHttpClientTransferTest, AFailedServerSendsTheRequestThroughThePoolToItsNextUrl) {
    const RefusedPort refused;
    LoopbackServer server(hello);
    const LogCapture log;
    const auto request = makeRequest(refused.url("/1"), listener_);
    request->getOptions()->failoverUrls = {server.url("/2")};
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().response.body, "hello");
    EXPECT_EQ(server.requests().at(0).target, "/2");
    EXPECT_TRUE(log.contains(
        "There was an issue performing the call to curl_multi_perform: 7 Failing over to the next URL"));
    EXPECT_TRUE(log.contains("Avoiding listener notification waiting for the failover request result."));
    EXPECT_EQ(log.count("About to enforce Edge policy with Url: "), 2U);
    EXPECT_EQ(seam_.adds, 2);
}

TEST_F(MultiHttpClientTransferTest, ADownloadThatFailsOverHasNothingOfItsFirstServer) {
    LoopbackServer broken([](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + std::string(50000, 'x'))
            .thenWaitFor(std::make_shared<LoopbackServer::Gate>());
    });
    LoopbackServer server(hello);
    const std::string path =
        (std::filesystem::temp_directory_path() / ("multi-failover-" + std::to_string(getpid()))).string();
    const auto request = makeRequest(broken.url("/"), listener_);
    request->getOptions()->failoverUrls = {server.url("/")};
    request->getOptions()->transferTimeout = 300;
    ASSERT_EQ(client().enqueueDownloadRequest(request, id_, path), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "hello");
    std::filesystem::remove(path);
}

// --- the edge ----------------------------------------------------------------------------------------------

TEST_F(MultiHttpClientTransferTest, ATransformedRequestGoesWhereTheEdgeSays) {
    LoopbackServer server(hello);
    transformer_ = std::make_shared<FakeTransformer>();
    transformer_->url = server.url("/edge");
    ASSERT_EQ(enqueue("http://inside.invalid/"), HttpClientError::SUCCESS);
    const Outcome outcome = listener_->wait();
    EXPECT_EQ(outcome.response.body, "hello");
    EXPECT_EQ(outcome.response.transformedUrl, server.url("/edge"));
    EXPECT_EQ(transformer_->cookieUrls, std::vector<std::string>{"http://inside.invalid/"});
}

TEST_F(MultiHttpClientTransferTest, NamesThatTheEdgeBringsKeepARequestOffOtherConnections) {
    LoopbackServer server(hello);
    netutils::SNIUtil::setEdgeDomain("b.test");
    transformer_ = std::make_shared<FakeTransformer>();
    transformer_->url = server.url("/edge");  // at 127.0.0.1, presented as 127.b.test
    const CurlOptionSpy spy;
    ASSERT_EQ(enqueue("http://inside.invalid/"), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    netutils::SNIUtil::setEdgeDomain("");
    std::vector<std::string> labels;
    for (const CurlOptionSpy::Call& call : spy.calls()) {
        if (call.option == CURLOPT_CAPATH) {
            labels.push_back(call.copy.value_or(""));
        }
    }
    ASSERT_EQ(labels.size(), 2U);
    EXPECT_NE(labels[0], labels[1]);
}

TEST_F(MultiHttpClientTransferTest, RequestsThatJudgeTheServerUnlikeShareNoConnection) {
    const IssuedCertificate certificate = CertificateBuilder().commonName("A server").build();
    LoopbackServer::Options options;
    options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
    LoopbackServer server(hello, options);
    const auto verifier = std::make_shared<FakeCertVerifier>(true);
    client_ = MultiHttpClientImpl::buildMultiHttpClientImpl(nullptr, verifier, nullptr, resolver_, 2);
    std::size_t answers = 0;
    const auto connectionsAfter = [&](IdentityMatchModel::Model model,
                                      const std::vector<std::string>& names) {
        const auto request = makeRequest(server.secureUrl("/"), listener_);
        request->getOptions()->certIdentityValidationModel = model;
        request->getOptions()->useProvidedIdentity = !names.empty();
        request->getOptions()->identities = names;
        EXPECT_EQ(enqueue(request), HttpClientError::SUCCESS);
        EXPECT_EQ(listener_->waitFor(++answers).size(), answers);
        return server.connections();
    };
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::SOFT_MATCH, {}), 1U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::SOFT_MATCH, {}), 1U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::STRICT_MATCH, {}), 2U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::SOFT_MATCH, {"a.test"}), 3U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::SOFT_MATCH, {"b.test"}), 4U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::SOFT_MATCH, {"a.test"}), 4U);
    EXPECT_EQ(connectionsAfter(IdentityMatchModel::STRICT_MATCH, {}), 4U);
    EXPECT_EQ(verifier->questions().size(), 4U);
}

TEST_F(MultiHttpClientTransferTest, AFailedTransformationEndsByTheTable) {
    struct Row {
        TransformResult::Result result;
        bool ignorable;
        HttpClientResult::Result expected;
        const char* line;
    };
    LoopbackServer server(hello);
    transformer_ = std::make_shared<FakeTransformer>();
    std::size_t answers = 0;
    for (const Row& row : {
             Row{TransformResult::EDGE_DISABLED_BY_OVT_POLICY, true,
                 HttpClientResult::EDGE_DISABLED_BY_OVT_POLICY,
                 "HTTP connection is disabled by OVT Policy(No Service)."},
             Row{TransformResult::EDGE_DISABLED_BY_OVT_POLICY, false,
                 HttpClientResult::EDGE_DISABLED_BY_OVT_POLICY,
                 "HTTP connection is disabled by OVT Policy(No Service)."},
             Row{TransformResult::EDGE_AUTHENTICATION_FAILED, false,
                 HttpClientResult::POLICY_NOT_ENFORCED_ERROR,
                 "Edge policy not enforced because Edge authentication failed"},
             Row{TransformResult::EDGE_TOKEN_EXPIRED, false, HttpClientResult::POLICY_NOT_ENFORCED_ERROR,
                 "] Edge policy not enforced"},
             Row{TransformResult::EDGE_TOKEN_EXPIRED, true, HttpClientResult::POLICY_NOT_ENFORCED_ERROR,
                 "Edge policy not enforced. token is expired, set response code 401"},
             Row{TransformResult::EDGE_PROXY_TOKEN_EXPIRED, true, HttpClientResult::POLICY_NOT_ENFORCED_ERROR,
                 "Edge policy not enforced. token is expired, set response code 407"},
             Row{TransformResult::EDGE_AUTHENTICATION_FAILED, true,
                 HttpClientResult::POLICY_NOT_ENFORCED_ERROR,
                 "Edge policy not enforced. username or password is invalid or expired, set response code "
                 "401"},
         }) {
        transformer_->result = row.result;
        client_.reset();
        client().addPolicy(row.ignorable ? common::FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY
                                         : common::FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
        const LogCapture log;
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
        ++answers;
        const std::vector<Outcome> outcomes = listener_->waitFor(answers);
        ASSERT_EQ(outcomes.size(), answers);
        EXPECT_EQ(outcomes.back().result, row.expected) << row.line;
        EXPECT_TRUE(log.contains(row.line)) << row.line;
        EXPECT_TRUE(log.contains("Edge policy not enforceable."));
    }
    EXPECT_EQ(server.connections(), 0U);
    transformer_->result = TransformResult::EDGE_ENVIRONMENT_UNAVAILABLE;
    client_.reset();
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->waitFor(answers + 1).back().completed) << "an ignorable failure lets it go on";
}

// --- what libcurl may answer -------------------------------------------------------------------------------

TEST_F(MultiHttpClientTransferTest, AFailedWaitIsLoggedAndTheRequestStillAnswered) {
    LoopbackServer server(hello);
    seam_.failingWaits = 1;
    const LogCapture log;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(log.contains("curl_multi_wait() did not return successfully."));
}

TEST_F(MultiHttpClientTransferTest, AFailedWaitBeginsTheRoundAnew) {
    seam_.longestWaitMs = 20;
    const LogCapture log;
    startSilentTransfer();
    ASSERT_TRUE(log.waitFor("]  Current running handles: 1"));
    seam_.failingWaits = 1;
    EXPECT_TRUE(log.waitFor("]  Current running handles: 1", LoopbackServer::PATIENCE, 2));
    EXPECT_EQ(log.count("curl_multi_wait() did not return successfully."), 1U);
}

TEST_F(MultiHttpClientTransferTest, ACodeOfPerformIsLoggedByItsNameAndDecidesNothing) {
    using Row = std::tuple<int, const char*>;
    LoopbackServer server(hello);
    std::size_t answers = 0;
    for (const auto& [code, text] :
         {Row{CURLM_CALL_MULTI_PERFORM, "CURLM_CALL_MULTI_PERFORM"},
          Row{CURLM_BAD_HANDLE, "CURLM_BAD_HANDLE"}, Row{CURLM_BAD_EASY_HANDLE, "CURLM_BAD_EASY_HANDLE"},
          Row{CURLM_OUT_OF_MEMORY, "CURLM_OUT_OF_MEMORY"}, Row{CURLM_INTERNAL_ERROR, "CURLM_INTERNAL_ERROR"},
          Row{CURLM_BAD_SOCKET, "CURLM_BAD_SOCKET"}, Row{CURLM_UNKNOWN_OPTION, "CURLM_UNKNOWN_OPTION"},
          Row{CURLM_LAST, "CURLM_LAST"}, Row{CURLM_RECURSIVE_API_CALL, "an unknown value."}}) {
        client();
        const LogCapture log;
        seam_.performCode = code;
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
        EXPECT_EQ(listener_->waitFor(++answers).size(), answers);
        EXPECT_TRUE(log.contains(code == CURLM_CALL_MULTI_PERFORM ? ZEBLOG_DEBUG : ZEBLOG_ERROR,
                                 std::string("curl_multi_perform() returned ") + text));
    }
}

TEST_F(MultiHttpClientTransferTest, AMessageOfAnotherKindIsLoggedAndPassedOver) {
    LoopbackServer server(hello);
    client();
    ASSERT_TRUE(seam_.awaitIdleWaits(1));
    const LogCapture log;
    seam_.oddMessages = 1;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(log.contains("Unidentified message type returned from curl_multi_info_read(): "));
}

TEST_F(MultiHttpClientTransferTest, AHandleThatCantBeRemovedIsLogged) {
    LoopbackServer server(hello);
    seam_.failingRemoves = 1;
    const LogCapture log;
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(log.contains("Unable to remove the easy handle from the CURL multi-handle: "));
}

// --- cancelling, and the end -------------------------------------------------------------------------------

TEST_F(MultiHttpClientTransferTest, ACancelledTransferEndsWithoutACallAndItsHandleIsReleased) {
    seam_.longestWaitMs = 20;
    startSilentTransfer();
    const LogCapture log;
    ASSERT_EQ(client().cancelAllRequests(), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.contains(" number of active transfers: 1"));
    EXPECT_TRUE(log.waitFor("The internal data object was not found on the list."));
    EXPECT_TRUE(log.waitFor("returning borrowed EasyCURLConnection"));
    EXPECT_EQ(seam_.removes, 1);
    LoopbackServer server(hello);
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(silentListener_->waitFor(0).empty());
}

TEST_F(MultiHttpClientTransferTest, ARequestThatItsOwnerCancelsEndsWithoutACall) {
    seam_.longestWaitMs = 20;
    const auto request = makeRequest(silentServer_.url("/"), listener_);
    request->getOptions()->failoverUrls = {silentServer_.url("/next")};
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    ASSERT_TRUE(silentServer_.waitForRequests(1));
    const LogCapture log;
    request->cancel();
    EXPECT_TRUE(log.waitFor("Avoiding listener notification for cancelled request"));
    EXPECT_TRUE(log.waitFor("returning borrowed EasyCURLConnection"));
    EXPECT_TRUE(listener_->waitFor(0).empty());
    EXPECT_EQ(silentServer_.requests().size(), 1U);
}

TEST_F(MultiHttpClientTransferTest, NewRequestsArriveBetweenTheWaitsOfASilentTransfer) {
    seam_.longestWaitMs = 50;
    startSilentTransfer();
    LoopbackServer server(hello);
    const std::size_t waitsBefore = seam_.waits().size();
    constexpr std::size_t COUNT = 20;
    for (std::size_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    }
    EXPECT_EQ(listener_->waitFor(COUNT).size(), COUNT);
    EXPECT_LT(seam_.waits().size() - waitsBefore, 20 * COUNT);
}

TEST_F(MultiHttpClientTransferTest, OneThatEndsIsToldAtOnceThoughAllOthersAreSilent) {
    seam_.longestWaitMs = 20;
    startSilentTransfer();
    LoopbackServer::Gate gate;
    LoopbackServer server([&](const LoopbackServer::Request&) {
        gate.wait();
        return Reply::response(200, "hello");
    });
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    // From here on a wait that follows the end lasts longer than any test waits.
    seam_.longestWaitMs = 20000;
    gate.open();
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(silentListener_->waitFor(0).empty());
}

TEST_F(MultiHttpClientTransferTest, RequestsHeldUpInThePoolDontHoldUpTheTransfers) {
    seam_.longestWaitMs = 20;
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    ASSERT_EQ(enqueue(makeRequest("http://slow.invalid/", silentListener_)), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    LoopbackServer server(hello);
    constexpr std::size_t COUNT = 20;
    for (std::size_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    }
    EXPECT_EQ(listener_->waitFor(COUNT).size(), COUNT);
    gate.open();
}

TEST_F(MultiHttpClientTransferTest, TheEndDoesntWaitForSilentTransfersWithOrWithoutAListener) {
    startSilentTransfer();
    ASSERT_TRUE(seam_.awaitWaitOf(10000));
    // In front of the transfer above, under a wait of 20 seconds: joins at the client's end or never.
    ASSERT_EQ(enqueue(makeRequest(silentServer_.url("/no-listener"))), HttpClientError::SUCCESS);
    const LogCapture log;
    const auto began = std::chrono::steady_clock::now();
    client_.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
    EXPECT_TRUE(silentListener_->waitFor(0).empty());
    EXPECT_TRUE(silentServer_.waitForEnded(1));
    // The one in front may still be in the pool.
    EXPECT_TRUE(log.waitFor("returning borrowed EasyCURLConnection", LoopbackServer::PATIENCE, 2));
}

TEST_F(MultiHttpClientTransferTest, ARequestUnderASilentWaitIsLostAtTheEnd) {
    startSilentTransfer();
    ASSERT_TRUE(seam_.awaitWaitOf(10000));
    ASSERT_EQ(enqueue(silentServer_.url("/too-late")), HttpClientError::SUCCESS);
    client_.reset();
    EXPECT_EQ(listener_->wait().result, HttpClientResult::REQUEST_LOST);
}

TEST_F(MultiHttpClientTransferTest, ARequestThatIsReadyBehindAListenerAtTheEndIsLost) {
    LoopbackServer server(hello);
    LoopbackServer::Gate gate;
    const LogCapture log;
    const auto first = std::make_shared<RecordingListener>();
    first->whenAnswered = [&](const Outcome&) { gate.wait(); };
    ASSERT_EQ(enqueue(makeRequest(server.url("/"), first)), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    ASSERT_EQ(enqueue(server.url("/too-late")), HttpClientError::SUCCESS);
    auto end = std::async(std::launch::async, [&] { client_.reset(); });
    EXPECT_TRUE(log.waitFor("Attempting to join the processing thread."));
    gate.open();
    end.get();
    EXPECT_EQ(listener_->wait().result, HttpClientResult::REQUEST_LOST);
    EXPECT_TRUE(log.waitFor("Request #" + std::to_string(id_) + " returning borrowed EasyCURLConnection"));
    EXPECT_EQ(seam_.adds, 1);
}

TEST_F(MultiHttpClientTransferTest, ARequestStillInThePoolAtTheEndIsLost) {
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    ASSERT_EQ(enqueue("http://slow.invalid/"), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    client_.reset();
    gate.open();
    EXPECT_EQ(listener_->wait().result, HttpClientResult::REQUEST_LOST);
    EXPECT_EQ(seam_.adds, 0);
}

TEST_F(MultiHttpClientTransferTest, ARequestThatHasNotBegunInThePoolAtTheEndIsLostWithoutAQuestionToDns) {
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    for (std::size_t held = 1; held <= 2; ++held) {
        ASSERT_EQ(enqueue("http://slow.invalid/"), HttpClientError::SUCCESS);
        ASSERT_TRUE(gate.waitUntilReached(LoopbackServer::PATIENCE, held));
    }
    ASSERT_EQ(enqueue("http://slow.invalid/"), HttpClientError::SUCCESS);
    client_.reset();
    gate.open();
    EXPECT_EQ(listener_->waitFor(3).size(), 3U);
    EXPECT_EQ(resolver_->questions, 2);
}

TEST_F(MultiHttpClientTransferTest, ACancelledRequestInThePoolIsNotToldOfTheEnd) {
    LoopbackServer::Gate gate;
    resolver_->whenAsked = [&] { gate.wait(); };
    const auto request = makeRequest("http://slow.invalid/", listener_);
    ASSERT_EQ(enqueue(request), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    const LogCapture log;
    request->cancel();
    client_.reset();
    gate.open();
    EXPECT_TRUE(log.waitFor("Request #" + std::to_string(id_) + " returning borrowed EasyCURLConnection"));
    EXPECT_FALSE(log.contains("The client ends before request"));
    EXPECT_TRUE(listener_->waitFor(0).empty());
}

TEST_F(MultiHttpClientTransferTest, AListenerMayLetGoOfTheClient) {
    LoopbackServer server(hello);
    const LogCapture log;
    listener_->whenAnswered = [&](const Outcome&) { client_.reset(); };
#ifdef __SANITIZE_ADDRESS__
    __lsan_disable();  // a thread that is let go while it runs leaves its private data behind on purpose
#endif
    client();
#ifdef __SANITIZE_ADDRESS__
    __lsan_enable();
#endif
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_TRUE(log.contains("Could not join the processing thread."));
    EXPECT_TRUE(log.waitFor("Exiting MultiHttpClient processing thread."));
}

TEST_F(MultiHttpClientTransferTest, TheEndInTheMiddleOfManyTransfersAnswersEachAtMostOnce) {
    LoopbackServer server(hello);
    for (int round = 0; round < 10; ++round) {
        const auto listener = std::make_shared<RecordingListener>();
        client();
        for (int i = 0; i < 50; ++i) {
            ASSERT_EQ(enqueue(makeRequest(server.url("/"), listener)), HttpClientError::SUCCESS);
        }
        listener->waitFor(static_cast<std::size_t>(round));
        client_.reset();
        std::set<unsigned int> ids;
        for (const Outcome& outcome : listener->waitFor(0)) {
            EXPECT_TRUE(ids.insert(outcome.id).second);
            EXPECT_TRUE(outcome.completed || outcome.result == HttpClientResult::REQUEST_LOST);
        }
    }
}

}  // namespace
}  // namespace zeb::http::test
