#include "common/StringUtils.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::common::test {
namespace {

using namespace std::string_literals;

TEST(StringUtilsTest, TrimCutsBothEndsAndLeavesTheMiddle) {
    EXPECT_EQ("a \t b", StringUtils::trim("  a \t b\r\n"));
    EXPECT_EQ("a", StringUtils::trim("a "));
    EXPECT_EQ("a", StringUtils::trim(" a"));
    EXPECT_EQ("a", StringUtils::trim("a"));
}

TEST(StringUtilsTest, TrimOfOnlyBlanksIsEmpty) {
    EXPECT_EQ("", StringUtils::trim("    "));
    EXPECT_EQ("", StringUtils::trim(" \t\n\v\f\r"));
    EXPECT_EQ("", StringUtils::trim(" "));
    EXPECT_EQ("", StringUtils::trim(""));
}

TEST(StringUtilsTest, TrimCutsTheBytes9To13And32AndNoOther) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const bool isSpace = (byte >= 9 && byte <= 13) || byte == 32;
        EXPECT_EQ(isSpace ? "x" : text + "x" + text, StringUtils::trim(text + "x" + text)) << byte;
    }
}

TEST(StringUtilsTest, TrimKeepsNulsAndWhatFollowsThem) {
    EXPECT_EQ("\0 a\0"s, StringUtils::trim(" \0 a\0 "s));
}

TEST(StringUtilsTest, TrimTakesTenMegabytes) {
    const std::string blanks(5 * 1000 * 1000, ' ');
    EXPECT_EQ("a", StringUtils::trim(blanks + "a" + blanks));
    EXPECT_EQ("", StringUtils::trim(blanks + blanks));
}

}  // namespace
}  // namespace zeb::common::test
