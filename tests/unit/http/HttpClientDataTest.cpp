#include "http/CurlAnswerEvaluator.h"
#include "http/EasyCURLConnection.h"
#include "http/EdgePolicy.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestData.h"
#include "http/MultiHttpClientData.h"
#include "http/Request.h"
#include "support/LogCapture.h"
#include "support/Threads.h"
#include "unit/http/MockEdgeTransformer.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::NotNull;
using zeb::test::LogCapture;

std::shared_ptr<HttpRequestData> newRun() {
    return std::make_shared<HttpRequestData>(std::make_shared<Request>("https://host/"), nullptr);
}

class HttpClientDataTest : public testing::Test {
protected:
    /// Asks for the handle on a thread of its own; ready when it is there.
    std::future<void> provideOnAThread(const std::shared_ptr<HttpRequestData>& run) const {
        return std::async(std::launch::async,
                          [client = client, run] { client->provideEasyCURLConnection(*run); });
    }

    /// False when it has got the handle.
    static bool waits(const std::future<void>& asked) {
        return zeb::test::awaitOthersAsleep() &&
               asked.wait_for(std::chrono::seconds(0)) == std::future_status::timeout;
    }

    const std::shared_ptr<HttpClientData> client = HttpClientData::build(nullptr, nullptr);
};

TEST_F(HttpClientDataTest, HasOneHandleAndADefaultEvaluatorAtFirstAndNoEdgePolicy) {
    ASSERT_THAT(client->getEasyCURLConnection(), NotNull());
    EXPECT_THAT(client->getEasyCURLConnection()->getHandle(), NotNull());
    EXPECT_THAT(client->getCurlAnswerEvaluator(), NotNull());
    EXPECT_EQ(nullptr, client->getEdgePolicy());
    EXPECT_FALSE(client->getEdgeUsagePolicyCanBeIgnored());
    EXPECT_EQ(nullptr, client->getEdgeTransformer());
}

TEST_F(HttpClientDataTest, GivesBackWhatWasSet) {
    const auto transformer = std::make_shared<MockEdgeTransformer>();
    const auto own = HttpClientData::build(nullptr, transformer);
    const auto evaluator = std::make_shared<CurlAnswerEvaluator>();
    own->setEdgePolicy(EdgePolicy::ALWAYS_USE_EDGE_POLICY);
    own->setEdgeUsagePolicyCanBeIgnored(true);
    own->setCurlAnswerEvaluator(evaluator);
    EXPECT_EQ(transformer, own->getEdgeTransformer());
    EXPECT_EQ(EdgePolicy::ALWAYS_USE_EDGE_POLICY, own->getEdgePolicy());
    EXPECT_TRUE(own->getEdgeUsagePolicyCanBeIgnored());
    EXPECT_EQ(evaluator, own->getCurlAnswerEvaluator());
    own->setEdgePolicy(nullptr);
    EXPECT_EQ(nullptr, own->getEdgePolicy());
}

TEST_F(HttpClientDataTest, AFormerPolicyEndsWithoutTheLock) {
    class Asking : public common::Policy {
    public:
        Asking(HttpClientData& asked, std::shared_ptr<common::Policy>& answer)
            : Policy(PolicyNature::EDGE_USAGE, true), asked_(asked), answer_(answer) {}
        ~Asking() override {
            // On another thread: on this one a lock that may be taken again would do.
            std::thread([this] { answer_ = asked_.getEdgePolicy(); }).join();
        }

    private:
        HttpClientData& asked_;
        std::shared_ptr<common::Policy>& answer_;
    };
    std::shared_ptr<common::Policy> answer;
    client->setEdgePolicy(std::make_shared<Asking>(*client, answer));
    client->setEdgePolicy(EdgePolicy::NEVER_USE_EDGE_POLICY);
    EXPECT_EQ(EdgePolicy::NEVER_USE_EDGE_POLICY, answer);
}

TEST_F(HttpClientDataTest, TheDefaultEvaluatorOutlivesStaticDestruction) {
    // A transfer of a client that nobody has ended may end as late as that.
    struct AtTheVeryEnd {
        std::weak_ptr<CurlAnswerEvaluator> evaluator;
        ~AtTheVeryEnd() {
            if (evaluator.expired()) {
                std::_Exit(EXIT_FAILURE);
            }
        }
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process of its own
    EXPECT_EXIT(
        {
            static AtTheVeryEnd last;  // made before the evaluator, destroyed after it
            last.evaluator = HttpClientData::build(nullptr, nullptr)->getCurlAnswerEvaluator();
            std::exit(EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(HttpClientDataTest, ANullEvaluatorBringsBackADefaultOne) {
    client->setCurlAnswerEvaluator(nullptr);
    EXPECT_THAT(client->getCurlAnswerEvaluator(), NotNull());
}

TEST_F(HttpClientDataTest, LendsItsHandleToARequest) {
    const auto run = newRun();
    client->provideEasyCURLConnection(*run);
    EXPECT_TRUE(run->ownsEasyCURLConnection());
    EXPECT_EQ(client->getEasyCURLConnection(), run->getCurlConnection());
}

TEST_F(HttpClientDataTest, ARequestThatOwnsTheHandleDoesNotWaitForItAgain) {
    const auto run = newRun();
    client->provideEasyCURLConnection(*run);
    const LogCapture log;
    client->provideEasyCURLConnection(*run);
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, "The provided consumer already owns a curl connection"));
    EXPECT_TRUE(run->ownsEasyCURLConnection());
}

TEST_F(HttpClientDataTest, ASecondRequestWaitsUntilTheFirstReturnsTheHandle) {
    const auto first = newRun();
    const auto second = newRun();
    client->provideEasyCURLConnection(*first);
    const auto asked = provideOnAThread(second);
    EXPECT_TRUE(waits(asked));
    EXPECT_FALSE(second->ownsEasyCURLConnection());
    first->returnEasyCURLConnection();
    asked.wait();
    EXPECT_TRUE(second->ownsEasyCURLConnection());
    EXPECT_FALSE(first->ownsEasyCURLConnection());
}

TEST_F(HttpClientDataTest, OneReturnLetsOneOfTwoWaitersThrough) {
    auto first = newRun();
    client->provideEasyCURLConnection(*first);
    auto runs = std::vector<std::shared_ptr<HttpRequestData>>{newRun(), newRun()};
    const auto one = provideOnAThread(runs[0]);
    const auto other = provideOnAThread(runs[1]);
    first->returnEasyCURLConnection();
    while (!runs[0]->ownsEasyCURLConnection() && !runs[1]->ownsEasyCURLConnection()) {
        std::this_thread::yield();
    }
    const std::size_t winner = runs[0]->ownsEasyCURLConnection() ? 0 : 1;
    EXPECT_TRUE(waits(winner == 0 ? other : one));
    EXPECT_FALSE(runs[1 - winner]->ownsEasyCURLConnection());
    runs[winner]->returnEasyCURLConnection();
    one.wait();
    other.wait();
    EXPECT_TRUE(runs[1 - winner]->ownsEasyCURLConnection());
}

TEST_F(HttpClientDataTest, ReturningTwiceSignalsOnce) {
    const auto first = newRun();
    const auto second = newRun();
    const auto third = newRun();
    client->provideEasyCURLConnection(*first);
    first->returnEasyCURLConnection();
    client->provideEasyCURLConnection(*second);
    first->returnEasyCURLConnection();
    const auto asked = provideOnAThread(third);
    EXPECT_TRUE(waits(asked)) << "the second return has given the handle away under its owner";
    second->returnEasyCURLConnection();
    asked.wait();
    EXPECT_TRUE(third->ownsEasyCURLConnection());
}

TEST_F(HttpClientDataTest, ADroppedRequestGivesTheHandleBack) {
    auto first = newRun();
    client->provideEasyCURLConnection(*first);
    const auto second = newRun();
    const auto asked = provideOnAThread(second);
    first.reset();
    asked.wait();
    EXPECT_TRUE(second->ownsEasyCURLConnection());
}

TEST_F(HttpClientDataTest, NoTwoOfManyThreadsHaveTheHandleAtATime) {
    constexpr int THREADS = 6;
    constexpr int ROUNDS = 200;
    std::atomic<int> owners{0};
    std::atomic<int> collisions{0};
    int unguarded = 0;  // the handle is what guards it: the thread sanitizer sees if it doesn't
    std::vector<std::thread> threads;
    for (int count = 0; count < THREADS; ++count) {
        threads.emplace_back([&] {
            const auto run = newRun();
            for (int round = 0; round < ROUNDS; ++round) {
                client->provideEasyCURLConnection(*run);
                if (++owners != 1) {
                    ++collisions;
                }
                ++unguarded;
                --owners;
                run->returnEasyCURLConnection();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, collisions);
    EXPECT_EQ(THREADS * ROUNDS, unguarded);
}

TEST_F(HttpClientDataTest, AResetReplacesTheHandleAndTheOwnerKeepsTheFormer) {
    const auto run = newRun();
    client->provideEasyCURLConnection(*run);
    const auto former = client->getEasyCURLConnection();
    client->resetEasyCURLConnection();
    const auto replacement = client->getEasyCURLConnection();
    ASSERT_THAT(replacement, NotNull());
    EXPECT_NE(former, replacement);
    EXPECT_EQ(former, run->getCurlConnection());
    run->returnEasyCURLConnection();
    client->provideEasyCURLConnection(*run);
    EXPECT_EQ(replacement, run->getCurlConnection());
}

TEST_F(HttpClientDataTest, AResetDoesNotGiveTheHandleAway) {
    const auto first = newRun();
    const auto second = newRun();
    client->provideEasyCURLConnection(*first);
    client->resetEasyCURLConnection();
    const auto asked = provideOnAThread(second);
    EXPECT_TRUE(waits(asked));
    first->returnEasyCURLConnection();
    asked.wait();
    EXPECT_EQ(client->getEasyCURLConnection(), second->getCurlConnection());
}

TEST_F(HttpClientDataTest, LivesAsLongAsARequestOwnsItsHandle) {
    auto own = HttpClientData::build(nullptr, nullptr);
    const std::weak_ptr<HttpClientData> watched = own;
    const auto run = newRun();
    own->provideEasyCURLConnection(*run);
    own.reset();
    EXPECT_FALSE(watched.expired());
    run->returnEasyCURLConnection();
    EXPECT_TRUE(watched.expired());
}

TEST(MultiHttpClientDataTest, HoldsItsOneRequestAndAHandleOfItsOwn) {
    const auto run = newRun();
    const auto other = newRun();
    const auto transformer = std::make_shared<MockEdgeTransformer>();
    const auto client = MultiHttpClientData::build(nullptr, transformer, run);
    const auto second = MultiHttpClientData::build(nullptr, transformer, other);
    EXPECT_EQ(run, client->getRequestData());
    EXPECT_EQ(transformer, client->getEdgeTransformer());
    EXPECT_NE(client->getEasyCURLConnection(), second->getEasyCURLConnection());
    client->provideEasyCURLConnection(*run);
    second->provideEasyCURLConnection(*other);
    EXPECT_TRUE(run->ownsEasyCURLConnection());
    EXPECT_TRUE(other->ownsEasyCURLConnection());
    run->returnEasyCURLConnection();
    other->returnEasyCURLConnection();
}

}  // namespace
}  // namespace zeb::http::test
