#include "netutils/NetworkEventNotificationTask.h"
#include "netutils/NetworkEventTask.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/LogCapture.h"
#include "support/NetworkEventRecorder.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::EventRecord;
using zeb::test::InstalledGlobalEdgeState;
using zeb::test::LogCapture;
using zeb::test::NetworkEventRecorder;
using Lines = std::vector<std::string>;
using Type = NetworkEventTask::Type;

constexpr char IGNORED[] = "Event ignored. Edge not initialized.";

class RecordingObserver : public NetworkEventReporterObserver {
public:
    EventRecord record;

    void onNetworkEvent(const std::string& eventName) override { record.add(eventName); }
};

class NetworkEventTaskTest : public testing::Test {
protected:
    void run(Type type) { NetworkEventTask(type, "the.label", observer).execute(); }

    const std::shared_ptr<RecordingObserver> observer = std::make_shared<RecordingObserver>();
    const LogCapture log;
};

struct HintCase {
    Type type;
    const char* name;
    const char* event;
};

const HintCase HINTS[] = {
    {Type::HINT_NETWORK_INTERFACE_MIGHT_HAVE_DROPPED, "hintNetworkInterfaceMightHaveDropped",
     "HintNetworkInterfaceDropped"},
    {Type::HINT_NETWORK_STACK_NOT_READY, "hintNetworkStackNotReady", "HintNetworkStackNotReady"},
    {Type::HINT_NETWORK_IS_IN_USE, "hintNetworkIsInUse", "NetworkActivity"},
    {Type::HINT_HOST_OS_IP_INTERFACE_CHANGED, "hintHostOsIpInterfaceChanged", "IpInterfaceChanged"},
};

TEST(NetworkEventTaskTypeTest, TheTypesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(Type::HINT_NETWORK_INTERFACE_MIGHT_HAVE_DROPPED), 0);
    EXPECT_EQ(static_cast<int>(Type::HINT_NETWORK_STACK_NOT_READY), 1);
    EXPECT_EQ(static_cast<int>(Type::HINT_NETWORK_IS_IN_USE), 2);
    EXPECT_EQ(static_cast<int>(Type::HINT_HOST_OS_IP_INTERFACE_CHANGED), 3);
    EXPECT_EQ(static_cast<int>(Type::EDGE_INFRASTRUCTURE_EVENT), 4);
}

TEST_F(NetworkEventTaskTest, EachHintTellsTheObserverItsNameAndNotItsLabel) {
    EventRecord::Events expected;
    for (const HintCase& row : HINTS) {
        run(row.type);
        expected.emplace_back(row.name);
        EXPECT_EQ(observer->record.soFar(), expected);
    }
}

TEST_F(NetworkEventTaskTest, AHintIsLoggedInItsStepsAndGoesNoFurtherBeforeTheEdgeLayerIsInitialized) {
    for (const HintCase& row : HINTS) {
        run(row.type);
    }
    Lines expected;
    for (std::size_t i = 0; i < std::size(HINTS); ++i) {
        expected.insert(expected.end(), {"Executing a NetworkEventTask for label: the.label",
                                         "Event Label:the.label", IGNORED});
    }
    EXPECT_EQ(log.linesOf("zeb.netutils"), expected);
}

/// What had been logged when the observer was told.
class ObserverOfTheLog : public NetworkEventReporterObserver {
public:
    explicit ObserverOfTheLog(const LogCapture& log) : log_(log) {}

    Lines before;

    void onNetworkEvent(const std::string& /*eventName*/) override { before = log_.linesOf("zeb.netutils"); }

private:
    const LogCapture& log_;
};

TEST_F(NetworkEventTaskTest, TheObserverIsToldBehindTheLabelAndBeforeTheEdgeLayer) {
    const auto looking = std::make_shared<ObserverOfTheLog>(log);
    for (const HintCase& row : HINTS) {
        NetworkEventTask(row.type, row.name, looking).execute();
        EXPECT_EQ(looking->before.back(), std::string("Event Label:") + row.name);
    }
    NetworkEventTask(Type::EDGE_INFRASTRUCTURE_EVENT, "an edge's", looking).execute();
    EXPECT_EQ(looking->before.back().rfind("Event Label: an edge's", 0), 0U) << looking->before.back();
}

TEST_F(NetworkEventTaskTest, EachHintHasItsEventForAnInitializedEdgeLayer) {
    const InstalledGlobalEdgeState edge(true, false);
    for (const HintCase& row : HINTS) {
        run(row.type);
        EXPECT_EQ(log.linesOf("zeb.netutils").back(),
                  std::string("Event not delivered, the edge layer has no controller for it: ") + row.event);
    }
    EXPECT_FALSE(log.contains(IGNORED));
}

TEST_F(NetworkEventTaskTest, AnEdgeEventTellsTheObserverItsOneName) {
    NetworkEventTask task(Type::EDGE_INFRASTRUCTURE_EVENT, "zebnetutils.edge.oauthExpired", observer);
    task.setServerForEdgeEvent("edge.example.com");
    task.execute();
    EXPECT_EQ(observer->record.soFar(), EventRecord::Events{"hintedgeInfrastructureEvent"});
    EXPECT_EQ(log.linesOf("zeb.netutils"),
              (Lines{"Executing a NetworkEventTask for label: zebnetutils.edge.oauthExpired",
                     "Event Label: zebnetutils.edge.oauthExpired server: '" +
                         ZEBLogger_replacePIIData("edge.example.com") + "'",
                     IGNORED}));
}

TEST_F(NetworkEventTaskTest, AnEdgeEventWithoutAServerIsLoggedAndGoesOn) {
    run(Type::EDGE_INFRASTRUCTURE_EVENT);
    EXPECT_EQ(observer->record.soFar(), EventRecord::Events{"hintedgeInfrastructureEvent"});
    const Lines lines = log.linesOf("zeb.netutils");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1], "Executing an EDGE_INFRASTRUCTURE_EVENT with an empty edge server");
    EXPECT_EQ(lines[2], "Event Label: the.label server: '" + ZEBLogger_replacePIIData("") + "'");
}

TEST_F(NetworkEventTaskTest, AnEdgeEventWithAServerHasNoWarning) {
    NetworkEventTask task(Type::EDGE_INFRASTRUCTURE_EVENT, "the.label", observer);
    task.setServerForEdgeEvent("edge.example.com");
    task.execute();
    EXPECT_FALSE(log.contains("empty edge server"));
    EXPECT_FALSE(log.contains("setServerForEdgeEvent"));
}

TEST_F(NetworkEventTaskTest, AnUnknownLabelTellsTheObserverAndIsLoggedAsAnUnknownEvent) {
    const InstalledGlobalEdgeState edge(true, false);
    run(Type::EDGE_INFRASTRUCTURE_EVENT);
    EXPECT_EQ(observer->record.soFar(), EventRecord::Events{"hintedgeInfrastructureEvent"});
    EXPECT_EQ(log.linesOf("zeb.netutils").back(), "unknown event");
}

TEST_F(NetworkEventTaskTest, AServerForAHintIsRefused) {
    for (const HintCase& row : HINTS) {
        NetworkEventTask task(row.type, "the.label", observer);
        task.setServerForEdgeEvent("edge.example.com");
    }
    EXPECT_EQ(log.count("Got a call to setServerForEdgeEvent for a non EDGE_INFRASTRUCTURE_EVENT"),
              std::size(HINTS));
}

TEST_F(NetworkEventTaskTest, AnyOtherTypeIsLoggedByItsNumberAndTellsNobody) {
    for (const int number : {5, -1}) {
        run(static_cast<Type>(number));
        EXPECT_TRUE(log.contains("Unrecognized NetworkEventTask::Type :'" + std::to_string(number) + "'"));
    }
    EXPECT_TRUE(observer->record.soFar().empty());
    EXPECT_FALSE(log.contains("Event Label"));
}

// Several alike

TEST_F(NetworkEventTaskTest, LikeHintsBehindItArePartOfATaskAndEachIsTold) {
    for (const HintCase& row : HINTS) {
        NetworkEventTask task(row.type, "the.label", observer);
        EXPECT_TRUE(task.takeUp(row.type, "the.label", observer)) << row.name;
        EXPECT_TRUE(task.takeUp(row.type, "the.label", observer)) << row.name;
        const std::size_t before = observer->record.soFar().size();
        task.execute();
        const EventRecord::Events told = observer->record.soFar();
        EXPECT_EQ(EventRecord::Events(told.begin() + static_cast<std::ptrdiff_t>(before), told.end()),
                  EventRecord::Events(3, row.name));
    }
    EXPECT_EQ(log.count("Executing a NetworkEventTask for label: the.label"), 3 * std::size(HINTS));
    EXPECT_EQ(log.count("Event Label:the.label"), 3 * std::size(HINTS));
}

TEST_F(NetworkEventTaskTest, AHintOfAnotherTypeLabelOrObserverIsNotTakenUp) {
    NetworkEventTask task(Type::HINT_NETWORK_IS_IN_USE, "the.label", observer);
    EXPECT_FALSE(task.takeUp(Type::HINT_NETWORK_STACK_NOT_READY, "the.label", observer));
    EXPECT_FALSE(task.takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.labels", observer));
    EXPECT_FALSE(task.takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.label", nullptr));
    EXPECT_FALSE(
        task.takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.label", std::make_shared<RecordingObserver>()));
    task.execute();
    EXPECT_EQ(observer->record.soFar(), EventRecord::Events{"hintNetworkIsInUse"});
}

TEST_F(NetworkEventTaskTest, AnEdgeEventIsNeverTakenUpAsItHasItsServer) {
    NetworkEventTask task(Type::EDGE_INFRASTRUCTURE_EVENT, "the.label", observer);
    EXPECT_FALSE(task.takeUp(Type::EDGE_INFRASTRUCTURE_EVENT, "the.label", observer));
}

TEST_F(NetworkEventTaskTest, ATaskThatHasBegunTakesNothingUp) {
    class Late : public RecordingObserver {
    public:
        NetworkEventTask* task = nullptr;
        std::shared_ptr<NetworkEventReporterObserver> self;
        bool takenUp = true;

        void onNetworkEvent(const std::string& eventName) override {
            RecordingObserver::onNetworkEvent(eventName);
            takenUp = task->takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.label", self);
            self.reset();
        }
    };
    const auto late = std::make_shared<Late>();
    NetworkEventTask task(Type::HINT_NETWORK_IS_IN_USE, "the.label", late);
    late->task = &task;
    late->self = late;
    task.execute();
    EXPECT_FALSE(late->takenUp);
    EXPECT_FALSE(task.takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.label", late)) << "nor afterwards";
    EXPECT_EQ(late->record.soFar(), EventRecord::Events{"hintNetworkIsInUse"});
}

TEST_F(NetworkEventTaskTest, ATaskThatIsExecutedAgainIsToldOnceMore) {
    NetworkEventTask task(Type::HINT_NETWORK_IS_IN_USE, "the.label", observer);
    task.execute();
    task.execute();
    EXPECT_EQ(observer->record.soFar(), EventRecord::Events(2, "hintNetworkIsInUse"));
}

TEST_F(NetworkEventTaskTest, OfARowThatHasBeenEndedOnlyTheFirstIsTold) {
    NetworkEventTask ended(Type::HINT_NETWORK_IS_IN_USE, "the.label", observer);
    ASSERT_TRUE(ended.takeUp(Type::HINT_NETWORK_IS_IN_USE, "the.label", observer));
    NetworkEventTask::endRows();
    NetworkEventTask later(Type::HINT_NETWORK_STACK_NOT_READY, "the.label", observer);
    ASSERT_TRUE(later.takeUp(Type::HINT_NETWORK_STACK_NOT_READY, "the.label", observer));
    ended.execute();
    later.execute();
    EXPECT_EQ(observer->record.soFar(), (EventRecord::Events{"hintNetworkIsInUse", "hintNetworkStackNotReady",
                                                             "hintNetworkStackNotReady"}));
}

TEST_F(NetworkEventTaskTest, WithoutAnObserverAReportIsSurvived) {
    NetworkEventTask(Type::HINT_NETWORK_IS_IN_USE, "the.label", nullptr).execute();
    NetworkEventTask(Type::EDGE_INFRASTRUCTURE_EVENT, "the.label", nullptr).execute();
    EXPECT_EQ(log.count(IGNORED), 2U);
}

TEST(NetworkEventNotificationTaskTest, LogsTheEventAndCallsTheCallback) {
    const LogCapture log;
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    NetworkEventNotificationTask(recorder, "hintNetworkIsInUse").execute();
    EXPECT_EQ(recorder->waitFor(0), NetworkEventRecorder::Events{"hintNetworkIsInUse"});
    EXPECT_EQ(log.linesOf("zeb.netutils"),
              Lines{"Executing a NetworkEventNotificationTask for event: hintNetworkIsInUse"});
}

}  // namespace
}  // namespace zeb::netutils::test
