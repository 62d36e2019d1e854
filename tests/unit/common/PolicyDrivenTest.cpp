#include "common/DefaultPoliciesStore.h"
#include "common/PolicyDriven.h"
#include "support/LogCapture.h"
#include "unit/common/TestPolicies.h"

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using test::named;
using testing::ElementsAre;
using testing::IsEmpty;
using N = Policy::PolicyNature;

class PolicyDrivenTest : public testing::Test {
protected:
    ~PolicyDrivenTest() override { DefaultPoliciesStore::reset(); }

    const Policy softFailure{N::EDGE_USAGE, Policy::PolicyFailureClass::SOFT, true};
    const Policy hardFailure{N::EDGE_USAGE, Policy::PolicyFailureClass::HARD, true};
};

TEST_F(PolicyDrivenTest, WithoutArgumentsItHasNoFailurePolicyAndIgnoresNothing) {
    DefaultPoliciesStore::setPolicy(FailureManagementPolicy::ALWAYS_IGNORE_FAILURE_POLICY);
    const zeb::test::LogCapture log;
    const PolicyDriven object;
    EXPECT_THAT(object.getAllPolicies(), IsEmpty());
    EXPECT_FALSE(object.policyFailureCanBeIgnored(softFailure));
    EXPECT_TRUE(
        log.contains(ZEBLOG_DEBUG, "Checking if the failure of a policy can be ignored by this object"));
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING,
                             "FailureManagementPolicy policy not available, the failure can't be ignored"));
}

TEST_F(PolicyDrivenTest, WithTheDefaultFailurePolicyASoftFailureCanBeIgnored) {
    const PolicyDriven object(false);
    const zeb::test::LogCapture log;
    EXPECT_TRUE(object.policyFailureCanBeIgnored(softFailure));
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, "The policy failure can be ignored"));
}

TEST_F(PolicyDrivenTest, WithTheDefaultFailurePolicyAHardFailureCannotBeIgnored) {
    const PolicyDriven object(false);
    const zeb::test::LogCapture log;
    EXPECT_FALSE(object.policyFailureCanBeIgnored(hardFailure));
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, "The policy failure cannot be ignored"));
}

TEST_F(PolicyDrivenTest, AsksForTheFailurePolicyThroughTheVirtualOperation) {
    class Tolerant : public PolicyDriven {
    public:
        using PolicyDriven::PolicyDriven;
        std::shared_ptr<Policy> getPolicy(N::Nature) const override {
            return FailureManagementPolicy::ALWAYS_IGNORE_FAILURE_POLICY;
        }
    };
    EXPECT_TRUE(Tolerant().policyFailureCanBeIgnored(hardFailure));
}

TEST_F(PolicyDrivenTest, AJudgeKeepsToTheFailurePolicyOfItsConstruction) {
    PolicyDriven object(false);
    const PolicyDriven::FailureJudge judge(object);
    object.addPolicy(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    EXPECT_TRUE(judge.canBeIgnored(softFailure));
    EXPECT_FALSE(judge.canBeIgnored(hardFailure));
    EXPECT_FALSE(PolicyDriven::FailureJudge(object).canBeIgnored(softFailure));
}

TEST_F(PolicyDrivenTest, APolicyDerivedFromTheFailurePolicyJudges) {
    class Derived : public FailureManagementPolicy {
    public:
        Derived() : FailureManagementPolicy(PolicyValue::ALWAYS_IGNORE_FAILURE) {}
    };
    PolicyDriven object(false);
    object.addPolicy(std::make_shared<Derived>());
    EXPECT_TRUE(object.policyFailureCanBeIgnored(hardFailure));
}

TEST_F(PolicyDrivenTest, APlainPolicyInPlaceOfTheFailurePolicyIgnoresNothing) {
    PolicyDriven object(false);
    object.addPolicy(std::make_shared<Policy>(N::FAILURE_MANAGEMENT, true));
    EXPECT_FALSE(object.policyFailureCanBeIgnored(softFailure));
}

TEST_F(PolicyDrivenTest, AnUnknownFailureValueIgnoresNothing) {
    PolicyDriven object(false);
    object.addPolicy(std::make_shared<FailureManagementPolicy>(
        static_cast<FailureManagementPolicy::PolicyValue::Value>(17)));
    EXPECT_FALSE(object.policyFailureCanBeIgnored(softFailure));
}

TEST_F(PolicyDrivenTest, TheGivenSetReplacesTheDefaultFailurePolicy) {
    const PolicyDriven object({FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY}, false);
    EXPECT_THAT(object.getAllPolicies(), ElementsAre(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY));
}

TEST_F(PolicyDrivenTest, AStoreEntryBeatsTheGivenPolicyAlsoWithoutFollowingDefaults) {
    const auto fromStore = named(N::EDGE_USAGE, "store");
    DefaultPoliciesStore::setPolicy(fromStore);
    for (const bool followDefaults : {false, true}) {
        const PolicyDriven object({named(N::EDGE_USAGE, "caller")}, followDefaults);
        EXPECT_EQ(fromStore, object.getPolicy(N::EDGE_USAGE));
    }
}

TEST_F(PolicyDrivenTest, LogsItsPoliciesAtConstruction) {
    const zeb::test::LogCapture log;
    const PolicyDriven object({named(N::EDGE_USAGE, "x")}, false);
    EXPECT_THAT(log.linesOf("zeb.common"),
                ElementsAre("PolicySet : EDGE_USAGE[x], FAILURE_MANAGEMENT[IGNORE_SOFT_FAILURE]"));
}

TEST_F(PolicyDrivenTest, AnUpdateOfTheStoreIsTakenOverWhenDefaultsAreFollowed) {
    const auto object = std::make_shared<PolicyDriven>(true);
    DefaultPoliciesStore::registerForDefaultPoliciesChanges(object);
    const auto direct = named(N::EDGE_USAGE, "direct");
    object->addPolicy(direct);
    const zeb::test::LogCapture log;
    const auto fromStore = named(N::EDGE_USAGE, "store");
    DefaultPoliciesStore::setPolicy(fromStore);
    EXPECT_EQ(fromStore, object->getPolicy(N::EDGE_USAGE));
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG,
                             "DefaultPolicyStore has been updated, storing all the available policies"));
}

TEST_F(PolicyDrivenTest, AnUpdateOfTheStoreIsPassedOverWhenDefaultsAreNotFollowed) {
    const auto object = std::make_shared<PolicyDriven>(false);
    DefaultPoliciesStore::registerForDefaultPoliciesChanges(object);
    const zeb::test::LogCapture log;
    DefaultPoliciesStore::setPolicy(named(N::EDGE_USAGE, "store"));
    EXPECT_EQ(Policy::UNKNOWN_POLICY, object->getPolicy(N::EDGE_USAGE));
    EXPECT_FALSE(log.contains("DefaultPolicyStore has been updated"));
}

TEST_F(PolicyDrivenTest, APolicyRemovedFromTheStoreStaysInTheObject) {
    const auto object = std::make_shared<PolicyDriven>(true);
    DefaultPoliciesStore::registerForDefaultPoliciesChanges(object);
    const auto policy = named(N::EDGE_USAGE, "kept");
    DefaultPoliciesStore::setPolicy(policy);
    DefaultPoliciesStore::removePolicy(N::EDGE_USAGE);
    DefaultPoliciesStore::setPolicy(named(N::EDGE_CAPABILITY, "other"));
    EXPECT_EQ(policy, object->getPolicy(N::EDGE_USAGE));
}

TEST_F(PolicyDrivenTest, ForwardsToItsSet) {
    PolicyDriven object(false);
    const auto unenforceable = named(N::EDGE_USAGE, "x", false);
    object.addPolicy(unenforceable);
    EXPECT_EQ(unenforceable, object.getPolicy(N::EDGE_USAGE));
    const PolicySet::VerifyPoliciesResult result = object.verifyPolicies();
    EXPECT_FALSE(result.success);
    EXPECT_THAT(result.failedPolicies, ElementsAre(unenforceable));
    object.removePolicy(N::EDGE_USAGE);
    EXPECT_TRUE(object.verifyPolicies().success);
    object.addPolicy(nullptr);
    EXPECT_EQ(1U, object.getAllPolicies().size());
}

TEST_F(PolicyDrivenTest, ResetForTestingLeavesTheDefaultFailurePolicyAlone) {
    PolicyDriven object({named(N::EDGE_USAGE, "x"), FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY},
                        true);
    object.resetForTesting();
    EXPECT_THAT(object.getAllPolicies(), ElementsAre(FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY));
}

}  // namespace
}  // namespace zeb::common
