#include "common/ReadDecimal.h"

#include <cstdint>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace zeb::common::test {
namespace {

template <typename Integer>
Integer readByStream(const std::string& text) {
    std::istringstream stream(text);
    Integer number{};
    return stream >> number ? number : Integer{};
}

TEST(ReadDecimalTest, ReadsWhatAStreamReads) {
    static constexpr char ALPHABET[] = "0123456789999  \t\v+-x.";
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::size_t> character(0, sizeof(ALPHABET) - 2);
    std::uniform_int_distribution<std::size_t> length(0, 24);
    for (int round = 0; round < 50000; ++round) {
        std::string text(length(random), ' ');
        for (char& c : text) {
            c = ALPHABET[character(random)];
        }
        ASSERT_EQ(readByStream<std::int64_t>(text), readDecimal<std::int64_t>(text)) << text;
        if (text.find('-') == std::string::npos) {
            ASSERT_EQ(readByStream<unsigned int>(text), readDecimal<unsigned int>(text)) << text;
        }
    }
}

TEST(ReadDecimalTest, ReadsNoNegativeNumberIntoAnUnsignedOne) {
    EXPECT_EQ(0U, readDecimal<unsigned int>("-1"));
    EXPECT_EQ(0U, readDecimal<unsigned int>("-0"));
}

}  // namespace
}  // namespace zeb::common::test
