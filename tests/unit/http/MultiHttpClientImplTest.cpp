#include "MultiHttpClientTestSupport.h"
#include "common/Policy.h"
#include "unit/http/CurlSeam.h"

#include <regex>
#include <tuple>

#include <curl/curl.h>

namespace zeb::http::test {
namespace {

using common::Policy;
using testing::ElementsAre;
using testing::Pair;

/// What a caller of the multi client is told at once, and the settings.
class MultiHttpClientImplTest : public MultiHttpClientTestBase {};

TEST_F(MultiHttpClientImplTest, ANullRequestIsRefusedWithoutTouchingThePool) {
    client();
    const LogCapture log;
    EXPECT_EQ(enqueue(std::shared_ptr<Request>()), HttpClientError::REQUEST_NOT_SET_ERROR);
    EXPECT_EQ(id_, 4711U);
    EXPECT_EQ(log.count("New request: "), 0U);
    EXPECT_EQ(log.count("Adding data to the queue"), 0U);
}

TEST_F(MultiHttpClientImplTest, AnEmptyUrlOrNoOptionsAreRefused) {
    EXPECT_EQ(enqueue(""), HttpClientError::URL_NOT_SET_ERROR);
    EXPECT_EQ(enqueue(std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>())),
              HttpClientError::URL_NOT_SET_ERROR);
}

TEST_F(MultiHttpClientImplTest, ADownloadIsLoggedBeforeItIsLookedAt) {
    client();
    const LogCapture log;
    EXPECT_EQ(client().enqueueDownloadRequest(nullptr, id_, "/nowhere"),
              HttpClientError::REQUEST_NOT_SET_ERROR);
    EXPECT_EQ(log.count("New request: "), 1U);
    EXPECT_EQ(client().enqueueDownloadRequest(makeRequest(""), id_, "/nowhere"),
              HttpClientError::URL_NOT_SET_ERROR);
}

TEST_F(MultiHttpClientImplTest, WithoutAnEdgePolicyARequestIsRefused) {
    client().removePolicy(Policy::PolicyNature::EDGE_USAGE);
    const LogCapture log;
    EXPECT_EQ(enqueue("http://127.0.0.1/"), HttpClientError::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_TRUE(log.contains("Edge policy not available"));
}

TEST_F(MultiHttpClientImplTest, WithoutAPolicyOfTheHandleARequestIsRefusedAndItsHandleReturned) {
    using Row = std::tuple<Policy::PolicyNature::Nature, const char*>;
    for (const auto& [nature, text] :
         {Row{Policy::PolicyNature::IP_FAMILY_PREFERENCE, "IP family policy not available."},
          Row{Policy::PolicyNature::COMMON_CRITERIA_USAGE, "CommonCriteria usage policy not available."}}) {
        client_.reset();
        client().removePolicy(nature);
        const LogCapture log;
        EXPECT_EQ(enqueue("http://127.0.0.1/"), HttpClientError::POLICY_NOT_AVAILABLE_ERROR);
        EXPECT_TRUE(log.contains(std::string("] ") + text));
        EXPECT_EQ(log.count("returning borrowed EasyCURLConnection"), 1U);
        EXPECT_EQ(seam_.adds, 0);
    }
}

TEST_F(MultiHttpClientImplTest, ResultsOfPoliciesBecomeErrorsByTheTable) {
    for (int result = 0; result <= 30; ++result) {
        const int expected = result == 0 ? 0 : result == 12 ? 6 : result == 13 ? 7 : 10;
        EXPECT_EQ(static_cast<int>(MultiHttpClientImpl::convertClientResultToError(
                      static_cast<HttpClientResult::Result>(result))),
                  expected)
            << result;
    }
}

TEST_F(MultiHttpClientImplTest, ARequestThatCantBeConfiguredIsToldAsASuccessAndNothingHappens) {
    LoopbackServer server(hello);
    client();
    const LogCapture log;
    EXPECT_EQ(client().enqueueDownloadRequest(makeRequest(server.url("/"), listener_), id_, "/no/such/dir/f"),
              HttpClientError::SUCCESS);
    EXPECT_NE(id_, 4711U);
    EXPECT_EQ(log.count("Adding data to the queue"), 0U);
    EXPECT_EQ(log.count("returning borrowed EasyCURLConnection"), 1U);
    ASSERT_EQ(enqueue(server.url("/after")), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().id, id_);
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(seam_.adds, 1);
}

TEST_F(MultiHttpClientImplTest, AfterAFailedThreadStartRequestsAreRefused) {
    seam_.failingThread = 2;  // the first is the pool's
    const LogCapture log;
    EXPECT_EQ(enqueue("http://127.0.0.1/"), HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
    EXPECT_EQ(client().enqueueDownloadRequest(makeRequest("http://127.0.0.1/"), id_, "/tmp/never"),
              HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
    EXPECT_TRUE(log.contains("The thread could not be started to process the requests."));
    EXPECT_TRUE(log.contains("Preventing any new incoming requests to be submitted."));
    EXPECT_TRUE(log.contains("Unable to process the enqueue request as the class is not available."));
    EXPECT_TRUE(
        log.contains("Unable to process the enqueue download request as the class is not available."));
    EXPECT_EQ(client().cancelAllRequests(), HttpClientError::SUCCESS);
    client_.reset();
    EXPECT_TRUE(log.contains("Thread is not running."));
}

TEST_F(MultiHttpClientImplTest, ThreadsAreNamedAfterTheHandle) {
    const LogCapture log;
    client();
    const std::string text = log.text();
    std::smatch prefix;
    ASSERT_TRUE(std::regex_search(text, prefix,
                                  std::regex(R"(\[0x([0-9a-f]+)\] constructing new instance of)"
                                             R"( MultiHttpClientImpl)")));
    const std::string digits = "000" + prefix.str(1);
    const std::string low = digits.substr(digits.size() - 4);
    EXPECT_TRUE(log.contains("] Thread Name : MHttp-P-" + low));
    EXPECT_TRUE(log.contains("] Thread Name : MHttp-Q-" + low));
}

TEST_F(MultiHttpClientImplTest, PipeliningIsSwitchedAndTold) {
    client();
    const LogCapture log;
    const MultiOptions options;
    client().disableHttpPipelining();
    client().enableHttpPipelining();
    const int option = CURLMOPT_PIPELINING;
    EXPECT_THAT(options.numbers(), ElementsAre(Pair(option, 0L), Pair(option, 1L), Pair(option, 3L)));
    EXPECT_TRUE(log.contains("Successfully enabled pipelining support."));
    EXPECT_TRUE(log.contains("Successfully disabled pipelining support."));
}

TEST_F(MultiHttpClientImplTest, WithoutAMultiHandlePipeliningFailsAndRequestsAreAnsweredSo) {
    {
        const NoCurlHandles none;
        client();
    }
    LogCapture log;
    client().enableHttpPipelining();
    client().disableHttpPipelining();
    EXPECT_TRUE(log.contains("Could not enable HTTP pipelining support, CURL error: "));
    EXPECT_TRUE(log.contains("Could not disable HTTP pipelining support, CURL error: "));
    ASSERT_EQ(enqueue("http://127.0.0.1/"), HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->wait().result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(log.contains("Unable to add the request to the CURL stack."));
}

TEST_F(MultiHttpClientImplTest, CancelAllWithoutTransfersLeavesTheLoopWaiting) {
    client();
    ASSERT_TRUE(seam_.awaitIdleWaits(1));
    const int performs = seam_.performs;
    const LogCapture log;
    EXPECT_EQ(client().cancelAllRequests(), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.contains("Canceling all requests."));
    EXPECT_TRUE(log.contains("waiting on _mutex"));
    EXPECT_TRUE(log.contains(" number of active transfers: 0"));
    EXPECT_EQ(seam_.performs, performs);
    EXPECT_EQ(seam_.idleTimes().size(), 1U);
}

TEST_F(MultiHttpClientImplTest, WithNoWorkTheLoopWakesAfterThirtySecondsAndCallsCurlOnce) {
    seam_.expiringIdleWaits = 3;
    const LogCapture log;
    client();
    ASSERT_TRUE(seam_.awaitIdleWaits(4));
    EXPECT_EQ(seam_.performs, 4);
    EXPECT_THAT(seam_.idleTimes(), ElementsAre(30000, 30000, 30000, 30000));
    EXPECT_TRUE(seam_.waits().empty());
    EXPECT_EQ(log.count("waiting for new requests"), 4U);
}

TEST_F(MultiHttpClientImplTest, ItsBeginningAndEndAreLogged) {
    LoopbackServer server(hello);
    LoopbackServer::Gate gate;
    const LogCapture log;
    listener_->whenAnswered = [&](const Outcome&) {
        gate.wait();
        EXPECT_TRUE(log.waitFor("Attempting to join the processing thread."));
    };
    client();
    ASSERT_TRUE(log.waitFor("Running MultiHttpClient processing thread loop."));
    ASSERT_EQ(enqueue(server.url("/")), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate.waitUntilReached());
    gate.open();
    client_.reset();
    for (const char* const line : {"Destructor called.", "Canceling all requests.",
                                   "Exiting MultiHttpClient processing thread.", "Destructor exit."}) {
        EXPECT_TRUE(log.contains(line)) << line;
    }
}

}  // namespace
}  // namespace zeb::http::test
