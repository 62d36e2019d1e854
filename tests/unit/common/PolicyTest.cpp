#include "common/InputIndependentPolicy.h"
#include "common/Policy.h"
#include "support/Printed.h"

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using zeb::test::printed;

struct NatureRow {
    const char* name;
    Policy::PolicyNature::Nature nature;
    int number;
    const char* text;
};

class PolicyNatureTest : public testing::TestWithParam<NatureRow> {};

TEST_P(PolicyNatureTest, HasItsNumber) {
    EXPECT_EQ(GetParam().number, static_cast<int>(GetParam().nature));
}

TEST_P(PolicyNatureTest, PrintsAsItsText) {
    EXPECT_EQ(GetParam().text, printed(GetParam().nature));
}

using N = Policy::PolicyNature;
INSTANTIATE_TEST_SUITE_P(
    Natures, PolicyNatureTest,
    testing::Values(NatureRow{"EdgeUsage", N::EDGE_USAGE, 0, "EDGE_USAGE"},
                    NatureRow{"FailureManagement", N::FAILURE_MANAGEMENT, 1, "FAILURE_MANAGEMENT"},
                    NatureRow{"InvalidCertManagement", N::INVALID_CERT_MANAGEMENT, 2,
                              "INVALID_CERT_MANAGEMENT"},
                    NatureRow{"IgnoreInvalidCertCondition", N::IGNORE_INVALID_CERT_CONDITION, 3,
                              "IGNORE_INVALID_CERT_CONDITION"},
                    NatureRow{"EdgeCapability", N::EDGE_CAPABILITY, 4, "EDGE_CAPABILITY"},
                    NatureRow{"PersistInvalidCertDecision", N::PERSIST_INVALID_CERT_DECISION, 5,
                              "PERSIST_INVALID_CERT_DECISION"},
                    NatureRow{"IpFamilyPreference", N::IP_FAMILY_PREFERENCE, 6, "IP_FAMILY_PREFERENCE"},
                    NatureRow{"SystemProxyUsage", N::SYSTEM_PROXY_USAGE, 7, "SYSTEM_PROXY_USAGE"},
                    NatureRow{"CommonCriteriaUsageAsItsNumber", N::COMMON_CRITERIA_USAGE, 8, "8"},
                    NatureRow{"Unknown", N::UNKNOWN, 9, "UNKNOWN"},
                    NatureRow{"AnyOtherAsItsNumber", static_cast<N::Nature>(42), 42, "42"},
                    NatureRow{"ANegativeOneAsItsNumber", static_cast<N::Nature>(-1), -1, "-1"}),
    [](const auto& row) { return row.param.name; });

struct ResultRow {
    const char* name;
    Policy::PolicyEnforcingResult::EnforcingResult result;
    int number;
    const char* text;
};

class PolicyEnforcingResultTest : public testing::TestWithParam<ResultRow> {};

TEST_P(PolicyEnforcingResultTest, HasItsNumberAndText) {
    EXPECT_EQ(GetParam().number, static_cast<int>(GetParam().result));
    EXPECT_EQ(GetParam().text, printed(GetParam().result));
}

using R = Policy::PolicyEnforcingResult;
INSTANTIATE_TEST_SUITE_P(
    Results, PolicyEnforcingResultTest,
    testing::Values(ResultRow{"Success", R::SUCCESS, 0, "SUCCESS"},
                    ResultRow{"NotEnforceable", R::NOT_ENFORCEABLE, 1, "NOT_ENFORCEABLE"},
                    ResultRow{"EnforcingFailure", R::ENFORCING_FAILURE, 2, "ENFORCING_FAILURE"},
                    ResultRow{"AnyOtherAsItsNumber", static_cast<R::EnforcingResult>(3), 3, "3"}),
    [](const auto& row) { return row.param.name; });

TEST(PolicyTest, TheFailureClassesHaveTheirNumbers) {
    EXPECT_EQ(0, static_cast<int>(Policy::PolicyFailureClass::HARD));
    EXPECT_EQ(1, static_cast<int>(Policy::PolicyFailureClass::SOFT));
}

TEST(PolicyTest, APlainPolicyIsNamedUnknown) {
    EXPECT_EQ("UNKNOWN", Policy(N::EDGE_USAGE, true).getName());
}

TEST(PolicyTest, TheFailureClassIsHardWhereNoneIsGiven) {
    EXPECT_EQ(Policy::PolicyFailureClass::HARD, Policy(N::EDGE_USAGE, true).getFailureClass());
    class Soundless : public InputIndependentPolicy {
    public:
        Soundless() : InputIndependentPolicy(N::EDGE_CAPABILITY) {}
        bool verifyEnforceability() const override { return true; }
    };
    EXPECT_EQ(Policy::PolicyFailureClass::HARD, Soundless().getFailureClass());
    EXPECT_TRUE(Soundless().isInputIndependent());
}

TEST(PolicyTest, KeepsWhatItIsMadeOf) {
    const Policy policy(N::INVALID_CERT_MANAGEMENT, Policy::PolicyFailureClass::SOFT, false);
    EXPECT_EQ(N::INVALID_CERT_MANAGEMENT, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_FALSE(policy.isInputIndependent());
}

TEST(PolicyTest, EqualsAPolicyOfTheSameNatureClassAndIndependence) {
    const Policy policy(N::EDGE_USAGE, Policy::PolicyFailureClass::SOFT, true);
    EXPECT_TRUE(policy.equals(policy));
    EXPECT_TRUE(policy.equals(Policy(N::EDGE_USAGE, Policy::PolicyFailureClass::SOFT, true)));
    EXPECT_FALSE(policy.equals(Policy(N::EDGE_CAPABILITY, Policy::PolicyFailureClass::SOFT, true)));
    EXPECT_FALSE(policy.equals(Policy(N::EDGE_USAGE, Policy::PolicyFailureClass::HARD, true)));
    EXPECT_FALSE(policy.equals(Policy(N::EDGE_USAGE, Policy::PolicyFailureClass::SOFT, false)));
}

TEST(PolicyTest, TheUnknownPolicyIsAPlainHardInputIndependentOne) {
    ASSERT_NE(nullptr, Policy::UNKNOWN_POLICY);
    EXPECT_EQ(N::UNKNOWN, Policy::UNKNOWN_POLICY->getNature());
    EXPECT_EQ("UNKNOWN", Policy::UNKNOWN_POLICY->getName());
    EXPECT_EQ(Policy::PolicyFailureClass::HARD, Policy::UNKNOWN_POLICY->getFailureClass());
    EXPECT_TRUE(Policy::UNKNOWN_POLICY->isInputIndependent());
}

}  // namespace
}  // namespace zeb::common
