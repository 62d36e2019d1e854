#include "netutils/EdgeEventForwarder.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/LogCapture.h"
#include "support/Printed.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::InstalledGlobalEdgeState;
using zeb::test::LogCapture;
using zeb::test::printed;
using Hint = EdgeEventForwarder::Hint;
using Kind = EdgeEventForwarder::InfrastructureEvent::Kind;

constexpr char IGNORED[] = "Event ignored. Edge not initialized.";
constexpr char UNDELIVERED[] = "Event not delivered, the edge layer has no controller for it: ";

struct LabelCase {
    const char* label;
    Kind kind;
    bool clusterFailed;
};

const LabelCase LABELS[] = {
    {"zebnetutils.edge.oauthExpired", Kind::OAUTH_EXPIRED, false},
    {"zebnetutils.edge.authenticationRequired", Kind::AUTHENTICATION_REQUIRED, false},
    {"zebnetutils.edge.hostUnreachableError", Kind::CONNECTION_FAILED, true},
    {"zebnetutils.edge.connectionTimeout", Kind::CONNECTION_FAILED, true},
    {"zebnetutils.edge.certValidationError", Kind::CONNECTION_FAILED, true},
    {"zebnetutils.edge.unresolvedHostError", Kind::UNRESOLVED_HOST, true},
    {"zebnetutils.edge.internalServerError", Kind::INTERNAL_SERVER_ERROR, false},
    {"zebnetutils.edge.serviceUnavailable", Kind::SERVICE_UNAVAILABLE, false},
    {"zebnetutils.edge.nextHopFailed", Kind::NEXT_HOP_FAILED, false},
    {"edge.successful.failover.hostUnreachableError", Kind::CONNECTION_FAILED, false},
    {"edge.successful.failover.connectionTimeout", Kind::CONNECTION_FAILED, false},
    {"edge.successful.failover.certValidationError", Kind::CONNECTION_FAILED, false},
    {"edge.successful.failover.unresolvedHostError", Kind::UNRESOLVED_HOST, false},
};

struct HintCase {
    Hint hint;
    const char* text;
};

const HintCase HINTS[] = {
    {Hint::NETWORK_INTERFACE_DROPPED, "HintNetworkInterfaceDropped"},
    {Hint::NETWORK_STACK_NOT_READY, "HintNetworkStackNotReady"},
    {Hint::NETWORK_ACTIVITY, "NetworkActivity"},
    {Hint::IP_INTERFACE_CHANGED, "IpInterfaceChanged"},
};

TEST(EdgeEventForwarderTest, EachLabelHasItsEvent) {
    for (const LabelCase& row : LABELS) {
        const auto event = EdgeEventForwarder::findInfrastructureEvent(row.label);
        ASSERT_TRUE(event) << row.label;
        EXPECT_EQ(event->kind, row.kind) << row.label;
        EXPECT_EQ(event->clusterFailed, row.clusterFailed) << row.label;
    }
}

TEST(EdgeEventForwarderTest, AnyOtherLabelHasNone) {
    for (const char* label :
         {"", "zebnetutils.edge", "zebnetutils.edge.oauthexpired", "zebnetutils.edge.oauthExpired ",
          "edge.successful.failover", "edge.successful.failover.nextHopFailed",
          "zebnetutils.http.hostUnreachableError"}) {
        EXPECT_FALSE(EdgeEventForwarder::findInfrastructureEvent(label)) << label;
    }
    EXPECT_FALSE(EdgeEventForwarder::findInfrastructureEvent(std::string(1 << 20, 'a')));
    EXPECT_FALSE(EdgeEventForwarder::findInfrastructureEvent(
        std::string("zebnetutils.edge.oauthExpired\0", sizeof "zebnetutils.edge.oauthExpired")));
}

TEST(EdgeEventForwarderTest, BeforeTheEdgeLayerIsInitializedEachHintIsIgnoredWithALog) {
    for (const HintCase& row : HINTS) {
        const LogCapture log;
        EdgeEventForwarder::forwardHint(row.hint);
        EXPECT_EQ(log.linesOf("zeb.netutils"), std::vector<std::string>{IGNORED});
    }
}

TEST(EdgeEventForwarderTest, BeforeTheEdgeLayerIsInitializedALabelIsNotEvenLookedAt) {
    for (const char* label : {"zebnetutils.edge.oauthExpired", "nobody knows me"}) {
        const LogCapture log;
        EdgeEventForwarder::forwardInfrastructureEvent(label, "edge.example.com");
        EXPECT_EQ(log.linesOf("zeb.netutils"), std::vector<std::string>{IGNORED});
    }
}

TEST(EdgeEventForwarderTest, AnInitializedEdgeLayerHearsOfNoUnknownLabel) {
    const InstalledGlobalEdgeState edge(false, true);
    const LogCapture log;
    EdgeEventForwarder::forwardInfrastructureEvent("nobody knows me", "edge.example.com");
    EXPECT_EQ(log.linesOf("zeb.netutils"), std::vector<std::string>{"unknown event"});
}

TEST(EdgeEventForwarderTest, NoEventForAnInitializedEdgeLayerIsLostWithoutALog) {
    const InstalledGlobalEdgeState edge(false, true);
    for (const HintCase& row : HINTS) {
        const LogCapture log;
        EdgeEventForwarder::forwardHint(row.hint);
        EXPECT_TRUE(log.contains(ZEBLOG_WARNING, std::string(UNDELIVERED) + row.text));
        EXPECT_EQ(log.lines().size(), 1U);
    }
    for (const LabelCase& row : LABELS) {
        const LogCapture log;
        EdgeEventForwarder::forwardInfrastructureEvent(row.label, "edge.example.com");
        EXPECT_TRUE(log.contains(ZEBLOG_WARNING, UNDELIVERED + printed(row.kind) + " clusterFailed: " +
                                                     (row.clusterFailed ? "1" : "0") + " server: " +
                                                     ZEBLogger_replacePIIData("edge.example.com")));
        EXPECT_EQ(log.lines().size(), 1U);
    }
}

TEST(EdgeEventForwarderTest, EventsPrintAsTheEdgeLayerCallsThem) {
    for (const HintCase& row : HINTS) {
        EXPECT_EQ(printed(row.hint), row.text);
    }
    EXPECT_EQ(printed(Kind::OAUTH_EXPIRED), "EdgeOauthExpired");
    EXPECT_EQ(printed(Kind::AUTHENTICATION_REQUIRED), "EdgeAuthenticationRequired");
    EXPECT_EQ(printed(Kind::CONNECTION_FAILED), "EdgeConnectionFailed");
    EXPECT_EQ(printed(Kind::UNRESOLVED_HOST), "EdgeUnresolvedHost");
    EXPECT_EQ(printed(Kind::INTERNAL_SERVER_ERROR), "EdgeInternalServerErrorEvent");
    EXPECT_EQ(printed(Kind::SERVICE_UNAVAILABLE), "EdgeServiceUnavailableEvent");
    EXPECT_EQ(printed(Kind::NEXT_HOP_FAILED), "EdgeNextHopFailed");
    EXPECT_EQ(printed(static_cast<Kind>(77)), "77");
    EXPECT_EQ(printed(static_cast<Hint>(77)), "77");
}

}  // namespace
}  // namespace zeb::netutils::test
