#include "netutils/NetworkEventReporterObserver.h"
#include "support/LogCapture.h"
#include "support/NetworkEventRecorder.h"

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::LogCapture;
using zeb::test::NetworkEventRecorder;
using Events = NetworkEventRecorder::Events;

/// One beside the process's, with callbacks of its own.
class OwnObserver : public NetworkEventReporterObserver {};

/// Tells when a shared object's memory goes, which is when the last weak pointer has gone as well.
template <typename T>
struct TellingAllocator {
    using value_type = T;

    std::shared_ptr<std::atomic<bool>> freed;

    explicit TellingAllocator(std::shared_ptr<std::atomic<bool>> flag) : freed(std::move(flag)) {}
    template <typename U>
    explicit TellingAllocator(const TellingAllocator<U>& other) : freed(other.freed) {}

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* block, std::size_t count) {
        std::allocator<T>().deallocate(block, count);
        *freed = true;
    }
};

template <typename T, typename U>
bool operator==(const TellingAllocator<T>& left, const TellingAllocator<U>& right) {
    return left.freed == right.freed;
}

template <typename T, typename U>
bool operator!=(const TellingAllocator<T>& left, const TellingAllocator<U>& right) {
    return !(left == right);
}

TEST(NetworkEventReporterObserverTest, IsOneForTheProcess) {
    const auto instance = NetworkEventReporterObserver::getInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance, NetworkEventReporterObserver::getInstance());
}

TEST(NetworkEventReporterObserverTest, EachCallbackHearsEachEventInItsOrder) {
    OwnObserver observer;
    const auto first = std::make_shared<NetworkEventRecorder>();
    const auto second = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(first);
    observer.registerForNetworkEvents(second);
    Events expected;
    for (int i = 0; i < 200; ++i) {
        expected.push_back(std::to_string(i));
        observer.onNetworkEvent(expected.back());
    }
    EXPECT_EQ(first->waitFor(expected.size()), expected);
    EXPECT_EQ(second->waitFor(expected.size()), expected);
}

TEST(NetworkEventReporterObserverTest, ACallbackRegisteredTwiceIsCalledTwice) {
    OwnObserver observer;
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(recorder);
    observer.registerForNetworkEvents(recorder);
    observer.onNetworkEvent("one");
    observer.onNetworkEvent("two");
    EXPECT_EQ(recorder->waitFor(4), (Events{"one", "one", "two", "two"}));
}

TEST(NetworkEventReporterObserverTest, ADeadCallbackIsDroppedDuringTheNextEvent) {
    OwnObserver observer;
    const auto freed = std::make_shared<std::atomic<bool>>(false);
    auto dead = std::allocate_shared<NetworkEventRecorder>(TellingAllocator<NetworkEventRecorder>(freed));
    const auto alive = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(dead);
    observer.registerForNetworkEvents(alive);
    dead.reset();
    EXPECT_FALSE(*freed) << "the list knows of it until the next event";
    observer.onNetworkEvent("one");
    EXPECT_TRUE(*freed);
    EXPECT_EQ(alive->waitFor(1), Events{"one"});
}

TEST(NetworkEventReporterObserverTest, ALiveCallbackStaysInTheList) {
    OwnObserver observer;
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(recorder);
    observer.registerForNetworkEvents(std::make_shared<NetworkEventRecorder>());
    observer.onNetworkEvent("one");
    observer.onNetworkEvent("two");
    EXPECT_EQ(recorder->waitFor(2), (Events{"one", "two"}));
}

TEST(NetworkEventReporterObserverTest, ANullCallbackIsSurvived) {
    OwnObserver observer;
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(nullptr);
    observer.registerForNetworkEvents(recorder);
    observer.onNetworkEvent("one");
    EXPECT_EQ(recorder->waitFor(1), Events{"one"});
}

TEST(NetworkEventReporterObserverTest, WithoutCallbacksAnEventIsSurvived) {
    OwnObserver observer;
    observer.onNetworkEvent("one");
}

/// Tells where it is called, and stays until the test lets it go on.
class GatedCallback : public NetworkEventCallback {
public:
    std::promise<std::thread::id> called;
    std::promise<void> gate;

    void onNetworkEvent(const std::string&) override {
        called.set_value(std::this_thread::get_id());
        gate.get_future().wait();
    }
};

TEST(NetworkEventReporterObserverTest, ACallbackRunsOnAnotherThreadWithTheListFree) {
    OwnObserver observer;
    const auto gated = std::make_shared<GatedCallback>();
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(gated);
    observer.onNetworkEvent("one");
    EXPECT_NE(gated->called.get_future().get(), std::this_thread::get_id());
    observer.registerForNetworkEvents(recorder);
    gated->gate.set_value();
    EXPECT_TRUE(recorder->waitFor(0).empty()) << "it came after the event";
}

TEST(NetworkEventReporterObserverTest, ACallbackThatIsLetGoWhileItsEventWaitsStillHearsIt) {
    OwnObserver observer;
    const auto gated = std::make_shared<GatedCallback>();
    observer.registerForNetworkEvents(gated);
    observer.onNetworkEvent("one");
    gated->called.get_future().get();

    class LastWords : public NetworkEventCallback {
    public:
        explicit LastWords(std::promise<std::string>& heard) : heard_(heard) {}
        void onNetworkEvent(const std::string& name) override { heard_.set_value(name); }

    private:
        std::promise<std::string>& heard_;
    };
    OwnObserver other;
    std::promise<std::string> heard;
    auto brief = std::make_shared<LastWords>(heard);
    other.registerForNetworkEvents(brief);
    other.onNetworkEvent("two");
    brief.reset();
    gated->gate.set_value();
    EXPECT_EQ(heard.get_future().get(), "two");
}

TEST(NetworkEventReporterObserverTest, ACallbackMayRegisterAnother) {
    class Registrar : public NetworkEventCallback {
    public:
        std::shared_ptr<NetworkEventRecorder> recorder = std::make_shared<NetworkEventRecorder>();
        std::promise<void> done;
        OwnObserver& observer;

        explicit Registrar(OwnObserver& where) : observer(where) {}
        void onNetworkEvent(const std::string& name) override {
            if (name == "one") {
                observer.registerForNetworkEvents(recorder);
                done.set_value();
            }
        }
    };
    OwnObserver observer;
    const auto registrar = std::make_shared<Registrar>(observer);
    observer.registerForNetworkEvents(registrar);
    observer.onNetworkEvent("one");
    registrar->done.get_future().wait();
    observer.onNetworkEvent("two");
    EXPECT_EQ(registrar->recorder->waitFor(1), Events{"two"});
}

TEST(NetworkEventReporterObserverTest, ManyThreadsUseItAtATime) {
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t EVENTS = 50;
    OwnObserver observer;
    const auto recorder = std::make_shared<NetworkEventRecorder>();
    observer.registerForNetworkEvents(recorder);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&] {
            for (std::size_t n = 0; n < EVENTS; ++n) {
                observer.registerForNetworkEvents(std::make_shared<NetworkEventRecorder>());
                observer.onNetworkEvent("event");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(recorder->waitFor(THREADS * EVENTS).size(), THREADS * EVENTS);
}

}  // namespace
}  // namespace zeb::netutils::test
