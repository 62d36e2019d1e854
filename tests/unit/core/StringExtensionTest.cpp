#include "core/StringExtension.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::test {
namespace {

using testing::ElementsAre;

TEST(StringExtensionTest, ChangesTheCaseOfEachByte) {
    EXPECT_EQ("abc-123 xyz", StringExtension::stringToLower("AbC-123 xYz"));
    EXPECT_EQ("ABC-123 XYZ", StringExtension::stringToUpper("AbC-123 xYz"));
    EXPECT_EQ("", StringExtension::stringToLower(""));
    EXPECT_EQ("", StringExtension::stringToUpper(""));
}

TEST(StringExtensionTest, LeavesHighBytesAndNulsAlone) {
    const std::string text("\xC3\x84\0\xFF", 4);
    EXPECT_EQ(text, StringExtension::stringToLower(text));
    EXPECT_EQ(text, StringExtension::stringToUpper(text));
}

TEST(StringExtensionTest, SplitKeepsEmptyPieces) {
    EXPECT_THAT(StringExtension::split("a,b,,c", ","), ElementsAre("a", "b", "", "c"));
    EXPECT_THAT(StringExtension::split(",", ","), ElementsAre("", ""));
    EXPECT_THAT(StringExtension::split("a,", ","), ElementsAre("a", ""));
}

TEST(StringExtensionTest, SplitAlwaysGivesTheLastPiece) {
    EXPECT_THAT(StringExtension::split("", ","), ElementsAre(""));
    EXPECT_THAT(StringExtension::split("abc", ","), ElementsAre("abc"));
}

TEST(StringExtensionTest, SplitTakesSeparatorsOfSeveralCharacters) {
    EXPECT_THAT(StringExtension::split("a::b:c::::", "::"), ElementsAre("a", "b:c", "", ""));
    EXPECT_THAT(StringExtension::split("aaa", "aa"), ElementsAre("", "a"));
}

TEST(StringExtensionTest, AnEmptySeparatorSeparatesNothing) {
    EXPECT_THAT(StringExtension::split("abc", ""), ElementsAre("abc"));
}

TEST(StringExtensionTest, TheLongestPieceComesFirstAndEqualLengthsKeepTheirOrder) {
    EXPECT_THAT(StringExtension::splitAndSortByLength("bb,a,cc,dddd,,ee", ",", true),
                ElementsAre("dddd", "bb", "cc", "ee", "a", ""));
}

TEST(StringExtensionTest, TheShortestPieceComesFirstAndEqualLengthsKeepTheirOrder) {
    EXPECT_THAT(StringExtension::splitAndSortByLength("bb,a,cc,dddd,,ee", ",", false),
                ElementsAre("", "a", "bb", "cc", "ee", "dddd"));
}

// Enough of them that a sort which isn't stable would mix them up.
TEST(StringExtensionTest, ManyPiecesOfEqualLengthKeepTheirOrder) {
    std::vector<std::string> expected;
    std::string text = "long";
    for (int number = 100; number < 300; ++number) {
        expected.push_back(std::to_string(number));
        text += "," + expected.back();
    }
    expected.insert(expected.begin(), "long");
    EXPECT_EQ(expected, StringExtension::splitAndSortByLength(text, ",", true));
    std::rotate(expected.begin(), expected.begin() + 1, expected.end());
    EXPECT_EQ(expected, StringExtension::splitAndSortByLength(text, ",", false));
}

TEST(StringExtensionTest, ThePathExtensionIsTheTextBehindTheLastDot) {
    EXPECT_TRUE(StringExtension::hasPathExtension("/a/b.tar.gz", "gz"));
    EXPECT_FALSE(StringExtension::hasPathExtension("/a/b.tar.gz", "tar.gz"));
    EXPECT_FALSE(StringExtension::hasPathExtension("/a/b.tar.gz", "z"));
    EXPECT_FALSE(StringExtension::hasPathExtension("/a/b.tar.gz", "g"));
    EXPECT_FALSE(StringExtension::hasPathExtension("/a/b.gz", "GZ"));
    EXPECT_TRUE(StringExtension::hasPathExtension("a.", ""));
}

TEST(StringExtensionTest, APathWithoutADotHasNoExtension) {
    EXPECT_FALSE(StringExtension::hasPathExtension("gz", "gz"));
    EXPECT_FALSE(StringExtension::hasPathExtension("gz", ""));
    EXPECT_FALSE(StringExtension::hasPathExtension("", ""));
}

TEST(StringExtensionTest, APrefixStandsAtTheStart) {
    EXPECT_TRUE(StringExtension::hasPrefix("https://host", "https"));
    EXPECT_TRUE(StringExtension::hasPrefix("https", "https"));
    EXPECT_TRUE(StringExtension::hasPrefix("https", ""));
    EXPECT_TRUE(StringExtension::hasPrefix("", ""));
    EXPECT_FALSE(StringExtension::hasPrefix("http", "https"));
    EXPECT_FALSE(StringExtension::hasPrefix("x-https", "https"));
}

}  // namespace
}  // namespace zeb::test
