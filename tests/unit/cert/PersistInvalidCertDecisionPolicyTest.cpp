#include "cert/PersistInvalidCertDecisionPolicy.h"
#include "support/LogCapture.h"

#include <sstream>

#include <gmock/gmock.h>

namespace zeb::cert {
namespace {

using P = PersistInvalidCertDecisionPolicy;
using V = PersistInvalidCertDecisionPolicy::PolicyValue;
using common::Policy;

TEST(PersistInvalidCertDecisionPolicyTest, PersistSaysYesWhateverWasSaidBefore) {
    for (const bool before : {false, true}) {
        bool persist = before;
        EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, P::PERSIST_DECISION_POLICY->enforce(persist));
        EXPECT_TRUE(persist);
    }
}

TEST(PersistInvalidCertDecisionPolicyTest, DoNotPersistSaysNoWhateverWasSaidBefore) {
    for (const bool before : {false, true}) {
        bool persist = before;
        EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS,
                  P::DO_NOT_PERSIST_DECISION_POLICY->enforce(persist));
        EXPECT_FALSE(persist);
    }
}

TEST(PersistInvalidCertDecisionPolicyTest, AnUnknownValueFailsSaysSoAndLeavesTheAnswer) {
    const test::LogCapture capture;
    for (const bool before : {false, true}) {
        bool persist = before;
        EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE,
                  P(static_cast<V::Value>(2)).enforce(persist));
        EXPECT_EQ(before, persist);
    }
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "Policy not managed! Enforcing failed"));
}

TEST(PersistInvalidCertDecisionPolicyTest, TheValuesHaveTheirNumbersAndNames) {
    EXPECT_EQ(0, static_cast<int>(V::PERSIST_DECISION));
    EXPECT_EQ(1, static_cast<int>(V::DO_NOT_PERSIST_DECISION));
    EXPECT_EQ("PERSIST_DECISION", P::PERSIST_DECISION_POLICY->getName());
    EXPECT_EQ("DO_NOT_PERSIST_DECISION", P::DO_NOT_PERSIST_DECISION_POLICY->getName());
    EXPECT_EQ("2", V::asString(static_cast<V::Value>(2)));
    std::ostringstream stream;
    stream << V::DO_NOT_PERSIST_DECISION << ' ' << static_cast<V::Value>(2);
    EXPECT_EQ("DO_NOT_PERSIST_DECISION 2", stream.str());
}

TEST(PersistInvalidCertDecisionPolicyTest, IsSoftInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::PERSIST_DECISION_POLICY;
    EXPECT_EQ(Policy::PolicyNature::PERSIST_INVALID_CERT_DECISION, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
}

TEST(PersistInvalidCertDecisionPolicyTest, EqualsByValue) {
    EXPECT_TRUE(P::PERSIST_DECISION_POLICY->equals(P(V::PERSIST_DECISION)));
    EXPECT_FALSE(P::PERSIST_DECISION_POLICY->equals(*P::DO_NOT_PERSIST_DECISION_POLICY));
    EXPECT_FALSE(
        P::PERSIST_DECISION_POLICY->equals(Policy(P::NATURE, Policy::PolicyFailureClass::SOFT, true)));
}

TEST(PersistInvalidCertDecisionPolicyTest, AConstantCanBeSharedFromItself) {
    EXPECT_EQ(P::PERSIST_DECISION_POLICY, P::PERSIST_DECISION_POLICY->shared_from_this());
}

}  // namespace
}  // namespace zeb::cert
