#include "common/EmailAddressParser.h"
#include "support/LogCapture.h"
#include "zeblogger/ZEBLogger.h"

#include <string>

#include <gmock/gmock.h>

namespace zeb::common::test {
namespace {

using ::testing::ElementsAre;
using zeb::test::LogCapture;

void expectParts(const std::string& address, const std::string& username, const std::string& domain) {
    const EmailAddressParser parser(address);
    EXPECT_EQ(username, parser.getUsername());
    EXPECT_EQ(domain, parser.getDomain());
}

TEST(EmailAddressParserTest, SplitsAtTheAtWithoutAWarning) {
    const LogCapture log;
    expectParts("alice@example.test", "alice", "example.test");
    EXPECT_TRUE(log.lines().empty());
}

TEST(EmailAddressParserTest, SplitsAtTheLastOfTwoAtsAndKeepsTheFirstInTheUsername) {
    expectParts("alice@work@example.test", "alice@work", "example.test");
}

TEST(EmailAddressParserTest, HasAnEmptyPartWhereTheAtStandsAtAnEnd) {
    const LogCapture log;
    expectParts("alice@", "alice", "");
    expectParts("@example.test", "", "example.test");
    expectParts("@", "", "");
    EXPECT_TRUE(log.lines().empty());
}

TEST(EmailAddressParserTest, TakesATextWithoutAnAtForTheUsernameAndWarns) {
    const LogCapture log;
    expectParts("alice", "alice", "");
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre("Malformed Email Address."));
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING, "Malformed"));
}

TEST(EmailAddressParserTest, WarnsOfAnEmptyAddress) {
    const LogCapture log;
    expectParts("", "", "");
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre("Email Address is blank."));
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING, "blank"));
}

TEST(EmailAddressParserTest, TakesAnyBytes) {
    using namespace std::string_literals;
    expectParts("a\0b@\xFF"s, "a\0b"s, "\xFF");
    expectParts(std::string(10 * 1000 * 1000, '@'), std::string(10 * 1000 * 1000 - 1, '@'), "");
}

}  // namespace
}  // namespace zeb::common::test
