#include "cert/common/CertAcceptanceDecision.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

std::string printed(int value) {
    std::ostringstream stream;
    stream << static_cast<CertAcceptanceDecision::Decision>(value);
    return stream.str();
}

TEST(CertAcceptanceDecisionTest, EachValuePrintsAsItsName) {
    EXPECT_EQ(printed(0), "YES");
    EXPECT_EQ(printed(1), "NO");
    EXPECT_EQ(printed(2), "POLICY_ENFORCEMENT_ERROR");
    EXPECT_EQ(printed(3), "UNKNOWN");
}

TEST(CertAcceptanceDecisionTest, AnyOtherValuePrintsAsANumber) {
    EXPECT_EQ(printed(4), "Unexpected value (4)");
    EXPECT_EQ(printed(-1), "Unexpected value (-1)");
}

}  // namespace
}  // namespace zeb::cert::test
