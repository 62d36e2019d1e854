#include "ip/IpFamilyPreferencePolicy.h"
#include "support/CurlOptionSpy.h"

#include <memory>
#include <sstream>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::ip {
namespace {

using P = IpFamilyPreferencePolicy;
using V = IpFamilyPreferencePolicy::PolicyValue;
using common::Policy;
using zeb::test::CurlOptionSpy;

struct Row {
    const char* testName;
    V::Value value;
    int number;
    const char* name;
    long resolve;
};

class IpFamilyPreferencePolicyTest : public testing::TestWithParam<Row> {
protected:
    const std::unique_ptr<CURL, void (*)(CURL*)> curl{curl_easy_init(), curl_easy_cleanup};
};

TEST_P(IpFamilyPreferencePolicyTest, HasItsNumberAndName) {
    EXPECT_EQ(GetParam().number, static_cast<int>(GetParam().value));
    EXPECT_EQ(GetParam().name, P(GetParam().value).getName());
    EXPECT_EQ(GetParam().name, V::toString(GetParam().value));
    std::ostringstream stream;
    stream << GetParam().value;
    EXPECT_EQ(GetParam().name, stream.str());
}

TEST_P(IpFamilyPreferencePolicyTest, SetsTheFamiliesOfTheHandle) {
    const CurlOptionSpy spy;
    EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, P(GetParam().value).enforce(curl.get()));
    ASSERT_EQ(1U, spy.calls().size());
    EXPECT_EQ(CURLOPT_IPRESOLVE, spy.calls()[0].option);
    EXPECT_EQ(GetParam().resolve, spy.calls()[0].number());
    EXPECT_EQ(curl.get(), spy.calls()[0].handle);
}

TEST_P(IpFamilyPreferencePolicyTest, FailsWhenLibcurlRefuses) {
    CurlOptionSpy spy;
    spy.fail(CURLOPT_IPRESOLVE, CURLE_UNKNOWN_OPTION);
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, P(GetParam().value).enforce(curl.get()));
}

TEST_P(IpFamilyPreferencePolicyTest, FailsWithoutAHandle) {
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, P(GetParam().value).enforce(nullptr));
}

INSTANTIATE_TEST_SUITE_P(Values, IpFamilyPreferencePolicyTest,
                         testing::Values(Row{"Ipv4Only", V::IPV4_ONLY, 0, "IPV4_ONLY", CURL_IPRESOLVE_V4},
                                         Row{"Ipv6Only", V::IPV6_ONLY, 1, "IPV6_ONLY", CURL_IPRESOLVE_V6},
                                         Row{"DualStack", V::DUAL_STACK, 2, "DUAL_STACK",
                                             CURL_IPRESOLVE_WHATEVER}),
                         [](const auto& row) { return row.param.testName; });

TEST(IpFamilyPreferencePolicyOfAnUnknownValueTest, FailsWithoutACallAndIsNamedByItsNumber) {
    const std::unique_ptr<CURL, void (*)(CURL*)> curl{curl_easy_init(), curl_easy_cleanup};
    const P unknown(static_cast<V::Value>(3));
    const CurlOptionSpy spy;
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, unknown.enforce(curl.get()));
    EXPECT_TRUE(spy.calls().empty());
    EXPECT_EQ("3", unknown.getName());
    EXPECT_EQ("3", V::toString(unknown.getValue()));
}

TEST(IpFamilyPreferencePolicyConstantsTest, ThereIsOneSharedInstancePerValue) {
    EXPECT_EQ(V::IPV4_ONLY, P::IPV4_ONLY_POLICY->getValue());
    EXPECT_EQ(V::IPV6_ONLY, P::IPV6_ONLY_POLICY->getValue());
    EXPECT_EQ(V::DUAL_STACK, P::DUAL_STACK_POLICY->getValue());
}

TEST(IpFamilyPreferencePolicyConstantsTest, IsSoftInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::DUAL_STACK_POLICY;
    EXPECT_EQ(Policy::PolicyNature::IP_FAMILY_PREFERENCE, P::NATURE);
    EXPECT_EQ(P::NATURE, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
}

TEST(IpFamilyPreferencePolicyConstantsTest, EqualsByBaseAndValue) {
    EXPECT_TRUE(P::IPV4_ONLY_POLICY->equals(P(V::IPV4_ONLY)));
    EXPECT_FALSE(P::IPV4_ONLY_POLICY->equals(*P::IPV6_ONLY_POLICY));
    EXPECT_FALSE(P::IPV4_ONLY_POLICY->equals(*Policy::UNKNOWN_POLICY));
    EXPECT_FALSE(P::IPV4_ONLY_POLICY->equals(Policy(P::NATURE, Policy::PolicyFailureClass::SOFT, true)));
}

}  // namespace
}  // namespace zeb::ip
