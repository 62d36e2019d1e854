#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"
#include "support/ProxyHost.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using zeb::test::FakeCertVerifier;

/// Requests through the lab's real proxies, and the host's part in their dialogue.
class ProxyLabTest : public zeb::test::LabTest {
protected:
    struct Answer {
        HttpClientResult::Result result = HttpClientResult::UNKNOWN_ERROR;
        Response response;
    };

    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(lab::startProxies(), "");
            ASSERT_EQ(netutils::GlobalInit(), 0);
            host_ = ProxyHost::instance();
            host_->clear();
            client_ = makeClient();
        }
    }
    void TearDown() override {
        if (host_ != nullptr) {
            host_->clear();
        }
    }

    static std::shared_ptr<Proxy> proxyAt(const std::string& url, ProxyType::Type type = ProxyType::HTTP) {
        auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(url, type);
        return proxy;
    }
    static std::shared_ptr<Request> makeRequest(const std::string& url, std::shared_ptr<Proxy> proxy,
                                                bool wait = false) {
        auto request = std::make_shared<Request>(url);
        request->setProxy(std::move(proxy));
        request->waitUntilProxyCredentialReady(wait);
        return request;
    }
    static std::shared_ptr<BasicHttpClientImpl> makeClient() {
        return BasicHttpClientImpl::buildBasicHttpClientImpl(
            nullptr, std::make_shared<FakeCertVerifier>(true),
            std::make_shared<ThreadPool>(0, 1, "proxies", 1), nullptr);
    }
    Answer run(const std::shared_ptr<Request>& request) {
        Answer answer;
        answer.result = client_->execute(request, answer.response);
        return answer;
    }
    Answer get(const std::string& url, const std::shared_ptr<Proxy>& proxy) {
        return run(makeRequest(url, proxy));
    }
    std::future<Answer> start(const std::shared_ptr<Request>& request) { return start(request, client_); }
    static std::future<Answer> start(const std::shared_ptr<Request>& request,
                                     const std::shared_ptr<BasicHttpClientImpl>& client) {
        return std::async(std::launch::async, [client, request] {
            Answer answer;
            answer.result = client->execute(request, answer.response);
            return answer;
        });
    }
    static void answerHost(const std::string& proxyUrl, const std::string& user,
                           const std::string& password) {
        ProxyHost::handler().setProxyCredential(proxyUrl, user, SecureString(password));
    }
    static void expectText(const Answer& answer, int connectCode) {
        EXPECT_EQ(answer.result, HttpClientResult::SUCCESS);
        EXPECT_EQ(answer.response.responseCode, 200);
        EXPECT_EQ(answer.response.connectCode, connectCode);
        EXPECT_EQ(answer.response.body, lab::TEXT);
        EXPECT_TRUE(answer.response.proxyUsed);
    }

    std::shared_ptr<ProxyHost> host_;
    std::shared_ptr<BasicHttpClientImpl> client_;
};

/// The same with each proxy that asks for credentials.
class AskingProxyLabTest : public ProxyLabTest, public testing::WithParamInterface<std::string> {
protected:
    const std::string proxy_ = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Proxies, AskingProxyLabTest, testing::Values(lab::SQUID, lab::TINYPROXY),
                         [](const auto& proxy) {
                             return std::string(proxy.param == lab::SQUID ? "squid" : "tinyproxy");
                         });

TEST_P(AskingProxyLabTest, WithRightCredentialsTheTunnelOpens) {
    const auto proxy = proxyAt(proxy_);
    proxy->setAuthentication(lab::USER, SecureString(lab::PASSWORD), ProxyAuthentication::BASIC);
    expectText(get(lab::secureUrl("/text"), proxy), 200);
}

TEST_P(AskingProxyLabTest, TheSchemeMayBeLeftToTheProxy) {
    const auto proxy = proxyAt(proxy_);
    proxy->setAuthentication(lab::USER, SecureString(lab::PASSWORD), ProxyAuthentication::ANY);
    expectText(get(lab::secureUrl("/text"), proxy), 200);
}

TEST_P(AskingProxyLabTest, PlainHttpGoesThroughWithRightCredentials) {
    const auto proxy = proxyAt(proxy_);
    proxy->setAuthentication(lab::USER, SecureString(lab::PASSWORD), ProxyAuthentication::BASIC);
    expectText(get(lab::url("/text"), proxy), 0);
}

TEST_P(AskingProxyLabTest, PlainHttpWithoutCredentialsIsAnsweredByTheProxyItself) {
    const Answer answer = run(makeRequest(lab::url("/text"), proxyAt(proxy_), true));
    EXPECT_EQ(answer.result, HttpClientResult::SUCCESS) << "an answer is an answer; only tunnels are parked";
    EXPECT_GE(answer.response.responseCode, 401);
    EXPECT_LE(answer.response.responseCode, 407);
    EXPECT_THAT(answer.response.body, Not(HasSubstr(lab::TEXT)));
}

TEST_P(AskingProxyLabTest, WrongCredentialsOpenNoTunnel) {
    const auto proxy = proxyAt(proxy_);
    proxy->setAuthentication(lab::USER, SecureString("wrong"), ProxyAuthentication::BASIC);
    const Answer answer = get(lab::secureUrl("/text"), proxy);
    EXPECT_NE(answer.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(answer.response.connectCode, proxy_ == lab::TINYPROXY ? 401 : 407);
    EXPECT_EQ(answer.response.body, "");
}

// --- the dialogue

TEST_F(ProxyLabTest, WithoutCredentialsATunnelIsRefusedAndTheHostIsAsked) {
    const Answer answer = get(lab::secureUrl("/text"), proxyAt(lab::SQUID));
    EXPECT_NE(answer.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(answer.response.connectCode, 407);
    EXPECT_EQ(answer.response.body, "");
    EXPECT_THAT(host_->waitForAsked(1), ElementsAre(lab::SQUID));
}

TEST_F(ProxyLabTest, AProxyThatAnswersTheEmptyPairWith401AsksNobody) {
    // To its 407 libcurl answers with an empty pair, as for a ticket of the system. To that tinyproxy says
    // 401.
    const Answer answer = run(makeRequest(lab::secureUrl("/text"), proxyAt(lab::TINYPROXY), true));
    EXPECT_NE(answer.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(answer.response.connectCode, 401);
}

TEST_F(ProxyLabTest, ARequestThatWaitsIsAnsweredWhenTheHostHasAnswered) {
    auto answer = start(makeRequest(lab::secureUrl("/text"), proxyAt(lab::SQUID), true));
    EXPECT_THAT(host_->waitForAsked(1), ElementsAre(lab::SQUID));
    EXPECT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    answerHost(lab::SQUID, lab::USER, lab::PASSWORD);
    expectText(answer.get(), 200);
}

TEST_F(ProxyLabTest, AHostThatDeclinesEndsTheRequest) {
    auto answer = start(makeRequest(lab::secureUrl("/text"), proxyAt(lab::SQUID), true));
    host_->waitForAsked(1);
    answerHost(lab::SQUID, "", "");
    const Answer got = answer.get();
    EXPECT_NE(got.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(got.response.connectCode, 407);
}

TEST_F(ProxyLabTest, WrongCredentialsAreAskedForAgainAndRightOnesFollow) {
    auto answer = start(makeRequest(lab::secureUrl("/text"), proxyAt(lab::SQUID), true));
    host_->waitForAsked(1);
    answerHost(lab::SQUID, lab::USER, "wrong");
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    answerHost(lab::SQUID, lab::USER, lab::PASSWORD);
    expectText(answer.get(), 200);
}

TEST_F(ProxyLabTest, ARequestThatDoesNotWaitIsAnsweredAtOnceAndTheNextOneBringsTheCredentials) {
    EXPECT_EQ(get(lab::secureUrl("/text"), proxyAt(lab::SQUID)).response.connectCode, 407);
    EXPECT_THAT(host_->waitForAsked(1), ElementsAre(lab::SQUID));
    answerHost(lab::SQUID, lab::USER, lab::PASSWORD);
    // Whether the late run of the first one has left its tunnel to it is a matter of time.
    const Answer answer = get(lab::secureUrl("/text"), proxyAt(lab::SQUID));
    EXPECT_EQ(answer.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(answer.response.body, lab::TEXT);
}

TEST_F(ProxyLabTest, TwoParkedRequestsAreReleasedByOneAnswer) {
    // A parked request keeps its client's handle, hence a client for each.
    auto first = start(makeRequest(lab::secureUrl("/text"), proxyAt(lab::SQUID), true));
    auto second = start(makeRequest(lab::secureUrl("/text"), proxyAt(lab::SQUID), true), makeClient());
    EXPECT_EQ(host_->waitForAsked(2).size(), 2U);
    answerHost(lab::SQUID, lab::USER, lab::PASSWORD);
    expectText(first.get(), 200);
    expectText(second.get(), 200);
}

// --- what the proxy gets to see

/// squid's line for the tunnel to that host, which no other test asks for; it is written when the tunnel has
/// ended.
std::string lineOfTunnelTo(const std::string& host) {
    return lab::awaitLine("squid.log", "CONNECT " + host);
}

TEST_F(ProxyLabTest, NothingOfTheRequestsSecretsReachesTheProxyInATunnel) {
    const auto request = makeRequest(lab::secureUrl(lab::WWW, "/echo?tunnel"), proxyAt(lab::OPEN_PROXY));
    HttpRequestOptions& options = *request->getOptions();
    options.authType = AuthType::OAUTH;
    options.credentials = std::make_shared<Credentials>();
    options.credentials->token = SecureString("bearer-secret");
    options.headers->emplace_back("X-Private", "header-secret");
    options.headers->emplace_back("Cookie", "name=cookie-secret");
    const Answer answer = run(request);
    ASSERT_EQ(answer.result, HttpClientResult::SUCCESS);
    client_.reset();  // ends the tunnel
    const std::string seen = lineOfTunnelTo("www.lab.test:443");
    EXPECT_THAT(seen, HasSubstr("CONNECT www.lab.test:443"));
    for (const char* secret : {"bearer-secret", "header-secret", "cookie-secret"}) {
        EXPECT_THAT(answer.response.body, HasSubstr(secret)) << "the server gets it";
        EXPECT_THAT(seen, Not(HasSubstr(secret)));
    }
}

TEST_F(ProxyLabTest, ThePasswordForTheServerStaysOutOfTheTunnelsRequest) {
    const std::string host = "elliptic.lab.test";
    const auto request = makeRequest(lab::secureUrl(host, "/private/text"), proxyAt(lab::OPEN_PROXY));
    HttpRequestOptions& options = *request->getOptions();
    options.authType = AuthType::BASIC;
    options.credentials = std::make_shared<Credentials>();
    options.credentials->username = lab::USER;
    options.credentials->password = SecureString(lab::PASSWORD);
    ASSERT_EQ(run(request).response.responseCode, 200);
    client_.reset();  // ends the tunnel
    const std::string seen = lineOfTunnelTo(host);
    EXPECT_THAT(seen, HasSubstr("CONNECT " + host));
    EXPECT_THAT(seen, Not(HasSubstr("Authorization")));
}

TEST_F(ProxyLabTest, TheServerGetsNothingOfTheProxysCredentials) {
    for (const std::string& url : {lab::url("/echo"), lab::secureUrl("/echo")}) {
        const auto proxy = proxyAt(lab::SQUID);
        proxy->setAuthentication(lab::USER, SecureString(lab::PASSWORD), ProxyAuthentication::BASIC);
        const Answer answer = get(url, proxy);
        ASSERT_EQ(answer.response.responseCode, 200);
        EXPECT_THAT(answer.response.body, Not(HasSubstr("Authorization")));
    }
}

// --- SOCKS

TEST_F(ProxyLabTest, WithSocks5TheNameIsResolvedHere) {
    const std::size_t before = lab::logOf("socks.log").size();
    expectText(get(lab::url(lab::OTHER, "/text"), proxyAt(lab::SOCKS, ProxyType::SOCKS_5)), 0);
    EXPECT_THAT(lab::logOf("socks.log").substr(before), HasSubstr("connected to 127.0.0.2:80"));
    expectText(get(lab::secureUrl(lab::OTHER, "/text"), proxyAt(lab::SOCKS, ProxyType::SOCKS_5)), 0);
}

TEST_F(ProxyLabTest, WithSocks5HostnameTheNameIsResolvedThere) {
    const std::size_t before = lab::logOf("socks.log").size();
    expectText(get(lab::url(lab::OTHER, "/text"), proxyAt(lab::SOCKS, ProxyType::SOCKS_5_HOSTNAME)), 0);
    EXPECT_THAT(lab::logOf("socks.log").substr(before), HasSubstr("connected to other.lab.test:80"));
    expectText(get(lab::secureUrl(lab::OTHER, "/text"), proxyAt(lab::SOCKS, ProxyType::SOCKS_5_HOSTNAME)), 0);
}

TEST_F(ProxyLabTest, ANameThatNobodyKnowsFailsHereOrThere) {
    const std::string url = lab::url(lab::UNKNOWN, "/text");
    // Here, too, libcurl calls it the proxy's failure (CURLE_PROXY), not a host that can't be resolved.
    EXPECT_EQ(get(url, proxyAt(lab::SOCKS, ProxyType::SOCKS_5)).result, HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(get(url, proxyAt(lab::SOCKS, ProxyType::SOCKS_5_HOSTNAME)).result,
              HttpClientResult::UNKNOWN_ERROR);
}

// --- the way around, and no way

TEST_F(ProxyLabTest, AListedHostIsReachedWithoutTheProxy) {
    const auto proxy = proxyAt(lab::DEAD + ":3128");
    proxy->setBypassList("lab.test");
    const Answer answer = get(lab::url("/text"), proxy);
    EXPECT_EQ(answer.result, HttpClientResult::SUCCESS);
    EXPECT_EQ(answer.response.body, lab::TEXT);
    EXPECT_FALSE(answer.response.proxyUsed);
    proxy->setBypassList("example.com;other.lab.test");
    EXPECT_NE(get(lab::url("/text"), proxy).result, HttpClientResult::SUCCESS);
}

TEST_F(ProxyLabTest, AProxyThatDoesNotExistIsAResultOfItsOwn) {
    EXPECT_EQ(get(lab::url("/text"), proxyAt(lab::UNKNOWN + ":3128")).result,
              HttpClientResult::UNRESOLVED_PROXY_ERROR);
}

}  // namespace
}  // namespace zeb::http::test
