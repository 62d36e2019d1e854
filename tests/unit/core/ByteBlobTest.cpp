#include "core/ByteBlob.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

TEST(ByteBlobTest, ANewObjectHoldsNothing) {
    const ByteBlob blob;
    EXPECT_EQ(nullptr, blob.data);
    EXPECT_EQ(0U, blob.size);
}

TEST(ByteBlobTest, ANewBlockIsFilledWithOnes) {
    const ByteBlob blob(100);
    ASSERT_EQ(100U, blob.size);
    EXPECT_TRUE(
        std::all_of(blob.data, blob.data + blob.size, [](unsigned char byte) { return byte == 0xFF; }));
}

TEST(ByteBlobTest, AReallocatedBlockIsFilledWithOnes) {
    ByteBlob blob(10);
    std::memset(blob.data, 1, blob.size);
    blob.reallocateSize(20);
    ASSERT_EQ(20U, blob.size);
    EXPECT_TRUE(
        std::all_of(blob.data, blob.data + blob.size, [](unsigned char byte) { return byte == 0xFF; }));
}

TEST(ByteBlobTest, ASizeOfZeroHoldsNothing) {
    ByteBlob blob(10);
    blob.reallocateSize(0);
    EXPECT_EQ(nullptr, blob.data);
    EXPECT_EQ(0U, blob.size);
}

TEST(ByteBlobTest, DestroyingNullsThePointerAndLeavesTheSize) {
    ByteBlob blob(10);
    blob.destroyData();
    EXPECT_EQ(nullptr, blob.data);
    EXPECT_EQ(10U, blob.size);
    blob.destroyData();
    EXPECT_EQ(10U, blob.size);
}

TEST(ByteBlobTest, AReleasedBlockHoldsNoneOfItsContent) {
    const PlantedSecret secret;
    {
        ByteBlob destroyed(secret.size());
        ByteBlob reallocated(secret.size());
        ByteBlob ended(secret.size());
        for (ByteBlob* blob : {&destroyed, &reallocated, &ended}) {
            secret.copyTo(reinterpret_cast<char*>(blob->data));
        }
        EXPECT_EQ(3U, countInOwnMemory(secret));
        destroyed.destroyData();
        reallocated.reallocateSize(1000);
        EXPECT_EQ(1U, countInOwnMemory(secret));
    }
    EXPECT_EQ(0U, countInOwnMemory(secret));
}

}  // namespace
}  // namespace zeb::test
