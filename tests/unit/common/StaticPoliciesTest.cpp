#include "common/DefaultPoliciesStore.h"
#include "common/PolicyDriven.h"

#include <cstdio>
#include <cstdlib>

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using N = Policy::PolicyNature;

/// What other code does while static objects are made and destroyed, in an order that nobody chose.
class StaticUser {
public:
    StaticUser()
        : found_(DefaultPoliciesStore::getPolicy(N::EDGE_USAGE)),
          failurePolicy_(driven_.getPolicy(N::FAILURE_MANAGEMENT)) {}

    ~StaticUser() {
        // Too late for an expectation: an exit code must do.
        if (DefaultPoliciesStore::getPolicy(N::EDGE_USAGE) == nullptr ||
            FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY->getName() != "IGNORE_SOFT_FAILURE") {
            std::puts("the policies were destroyed before their users");
            std::_Exit(EXIT_FAILURE);
        }
    }

    PolicyDriven driven_{true};
    const std::shared_ptr<Policy> found_;
    const std::shared_ptr<Policy> failurePolicy_;
};

const StaticUser staticUser;

TEST(StaticPoliciesTest, ALookupWhileStaticObjectsAreMadeFindsTheUnknownPolicy) {
    ASSERT_NE(nullptr, staticUser.found_);
    EXPECT_EQ(Policy::UNKNOWN_POLICY, staticUser.found_);
}

TEST(StaticPoliciesTest, AStaticPolicyDrivenHasItsFailurePolicy) {
    EXPECT_EQ(FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY, staticUser.failurePolicy_);
}

TEST(StaticPoliciesDeathTest, ThePoliciesOutliveStaticObjects) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(EXIT_SUCCESS), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace zeb::common
