#include "http/OpenSSLOptions.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <openssl/ssl.h>

namespace zeb::http {
namespace {

constexpr long NO_SSL3 = 0x2000000;
constexpr long NO_TLS1 = 0x4000000;
constexpr long NO_TLS1_1 = 0x10000000;
constexpr long NO_TLS1_2 = 0x8000000;

struct Row {
    const char* testName;
    long mask;
    long disabled;
    const char* text;
};

class OpenSSLOptionsTest : public testing::TestWithParam<Row> {};

TEST_P(OpenSSLOptionsTest, DisablesWhatTheMaskDoesNotName) {
    EXPECT_EQ(GetParam().disabled, OpenSSLOptions::translateTlsVersions(GetParam().mask));
    EXPECT_EQ(NO_SSL3 | GetParam().disabled, OpenSSLOptions::getOptions(GetParam().mask));
}

TEST_P(OpenSSLOptionsTest, LogsTheTextUnlessItIsTheDefault) {
    const zeb::test::LogCapture log;
    const long options = OpenSSLOptions::getOptions(GetParam().mask);
    EXPECT_EQ(GetParam().text, OpenSSLOptions::toString(options));
    EXPECT_EQ(options == NO_SSL3 ? 0U : 1U, log.linesOf("zeb.http").size());
    EXPECT_EQ(options != NO_SSL3, log.contains(ZEBLOG_DEBUG, GetParam().text));
}

TEST_P(OpenSSLOptionsTest, OtherBitsOfTheMaskSayNothing) {
    EXPECT_EQ(GetParam().disabled, OpenSSLOptions::translateTlsVersions(GetParam().mask | 0x78L));
}

INSTANTIATE_TEST_SUITE_P(
    Masks, OpenSSLOptionsTest,
    testing::Values(
        Row{"Mask0DisablesAllThree", 0, NO_TLS1 | NO_TLS1_1 | NO_TLS1_2,
            "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1 SSL_OP_NO_TLSv1_1 SSL_OP_NO_TLSv1_2"},
        Row{"Mask1", 1, NO_TLS1_1 | NO_TLS1_2,
            "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1_1 SSL_OP_NO_TLSv1_2"},
        Row{"Mask2", 2, NO_TLS1 | NO_TLS1_2,
            "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1 SSL_OP_NO_TLSv1_2"},
        Row{"Mask3", 3, NO_TLS1_2, "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1_2"},
        Row{"Mask4", 4, NO_TLS1 | NO_TLS1_1,
            "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1 SSL_OP_NO_TLSv1_1"},
        Row{"Mask5", 5, NO_TLS1_1, "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1_1"},
        Row{"Mask6", 6, NO_TLS1, "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1"},
        Row{"Mask7IsExactlyTheDefault", 7, 0, "OpenSSL Options: SSL_OP_NO_SSLv3"}),
    [](const auto& row) { return row.param.testName; });

TEST(OpenSSLOptionsDefaultTest, DisablesSsl3Alone) {
    EXPECT_EQ(NO_SSL3, OpenSSLOptions::getDefaultOptions());
}

TEST(OpenSSLOptionsDefaultTest, TheBitsAreThoseOfOpenSsl) {
    EXPECT_EQ(NO_SSL3, static_cast<long>(SSL_OP_NO_SSLv3));
    EXPECT_EQ(NO_TLS1, static_cast<long>(SSL_OP_NO_TLSv1));
    EXPECT_EQ(NO_TLS1_1, static_cast<long>(SSL_OP_NO_TLSv1_1));
    EXPECT_EQ(NO_TLS1_2, static_cast<long>(SSL_OP_NO_TLSv1_2));
}

TEST(OpenSSLOptionsDefaultTest, TheTextOfOtherBitsIsEmpty) {
    EXPECT_EQ("OpenSSL Options:", OpenSSLOptions::toString(1));
}

}  // namespace
}  // namespace zeb::http
