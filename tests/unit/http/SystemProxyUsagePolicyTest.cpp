#include "http/SystemProxyUsagePolicy.h"

#include <memory>
#include <sstream>

#include <gmock/gmock.h>

namespace zeb::http {
namespace {

using P = SystemProxyUsagePolicy;
using V = SystemProxyUsagePolicy::PolicyValue;
using common::Policy;

/// A proxy that the policy can do no more with than hold and drop: its type stays incomplete here.
class SystemProxyUsagePolicyTest : public testing::Test {
protected:
    int something = 0;
    const std::shared_ptr<int> owner{&something, [](int*) {}};
    std::shared_ptr<Proxy> proxy{owner, reinterpret_cast<Proxy*>(&something)};
};

TEST_F(SystemProxyUsagePolicyTest, WhenRequestedTheProxyStays) {
    const auto before = proxy;
    EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS,
              P::USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY->enforce(proxy));
    EXPECT_EQ(before, proxy);
}

TEST_F(SystemProxyUsagePolicyTest, NeverMakesTheProxyNull) {
    EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, P::NEVER_USE_SYSTEM_PROXY_POLICY->enforce(proxy));
    EXPECT_EQ(nullptr, proxy);
    EXPECT_EQ(1, owner.use_count());
    EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, P::NEVER_USE_SYSTEM_PROXY_POLICY->enforce(proxy));
}

TEST_F(SystemProxyUsagePolicyTest, AnUnknownValueFailsAndLeavesTheProxy) {
    const P unknown(static_cast<V::Value>(2));
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, unknown.enforce(proxy));
    EXPECT_NE(nullptr, proxy);
    EXPECT_EQ("2", unknown.getName());
}

TEST_F(SystemProxyUsagePolicyTest, TheValuesHaveTheirNumbersAndNames) {
    EXPECT_EQ(0, static_cast<int>(V::USE_SYSTEM_PROXY_WHEN_REQUESTED));
    EXPECT_EQ(1, static_cast<int>(V::NEVER_USE_SYSTEM_PROXY));
    EXPECT_EQ("USE_SYSTEM_PROXY_WHEN_REQUESTED", P::USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY->getName());
    EXPECT_EQ("NEVER_USE_SYSTEM_PROXY", P::NEVER_USE_SYSTEM_PROXY_POLICY->getName());
    EXPECT_EQ(V::NEVER_USE_SYSTEM_PROXY, P::NEVER_USE_SYSTEM_PROXY_POLICY->getValue());
    std::ostringstream stream;
    stream << V::NEVER_USE_SYSTEM_PROXY << ' ' << static_cast<V::Value>(2);
    EXPECT_EQ("NEVER_USE_SYSTEM_PROXY 2", stream.str());
}

TEST_F(SystemProxyUsagePolicyTest, IsSoftInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::NEVER_USE_SYSTEM_PROXY_POLICY;
    EXPECT_EQ(Policy::PolicyNature::SYSTEM_PROXY_USAGE, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
}

TEST_F(SystemProxyUsagePolicyTest, EqualsByBaseAndValue) {
    const P& never = *P::NEVER_USE_SYSTEM_PROXY_POLICY;
    EXPECT_TRUE(never.equals(P(V::NEVER_USE_SYSTEM_PROXY)));
    EXPECT_FALSE(never.equals(*P::USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY));
    EXPECT_FALSE(never.equals(*Policy::UNKNOWN_POLICY));
    EXPECT_FALSE(never.equals(Policy(P::NATURE, Policy::PolicyFailureClass::SOFT, true)));
}

}  // namespace
}  // namespace zeb::http
