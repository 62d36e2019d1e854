#include "cert/common/CertVerifier.h"
#include "cert/common/CertVerifierFactory.h"
#include "core/ThreadPool.h"
#include "http/BasicHttpClient.h"
#include "http/EdgePolicy.h"
#include "http/HttpClientListener.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/NetUtilsFactory.h"
#include "support/CertificateBuilder.h"
#include "support/FakePlatform.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "support/Threads.h"

#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::FakePlatform;
using zeb::test::LogCapture;
using zeb::test::LoopbackServer;

/// The result of the one request.
class OneAnswer : public http::HttpClientListener {
public:
    void onRequestFailed(unsigned int, http::HttpClientResult::Result result) override { tell(result); }
    void onRequestCompleted(unsigned int, const http::Response&) override {
        tell(http::HttpClientResult::SUCCESS);
    }
    void onRequestProgress(unsigned int, http::ProgressData) override {}

    http::HttpClientResult::Result wait() { return answer_.get_future().get(); }

private:
    void tell(http::HttpClientResult::Result result) { answer_.set_value(result); }

    std::promise<http::HttpClientResult::Result> answer_;
};

LoopbackServer::Reply hello(const LoopbackServer::Request&) {
    return LoopbackServer::Reply::response(200, "hello");
}

void expectAWorkingClient(const std::shared_ptr<http::BasicHttpClient>& client) {
    ASSERT_NE(client, nullptr);
    LoopbackServer server(hello);
    http::Response response;
    EXPECT_EQ(client->execute(std::make_shared<http::Request>(server.url("/")), response),
              http::HttpClientResult::SUCCESS);
    EXPECT_EQ(response.body, "hello");
}

http::HttpClientResult::Result outcomeOfATask(http::BasicHttpClient& client) {
    LoopbackServer server(hello);
    const auto listener = std::make_shared<OneAnswer>();
    const auto request = std::make_shared<http::Request>(server.url("/"));
    request->setListener(listener);
    unsigned int id = 0;
    EXPECT_EQ(client.executeAsync(request, id), http::HttpClientError::SUCCESS);
    return listener->wait();
}

TEST(NetUtilsFactoryTest, TheBoundsOfAPoolAreNoneAndTen) {
    EXPECT_EQ(NetUtilsFactory::MIN_DEFAULT_THREADPOOL_SIZE, 0U);
    EXPECT_EQ(NetUtilsFactory::MAX_DEFAULT_THREADPOOL_SIZE, 10U);
}

TEST(NetUtilsFactoryDeathTest, OnlyTheFirstFactoryOfAProcessWritesTheBanner) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const LogCapture log;
            const NetUtilsFactory first;
            const bool written = log.linesOf("zeb.netutils.version").size() == 1;
            const NetUtilsFactory second;
            std::_Exit(written && log.linesOf("zeb.netutils.version").size() == 1 ? EXIT_SUCCESS
                                                                                  : EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(NetUtilsFactoryTest, EachFormMakesAClientThatWorks) {
    NetUtilsFactory factory;
    const auto pool = std::make_shared<ThreadPool>(0, 1, "mine", 60);
    expectAWorkingClient(factory.createBasicHttpClient());
    expectAWorkingClient(factory.createBasicHttpClient(std::shared_ptr<cert::CertVerifier>()));
    expectAWorkingClient(factory.createBasicHttpClient(pool));
    expectAWorkingClient(factory.createBasicHttpClient(std::shared_ptr<cert::CertVerifier>(), pool));
}

TEST(NetUtilsFactoryTest, EachFormMakesAClientThatRunsTasks) {
    NetUtilsFactory factory;
    const auto pool = std::make_shared<ThreadPool>(0, 1, "mine", 60);
    for (const auto& client : {factory.createBasicHttpClient(),
                               factory.createBasicHttpClient(std::shared_ptr<cert::CertVerifier>()),
                               factory.createBasicHttpClient(pool),
                               factory.createBasicHttpClient(std::shared_ptr<cert::CertVerifier>(), pool)}) {
        EXPECT_EQ(outcomeOfATask(*client), http::HttpClientResult::SUCCESS);
    }
}

TEST(NetUtilsFactoryDeathTest, EachClientWithoutAGivenPoolHasOneOfItsOwnCalledAsyncHttpReq) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            NetUtilsFactory factory;
            const auto first = factory.createBasicHttpClient();
            const auto second = factory.createBasicHttpClient(std::shared_ptr<cert::CertVerifier>());
            outcomeOfATask(*first);
            outcomeOfATask(*second);
            // Each thread takes the pool's name back when its task has ended.
            std::_Exit(zeb::test::awaitThreadsNamed("AsyncHttpReq", 2) ? EXIT_SUCCESS : EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(NetUtilsFactoryTest, ClientsAreIndependentOfEachOther) {
    NetUtilsFactory factory;
    const auto first = factory.createBasicHttpClient();
    const auto second = factory.createBasicHttpClient();
    EXPECT_NE(first, second);
    first->removePolicy(common::Policy::PolicyNature::EDGE_USAGE);
    EXPECT_EQ(second->getPolicy(common::Policy::PolicyNature::EDGE_USAGE),
              http::EdgePolicy::NEVER_USE_EDGE_POLICY);
}

TEST(NetUtilsFactoryTest, AGivenPoolRunsTheTasks) {
    NetUtilsFactory factory;
    const auto pool = std::make_shared<ThreadPool>(0, 0, "idle", 60);
    LoopbackServer server(hello);
    const auto listener = std::make_shared<OneAnswer>();
    const auto request = std::make_shared<http::Request>(server.url("/"));
    request->setListener(listener);
    unsigned int id = 0;
    EXPECT_EQ(factory.createBasicHttpClient(pool)->executeAsync(request, id), http::HttpClientError::SUCCESS);
    EXPECT_EQ(pool->queueSize(), 1U) << "a pool without threads keeps what it is given";
    pool->clearQueue();
    EXPECT_EQ(listener->wait(), http::HttpClientResult::REQUEST_LOST);
}

TEST(NetUtilsFactoryTest, AClientsOwnPoolTellsTheTasksOfAClientThatGoesAsLostOrDone) {
    NetUtilsFactory factory;
    auto client = factory.createBasicHttpClient();
    const auto listener = std::make_shared<OneAnswer>();
    const auto request = std::make_shared<http::Request>("http://127.0.0.1:9/");
    request->setListener(listener);
    unsigned int id = 0;
    client->executeAsync(request, id);
    client.reset();
    EXPECT_NE(listener->wait(), http::HttpClientResult::SUCCESS);
}

TEST(NetUtilsFactoryTest, WithANullPoolOnlySynchronousRequestsRun) {
    NetUtilsFactory factory;
    const auto client = factory.createBasicHttpClient(std::shared_ptr<ThreadPool>());
    expectAWorkingClient(client);
    unsigned int id = 0;
    EXPECT_EQ(client->executeAsync(std::make_shared<http::Request>("http://127.0.0.1:9/"), id),
              http::HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR);
}

// HTTPS

class FactorysHttpsTest : public testing::Test {
protected:
    ~FactorysHttpsTest() override { cert::CertVerifierFactory::setCertVerifier(nullptr); }

    static LoopbackServer::Options presenting(const std::string& name) {
        const auto certificate =
            zeb::test::CertificateBuilder().commonName("A server").dnsNames({name}).build();
        LoopbackServer::Options options;
        options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
        return options;
    }
    static http::HttpClientResult::Result get(const std::shared_ptr<http::BasicHttpClient>& client,
                                              const LoopbackServer& server) {
        http::Response response;
        return client->execute(std::make_shared<http::Request>(server.secureUrl("/")), response);
    }

    LoopbackServer good_{hello, presenting("localhost")};
    LoopbackServer bad_{hello, presenting("other.test")};
    const std::shared_ptr<ThreadPool> pool_ = std::make_shared<ThreadPool>(0, 1, "mine", 60);
    const std::shared_ptr<cert::CertVerifier> trusting_ =
        std::make_shared<cert::CertVerifier>(std::make_shared<FakePlatform>());
    NetUtilsFactory factory_;
};

TEST_F(FactorysHttpsTest, AGivenVerifierJudgesTheServers) {
    for (const auto& client :
         {factory_.createBasicHttpClient(trusting_), factory_.createBasicHttpClient(trusting_, pool_)}) {
        EXPECT_EQ(get(client, good_), http::HttpClientResult::SUCCESS);
        EXPECT_EQ(get(client, bad_), http::HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    }
}

TEST_F(FactorysHttpsTest, AVerifierOfTheClientsOwnIsTheFactorysOfVerifiers) {
    cert::CertVerifierFactory::setCertVerifier(trusting_);
    for (const auto& client : {factory_.createBasicHttpClient(), factory_.createBasicHttpClient(pool_)}) {
        EXPECT_EQ(get(client, good_), http::HttpClientResult::SUCCESS);
        EXPECT_EQ(get(client, bad_), http::HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    }
}

TEST_F(FactorysHttpsTest, ByDefaultACertificateThatTheSystemDoesNotKnowIsRefused) {
    for (const auto& client : {factory_.createBasicHttpClient(), factory_.createBasicHttpClient(pool_)}) {
        EXPECT_EQ(get(client, good_), http::HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    }
    EXPECT_TRUE(good_.requests().empty()) << "nothing was sent";
}

TEST_F(FactorysHttpsTest, ANullVerifierRefusesEveryServerAndNothingFalls) {
    const std::shared_ptr<cert::CertVerifier> none;
    for (const auto& client :
         {factory_.createBasicHttpClient(none), factory_.createBasicHttpClient(none, pool_)}) {
        EXPECT_EQ(get(client, good_), http::HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    }
}

}  // namespace
}  // namespace zeb::netutils::test
