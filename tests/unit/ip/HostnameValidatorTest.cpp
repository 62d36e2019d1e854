#include "ip/HostnameValidator.h"
#include "support/LogCapture.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::ip::test {
namespace {

TEST(HostnameValidatorTest, APlainNameAndAnIpv4AddressAreValid) {
    EXPECT_TRUE(HostnameValidator::isValidHostname("host"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("a.example.com"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("10.1.2.3"));
}

TEST(HostnameValidatorTest, AnIpv6AddressIsValidAndInBracketsItIsNot) {
    EXPECT_TRUE(HostnameValidator::isValidHostname("::1"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("2001:db8::1"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("[::1]"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("[::1]:8443"));
}

TEST(HostnameValidatorTest, AnEmptyTextIsInvalidAndNothingIsLogged) {
    const zeb::test::LogCapture log;
    EXPECT_FALSE(HostnameValidator::isValidHostname(""));
    EXPECT_TRUE(log.lines().empty());
}

TEST(HostnameValidatorTest, ASchemeMakesItInvalid) {
    EXPECT_FALSE(HostnameValidator::isValidHostname("https://host"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("https://"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("://"));
}

TEST(HostnameValidatorTest, APathMakesItInvalid) {
    EXPECT_FALSE(HostnameValidator::isValidHostname("host/"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("host/a?b"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("/"));
}

TEST(HostnameValidatorTest, APortMakesItInvalid) {
    EXPECT_FALSE(HostnameValidator::isValidHostname("host:80"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("host:"));
    EXPECT_FALSE(HostnameValidator::isValidHostname("10.1.2.3:80"));
    EXPECT_FALSE(HostnameValidator::isValidHostname(":"));
}

TEST(HostnameValidatorTest, NeitherCharactersNorLengthsAreChecked) {
    using namespace std::string_literals;
    EXPECT_TRUE(HostnameValidator::isValidHostname("host?query"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("no host at all"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("-.."));
    EXPECT_TRUE(HostnameValidator::isValidHostname("\xFF"));
    EXPECT_TRUE(HostnameValidator::isValidHostname("a\0b"s));
    EXPECT_TRUE(HostnameValidator::isValidHostname(std::string(10 * 1000 * 1000, 'a')));
}

}  // namespace
}  // namespace zeb::ip::test
