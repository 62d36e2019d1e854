#include "http/EdgePolicy.h"
#include "http/HttpNetworkEvent.h"
#include "http/HttpNetworkEventReporter.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "support/LogCapture.h"
#include "unit/http/MockEdgeTransformer.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::_;
using ::testing::InSequence;
using ::testing::NiceMock;
using ::testing::Ref;
using ::testing::Return;
using ::testing::StrictMock;
using zeb::test::LogCapture;

constexpr char IN_USE[] = "zebnetutils.http.clientRequestSuccessful";

class MockReporter : public HttpNetworkEventReporter {
public:
    MOCK_METHOD(void, hintNetworkInterfaceMightHaveDropped, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkStackNotReady, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkIsInUse, (const std::string&), (override));
    MOCK_METHOD(void, edgeInfrastructureEvent, (const std::string&, const std::string&), (override));
};

/// A reporter on which every call that isn't expected fails the test.
class HttpNetworkEventTest : public testing::Test {
protected:
    HttpNetworkEventTest() {
        ON_CALL(*transformer, isRequestTransformed(Ref(run.getWrapper()))).WillByDefault(Return(true));
    }

    void isNoEdgeRequest() { ON_CALL(*transformer, isRequestTransformed(_)).WillByDefault(Return(false)); }
    void answeredBy(const std::string& server, int code) {
        run.responseCode = code;
        *run.headers = {{"Server", server}};
    }
    void notify(HttpClientResult::Result result,
                const std::shared_ptr<common::Policy>& policy = EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY) {
        event.notifyNetworkEventReporter(result, run, policy);
    }

    const std::shared_ptr<Request> request = std::make_shared<Request>("https://edge.example.com:8443/path");
    HttpRequestData run{request, nullptr};
    const std::shared_ptr<StrictMock<MockReporter>> reporter = std::make_shared<StrictMock<MockReporter>>();
    const std::shared_ptr<NiceMock<MockEdgeTransformer>> transformer =
        std::make_shared<NiceMock<MockEdgeTransformer>>();
    const HttpNetworkEvent event{reporter, transformer};
};

std::vector<HttpClientResult::Result> allResults() {
    std::vector<HttpClientResult::Result> all;
    for (int number = HttpClientResult::SUCCESS; number <= HttpClientResult::UNKNOWN_ERROR; ++number) {
        all.push_back(static_cast<HttpClientResult::Result>(number));
    }
    return all;
}

/// Results that say something about the connection, and what is put behind the prefix.
struct Suffix {
    HttpClientResult::Result result;
    const char* text;
};

const Suffix SUFFIXES[] = {
    {HttpClientResult::HOST_UNREACHABLE_ERROR, ".hostUnreachableError"},
    {HttpClientResult::UNRESOLVED_HOST_ERROR, ".unresolvedHostError"},
    {HttpClientResult::CONNECTION_TIMEOUT_ERROR, ".connectionTimeout"},
    {HttpClientResult::CERTIFICATE_VALIDATION_ERROR, ".certValidationError"},
};

// Hints

TEST_F(HttpNetworkEventTest, ASuccessHintsThatTheNetworkIsInUse) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse("zebnetutils.http.clientRequestSuccessful"));
    event.notifyHttpEvents(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, AnUnresolvedHostHintsThatTheInterfaceMightHaveDropped) {
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("zebnetutils.http.unresolvedHostError"));
    event.notifyHttpEvents(HttpClientResult::UNRESOLVED_HOST_ERROR);
}

TEST_F(HttpNetworkEventTest, AnUnreachableHostHintsThatTheInterfaceMightHaveDropped) {
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("zebnetutils.http.hostUnreachableError"));
    event.notifyHttpEvents(HttpClientResult::HOST_UNREACHABLE_ERROR);
}

TEST_F(HttpNetworkEventTest, AnyOtherResultHintsNothing) {
    for (const auto result : allResults()) {
        if (result != HttpClientResult::SUCCESS && result != HttpClientResult::UNRESOLVED_HOST_ERROR &&
            result != HttpClientResult::HOST_UNREACHABLE_ERROR) {
            event.notifyHttpEvents(result);
        }
    }
}

TEST_F(HttpNetworkEventTest, ANonEdgeRequestThatFailsUnreachableYieldsOnlyTheHint) {
    isNoEdgeRequest();
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("zebnetutils.http.hostUnreachableError"));
    notify(HttpClientResult::HOST_UNREACHABLE_ERROR);
}

TEST_F(HttpNetworkEventTest, ANonEdgeRequestYieldsNoEventsWhateverItsAnswer) {
    isNoEdgeRequest();
    run.setFailoverUrls({"https://other/"});
    run.switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_CALL(*reporter, hintNetworkIsInUse(_)).Times(5);
    for (const int code : {403, 407, 500, 502, 503}) {
        answeredBy("QX_B", code);
        notify(HttpClientResult::SUCCESS);
    }
}

TEST_F(HttpNetworkEventTest, WithoutATransformerNoRequestIsForTheEdge) {
    const HttpNetworkEvent bare(reporter, nullptr);
    EXPECT_FALSE(bare.isEdgeRequest(run));
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped(_));
    bare.notifyNetworkEventReporter(HttpClientResult::HOST_UNREACHABLE_ERROR, run, nullptr);
}

TEST_F(HttpNetworkEventTest, ATransformedRequestIsOneForTheEdge) {
    EXPECT_TRUE(event.isEdgeRequest(run));
    isNoEdgeRequest();
    EXPECT_FALSE(event.isEdgeRequest(run));
}

TEST_F(HttpNetworkEventTest, WithoutAReporterNothingHappens) {
    const HttpNetworkEvent mute(nullptr, transformer);
    answeredBy("QX_B", 502);
    for (const auto result : allResults()) {
        mute.notifyNetworkEventReporter(result, run, nullptr);
    }
    mute.notifyEdgeInfrastructureEvent("name", "https://host/");
}

// Failures of the connection

TEST_F(HttpNetworkEventTest, AnEdgeRequestThatFailsUnreachableYieldsHintAndEventForTheUrlsHost) {
    const InSequence order;
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("zebnetutils.http.hostUnreachableError"));
    EXPECT_CALL(*reporter,
                edgeInfrastructureEvent("zebnetutils.edge.hostUnreachableError", "edge.example.com"));
    notify(HttpClientResult::HOST_UNREACHABLE_ERROR);
}

TEST_F(HttpNetworkEventTest, EachFailureOfAnEdgeConnectionHasItsEvent) {
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped(_)).Times(2);
    for (const Suffix& suffix : SUFFIXES) {
        EXPECT_CALL(*reporter, edgeInfrastructureEvent(std::string("zebnetutils.edge") + suffix.text,
                                                       "edge.example.com"));
        notify(suffix.result);
    }
}

TEST_F(HttpNetworkEventTest, AnyOtherResultIsNoFailureOfAConnection) {
    for (const auto result : allResults()) {
        const bool named = std::any_of(std::begin(SUFFIXES), std::end(SUFFIXES),
                                       [result](const Suffix& suffix) { return suffix.result == result; });
        if (!named) {
            event.notifyConnectionFailureEdgeEvents(result, "https://host/", "prefix");
        }
    }
}

TEST_F(HttpNetworkEventTest, TheSuffixStandsBehindWhateverPrefix) {
    for (const Suffix& suffix : SUFFIXES) {
        EXPECT_CALL(*reporter, edgeInfrastructureEvent(std::string("prefix") + suffix.text, "host"));
        event.notifyConnectionFailureEdgeEvents(suffix.result, "https://host/", "prefix");
    }
}

TEST_F(HttpNetworkEventTest, AnEventIsLoggedWithItsHostHidden) {
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("name", "host"));
    const LogCapture log;
    event.notifyEdgeInfrastructureEvent("name", "https://host:1/x");
    EXPECT_TRUE(log.contains("generating edgeInfrastructureEvent: 'name' host: '" +
                             ZEBLogger_replacePIIData("host") + "'"));
}

// HTTP errors of the edge server

TEST_F(HttpNetworkEventTest, EachErrorOfTheEdgeServerHasItsEvent) {
    const std::pair<int, const char*> rows[] = {
        {407, "zebnetutils.edge.authenticationRequired"},
        {500, "zebnetutils.edge.internalServerError"},
        {503, "zebnetutils.edge.serviceUnavailable"},
        {502, "zebnetutils.edge.nextHopFailed"},
    };
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE)).Times(4);
    for (const auto& [code, name] : rows) {
        EXPECT_CALL(*reporter, edgeInfrastructureEvent(name, "edge.example.com"));
        answeredBy("QX_B", code);
        notify(HttpClientResult::SUCCESS);
    }
}

TEST_F(HttpNetworkEventTest, ABadGatewayOfTheInternalNodeYieldsNoEvent) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    answeredBy("QX_A", 502);
    notify(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, AnErrorOfAServiceBehindTheEdgeYieldsNoEvent) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE)).Times(5);
    for (const int code : {403, 407, 500, 502, 503}) {
        answeredBy("nginx", code);
        request->getOptions()->authType = AuthType::OAUTH;
        notify(HttpClientResult::SUCCESS);
    }
}

TEST_F(HttpNetworkEventTest, ASuccessOfTheEdgeYieldsNoEvent) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    answeredBy("QX_B", 200);
    notify(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, OnlyACompletedTransferHasAnHttpError) {
    answeredBy("QX_B", 502);
    for (const auto result : allResults()) {
        if (result != HttpClientResult::SUCCESS) {
            event.notifyHttpErrorEdgeEvents(result, run, nullptr);
        }
    }
}

TEST_F(HttpNetworkEventTest, AForbiddenToAnOauthRequestMeansAnExpiredToken) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE)).Times(2);
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("zebnetutils.edge.oauthExpired", "edge.example.com"))
        .Times(2);
    request->getOptions()->authType = AuthType::OAUTH;
    answeredBy("QX_A", 403);
    notify(HttpClientResult::SUCCESS);
    notify(HttpClientResult::SUCCESS, nullptr);
}

TEST_F(HttpNetworkEventTest, AForbiddenFromAServerNamedInLowerCaseCountsAsComingFromTheEdge) {
    request->getOptions()->authType = AuthType::OAUTH;
    answeredBy("qx_a", 403);
    EXPECT_TRUE(event.isOauthExpiredResponse(run, EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY));
}

TEST_F(HttpNetworkEventTest, AForbiddenUnderTheOauthEdgePolicyYieldsNoEvent) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    request->getOptions()->authType = AuthType::OAUTH;
    answeredBy("QX_A", 403);
    notify(HttpClientResult::SUCCESS,
           EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN_POLICY);
}

TEST_F(HttpNetworkEventTest, AForbiddenUnderEveryOtherEdgePolicyMeansAnExpiredToken) {
    request->getOptions()->authType = AuthType::OAUTH;
    answeredBy("QX_A", 403);
    for (const auto& policy :
         {EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY, EdgePolicy::NEVER_USE_EDGE_POLICY,
          EdgePolicy::ALWAYS_USE_EDGE_POLICY,
          EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH_POLICY,
          EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE_POLICY}) {
        EXPECT_TRUE(event.isOauthExpiredResponse(run, policy)) << policy->getName();
    }
    EXPECT_FALSE(event.isOauthExpiredResponse(
        run, std::make_shared<EdgePolicy>(
                 EdgePolicy::PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN)))
        << "policies are compared by what they say";
}

TEST_F(HttpNetworkEventTest, AForbiddenToARequestWithoutOauthYieldsNoEvent) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE)).Times(4);
    answeredBy("QX_A", 403);
    for (const AuthType type : {AuthType::NONE, AuthType::BASIC, AuthType::RESERVED, AuthType::NTLM}) {
        request->getOptions()->authType = type;
        notify(HttpClientResult::SUCCESS);
    }
}

TEST_F(HttpNetworkEventTest, ARequestWithoutOptionsIsSurvived) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("zebnetutils.edge.authenticationRequired", ""));
    request->setOptions(nullptr);
    answeredBy("QX_A", 403);
    EXPECT_FALSE(event.isOauthExpiredResponse(run, nullptr));
    answeredBy("QX_A", 407);
    notify(HttpClientResult::SUCCESS);
}

// Failover

TEST_F(HttpNetworkEventTest, ASucceededFailoverYieldsTheHintAndOneEventForEachFailedUrl) {
    run.setFailoverUrls({"https://two/", "https://three/", "https://four/", "https://five/"});
    run.switchToNextUrl(HttpClientResult::HOST_UNREACHABLE_ERROR);
    run.switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    run.switchToNextUrl(HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    run.switchToNextUrl(HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    const InSequence order;
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    EXPECT_CALL(*reporter,
                edgeInfrastructureEvent("edge.successful.failover.hostUnreachableError", "edge.example.com"));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("edge.successful.failover.unresolvedHostError", "two"));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("edge.successful.failover.connectionTimeout", "three"));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("edge.successful.failover.certValidationError", "four"));
    notify(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, AFailoverEventComesBehindTheHttpError) {
    run.setFailoverUrls({"https://two/"});
    run.switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    answeredBy("QX_B", 503);
    const InSequence order;
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("zebnetutils.edge.serviceUnavailable", "two"));
    EXPECT_CALL(*reporter,
                edgeInfrastructureEvent("edge.successful.failover.unresolvedHostError", "edge.example.com"));
    notify(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, AFailoverThatFailsInTheEndYieldsItsOwnFailureOnly) {
    run.setFailoverUrls({"https://two/"});
    run.switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("zebnetutils.edge.connectionTimeout", "two"));
    notify(HttpClientResult::CONNECTION_TIMEOUT_ERROR);
}

TEST_F(HttpNetworkEventTest, AFailedUrlWithAnotherResultYieldsNoEvent) {
    run.setFailoverUrls({"https://two/"});
    run.switchToNextUrl(HttpClientResult::SSL_CONNECTION_ERROR);
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    notify(HttpClientResult::SUCCESS);
}

TEST_F(HttpNetworkEventTest, IsAFailedOverEdgeRequestOnlyWithAFailedUrlAndATransformation) {
    EXPECT_FALSE(event.isFailedOverEdgeRequest(run));
    run.setFailoverUrls({"https://two/"});
    EXPECT_FALSE(event.isFailedOverEdgeRequest(run));
    run.switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_TRUE(event.isFailedOverEdgeRequest(run));
    isNoEdgeRequest();
    EXPECT_FALSE(event.isFailedOverEdgeRequest(run));
}

TEST_F(HttpNetworkEventTest, ACopyTellsTheSameReporter) {
    const HttpNetworkEvent copy = event;
    EXPECT_CALL(*reporter, hintNetworkIsInUse(IN_USE));
    copy.notifyHttpEvents(HttpClientResult::SUCCESS);
}

}  // namespace
}  // namespace zeb::http::test
