#include "cert/common/CertAcceptanceDecision.h"
#include "support/Printed.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

std::string printedDecision(int value) {
    return printed(static_cast<CertAcceptanceDecision::Decision>(value));
}

TEST(CertAcceptanceDecisionTest, EachValuePrintsAsItsName) {
    EXPECT_EQ(printedDecision(0), "YES");
    EXPECT_EQ(printedDecision(1), "NO");
    EXPECT_EQ(printedDecision(2), "POLICY_ENFORCEMENT_ERROR");
    EXPECT_EQ(printedDecision(3), "UNKNOWN");
}

TEST(CertAcceptanceDecisionTest, AnyOtherValuePrintsAsANumber) {
    EXPECT_EQ(printedDecision(4), "Unexpected value (4)");
    EXPECT_EQ(printedDecision(-1), "Unexpected value (-1)");
}

}  // namespace
}  // namespace zeb::cert::test
