#include "http/ProxyBypassReader.h"
#include "support/LogCapture.h"

#include <string>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;

bool required(const std::string& list, const std::string& host) {
    return ProxyBypassReader(list).isProxyRequired(host);
}

std::string repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

class ProxyBypassReaderTest : public testing::Test {
protected:
    LogCapture log;
};

// --- the list

TEST_F(ProxyBypassReaderTest, TheListIsSplitAtSemicolonsCommasAndBlanks) {
    EXPECT_THAT(ProxyBypassReader("a.com;b.com, c.com").getBypassListTokens(),
                ElementsAre("a.com", "b.com", "c.com"));
}

TEST_F(ProxyBypassReaderTest, EmptyTokensDontArise) {
    EXPECT_THAT(ProxyBypassReader("").getBypassListTokens(), IsEmpty());
    EXPECT_THAT(ProxyBypassReader(" ;,, ;").getBypassListTokens(), IsEmpty());
    EXPECT_THAT(ProxyBypassReader(";; a ,,b;").getBypassListTokens(), ElementsAre("a", "b"));
}

TEST_F(ProxyBypassReaderTest, SplittingAnewGivesTheSameTokensOnce) {
    ProxyBypassReader reader("a;b");
    reader.setBypassListTokens();
    EXPECT_THAT(reader.getBypassListTokens(), ElementsAre("a", "b"));
}

TEST_F(ProxyBypassReaderTest, AnEmptyHostNeedsTheProxyAndIsSaid) {
    EXPECT_TRUE(required("*", ""));
    EXPECT_TRUE(log.contains("Hostname is empty, default to using the proxy"));
}

TEST_F(ProxyBypassReaderTest, WithAnEmptyListEveryHostNeedsTheProxyAndThatIsSaid) {
    EXPECT_TRUE(required(" ; ", "host"));
    EXPECT_TRUE(log.contains("Bypass List is empty, default to using the proxy"));
}

TEST_F(ProxyBypassReaderTest, AnyTokenMayMatch) {
    EXPECT_FALSE(required("x;y;b.com", "a.b.com"));
    EXPECT_TRUE(required("x;y;b.com", "a.c.com"));
    EXPECT_TRUE(log.contains("proxyRequired: 1"));
}

// --- by the end of the name

TEST_F(ProxyBypassReaderTest, ATokenMatchesTheNamesBelowIt) {
    EXPECT_FALSE(required("example.com", "a.example.com"));
    EXPECT_FALSE(required("example.com", "b.a.example.com"));
    EXPECT_FALSE(required("com", "example.com"));
    EXPECT_TRUE(log.contains("legacy wildcard match"));
    EXPECT_FALSE(log.contains("matched token: ")) << "by its end, not as a pattern";
}

TEST_F(ProxyBypassReaderTest, TheNameItselfMatchesAsAPatternOnly) {
    EXPECT_FALSE(required("example.com", "example.com"));
    EXPECT_TRUE(log.contains("legacy wildcard no match"));
    EXPECT_TRUE(log.contains(", matched token: example\\.com"));
}

TEST_F(ProxyBypassReaderTest, BeforeTheEndThereMustBeADot) {
    EXPECT_TRUE(required("example.com", "notexample.com"));
    EXPECT_TRUE(required("example.com", "a.example.com.org"));
    EXPECT_TRUE(required(".example.com", "a.example.com")) << "the character before is no dot";
    EXPECT_FALSE(required(".example.com", "a..example.com"));
}

TEST_F(ProxyBypassReaderTest, TheLastOccurrenceCounts) {
    EXPECT_FALSE(required("a.b", "a.b.a.b"));
    EXPECT_TRUE(required("a.b", "x.a.b.c"));
}

TEST_F(ProxyBypassReaderTest, CaseDoesNotMatter) {
    EXPECT_FALSE(required("EXAMPLE.com", "A.Example.COM"));
    EXPECT_FALSE(required("*.EXAMPLE.com", "A.Example.COM"));
}

TEST_F(ProxyBypassReaderTest, WhiteSpaceAroundATokenDoesNotCount) {
    EXPECT_FALSE(required("\texample.com\r\n", "a.example.com"));
}

// --- as a pattern

TEST_F(ProxyBypassReaderTest, AStarStandsForAnything) {
    EXPECT_FALSE(required("*.example.com", "a.example.com"));
    EXPECT_TRUE(required("*.example.com", "example.com"));
    EXPECT_FALSE(required("*", "anything.at.all"));
    EXPECT_FALSE(required("10.*.3", "10.1.2.3"));
    EXPECT_FALSE(required("*example*", "example"));
}

TEST_F(ProxyBypassReaderTest, ADotStandsForItself) {
    EXPECT_TRUE(required("a.c", "abc"));
}

TEST_F(ProxyBypassReaderTest, ThePatternIsForTheWholeName) {
    EXPECT_TRUE(required("host", "host1"));
    EXPECT_TRUE(required("host", "ahost"));
    EXPECT_FALSE(required("host", "host"));
}

TEST_F(ProxyBypassReaderTest, RegularExpressionsWork) {
    EXPECT_FALSE(required("host[0-9]", "host7"));
    EXPECT_TRUE(required("host[0-9]", "hosta"));
    EXPECT_FALSE(required("(a|b)+", "abba"));
    EXPECT_FALSE(required("x{2}", "xx"));
    EXPECT_TRUE(required("x{2}", "xxx"));
    EXPECT_FALSE(required("192.168.[0-9]+.[12]?", "192.168.20.1"));
}

TEST_F(ProxyBypassReaderTest, AnInvalidPatternIsSaidAndSkipped) {
    EXPECT_FALSE(required("[ho;host", "host"));
    EXPECT_TRUE(log.contains("Regex failed: [ho"));
    EXPECT_TRUE(required("[ho", "host"));
    EXPECT_FALSE(required("(;host", "host"));
}

TEST_F(ProxyBypassReaderTest, AnInvalidPatternStillMatchesByTheEnd) {
    EXPECT_FALSE(required("[ho", "a.[ho"));
}

// --- what a hostile list or name can do

TEST_F(ProxyBypassReaderTest, PatternsThatInviteBacktrackingEnd) {
    EXPECT_TRUE(required("*a*a*a*a*a*a*a*a*a*a*b", repeat("a", 1000)));
    EXPECT_TRUE(required("(a+)+b", repeat("a", 1000)));
    EXPECT_TRUE(required("((a|a)*)*b", repeat("a", 1000)));
    EXPECT_FALSE(required("(a+)+b", repeat("a", 1000) + "b"));
}

TEST_F(ProxyBypassReaderTest, AHostNameOf1024CharactersIsTheLongestThatAPatternMatches) {
    EXPECT_FALSE(required("*", repeat("a", 1024)));
    EXPECT_TRUE(required("*", repeat("a", 1025)));
    EXPECT_TRUE(required("*", repeat("a", 10000000)));
    EXPECT_FALSE(required("b.com", repeat("a", 10000000) + ".b.com")) << "its end is looked at all the same";
}

TEST_F(ProxyBypassReaderTest, APatternOf512CharactersIsTheLongest) {
    EXPECT_FALSE(required(repeat("a", 512), repeat("a", 512)));
    EXPECT_TRUE(required(repeat("a", 513), repeat("a", 513)));
    EXPECT_TRUE(required(repeat("(", 10000000), "host"));
    EXPECT_TRUE(required(repeat("*", 10000000), "host"));
    EXPECT_FALSE(required(repeat("*", 256), "host"));
}

TEST_F(ProxyBypassReaderTest, CountedRepetitionsAreBounded) {
    EXPECT_FALSE(required("[0-9]{1}.[0-9]{1}.[0-9]{1}.[0-9]{1}", "1.2.3.4"));
    EXPECT_FALSE(required("a{500}", repeat("a", 500)));
    EXPECT_TRUE(required("a{1000}", repeat("a", 1000)));
    EXPECT_TRUE(required("((((a?){99}){99}){99}){99}", "a"));
    EXPECT_TRUE(required("a{99999999999999999999999}", "a"));
    EXPECT_TRUE(required("a{99999999999999999999999", "a"));
}

TEST_F(ProxyBypassReaderTest, LookAheadsAndBackReferencesAreSaidAndSkipped) {
    EXPECT_TRUE(required("(?=a)a", "a"));
    EXPECT_TRUE(required("(?!b)a", "a"));
    EXPECT_TRUE(required("(a)\\1", "aa"));
    EXPECT_TRUE(required("(a)\\99999999999999999999", "aa"));
    EXPECT_EQ(log.count("Regex failed: "), 4U);
}

TEST_F(ProxyBypassReaderTest, DeeplyNestedGroupsAreMatched) {
    EXPECT_FALSE(required(repeat("(", 255) + "a" + repeat(")", 255), "a"));
}

TEST_F(ProxyBypassReaderTest, TheHostIsHiddenInTheLog) {
    EXPECT_FALSE(required("secret.example.com", "secret.example.com"));
    EXPECT_FALSE(log.contains("Host: secret.example.com"));
}

}  // namespace
}  // namespace zeb::http::test
