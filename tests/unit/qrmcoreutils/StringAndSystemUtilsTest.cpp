#include "qrmcoreutils/QRMCoreUtils.h"
#include "version/Version.h"

#include <chrono>
#include <limits>
#include <sstream>
#include <string>
#include <thread>

#include <gmock/gmock.h>

namespace QRMCoreUtils {
namespace {

TEST(StringUtilsTest, LettersCompareWithoutCase) {
    EXPECT_TRUE(caseInsensitiveStringEquals("", ""));
    EXPECT_TRUE(caseInsensitiveStringEquals("Content-TYPE", "content-type"));
    EXPECT_FALSE(caseInsensitiveStringEquals("a", "ab"));
    EXPECT_FALSE(caseInsensitiveStringEquals("ab", "a"));
    EXPECT_FALSE(caseInsensitiveStringEquals("a", "b"));
}

TEST(StringUtilsTest, NeighboursOfTheLettersAreNotFolded) {
    EXPECT_FALSE(caseInsensitiveStringEquals("@", "`"));
    EXPECT_FALSE(caseInsensitiveStringEquals("[", "{"));
    EXPECT_FALSE(caseInsensitiveStringEquals("\xC4", "\xE4"));
}

TEST(StringUtilsTest, UppercaseTouchesTheLettersOnly) {
    EXPECT_EQ("", toUppercase(""));
    EXPECT_EQ("AZAZ09-`{\xE4", toUppercase("azAZ09-`{\xE4"));
    EXPECT_EQ(std::string("A\0B", 3), toUppercase(std::string("a\0b", 3)));
}

TEST(StringUtilsTest, StartsWithItsPrefix) {
    EXPECT_TRUE(startsWith("abc", "ab"));
    EXPECT_TRUE(startsWith("abc", "abc"));
    EXPECT_TRUE(startsWith("abc", ""));
    EXPECT_TRUE(startsWith("", ""));
    EXPECT_FALSE(startsWith("abc", "abcd"));
    EXPECT_FALSE(startsWith("abc", "bc"));
    EXPECT_FALSE(startsWith("abc", "AB"));
}

TEST(StringUtilsTest, ANumberIsReadFromTheBeginning) {
    EXPECT_EQ(42, toLong("42"));
    EXPECT_EQ(-42, toLong(" -42 apples"));
    EXPECT_EQ(10, toLong("010"));
    EXPECT_EQ(0, toLong("0x10"));
}

TEST(StringUtilsTest, NoNumberIsZero) {
    EXPECT_EQ(0, toLong(""));
    EXPECT_EQ(0, toLong("apples 3"));
}

TEST(StringUtilsTest, ANumberOutOfRangeIsTheNearestBound) {
    EXPECT_EQ(std::numeric_limits<long>::max(), toLong("99999999999999999999999"));
    EXPECT_EQ(std::numeric_limits<long>::min(), toLong("-99999999999999999999999"));
}

TEST(StringUtilsTest, ToStringIsTheStreamForm) {
    EXPECT_EQ("-7", toString(-7));
    EXPECT_EQ("text", toString("text"));
}

TEST(TimeUtilsTest, TheTimeIsThatOfTheSystemClock) {
    const auto now = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
    const std::int64_t before = now();
    const std::int64_t asked = TimeUtils::getCurrentTimeInSeconds();
    EXPECT_LE(before, asked);
    EXPECT_LE(asked, now());
}

class UserAgentTest : public testing::Test {
protected:
    ~UserAgentTest() override { SystemUtils::setHttpUserAgent(""); }
};

TEST_F(UserAgentTest, HasADefaultWithTheVersionOfTheBuild) {
    const std::string agent = SystemUtils::getHttpUserAgent();
    ASSERT_THAT(agent, testing::MatchesRegex("zebnetutils/[0-9]+\\.[0-9]+\\.[0-9]+"));
    std::string version;
    std::istringstream banner(zeb::version::Version::printVersion(false));
    for (std::string line; std::getline(banner, line);) {
        if (line.find("Version:") != std::string::npos) {
            version += '.' + line.substr(line.rfind(' ') + 1);
        }
    }
    EXPECT_EQ("zebnetutils/" + version.substr(1), agent);
}

TEST_F(UserAgentTest, IsTheHostsChoice) {
    SystemUtils::setHttpUserAgent("Client/7");
    EXPECT_EQ("Client/7", SystemUtils::getHttpUserAgent());
}

TEST_F(UserAgentTest, AnEmptyTextBringsTheDefaultBack) {
    const std::string before = SystemUtils::getHttpUserAgent();
    SystemUtils::setHttpUserAgent("Client/7");
    SystemUtils::setHttpUserAgent("");
    EXPECT_EQ(before, SystemUtils::getHttpUserAgent());
}

TEST_F(UserAgentTest, MayBeReadWhileItIsSet) {
    std::thread setter([] {
        for (int round = 0; round < 1000; ++round) {
            SystemUtils::setHttpUserAgent("a user agent too long for the small buffer of a string");
        }
    });
    for (int round = 0; round < 1000; ++round) {
        EXPECT_NE("", SystemUtils::getHttpUserAgent());
    }
    setter.join();
}

}  // namespace
}  // namespace QRMCoreUtils
