#include "core/SecureString.h"
#include "core/SecureStringReader.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

char* newText(const std::string& text) {
    char* const buffer = new char[text.size() + 1];
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return buffer;
}

TEST(SecureStringReaderTest, ANewReaderGivesAnEmptyText) {
    const SecureStringReader reader;
    EXPECT_STREQ("", reader.c_str());
    EXPECT_EQ(0U, reader.getBufSize());
}

TEST(SecureStringReaderTest, TakesOverATextAtConstruction) {
    char* const text = newText("secret");
    const SecureStringReader reader(text, 6);
    EXPECT_EQ(text, reader.c_str());
    EXPECT_STREQ("secret", reader.c_str());
    EXPECT_EQ(6U, reader.getBufSize());
}

TEST(SecureStringReaderTest, TakesOverATextLater) {
    SecureStringReader reader(newText("first"), 5);
    EXPECT_TRUE(reader.setValue(newText("second"), 6));
    EXPECT_STREQ("second", reader.c_str());
    EXPECT_EQ(6U, reader.getBufSize());
}

TEST(SecureStringReaderTest, NullLeavesTheReaderEmpty) {
    SecureStringReader reader(newText("first"), 5);
    EXPECT_FALSE(reader.setValue(nullptr, 5));
    EXPECT_STREQ("", reader.c_str());
    EXPECT_EQ(0U, reader.getBufSize());
    EXPECT_STREQ("", SecureStringReader(nullptr, 5).c_str());
}

TEST(SecureStringReaderTest, ASizeOfZeroLeavesTheReaderEmptyAndTheBlockWithTheCaller) {
    SecureStringReader reader(newText("first"), 5);
    const std::string text = "second";
    EXPECT_FALSE(reader.setValue(text.c_str(), 0));
    EXPECT_STREQ("", reader.c_str());
    EXPECT_EQ(0U, reader.getBufSize());
}

TEST(SecureStringReaderTest, KeepsEmbeddedNuls) {
    const SecureStringReader reader(newText(std::string("a\0b", 3)), 3);
    EXPECT_EQ(std::string("a\0b", 3), std::string(reader.c_str(), reader.getBufSize()));
}

// The allocator writes its own notes into the first 16 bytes of a freed block.
TEST(SecureStringReaderTest, AfterAReaderEndsItsFormerBufferHoldsZeros) {
    constexpr std::size_t SIZE = 200;
    constexpr std::size_t ALLOCATOR_NOTES = 16;
    const void* buffer = nullptr;
    {
        const SecureStringReader reader(newText(std::string(SIZE, 'x')), SIZE);
        buffer = reader.c_str();
        EXPECT_EQ(std::vector<unsigned char>(SIZE, 'x'), peekAtMemory(buffer, SIZE));
    }
    std::vector<unsigned char> bytes = peekAtMemory(buffer, SIZE);
    ASSERT_EQ(SIZE, bytes.size());
    bytes.erase(bytes.begin(), bytes.begin() + ALLOCATOR_NOTES);
    EXPECT_EQ(SIZE - ALLOCATOR_NOTES, static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), 0)));
}

TEST(SecureStringReaderTest, AReplacedTextIsWiped) {
    const PlantedSecret secret;
    char* const text = new char[secret.size() + 1]();
    secret.copyTo(text);
    SecureStringReader reader(text, secret.size());
    EXPECT_EQ(1U, countInOwnMemory(secret));
    reader.setValue(newText("other"), 5);
    EXPECT_EQ(0U, countInOwnMemory(secret));
}

}  // namespace
}  // namespace zeb::test
