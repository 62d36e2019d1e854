#include "BasicHttpClientTestSupport.h"
#include "http/HttpClientData.h"
#include "support/TestFiles.h"

#include <atomic>
#include <pthread.h>
#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using common::Policy;
using zeb::test::TemporaryFile;

class BasicHttpClientAsyncTest : public testing::Test {
protected:
    Outcome outcomeOf(const std::shared_ptr<Request>& request) {
        request->setListener(listener_);
        EXPECT_EQ(client_->executeAsync(request, id_), HttpClientError::SUCCESS);
        return listener_->wait();
    }

    std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient();
    unsigned int id_ = 0;
};

// --- answers

TEST_F(BasicHttpClientAsyncTest, TheListenerGetsTheResponseUnderTheRequestsId) {
    LoopbackServer server([](const LoopbackServer::Request&) { return Reply::response(404, "nothing"); });
    LogCapture log;
    const Outcome outcome = outcomeOf(makeRequest(server.url("/")));
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.id, id_);
    EXPECT_EQ(outcome.response.responseCode, 404);
    EXPECT_EQ(outcome.response.body, "nothing");
    const std::string name = "#" + std::to_string(id_);
    EXPECT_TRUE(log.contains("Notifying listener of a completed transfer for request " + name +
                             ", response code: 404"));
    EXPECT_TRUE(log.contains("Creating task..."));
    EXPECT_TRUE(log.contains("Executing task..."));
    EXPECT_TRUE(log.contains("Edge policy enforced successfully with transformed Url:"));
    EXPECT_FALSE(log.contains("Listener is not set"));
}

TEST_F(BasicHttpClientAsyncTest, TheListenerHearsOfAFailure) {
    const RefusedPort refused;
    LogCapture log;
    const Outcome outcome = outcomeOf(makeRequest(refused.url("/")));
    EXPECT_FALSE(outcome.completed);
    EXPECT_EQ(outcome.id, id_);
    EXPECT_EQ(outcome.result, HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_TRUE(log.contains("Notifying listener of a failure for request #" + std::to_string(id_)));
}

TEST_F(BasicHttpClientAsyncTest, TheListenerRunsOnAThreadOfThePool) {
    LoopbackServer server(hello);
    std::thread::id thread;
    listener_->whenAnswered = [&](const Outcome&) { thread = std::this_thread::get_id(); };
    outcomeOf(makeRequest(server.url("/")));
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(BasicHttpClientAsyncTest, TheThreadBearsTheNameOfTheTasksTypeMeanwhile) {
    LoopbackServer server(hello);
    char name[16] = "";
    listener_->whenAnswered = [&](const Outcome&) { pthread_getname_np(pthread_self(), name, sizeof name); };
    outcomeOf(makeRequest(server.url("/")));
    EXPECT_STREQ(name, "zeb::http::Bas");  // as much of zeb::http::BasicHttpClientImpl::AsyncTask as it takes
}

TEST_F(BasicHttpClientAsyncTest, TheListenerMayUseTheClientAgain) {
    LoopbackServer server(hello);
    std::string body;
    listener_->whenAnswered = [&](const Outcome&) {
        Response response;
        client_->execute(makeRequest(server.url("/again")), response);
        body = response.body;
    };
    outcomeOf(makeRequest(server.url("/")));
    EXPECT_EQ(body, "hello");
}

TEST_F(BasicHttpClientAsyncTest, TheListenerMayBeTheLastToHoldTheClient) {
    LoopbackServer server(hello);
    listener_->whenAnswered = [this](const Outcome&) { client_.reset(); };
    EXPECT_TRUE(outcomeOf(makeRequest(server.url("/"))).completed);
    EXPECT_EQ(client_, nullptr);
}

TEST_F(BasicHttpClientAsyncTest, ProgressIsReportedAlongTheWayAndAtTheEnd) {
    LoopbackServer server(
        [](const LoopbackServer::Request&) { return Reply::response(200, std::string(1 << 20, 'x')); });
    std::vector<ProgressData> seen;
    listener_->whenProgress = [&](ProgressData progress) { seen.push_back(progress); };
    outcomeOf(makeRequest(server.url("/")));
    ASSERT_GE(seen.size(), 2U);
    EXPECT_EQ(seen.back().transferred, 1 << 20);
    EXPECT_EQ(seen.back().total, 1 << 20);
    EXPECT_LE(seen.size(), 13U) << "a report is due every 100 KiB";
}

TEST_F(BasicHttpClientAsyncTest, WithoutListenerTheRequestRunsAndItsResultIsLogged) {
    LoopbackServer server(hello);
    LogCapture log;
    EXPECT_EQ(client_->executeAsync(makeRequest(server.url("/")), id_), HttpClientError::SUCCESS);
    EXPECT_TRUE(
        log.waitFor("No listener is available to notify the client of the result. Result was SUCCESS"));
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING, "Listener is not set for request: "));
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(BasicHttpClientAsyncTest, TheLineAboutAMissingListenerHidesTheUrl) {
    LogCapture log;
    const auto request = makeRequest("http://127.0.0.1:9/secret-path");
    request->getOptions()->loggingOptions = LoggingOption::NO_URL_PATH;
    client_->executeAsync(request, id_);
    EXPECT_TRUE(log.waitFor("Result was "));
    EXPECT_FALSE(log.contains("secret-path"));
}

TEST_F(BasicHttpClientAsyncTest, EachRequestHasAnIdOfItsOwn) {
    LoopbackServer server(hello);
    std::set<unsigned int> ids;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(client_->executeAsync(makeRequest(server.url("/"), listener_), id_),
                  HttpClientError::SUCCESS);
        ids.insert(id_);
    }
    EXPECT_EQ(ids.size(), 10U);
    std::set<unsigned int> answered;
    for (const Outcome& outcome : listener_->waitFor(10)) {
        answered.insert(outcome.id);
    }
    EXPECT_EQ(answered, ids);
}

TEST_F(BasicHttpClientAsyncTest, AHundredTasksRunOneAfterTheOtherAndNoneIsLost) {
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    LoopbackServer server([&](const LoopbackServer::Request& request) {
        overlapped = overlapped || ++inside > 1;
        const Reply reply = Reply::response(200, request.target);
        --inside;
        return reply;
    });
    std::set<std::string> paths;
    for (int i = 0; i < 100; ++i) {
        paths.insert("/" + std::to_string(i));
        client_->executeAsync(makeRequest(server.url("/" + std::to_string(i)), listener_), id_);
    }
    std::set<std::string> bodies;
    for (const Outcome& outcome : listener_->waitFor(100)) {
        bodies.insert(outcome.response.body);
    }
    EXPECT_EQ(bodies, paths);
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(server.requests().size(), 100U);
}

// --- what is not accepted, and what is answered without a transfer

TEST_F(BasicHttpClientAsyncTest, WithoutAnEdgePolicyNoRequestIsAccepted) {
    LogCapture log;
    client_->removePolicy(Policy::PolicyNature::EDGE_USAGE);
    id_ = 4711;
    EXPECT_EQ(client_->executeAsync(makeRequest("http://127.0.0.1:9/", listener_), id_),
              HttpClientError::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_EQ(client_->downloadAsync(makeRequest("http://127.0.0.1:9/", listener_), id_, "x"),
              HttpClientError::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_EQ(client_->uploadAsync(makeRequest("http://127.0.0.1:9/", listener_), id_, "x"),
              HttpClientError::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_EQ(id_, 4711U);
    EXPECT_EQ(log.count("Edge policy not available"), 3U);
    EXPECT_FALSE(log.contains("Creating task..."));
}

TEST_F(BasicHttpClientAsyncTest, WithoutAPoolNoRequestIsAccepted) {
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(client->executeAsync(makeRequest("http://127.0.0.1:9/", listener_), id_),
              HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
    LoopbackServer server(hello);
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
}

TEST_F(BasicHttpClientAsyncTest, AnEmptyUrlIsAcceptedAndAnsweredByTheListener) {
    const Outcome outcome = outcomeOf(makeRequest(""));
    EXPECT_FALSE(outcome.completed);
    EXPECT_EQ(outcome.result, HttpClientResult::URL_NOT_SET_ERROR);
}

TEST_F(BasicHttpClientAsyncTest, ARequestWithoutOptionsIsAnsweredByTheListener) {
    const auto request = std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>());
    request->setListener(listener_);
    EXPECT_EQ(client_->downloadAsync(request, id_, "/tmp/x"), HttpClientError::SUCCESS);
    EXPECT_EQ(client_->uploadAsync(request, id_, "/tmp/x"), HttpClientError::SUCCESS);
    for (const Outcome& outcome : listener_->waitFor(2)) {
        EXPECT_EQ(outcome.result, HttpClientResult::URL_NOT_SET_ERROR);
    }
}

TEST_F(BasicHttpClientAsyncTest, ANullRequestIsOnlyLogged) {
    LogCapture log;
    EXPECT_EQ(client_->executeAsync(nullptr, id_), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.waitFor("Result was URL_NOT_SET_ERROR"));
    EXPECT_EQ(client_->downloadAsync(nullptr, id_, "x"), HttpClientError::SUCCESS);
    EXPECT_EQ(client_->uploadAsync(nullptr, id_, "x"), HttpClientError::SUCCESS);
    EXPECT_EQ(log.count("Listener is not set for request: "), 3U);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientAsyncTest, ATaskWithoutClientDataEndsAsUnknownError) {
    LogCapture log;
    const auto data =
        std::make_shared<HttpRequestData>(makeRequest("http://127.0.0.1:9/", listener_), nullptr);
    std::make_shared<BasicHttpClientImpl::AsyncTask>(nullptr, data)->execute();
    EXPECT_EQ(listener_->wait().result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Internal object is NULL!"));
}

TEST_F(BasicHttpClientAsyncTest, ATaskWithoutAPolicyEndsAsNotEnforced) {
    const auto data =
        std::make_shared<HttpRequestData>(makeRequest("http://127.0.0.1:9/", listener_), nullptr);
    std::make_shared<BasicHttpClientImpl::AsyncTask>(HttpClientData::build(nullptr, nullptr), data)
        ->execute();
    EXPECT_EQ(listener_->wait().result, HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
}

// --- files

TEST_F(BasicHttpClientAsyncTest, ADownloadIsAGetWhoseBodyGoesToTheFile) {
    const std::string content(3 * 1024 * 1024 + 1, 'd');
    LoopbackServer server([&](const LoopbackServer::Request&) { return Reply::response(200, content); });
    const TemporaryFile file("of before");
    const auto request = makeRequest(server.url("/"), listener_);
    request->getOptions()->method = HttpMethod::POST;
    EXPECT_EQ(client_->downloadAsync(request, id_, file.path()), HttpClientError::SUCCESS);
    const Outcome outcome = listener_->wait();
    EXPECT_TRUE(outcome.completed);
    EXPECT_TRUE(outcome.response.body.empty());
    EXPECT_TRUE(file.content() == content);
    EXPECT_EQ(server.requests().at(0).method, "GET");
    EXPECT_EQ(request->getOptions()->method, HttpMethod::GET);
}

TEST_F(BasicHttpClientAsyncTest, ADownloadAnsweredWith404LeavesTheFileEmptyAndThePageInTheBody) {
    LoopbackServer server(
        [](const LoopbackServer::Request&) { return Reply::response(404, "no such page"); });
    const TemporaryFile file("of before");
    client_->downloadAsync(makeRequest(server.url("/"), listener_), id_, file.path());
    const Outcome outcome = listener_->wait();
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.response.body, "no such page");
    EXPECT_EQ(file.content(), "");
}

TEST_F(BasicHttpClientAsyncTest, ADownloadToAPathThatCannotBeWrittenEndsBeforeAnythingIsSent) {
    LoopbackServer server(hello);
    LogCapture log;
    client_->downloadAsync(makeRequest(server.url("/"), listener_), id_, "/nonexistent/folder/file");
    EXPECT_EQ(listener_->wait().result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "There was an issue configuring the request."));
    EXPECT_EQ(server.connections(), 0U);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientAsyncTest, AConfigurationFailureGivesTheHandleBackBeforeTheListenerHearsOfIt) {
    LoopbackServer server(hello);
    std::string body;
    listener_->whenAnswered = [&](const Outcome&) {
        Response response;
        client_->execute(makeRequest(server.url("/")), response);
        body = response.body;
    };
    client_->downloadAsync(makeRequest(server.url("/"), listener_), id_, "/nonexistent/folder/file");
    listener_->wait();
    EXPECT_EQ(body, "hello");
}

TEST_F(BasicHttpClientAsyncTest, AnUploadIsAPutOfTheFile) {
    LoopbackServer server(hello);
    const TemporaryFile file(std::string(300000, 'u'));
    const auto request = makeRequest(server.url("/"), listener_);
    client_->uploadAsync(request, id_, file.path());
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_EQ(server.requests().at(0).method, "PUT");
    EXPECT_TRUE(server.requests().at(0).body == std::string(300000, 'u'));
    EXPECT_EQ(request->getOptions()->method, HttpMethod::PUT);
}

TEST_F(BasicHttpClientAsyncTest, AnUploadMayBeAPost) {
    LoopbackServer server(hello);
    const TemporaryFile file("the content");
    const auto request = makeRequest(server.url("/"), listener_);
    request->getOptions()->method = HttpMethod::POST;
    client_->uploadAsync(request, id_, file.path());
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_EQ(server.requests().at(0).method, "POST");
    EXPECT_EQ(server.requests().at(0).body, "the content");
}

TEST_F(BasicHttpClientAsyncTest, AnUploadOfAFileThatIsNotThereEndsBeforeAnythingIsSent) {
    LoopbackServer server(hello);
    client_->uploadAsync(makeRequest(server.url("/"), listener_), id_, "/nonexistent/file");
    EXPECT_EQ(listener_->wait().result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(server.connections(), 0U);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientAsyncTest, AFileOperationWithoutAPathIsAnOrdinaryRequest) {
    LoopbackServer server(hello);
    client_->downloadAsync(makeRequest(server.url("/"), listener_), id_, "");
    EXPECT_EQ(listener_->wait().response.body, "hello");
}

}  // namespace
}  // namespace zeb::http::test
