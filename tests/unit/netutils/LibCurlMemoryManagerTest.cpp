#include "RawAllocator.h"
#include "netutils/LibCurlMemoryManager.h"
#include "support/LogCapture.h"
#include "support/Printed.h"
#include "zeblogger/ZEBLogger.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::LogCapture;
using zeb::test::printed;

std::string duplicateText(void* block) {
    return "MemoryMap already has an entry at pointer:" + printed(block);
}

std::string unknownText(void* block) {
    return "LibCurl gave us a pointer that wasn't in the Memory Map. Can't zero the memory at:" +
           printed(block);
}

class LibCurlMemoryManagerTest : public testing::Test {
protected:
    LibCurlMemoryManagerTest() {
        // The first allocation of a process logs a line that is no business of the other tests.
        libcurl_free_callback(libcurl_malloc_callback(1));
        before_ = libcurl_bytes_in_use();
        log_.clear();
    }
    ~LibCurlMemoryManagerTest() override {
        EXPECT_TRUE(RawAllocator::answered());
        RawAllocator::answerNext({});
    }

    /// Bytes that came to be in use during the test.
    std::int64_t inUse() const { return static_cast<std::int64_t>(libcurl_bytes_in_use() - before_); }

    std::vector<std::string> logged() const { return log_.linesOf("zeb.netutils"); }
    void expectError(const std::string& text) const {
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, text)) << log_.text();
    }

    LogCapture log_;
    std::uint64_t before_ = 0;
    Block block_;
    Block other_;
};

TEST_F(LibCurlMemoryManagerTest, AnAllocationCountsFromMallocToFree) {
    void* const block = libcurl_malloc_callback(100);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(100, inUse());
    libcurl_free_callback(block);
    EXPECT_EQ(0, inUse());
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, FreeZeroesExactlyTheRequestedSize) {
    RawAllocator::answerNext({block_.address()});
    ASSERT_EQ(block_.address(), libcurl_malloc_callback(100));
    block_.fill(0x5A);
    libcurl_free_callback(block_.address());
    EXPECT_TRUE(block_.holds(0, 0, 100));
    EXPECT_TRUE(block_.holds(0x5A, 100, Block::SIZE));
    EXPECT_EQ(1, block_.timesFreed());
}

TEST_F(LibCurlMemoryManagerTest, ABlockOfNoBytesIsABlock) {
    void* const block = libcurl_malloc_callback(0);
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(0, inUse());
    libcurl_free_callback(block);
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, FreeIgnoresNull) {
    libcurl_free_callback(nullptr);
    EXPECT_EQ(0, inUse());
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, AFailingMallocIsLoggedAndAnswersNull) {
    RawAllocator::answerNext({nullptr});
    EXPECT_EQ(nullptr, libcurl_malloc_callback(77));
    expectError("malloc returned NULL for size:77");
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, AMallocThatAnswersAKnownAddressIsLoggedAndTheOldEntryKept) {
    RawAllocator::answerNext({block_.address(), block_.address()});
    libcurl_malloc_callback(10);
    EXPECT_EQ(block_.address(), libcurl_malloc_callback(30));
    expectError(duplicateText(block_.address()));
    EXPECT_EQ(40, inUse()) << "the counter grows all the same";
    block_.fill(0x5A);
    libcurl_free_callback(block_.address());
    EXPECT_TRUE(block_.holds(0, 0, 10)) << "the old entry's size";
    EXPECT_TRUE(block_.holds(0x5A, 10, 30));
    EXPECT_EQ(30, inUse());
}

TEST_F(LibCurlMemoryManagerTest, CallocIsZeroedAndCountsTheProduct) {
    auto* const block = static_cast<unsigned char*>(libcurl_calloc_callback(7, 9));
    ASSERT_NE(nullptr, block);
    for (int i = 0; i < 63; ++i) {
        EXPECT_EQ(0, block[i]);
    }
    EXPECT_EQ(63, inUse());
    libcurl_free_callback(block);
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ACallocedBlockIsZeroedWhenFreed) {
    RawAllocator::answerNext({block_.address()});
    libcurl_calloc_callback(5, 10);
    block_.fill(0x5A);
    libcurl_free_callback(block_.address());
    EXPECT_TRUE(block_.holds(0, 0, 50));
    EXPECT_TRUE(block_.holds(0x5A, 50, Block::SIZE));
}

TEST_F(LibCurlMemoryManagerTest, AFailingCallocIsLoggedAndAnswersNull) {
    RawAllocator::answerNext({nullptr});
    EXPECT_EQ(nullptr, libcurl_calloc_callback(7, 9));
    expectError("calloc returned NULL for nmemb:7 size:9");
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ACallocWhoseProductOverflowsFails) {
#ifdef ZEB_SANITIZED
    GTEST_SKIP() << "The sanitizer takes an overflowing calloc for a bug of the caller.";
#endif
    volatile std::size_t huge = std::numeric_limits<std::size_t>::max() / 2;
    EXPECT_EQ(nullptr, libcurl_calloc_callback(huge, 4));
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ACallocThatAnswersAKnownAddressIsLogged) {
    RawAllocator::answerNext({block_.address(), block_.address()});
    libcurl_calloc_callback(1, 10);
    EXPECT_EQ(block_.address(), libcurl_calloc_callback(3, 10));
    expectError(duplicateText(block_.address()));
    EXPECT_EQ(40, inUse());
    libcurl_free_callback(block_.address());
    EXPECT_EQ(30, inUse());
}

TEST_F(LibCurlMemoryManagerTest, StrdupCopiesAndCountsTheTerminatorToo) {
    char* const copy = libcurl_strdup_callback("secret");
    EXPECT_STREQ("secret", copy);
    EXPECT_EQ(7, inUse());
    libcurl_free_callback(copy);
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ADuplicatedTextIsZeroedWhenFreed) {
    RawAllocator::answerNext({block_.address()});
    libcurl_strdup_callback("secret");
    EXPECT_STREQ("secret", reinterpret_cast<char*>(block_.address()));
    libcurl_free_callback(block_.address());
    EXPECT_TRUE(block_.holds(0, 0, 7));
    EXPECT_TRUE(block_.holds(0xEE, 7, Block::SIZE));
}

TEST_F(LibCurlMemoryManagerTest, AFailingStrdupIsLoggedWithoutTheSecret) {
    RawAllocator::answerNext({nullptr});
    EXPECT_EQ(nullptr, libcurl_strdup_callback("my password"));
    expectError("strdup returned NULL for const char*:" + ZEBLogger_replacePIIData("my password"));
    EXPECT_FALSE(log_.contains("my password"));
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, StrdupOfNullAnswersNull) {
    EXPECT_EQ(nullptr, libcurl_strdup_callback(nullptr));
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, AStrdupThatAnswersAKnownAddressIsLogged) {
    RawAllocator::answerNext({block_.address(), block_.address()});
    libcurl_strdup_callback("ab");
    libcurl_strdup_callback("abcd");
    expectError(duplicateText(block_.address()));
    EXPECT_EQ(8, inUse());
    libcurl_free_callback(block_.address());
    EXPECT_EQ(5, inUse());
}

TEST_F(LibCurlMemoryManagerTest, AnUnknownPointerIsLoggedAndFreedWithoutBeingZeroed) {
    block_.fill(0x5A);
    libcurl_free_callback(block_.address());
    expectError(unknownText(block_.address()));
    EXPECT_TRUE(block_.holds(0x5A, 0, Block::SIZE));
    EXPECT_EQ(1, block_.timesFreed());
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ABlockIsKnownOnlyOnce) {
    RawAllocator::answerNext({block_.address()});
    libcurl_malloc_callback(8);
    libcurl_free_callback(block_.address());
    libcurl_free_callback(block_.address());
    expectError(unknownText(block_.address()));
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ReallocOfNullIsMalloc) {
    void* const block = libcurl_realloc_callback(nullptr, 33);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(33, inUse());
    libcurl_free_callback(block);
    EXPECT_EQ(0, inUse());
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, AGrowingReallocMovesTheContentsAndZeroesTheOldBlock) {
    RawAllocator::answerNext({block_.address(), other_.address()});
    libcurl_malloc_callback(50);
    block_.fill(0x5A);
    EXPECT_EQ(other_.address(), libcurl_realloc_callback(block_.address(), 90));
    EXPECT_TRUE(other_.holds(0x5A, 0, 50));
    EXPECT_TRUE(other_.holds(0xEE, 50, Block::SIZE));
    EXPECT_TRUE(block_.holds(0, 0, 50));
    EXPECT_EQ(1, block_.timesFreed());
    EXPECT_EQ(90, inUse());
    libcurl_free_callback(other_.address());
    EXPECT_TRUE(other_.holds(0, 0, 90));
    EXPECT_EQ(0, inUse());
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, AShrinkingReallocCopiesWhatFitsAndZeroesAllOfTheOldBlock) {
    RawAllocator::answerNext({block_.address(), other_.address()});
    libcurl_malloc_callback(50);
    block_.fill(0x5A);
    EXPECT_EQ(other_.address(), libcurl_realloc_callback(block_.address(), 20));
    EXPECT_TRUE(other_.holds(0x5A, 0, 20));
    EXPECT_TRUE(other_.holds(0xEE, 20, Block::SIZE)) << "nothing behind the new block's end";
    EXPECT_TRUE(block_.holds(0, 0, 50));
    EXPECT_EQ(20, inUse());
    libcurl_free_callback(other_.address());
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, AReallocToNoBytesKeepsABlock) {
    void* const block = libcurl_malloc_callback(50);
    void* const moved = libcurl_realloc_callback(block, 0);
    EXPECT_NE(nullptr, moved);
    EXPECT_EQ(0, inUse());
    libcurl_free_callback(moved);
    EXPECT_THAT(logged(), testing::IsEmpty());
}

TEST_F(LibCurlMemoryManagerTest, AFailingReallocFreesTheOldBlockUnzeroed) {
    RawAllocator::answerNext({block_.address(), nullptr});
    libcurl_malloc_callback(50);
    block_.fill(0x5A);
    EXPECT_EQ(nullptr, libcurl_realloc_callback(block_.address(), 90));
    expectError("malloc returned NULL for size:90");
    EXPECT_EQ(1, block_.timesFreed());
    EXPECT_TRUE(block_.holds(0x5A, 0, Block::SIZE));
    EXPECT_EQ(50, inUse()) << "the lost block remains in the count";
    libcurl_free_callback(block_.address());
    expectError(unknownText(block_.address()));
}

TEST_F(LibCurlMemoryManagerTest, AReallocOfAnUnknownPointerIsLoggedAndLosesTheContents) {
    RawAllocator::answerNext({other_.address()});
    block_.fill(0x5A);
    EXPECT_EQ(other_.address(), libcurl_realloc_callback(block_.address(), 40));
    expectError(unknownText(block_.address()));
    EXPECT_TRUE(other_.holds(0xEE, 0, Block::SIZE)) << "nothing is copied";
    EXPECT_TRUE(block_.holds(0x5A, 0, Block::SIZE)) << "nothing is zeroed";
    EXPECT_EQ(1, block_.timesFreed());
    EXPECT_EQ(40, inUse());
    libcurl_free_callback(other_.address());
}

TEST_F(LibCurlMemoryManagerTest, AFailingReallocOfAnUnknownPointerFreesIt) {
    RawAllocator::answerNext({nullptr});
    EXPECT_EQ(nullptr, libcurl_realloc_callback(block_.address(), 40));
    expectError(unknownText(block_.address()));
    expectError("malloc returned NULL for size:40");
    EXPECT_EQ(1, block_.timesFreed());
    EXPECT_EQ(0, inUse());
}

TEST_F(LibCurlMemoryManagerTest, AReallocThatAnswersAKnownAddressIsLoggedAndTheOldEntryKept) {
    RawAllocator::answerNext({block_.address(), other_.address(), other_.address()});
    libcurl_malloc_callback(10);
    libcurl_malloc_callback(20);
    EXPECT_EQ(other_.address(), libcurl_realloc_callback(block_.address(), 60));
    expectError(duplicateText(other_.address()));
    EXPECT_EQ(80, inUse());
    other_.fill(0x5A);
    libcurl_free_callback(other_.address());
    EXPECT_TRUE(other_.holds(0, 0, 20));
    EXPECT_TRUE(other_.holds(0x5A, 20, Block::SIZE));
    EXPECT_EQ(60, inUse());
}

TEST_F(LibCurlMemoryManagerTest, ABlockThatTheMapHasNoRoomForIsWipedAndFreedAndCountsAsAFailure) {
    // First use up the nodes that the map keeps for reuse: with one more block than there ever were, it needs
    // memory of its own.
    std::vector<void*> blocks;
    blocks.reserve(100000);
    RawAllocator::failNextNew();
    while (void* const block = libcurl_malloc_callback(1)) {
        blocks.push_back(block);
    }
    EXPECT_TRUE(RawAllocator::newFailed());
    expectError("malloc returned NULL for size:1");
    EXPECT_EQ(static_cast<std::int64_t>(blocks.size()), inUse());

    RawAllocator::answerNext({block_.address()});
    RawAllocator::failNextNew();
    EXPECT_EQ(nullptr, libcurl_strdup_callback("secret"));
    expectError("strdup returned NULL for const char*:");
    EXPECT_TRUE(block_.holds(0, 0, 7)) << "the copy may be a password";
    EXPECT_EQ(1, block_.timesFreed());

    RawAllocator::failNextNew();
    EXPECT_EQ(nullptr, libcurl_calloc_callback(2, 3));
    expectError("calloc returned NULL for nmemb:2 size:3");
    EXPECT_EQ(static_cast<std::int64_t>(blocks.size()), inUse());
    for (void* block : blocks) {
        libcurl_free_callback(block);
    }
}

TEST_F(LibCurlMemoryManagerTest, ManyThreadsMayAllocateAndFreeEachOthersBlocks) {
    constexpr int THREADS = 4;
    constexpr std::size_t ROUNDS = 3000;
    std::vector<std::vector<void*>> made(THREADS);
    const auto onEachThread = [](auto work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < THREADS; ++i) {
            threads.emplace_back(work, i);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    onEachThread([&](int own) {
        for (std::size_t n = 0; n < ROUNDS; ++n) {
            void* const block = libcurl_malloc_callback(n % 200);
            libcurl_free_callback(libcurl_strdup_callback("in between"));
            made[static_cast<std::size_t>(own)].push_back(libcurl_realloc_callback(block, n % 300));
        }
    });
    EXPECT_EQ(THREADS * 448500, inUse()) << "n % 300, summed over 3000 rounds";
    onEachThread([&](int own) {
        for (void* block : made[static_cast<std::size_t>((own + 1) % THREADS)]) {
            libcurl_free_callback(block);
        }
    });
    EXPECT_EQ(0, inUse());
    EXPECT_THAT(logged(), testing::IsEmpty());
}

/// Runs in a process of its own: there, the first allocation is still to come.
bool onlyTheFirstAllocationIsAnnounced(bool firstFails) {
    const LogCapture log;
    const std::string text = "LibCurl Memory Manager is Initialised OK!";
    libcurl_free_callback(libcurl_calloc_callback(1, 1));
    libcurl_free_callback(libcurl_strdup_callback("x"));
    const bool quiet = !log.contains(text);
    if (firstFails) {
        RawAllocator::answerNext({nullptr});
    }
    libcurl_free_callback(libcurl_malloc_callback(1));
    const bool announced = log.contains(ZEBLOG_INFO, text);
    libcurl_free_callback(libcurl_malloc_callback(1));
    return quiet && announced && log.count(text) == 1;
}

TEST(LibCurlMemoryManagerDeathTest, OnlyTheFirstMallocIsAnnounced) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(onlyTheFirstAllocationIsAnnounced(false) ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(LibCurlMemoryManagerDeathTest, AFirstMallocThatFailsIsAnnouncedToo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(onlyTheFirstAllocationIsAnnounced(true) ? 0 : 1), testing::ExitedWithCode(0), "");
}

/// Frees when static objects are destroyed, after everything made later than it.
struct LateUser {
    ~LateUser() {
        libcurl_free_callback(block);
        if (libcurl_bytes_in_use() != 0) {
            std::_Exit(1);
        }
    }
    void* block = nullptr;
};

TEST(LibCurlMemoryManagerDeathTest, TheHooksWorkWhileStaticObjectsAreDestroyed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static LateUser user;
            user.block = libcurl_malloc_callback(1000);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zeb::netutils::test
