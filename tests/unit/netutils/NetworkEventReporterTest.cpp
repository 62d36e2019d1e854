#include "netutils/NetUtilsFactory.h"
#include "netutils/NetworkEventReporterImpl.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/LogCapture.h"
#include "support/NetworkEventRecorder.h"
#include "support/Threads.h"

#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::awaitThreadsNamed;
using zeb::test::EventRecord;
using zeb::test::InstalledGlobalEdgeState;
using zeb::test::LogCapture;
using zeb::test::NetworkEventRecorder;
using zeb::test::threadsNamed;
using zeb::test::threadStates;
using Events = EventRecord::Events;

class RecordingObserver : public NetworkEventReporterObserver {
public:
    EventRecord record;

    void onNetworkEvent(const std::string& eventName) override { record.add(eventName); }
};

/// Keeps the queue's thread in the first report until the test opens the gate.
class GatedObserver : public RecordingObserver {
public:
    std::promise<void> reached;
    std::promise<void> gate;

    void onNetworkEvent(const std::string& eventName) override {
        RecordingObserver::onNetworkEvent(eventName);
        if (first_) {
            first_ = false;
            reached.set_value();
            gate.get_future().wait();
        }
    }

private:
    bool first_ = true;
};

class NetworkEventReporterTest : public testing::Test {
protected:
    ~NetworkEventReporterTest() override { NetworkEventReporterImpl::enableNetworkEventReporterForTesting(); }

    void reportOneOfEach() {
        reporter.hintNetworkInterfaceMightHaveDropped("label.dropped");
        reporter.hintNetworkStackNotReady("label.notReady");
        reporter.hintNetworkIsInUse("label.inUse");
        reporter.hintHostOsIpInterfaceChanged("label.changed");
        reporter.edgeInfrastructureEvent("label.edge", "edge.example.com");
    }

    const std::shared_ptr<RecordingObserver> observer = std::make_shared<RecordingObserver>();
    NetworkEventReporterImpl reporter{observer};
};

const Events ONE_OF_EACH = {"hintNetworkInterfaceMightHaveDropped", "hintNetworkStackNotReady",
                            "hintNetworkIsInUse", "hintHostOsIpInterfaceChanged",
                            "hintedgeInfrastructureEvent"};

TEST_F(NetworkEventReporterTest, EachReportReachesTheObserverByItsNameInItsOrder) {
    reportOneOfEach();
    EXPECT_EQ(observer->record.waitFor(5), ONE_OF_EACH);
}

TEST_F(NetworkEventReporterTest, EachReportKeepsItsLabelAndItsServer) {
    const LogCapture log;
    reportOneOfEach();
    ASSERT_TRUE(log.waitFor("Event Label: label.edge server: '" +
                            ZEBLogger_replacePIIData("edge.example.com") + "'"));
    for (const char* label : {"label.dropped", "label.notReady", "label.inUse", "label.changed"}) {
        EXPECT_TRUE(log.contains(std::string("Event Label:") + label)) << label;
    }
    EXPECT_FALSE(log.contains("edge.example.com"));
    EXPECT_FALSE(log.contains("empty edge server"));
}

TEST_F(NetworkEventReporterTest, BeforeTheEdgeLayerIsInitializedAReportReachesTheCallbacksAndGoesNoFurther) {
    const auto recorder = NetworkEventRecorder::registered();
    const LogCapture log;
    NetUtilsFactory().createNetworkEventReporter()->hintNetworkIsInUse("label.inUse");
    EXPECT_EQ(recorder->waitFor(1), Events{"hintNetworkIsInUse"});
    EXPECT_TRUE(log.waitFor("Event ignored. Edge not initialized."));
    EXPECT_FALSE(log.contains("NetworkActivity"));
}

TEST_F(NetworkEventReporterTest, AnUnknownLabelCallsTheCallbacksAndIsLogged) {
    const InstalledGlobalEdgeState edge(false, true);
    const auto recorder = NetworkEventRecorder::registered();
    const LogCapture log;
    NetUtilsFactory().createNetworkEventReporter()->edgeInfrastructureEvent("nobody knows me", "host");
    EXPECT_EQ(recorder->waitFor(1), Events{"hintedgeInfrastructureEvent"});
    EXPECT_TRUE(log.waitFor("unknown event"));
    EXPECT_FALSE(log.contains("Event ignored."));
}

TEST_F(NetworkEventReporterTest, AReporterOfTheFactoryTellsTheProcesssObserver) {
    const auto recorder = NetworkEventRecorder::registered();
    const auto made = NetUtilsFactory().createNetworkEventReporter();
    ASSERT_NE(made, nullptr);
    EXPECT_NE(made, NetUtilsFactory().createNetworkEventReporter()) << "each call makes one";
    made->hintNetworkInterfaceMightHaveDropped("a");
    made->hintNetworkStackNotReady("b");
    made->hintNetworkIsInUse("c");
    made->edgeInfrastructureEvent("d", "host");
    EXPECT_EQ(recorder->allReported(),
              (Events{"hintNetworkInterfaceMightHaveDropped", "hintNetworkStackNotReady",
                      "hintNetworkIsInUse", "hintedgeInfrastructureEvent"}));
}

TEST_F(NetworkEventReporterTest, ReportsOfAllReportersKeepTheirOrder) {
    NetworkEventReporterImpl other(observer);
    Events expected;
    for (int i = 0; i < 200; ++i) {
        reporter.hintNetworkIsInUse("first");
        other.hintNetworkStackNotReady("second");
        expected.insert(expected.end(), {"hintNetworkIsInUse", "hintNetworkStackNotReady"});
    }
    EXPECT_EQ(observer->record.waitFor(expected.size()), expected);
}

TEST_F(NetworkEventReporterTest, OfARowOfLikeHintsEachIsToldInItsPlace) {
    const auto gated = std::make_shared<GatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkIsInUse("first");
    gated->reached.get_future().wait();
    Events expected{"hintNetworkIsInUse"};
    for (int row = 0; row < 3; ++row) {
        for (int i = 0; i < 5; ++i) {
            slow.hintNetworkIsInUse("first");
        }
        slow.hintNetworkStackNotReady("first");
        expected.insert(expected.end(), 5, "hintNetworkIsInUse");
        expected.emplace_back("hintNetworkStackNotReady");
    }
    gated->gate.set_value();
    EXPECT_EQ(gated->record.waitFor(expected.size()), expected);
}

TEST_F(NetworkEventReporterTest, AnEdgeEventBetweenLikeHintsIsToldBetweenThem) {
    const auto gated = std::make_shared<GatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkStackNotReady("runs already");
    gated->reached.get_future().wait();
    slow.hintNetworkIsInUse("like");
    slow.edgeInfrastructureEvent("like", "host");
    slow.hintNetworkIsInUse("like");
    slow.edgeInfrastructureEvent("like", "another host");
    gated->gate.set_value();
    EXPECT_EQ(gated->record.waitFor(5),
              (Events{"hintNetworkStackNotReady", "hintNetworkIsInUse", "hintedgeInfrastructureEvent",
                      "hintNetworkIsInUse", "hintedgeInfrastructureEvent"}));
}

TEST_F(NetworkEventReporterTest, ARowOfLikeHintsIsOneTask) {
    NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    const auto owners = observer.use_count();
    for (int i = 0; i < 5; ++i) {
        reporter.hintNetworkIsInUse("like");
    }
    EXPECT_EQ(observer.use_count(), owners + 1);
    reporter.hintNetworkIsInUse("another");
    EXPECT_EQ(observer.use_count(), owners + 2);
}

TEST_F(NetworkEventReporterTest, ALikeHintBehindADroppedOneIsTold) {
    const auto gated = std::make_shared<GatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkStackNotReady("runs already");
    gated->reached.get_future().wait();
    slow.hintNetworkIsInUse("like");
    slow.stop();
    slow.hintNetworkIsInUse("like");
    gated->gate.set_value();
    EXPECT_EQ(gated->record.waitFor(2), (Events{"hintNetworkStackNotReady", "hintNetworkIsInUse"}));
}

/// Like the gated one, with a gate in each of the first two reports.
class TwiceGatedObserver : public RecordingObserver {
public:
    std::promise<void> reached[2];
    std::promise<void> gate[2];

    void onNetworkEvent(const std::string& eventName) override {
        RecordingObserver::onNetworkEvent(eventName);
        if (told_ < 2) {
            const int number = told_++;
            reached[number].set_value();
            gate[number].get_future().wait();
        }
    }

private:
    int told_ = 0;
};

/// The events of a row of five like hints of which the first is being told when `drop` is called, with one
/// more like hint after that.
Events eventsOfARowBegunBefore(const std::function<void()>& drop) {
    const auto gated = std::make_shared<TwiceGatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkStackNotReady("runs already");
    gated->reached[0].get_future().wait();
    for (int i = 0; i < 5; ++i) {
        slow.hintNetworkIsInUse("like");
    }
    gated->gate[0].set_value();
    gated->reached[1].get_future().wait();
    drop();
    slow.hintNetworkIsInUse("like");
    slow.hintHostOsIpInterfaceChanged("the last");
    gated->gate[1].set_value();
    Events events = gated->record.waitFor(1);
    for (std::size_t seen = 0; events.size() != seen && events.back() != "hintHostOsIpInterfaceChanged";) {
        seen = events.size();
        events = gated->record.waitFor(seen + 1);
    }
    return events;
}

TEST_F(NetworkEventReporterTest, StopDropsTheRestOfARowThatIsBeingTold) {
    EXPECT_EQ(eventsOfARowBegunBefore([] { NetworkEventReporterImpl::stop(); }),
              (Events{"hintNetworkStackNotReady", "hintNetworkIsInUse", "hintNetworkIsInUse",
                      "hintHostOsIpInterfaceChanged"}));
}

TEST_F(NetworkEventReporterTest, ARowThatIsBeingToldGoesOnWithoutAStop) {
    EXPECT_EQ(eventsOfARowBegunBefore([] {}),
              (Events{"hintNetworkStackNotReady", "hintNetworkIsInUse", "hintNetworkIsInUse",
                      "hintNetworkIsInUse", "hintNetworkIsInUse", "hintNetworkIsInUse", "hintNetworkIsInUse",
                      "hintHostOsIpInterfaceChanged"}));
}

TEST_F(NetworkEventReporterTest, ALikeHintBehindOneOfAReplacedPoolIsTold) {
    NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    reporter.hintNetworkIsInUse("like");
    NetworkEventReporterImpl::enableNetworkEventReporterForTesting();
    reporter.hintNetworkIsInUse("like");
    EXPECT_EQ(observer->record.waitFor(1), Events{"hintNetworkIsInUse"});
}

TEST_F(NetworkEventReporterTest, LikeHintsOfManyThreadsAreToldAsOftenAsTheyCame) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int n = 0; n < 500; ++n) {
                reporter.hintNetworkIsInUse("like");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    reporter.hintNetworkStackNotReady("the last");
    const Events told = observer->record.waitFor(2001);
    EXPECT_EQ(told.size(), 2001U);
    EXPECT_EQ(told.back(), "hintNetworkStackNotReady");
}

TEST_F(NetworkEventReporterTest, AReportIsMadeOnAnotherThreadSoThatTheCallerNeverWaits) {
    const auto gated = std::make_shared<GatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkIsInUse("first");
    gated->reached.get_future().wait();
    slow.hintNetworkStackNotReady("second");  // comes back although the first is still being worked on
    EXPECT_EQ(gated->record.soFar(), Events{"hintNetworkIsInUse"});
    gated->gate.set_value();
    EXPECT_EQ(gated->record.waitFor(2), (Events{"hintNetworkIsInUse", "hintNetworkStackNotReady"}));
}

TEST_F(NetworkEventReporterTest, AReportOutlivesItsReporter) {
    const auto gated = std::make_shared<GatedObserver>();
    {
        NetworkEventReporterImpl brief(gated);
        brief.hintNetworkIsInUse("first");
        brief.hintNetworkStackNotReady("second");
    }
    gated->gate.set_value();
    EXPECT_EQ(gated->record.waitFor(2), (Events{"hintNetworkIsInUse", "hintNetworkStackNotReady"}));
}

TEST_F(NetworkEventReporterTest, StopDropsWhatIsQueuedAndTheNextReportStillWorks) {
    const auto gated = std::make_shared<GatedObserver>();
    NetworkEventReporterImpl slow(gated);
    slow.hintNetworkIsInUse("runs already");
    gated->reached.get_future().wait();
    slow.hintNetworkStackNotReady("dropped");
    reporter.edgeInfrastructureEvent("dropped, too", "host");
    slow.stop();
    gated->gate.set_value();
    slow.hintHostOsIpInterfaceChanged("the next");
    EXPECT_EQ(gated->record.waitFor(2), (Events{"hintNetworkIsInUse", "hintHostOsIpInterfaceChanged"}));
    EXPECT_TRUE(observer->record.soFar().empty());
}

TEST_F(NetworkEventReporterTest, ADisabledReporterHasNoThread) {
    const std::size_t before = threadStates().size();
    NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    reportOneOfEach();
    EXPECT_LE(threadStates().size(), before);
}

TEST_F(NetworkEventReporterTest, ADisabledReporterKeepsItsReportsInTheQueue) {
    NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    const auto owners = observer.use_count();
    const LogCapture log;
    reportOneOfEach();
    EXPECT_EQ(observer.use_count(), owners + 5) << "each waiting report holds it";
    NetworkEventReporterImpl::stop();
    EXPECT_EQ(observer.use_count(), owners) << "stop drops them here, too";
    EXPECT_TRUE(log.linesOf("zeb.netutils").empty());
    EXPECT_TRUE(observer->record.soFar().empty());
}

TEST_F(NetworkEventReporterTest, AReporterEnabledAgainWorksFromAnEmptyQueue) {
    NetworkEventReporterImpl::disableNetworkEventReporterForTesting();
    reporter.hintNetworkStackNotReady("kept by the disabled one");
    NetworkEventReporterImpl::enableNetworkEventReporterForTesting();
    reporter.hintNetworkIsInUse("the next");
    EXPECT_EQ(observer->record.waitFor(1), Events{"hintNetworkIsInUse"});
}

/// Keeps the notification thread until the test opens the gate.
class SlowCallback : public NetworkEventCallback {
public:
    std::promise<void> reached;
    std::promise<void> gate;

    void onNetworkEvent(const std::string&) override {
        if (first_) {
            first_ = false;
            reached.set_value();
            gate.get_future().wait();
        }
    }

private:
    bool first_ = true;
};

TEST_F(NetworkEventReporterTest, ASlowCallbackDoesNotHoldUpTheReports) {
    const auto slow = std::make_shared<SlowCallback>();
    NetworkEventReporterObserver::getInstance()->registerForNetworkEvents(slow);
    const auto recorder = NetworkEventRecorder::registered();
    const auto made = NetUtilsFactory().createNetworkEventReporter();
    const LogCapture log;
    made->hintNetworkIsInUse("first");
    slow->reached.get_future().wait();
    made->hintNetworkStackNotReady("second");
    made->hintNetworkInterfaceMightHaveDropped("third");
    EXPECT_TRUE(log.waitFor("Event Label:third")) << "while the callback still runs";
    slow->gate.set_value();
    EXPECT_EQ(recorder->waitFor(3), (Events{"hintNetworkIsInUse", "hintNetworkStackNotReady",
                                            "hintNetworkInterfaceMightHaveDropped"}));
}

TEST_F(NetworkEventReporterTest, ACallbackMayReport) {
    class Echo : public NetworkEventCallback {
    public:
        void onNetworkEvent(const std::string& name) override {
            if (name == "hintNetworkStackNotReady") {
                NetUtilsFactory().createNetworkEventReporter()->hintNetworkIsInUse("from a callback");
            }
        }
    };
    const auto echo = std::make_shared<Echo>();
    NetworkEventReporterObserver::getInstance()->registerForNetworkEvents(echo);
    const auto recorder = NetworkEventRecorder::registered();
    NetUtilsFactory().createNetworkEventReporter()->hintNetworkStackNotReady("a");
    EXPECT_EQ(recorder->waitFor(2), (Events{"hintNetworkStackNotReady", "hintNetworkIsInUse"}));
}

TEST_F(NetworkEventReporterTest, EmptyAndHugeTextsAreReportsLikeOthers) {
    reporter.hintNetworkIsInUse("");
    reporter.edgeInfrastructureEvent("", "");
    reporter.edgeInfrastructureEvent(std::string(1 << 20, 'a'), std::string(1 << 20, 'b'));
    EXPECT_EQ(observer->record.waitFor(3).size(), 3U);
}

TEST_F(NetworkEventReporterTest, ManyThreadsReportStopAndReplaceThePoolAtATime) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int n = 0; n < 50; ++n) {
                reportOneOfEach();
                if (i == 0) {
                    NetworkEventReporterImpl::stop();
                } else if (i == 1 && n % 10 == 0) {
                    NetworkEventReporterImpl::enableNetworkEventReporterForTesting();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto last = std::make_shared<RecordingObserver>();
    NetworkEventReporterImpl(last).hintNetworkIsInUse("still works");
    EXPECT_EQ(last->record.waitFor(1), Events{"hintNetworkIsInUse"});
}

/// Runs in a process of its own, in which nothing has been reported yet; 0 if all is as it should be.
void expectInAFreshProcess(const std::function<bool()>& check) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(check() ? EXIT_SUCCESS : EXIT_FAILURE), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(NetworkEventReporterDeathTest, ThePoolIsMadeAtTheFirstReportAndHasOneThreadCalledNetEventReport) {
    expectInAFreshProcess([] {
        const auto reporter = NetUtilsFactory().createNetworkEventReporter();
        NetworkEventReporterImpl::stop();
        const bool noneBefore = threadsNamed("NetEventReport") == 0;
        const auto recorder = NetworkEventRecorder::registered();
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] { reporter->hintNetworkIsInUse("first"); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        // A thread takes the pool's name back when its task has ended.
        return recorder->waitFor(4).size() == 4 && noneBefore && awaitThreadsNamed("NetEventReport", 1);
    });
}

TEST(NetworkEventReporterDeathTest, TheCallbacksHaveAThreadOfTheirOwnFromTheFirstOneOn) {
    expectInAFreshProcess([] {
        const auto reporter = NetUtilsFactory().createNetworkEventReporter();
        const LogCapture log;
        reporter->hintNetworkIsInUse("nobody hears it");
        const bool noneBefore = log.waitFor("Event ignored.") && threadsNamed("NetEventNotify") == 0;
        const auto recorder = NetworkEventRecorder::registered();
        reporter->hintNetworkIsInUse("heard");
        return recorder->waitFor(1).size() == 1 && noneBefore && awaitThreadsNamed("NetEventNotify", 1);
    });
}

TEST(NetworkEventReporterDeathTest, AProcessMayEndWhileReportsAndCallbacksAreOnTheirWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const auto reporter = NetUtilsFactory().createNetworkEventReporter();
            static const auto recorder = NetworkEventRecorder::registered();
            // One that the queue is still busy with while the static objects go, recorder among them.
            std::atexit([] {
                const auto late = NetUtilsFactory().createNetworkEventReporter();
                for (int i = 0; i < 1000; ++i) {
                    late->hintNetworkIsInUse("at the end");
                }
            });
            for (int i = 0; i < 1000; ++i) {
                reporter->edgeInfrastructureEvent("before the end", "host");
            }
            std::exit(EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace zeb::netutils::test
