#include "../InvalidCertTestSupport.h"
#include "cert/PersistInvalidCertDecisionPolicy.h"
#include "cert/common/InvalidCertNotificationManager.h"
#include "common/DefaultPoliciesStore.h"
#include "support/LogCapture.h"
#include "support/Printed.h"

#include <future>
#include <stdexcept>

namespace zeb::cert {
namespace {

using Interacting = UserInteractingInvalidCertManagementPolicy;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::printed;

constexpr auto NO_DECISION = InvalidCertNotificationManager::NO_DECISION;

/// One verification that needs a decision.
struct Verification {
    explicit Verification(std::string itsFingerprint = "0a 1b ",
                          std::shared_ptr<InvalidCertManagementPolicy> itsPolicy = PromptingBuilder().build())
        : fingerprint(std::move(itsFingerprint)), policy(std::move(itsPolicy)) {}

    InvalidCertNotificationManager::PromptDecision::Decision prompt() {
        const CertificateCacheAccessor accessor(fingerprint, statuses, policy);
        return promptWith(accessor);
    }
    InvalidCertNotificationManager::PromptDecision::Decision promptWith(
        const CertificateCacheAccessor& accessor) {
        return InvalidCertNotificationManager::getInstance()->promptUserForAction(
            "CN", "asked.test", "Shown", statuses, fingerprint, "leaf", {"middle", "root"}, accessor);
    }
    void warn(bool succeed) { warnWith(CertificateCacheAccessor(fingerprint, statuses, policy), succeed); }
    void warnWith(const CertificateCacheAccessor& accessor, bool succeed) {
        InvalidCertNotificationManager::getInstance()->displayCertWarning(
            "CN", "asked.test", "Shown", statuses, fingerprint, "leaf", {"middle", "root"}, succeed,
            accessor);
    }

    const std::string fingerprint;
    const std::shared_ptr<InvalidCertManagementPolicy> policy;
    Statuses statuses{CertStatus::UNKNOWN};
};

class InvalidCertNotificationManagerTest : public InvalidCertTest {
protected:
    using Answered = std::future<Prompt::Decision>;

    /// Prompts on a thread of its own.
    static Answered promptElsewhere(Verification& verification) {
        return std::async(std::launch::async, [&] { return verification.prompt(); });
    }
    /// The same, and returns once that thread waits for the request in progress.
    static Answered joinElsewhere(Verification& verification) {
        const test::LogCapture capture;
        Answered answer = promptElsewhere(verification);
        EXPECT_TRUE(
            capture.waitFor("There is an in progress request for this cert. Waiting for its completion"));
        return answer;
    }
    static bool acceptForSession(const std::string& fingerprint) {
        return manager()->acceptInvalidCert(fingerprint, {Options::ACCEPT_FOR_SESSION});
    }

    Verification first;
    Verification second;
};

TEST_F(InvalidCertNotificationManagerTest, ThereIsOneManagerAndItFollowsTheDefaultPolicies) {
    const auto one = manager();
    EXPECT_EQ(one, manager());
    EXPECT_EQ(1U, common::DefaultPoliciesStore::getNumObservers());
    EXPECT_TRUE(one->canDecisionBePersisted());
    common::DefaultPoliciesStore::setPolicy(PersistInvalidCertDecisionPolicy::DO_NOT_PERSIST_DECISION_POLICY);
    EXPECT_FALSE(one->canDecisionBePersisted());
    common::DefaultPoliciesStore::reset();
}

TEST_F(InvalidCertNotificationManagerTest, AllThreadsGetTheSameManager) {
    std::vector<std::future<std::shared_ptr<InvalidCertNotificationManager>>> instances;
    for (int i = 0; i < 8; ++i) {
        instances.push_back(std::async(std::launch::async, [] { return manager(); }));
    }
    const auto one = manager();
    for (auto& instance : instances) {
        EXPECT_EQ(one, instance.get());
    }
    EXPECT_EQ(1U, common::DefaultPoliciesStore::getNumObservers());
}

TEST_F(InvalidCertNotificationManagerTest, ItStartsWithTheDefaultsThatAreThere) {
    common::DefaultPoliciesStore::setPolicy(PersistInvalidCertDecisionPolicy::DO_NOT_PERSIST_DECISION_POLICY);
    EXPECT_FALSE(manager()->canDecisionBePersisted());
    common::DefaultPoliciesStore::reset();
}

TEST_F(InvalidCertNotificationManagerTest, DecisionsHaveTheirNumbersAndNames) {
    EXPECT_EQ(0, static_cast<int>(Prompt::ACCEPT_FOR_SESSION));
    EXPECT_EQ(1, static_cast<int>(Prompt::DENY));
    EXPECT_EQ(2, static_cast<int>(Prompt::UNKNOWN));
    EXPECT_EQ(3, static_cast<int>(NO_DECISION));
    EXPECT_EQ("ACCEPT_FOR_SESSION", printed(Prompt::ACCEPT_FOR_SESSION));
    EXPECT_EQ("DENY", printed(Prompt::DENY));
    EXPECT_EQ("UNKNOWN", printed(Prompt::UNKNOWN));
    EXPECT_EQ("Unexpected value (3)", printed(NO_DECISION));
    EXPECT_EQ(0, static_cast<int>(Options::ACCEPT_FOR_SESSION));
    EXPECT_EQ("ACCEPT_FOR_SESSION", printed(Options::ACCEPT_FOR_SESSION));
    EXPECT_EQ("Unexpected value (7)", printed(static_cast<Options::Options>(7)));
}

TEST_F(InvalidCertNotificationManagerTest, ADecisionIsBuiltFromWhatTheCacheSays) {
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, Prompt::build(CertAcceptanceDecision::YES));
    EXPECT_EQ(Prompt::DENY, Prompt::build(CertAcceptanceDecision::NO));
    EXPECT_EQ(Prompt::UNKNOWN, Prompt::build(CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR));
    EXPECT_EQ(Prompt::UNKNOWN, Prompt::build(CertAcceptanceDecision::UNKNOWN));
}

TEST_F(InvalidCertNotificationManagerTest, ItIsInitializedOnceSomebodyListens) {
    EXPECT_FALSE(manager()->isInitialized());
    listen();
    EXPECT_TRUE(manager()->isInitialized());
    manager()->registerInvalidCertListener(nullptr);
    EXPECT_FALSE(manager()->isInitialized());
}

TEST_F(InvalidCertNotificationManagerTest, WithoutAListenerEveryCallThrows) {
    const test::LogCapture capture;
    const auto throwing = [](const auto& call) {
        try {
            call();
        } catch (const std::logic_error& error) {
            return std::string(error.what());
        }
        return std::string("nothing thrown");
    };
    const std::string expected =
        "No InvalidCertListener registered to the InvalidCertNotificationManager. Unexpected condition!";
    EXPECT_EQ(expected, throwing([&] { first.prompt(); }));
    EXPECT_EQ(expected, throwing([&] { first.warn(true); }));
    EXPECT_EQ(expected,
              throwing([&] { manager()->reportRejectedCert(FINGERPRINT, "CN", "Shown", {}, "leaf", {}); }));
    for (const char* const text : {"Unable to prompt the user. ", "Unable to display a warning to the user. ",
                                   "Unable to report a rejected invalid certificate to the user. "}) {
        EXPECT_TRUE(capture.contains(
            ZEBLOG_ERROR, std::string(text) + "InvalidCertListener not registered. Unexpected condition!"));
    }
}

TEST_F(InvalidCertNotificationManagerTest, PersistingIsAllowedWithoutAPolicyAndTheLogSaysSo) {
    const test::LogCapture capture;
    EXPECT_TRUE(manager()->canDecisionBePersisted());
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "Persist Invalid Cert Decision Policy not available, using default value"));
}

TEST_F(InvalidCertNotificationManagerTest, ThePersistPolicyIsToldToTheListener) {
    const auto listener = listen(rejectOnce);
    first.prompt();
    manager()->addPolicy(PersistInvalidCertDecisionPolicy::DO_NOT_PERSIST_DECISION_POLICY);
    first.prompt();
    manager()->addPolicy(PersistInvalidCertDecisionPolicy::PERSIST_DECISION_POLICY);
    first.prompt();
    std::vector<bool> told;
    for (const InvalidCertInfo& info : listener->infos()) {
        told.push_back(info.canBePersisted);
    }
    EXPECT_THAT(told, ElementsAre(true, false, true));
}

TEST_F(InvalidCertNotificationManagerTest, APromptTellsAllThatTheUserNeeds) {
    const test::LogCapture capture;
    const auto listener = listen(accept);
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, first.prompt());
    const InvalidCertInfo info = listener->infos().at(0);
    EXPECT_EQ(FINGERPRINT, info.fingerprint);
    EXPECT_EQ("CN", info.commonName);
    EXPECT_EQ("asked.test", info.identifier);
    EXPECT_EQ("Shown", info.identifierToDisplay);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, info.statuses);
    EXPECT_EQ("leaf", info.leafPem);
    EXPECT_THAT(info.chainPem, ElementsAre("middle", "root"));
    EXPECT_TRUE(info.userCanDecide);
    EXPECT_TRUE(info.canBePersisted);
    for (const char* const text :
         {"Prompting the user for invalid cert ", " with fingerprint 0a 1b  reporting failure [UNKNOWN]",
          "No in progress requests",
          "Sending a request to the InvalidCertListener. The user can take a decision", "Request sent",
          "User has accepted the request with fingerprint 0a 1b ", "Signal has been sent.",
          "Managing the response received: Certificate accepted Options: ACCEPT_FOR_SESSION User decision is "
          "ACCEPT_FOR_SESSION",
          "Completing the request", "Notifying any possible waiting request on this certificate",
          "Request completed"}) {
        EXPECT_TRUE(capture.contains(text)) << text;
    }
}

TEST_F(InvalidCertNotificationManagerTest, ARecordIsAWarningUntilItIsMadeAQuestion) {
    const InvalidCertInfo info;
    EXPECT_FALSE(info.userCanDecide);
    EXPECT_FALSE(info.canBePersisted);
    EXPECT_THAT(info.statuses, IsEmpty());
}

TEST_F(InvalidCertNotificationManagerTest, AnAnswerWithinTheCallNeedsNoWaiting) {
    const test::LogCapture capture;
    listen(reject);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_FALSE(capture.contains("No response available yet, waiting for a response to come"));
    EXPECT_TRUE(capture.contains("User has rejected the request with fingerprint 0a 1b "));
    EXPECT_TRUE(
        capture.contains("Managing the response received: Certificate rejected User decision is DENY"));
}

TEST_F(InvalidCertNotificationManagerTest, AnAnswerFromAnotherThreadEndsTheWaiting) {
    const test::LogCapture capture;
    listen();
    Answered answer = promptElsewhere(first);
    ASSERT_TRUE(capture.waitFor("No response available yet, waiting for a response to come"));
    EXPECT_EQ(std::future_status::timeout, answer.wait_for(std::chrono::seconds(0)));
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
}

TEST_F(InvalidCertNotificationManagerTest, AnAcceptanceIsKeptUnderTheStatusesAskedAbout) {
    listen(accept);
    first.statuses = {CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH};
    first.prompt();
    EXPECT_EQ((Statuses{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH}),
              Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

TEST_F(InvalidCertNotificationManagerTest, ARejectionIsKeptAndAOnceOnlyOneIsNot) {
    listen(rejectOnce);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
    listen(reject);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, TheLongFormOfARejectionSaysWhetherItIsKept) {
    listen([](const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->rejectInvalidCert(info.fingerprint, false));
    });
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
    listen([](const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->rejectInvalidCert(info.fingerprint, true));
    });
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, AnAcceptanceWithoutOptionsIsUnknownAndNotKept) {
    const test::LogCapture capture;
    listen(
        [](const InvalidCertInfo& info) { EXPECT_TRUE(manager()->acceptInvalidCert(info.fingerprint, {})); });
    EXPECT_EQ(Prompt::UNKNOWN, first.prompt());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "The prompt request has been accepted but no options have been provided. "
                                 "Unexpected condition!"));
    EXPECT_TRUE(
        capture.contains("Managing the response received: Certificate accepted User decision is UNKNOWN"));
}

TEST_F(InvalidCertNotificationManagerTest, AnUnknownOptionAloneIsNoAcceptanceAndBesideTheKnownOneIsIgnored) {
    const test::LogCapture capture;
    const auto strange = static_cast<Options::Options>(7);
    listen([&](const InvalidCertInfo& info) { manager()->acceptInvalidCert(info.fingerprint, {strange}); });
    EXPECT_EQ(Prompt::UNKNOWN, first.prompt());
    listen([&](const InvalidCertInfo& info) {
        manager()->acceptInvalidCert(info.fingerprint, {Options::ACCEPT_FOR_SESSION, strange});
    });
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, first.prompt());
    EXPECT_EQ(2U, capture.count("Received an unmanaged option7"));
    EXPECT_TRUE(capture.contains("Certificate accepted Options: ACCEPT_FOR_SESSION Unexpected value (7)"));
}

TEST_F(InvalidCertNotificationManagerTest, AnAnswerForAStrangerIsRefused) {
    const test::LogCapture capture;
    listen(accept);
    EXPECT_FALSE(acceptForSession("stranger"));
    EXPECT_FALSE(manager()->rejectInvalidCert("stranger"));
    EXPECT_FALSE(manager()->rejectInvalidCertOnce("stranger"));
    EXPECT_TRUE(
        capture.contains(ZEBLOG_ERROR, "Received an accept response for a prompt request not in progress"));
    EXPECT_EQ(2U, capture.count("Received a reject response for a prompt request not in progress"));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, first.prompt());
    EXPECT_FALSE(acceptForSession(FINGERPRINT));  // nobody asks any more
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue("stranger"), IsEmpty());
}

TEST_F(InvalidCertNotificationManagerTest, ASecondAnswerIsRefusedAndChangesNothing) {
    const test::LogCapture capture;
    listen([](const InvalidCertInfo& info) {
        reject(info);
        EXPECT_FALSE(acceptForSession(info.fingerprint));
        EXPECT_FALSE(manager()->rejectInvalidCertOnce(info.fingerprint));
        EXPECT_TRUE(manager()->checkIntegrity());
    });
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
    EXPECT_TRUE(capture.contains(
        ZEBLOG_ERROR, "Received an accept response for a prompt request that has already a response"));
    EXPECT_TRUE(capture.contains(
        ZEBLOG_ERROR, "Received a reject response for a prompt request that has already a response"));
}

TEST_F(InvalidCertNotificationManagerTest, TwoThreadsWithOneCertificateAskOnceAndBothPass) {
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, joined.get());
    EXPECT_EQ(1U, listener->calls());
    EXPECT_EQ(Statuses{CertStatus::VALID}, second.statuses);  // read from the cache
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, first.statuses);
}

TEST_F(InvalidCertNotificationManagerTest, TwoThreadsWithOneCertificateAskOnceAndBothFail) {
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    EXPECT_TRUE(manager()->rejectInvalidCert(FINGERPRINT));
    EXPECT_EQ(Prompt::DENY, answer.get());
    EXPECT_EQ(Prompt::DENY, joined.get());
    EXPECT_EQ(1U, listener->calls());
}

TEST_F(InvalidCertNotificationManagerTest, OneAnswerWakesAllWhoJoined) {
    const auto listener = listen();
    Verification third;
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    Answered joinedToo = joinElsewhere(third);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, joined.get());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, joinedToo.get());
    EXPECT_EQ(1U, listener->calls());
}

TEST_F(InvalidCertNotificationManagerTest, AOnceOnlyRejectionLeavesNothingBehindForTheNextRequest) {
    listen(rejectOnce);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    listen();
    first.warn(false);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, AfterAOnceOnlyRejectionTheJoinedThreadAsksForItself) {
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    const test::LogCapture capture;
    EXPECT_TRUE(manager()->rejectInvalidCertOnce(FINGERPRINT));
    EXPECT_EQ(Prompt::DENY, answer.get());
    listener->waitForCalls(2);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, joined.get());
    EXPECT_TRUE(capture.contains(
        "No cached responses found checking if there is any other in progress request for it"));
}

TEST_F(InvalidCertNotificationManagerTest, AJoinedThreadWhosePolicyIsNotAvoidableAsksForItself) {
    const auto listener = listen();
    Verification asker(FINGERPRINT, std::make_shared<Interacting>(Value::PROMPT_USER, true, Class::HARD));
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(asker);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    listener->waitForCalls(2);
    EXPECT_TRUE(manager()->rejectInvalidCertOnce(FINGERPRINT));
    EXPECT_EQ(Prompt::DENY, joined.get());
}

TEST_F(InvalidCertNotificationManagerTest, AJoinedThreadWithAnotherReasonAsksForItself) {
    const auto listener = listen();
    second.statuses = {CertStatus::CN_NO_MATCH};
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    listener->waitForCalls(2);
    EXPECT_EQ(Statuses{CertStatus::CN_NO_MATCH}, listener->infos().at(1).statuses);
    EXPECT_TRUE(manager()->rejectInvalidCert(FINGERPRINT));
    EXPECT_EQ(Prompt::DENY, joined.get());
}

TEST_F(InvalidCertNotificationManagerTest, TwoCertificatesAreTwoQuestionsAtOnce) {
    const auto listener = listen();
    Verification other("other ");
    Answered answer = promptElsewhere(first);
    Answered otherAnswer = promptElsewhere(other);
    listener->waitForCalls(2);
    EXPECT_TRUE(manager()->rejectInvalidCert("other "));
    EXPECT_EQ(Prompt::DENY, otherAnswer.get());
    EXPECT_EQ(std::future_status::timeout, answer.wait_for(std::chrono::seconds(0)));
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
}

TEST_F(InvalidCertNotificationManagerTest, AThreadThatLookedBeforeTheDecisionAndComesAfterItFindsIt) {
    const test::LogCapture capture;
    const auto listener = listen(accept);
    const CertificateCacheAccessor early(FINGERPRINT, second.statuses, second.policy);
    EXPECT_EQ(CertAcceptanceDecision::UNKNOWN, early.buildDecisionFromCache());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, first.prompt());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, second.promptWith(early));
    EXPECT_EQ(1U, listener->calls());
    EXPECT_TRUE(capture.contains("Got a decision from in progress request : ACCEPT_FOR_SESSION"));
}

TEST_F(InvalidCertNotificationManagerTest, AThreadThatLookedBeforeAOnceOnlyRejectionAsksForItself) {
    const auto listener = listen(rejectOnce);
    const CertificateCacheAccessor early(FINGERPRINT, second.statuses, second.policy);
    EXPECT_EQ(CertAcceptanceDecision::UNKNOWN, early.buildDecisionFromCache());
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_EQ(Prompt::DENY, second.promptWith(early));
    EXPECT_EQ(2U, listener->calls());
}

TEST_F(InvalidCertNotificationManagerTest, ACallerThatNeverLookedIntoTheCacheAsksWhateverStandsThere) {
    const auto listener = listen([](const InvalidCertInfo& info) {
        if (info.userCanDecide) {
            reject(info);
        }
    });
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, first.statuses);
    first.warn(false);
    EXPECT_EQ(2U, listener->calls());
}

TEST_F(InvalidCertNotificationManagerTest, AListenerMayAskTheManagerAndBlockNobodyElse) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    const auto listener = listen([&](const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->isInitialized());
        EXPECT_TRUE(manager()->checkIntegrity());
        if (info.fingerprint == FINGERPRINT) {
            released.wait();
        }
        accept(info);
    });
    Answered blocked = promptElsewhere(first);
    listener->waitForCalls(1);
    Verification other("other ");
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, other.prompt());
    release.set_value();
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, blocked.get());
}

TEST_F(InvalidCertNotificationManagerTest, AListenerThatThrowsEndsTheRequest) {
    const test::LogCapture capture;
    listen([](const InvalidCertInfo&) { throw std::logic_error("no window"); });
    EXPECT_THROW(first.prompt(), std::logic_error);
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
    EXPECT_TRUE(capture.contains(
        ZEBLOG_ERROR, "received a logic_error from InvalidCertListener::prompUserForAction : no window"));
    listen(accept);
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, first.prompt());
}

TEST_F(InvalidCertNotificationManagerTest, AListenerThatAnswersAndThrowsLeavesNoAnswerBehind) {
    listen([](const InvalidCertInfo& info) {
        accept(info);
        throw std::logic_error("after all");
    });
    EXPECT_THROW(first.prompt(), std::logic_error);
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    const test::LogCapture capture;
    listen(reject);
    EXPECT_EQ(Prompt::DENY, first.prompt());
    EXPECT_TRUE(capture.contains("Certificate rejected User"));
}

TEST_F(InvalidCertNotificationManagerTest, WhateverAListenerThrowsBecomesALogicError) {
    listen([](const InvalidCertInfo&) { throw std::runtime_error("display lost"); });
    try {
        first.prompt();
        ADD_FAILURE();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ("display lost", error.what());
    }
    listen([](const InvalidCertInfo&) { throw 7; });
    EXPECT_THROW(first.prompt(), std::logic_error);
    EXPECT_THROW(first.warn(true), std::logic_error);
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, AListenerThatThrowsWakesTheJoinedThreadWhichAsksForItself) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    const auto throwing = listen([&](const InvalidCertInfo&) {
        released.wait();
        throw std::logic_error("no window");
    });
    Answered answer = promptElsewhere(first);
    throwing->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    const auto accepting = listen(accept);
    release.set_value();
    EXPECT_THROW(answer.get(), std::logic_error);
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, joined.get());
    EXPECT_EQ(1U, accepting->calls());
}

TEST_F(InvalidCertNotificationManagerTest, AListenerReplacedWhileARequestWaitsIsForTheNextOne) {
    const auto former = listen();
    Answered answer = promptElsewhere(first);
    former->waitForCalls(1);
    const auto latter = listen();
    Verification other("other ");
    Answered otherAnswer = promptElsewhere(other);
    latter->waitForCalls(1);
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_TRUE(acceptForSession("other "));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, otherAnswer.get());
    EXPECT_EQ(1U, former->calls());
    EXPECT_EQ(1U, latter->calls());
}

TEST_F(InvalidCertNotificationManagerTest, AListenerTakenAwayLeavesTheJoinedThreadNobodyToAsk) {
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    Answered joined = joinElsewhere(second);
    manager()->registerInvalidCertListener(nullptr);
    EXPECT_TRUE(manager()->rejectInvalidCertOnce(FINGERPRINT));
    EXPECT_EQ(Prompt::DENY, answer.get());
    EXPECT_THROW(joined.get(), std::logic_error);
    EXPECT_EQ(1U, listener->calls());
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, AListenerLivesUntilTheCallThatRunsInItIsOver) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::weak_ptr<RecordingListener> former;
    Answered answer;
    {
        const auto listener = listen([released](const InvalidCertInfo& info) {
            released.wait();
            accept(info);
        });
        former = listener;
        answer = promptElsewhere(first);
        listener->waitForCalls(1);
    }
    listen();
    EXPECT_FALSE(former.expired());
    release.set_value();
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    EXPECT_TRUE(former.expired());
}

TEST_F(InvalidCertNotificationManagerTest, AWarningExpectsNoAnswerAndIsKeptAsADecision) {
    const test::LogCapture capture;
    const auto listener = listen();
    first.warn(true);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
    Verification other("other ");
    other.warn(false);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue("other "));
    ASSERT_EQ(2U, listener->calls());
    EXPECT_FALSE(listener->infos().at(0).userCanDecide);
    EXPECT_FALSE(listener->infos().at(0).canBePersisted);
    EXPECT_EQ("Shown", listener->infos().at(1).identifierToDisplay);
    EXPECT_TRUE(capture.contains("Warning the user for invalid cert "));
    EXPECT_TRUE(
        capture.contains("Sending a request to the InvalidCertListener. The user cannot take a decision"));
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, AnAnswerToAWarningIsTakenAndDecidesNothing) {
    listen(accept);
    first.warn(false);
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
    listen(rejectOnce);
    Verification other("other ");
    other.warn(true);
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue("other "), IsEmpty()) << "once is not to be remembered";
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue("other "), IsEmpty());
    const test::LogCapture capture;
    listen(reject);
    EXPECT_EQ(Prompt::DENY, other.prompt());
    EXPECT_TRUE(capture.contains("Certificate rejected User")) << "nothing was left of the former answer";
}

TEST_F(InvalidCertNotificationManagerTest, AWarningThatFindsADecisionShowsNothing) {
    const test::LogCapture capture;
    const auto listener = listen();
    const CertificateCacheAccessor early(FINGERPRINT, second.statuses, second.policy);
    EXPECT_EQ(CertAcceptanceDecision::UNKNOWN, early.buildDecisionFromCache());
    first.warn(false);
    second.warnWith(early, false);
    EXPECT_EQ(1U, listener->calls());
    EXPECT_TRUE(capture.contains("Got a decision from in progress request: DENY"));
}

TEST_F(InvalidCertNotificationManagerTest, AWarningWaitsForAQuestionAboutTheSameCertificate) {
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    listener->waitForCalls(1);
    const test::LogCapture capture;
    auto warned = std::async(std::launch::async, [&] { second.warn(false); });
    ASSERT_TRUE(capture.waitFor("There is an in progress request for this cert"));
    EXPECT_TRUE(acceptForSession(FINGERPRINT));
    EXPECT_EQ(Prompt::ACCEPT_FOR_SESSION, answer.get());
    warned.get();
    EXPECT_EQ(1U, listener->calls());
    EXPECT_TRUE(capture.contains("Found a cached response"));
}

TEST_F(InvalidCertNotificationManagerTest, AWarningWhoseListenerThrowsKeepsNothing) {
    listen([](const InvalidCertInfo&) { throw std::logic_error("no window"); });
    EXPECT_THROW(first.warn(true), std::logic_error);
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_FALSE(acceptForSession(FINGERPRINT));
}

TEST_F(InvalidCertNotificationManagerTest, ARejectionIsReportedAsItIs) {
    const test::LogCapture capture;
    const auto listener = std::make_shared<MockInvalidCertListener>();
    EXPECT_CALL(*listener, reportRejectedCert(FINGERPRINT, "CN", "Shown", Statuses{CertStatus::EXPIRED},
                                              "leaf", std::vector<std::string>{"root"}));
    manager()->registerInvalidCertListener(listener);
    manager()->reportRejectedCert(FINGERPRINT, "CN", "Shown", {CertStatus::EXPIRED}, "leaf", {"root"});
    EXPECT_TRUE(capture.contains(
        "Sending a rejected invalid cert event to the InvalidCertListener for cert with fingerprint 0a 1b "));
}

TEST_F(InvalidCertNotificationManagerTest, WhateverAListenerThrowsAtAReportBecomesALogicError) {
    const auto listener = std::make_shared<MockInvalidCertListener>();
    EXPECT_CALL(*listener, reportRejectedCert(_, _, _, _, _, _))
        .WillOnce(testing::Throw(std::runtime_error("display lost")));
    manager()->registerInvalidCertListener(listener);
    EXPECT_THROW(manager()->reportRejectedCert(FINGERPRINT, "CN", "Shown", {}, "leaf", {}), std::logic_error);
}

TEST_F(InvalidCertNotificationManagerTest, ClearingForATestEndsEveryWaitWithoutADecision) {
    const test::LogCapture capture;
    const auto before = manager();
    const auto listener = listen();
    Answered answer = promptElsewhere(first);
    ASSERT_TRUE(capture.waitFor("No response available yet, waiting for a response to come"));
    Answered joined = promptElsewhere(second);
    ASSERT_TRUE(capture.waitFor("There is an in progress request for this cert"));
    before->clearForTesting();
    EXPECT_EQ(NO_DECISION, answer.get());
    EXPECT_EQ(NO_DECISION, joined.get());
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "No decision to report. The request has been aborted"));
    EXPECT_TRUE(capture.contains("Cleaning the state. We MUST be in a test"));
    EXPECT_TRUE(before->checkIntegrity());
    EXPECT_FALSE(before->isInitialized());
    EXPECT_NE(before, manager());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

TEST_F(InvalidCertNotificationManagerTest, AClearedManagerAsksAgainOnceSomebodyListens) {
    const auto cleared = manager();
    cleared->clearForTesting();
    const auto listener = std::make_shared<RecordingListener>(
        [&](const InvalidCertInfo& info) { EXPECT_TRUE(cleared->rejectInvalidCert(info.fingerprint)); });
    cleared->registerInvalidCertListener(listener);
    Statuses statuses{CertStatus::UNKNOWN};
    const CertificateCacheAccessor accessor(FINGERPRINT, statuses, PromptingBuilder().build());
    EXPECT_EQ(Prompt::DENY,
              cleared->promptUserForAction("CN", "", "", statuses, FINGERPRINT, "", {}, accessor));
}

TEST_F(InvalidCertNotificationManagerTest, AnAnswerThatWasClearedAwayIsMissedAndDecidesNothing) {
    const test::LogCapture capture;
    const auto cleared = manager();
    const auto next = std::make_shared<RecordingListener>();
    cleared->registerInvalidCertListener(
        std::make_shared<RecordingListener>([&](const InvalidCertInfo& info) {
            EXPECT_TRUE(cleared->acceptInvalidCert(info.fingerprint, {Options::ACCEPT_FOR_SESSION}));
            cleared->clearForTesting();
            cleared->registerInvalidCertListener(next);
        }));
    Statuses statuses{CertStatus::UNKNOWN};
    const CertificateCacheAccessor accessor(FINGERPRINT, statuses, PromptingBuilder().build());
    try {
        cleared->promptUserForAction("CN", "", "", statuses, FINGERPRINT, "", {}, accessor);
        ADD_FAILURE() << "it did not throw";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ("No response available for a completed prompt request. Unexpected condition!",
                     error.what());
    }
    EXPECT_TRUE(capture.contains(ZEBLOG_ERROR,
                                 "Unable to retrieve a response to prompt request. Unexpected condition!"));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_TRUE(cleared->checkIntegrity());
    EXPECT_FALSE(cleared->rejectInvalidCert(FINGERPRINT)) << "no request is left behind";
}

TEST_F(InvalidCertNotificationManagerTest, CommonNamesDoNotReachTheLog) {
    const test::LogCapture capture;
    listen(rejectOnce);
    const std::string name = "someone@secret.example.com";
    Statuses statuses{CertStatus::UNKNOWN};
    const CertificateCacheAccessor accessor(FINGERPRINT, statuses, PromptingBuilder().build());
    manager()->promptUserForAction(name, name, name, statuses, FINGERPRINT, "", {}, accessor);
    manager()->displayCertWarning(name, name, name, statuses, FINGERPRINT, "", {}, true, accessor);
    EXPECT_EQ(ZEBLogger_replacePIIData(name) == name, capture.contains(name));
}

}  // namespace
}  // namespace zeb::cert
