#include "cert/common/CertKeyUsageResult.h"
#include "support/Printed.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

std::string print(int number) {
    return printed(static_cast<CertKeyUsageResult::Result>(number));
}

TEST(CertKeyUsageResultTest, EveryResultHasItsNumberAndItsText) {
    EXPECT_EQ(print(0), "SUCCESS");
    EXPECT_EQ(print(1), "NO_MATCHING_BASIC_KEY_USAGE_FOUND");
    EXPECT_EQ(print(2), "NO_MATCHING_EXTENDED_KEY_USAGE_FOUND");
    EXPECT_EQ(print(3), "INTERNAL_ERROR");
    EXPECT_EQ(CertKeyUsageResult::SUCCESS, 0);
    EXPECT_EQ(CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND, 1);
    EXPECT_EQ(CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND, 2);
    EXPECT_EQ(CertKeyUsageResult::INTERNAL_ERROR, 3);
}

TEST(CertKeyUsageResultTest, AnUnknownResultPrintsAsUnexpected) {
    EXPECT_EQ(print(4), "Unexpected value (4)");
    EXPECT_EQ(print(-1), "Unexpected value (-1)");
}

}  // namespace
}  // namespace zeb::cert::test
