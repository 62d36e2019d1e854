#include "support/LogCapture.h"
#include "version/Version.h"
#include "zeblogger/ZEBLogger.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::version::test {
namespace {

using zeb::test::LogCapture;

std::vector<std::string> linesOf(const std::string& banner) {
    std::vector<std::string> lines;
    std::istringstream stream(banner);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(VersionTest, TheBannerIsFramedAndHasOneLinePerField) {
    using testing::MatchesRegex;
    EXPECT_THAT(linesOf(Version::printVersion(false)),
                testing::ElementsAre("", "*--------------------------------------*", "|\t\tZEB NetUtils",
                                     MatchesRegex("\\|\tBranch:             [^ ].*"),
                                     MatchesRegex("\\|\tCommit:             [0-9a-z]+"),
                                     MatchesRegex("\\|\tMajor Version:      [0-9]+"),
                                     MatchesRegex("\\|\tMinor Version:      [0-9]+"),
                                     MatchesRegex("\\|\tBuild Version:      [0-9]+"),
                                     MatchesRegex("\\|\tBuild Time:         .+"),
                                     "*--------------------------------------*"));
}

TEST(VersionTest, EveryLineButTheLastRuleEndsInANewline) {
    const std::string banner = Version::printVersion(false);
    EXPECT_EQ('\n', banner.front());
    EXPECT_EQ('*', banner.back());
}

TEST(VersionTest, WithLogTheBannerIsWrittenAtInformationLevelEachTime) {
    const LogCapture log;
    const std::string banner = Version::printVersion(true);
    EXPECT_EQ(banner, Version::printVersion(true));
    EXPECT_THAT(log.linesOf("zeb.netutils.version"), testing::ElementsAre(banner, banner));
    EXPECT_EQ(ZEBLOG_INFO, log.lines().front().level);
}

TEST(VersionTest, WithoutLogNothingIsWritten) {
    const LogCapture log;
    Version::printVersion(false);
    EXPECT_TRUE(log.lines().empty());
}

TEST(VersionDeathTest, OnlyTheFirstCallWithoutArgumentLogs) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const LogCapture log;
            Version::printVersion(false);
            Version::printVersion(true);
            const std::string first = Version::printVersion();
            const std::string second = Version::printVersion();
            const bool good = first == second && log.lines().size() == 2;
            std::exit(good ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zeb::version::test
