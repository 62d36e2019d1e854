#include "common/FailureManagementPolicy.h"

#include <optional>
#include <sstream>

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using P = FailureManagementPolicy;
using V = FailureManagementPolicy::PolicyValue;
using Class = Policy::PolicyFailureClass;
using Result = Policy::PolicyEnforcingResult;

struct Row {
    const char* testName;
    V::Value value;
    int number;
    const char* name;
    const char* printed;
    std::optional<bool> softIgnored;  ///< empty: left untouched
    std::optional<bool> hardIgnored;
    Result::EnforcingResult result;
};

class FailureManagementPolicyTest : public testing::TestWithParam<Row> {
protected:
    void expectEnforced(Class::FailureClass failureClass, std::optional<bool> expected) {
        const Policy failed(Policy::PolicyNature::EDGE_USAGE, failureClass, true);
        for (const bool before : {false, true}) {
            bool canBeIgnored = before;
            EXPECT_EQ(GetParam().result, P(GetParam().value).enforce(failed, canBeIgnored));
            EXPECT_EQ(expected.value_or(before), canBeIgnored);
        }
    }
};

TEST_P(FailureManagementPolicyTest, HasItsNumberAndName) {
    EXPECT_EQ(GetParam().number, static_cast<int>(GetParam().value));
    EXPECT_EQ(GetParam().name, V::atString(GetParam().value));
    EXPECT_EQ(GetParam().name, P(GetParam().value).getName());
    EXPECT_EQ(GetParam().value, P(GetParam().value).getValue());
}

TEST_P(FailureManagementPolicyTest, PrintsInItsOwnSpelling) {
    std::ostringstream stream;
    stream << GetParam().value;
    EXPECT_EQ(GetParam().printed, stream.str());
}

TEST_P(FailureManagementPolicyTest, JudgesASoftFailure) {
    expectEnforced(Class::SOFT, GetParam().softIgnored);
}

TEST_P(FailureManagementPolicyTest, JudgesAHardFailure) {
    expectEnforced(Class::HARD, GetParam().hardIgnored);
}

INSTANTIATE_TEST_SUITE_P(
    Values, FailureManagementPolicyTest,
    testing::Values(Row{"IgnoreSoftFailure", V::IGNORE_SOFT_FAILURE, 0, "IGNORE_SOFT_FAILURE",
                        "INGNORE_SOFT_FAILURE", true, false, Result::SUCCESS},
                    Row{"IgnoreHardFailure", V::IGNORE_HARD_FAILURE, 1, "IGNORE_HARD_FAILURE",
                        "INGNORE_HARD_FAILURE", false, true, Result::SUCCESS},
                    Row{"AlwaysIgnoreFailure", V::ALWAYS_IGNORE_FAILURE, 2, "ALWAYS_IGNORE_FAILURE",
                        "ALWAYS_IGNORE_FAILURE", true, true, Result::SUCCESS},
                    Row{"NeverIgnoreFailure", V::NEVER_IGNORE_FAILURE, 3, "NEVER_IGNORE_FAILURE",
                        "NEVER_IGNORE_FAILURE", false, false, Result::SUCCESS},
                    Row{"AnyOther", static_cast<V::Value>(17), 17, "17", "17", std::nullopt, std::nullopt,
                        Result::ENFORCING_FAILURE}),
    [](const auto& row) { return row.param.testName; });

TEST(FailureManagementPolicyConstantsTest, ThereIsOneSharedInstancePerValue) {
    EXPECT_EQ(V::IGNORE_SOFT_FAILURE, P::IGNORE_SOFT_FAILURE_POLICY->getValue());
    EXPECT_EQ(V::IGNORE_HARD_FAILURE, P::IGNORE_HARD_FAILURE_POLICY->getValue());
    EXPECT_EQ(V::ALWAYS_IGNORE_FAILURE, P::ALWAYS_IGNORE_FAILURE_POLICY->getValue());
    EXPECT_EQ(V::NEVER_IGNORE_FAILURE, P::NEVER_IGNORE_FAILURE_POLICY->getValue());
}

TEST(FailureManagementPolicyConstantsTest, IsHardInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::IGNORE_SOFT_FAILURE_POLICY;
    EXPECT_EQ(Policy::PolicyNature::FAILURE_MANAGEMENT, P::NATURE);
    EXPECT_EQ(P::NATURE, policy.getNature());
    EXPECT_EQ(Class::HARD, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
    EXPECT_TRUE(P(static_cast<V::Value>(17)).verifyEnforceability());
}

TEST(FailureManagementPolicyConstantsTest, EqualsByValue) {
    EXPECT_TRUE(P::IGNORE_SOFT_FAILURE_POLICY->equals(P(V::IGNORE_SOFT_FAILURE)));
    EXPECT_FALSE(P::IGNORE_SOFT_FAILURE_POLICY->equals(*P::NEVER_IGNORE_FAILURE_POLICY));
    EXPECT_FALSE(P::IGNORE_SOFT_FAILURE_POLICY->equals(*Policy::UNKNOWN_POLICY));
}

TEST(FailureManagementPolicyConstantsTest, DoesNotEqualAPlainPolicyOfItsNature) {
    EXPECT_FALSE(P::IGNORE_SOFT_FAILURE_POLICY->equals(Policy(P::NATURE, true)));
}

}  // namespace
}  // namespace zeb::common
