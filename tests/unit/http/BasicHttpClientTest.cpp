#include "BasicHttpClientTestSupport.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/EasyCURLConnection.h"
#include "http/Proxy.h"
#include "ip/IpFamilyPreferencePolicy.h"
#include "netutils/ApplicationEventHandler.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using common::FailureManagementPolicy;
using common::Policy;
using testing::_;

constexpr int WARNING = ZEBLOG_WARNING;
constexpr int ERROR = ZEBLOG_ERROR;

// --- what comes back

TEST(BasicHttpClientTest, AGetBringsStatusHeadersAndBody) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(201, "made", {{"X-Kind", "test"}});
    });
    const auto client = makeClient();
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/a?b=c")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.responseCode, 201);
    EXPECT_EQ(response.connectCode, 0);
    EXPECT_EQ(response.getHeader("x-kind"), "test");
    EXPECT_EQ(response.body, "made");
    EXPECT_TRUE(response.transformedUrl.empty());
    EXPECT_FALSE(response.proxyUsed);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests().front().method, "GET");
    EXPECT_EQ(server.requests().front().target, "/a?b=c");
}

TEST(BasicHttpClientTest, APostSendsItsBodyAndItsHeaders) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"));
    request->getOptions()->method = HttpMethod::POST;
    request->getOptions()->body = SecureString("the text");
    request->getOptions()->headers->emplace_back("X-Mine", "1");
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests().front().method, "POST");
    EXPECT_EQ(server.requests().front().body, "the text");
    EXPECT_EQ(server.requests().front().header("X-Mine"), "1");
}

class BasicHttpClientBodySizeTest : public testing::TestWithParam<std::size_t> {};

TEST_P(BasicHttpClientBodySizeTest, TheBodyArrivesAsItWasSent) {
    std::string body(GetParam(), '\0');
    for (std::size_t i = 0; i < body.size(); ++i) {
        body[i] = static_cast<char>(i * 31 + i / 251);
    }
    LoopbackServer server([&body](const LoopbackServer::Request&) { return Reply::response(200, body); });
    const auto client = makeClient();
    Response response;
    response.body = "of before";
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_TRUE(response.body == body);
}

INSTANTIATE_TEST_SUITE_P(Sizes, BasicHttpClientBodySizeTest,
                         testing::Values(0, 1, 16384, 16385, 4 * 1024 * 1024 + 7));

TEST(BasicHttpClientTest, TheAddressesOfBothEndsAreTold) {
    LoopbackServer server(hello);
    LogCapture log;
    Response response;
    EXPECT_EQ(makeClient()->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.localIpAddress.getAddress(), "127.0.0.1");
    EXPECT_EQ(response.destinationIpAddress.getAddress(), "127.0.0.1");
    EXPECT_FALSE(log.contains("Unable to get the IP addresses"));
}

TEST(BasicHttpClientTest, CookiesThatTheServerSetsAreStored) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(200, "", {{"Set-Cookie", "taste=sweet; path=/"}});
    });
    const auto client = makeClient();
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    ASSERT_EQ(response.cookies.size(), 1U);
    EXPECT_EQ(response.cookies.front().getName(), "taste");
    EXPECT_EQ(response.cookies.front().getValue(), "sweet");
}

TEST(BasicHttpClientTest, ACookieOfTheServersGoesBackWithTheClientsNextRequest) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(200, "", {{"Set-Cookie", "taste=sweet; path=/"}});
    });
    const auto client = makeClient();
    for (int i = 0; i < 2; ++i) {
        Response response;
        EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    }
    EXPECT_FALSE(server.requests().at(0).hasHeader("Cookie"));
    EXPECT_EQ(server.requests().at(1).header("Cookie"), "taste=sweet");
}

TEST(BasicHttpClientTest, AServersRefusalIsAnAnswerAndNoFailure) {
    for (const int status : {401, 403, 404, 407, 500, 503}) {
        LoopbackServer server([&](const LoopbackServer::Request&) { return Reply::response(status, "no"); });
        Response response;
        EXPECT_EQ(makeClient()->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
        EXPECT_EQ(response.responseCode, status);
        EXPECT_EQ(response.body, "no");
    }
}

TEST(BasicHttpClientTest, A407OfAnHttpProxyWithoutTunnelIsAnAnswerLikeAnother) {
    LoopbackServer proxyServer([](const LoopbackServer::Request&) {
        return Reply::response(407, "who?", {{"Proxy-Authenticate", "Basic realm=\"p\""}});
    });
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxyServer.url(""), ProxyType::HTTP);
    const auto request = makeRequest("http://inside.invalid/");
    request->setProxy(proxy);
    Response response;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.responseCode, 407);
    EXPECT_EQ(response.connectCode, 0);
    EXPECT_TRUE(response.proxyUsed);
}

TEST(BasicHttpClientTest, ARedirectIsFollowedAndTold) {
    LoopbackServer server([](const LoopbackServer::Request& request) {
        return request.target == "/old" ? Reply::response(302, "gone", {{"Location", "/new"}, {"X-Old", "1"}})
                                        : Reply::response(200, "here");
    });
    Response response;
    EXPECT_EQ(makeClient()->execute(makeRequest(server.url("/old")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.responseCode, 200);
    EXPECT_EQ(response.body, "here");
    EXPECT_EQ(*response.redirectUrls, std::vector<std::string>{"/new"});
    EXPECT_EQ(response.getHeader("X-Old"), "");
}

TEST(BasicHttpClientTest, TheNextRequestUsesTheSameConnection) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    for (int i = 0; i < 3; ++i) {
        Response response;
        EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server.requests().size(), 3U);
    EXPECT_EQ(server.connections(), 1U);
}

TEST(BasicHttpClientTest, ARequestMayRunAgain) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"));
    for (int i = 0; i < 2; ++i) {
        Response response;
        EXPECT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
        EXPECT_EQ(response.body, "hello");
    }
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests().back().countHeaders("User-Agent"), 1U);
}

TEST(BasicHttpClientTest, ACompletedTransferIsLoggedWithCodesAndSizes) {
    LoopbackServer server(hello);
    LogCapture log;
    Response response;
    EXPECT_EQ(makeClient()->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_TRUE(log.contains(ZEBLOG_INFO, "*-----* HTTP response code 200 connect code 0 for request #"));
    EXPECT_TRUE(
        log.contains(" the total size of the data received is: 5, the size of the response body is: 5"));
    EXPECT_TRUE(log.contains("Edge policy enforced successfully with transformed Url: "));
}

// --- failures

TEST(BasicHttpClientTest, ARefusedPortIsAnUnreachableHost) {
    const RefusedPort refused;
    LogCapture log;
    const auto client = makeClient();
    Response response;
    EXPECT_EQ(client->execute(makeRequest(refused.url("/")), response),
              HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(response.responseCode, 0);
    EXPECT_TRUE(
        log.contains(ERROR, "There was an issue performing the call to curl_easy_perform for request #"));
    EXPECT_TRUE(log.contains(ERROR, ": HOST_UNREACHABLE_ERROR"));
    expectUsable(*client);
}

TEST(BasicHttpClientTest, ANameThatDoesNotExistIsUnresolved) {
    const auto client = makeClient();
    Response response;
    EXPECT_EQ(client->execute(makeRequest("http://nosuch.invalid/"), response),
              HttpClientResult::UNRESOLVED_HOST_ERROR);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, AServerThatNeverAnswersRunsIntoTheTransferTimeout) {
    LoopbackServer server([](const LoopbackServer::Request&) { return Reply::silence(); });
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"));
    request->getOptions()->transferTimeout = 200;
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, AConnectionThatDoesNotComeAboutRunsIntoTheConnectTimeout) {
    // A proxy that accepts and says nothing: the tunnel belongs to the connection.
    LoopbackServer proxyServer([](const LoopbackServer::Request&) { return Reply::silence(); });
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxyServer.url(""), ProxyType::HTTP);
    const auto client = makeClient();
    const auto request = makeRequest("https://inside.invalid/");
    request->setProxy(proxy);
    request->getOptions()->connectionTimeout = 200;
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, AnEarlyEndOfTheConnectionFails) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf").thenClose();
    });
    const auto client = makeClient();
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(response.responseCode, 200);
    EXPECT_EQ(response.body, "half");
    LoopbackServer closing([](const LoopbackServer::Request&) { return Reply::close(); });
    EXPECT_EQ(client->execute(makeRequest(closing.url("/")), response), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(response.responseCode, 0);
    EXPECT_TRUE(response.body.empty());
}

TEST(BasicHttpClientTest, AServerThatBreaksTheHandshakeOffIsATlsFailure) {
    LoopbackServer::Options options;
    options.closeAfterReceiving = 5;
    LoopbackServer server(hello, options);
    Response response;
    EXPECT_EQ(makeClient()->execute(makeRequest("https://" + server.authority() + "/"), response),
              HttpClientResult::SSL_CONNECTION_ERROR);
}

// --- what is checked, in that order

TEST(BasicHttpClientTest, ANullRequestHasNoUrl) {
    LogCapture log;
    Response response;
    const auto client = makeClient();
    EXPECT_EQ(client->execute(nullptr, response), HttpClientResult::URL_NOT_SET_ERROR);
    EXPECT_TRUE(log.contains(ERROR, "Request not set."));
    expectUsable(*client);
}

TEST(BasicHttpClientTest, ARequestWithoutOptionsHasNoUrl) {
    LogCapture log;
    Response response;
    const auto client = makeClient();
    const auto request = std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>());
    EXPECT_EQ(client->execute(request, response), HttpClientResult::URL_NOT_SET_ERROR);
    EXPECT_TRUE(log.contains(ERROR, "URL not set"));
    expectUsable(*client);
}

TEST(BasicHttpClientTest, AnEmptyUrlIsNotSet) {
    LogCapture log;
    Response response;
    const auto client = makeClient();
    EXPECT_EQ(client->execute(makeRequest(""), response), HttpClientResult::URL_NOT_SET_ERROR);
    EXPECT_TRUE(log.contains(ERROR, "URL not set"));
    EXPECT_FALSE(log.contains("acquiring EasyCURLConnection"));
}

TEST(BasicHttpClientTest, ATextThatIsNoUrlIsRefused) {
    Response response;
    const auto client = makeClient();
    EXPECT_EQ(client->execute(makeRequest("http://"), response), HttpClientResult::URL_FORMAT_ERROR);
    expectUsable(*client);
}

/// In a process of its own: there is no way back.
int executeInAKilledApplication(const std::string& url) {
    LogCapture log;
    netutils::ApplicationEventHandler::getInstance()->onApplicationKilled();
    Response response;
    const HttpClientResult::Result result = makeClient()->execute(makeRequest(url), response);
    const bool asStated = result == HttpClientResult::REQUEST_CANCELLED &&
                          log.contains("Application is killed, Cancel request!") &&
                          !log.contains("acquiring EasyCURLConnection") && !log.contains("URL not set");
    return asStated ? 0 : 1;
}

TEST(BasicHttpClientDeathTest, AKilledApplicationCancelsWithoutTouchingTheHandle) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(executeInAKilledApplication("http://127.0.0.1:9/")), testing::ExitedWithCode(0),
                "");
}

TEST(BasicHttpClientDeathTest, AKilledApplicationCancelsBeforeTheUrlIsLookedAt) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(executeInAKilledApplication("")), testing::ExitedWithCode(0), "");
}

TEST(BasicHttpClientTest, AMethodNumberThatNobodyKnowsIsAGet) {
    LoopbackServer server(hello);
    const auto request = makeRequest(server.url("/"));
    request->getOptions()->method = static_cast<HttpMethod>(9);
    Response response;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().at(0).method, "GET");
}

TEST(BasicHttpClientTest, NullHeadersOfARequestAreReplaced) {
    LoopbackServer server(hello);
    const auto request = makeRequest(server.url("/"));
    request->getOptions()->headers = nullptr;
    Response response;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_TRUE(server.requests().at(0).hasHeader("User-Agent"));
}

// --- the user agent

std::vector<std::string> userAgentsSentWith(const std::vector<HttpHeader>& headers) {
    LoopbackServer server(hello);
    const auto request = makeRequest(server.url("/"));
    *request->getOptions()->headers = headers;
    Response response;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    std::vector<std::string> sent;
    const std::vector<LoopbackServer::Request> requests = server.requests();
    for (const auto& header : requests.at(0).headers) {
        if (QRMCoreUtils::caseInsensitiveStringEquals(header.first, "User-Agent")) {
            sent.push_back(header.second);
        }
    }
    return sent;
}

TEST(BasicHttpClientTest, ARequestWithoutUserAgentGetsTheClients) {
    LogCapture log;
    EXPECT_EQ(userAgentsSentWith({}),
              std::vector<std::string>{QRMCoreUtils::SystemUtils::getHttpUserAgent()});
    EXPECT_TRUE(log.contains("User-Agent added: " + QRMCoreUtils::SystemUtils::getHttpUserAgent()));
}

TEST(BasicHttpClientTest, AnEmptyUserAgentIsFilled) {
    LogCapture log;
    EXPECT_EQ(userAgentsSentWith({{"user-AGENT", ""}}),
              std::vector<std::string>{QRMCoreUtils::SystemUtils::getHttpUserAgent()});
    EXPECT_TRUE(log.contains("User-Agent set: " + QRMCoreUtils::SystemUtils::getHttpUserAgent()));
    EXPECT_FALSE(log.contains("User-Agent added: "));
}

TEST(BasicHttpClientTest, AUserAgentOfTheCallersStands) {
    LogCapture log;
    EXPECT_EQ(userAgentsSentWith({{"USER-agent", "mine"}}), std::vector<std::string>{"mine"});
    EXPECT_FALSE(log.contains("User-Agent "));
}

TEST(BasicHttpClientTest, OnlyTheFirstUserAgentIsLookedAt) {
    EXPECT_EQ(userAgentsSentWith({{"User-Agent", "mine"}, {"User-Agent", ""}}).front(), "mine");
}

// --- policies

TEST(BasicHttpClientTest, AClientBeginsWithFourDefaultPolicies) {
    const auto client = makeClient();
    EXPECT_EQ(client->getPolicy(Policy::PolicyNature::EDGE_USAGE), EdgePolicy::NEVER_USE_EDGE_POLICY);
    EXPECT_EQ(client->getPolicy(Policy::PolicyNature::FAILURE_MANAGEMENT),
              FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY);
    EXPECT_EQ(client->getPolicy(Policy::PolicyNature::IP_FAMILY_PREFERENCE),
              ip::IpFamilyPreferencePolicy::DUAL_STACK_POLICY);
    EXPECT_EQ(client->getPolicy(Policy::PolicyNature::COMMON_CRITERIA_USAGE),
              CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    EXPECT_EQ(client->getAllPolicies().size(), 4U);
}

TEST(BasicHttpClientTest, WithoutAnEdgePolicyNothingRuns) {
    LoopbackServer server(hello);
    LogCapture log;
    const auto client = makeClient();
    client->removePolicy(Policy::PolicyNature::EDGE_USAGE);
    Response response;
    response.body = "of before";
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response),
              HttpClientResult::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_EQ(response.body, "of before");
    EXPECT_TRUE(log.contains(ERROR, "Edge policy not available"));
    EXPECT_EQ(server.connections(), 0U);
}

TEST(BasicHttpClientTest, WithoutAnIpFamilyPolicyTheRequestFailsAndTheHandleComesBack) {
    LoopbackServer server(hello);
    LogCapture log;
    const auto client = makeClient();
    client->removePolicy(Policy::PolicyNature::IP_FAMILY_PREFERENCE);
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response),
              HttpClientResult::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_TRUE(log.contains(WARNING, "IP family policy not available."));
    EXPECT_TRUE(log.contains("IpFamilyPreferencePolicy is null and has not been enforced."));
    EXPECT_FALSE(log.contains("CommonCriteriaUsagePolicy is null"));
    EXPECT_EQ(server.connections(), 0U);
    client->addPolicy(ip::IpFamilyPreferencePolicy::DUAL_STACK_POLICY);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, WithoutACommonCriteriaPolicyTheRequestFailsAndTheHandleComesBack) {
    LogCapture log;
    const auto client = makeClient();
    client->removePolicy(Policy::PolicyNature::COMMON_CRITERIA_USAGE);
    Response response;
    EXPECT_EQ(client->execute(makeRequest("http://127.0.0.1:9/"), response),
              HttpClientResult::POLICY_NOT_AVAILABLE_ERROR);
    EXPECT_TRUE(log.contains(WARNING, "CC Mode usage policy not available."));
    client->addPolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, APolicyThatCanBeNeitherEnforcedNorIgnoredEndsTheRequest) {
    LogCapture log;
    const auto client = makeClient();
    client->addPolicy(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    client->addPolicy(std::make_shared<CommonCriteriaUsagePolicy>(
        static_cast<CommonCriteriaUsagePolicy::PolicyValue::Value>(7)));
    Response response;
    EXPECT_EQ(client->execute(makeRequest("http://127.0.0.1:9/"), response),
              HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
    client->addPolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    expectUsable(*client);
}

TEST(BasicHttpClientTest, APolicyThatCannotBeEnforcedButIgnoredLetsTheRequestRun) {
    const auto client = makeClient();
    client->addPolicy(FailureManagementPolicy::ALWAYS_IGNORE_FAILURE_POLICY);
    client->addPolicy(std::make_shared<CommonCriteriaUsagePolicy>(
        static_cast<CommonCriteriaUsagePolicy::PolicyValue::Value>(7)));
    expectUsable(*client);
}

TEST(BasicHttpClientTest, TheIpFamilyPolicyRulesTheTransfer) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    client->addPolicy(ip::IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    Response response;
    const std::string url = "http://localhost:" + std::to_string(server.port()) + "/";
    EXPECT_NE(client->execute(makeRequest(url), response), HttpClientResult::SUCCESS);
    client->addPolicy(ip::IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    EXPECT_EQ(client->execute(makeRequest(url), response), HttpClientResult::SUCCESS);
}

TEST(BasicHttpClientTest, NeverUseEdgeReachesTheNetworkWithoutTransformation) {
    LoopbackServer server(hello);
    const auto transformer = std::make_shared<FakeTransformer>();
    const auto client = makeClient(transformer);
    client->addPolicy(EdgePolicy::NEVER_USE_EDGE_POLICY);
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(transformer->transformations, 0);
    EXPECT_TRUE(transformer->cookieUrls.empty());
    EXPECT_TRUE(response.transformedUrl.empty());
}

// --- through the edge

TEST(BasicHttpClientTest, ATransformedRequestTellsItsUrlAndItsCookiesAreTransformedBack) {
    LoopbackServer server(hello);
    const auto transformer = std::make_shared<FakeTransformer>();
    transformer->url = server.url("/edge");
    const auto client = makeClient(transformer);
    Response response;
    EXPECT_EQ(client->execute(makeRequest("http://inside.invalid/"), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.transformedUrl, server.url("/edge"));
    EXPECT_EQ(transformer->cookieUrls, std::vector<std::string>{"http://inside.invalid/"});
}

TEST(BasicHttpClientTest, CookiesThatCannotBeTransformedBackChangeNothingElse) {
    LoopbackServer server(hello);
    LogCapture log;
    const auto transformer = std::make_shared<FakeTransformer>();
    transformer->cookieResult = TransformResult::MALFORMED_REQUEST;
    Response response;
    EXPECT_EQ(makeClient(transformer)->execute(makeRequest(server.url("/")), response),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(response.body, "hello");
    EXPECT_TRUE(log.contains("Edge policy not enforced."));
}

TEST(BasicHttpClientTest, WithoutATransformerAnEdgePolicyIsNotEnforced) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    client->addPolicy(std::make_shared<ReachableEdgePolicy>());
    client->addPolicy(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    Response response;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response),
              HttpClientResult::POLICY_NOT_ENFORCED_ERROR);
    EXPECT_EQ(server.connections(), 0U);
}

/// What a failed transformation makes of a request: the result, the code and the body that the caller gets,
/// whether the request ran, and the line in the log.
struct EdgeFailure {
    TransformResult::Result transformation;
    bool ignorable;
    HttpClientResult::Result result;
    int responseCode;
    const char* body;
    bool runs;
    const char* line;
};

constexpr char RUN[] = "hello";
constexpr char EXPIRED_401[] = "Edge policy not enforced. token is expired, set response code 401";
constexpr char EXPIRED_407[] = "Edge policy not enforced. token is expired, set response code 407";
constexpr char WRONG_401[] =
    "Edge policy not enforced. username or password is invalid or expired, set response code 401";
constexpr char DISABLED[] = "HTTP connection is disabled by OVT Policy(No Service). Set response code 403";
constexpr char NOT_ENFORCED[] = "Edge policy not enforced";

using R = HttpClientResult;
using T = TransformResult;

const EdgeFailure SYNCHRONOUS[] = {
    {T::INVALID_PARAMETERS, true, R::SUCCESS, 200, RUN, true, ""},
    {T::MALFORMED_REQUEST, true, R::SUCCESS, 200, RUN, true, ""},
    {T::EDGE_ENVIRONMENT_UNAVAILABLE, true, R::SUCCESS, 200, RUN, true, ""},
    {T::EDGE_AUTHENTICATION_FAILED, true, R::SUCCESS, 401, "", false, WRONG_401},
    {T::EDGE_TOKEN_EXPIRED, true, R::SUCCESS, 401, "", false, EXPIRED_401},
    {T::EDGE_PROXY_TOKEN_EXPIRED, true, R::SUCCESS, 407, "", false, EXPIRED_407},
    {T::EDGE_SSL_CONNECTION_ERROR, true, R::SUCCESS, 200, RUN, true, ""},
    {T::EDGE_DISABLED_BY_OVT_POLICY, true, R::SUCCESS, 403, "DisabledByOVTPolicy", false, DISABLED},
    {T::UNKNOWN, true, R::SUCCESS, 200, RUN, true, ""},
    {T::INVALID_PARAMETERS, false, R::POLICY_NOT_ENFORCED_ERROR, 0, "", false, NOT_ENFORCED},
    {T::MALFORMED_REQUEST, false, R::POLICY_NOT_ENFORCED_ERROR, 0, "", false, NOT_ENFORCED},
    {T::EDGE_ENVIRONMENT_UNAVAILABLE, false, R::POLICY_NOT_ENFORCED_ERROR, 0, "", false, NOT_ENFORCED},
    {T::EDGE_AUTHENTICATION_FAILED, false, R::EDGE_AUTHENTICATION_FAILED, 0, "", false,
     "Edge authentication failed"},
    {T::EDGE_TOKEN_EXPIRED, false, R::SUCCESS, 401, "", false, EXPIRED_401},
    {T::EDGE_PROXY_TOKEN_EXPIRED, false, R::SUCCESS, 407, "", false, EXPIRED_407},
    {T::EDGE_SSL_CONNECTION_ERROR, false, R::SSL_CONNECTION_ERROR, 0, "", false,
     "Edge SSL/TLS connection failed"},
    {T::EDGE_DISABLED_BY_OVT_POLICY, false, R::SUCCESS, 403, "DisabledByOVTPolicy", false, DISABLED},
    {T::UNKNOWN, false, R::POLICY_NOT_ENFORCED_ERROR, 0, "", false, NOT_ENFORCED},
};

std::string edgeFailureName(const testing::TestParamInfo<EdgeFailure>& info) {
    return "Result" + std::to_string(info.param.transformation) +
           (info.param.ignorable ? "Ignorable" : "NotIgnorable");
}

class BasicHttpClientEdgeTest : public testing::TestWithParam<EdgeFailure> {
protected:
    BasicHttpClientEdgeTest() {
        transformer_->result = GetParam().transformation;
        client_ = makeClient(transformer_);
        client_->addPolicy(GetParam().ignorable ? FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY
                                                : FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    }

    LoopbackServer server_{hello};
    std::shared_ptr<FakeTransformer> transformer_ = std::make_shared<FakeTransformer>();
    std::shared_ptr<BasicHttpClientImpl> client_;
    LogCapture log_;
};

TEST_P(BasicHttpClientEdgeTest, ExecuteAnswersAsTheTableSays) {
    const EdgeFailure& expected = GetParam();
    Response response;
    EXPECT_EQ(client_->execute(makeRequest(server_.url("/")), response), expected.result);
    EXPECT_EQ(response.responseCode, expected.responseCode);
    EXPECT_EQ(response.body, expected.body);
    EXPECT_EQ(server_.requests().size(), expected.runs ? 1U : 0U);
    EXPECT_TRUE(log_.contains(expected.line)) << log_.text();
}

TEST_P(BasicHttpClientEdgeTest, ATaskAnswersAsTheTableSays) {
    const EdgeFailure& expected = GetParam();
    const auto listener = std::make_shared<RecordingListener>();
    unsigned int id = 0;
    EXPECT_EQ(client_->executeAsync(makeRequest(server_.url("/"), listener), id), HttpClientError::SUCCESS);
    const Outcome outcome = listener->wait();
    EXPECT_EQ(outcome.id, id);
    EXPECT_EQ(outcome.completed, expected.result == HttpClientResult::SUCCESS);
    EXPECT_EQ(outcome.result, expected.result);
    EXPECT_EQ(outcome.response.responseCode, expected.responseCode);
    EXPECT_EQ(outcome.response.body, expected.body);
    EXPECT_EQ(server_.requests().size(), expected.runs ? 1U : 0U);
    EXPECT_TRUE(log_.contains(expected.line)) << log_.text();
}

TEST_P(BasicHttpClientEdgeTest, ATaskWithoutListenerRunsIfTheFailureMayBeIgnored) {
    unsigned int id = 0;
    EXPECT_EQ(client_->executeAsync(makeRequest(server_.url("/")), id), HttpClientError::SUCCESS);
    ASSERT_TRUE(log_.waitFor("No listener is available to notify the client of the result."));
    EXPECT_EQ(log_.contains("Http request client listener is empty"), GetParam().ignorable);
    EXPECT_EQ(
        log_.contains("No listener is available to notify the client of the result. Result was SUCCESS"),
        GetParam().ignorable);
    EXPECT_EQ(server_.requests().size(), GetParam().ignorable ? 1U : 0U);
    EXPECT_FALSE(log_.contains("set response code")) << "nothing is made up for nobody";
    EXPECT_FALSE(log_.contains(DISABLED));
}

INSTANTIATE_TEST_SUITE_P(Results, BasicHttpClientEdgeTest, testing::ValuesIn(SYNCHRONOUS), edgeFailureName);

// --- network events

TEST(BasicHttpClientTest, ACompletedTransferHintsThatTheNetworkIsInUse) {
    LoopbackServer server(hello);
    const auto reporter = std::make_shared<testing::StrictMock<MockReporter>>();
    EXPECT_CALL(*reporter, hintNetworkIsInUse("zebnetutils.http.clientRequestSuccessful"));
    Response response;
    makeClient(nullptr, reporter)->execute(makeRequest(server.url("/")), response);
}

TEST(BasicHttpClientTest, AnUnreachableHostHintsThatTheNetworkMayBeGone) {
    const RefusedPort refused;
    const auto reporter = std::make_shared<testing::StrictMock<MockReporter>>();
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("zebnetutils.http.hostUnreachableError"));
    Response response;
    makeClient(nullptr, reporter)->execute(makeRequest(refused.url("/")), response);
}

TEST(BasicHttpClientTest, ARequestThatNeverRanHintsNothing) {
    const auto reporter = std::make_shared<testing::StrictMock<MockReporter>>();
    Response response;
    makeClient(nullptr, reporter)->execute(makeRequest(""), response);
}

TEST(BasicHttpClientTest, TheFailureOfATransformedRequestIsAnEventOfTheEdge) {
    const RefusedPort refused;
    const auto reporter = std::make_shared<testing::StrictMock<MockReporter>>();
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped(_));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("zebnetutils.edge.hostUnreachableError", "127.0.0.1"));
    Response response;
    makeClient(std::make_shared<FakeTransformer>(), reporter)
        ->execute(makeRequest(refused.url("/")), response);
}

// --- many at once

TEST(BasicHttpClientTest, TwentyThreadsOnOneClientTakeTurns) {
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    LoopbackServer server([&](const LoopbackServer::Request& request) {
        most = std::max(most.load(), ++inside);
        const std::string echo = request.target;
        --inside;
        return Reply::response(200, echo);
    });
    const auto client = makeClient();
    std::vector<std::thread> threads;
    for (int i = 0; i < 20; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 5; ++round) {
                const std::string path = "/" + std::to_string(i) + "/" + std::to_string(round);
                Response response;
                EXPECT_EQ(client->execute(makeRequest(server.url(path)), response),
                          HttpClientResult::SUCCESS);
                EXPECT_EQ(response.body, path);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(server.requests().size(), 100U);
    EXPECT_EQ(most, 1);
}

TEST(BasicHttpClientTest, TheHandleIsTheSameFromRequestToRequest) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto connection = client->getEasyCURLConnection();
    ASSERT_NE(connection, nullptr);
    EXPECT_NE(connection->getHandle(), nullptr);
    Response response;
    client->execute(makeRequest(server.url("/")), response);
    EXPECT_EQ(client->getEasyCURLConnection(), connection);
}

}  // namespace
}  // namespace zeb::http::test
