#include "common/Cookie.h"
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "zeblogger/ZEBLogger.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::common::test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using zeb::test::LogCapture;

const std::string LINE = "#HttpOnly_.example.test\tTRUE\t/path\tFALSE\t1900000000\tX-Auth\tc2VjcmV0";

std::string lineWith(std::size_t field, const std::string& text) {
    std::vector<std::string> fields{".example.test", "TRUE", "/", "TRUE", "1900000000", "name", "value"};
    fields.at(field) = text;
    std::string line = fields.front();
    for (std::size_t i = 1; i < fields.size(); ++i) {
        line += '\t' + fields[i];
    }
    return line;
}

void expectFresh(const Cookie& cookie) {
    EXPECT_TRUE(cookie.isEmpty());
    EXPECT_EQ("", cookie.getRawFormat());
    EXPECT_EQ("", cookie.getName());
    EXPECT_EQ("", cookie.getValue());
    EXPECT_EQ("", cookie.getDomain());
    EXPECT_EQ("", cookie.getPath());
    EXPECT_FALSE(cookie.isTailMatchAllowed());
    EXPECT_FALSE(cookie.isSecureConnectionRequired());
    EXPECT_EQ(0, cookie.getExpirationDate());
}

// The fields

TEST(CookieTest, IsEmptyByDefault) {
    expectFresh(Cookie());
}

TEST(CookieTest, TakesEachFieldOfALine) {
    const Cookie cookie(LINE);
    EXPECT_FALSE(cookie.isEmpty());
    EXPECT_EQ(LINE, cookie.getRawFormat());
    EXPECT_EQ(".example.test", cookie.getDomain());
    EXPECT_TRUE(cookie.isTailMatchAllowed());
    EXPECT_EQ("/path", cookie.getPath());
    EXPECT_FALSE(cookie.isSecureConnectionRequired());
    EXPECT_EQ(1900000000, cookie.getExpirationDate());
    EXPECT_EQ("X-Auth", cookie.getName());
    EXPECT_EQ("c2VjcmV0", cookie.getValue());
}

TEST(CookieTest, KeepsEmptyFieldsInTheMiddle) {
    const Cookie cookie("\t\t\t\t\t\tvalue");
    EXPECT_FALSE(cookie.isEmpty());
    EXPECT_EQ("", cookie.getDomain());
    EXPECT_EQ("", cookie.getPath());
    EXPECT_EQ("", cookie.getName());
    EXPECT_EQ("value", cookie.getValue());
    EXPECT_FALSE(cookie.isTailMatchAllowed());
    EXPECT_FALSE(cookie.isSecureConnectionRequired());
    EXPECT_EQ(0, cookie.getExpirationDate());
}

TEST(CookieTest, IgnoresFieldsBehindTheSeventhButInTheRawFormat) {
    const std::string line = LINE + "\teighth\tninth";
    const Cookie cookie(line);
    EXPECT_EQ("c2VjcmV0", cookie.getValue());
    EXPECT_EQ(line, cookie.getRawFormat());
}

TEST(CookieTest, HasAnEmptyValueWhenAnEighthFieldFollowsIt) {
    const Cookie cookie(lineWith(6, "\teighth"));
    EXPECT_FALSE(cookie.isEmpty());
    EXPECT_EQ("", cookie.getValue());
    EXPECT_EQ("name", cookie.getName());
}

TEST(CookieTest, KeepsALineBreakAtTheEndInTheValue) {
    EXPECT_EQ("value\n", Cookie(lineWith(6, "value\n")).getValue());
}

// Refused lines

void expectRefusedWithCount(const std::string& line, const std::string& count) {
    const LogCapture log;
    expectFresh(Cookie(line));
    EXPECT_THAT(log.lines(), SizeIs(1));
    EXPECT_THAT(log.linesOf("zeb.common"),
                ElementsAre("Unexpected number of tokens in cookie raw format : " + count));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, count));
}

TEST(CookieTest, ALineOfSixFieldsIsRefusedAndTheirCountLogged) {
    expectRefusedWithCount("a\tTRUE\t/\tTRUE\t0\tname", "6");
}

TEST(CookieTest, ALineThatEndsInATabBehindTheNameIsRefused) {
    expectRefusedWithCount("a\tTRUE\t/\tTRUE\t0\tname\t", "6");
}

TEST(CookieTest, AnEmptyLineHasNoFieldAndATabAloneOne) {
    expectRefusedWithCount("", "0");
    expectRefusedWithCount("\t", "1");
    expectRefusedWithCount("\t\t\t\t\t\t", "6");
    expectRefusedWithCount("no tab at all", "1");
}

TEST(CookieTest, ARefusedLineLeavesTheCookieAsItWas) {
    Cookie cookie(LINE);
    cookie.parse("a\tb");
    EXPECT_EQ(Cookie(LINE), cookie);
    EXPECT_EQ("c2VjcmV0", cookie.getValue());
    EXPECT_EQ(1900000000, cookie.getExpirationDate());
}

TEST(CookieTest, NeitherALineTakenNorALineRefusedShowsItsTextInTheLog) {
    const LogCapture log;
    Cookie cookie("a\tTRUE\t/\tTRUE\t0\ttopsecret");
    cookie.parse(lineWith(6, "topsecret"));
    EXPECT_FALSE(log.contains("secret"));
}

TEST(CookieTest, ASecondLineReplacesEveryFieldOfTheFirst) {
    Cookie cookie(LINE);
    cookie.parse("b.test\tFALSE\t/b\tTRUE\tx\tsession\tv");
    EXPECT_EQ("b.test", cookie.getDomain());
    EXPECT_FALSE(cookie.isTailMatchAllowed());
    EXPECT_EQ("/b", cookie.getPath());
    EXPECT_TRUE(cookie.isSecureConnectionRequired());
    EXPECT_EQ(0, cookie.getExpirationDate());
    EXPECT_EQ("session", cookie.getName());
    EXPECT_EQ("v", cookie.getValue());
    EXPECT_EQ("b.test\tFALSE\t/b\tTRUE\tx\tsession\tv", cookie.getRawFormat());
}

// The domain

TEST(CookieTest, CutsTheHttpOnlyMarkFromTheDomainAndKeepsItInTheRawFormat) {
    const std::string line = lineWith(0, "#HttpOnly_example.test");
    const Cookie cookie(line);
    EXPECT_EQ("example.test", cookie.getDomain());
    EXPECT_EQ(line, cookie.getRawFormat());
}

TEST(CookieTest, HasAnEmptyDomainWhenTheMarkIsAllThereIs) {
    EXPECT_EQ("", Cookie(lineWith(0, "#HttpOnly_")).getDomain());
}

TEST(CookieTest, LooksForTheMarkAnywhereAndCutsTenCharactersAtTheStart) {
    EXPECT_EQ("y_", Cookie(lineWith(0, "ab#HttpOnly_")).getDomain());
    EXPECT_EQ("#HttpOnly_a", Cookie(lineWith(0, "#HttpOnly_#HttpOnly_a")).getDomain());
}

TEST(CookieTest, KeepsADomainWithAMarkInAnotherCase) {
    EXPECT_EQ("#httponly_a", Cookie(lineWith(0, "#httponly_a")).getDomain());
}

// The flags

TEST(CookieTest, AFlagInMixedCaseReadsLikeTrue) {
    for (const char* text : {"TRUE", "true", "tRuE", "True"}) {
        EXPECT_TRUE(Cookie(lineWith(1, text)).isTailMatchAllowed()) << text;
        EXPECT_TRUE(Cookie(lineWith(3, text)).isSecureConnectionRequired()) << text;
    }
}

TEST(CookieTest, AFlagWithAnyOtherTextIsFalse) {
    for (const std::string& text : {"FALSE"s, "false"s, ""s, "1"s, "yes"s, "TRU"s, "TRUEX"s, " TRUE"s,
                                    "TRUE "s, "\xF4RUE"s, "TRUE\0"s}) {
        EXPECT_FALSE(Cookie(lineWith(1, text)).isTailMatchAllowed()) << text;
        EXPECT_FALSE(Cookie(lineWith(3, text)).isSecureConnectionRequired()) << text;
    }
}

// The expiration

std::int64_t expirationOf(const std::string& text) {
    return Cookie(lineWith(4, text)).getExpirationDate();
}

TEST(CookieTest, AnExpirationReadsAsANumberOf64Bits) {
    EXPECT_EQ(0, expirationOf("0"));
    EXPECT_EQ(1900000000, expirationOf("1900000000"));
    EXPECT_EQ(4294967297, expirationOf("4294967297"));
    EXPECT_EQ(-5, expirationOf("-5"));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), expirationOf("9223372036854775807"));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), expirationOf("-9223372036854775808"));
}

TEST(CookieTest, AnExpirationThatIsNoNumberReadsAs0) {
    for (const char* text : {"", " ", "x", "x12", "+", "-", "+-5", "--5", "9223372036854775808",
                             "99999999999999999999999", "-9223372036854775809", "\xB2"}) {
        EXPECT_EQ(0, expirationOf(text)) << text;
    }
}

TEST(CookieTest, AnExpirationIsReadAsAStreamReadsIt) {
    EXPECT_EQ(12, expirationOf("12abc"));
    EXPECT_EQ(12, expirationOf(" \v12"));
    EXPECT_EQ(12, expirationOf("+12"));
    EXPECT_EQ(1, expirationOf("1.9"));
    EXPECT_EQ(0, expirationOf("0x10"));
}

TEST(CookieTest, AnExpirationOfTenMillionDigitsReadsAs0) {
    EXPECT_EQ(0, expirationOf(std::string(10 * 1000 * 1000, '9')));
}

// Copies and comparison

TEST(CookieTest, IsEqualToACookieOfTheSameLineOnly) {
    EXPECT_EQ(Cookie(LINE), Cookie(LINE));
    EXPECT_EQ(Cookie(), Cookie());
    EXPECT_NE(Cookie(), Cookie(LINE));
    EXPECT_NE(Cookie(LINE), Cookie(LINE + "\teighth"));
}

TEST(CookieTest, WithTheSameNameAndAnotherLineIsNotEqual) {
    EXPECT_NE(Cookie(lineWith(6, "a")), Cookie(lineWith(6, "b")));
    EXPECT_NE(Cookie(lineWith(1, "TRUE")), Cookie(lineWith(1, "true")));
    EXPECT_NE(Cookie(lineWith(6, "a\0b"s)), Cookie(lineWith(6, "a\0c"s)));
}

TEST(CookieTest, ComparingTwiceGivesTheSameAnswer) {
    const Cookie left(LINE);
    const Cookie right(LINE);
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(left == right);
    EXPECT_EQ(LINE, left.getRawFormat());
}

TEST(CookieTest, ACopyKeepsItsValueWhenTheOriginalTakesAnotherLine) {
    Cookie original(LINE);
    const Cookie copy(original);
    Cookie assigned;
    assigned = original;
    original.parse(lineWith(6, "other"));
    EXPECT_EQ("other", original.getValue());
    EXPECT_EQ("c2VjcmV0", copy.getValue());
    EXPECT_EQ(LINE, assigned.getRawFormat());
}

// Hostile input

TEST(CookieTest, ANulIsPartOfItsField) {
    const std::string line = "a\0b\tTRUE\t/\0\tTRUE\t0\tn\0m\tv\0w"s;
    const Cookie cookie(line);
    EXPECT_EQ("a\0b"s, cookie.getDomain());
    EXPECT_EQ("n\0m"s, cookie.getName());
    EXPECT_EQ("v\0w"s, cookie.getValue());
    EXPECT_EQ(line, cookie.getRawFormat());
}

TEST(CookieTest, TheByteFFIsPartOfItsField) {
    const std::string line = "\xFF\tTRUE\t/\xFF\tTRUE\t0\tn\xFF\tv\xFF";
    const Cookie cookie(line);
    EXPECT_EQ("\xFF", cookie.getDomain());
    EXPECT_EQ("/\xFF", cookie.getPath());
    EXPECT_EQ("n\xFF", cookie.getName());
    EXPECT_EQ("v\xFF", cookie.getValue());
    EXPECT_EQ(line, cookie.getRawFormat());
}

TEST(CookieTest, TakesALineThatItGaveItself) {
    Cookie cookie(LINE);
    cookie.parse(cookie.getRawFormat());
    EXPECT_EQ(Cookie(LINE), cookie);
    EXPECT_EQ("X-Auth", cookie.getName());
}

TEST(CookieTest, TenMegabytesOfTabsAreCountedAndSplitWithoutAListOfThem) {
    const std::string tabs(10 * 1000 * 1000, '\t');
    const zeb::test::AllocationCounter allocations;
    Cookie cookie(tabs);
    EXPECT_FALSE(cookie.isEmpty());
    EXPECT_EQ("", cookie.getValue());
    EXPECT_LT(allocations.bytes(), 3 * tabs.size());
}

TEST(CookieTest, AValueOfTenMegabytesIsKept) {
    const std::string value(10 * 1000 * 1000, '\xFF');
    EXPECT_EQ(value, Cookie(lineWith(6, value)).getValue());
}

}  // namespace
}  // namespace zeb::common::test
