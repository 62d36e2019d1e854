#include "core/ScopedLock.h"
#include "http/MultiCurlConnection.h"
#include "support/Threads.h"
#include "unit/http/CurlSeam.h"

#include <atomic>
#include <thread>
#include <vector>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Pair;

constexpr int PIPELINING = CURLMOPT_PIPELINING;

TEST(MultiCurlConnectionTest, StartsWithPipeliningOn) {
    const MultiOptions options;
    const MultiCurlConnection connection;
    EXPECT_THAT(connection.getHandle(), NotNull());
    EXPECT_THAT(options.numbers(), ElementsAre(Pair(PIPELINING, 1L), Pair(PIPELINING, 3L)));
}

TEST(MultiCurlConnectionTest, ItsHandleWorksUnderItsMutex) {
    MultiCurlConnection connection;
    const ScopedLock lock(connection.getMutex());
    int running = -1;
    EXPECT_EQ(CURLM_OK, curl_multi_perform(connection.getHandle(), &running));
    EXPECT_EQ(0, running);
}

TEST(MultiCurlConnectionTest, WithoutAHandleFromLibcurlItIsNullAndSetsNoOption) {
    const NoCurlHandles none;
    const MultiOptions options;
    EXPECT_EQ(nullptr, MultiCurlConnection().getHandle());
    EXPECT_THAT(options.numbers(), IsEmpty());
}

TEST(MultiCurlConnectionTest, WhoWaitsForTheDrivingThreadIsInAndOutByItsNextTurn) {
    MultiCurlConnection connection;
    connection.startDriving();
    for (int turn = 0; turn < 20; ++turn) {
        std::atomic<int> been{0};
        std::vector<std::thread> visitors;
        for (int i = 0; i < 3; ++i) {
            visitors.emplace_back([&] {
                const MultiCurlConnection::Visit here(connection);
                const ScopedLock lock(connection.getMutex());
                ++been;
            });
        }
        EXPECT_TRUE(zeb::test::awaitOthersAsleep());
        EXPECT_EQ(been, 0);
        connection.giveWay();
        EXPECT_EQ(been, 3);
        for (std::thread& visitor : visitors) {
            visitor.join();
        }
    }
    connection.stopDriving();
}

TEST(MultiCurlConnectionTest, VisitorsWithoutEndDontKeepTheDrivingThreadOut) {
    MultiCurlConnection connection;
    std::atomic<bool> running{true};
    connection.startDriving();
    std::vector<std::thread> visitors;
    for (int i = 0; i < 3; ++i) {
        visitors.emplace_back([&] {
            while (running) {
                const MultiCurlConnection::Visit here(connection);
                const ScopedLock lock(connection.getMutex());
            }
        });
    }
    for (int turn = 0; turn < 100; ++turn) {
        connection.giveWay();
        const ScopedLock lock(connection.getMutex());
    }
    running = false;
    connection.stopDriving();
    for (std::thread& visitor : visitors) {
        visitor.join();
    }
}

TEST(MultiCurlConnectionTest, AVisitorComesInWhileAListenerIsCalled) {
    MultiCurlConnection connection;
    connection.startDriving();
    connection.setCallingOut(true);
    { const MultiCurlConnection::Visit here(connection); }
    connection.setCallingOut(false);
    std::thread visitor([&] { const MultiCurlConnection::Visit here(connection); });
    connection.setCallingOut(true);
    visitor.join();
    connection.stopDriving();
}

TEST(MultiCurlConnectionTest, TheDrivingThreadItselfComesInWithoutWaiting) {
    MultiCurlConnection connection;
    connection.startDriving();
    {
        const ScopedLock lock(connection.getMutex());
        const MultiCurlConnection::Visit here(connection);
    }
    connection.giveWay();
    connection.stopDriving();
}

TEST(MultiCurlConnectionTest, OnceInterruptedItWaitsNoMore) {
    MultiCurlConnection connection;
    EXPECT_TRUE(connection.beginWait());
    connection.endWait();
    EXPECT_TRUE(connection.beginWait());
    connection.interruptWait();
    connection.endWait();
    EXPECT_FALSE(connection.beginWait());
}

}  // namespace
}  // namespace zeb::http::test
