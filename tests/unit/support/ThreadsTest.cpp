#include "core/Event.h"
#include "support/Threads.h"

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

TEST(ThreadsTest, AThreadThatWaitsIsAsleepAndHasItsName) {
    Event go(false);
    std::thread thread([&] {
        pthread_setname_np(pthread_self(), ") S (odd");
        go.wait();
    });
    EXPECT_TRUE(awaitThreadsNamed(") S (odd", 1));
    EXPECT_TRUE(awaitOthersAsleep());
    go.set();
    thread.join();
    EXPECT_TRUE(awaitThreadsNamed(") S (odd", 0));
}

TEST(ThreadsTest, AThreadThatRunsIsWaitedFor) {
    std::atomic<int> turns{0};
    Event go(false);
    std::thread thread([&] {
        while (++turns < 10000000) {
        }
        go.wait();
    });
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_EQ(turns, 10000000);
    go.set();
    thread.join();
}

TEST(ThreadsTest, WhatDoesNotHoldInTimeIsToldSo) {
    EXPECT_FALSE(awaitThreads([] { return false; }, 1, std::chrono::seconds(0)));
    int looks = 0;
    EXPECT_TRUE(awaitThreads([&] { return ++looks != 2; }, 3));
    EXPECT_EQ(looks, 5) << "three times in a row";
}

}  // namespace
}  // namespace zeb::test
