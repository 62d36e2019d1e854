#include "core/SafeAllocator.h"
#include "core/SafeBuffer.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

std::string contentOf(const SafeBuffer& buffer) {
    return {buffer.data(), buffer.size()};
}

TEST(SafeBufferTest, ANewBufferIsEmptyAndGivesNoData) {
    const SafeBuffer buffer;
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(0U, buffer.size());
    EXPECT_EQ(nullptr, buffer.data());
}

TEST(SafeBufferTest, NullAndNoBytesGiveAnEmptyBuffer) {
    EXPECT_TRUE(SafeBuffer(nullptr, 10).empty());
    EXPECT_TRUE(SafeBuffer("x", 0).empty());
    EXPECT_EQ(nullptr, SafeBuffer("x", 0).data());
}

TEST(SafeBufferTest, HoldsACopyOfTheBytes) {
    const std::string bytes("a\0b\xFF", 4);
    const SafeBuffer buffer(bytes.data(), bytes.size());
    EXPECT_NE(bytes.data(), buffer.data());
    EXPECT_EQ(bytes, contentOf(buffer));
}

TEST(SafeBufferTest, GrowsByteByByte) {
    SafeBuffer buffer;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        buffer.push_back(static_cast<char>(i));
        expected += static_cast<char>(i);
    }
    EXPECT_EQ(expected, contentOf(buffer));
}

TEST(SafeBufferTest, ACopyIsIndependent) {
    SafeBuffer first("one", 3);
    const SafeBuffer second(first);
    first.push_back('!');
    EXPECT_EQ("one", contentOf(second));
    EXPECT_EQ("one!", contentOf(first));
}

TEST(SafeBufferTest, AssignmentCopies) {
    SafeBuffer first("one", 3);
    SafeBuffer second("two", 3);
    second = first;
    first.push_back('!');
    EXPECT_EQ("one", contentOf(second));
    SafeBuffer& alias = second;
    second = alias;
    EXPECT_EQ("one", contentOf(second));
}

TEST(SafeBufferTest, AMovedFromBufferIsEmptyAndUsable) {
    SafeBuffer first("one", 3);
    const char* const data = first.data();
    const SafeBuffer second(std::move(first));
    EXPECT_EQ(data, second.data());
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): the promise under test
    first.push_back('x');
    EXPECT_EQ("x", contentOf(first));
}

TEST(SafeBufferTest, SwapsItsContent) {
    SafeBuffer first("one", 3);
    SafeBuffer second;
    first.swap(second);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ("one", contentOf(second));
}

TEST(SafeBufferTest, CopyToMemoryWithAShortBufferCopiesOnlyItsSize) {
    const SafeBuffer buffer("secret", 6);
    std::string text(6, '.');
    EXPECT_EQ(3U, buffer.copyToMemory(text.data(), 3));
    EXPECT_EQ("sec...", text);
    std::vector<unsigned char> bytes(6, '.');
    EXPECT_EQ(2U, buffer.copyToMemory(bytes.data(), 2));
    EXPECT_EQ((std::vector<unsigned char>{'s', 'e', '.', '.', '.', '.'}), bytes);
}

TEST(SafeBufferTest, CopyToMemoryWithALongBufferCopiesAllOfTheContent) {
    const SafeBuffer buffer("secret", 6);
    std::string text(10, '.');
    EXPECT_EQ(6U, buffer.copyToMemory(text.data(), text.size()));
    EXPECT_EQ("secret....", text);
}

TEST(SafeBufferTest, CopyToMemoryToNullOrFromAnEmptyBufferCopiesNothing) {
    EXPECT_EQ(0U, SafeBuffer("secret", 6).copyToMemory(static_cast<char*>(nullptr), 6));
    EXPECT_EQ(0U, SafeBuffer("secret", 6).copyToMemory(static_cast<unsigned char*>(nullptr), 6));
    char text[] = "...";
    EXPECT_EQ(0U, SafeBuffer().copyToMemory(text, 3));
    EXPECT_STREQ("...", text);
}

TEST(SafeBufferTest, NothingOfItsContentIsLeftInMemory) {
    const PlantedSecret secret;
    {
        SafeBuffer buffer;
        for (std::size_t i = 0; i < secret.size(); ++i) {
            buffer.push_back(secret.at(i));
        }
        for (int i = 0; i < 10'000; ++i) {
            buffer.push_back('x');
        }
        EXPECT_EQ(1U, countInOwnMemory(secret));
    }
    EXPECT_EQ(0U, countInOwnMemory(secret));
}

// An allocator that looks at what it gets back.

int blocksReleased = 0;
int blocksReleasedUnwiped = 0;

void* countedAllocate(unsigned long size) {
    return std::malloc(size);
}

void countedDeallocate(void* memory, unsigned long size) {
    const auto* const bytes = static_cast<const char*>(memory);
    ++blocksReleased;
    blocksReleasedUnwiped += std::any_of(bytes, bytes + size, [](char byte) { return byte != 0; }) ? 1 : 0;
    std::free(memory);
}

void* refuseToAllocate(unsigned long /*size*/) {
    return nullptr;
}

class SafeAllocatorTest : public testing::Test {
protected:
    SafeAllocatorTest() {
        blocksReleased = 0;
        blocksReleasedUnwiped = 0;
    }
    ~SafeAllocatorTest() override { internal::setupSafeAllocatorMemoryManager(nullptr, nullptr); }
};

TEST_F(SafeAllocatorTest, EveryBlockThatGrowthReleasesIsWiped) {
    internal::setupSafeAllocatorMemoryManager(countedAllocate, countedDeallocate);
    {
        SafeBuffer buffer;
        for (int i = 0; i < 1000; ++i) {
            buffer.push_back('x');
        }
        EXPECT_EQ(10, blocksReleased);
    }
    EXPECT_EQ(11, blocksReleased);
    EXPECT_EQ(0, blocksReleasedUnwiped);
}

TEST_F(SafeAllocatorTest, ACopyAndAnAssignedBufferAreWiped) {
    internal::setupSafeAllocatorMemoryManager(countedAllocate, countedDeallocate);
    {
        const SafeBuffer first("secret", 6);
        SafeBuffer second("other secret", 12);
        second = first;
        EXPECT_EQ(1, blocksReleased);
    }
    EXPECT_EQ(3, blocksReleased);
    EXPECT_EQ(0, blocksReleasedUnwiped);
}

TEST_F(SafeAllocatorTest, NullChoosesTheDefaultFunctions) {
    internal::setupSafeAllocatorMemoryManager(countedAllocate, countedDeallocate);
    internal::setupSafeAllocatorMemoryManager(nullptr, nullptr);
    { const SafeBuffer buffer("secret", 6); }
    EXPECT_EQ(0, blocksReleased);
}

TEST_F(SafeAllocatorTest, ARefusedAllocationIsBadAlloc) {
    internal::setupSafeAllocatorMemoryManager(refuseToAllocate, nullptr);
    EXPECT_THROW(SafeAllocator<char>().allocate(1), std::bad_alloc);
    EXPECT_THROW(SafeBuffer("secret", 6), std::bad_alloc);
}

TEST_F(SafeAllocatorTest, ABlockIsNeverLargerThanTheMaximum) {
    EXPECT_EQ(0xFFFFFFFFU, SafeAllocator<char>().max_size());
    EXPECT_THROW(SafeAllocator<char>().allocate(0x100000000U), std::bad_alloc);
    EXPECT_THROW(SafeBuffer("x", 0x100000000U), std::length_error);
}

TEST_F(SafeAllocatorTest, AllInstancesAreEqual) {
    EXPECT_TRUE(SafeAllocator<char>() == SafeAllocator<int>());
    EXPECT_FALSE(SafeAllocator<char>() != SafeAllocator<char>());
}

TEST_F(SafeAllocatorTest, ZeroesMemoryAndIgnoresNull) {
    char text[] = "secret";
    internal::safeAllocatorZeroMemory(text, 3);
    EXPECT_EQ(std::string("\0\0\0ret", 6), std::string(text, 6));
    internal::safeAllocatorZeroMemory(nullptr, 3);
}

TEST_F(SafeAllocatorTest, BuffersMayBeUsedInSeveralThreadsAtOnce) {
    const auto fillBuffers = [] {
        for (int i = 0; i < 100; ++i) {
            SafeBuffer buffer;
            for (int byte = 0; byte < 100; ++byte) {
                buffer.push_back('x');
            }
        }
    };
    std::thread first(fillBuffers);
    std::thread second(fillBuffers);
    internal::setupSafeAllocatorMemoryManager(nullptr, nullptr);  // the same functions again
    first.join();
    second.join();
}

}  // namespace
}  // namespace zeb::test
