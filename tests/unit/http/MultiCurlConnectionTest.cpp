#include "core/ScopedLock.h"
#include "http/MultiCurlConnection.h"
#include "unit/http/CurlSeam.h"

#include <atomic>
#include <chrono>
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

TEST(MultiCurlConnectionTest, StartsWithPipeliningOn) {
    const MultiOptions options;
    const MultiCurlConnection connection;
    EXPECT_THAT(connection.getHandle(), NotNull());
    EXPECT_THAT(options.numbers(), ElementsAre(Pair(static_cast<int>(CURLMOPT_PIPELINING), 1L)));
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

TEST(MultiCurlConnectionTest, AGuestWaitsForOneTurnOfTheDrivingThreadAtMost) {
    MultiCurlConnection connection;
    std::atomic<bool> running{true};
    std::atomic<int> turns{0};
    std::thread driver([&] {
        while (running) {
            connection.giveWay();
            const ScopedLock lock(connection.getMutex());
            ++turns;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    std::vector<std::thread> guests;
    for (int i = 0; i < 3; ++i) {
        guests.emplace_back([&] {
            for (int visit = 0; visit < 100; ++visit) {
                const int before = turns;
                const MultiCurlConnection::GuestLock lock(connection);
                // The turn in course, and one that began before this guest was in line.
                EXPECT_LE(turns - before, 2);
            }
        });
    }
    for (std::thread& guest : guests) {
        guest.join();
    }
    running = false;
    driver.join();
}

TEST(MultiCurlConnectionTest, GuestsWithoutEndDontKeepTheDrivingThreadOut) {
    MultiCurlConnection connection;
    std::atomic<bool> running{true};
    std::vector<std::thread> guests;
    for (int i = 0; i < 3; ++i) {
        guests.emplace_back([&] {
            while (running) {
                const MultiCurlConnection::GuestLock lock(connection);
            }
        });
    }
    for (int turn = 0; turn < 100; ++turn) {
        connection.giveWay();
        const ScopedLock lock(connection.getMutex());
    }
    running = false;
    for (std::thread& guest : guests) {
        guest.join();
    }
}

}  // namespace
}  // namespace zeb::http::test
