#include "cert/IgnoreInvalidCertConditionPolicy.h"
#include "cert/IgnoreInvalidCertConditionPolicyBuilder.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace zeb::cert {
namespace {

using Builder = IgnoreInvalidCertConditionPolicyBuilder;
using P = IgnoreInvalidCertConditionPolicy;
using Statuses = std::set<CertStatus::Status>;
using common::Policy;
using testing::IsEmpty;
using testing::NotNull;

/// Every status that there is.
Statuses everything() {
    Statuses statuses;
    for (int status = CertStatus::VALID; status <= CertStatus::UNKNOWN; ++status) {
        statuses.insert(static_cast<CertStatus::Status>(status));
    }
    return statuses;
}

Statuses removedBy(const P& policy) {
    Statuses left = everything();
    EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, policy.enforce(left));
    Statuses removed;
    for (const CertStatus::Status status : everything()) {
        if (left.count(status) == 0) {
            removed.insert(status);
        }
    }
    return removed;
}

struct Row {
    const char* testName;
    Builder& (Builder::*ignore)();
    CertStatus::Status removed;
};

class IgnoreInvalidCertConditionPolicyBuilderTest : public testing::TestWithParam<Row> {};

TEST_P(IgnoreInvalidCertConditionPolicyBuilderTest, RemovesItsStatusAndNoOther) {
    Builder builder;
    EXPECT_EQ(&builder, &(builder.*GetParam().ignore)());
    EXPECT_EQ(Statuses{GetParam().removed}, removedBy(*builder.build()));
}

TEST_P(IgnoreInvalidCertConditionPolicyBuilderTest, OneThatIgnoresItDiffersFromOneThatDoesNot) {
    Builder builder;
    (builder.*GetParam().ignore)();
    EXPECT_FALSE(builder.build()->equals(*P::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY));
    EXPECT_TRUE(builder.build()->equals(*builder.build()));
}

TEST_P(IgnoreInvalidCertConditionPolicyBuilderTest, MergeBringsItAndStripOutTakesIt) {
    Builder builder;
    (builder.*GetParam().ignore)();
    const auto all = Builder("all")
                         .ignoreRevocationNotPerformed()
                         .ignoreRevocationServerOffline()
                         .ignoreRevocationStatusUnknown()
                         .ignoreWrongKeyUsage()
                         .ignoreWeakKey()
                         .build();
    const auto others = all->stripOut(builder.build());
    EXPECT_EQ(4U, removedBy(*others).size());
    EXPECT_EQ(0U, removedBy(*others).count(GetParam().removed));
    EXPECT_TRUE(others->merge(builder.build())->equals(*all));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, IgnoreInvalidCertConditionPolicyBuilderTest,
    testing::Values(Row{"RevocationNotPerformed", &Builder::ignoreRevocationNotPerformed,
                        CertStatus::NO_REVOCATION_CHECK},
                    Row{"RevocationServerOffline", &Builder::ignoreRevocationServerOffline,
                        CertStatus::REVOCATION_OFFLINE},
                    Row{"RevocationStatusUnknown", &Builder::ignoreRevocationStatusUnknown,
                        CertStatus::REVOCATION_STATUS_UNKNOWN},
                    Row{"WrongKeyUsage", &Builder::ignoreWrongKeyUsage, CertStatus::WRONG_USAGE},
                    Row{"WeakKey", &Builder::ignoreWeakKey, CertStatus::WEAK_KEY}),
    [](const auto& row) { return row.param.testName; });

TEST(IgnoreInvalidCertConditionPolicyTest, TheConstantsIgnoreWhatTheySay) {
    EXPECT_EQ((Statuses{CertStatus::NO_REVOCATION_CHECK, CertStatus::REVOCATION_OFFLINE,
                        CertStatus::REVOCATION_STATUS_UNKNOWN}),
              removedBy(*P::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY));
    EXPECT_EQ(Statuses{CertStatus::WRONG_USAGE}, removedBy(*P::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY));
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, removedBy(*P::IGNORE_WEAK_KEY_ERRORS_POLICY));
    EXPECT_THAT(removedBy(*P::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY), IsEmpty());
}

TEST(IgnoreInvalidCertConditionPolicyTest, TheConstantsBearTheNamesThatHostsCompare) {
    EXPECT_EQ("IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS",
              P::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY->getName());
    EXPECT_EQ("IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY", P::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY->getName());
    EXPECT_EQ("IGNORE_WEAK_KEY_ERRORS_POLICY", P::IGNORE_WEAK_KEY_ERRORS_POLICY->getName());
    EXPECT_EQ("DO_NOT_IGNORE_FALURE_CONDITIONS", P::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY->getName());
}

TEST(IgnoreInvalidCertConditionPolicyTest, IsHardInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::IGNORE_WEAK_KEY_ERRORS_POLICY;
    EXPECT_EQ(Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::HARD, policy.getFailureClass());
    EXPECT_EQ(Policy::PolicyFailureClass::HARD, P::FAILURE_CLASS);
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
}

TEST(IgnoreInvalidCertConditionPolicyTest, TheLogTellsHowManyStatusesWereRemoved) {
    const test::LogCapture capture;
    Statuses statuses{CertStatus::NO_REVOCATION_CHECK, CertStatus::REVOCATION_OFFLINE, CertStatus::EXPIRED};
    P::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY->enforce(statuses);
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
    EXPECT_TRUE(capture.contains(
        "Ignored statuses have been removed from the verification status. Removed statuses: 2"));
    EXPECT_TRUE(capture.contains("Policy enforced"));
}

TEST(IgnoreInvalidCertConditionPolicyTest, TheLogTellsThatNoneWasRemoved) {
    const test::LogCapture capture;
    Statuses statuses{CertStatus::EXPIRED};
    P::IGNORE_WEAK_KEY_ERRORS_POLICY->enforce(statuses);
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
    EXPECT_TRUE(capture.contains("No statuses have been removed from the verification status."));
    EXPECT_TRUE(capture.contains("Policy enforced"));
}

TEST(IgnoreInvalidCertConditionPolicyTest, TheLastStatusRemovedLeavesAnEmptySet) {
    Statuses statuses{CertStatus::WEAK_KEY};
    P::IGNORE_WEAK_KEY_ERRORS_POLICY->enforce(statuses);
    EXPECT_THAT(statuses, IsEmpty());
}

TEST(IgnoreInvalidCertConditionPolicyTest, EqualsByConditionsNotByName) {
    EXPECT_TRUE(P::IGNORE_WEAK_KEY_ERRORS_POLICY->equals(*Builder("another").ignoreWeakKey().build()));
    EXPECT_FALSE(
        P::IGNORE_WEAK_KEY_ERRORS_POLICY->equals(Policy(P::NATURE, Policy::PolicyFailureClass::HARD, true)));
}

TEST(IgnoreInvalidCertConditionPolicyTest, ABuilderWithoutANameGivesNone) {
    EXPECT_EQ("", Builder().build()->getName());
    EXPECT_EQ("mine", Builder("mine").build()->getName());
}

TEST(IgnoreInvalidCertConditionPolicyTest, MergeWithAnEqualOneReturnsTheArgument) {
    const auto& policy = P::IGNORE_WEAK_KEY_ERRORS_POLICY;
    EXPECT_EQ(policy, policy->merge(policy));
    const auto equal = Builder("equal").ignoreWeakKey().build();
    EXPECT_EQ(equal, policy->merge(equal));
}

TEST(IgnoreInvalidCertConditionPolicyTest, MergeReturnsWhicheverOfTheTwoHasItAll) {
    const auto both = Builder("both").ignoreWeakKey().ignoreWrongKeyUsage().build();
    EXPECT_EQ(both, both->merge(P::IGNORE_WEAK_KEY_ERRORS_POLICY));
    EXPECT_EQ(both, P::IGNORE_WEAK_KEY_ERRORS_POLICY->merge(both));
}

TEST(IgnoreInvalidCertConditionPolicyTest, MergeOfTwoThatDifferIsANewOneNamedAfterBoth) {
    const auto merged =
        P::IGNORE_WEAK_KEY_ERRORS_POLICY->merge(P::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY);
    EXPECT_EQ("IGNORE_WEAK_KEY_ERRORS_POLICY merge IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS",
              merged->getName());
    EXPECT_EQ(4U, removedBy(*merged).size());
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, removedBy(*P::IGNORE_WEAK_KEY_ERRORS_POLICY));
}

TEST(IgnoreInvalidCertConditionPolicyTest, StripOutByAnEqualOneLeavesNothingToIgnore) {
    EXPECT_EQ(P::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY,
              P::IGNORE_WEAK_KEY_ERRORS_POLICY->stripOut(Builder("equal").ignoreWeakKey().build()));
}

TEST(IgnoreInvalidCertConditionPolicyTest, StripOutOfWhatIsNotThereReturnsTheSameObject) {
    const auto& policy = P::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY;
    EXPECT_EQ(policy, policy->stripOut(P::IGNORE_WEAK_KEY_ERRORS_POLICY));
}

TEST(IgnoreInvalidCertConditionPolicyTest, StripOutOfAPartIsANewOneNamedAfterBoth) {
    const auto both = Builder("both").ignoreWeakKey().ignoreWrongKeyUsage().build();
    const auto stripped = both->stripOut(P::IGNORE_WEAK_KEY_ERRORS_POLICY);
    EXPECT_EQ("both stripOut IGNORE_WEAK_KEY_ERRORS_POLICY", stripped->getName());
    EXPECT_EQ(Statuses{CertStatus::WRONG_USAGE}, removedBy(*stripped));
}

TEST(IgnoreInvalidCertConditionPolicyTest, NullIgnoresNothing) {
    const auto& policy = P::IGNORE_WEAK_KEY_ERRORS_POLICY;
    EXPECT_EQ(policy, policy->merge(nullptr));
    EXPECT_EQ(policy, policy->stripOut(nullptr));
}

}  // namespace
}  // namespace zeb::cert
