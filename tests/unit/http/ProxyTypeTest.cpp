#include "http/ProxyType.h"
#include "support/Printed.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::printed;

template <typename T>
std::string print(int number) {
    return printed(static_cast<T>(number));
}

TEST(ProxyTypeTest, EveryTypeHasItsNumberAndItsText) {
    EXPECT_EQ(print<ProxyType::Type>(0), "HTTP");
    EXPECT_EQ(print<ProxyType::Type>(1), "HTTP 1.0");
    EXPECT_EQ(print<ProxyType::Type>(2), "SOCKS 4");
    EXPECT_EQ(print<ProxyType::Type>(3), "SOCKS 4A");
    EXPECT_EQ(print<ProxyType::Type>(4), "SOCKS 5");
    EXPECT_EQ(print<ProxyType::Type>(5), "SOCKS 5 HOSTNAME");
    EXPECT_EQ(ProxyType::HTTP, 0);
    EXPECT_EQ(ProxyType::HTTP_1_0, 1);
    EXPECT_EQ(ProxyType::SOCKS_4, 2);
    EXPECT_EQ(ProxyType::SOCKS_4A, 3);
    EXPECT_EQ(ProxyType::SOCKS_5, 4);
    EXPECT_EQ(ProxyType::SOCKS_5_HOSTNAME, 5);
}

TEST(ProxyTypeTest, EverySchemeHasItsNumberAndItsText) {
    EXPECT_EQ(print<ProxyAuthentication::Type>(0), "ANY");
    EXPECT_EQ(print<ProxyAuthentication::Type>(1), "BASIC");
    EXPECT_EQ(print<ProxyAuthentication::Type>(2), "DIGEST");
    EXPECT_EQ(print<ProxyAuthentication::Type>(3), "NTLM");
    EXPECT_EQ(print<ProxyAuthentication::Type>(4), "NEGOTIATE");
    EXPECT_EQ(ProxyAuthentication::ANY, 0);
    EXPECT_EQ(ProxyAuthentication::BASIC, 1);
    EXPECT_EQ(ProxyAuthentication::DIGEST, 2);
    EXPECT_EQ(ProxyAuthentication::NTLM, 3);
    EXPECT_EQ(ProxyAuthentication::NEGOTIATE, 4);
}

TEST(ProxyTypeTest, AnUnknownValuePrintsAsItsNumber) {
    EXPECT_EQ(print<ProxyType::Type>(6), "6");
    EXPECT_EQ(print<ProxyAuthentication::Type>(5), "5");
}

}  // namespace
}  // namespace zeb::http::test
