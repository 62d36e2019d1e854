#include "InvalidCertTestSupport.h"
#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "support/LogCapture.h"

#include <stdexcept>

namespace zeb::cert {
namespace {

using P = UserInteractingInvalidCertManagementPolicy;
using testing::IsEmpty;

class UserInteractingInvalidCertManagementPolicyTest : public InvalidCertTest {
protected:
    Enforcing::EnforcingResult enforce(const std::shared_ptr<P>& policy) {
        const CertificateCacheAccessor accessor(FINGERPRINT, statuses, policy);
        return policy->enforce(statuses, "CN", "asked.test", "Shown", FINGERPRINT, "leaf", {"middle", "root"},
                               accessor);
    }

    Statuses statuses{CertStatus::UNKNOWN};
};

TEST_F(UserInteractingInvalidCertManagementPolicyTest, OneMadeOfABoolAloneFailsHardAndDoesNotInteract) {
    for (const bool requiresInput : {false, true}) {
        const P policy(requiresInput);
        EXPECT_EQ(Value::NOTIFY_USER_AND_FAIL, policy.getValue());
        EXPECT_EQ(Class::HARD, policy.getFailureClass());
        EXPECT_FALSE(policy.interactsWithUser());
        EXPECT_FALSE(policy.isUserInteractionAvoidable());
        EXPECT_EQ(requiresInput, policy.requiresUserInput());
    }
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, OneMadeWithTransitionsIsAvoidable) {
    const P policy(Value::PROMPT_USER, true, {{CertStatus::UNKNOWN, {CertStatus::EXPIRED}}}, Class::SOFT);
    EXPECT_EQ(Value::PROMPT_USER, policy.getValue());
    EXPECT_EQ(Class::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.interactsWithUser());
    EXPECT_TRUE(policy.isUserInteractionAvoidable());
    EXPECT_TRUE(policy.requiresUserInput());
    EXPECT_EQ(Policy::PolicyNature::INVALID_CERT_MANAGEMENT, policy.getNature());
    EXPECT_FALSE(policy.isInputIndependent());
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, OneMadeWithoutTransitionsIsNotAvoidable) {
    const P policy(Value::NOTIFY_USER_AND_SUCCEED, false, Class::SOFT);
    EXPECT_TRUE(policy.interactsWithUser());
    EXPECT_FALSE(policy.isUserInteractionAvoidable());
    EXPECT_FALSE(policy.requiresUserInput());
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, EqualsByAllThatItHas) {
    const P::Transitions transitions{{CertStatus::UNKNOWN, {CertStatus::EXPIRED}}};
    const P policy(Value::PROMPT_USER, true, transitions, Class::HARD);
    EXPECT_TRUE(policy.equals(P(Value::PROMPT_USER, true, transitions, Class::HARD)));
    EXPECT_FALSE(policy.equals(P(Value::NOTIFY_USER_AND_FAIL, true, transitions, Class::HARD)));
    EXPECT_FALSE(policy.equals(P(Value::PROMPT_USER, false, transitions, Class::HARD)));
    EXPECT_FALSE(policy.equals(P(Value::PROMPT_USER, true, {}, Class::HARD)));
    EXPECT_FALSE(policy.equals(P(Value::PROMPT_USER, true, transitions, Class::SOFT)));
    EXPECT_FALSE(P(Value::PROMPT_USER, true, {}, Class::HARD)
                     .equals(P(Value::PROMPT_USER, true, Class::HARD)));  // not avoidable
    EXPECT_FALSE(policy.equals(InvalidCertManagementPolicy(Value::PROMPT_USER, true, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, TheNotifyingFailingBuilderMakesWhatItSays) {
    const auto policy = NotifyingFailingBuilder().build();
    EXPECT_TRUE(policy->equals(P(Value::NOTIFY_USER_AND_FAIL, false, {}, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, TheNotifyingSucceedingBuilderMakesWhatItSays) {
    const auto policy = NotifyingSucceedingBuilder().build();
    EXPECT_TRUE(policy->equals(P(Value::NOTIFY_USER_AND_SUCCEED, false, {}, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ThePromptingBuilderMakesWhatItSays) {
    const auto policy = PromptingBuilder().build();
    EXPECT_TRUE(policy->equals(P(Value::PROMPT_USER, true, {}, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ABuilderMakesAnyValueAndClassWhenTold) {
    const auto policy = PromptingBuilder().build(Value::NOTIFY_USER_AND_SUCCEED, Class::SOFT);
    EXPECT_TRUE(policy->equals(P(Value::NOTIFY_USER_AND_SUCCEED, true, {}, Class::SOFT)));
}

/// Adds nothing to the abstract builder.
class PlainBuilder : public P::AvoidableUserInteractingInvalidCertManagementPolicyBuilder {
public:
    using AvoidableUserInteractingInvalidCertManagementPolicyBuilder::
        AvoidableUserInteractingInvalidCertManagementPolicyBuilder;
    using AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build;
    std::shared_ptr<P> build() override {
        return AvoidableUserInteractingInvalidCertManagementPolicyBuilder::build();
    }
};

TEST_F(UserInteractingInvalidCertManagementPolicyTest, TheDefaultBodyOfABuilderNotifiesAndFails) {
    EXPECT_TRUE(PlainBuilder(true).build()->equals(P(Value::NOTIFY_USER_AND_FAIL, true, {}, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, TransitionsAreAddedToThoseOfBefore) {
    PromptingBuilder builder;
    builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED)
        .acceptTransaction(CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH)
        .acceptTransaction(CertStatus::EXPIRED, CertStatus::UNKNOWN);
    const P::Transitions expected{{CertStatus::UNKNOWN, {CertStatus::EXPIRED, CertStatus::CN_NO_MATCH}},
                                  {CertStatus::EXPIRED, {CertStatus::UNKNOWN}}};
    EXPECT_TRUE(builder.build()->equals(P(Value::PROMPT_USER, true, expected, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ATransitionToItselfLeavesTheMapEmpty) {
    PromptingBuilder builder;
    builder.acceptTransaction(CertStatus::EXPIRED, CertStatus::EXPIRED);
    EXPECT_TRUE(builder.build()->equals(P(Value::PROMPT_USER, true, {}, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ATransitionCoversItsTargetButNotItsSource) {
    PromptingBuilder builder;
    const auto policy = builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED).build();
    EXPECT_TRUE(policy->evaluateTransition({CertStatus::UNKNOWN}, {CertStatus::EXPIRED}));
    EXPECT_FALSE(
        policy->evaluateTransition({CertStatus::UNKNOWN}, {CertStatus::EXPIRED, CertStatus::UNKNOWN}));
    EXPECT_FALSE(policy->evaluateTransition({}, {CertStatus::EXPIRED}));
    EXPECT_FALSE(policy->evaluateTransition({CertStatus::EXPIRED}, {CertStatus::UNKNOWN}));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, WhatIsAcceptableIsTheUnionOverTheOldStatuses) {
    PromptingBuilder builder;
    const auto policy = builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED)
                            .acceptTransaction(CertStatus::CN_NO_MATCH, CertStatus::WEAK_KEY)
                            .build();
    EXPECT_EQ((Statuses{CertStatus::EXPIRED, CertStatus::WEAK_KEY}),
              policy->buildAcceptableStatuses(
                  {CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH, CertStatus::WRONG_USAGE}));
    EXPECT_THAT(policy->buildAcceptableStatuses({CertStatus::EXPIRED}), IsEmpty());
    EXPECT_TRUE(policy->evaluateTransition({CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH},
                                           {CertStatus::EXPIRED, CertStatus::WEAK_KEY}));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, WithoutInteractionATransitionDecides) {
    PromptingBuilder builder;
    const auto policy = builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED).build();
    bool accepted = false;
    EXPECT_EQ(Enforcing::SUCCESS,
              policy->enforceWithoutUserInteraction({CertStatus::UNKNOWN}, {CertStatus::EXPIRED}, accepted));
    EXPECT_TRUE(accepted);
    EXPECT_EQ(Enforcing::SUCCESS,
              policy->enforceWithoutUserInteraction({CertStatus::UNKNOWN}, {CertStatus::WEAK_KEY}, accepted));
    EXPECT_FALSE(accepted);
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, WithoutInteractionARevokedOneIsNeverCovered) {
    const test::LogCapture capture;
    PromptingBuilder builder;
    const auto policy = builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::INVALID_REVOKED).build();
    bool accepted = true;
    EXPECT_EQ(Enforcing::SUCCESS, policy->enforceWithoutUserInteraction(
                                      {CertStatus::UNKNOWN}, {CertStatus::INVALID_REVOKED}, accepted));
    EXPECT_FALSE(accepted);
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "does not manage failures reporting INVALID_REVOKED error"));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest,
       WithoutInteractionOneThatIsNotAvoidableDecidesNothing) {
    const test::LogCapture capture;
    const P policy(Value::PROMPT_USER, true, Class::HARD);
    for (const bool before : {false, true}) {
        bool accepted = before;
        EXPECT_EQ(Enforcing::NOT_ENFORCEABLE, policy.enforceWithoutUserInteraction(
                                                  {CertStatus::UNKNOWN}, {CertStatus::UNKNOWN}, accepted));
        EXPECT_EQ(before, accepted);
    }
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "Policy is not enforceable."));
    EXPECT_FALSE(policy.verifyEnforceabilityWithoutUserInteraction({}, {}));
    EXPECT_TRUE(PromptingBuilder().build()->verifyEnforceabilityWithoutUserInteraction({}, {}));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, WithoutAListenerNoneIsEnforceable) {
    for (const auto& policy : {PromptingBuilder().build(), NotifyingFailingBuilder().build(),
                               NotifyingSucceedingBuilder().build()}) {
        const test::LogCapture capture;
        EXPECT_EQ(Enforcing::NOT_ENFORCEABLE, enforce(policy));
        EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
        EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "The policy can't be enforced."));
    }
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, AValueThatDoesNotTalkToTheUserIsNotEnforceable) {
    const auto listener = listen();
    for (const int value : {0, 1, 17}) {
        EXPECT_EQ(Enforcing::NOT_ENFORCEABLE,
                  enforce(std::make_shared<P>(static_cast<Value::Value>(value), true, Class::HARD)));
    }
    EXPECT_EQ(0U, listener->calls());
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ThePlainFormCannotEnforceWhatTalksToTheUser) {
    listen();
    const std::shared_ptr<InvalidCertManagementPolicy> policy = PromptingBuilder().build();
    EXPECT_EQ(Enforcing::NOT_ENFORCEABLE, policy->enforce(statuses, nullptr));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ASuccessTroublesNobody) {
    const auto listener = listen();
    for (const Statuses& success : {Statuses{}, Statuses{CertStatus::VALID}}) {
        statuses = success;
        EXPECT_EQ(Enforcing::SUCCESS, enforce(PromptingBuilder().build()));
        EXPECT_EQ(success, statuses);
    }
    EXPECT_EQ(0U, listener->calls());
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, OfARevokedCertificateTheUserIsToldNothing) {
    const test::LogCapture capture;
    const auto listener = listen();
    for (const auto& policy : {PromptingBuilder().build(), NotifyingFailingBuilder().build(),
                               NotifyingSucceedingBuilder().build()}) {
        statuses = {CertStatus::UNKNOWN, CertStatus::INVALID_REVOKED};
        EXPECT_EQ(Enforcing::SUCCESS, enforce(policy));
        EXPECT_EQ((Statuses{CertStatus::UNKNOWN, CertStatus::INVALID_REVOKED}), statuses);
    }
    EXPECT_EQ(0U, listener->calls());
    EXPECT_EQ(3U, capture.count("does not manage failures reporting INVALID_REVOKED error"));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, NotifyAndSucceedWarnsAndPasses) {
    const auto listener = listen();
    EXPECT_EQ(Enforcing::SUCCESS, enforce(NotifyingSucceedingBuilder().build()));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    ASSERT_EQ(1U, listener->calls());
    EXPECT_FALSE(listener->infos().front().userCanDecide);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, NotifyAndFailWarnsAndRefuses) {
    const auto listener = listen();
    EXPECT_EQ(Enforcing::SUCCESS, enforce(NotifyingFailingBuilder().build()));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    ASSERT_EQ(1U, listener->calls());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, PromptPassesWhatTheUserAccepts) {
    const auto listener = listen(accept);
    EXPECT_EQ(Enforcing::SUCCESS, enforce(PromptingBuilder().build()));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    const InvalidCertInfo info = listener->infos().at(0);
    EXPECT_TRUE(info.userCanDecide);
    EXPECT_EQ(FINGERPRINT, info.fingerprint);
    EXPECT_EQ("CN", info.commonName);
    EXPECT_EQ("asked.test", info.identifier);
    EXPECT_EQ("Shown", info.identifierToDisplay);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, info.statuses);
    EXPECT_EQ("leaf", info.leafPem);
    EXPECT_EQ((std::vector<std::string>{"middle", "root"}), info.chainPem);
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, PromptRefusesWhatTheUserRejects) {
    listen(reject);
    EXPECT_EQ(Enforcing::SUCCESS, enforce(PromptingBuilder().build()));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, AnAcceptanceWithoutOptionsIsNoDecision) {
    const test::LogCapture capture;
    listen(
        [](const InvalidCertInfo& info) { EXPECT_TRUE(manager()->acceptInvalidCert(info.fingerprint, {})); });
    EXPECT_EQ(Enforcing::ENFORCING_FAILURE, enforce(PromptingBuilder().build()));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "Unable to manage user decision UNKNOWN"));
    EXPECT_TRUE(
        capture.contains(ZEBLOG_WARNING, "Unable to enforce user decision. Policy enforcement failed."));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, AListenerThatThrowsIsAFailureToEnforce) {
    const test::LogCapture capture;
    listen([](const InvalidCertInfo&) { throw std::logic_error("no window to ask in"); });
    for (const auto& policy : {PromptingBuilder().build(), NotifyingFailingBuilder().build(),
                               NotifyingSucceedingBuilder().build()}) {
        EXPECT_EQ(Enforcing::ENFORCING_FAILURE, enforce(policy));
        EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    }
    EXPECT_EQ(3U, capture.count("Unable to enforce the policy, received a logic_error from "
                                "InvalidCertNotificationManager: no window to ask in"));
}

/// Calls every value enforceable.
class TooSure : public P {
public:
    using P::P;
    using P::verifyEnforceability;
    bool verifyEnforceability(const Statuses&, const std::string&, const std::string&, const std::string&,
                              const std::string&, const std::string&,
                              const std::vector<std::string>&) const override {
        return true;
    }
};

TEST_F(UserInteractingInvalidCertManagementPolicyTest, EnforceAsksTheSubclassAndFailsAtAValueItCannotManage) {
    const test::LogCapture capture;
    EXPECT_EQ(Enforcing::ENFORCING_FAILURE,
              enforce(std::make_shared<TooSure>(Value::SILENTLY_SUCCEED, true, Class::HARD)));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "Unable to enforce this 1 InvalidCertManagementPolicy, unmanaged policy"));
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "Fail to enforce this 1 InvalidCertManagementPolicy."));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, AManagerThatLostItsListenerIsAFailureToEnforce) {
    EXPECT_EQ(Enforcing::ENFORCING_FAILURE,
              enforce(std::make_shared<TooSure>(Value::PROMPT_USER, true, Class::HARD)));
}

TEST_F(UserInteractingInvalidCertManagementPolicyTest, ADecisionIsPutIntoTheStatuses) {
    const auto policy = PromptingBuilder().build();
    EXPECT_TRUE(policy->manageUserDecision(Prompt::DENY, statuses));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_FALSE(policy->manageUserDecision(Prompt::UNKNOWN, statuses));
    EXPECT_FALSE(policy->manageUserDecision(InvalidCertNotificationManager::NO_DECISION, statuses));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_TRUE(policy->manageUserDecision(Prompt::ACCEPT_FOR_SESSION, statuses));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
}

}  // namespace
}  // namespace zeb::cert
