#include "core/GuaranteedMemset.h"
#include "core/SecureStringUtils.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

template <typename Character>
bool isZero(const std::vector<Character>& memory) {
    return std::all_of(memory.begin(), memory.end(), [](Character character) { return character == 0; });
}

TEST(SecureStringUtilsTest, ZeroesAllOfTheMemoryAndNothingBeside) {
    std::vector<char> memory(1000, 'x');
    SecureStringUtils::ZEBZeroMemory(memory.data() + 1, memory.size() - 2);
    EXPECT_EQ('x', memory.front());
    EXPECT_EQ('x', memory.back());
    memory.front() = memory.back() = 0;
    EXPECT_TRUE(isZero(memory));

    std::vector<int> numbers(10, -1);
    SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(numbers.data()), numbers.size() * sizeof(int));
    EXPECT_TRUE(isZero(numbers));
}

TEST(SecureStringUtilsTest, NullAndASizeOfZeroDoNothing) {
    SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(nullptr), 10);
    SecureStringUtils::ZEBZeroMemory(static_cast<const char*>(nullptr), 10);
    char character = 'x';
    SecureStringUtils::ZEBZeroMemory(&character, 0);
    EXPECT_EQ('x', character);
}

TEST(SecureStringUtilsTest, AZeroedStringIsEmptyAndItsBufferHoldsZeros) {
    std::string text(100, 'x');
    const char* const buffer = text.data();
    SecureStringUtils::ZEBZeroString(text);
    EXPECT_TRUE(text.empty());
    ASSERT_EQ(buffer, text.data());
    EXPECT_TRUE(isZero(peekAtMemory(buffer, 100)));
}

TEST(SecureStringUtilsTest, AnEmptyStringMayBeZeroed) {
    std::string text;
    SecureStringUtils::ZEBZeroString(text);
    EXPECT_TRUE(text.empty());
    std::wstring wide;
    SecureStringUtils::ZEBZeroWstring(wide);
    EXPECT_TRUE(wide.empty());
}

TEST(SecureStringUtilsTest, AStringWithNulsIsZeroedToItsEnd) {
    std::string text("a\0secret-behind-the-nul-and-long-enough", 39);
    const char* const buffer = text.data();
    SecureStringUtils::ZEBZeroString(text);
    EXPECT_TRUE(isZero(peekAtMemory(buffer, 39)));
}

TEST(SecureStringUtilsTest, AZeroedWideStringIsEmptyAndItsBufferHoldsZeros) {
    std::wstring text(100, L'\x10FFFF');
    const wchar_t* const buffer = text.data();
    SecureStringUtils::ZEBZeroWstring(text);
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(isZero(peekAtMemory(buffer, 100 * sizeof(wchar_t))));
}

TEST(GuaranteedMemsetTest, SetsEachByteToTheLowByteOfTheValue) {
    std::vector<unsigned char> memory(100, 1);
    guaranteed_memset(memory.data(), 0x1FE, memory.size() - 1);
    EXPECT_TRUE(
        std::all_of(memory.begin(), memory.end() - 1, [](unsigned char byte) { return byte == 0xFE; }));
    EXPECT_EQ(1, memory.back());
    guaranteed_memset(nullptr, 0, 10);
}

// What a plain memset() right before the end of a buffer's life does not survive in optimised code.
__attribute__((noinline)) void plantOnStackAndWipe(const PlantedSecret& secret,
                                                   std::size_t& foundWhileThere) {
    char text[64];
    secret.copyTo(text);
    foundWhileThere = countInOwnMemory(secret);
    SecureStringUtils::ZEBZeroMemory(text, sizeof(text));
}

TEST(SecureStringUtilsTest, WipesMemoryThatNobodyReadsAfterwards) {
    const PlantedSecret secret(64);
    std::size_t foundWhileThere = 0;
    plantOnStackAndWipe(secret, foundWhileThere);
    EXPECT_EQ(1U, foundWhileThere);
    EXPECT_EQ(0U, countInOwnMemory(secret));
}

}  // namespace
}  // namespace zeb::test
