#include "../InvalidCertTestSupport.h"
#include "cert/common/CertificateCacheAccessor.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"

#include <functional>

namespace zeb::cert {
namespace {

using Answer = CertificateCacheAccessor::AlreadyDecided;
using D = CertAcceptanceDecision;
using Interacting = UserInteractingInvalidCertManagementPolicy;
using testing::IsEmpty;

class CertificateCacheAccessorTest : public InvalidCertTest {
protected:
    CertificateCacheAccessor accessor(const std::shared_ptr<InvalidCertManagementPolicy>& policy) {
        return {FINGERPRINT, statuses, policy};
    }
    D::Decision decisionOf(const std::shared_ptr<InvalidCertManagementPolicy>& policy) {
        return accessor(policy).buildDecisionFromCache();
    }

    Statuses statuses{CertStatus::UNKNOWN};
    const std::shared_ptr<Interacting> prompting = PromptingBuilder().build();
    const std::shared_ptr<Interacting> unavoidable =
        std::make_shared<Interacting>(Value::PROMPT_USER, true, Class::HARD);
};

TEST_F(CertificateCacheAccessorTest, TheAnswersHaveFixedNumbers) {
    EXPECT_EQ(0, static_cast<int>(Answer::YES));
    EXPECT_EQ(1, static_cast<int>(Answer::NO));
    EXPECT_EQ(2, static_cast<int>(Answer::FAILURE));
}

TEST_F(CertificateCacheAccessorTest, NothingIsKnownOfACertificateThatWasNeverDecidedAbout) {
    EXPECT_EQ(D::UNKNOWN, decisionOf(prompting));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
}

TEST_F(CertificateCacheAccessorTest, APolicyThatDoesNotInteractNeverReadsTheCache) {
    const test::LogCapture capture;
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::UNKNOWN, decisionOf(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY));
    EXPECT_EQ(D::UNKNOWN, decisionOf(nullptr));
    EXPECT_EQ(2U, capture.count("Policy does not interact with the user"));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
}

TEST_F(CertificateCacheAccessorTest, APolicyThatIsNotAvoidableNeverReadsTheCache) {
    const test::LogCapture capture;
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::UNKNOWN, decisionOf(unavoidable));
    EXPECT_EQ(D::UNKNOWN, decisionOf(std::make_shared<InvalidCertManagementPolicy>(Value::PROMPT_USER, true,
                                                                                   Class::HARD)));
    EXPECT_EQ(2U, capture.count("User interaction is unavoidable"));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
}

TEST_F(CertificateCacheAccessorTest, WhatWasAcceptedPassesAgainAndTheStatusesBecomeValid) {
    const test::LogCapture capture;
    accessor(prompting).updateCacheAccepted();
    EXPECT_EQ(D::YES, decisionOf(prompting));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    EXPECT_TRUE(capture.contains(
        ZEBLOG_INFO, "Adding the certificate to accepted invalid certificate cache, fingerprint [0a 1b "));
    EXPECT_TRUE(capture.contains("Certificate cached as accepted for fingerprint [0a 1b "));
}

TEST_F(CertificateCacheAccessorTest, WhatWasRejectedIsRefusedAgainAndTheStatusesStay) {
    const test::LogCapture capture;
    accessor(prompting).updateCacheRejected();
    EXPECT_EQ(D::NO, decisionOf(prompting));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_TRUE(capture.contains(
        "Adding the certificate to rejected invalid certificate cache, fingerprint [0a 1b "));
    EXPECT_TRUE(capture.contains("Certificate cached as rejected for fingerprint [0a 1b "));
}

TEST_F(CertificateCacheAccessorTest, ASubsetOfWhatWasAcceptedPasses) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, {CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH});
    EXPECT_EQ(D::YES, decisionOf(prompting));
}

TEST_F(CertificateCacheAccessorTest, ASubsetOfWhatWasRejectedIsRefused) {
    Cache::addRejectedInvalidCertificate(FINGERPRINT, {CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH});
    EXPECT_EQ(D::NO, decisionOf(prompting));
}

TEST_F(CertificateCacheAccessorTest, AnotherReasonWithoutATransitionRemovesTheAcceptance) {
    const test::LogCapture capture;
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::CN_NO_MATCH};
    EXPECT_EQ(D::UNKNOWN, decisionOf(prompting));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_EQ(Statuses{CertStatus::CN_NO_MATCH}, statuses);
    EXPECT_TRUE(capture.contains(
        "Invalid Certificate management Policy rejected the failure reason give the cached ones, removing "
        "cache entry if any"));
}

TEST_F(CertificateCacheAccessorTest, AnotherReasonWithoutATransitionRemovesTheRejection) {
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::CN_NO_MATCH};
    EXPECT_EQ(D::UNKNOWN, decisionOf(prompting));
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

/// Runs something between the reading of an entry and its removal, which are told apart by the log alone.
class BetweenReadingAndRemoval {
public:
    explicit BetweenReadingAndRemoval(const std::function<void()>& run)
        : levelBefore_(LogController::getInstance()->getLevel()) {
        LogController::getInstance()->setSink([run](const LogController::Record& record) {
            if (std::string(record.message).find("removing cache entry if any") != std::string::npos) {
                run();
            }
        });
        LogController::getInstance()->setLevel(ZEBLOG_TRACE);
    }
    ~BetweenReadingAndRemoval() {
        LogController::getInstance()->setLevel(levelBefore_);
        LogController::getInstance()->setSink(nullptr);
    }
    BetweenReadingAndRemoval(const BetweenReadingAndRemoval&) = delete;
    BetweenReadingAndRemoval& operator=(const BetweenReadingAndRemoval&) = delete;

private:
    const int levelBefore_;
};

TEST_F(CertificateCacheAccessorTest, ADecisionTakenMeanwhileIsNotRemovedWithTheOneThatWasRead) {
    const Statuses both{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH};
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::CN_NO_MATCH};
    {
        const BetweenReadingAndRemoval userDecides(
            [] { Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::CN_NO_MATCH); });
        EXPECT_EQ(Answer::NO, accessor(prompting).hasBeenAlreadyAcceptedByUser(prompting));
    }
    {
        const BetweenReadingAndRemoval userDecides(
            [] { Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::CN_NO_MATCH); });
        EXPECT_EQ(Answer::NO, accessor(prompting).hasBeenAlreadyRejectedByUser(prompting));
    }
    EXPECT_EQ(both, Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
    EXPECT_EQ(both, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(CertificateCacheAccessorTest, OneReasonMoreThanAcceptedIsAnotherReason) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH};
    EXPECT_EQ(D::UNKNOWN, decisionOf(prompting));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

TEST_F(CertificateCacheAccessorTest, ATransitionExtendsAnAcceptance) {
    const test::LogCapture capture;
    PromptingBuilder builder;
    builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED);
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::EXPIRED};
    EXPECT_EQ(D::YES, decisionOf(builder.build()));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    EXPECT_EQ((Statuses{CertStatus::UNKNOWN, CertStatus::EXPIRED}),
              Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
    EXPECT_TRUE(capture.contains(
        "Invalid Certificate management Policy accepted the failure reason give the cached ones, updating "
        "the cache with those reasons"));
}

TEST_F(CertificateCacheAccessorTest, ATransitionExtendsARejection) {
    PromptingBuilder builder;
    builder.acceptTransaction(CertStatus::UNKNOWN, CertStatus::EXPIRED);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::EXPIRED};
    EXPECT_EQ(D::NO, decisionOf(builder.build()));
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
    EXPECT_EQ((Statuses{CertStatus::UNKNOWN, CertStatus::EXPIRED}),
              Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(CertificateCacheAccessorTest, ARevokedCertificateLosesItsAcceptance) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    statuses = {CertStatus::UNKNOWN, CertStatus::INVALID_REVOKED};
    EXPECT_EQ(D::UNKNOWN, decisionOf(prompting));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

TEST_F(CertificateCacheAccessorTest, ARejectionWinsOverAnAcceptance) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::NO, decisionOf(prompting));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
}

TEST_F(CertificateCacheAccessorTest, ARejectionForAnotherReasonDoesNotHideAnAcceptance) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::EXPIRED);
    EXPECT_EQ(D::YES, decisionOf(prompting));
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(FINGERPRINT), IsEmpty());
}

TEST_F(CertificateCacheAccessorTest, ACertificateInTheValidStorePassesForAnyReason) {
    const auto certificate = test::CertificateBuilder().commonName("a.test").build();
    Cache::addAcceptedValidCertificate(certificate.get());
    statuses = {CertStatus::EXPIRED, CertStatus::CN_NO_MATCH};
    const CertificateCacheAccessor valid(Cache::generateFingerprint(certificate.get()), statuses, prompting);
    EXPECT_EQ(D::YES, valid.buildDecisionFromCache());
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
}

TEST_F(CertificateCacheAccessorTest, TheEmptyFingerprintIsAKeyLikeAnyOther) {
    CertificateCacheAccessor("", statuses, prompting).updateCacheAccepted();
    EXPECT_EQ(D::YES, CertificateCacheAccessor("", statuses, prompting).buildDecisionFromCache());
}

TEST_F(CertificateCacheAccessorTest, APolicyThatCannotJudgeTheCacheIsAFailure) {
    const test::LogCapture capture;
    EXPECT_EQ(Answer::FAILURE, accessor(prompting).hasBeenAlreadyRejectedByUser(unavoidable));
    EXPECT_EQ(Answer::FAILURE, accessor(prompting).hasBeenAlreadyAcceptedByUser(unavoidable));
    EXPECT_EQ(Answer::FAILURE, accessor(prompting).hasBeenAlreadyRejectedByUser(nullptr));
    EXPECT_EQ(Answer::FAILURE, accessor(prompting).hasBeenAlreadyAcceptedByUser(nullptr));
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "UserInteractingInvalidCertManagementPolicy not enforced: NOT_ENFORCEABLE"));
}

TEST_F(CertificateCacheAccessorTest, WhatTheCacheHoldsNeedsNoJudgement) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(Answer::YES, accessor(prompting).hasBeenAlreadyRejectedByUser(unavoidable));
    EXPECT_EQ(Answer::YES, accessor(prompting).hasBeenAlreadyAcceptedByUser(unavoidable));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
}

TEST_F(CertificateCacheAccessorTest, ItKeepsACopyOfTheFingerprintAndWritesToTheCallersStatuses) {
    std::string fingerprint = FINGERPRINT;
    const CertificateCacheAccessor accessor(fingerprint, statuses, prompting);
    fingerprint = "another";
    statuses = {CertStatus::WEAK_KEY};
    accessor.updateCacheAccepted();
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
}

}  // namespace
}  // namespace zeb::cert
