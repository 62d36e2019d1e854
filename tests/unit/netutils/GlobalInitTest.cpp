#include "core/Event.h"
#include "core/Task.h"
#include "core/ThreadPool.h"
#include "netutils/GlobalInit.h"
#include "netutils/LibCurlMemoryManager.h"
#include "support/LogCapture.h"
#include "support/Threads.h"
#include "zeblogger/ZEBLogger.h"

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::netutils::test {

namespace {

/// What the linker's stand-ins for libcurl's start and end do and have seen.
struct Curl {
    CURLcode startAnswer = CURLE_OK;
    int starts = 0;
    int ends = 0;
    long flags = 0;
    bool hooked = false;
};

Curl& curl() {
    static Curl instance;
    return instance;
}

}  // namespace

// The linker prescribes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

CURLcode __real_curl_global_init_mem(long flags, curl_malloc_callback m, curl_free_callback f,
                                     curl_realloc_callback r, curl_strdup_callback s, curl_calloc_callback c);
void __real_curl_global_cleanup();

CURLcode __wrap_curl_global_init_mem(long flags, curl_malloc_callback m, curl_free_callback f,
                                     curl_realloc_callback r, curl_strdup_callback s,
                                     curl_calloc_callback c) {
    ++curl().starts;
    curl().flags = flags;
    curl().hooked = m == libcurl_malloc_callback && f == libcurl_free_callback &&
                    r == libcurl_realloc_callback && s == libcurl_strdup_callback &&
                    c == libcurl_calloc_callback;
    return curl().startAnswer != CURLE_OK ? curl().startAnswer
                                          : __real_curl_global_init_mem(flags, m, f, r, s, c);
}

void __wrap_curl_global_cleanup() {
    ++curl().ends;
    __real_curl_global_cleanup();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

using zeb::test::LogCapture;

const char* const REPEATED = "netutils GlobalInit previously called.  Ignore this call.";
const char* const CURL_START = "libcurl global initialization (curl_global_init_mem)";
const char* const OPENSSL_SETUP = "openssl thread setup -setting locking and threadid callbacks";
const char* const SET_ID = "Call CRYPTO_set_id_callback(thread_id), as no callback has been previously set.";
const char* const SET_LOCKING =
    "Call CRYPTO_set_locking_callback(openssl_locking_callback), as no callback has been previously set.";
const char* const CURL_END = "libcurl global cleanup (curl_global_cleanup)";
const char* const OPENSSL_CLEANUP = "openssl thread cleanup";

/// Lines of the frame, without those of the allocator hooks.
std::vector<std::string> frameLines(const LogCapture& log) {
    std::vector<std::string> lines;
    for (const LogCapture::Line& line : log.lines()) {
        if (line.logger == "zeb.netutils" && line.level == ZEBLOG_DEBUG) {
            lines.push_back(line.message);
        }
    }
    return lines;
}

/// The start happens once per process: each test has a process of its own.
void inAFreshProcess(const std::function<void()>& body) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::cerr.flush();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(GlobalInitDeathTest, TheFirstCallStartsEverythingInOrder) {
    inAFreshProcess([] {
        const LogCapture log;
        EXPECT_EQ(0, GlobalInit());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(CURL_START, OPENSSL_SETUP, SET_ID, SET_LOCKING));
        EXPECT_EQ("zeb.netutils.version", log.lines().front().logger) << "the banner comes first";
        EXPECT_EQ(1, curl().starts);
        EXPECT_EQ(CURL_GLOBAL_ALL, curl().flags);
        EXPECT_TRUE(curl().hooked);
    });
}

TEST(GlobalInitDeathTest, LibcurlRunsOnTheHooks) {
    inAFreshProcess([] {
        ASSERT_EQ(0, GlobalInit());
        const std::uint64_t before = libcurl_bytes_in_use();
        CURL* const handle = curl_easy_init();
        ASSERT_NE(nullptr, handle);
        EXPECT_GT(libcurl_bytes_in_use(), before);
        curl_easy_setopt(handle, CURLOPT_PASSWORD, "secret");
        curl_easy_cleanup(handle);
        EXPECT_EQ(before, libcurl_bytes_in_use());
    });
}

TEST(GlobalInitDeathTest, ARepeatedCallIsLoggedAndHasNoOtherEffect) {
    inAFreshProcess([] {
        ASSERT_EQ(0, GlobalInit());
        const LogCapture log;
        EXPECT_EQ(0, GlobalInit());
        EXPECT_EQ(1u, log.lines().size());
        EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, REPEATED));
        EXPECT_EQ(1, curl().starts);
    });
}

TEST(GlobalInitDeathTest, AFailingStartOfLibcurlAnswersMinusOneAndALaterCallTriesAgain) {
    inAFreshProcess([] {
        LogCapture log;
        curl().startAnswer = CURLE_OUT_OF_MEMORY;
        EXPECT_EQ(-1, GlobalInit());
        EXPECT_THAT(
            frameLines(log),
            testing::ElementsAre(CURL_START, "curl_global_init_mem() failed, last error: Out of memory"))
            << "the OpenSSL step does not run";
        EXPECT_EQ(-1, GlobalInit());
        EXPECT_FALSE(libcurl_setup());
        EXPECT_EQ(3, curl().starts);
        curl().startAnswer = CURLE_OK;
        log.clear();
        EXPECT_EQ(0, GlobalInit());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(CURL_START, OPENSSL_SETUP, SET_ID, SET_LOCKING));
        EXPECT_EQ(4, curl().starts);
    });
}

TEST(GlobalInitDeathTest, GlobalInitLibCurlOnlyStartsLibcurlAlone) {
    inAFreshProcess([] {
        LogCapture log;
        EXPECT_EQ(0, GlobalInitLibCurlOnly());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(CURL_START));
        EXPECT_THAT(log.linesOf("zeb.netutils.version"), testing::IsEmpty());
        log.clear();
        EXPECT_EQ(0, GlobalInitLibCurlOnly());
        EXPECT_TRUE(log.lines().empty());
        EXPECT_EQ(1, curl().starts);
    });
}

TEST(GlobalInitDeathTest, GlobalInitLibCurlOnlyAnswersMinusOneWhenLibcurlFails) {
    inAFreshProcess([] {
        const LogCapture log;
        curl().startAnswer = CURLE_FAILED_INIT;
        EXPECT_EQ(-1, GlobalInitLibCurlOnly());
        EXPECT_TRUE(
            log.contains(ZEBLOG_DEBUG, "curl_global_init_mem() failed, last error: Failed initialization"));
        curl().startAnswer = CURLE_OK;
        EXPECT_EQ(0, GlobalInitLibCurlOnly());
    });
}

TEST(GlobalInitDeathTest, GlobalInitAfterGlobalInitLibCurlOnlyDoesTheOpenSslStep) {
    inAFreshProcess([] {
        ASSERT_EQ(0, GlobalInitLibCurlOnly());
        LogCapture log;
        EXPECT_EQ(0, GlobalInit());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(OPENSSL_SETUP, SET_ID, SET_LOCKING));
        EXPECT_EQ(1, curl().starts);
        log.clear();
        EXPECT_EQ(0, GlobalInit());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(REPEATED));
    });
}

TEST(GlobalInitDeathTest, GlobalCleanupFollowedByGlobalInitDoesNotReinitialiseLibcurl) {
    inAFreshProcess([] {
        ASSERT_EQ(0, GlobalInit());
        LogCapture log;
        GlobalCleanup();
        EXPECT_THAT(frameLines(log), testing::ElementsAre(CURL_END, OPENSSL_CLEANUP));
        EXPECT_EQ(1, curl().ends);
        log.clear();
        EXPECT_EQ(0, GlobalInit());
        EXPECT_THAT(frameLines(log), testing::ElementsAre(REPEATED));
        EXPECT_EQ(0, GlobalInitLibCurlOnly());
        EXPECT_TRUE(libcurl_setup());
        EXPECT_EQ(1, curl().starts);
    });
}

TEST(GlobalInitDeathTest, GlobalCleanupReturnsWhatLibcurlHeld) {
    inAFreshProcess([] {
        ASSERT_EQ(0, GlobalInit());
        GlobalCleanup();
        EXPECT_EQ(0u, libcurl_bytes_in_use());
    });
}

TEST(GlobalInitDeathTest, GlobalCleanupWaitsForTheTasksOfPools) {
    inAFreshProcess([] {
        /// Ends, as that of an asynchronous request does, some time after its listener has been told.
        class LastingTask : public Task {
        public:
            LastingTask(Event& inside, Event& go, int& endsSeen)
                : inside_(inside), go_(go), endsSeen_(endsSeen) {}
            ~LastingTask() override { endsSeen_ = curl().ends; }
            void execute() override {
                inside_.set();
                go_.wait();
            }

        private:
            Event& inside_;
            Event& go_;
            int& endsSeen_;
        };
        ASSERT_EQ(0, GlobalInit());
        Event inside(false);
        Event go(false);
        int endsSeen = -1;
        auto pool = std::make_unique<ThreadPool>(0, 1, 60);
        pool->enqueue(std::make_shared<LastingTask>(inside, go, endsSeen), false, false);
        inside.wait();
        pool.reset();
        std::thread opener([&] {
            zeb::test::awaitThreads([] { return zeb::test::threadStates().front().asleep; });
            go.set();
        });
        GlobalCleanup();
        opener.join();
        EXPECT_EQ(0, endsSeen) << "the task's end came first";
        EXPECT_EQ(1, curl().ends);
    });
}

TEST(GlobalInitDeathTest, TheOpenSslStepRunsOnceEvenWhenManyThreadsAskForIt) {
    inAFreshProcess([] {
        const LogCapture log;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] { openssl_thread_setup(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(1u, log.count(SET_ID));
        EXPECT_EQ(1u, log.count(SET_LOCKING));
    });
}

TEST(GlobalInitDeathTest, CleanupsWithoutAStartAreHarmless) {
    inAFreshProcess([] {
        openssl_thread_cleanup();
        GlobalCleanup();
        GlobalCleanup();
    });
}

}  // namespace
}  // namespace zeb::netutils::test
