#include "cert/common/CertKeyStrengthResult.h"
#include "support/Printed.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

std::string print(int number) {
    return printed(static_cast<CertKeyStrengthResult::Result>(number));
}

TEST(CertKeyStrengthResultTest, EveryResultHasItsNumberAndItsText) {
    EXPECT_EQ(print(0), "SUCCESS");
    EXPECT_EQ(print(1), "FAILURE");
    EXPECT_EQ(print(2), "INTERNAL_ERROR");
    EXPECT_EQ(CertKeyStrengthResult::SUCCESS, 0);
    EXPECT_EQ(CertKeyStrengthResult::FAILURE, 1);
    EXPECT_EQ(CertKeyStrengthResult::INTERNAL_ERROR, 2);
}

TEST(CertKeyStrengthResultTest, AnUnknownResultPrintsAsUnexpected) {
    EXPECT_EQ(print(3), "Unexpected value (3)");
    EXPECT_EQ(print(-1), "Unexpected value (-1)");
}

}  // namespace
}  // namespace zeb::cert::test
