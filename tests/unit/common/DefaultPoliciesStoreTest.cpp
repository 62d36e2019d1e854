#include "common/DefaultPoliciesStore.h"
#include "common/PolicyDriven.h"
#include "support/LogCapture.h"
#include "unit/common/TestPolicies.h"

#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using test::named;
using testing::ElementsAre;
using testing::IsEmpty;
using N = Policy::PolicyNature;

class Observer : public DefaultPoliciesStoreObserver {
public:
    explicit Observer(std::function<void()> then = nullptr) : then_(std::move(then)) {}
    void onDefaultPoliciesStoreUpdate() override {
        ++updates;
        if (then_) {
            then_();
        }
    }
    std::atomic<int> updates{0};

private:
    const std::function<void()> then_;
};

class DefaultPoliciesStoreTest : public testing::Test {
protected:
    ~DefaultPoliciesStoreTest() override { DefaultPoliciesStore::reset(); }

    std::shared_ptr<Observer> registered(std::function<void()> then = nullptr) {
        auto observer = std::make_shared<Observer>(std::move(then));
        DefaultPoliciesStore::registerForDefaultPoliciesChanges(observer);
        return observer;
    }
};

TEST_F(DefaultPoliciesStoreTest, AnEmptyStoreAnswersWithTheUnknownPolicy) {
    EXPECT_EQ(Policy::UNKNOWN_POLICY, DefaultPoliciesStore::getPolicy(N::EDGE_USAGE));
    EXPECT_THAT(DefaultPoliciesStore::getAllPolicies(), IsEmpty());
}

TEST_F(DefaultPoliciesStoreTest, SettingAPolicyStoresItAndNotifies) {
    const auto observer = registered();
    const zeb::test::LogCapture log;
    const auto policy = named(N::COMMON_CRITERIA_USAGE, "name");
    DefaultPoliciesStore::setPolicy(policy);
    EXPECT_EQ(policy, DefaultPoliciesStore::getPolicy(N::COMMON_CRITERIA_USAGE));
    EXPECT_EQ(1, observer->updates);
    EXPECT_THAT(log.linesOf("zeb.common"),
                ElementsAre("Policy set : 8[name]", "Notifying my observers", "Notified 1 observers"));
}

TEST_F(DefaultPoliciesStoreTest, SettingAnEqualPolicyNotifiesNobodyAndKeepsTheFirst) {
    const auto first = named(N::EDGE_USAGE, "same");
    DefaultPoliciesStore::setPolicy(first);
    const auto observer = registered();
    DefaultPoliciesStore::setPolicy(named(N::EDGE_USAGE, "same"));
    EXPECT_EQ(0, observer->updates);
    EXPECT_EQ(first, DefaultPoliciesStore::getPolicy(N::EDGE_USAGE));
}

TEST_F(DefaultPoliciesStoreTest, SettingADifferentValueOfTheNatureNotifies) {
    DefaultPoliciesStore::setPolicy(FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY);
    const auto observer = registered();
    DefaultPoliciesStore::setPolicy(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    EXPECT_EQ(1, observer->updates);
}

TEST_F(DefaultPoliciesStoreTest, SettingNullIsIgnored) {
    const auto observer = registered();
    DefaultPoliciesStore::setPolicy(nullptr);
    EXPECT_EQ(0, observer->updates);
}

TEST_F(DefaultPoliciesStoreTest, RemovingAPolicyNotifiesNobody) {
    DefaultPoliciesStore::setPolicy(named(N::EDGE_USAGE, "x"));
    const auto observer = registered();
    DefaultPoliciesStore::removePolicy(N::EDGE_USAGE);
    EXPECT_EQ(Policy::UNKNOWN_POLICY, DefaultPoliciesStore::getPolicy(N::EDGE_USAGE));
    EXPECT_EQ(0, observer->updates);
}

TEST_F(DefaultPoliciesStoreTest, ADeadObserverIsDroppedAtTheNextNotification) {
    const auto living = registered();
    registered();
    EXPECT_EQ(2U, DefaultPoliciesStore::getNumObservers());
    DefaultPoliciesStore::notifyObservers();
    EXPECT_EQ(1U, DefaultPoliciesStore::getNumObservers());
    EXPECT_EQ(1, living->updates);
}

TEST_F(DefaultPoliciesStoreTest, AnObserverRegisteredTwiceIsThereOnce) {
    const auto observer = registered();
    DefaultPoliciesStore::registerForDefaultPoliciesChanges(observer);
    EXPECT_EQ(1U, DefaultPoliciesStore::getNumObservers());
}

TEST_F(DefaultPoliciesStoreTest, AnUnregisteredObserverHearsNothing) {
    const auto observer = registered();
    DefaultPoliciesStore::unregister(observer);
    DefaultPoliciesStore::notifyObservers();
    EXPECT_EQ(0, observer->updates);
    EXPECT_EQ(0U, DefaultPoliciesStore::getNumObservers());
}

TEST_F(DefaultPoliciesStoreTest, NotifyingNobodyIsNotCounted) {
    const zeb::test::LogCapture log;
    DefaultPoliciesStore::notifyObservers();
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre("Notifying my observers"));
}

TEST_F(DefaultPoliciesStoreTest, ACallbackMayRegisterAndUnregisterAlsoOnAnotherThread) {
    const auto late = std::make_shared<Observer>();
    std::shared_ptr<Observer> first;
    first = registered([&] {
        std::thread other([&] {
            DefaultPoliciesStore::registerForDefaultPoliciesChanges(late);
            DefaultPoliciesStore::unregister(first);
        });
        other.join();
    });
    DefaultPoliciesStore::notifyObservers();
    DefaultPoliciesStore::notifyObservers();
    EXPECT_EQ(1, first->updates);
    EXPECT_EQ(1, late->updates);
}

TEST_F(DefaultPoliciesStoreTest, ResetForgetsPoliciesAndObservers) {
    const auto observer = registered();
    DefaultPoliciesStore::setPolicy(named(N::EDGE_USAGE, "x"));
    DefaultPoliciesStore::reset();
    EXPECT_THAT(DefaultPoliciesStore::getAllPolicies(), IsEmpty());
    EXPECT_EQ(0U, DefaultPoliciesStore::getNumObservers());
}

TEST_F(DefaultPoliciesStoreTest, ThreadsSetFollowRegisterAndDieAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 100; ++round) {
                DefaultPoliciesStore::setPolicy(
                    named(N::EDGE_USAGE, std::to_string(i) + "/" + std::to_string(round)));
            }
        });
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                const auto object = std::make_shared<PolicyDriven>(true);
                DefaultPoliciesStore::registerForDefaultPoliciesChanges(object);
                EXPECT_NE(nullptr, object->getPolicy(N::EDGE_USAGE));
                if (round % 2 == 0) {
                    DefaultPoliciesStore::unregister(object);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    DefaultPoliciesStore::notifyObservers();
    EXPECT_EQ(0U, DefaultPoliciesStore::getNumObservers());
    EXPECT_EQ(1U, DefaultPoliciesStore::getAllPolicies().size());
}

}  // namespace
}  // namespace zeb::common
