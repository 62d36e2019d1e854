#include "netutils/NetUtilsFactory.h"
#include "netutils/adapters/HttpEventReporterAdapter.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/NetworkEventRecorder.h"
#include "unit/http/BasicHttpClientTestSupport.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

// What the transfers of a client saw, as the host's callbacks and the way to the edge layer hear of it.

namespace zeb::http::test {
namespace {

using netutils::NetUtilsFactory;
using zeb::test::InstalledGlobalEdgeState;
using zeb::test::NetworkEventRecorder;
using Events = NetworkEventRecorder::Events;

constexpr char IN_USE[] = "hintNetworkIsInUse";
constexpr char DROPPED[] = "hintNetworkInterfaceMightHaveDropped";
constexpr char EDGE[] = "hintedgeInfrastructureEvent";

LoopbackServer::Handler answering(int status, const std::string& server) {
    return [=](const LoopbackServer::Request&) { return Reply::response(status, "", {{"Server", server}}); };
}

// A client from the factory

class FactoryClientNetworkEventsTest : public testing::Test {
protected:
    HttpClientResult::Result execute(const std::string& url) {
        const auto request = makeRequest(url);
        request->getOptions()->transferTimeout = 200;
        return client->execute(request, response);
    }

    const std::shared_ptr<NetworkEventRecorder> recorder = NetworkEventRecorder::registered();
    const std::shared_ptr<BasicHttpClient> client = NetUtilsFactory().createBasicHttpClient();
    Response response;
    const LogCapture log;
};

TEST_F(FactoryClientNetworkEventsTest, ASuccessSaysThatTheNetworkIsInUse) {
    LoopbackServer server(hello);
    ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), Events{IN_USE});
    EXPECT_TRUE(log.contains("Event Label:zebnetutils.http.clientRequestSuccessful"));
}

TEST_F(FactoryClientNetworkEventsTest, AnHttpErrorIsASuccessForTheNetwork) {
    LoopbackServer server(answering(502, "QX_B"));
    ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), Events{IN_USE});
}

TEST_F(FactoryClientNetworkEventsTest, AnUnresolvedHostSaysThatTheInterfaceMightHaveDropped) {
    ASSERT_EQ(execute("http://nosuch.invalid/"), HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ(recorder->allReported(), Events{DROPPED});
    EXPECT_TRUE(log.contains("Event Label:zebnetutils.http.unresolvedHostError"));
}

TEST_F(FactoryClientNetworkEventsTest, ARefusedConnectionSaysThatTheInterfaceMightHaveDropped) {
    const RefusedPort refused;
    ASSERT_EQ(execute(refused.url("/")), HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(recorder->allReported(), Events{DROPPED});
    EXPECT_TRUE(log.contains("Event Label:zebnetutils.http.hostUnreachableError"));
}

TEST_F(FactoryClientNetworkEventsTest, ATimeoutSaysNothing) {
    LoopbackServer silent([](const LoopbackServer::Request&) { return Reply::silence(); });
    ASSERT_EQ(execute(silent.url("/")), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    EXPECT_TRUE(recorder->allReported().empty());
}

TEST_F(FactoryClientNetworkEventsTest, AnAsynchronousRequestReportsToo) {
    LoopbackServer server(hello);
    const auto listener = std::make_shared<RecordingListener>();
    unsigned int id = 0;
    ASSERT_EQ(client->executeAsync(makeRequest(server.url("/"), listener), id), HttpClientError::SUCCESS);
    ASSERT_TRUE(listener->wait().completed);
    EXPECT_EQ(recorder->waitFor(1), Events{IN_USE});
}

TEST_F(FactoryClientNetworkEventsTest, EveryFormOfTheFactoryMakesClientsThatReport) {
    LoopbackServer server(hello);
    NetUtilsFactory factory;
    const std::shared_ptr<cert::CertVerifier> none;
    for (const auto& other :
         {factory.createBasicHttpClient(), factory.createBasicHttpClient(none),
          factory.createBasicHttpClient(makePool()), factory.createBasicHttpClient(none, makePool())}) {
        ASSERT_EQ(other->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(recorder->allReported(), Events(4, IN_USE));
}

TEST_F(FactoryClientNetworkEventsTest, AClientWhoseReportsAreDroppedGoesOn) {
    LoopbackServer server(hello);
    netutils::NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    EXPECT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    netutils::NetworkEventReporterImpl::enableNetworkEventReporterForTesting();
    EXPECT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), Events{IN_USE});
}

// Requests for the edge, with the edge layer initialised

class EdgeClientNetworkEventsTest : public testing::Test {
protected:
    HttpClientResult::Result execute(const std::string& edgeUrl,
                                     const std::deque<std::string>& failoverUrls = {}) {
        transformer->url = edgeUrl;
        transformer->failoverUrls = failoverUrls;
        const auto request = makeRequest("http://inside.invalid/");
        request->getOptions()->transferTimeout = 200;
        request->getOptions()->authType = authType;
        return client->execute(request, response);
    }
    /// The event that was on its way to the edge layer, for the host 127.0.0.1 unless another is told.
    bool wasForwarded(const std::string& event, bool clusterFailed, const std::string& host = "127.0.0.1") {
        return log.contains(event + " clusterFailed: " + (clusterFailed ? "1" : "0") +
                            " server: " + ZEBLogger_replacePIIData(host));
    }
    bool wasReported(const std::string& label) {
        return log.contains("Event Label: " + label + " server: '");
    }

    AuthType authType = AuthType::NONE;
    const InstalledGlobalEdgeState edge{false, true};
    const std::shared_ptr<NetworkEventRecorder> recorder = NetworkEventRecorder::registered();
    const std::shared_ptr<FakeTransformer> transformer = std::make_shared<FakeTransformer>();
    const std::shared_ptr<BasicHttpClientImpl> client =
        makeClient(transformer, std::make_shared<netutils::adapters::HttpEventReporterAdapter>(
                                    NetUtilsFactory().createNetworkEventReporter()));
    Response response;
    const LogCapture log;
};

TEST_F(EdgeClientNetworkEventsTest, ASuccessSaysThatTheNetworkIsInUseAndNothingOfTheEdge) {
    LoopbackServer server(answering(200, "QX_B"));
    ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), Events{IN_USE});
}

TEST_F(EdgeClientNetworkEventsTest, ARefusedConnectionYieldsTheHintAndTheEventForTheEdgeServersHost) {
    const RefusedPort refused;
    ASSERT_EQ(execute(refused.url("/")), HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(recorder->allReported(), (Events{DROPPED, EDGE}));
    EXPECT_TRUE(wasReported("zebnetutils.edge.hostUnreachableError"));
    EXPECT_TRUE(wasForwarded("EdgeConnectionFailed", true));
}

TEST_F(EdgeClientNetworkEventsTest, AnUnresolvedEdgeServerYieldsTheHintAndTheEvent) {
    ASSERT_EQ(execute("http://nosuch.invalid/"), HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ(recorder->allReported(), (Events{DROPPED, EDGE}));
    EXPECT_TRUE(wasReported("zebnetutils.edge.unresolvedHostError"));
    EXPECT_TRUE(wasForwarded("EdgeUnresolvedHost", true, "nosuch.invalid"));
}

TEST_F(EdgeClientNetworkEventsTest, ATimeoutYieldsTheEventOnly) {
    LoopbackServer silent([](const LoopbackServer::Request&) { return Reply::silence(); });
    ASSERT_EQ(execute(silent.url("/")), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    EXPECT_EQ(recorder->allReported(), Events{EDGE});
    EXPECT_TRUE(wasReported("zebnetutils.edge.connectionTimeout"));
    EXPECT_TRUE(wasForwarded("EdgeConnectionFailed", true));
}

TEST_F(EdgeClientNetworkEventsTest, EachHttpErrorOfTheEdgeServerYieldsItsEvent) {
    struct Row {
        int status;
        const char* label;
        const char* event;
    };
    for (const Row& row : {
             Row{407, "zebnetutils.edge.authenticationRequired", "EdgeAuthenticationRequired"},
             Row{500, "zebnetutils.edge.internalServerError", "EdgeInternalServerErrorEvent"},
             Row{502, "zebnetutils.edge.nextHopFailed", "EdgeNextHopFailed"},
             Row{503, "zebnetutils.edge.serviceUnavailable", "EdgeServiceUnavailableEvent"},
         }) {
        LoopbackServer server(answering(row.status, "qx_b"));
        ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS) << row.status;
        recorder->allReported();
        EXPECT_TRUE(wasReported(row.label)) << row.status;
        EXPECT_TRUE(wasForwarded(row.event, false)) << row.status;
    }
    EXPECT_EQ(log.count("Event Label: "), 4U);
    EXPECT_EQ(log.count("Event Label:zebnetutils.http.clientRequestSuccessful"), 4U);
}

TEST_F(EdgeClientNetworkEventsTest, AForbiddenToAnOauthRequestYieldsAnExpiredToken) {
    authType = AuthType::OAUTH;
    LoopbackServer server(answering(403, "qx_a"));
    ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), (Events{IN_USE, EDGE}));
    EXPECT_TRUE(wasReported("zebnetutils.edge.oauthExpired"));
    EXPECT_TRUE(wasForwarded("EdgeOauthExpired", false));
}

TEST_F(EdgeClientNetworkEventsTest, AnErrorOfTheServiceBehindTheEdgeYieldsTheHintOnly) {
    LoopbackServer server(answering(503, "nginx"));
    ASSERT_EQ(execute(server.url("/")), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), Events{IN_USE});
}

TEST_F(EdgeClientNetworkEventsTest,
       ASucceededFailoverYieldsOneEventForEachFailedUrlThatDoesNotBlameTheCluster) {
    const RefusedPort refused;
    LoopbackServer server(hello);
    ASSERT_EQ(execute(refused.url("/"), {"http://nosuch.invalid/", server.url("/")}),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder->allReported(), (Events{IN_USE, EDGE, EDGE}));
    EXPECT_TRUE(wasReported("edge.successful.failover.hostUnreachableError"));
    EXPECT_TRUE(wasReported("edge.successful.failover.unresolvedHostError"));
    EXPECT_TRUE(wasForwarded("EdgeConnectionFailed", false));
    EXPECT_TRUE(wasForwarded("EdgeUnresolvedHost", false, "nosuch.invalid"));
}

TEST_F(EdgeClientNetworkEventsTest, EveryEventOfTheClientIsKnownToTheWayToTheEdgeLayer) {
    const RefusedPort refused;
    LoopbackServer server(answering(502, "QX_B"));
    execute(refused.url("/"), {server.url("/")});
    execute("http://nosuch.invalid/");
    recorder->allReported();
    EXPECT_FALSE(log.contains("unknown event"));
    EXPECT_FALSE(log.contains("Event ignored."));
}

}  // namespace
}  // namespace zeb::http::test
