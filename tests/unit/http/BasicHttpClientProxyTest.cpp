#include "BasicHttpClientTestSupport.h"
#include "http/HttpProxyConfigurationReader.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "support/ProxyHost.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr char RIGHT[] = "Basic dXNlcjpyaWdodA==";    // user:right
constexpr char WRONG[] = "Basic dXNlcjp3cm9uZw==";    // user:wrong
constexpr char TARGET[] = "https://inside.invalid/";  // reached through a tunnel only

/// Opens the tunnel to whoever brings the right credentials, and ends it before any handshake.
Reply strictProxy(const LoopbackServer::Request& request) {
    if (request.header("Proxy-Authorization") != RIGHT) {
        return Reply::response(407, "", {{"Proxy-Authenticate", "Basic realm=\"p\""}, {"X-From", "proxy"}});
    }
    return Reply::response(200).thenClose();
}

class BasicHttpClientProxyTest : public testing::Test {
protected:
    BasicHttpClientProxyTest() { host_->clear(); }
    ~BasicHttpClientProxyTest() override { host_->clear(); }

    std::shared_ptr<Request> tunnelled(bool wait) {
        const auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(proxy_.authority(), ProxyType::HTTP);
        auto request = makeRequest(TARGET);
        request->setProxy(proxy);
        request->waitUntilProxyCredentialReady(wait);
        return request;
    }
    struct Answer {
        HttpClientResult::Result result;
        Response response;
    };
    std::future<Answer> start(const std::shared_ptr<BasicHttpClientImpl>& client,
                              const std::shared_ptr<Request>& request) {
        return std::async(std::launch::async, [client, request] {
            Answer answer;
            answer.result = client->execute(request, answer.response);
            return answer;
        });
    }
    void answerHost(const std::string& user, const std::string& password) {
        ProxyHost::handler().setProxyCredential(proxy_.authority(), user, SecureString(password));
    }
    std::vector<std::string> credentialsSent() const {
        std::vector<std::string> sent;
        for (const LoopbackServer::Request& request : proxy_.requests()) {
            sent.push_back(request.header("Proxy-Authorization"));
        }
        return sent;
    }
    /// Waits until the proxy has been given these credentials so many times.
    bool waitForCredentials(const std::string& credentials, long times) const {
        for (std::size_t seen = 0; proxy_.waitForRequests(seen);) {
            const std::vector<std::string> sent = credentialsSent();
            if (std::count(sent.begin(), sent.end(), credentials) >= times) {
                return true;
            }
            seen = sent.size() + 1;
        }
        return false;
    }

    std::shared_ptr<ProxyHost> host_ = ProxyHost::instance();
    LoopbackServer proxy_{strictProxy};
    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient();
};

template <typename T>
bool ready(const std::future<T>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

TEST_F(BasicHttpClientProxyTest, ARefusedRequestWaitsForCredentialsAndBringsThemInTheRetryOnly) {
    auto answer = start(client_, tunnelled(true));
    EXPECT_THAT(host_->waitForAsked(1), ElementsAre(proxy_.authority()));
    EXPECT_FALSE(ready(answer));
    for (const LoopbackServer::Request& request : proxy_.requests()) {
        EXPECT_EQ(request.method, "CONNECT");
        EXPECT_EQ(request.target, "inside.invalid:443");
        EXPECT_NE(request.header("Proxy-Authorization"), RIGHT);
    }
    answerHost("user", "right");
    const Answer got = answer.get();
    EXPECT_EQ(got.response.connectCode, 200);
    EXPECT_EQ(got.result, HttpClientResult::SSL_CONNECTION_ERROR) << "the tunnel ends before the handshake";
    EXPECT_EQ(credentialsSent().back(), RIGHT);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, BeforeTheHostHasAnsweredNobodysCredentialsAreSent) {
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    // An empty pair is how libcurl is told to try what needs no password, such as a ticket of the system.
    EXPECT_THAT(credentialsSent(), ElementsAre("", "Basic Og=="));
    answerHost("", "");
    answer.get();
}

TEST_F(BasicHttpClientProxyTest, TheRequestsOwnHeadersNeverReachTheProxy) {
    const auto request = tunnelled(false);
    request->getOptions()->headers->emplace_back("X-Private", "1");
    Response response;
    client_->execute(request, response);
    EXPECT_THAT(proxy_.received(), testing::Not(testing::HasSubstr("X-Private")));
}

TEST_F(BasicHttpClientProxyTest, AHostThatDeclinesEndsTheRequestWithItsFirstResult) {
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    answerHost("", "");
    const Answer got = answer.get();
    EXPECT_EQ(got.result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(got.response.connectCode, 407);
    EXPECT_EQ(got.response.proxyAuthType, "BASIC");
    EXPECT_TRUE(got.response.proxyUsed);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, WrongCredentialsAreAskedForOnceMore) {
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    answerHost("user", "wrong");
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    EXPECT_FALSE(ready(answer));
    EXPECT_TRUE(waitForCredentials(WRONG, 1));
    answerHost("user", "right");
    EXPECT_EQ(answer.get().response.connectCode, 200);
    EXPECT_EQ(credentialsSent().back(), RIGHT);
}

TEST_F(BasicHttpClientProxyTest, WrongCredentialsMayBeFollowedByARefusal) {
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    answerHost("user", "wrong");
    host_->waitForAsked(2);
    answerHost("", "");
    EXPECT_EQ(answer.get().response.connectCode, 407);
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, ATaskWaitsLikewise) {
    const auto listener = std::make_shared<RecordingListener>();
    const auto request = tunnelled(true);
    request->setListener(listener);
    unsigned int id = 0;
    EXPECT_EQ(client_->executeAsync(request, id), HttpClientError::SUCCESS);
    host_->waitForAsked(1);
    answerHost("user", "right");
    EXPECT_EQ(listener->wait().result, HttpClientResult::SSL_CONNECTION_ERROR);
    EXPECT_EQ(credentialsSent().back(), RIGHT);
}

TEST_F(BasicHttpClientProxyTest, TheRetryRunsOnAFreshHandle) {
    const auto before = client_->getEasyCURLConnection();
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    EXPECT_EQ(client_->getEasyCURLConnection(), before);
    answerHost("user", "right");
    answer.get();
    EXPECT_NE(client_->getEasyCURLConnection(), before);
}

TEST_F(BasicHttpClientProxyTest, TheHostMayAnswerFromWithinTheQuestion) {
    host_->setWhenAsked([this](const std::string&) { answerHost("user", "right"); });
    EXPECT_EQ(start(client_, tunnelled(true)).get().response.connectCode, 200);
}

TEST_F(BasicHttpClientProxyTest, CredentialsThatAreKnownAreBroughtWithoutAsking) {
    ProxyHost::handler().initProxyCredential(proxy_.authority(), "user", SecureString("right"), "BASIC");
    EXPECT_EQ(start(client_, tunnelled(true)).get().response.connectCode, 200);
    EXPECT_THAT(credentialsSent(), ElementsAre(RIGHT));
    EXPECT_TRUE(host_->waitForAsked(0).empty());
}

TEST_F(BasicHttpClientProxyTest, TwoParkedRequestsAreReleasedByOneAnswer) {
    const auto other = makeClient();
    auto first = start(client_, tunnelled(true));
    auto second = start(other, tunnelled(true));
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    answerHost("user", "right");
    EXPECT_EQ(first.get().response.connectCode, 200);
    EXPECT_EQ(second.get().response.connectCode, 200);
    EXPECT_TRUE(waitForCredentials(RIGHT, 2));
}

TEST_F(BasicHttpClientProxyTest, RequestsOfSeveralClientsMayShareTheirProxy) {
    ProxyHost::handler().initProxyCredential(proxy_.authority(), "user", SecureString("right"), "BASIC");
    const std::shared_ptr<Proxy> proxy = tunnelled(true)->getProxy();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([proxy] {
            const auto client = makeClient();
            for (int round = 0; round < 10; ++round) {
                const auto request = makeRequest(TARGET);
                request->setProxy(proxy);
                Response response;
                client->execute(request, response);
                EXPECT_EQ(response.connectCode, 200);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(BasicHttpClientProxyTest, ARequestBehindAParkedOneRunsWhenThatOneHasEnded) {
    LoopbackServer server(hello);
    auto parked = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    auto behind = start(client_, makeRequest(server.url("/")));
    answerHost("", "");
    EXPECT_EQ(parked.get().response.connectCode, 407);
    EXPECT_EQ(behind.get().response.body, "hello");
}

TEST_F(BasicHttpClientProxyTest, AFinishThatRunsAgainDisturbsNobody) {
    auto first = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    answerHost("user", "right");
    EXPECT_EQ(first.get().response.connectCode, 200);
    ProxyHost::handler().reset();
    auto second = start(client_, tunnelled(true));
    host_->waitForAsked(2);
    answerHost("", "");
    const Answer got = second.get();
    EXPECT_EQ(got.response.connectCode, 407);
    EXPECT_EQ(got.result, HttpClientResult::UNKNOWN_ERROR);
    answerHost("", "");
    expectUsable(*client_);
}

// --- without waiting

TEST_F(BasicHttpClientProxyTest, ARequestThatDoesNotWaitIsAnsweredAtOnceAndRunsAgainWithLateCredentials) {
    Response response;
    EXPECT_EQ(client_->execute(tunnelled(false), response), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(response.connectCode, 407);
    EXPECT_EQ(response.getHeader("X-From"), "proxy");
    expectUsable(*client_);
    answerHost("user", "right");
    EXPECT_TRUE(waitForCredentials(RIGHT, 1));
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, ALateRunLeavesTheAnswerAlone) {
    Response response;
    client_->execute(tunnelled(false), response);
    const HttpHeaders before = *response.headers;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            EXPECT_EQ(response.getHeader("X-From"), "proxy");
            EXPECT_EQ(*response.headers, before);
        }
    });
    answerHost("user", "wrong");
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    answerHost("user", "right");
    EXPECT_TRUE(waitForCredentials(RIGHT, 1));
    expectUsable(*client_);
    done = true;
    reader.join();
}

TEST_F(BasicHttpClientProxyTest, ALateRunThatIsRefusedAgainDoesNotKeepTheHandle) {
    Response response;
    client_->execute(tunnelled(false), response);
    answerHost("user", "wrong");
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    expectUsable(*client_);
    answerHost("user", "right");
    EXPECT_TRUE(waitForCredentials(RIGHT, 1));
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, CredentialsWithinTheQuestionDoNotChangeTheAnswerThatIsOnItsWay) {
    host_->setWhenAsked([this](const std::string&) { answerHost("user", "right"); });
    for (int round = 0; round < 20; ++round) {
        ProxyHost::handler().reset();
        Response response;
        EXPECT_EQ(client_->execute(tunnelled(false), response), HttpClientResult::UNKNOWN_ERROR);
        EXPECT_EQ(response.connectCode, 407);
        EXPECT_TRUE(waitForCredentials(RIGHT, round + 1));
    }
    expectUsable(*client_);
}

TEST_F(BasicHttpClientProxyTest, ATaskThatDoesNotWaitIsAnsweredOnceOnly) {
    const auto listener = std::make_shared<RecordingListener>();
    const auto request = tunnelled(false);
    request->setListener(listener);
    unsigned int id = 0;
    client_->executeAsync(request, id);
    EXPECT_EQ(listener->wait().result, HttpClientResult::UNKNOWN_ERROR);
    answerHost("user", "right");
    EXPECT_TRUE(waitForCredentials(RIGHT, 1));
    expectUsable(*client_);
    EXPECT_EQ(listener->waitFor(1).size(), 1U);
}

TEST_F(BasicHttpClientProxyTest, AClientMayGoBeforeItsParkedRequestRunsAgain) {
    Response response;
    client_->execute(tunnelled(false), response);
    client_.reset();
    answerHost("user", "right");
    EXPECT_TRUE(waitForCredentials(RIGHT, 1));
}

TEST_F(BasicHttpClientProxyTest, NoSecretReachesTheLog) {
    LogCapture log;
    auto answer = start(client_, tunnelled(true));
    host_->waitForAsked(1);
    answerHost("user", "right");
    answer.get();
    EXPECT_FALSE(log.contains("dXNlcjpyaWdodA"));
    EXPECT_FALSE(log.contains("user:right"));
}

// --- what the host is told of the proxy in use

class FixedReader : public HttpProxyConfigurationReader {
public:
    explicit FixedReader(std::shared_ptr<Proxy> proxy) : proxy_(std::move(proxy)) {}
    std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string&) const override { return proxy_; }

private:
    const std::shared_ptr<Proxy> proxy_;
};

class BasicHttpClientProxyInfoTest : public testing::Test {
protected:
    BasicHttpClientProxyInfoTest() { host_->clear(); }
    ~BasicHttpClientProxyInfoTest() override { host_->clear(); }

    std::shared_ptr<Proxy> proxy(const std::string& bypassList = "") {
        auto made = std::make_shared<Proxy>();
        made->setProxyServer(server_.authority(), ProxyType::HTTP);
        made->setBypassList(bypassList);
        return made;
    }
    /// A request to the server, which is a proxy as well.
    void execute(const std::shared_ptr<Proxy>& systemProxy, bool useSystemProxy = true,
                 const std::shared_ptr<Proxy>& ownProxy = nullptr) {
        const auto request = makeRequest(server_.url("/"));
        const auto resolver = std::make_shared<SystemProxyResolver>();
        resolver->setHttpProxyConfigurationReader(std::make_shared<FixedReader>(systemProxy));
        request->setSystemProxyResolver(resolver);
        request->useSystemProxy(useSystemProxy);
        request->setProxy(ownProxy);
        Response response;
        EXPECT_EQ(client_->execute(request, response), HttpClientResult::SUCCESS);
    }

    std::shared_ptr<ProxyHost> host_ = ProxyHost::instance();
    LoopbackServer server_{hello};
    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient();
};

TEST_F(BasicHttpClientProxyInfoTest, ASystemProxyInUseIsTold) {
    execute(proxy());
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NOAUTH")));
    EXPECT_EQ(server_.requests().at(0).target, server_.url("/"));
}

TEST_F(BasicHttpClientProxyInfoTest, TheAbsenceOfASystemProxyIsToldWhenThereWasOne) {
    execute(proxy());
    execute(nullptr);
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NOAUTH"), Pair(false, "NONE")));
}

TEST_F(BasicHttpClientProxyInfoTest, AProxyWithoutUrlIsNone) {
    execute(proxy());
    execute(std::make_shared<Proxy>());
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NOAUTH"), Pair(false, "NONE")));
}

TEST_F(BasicHttpClientProxyInfoTest, AProxyThatIsBypassedChangesNothing) {
    execute(proxy());
    execute(proxy("127.0.0.1"));
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NOAUTH")));
}

TEST_F(BasicHttpClientProxyInfoTest, WithoutTheSystemProxyNothingIsTold) {
    execute(proxy(), false);
    execute(nullptr, false, proxy());
    EXPECT_TRUE(host_->told().empty());
}

}  // namespace
}  // namespace zeb::http::test
