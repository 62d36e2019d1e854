#include "cert/common/CertStatus.h"
#include "support/Printed.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

TEST(CertStatusTest, EachValuePrintsAsItsName) {
    const std::vector<std::string> names = {"VALID",
                                            "INVALID_REVOKED",
                                            "INTERNAL_ERROR",
                                            "BASIC_CONSTRAINTS",
                                            "NO_REVOCATION_CHECK",
                                            "REVOCATION_OFFLINE",
                                            "UNTRUSTED_ROOT",
                                            "INVALID_SIGNATURE",
                                            "INVALID_CHAIN",
                                            "CN_NO_MATCH",
                                            "WRONG_USAGE",
                                            "EXPIRED",
                                            "INVALID_NAME",
                                            "INVALID_POLICY",
                                            "FAILED_TO_VERIFY_XMPP_SUBJECT_ALT_NAME",
                                            "REVOCATION_STATUS_UNKNOWN",
                                            "INVALID_EXTENSION",
                                            "CTL_IS_NOT_VALID",
                                            "INVALID_NAME_CONSTRAINT",
                                            "POLICY_NO_ISSUANCE",
                                            "EXPLICIT_DISTRUST",
                                            "NOT_SUPPORTED_CRITICAL_EXT",
                                            "IS_PARTIAL_CHAIN",
                                            "CERT_TRUST_CYCLIC",
                                            "NO_TIME_VALID",
                                            "WEAK_KEY",
                                            "UNKNOWN"};
    for (std::size_t value = 0; value < names.size(); ++value) {
        EXPECT_EQ(printed(static_cast<CertStatus::Status>(value)), names[value]);
    }
}

TEST(CertStatusTest, AnyOtherValuePrintsAsANumber) {
    EXPECT_EQ(printed(static_cast<CertStatus::Status>(27)), "Unexpected value (27)");
    EXPECT_EQ(printed(static_cast<CertStatus::Status>(-1)), "Unexpected value (-1)");
}

TEST(CertStatusTest, ASetPrintsItsNamesInBracketsWithOneBlankBetween) {
    using Statuses = std::set<CertStatus::Status>;
    EXPECT_EQ(printed(Statuses{}), "[]");
    EXPECT_EQ(printed(Statuses{CertStatus::EXPIRED}), "[EXPIRED]");
    EXPECT_EQ(printed(Statuses{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH, CertStatus::WEAK_KEY}),
              "[CN_NO_MATCH WEAK_KEY UNKNOWN]");
}

TEST(CertStatusTest, OnlyNothingAndExactlyValidRepresentSuccess) {
    EXPECT_TRUE(CertStatus::representsVerificationSuccess({}));
    EXPECT_TRUE(CertStatus::representsVerificationSuccess({CertStatus::VALID}));
    EXPECT_FALSE(CertStatus::representsVerificationSuccess({CertStatus::EXPIRED}));
    EXPECT_FALSE(CertStatus::representsVerificationSuccess({CertStatus::VALID, CertStatus::EXPIRED}));
}

}  // namespace
}  // namespace zeb::cert::test
