#include "../InvalidCertTestSupport.h"
#include "cert/common/CertCacheInterface.h"
#include "cert/common/CertVerificationFailureManager.h"
#include "support/LogCapture.h"

#include <stdexcept>

namespace zeb::cert {
namespace {

using D = CertAcceptanceDecision;
using Interacting = UserInteractingInvalidCertManagementPolicy;
using Manager = CertVerificationFailureManager;
using testing::IsEmpty;

class CertVerificationFailureManagerTest : public InvalidCertTest {
protected:
    D::Decision manage(const std::shared_ptr<Policy>& policy) {
        return Manager::manageCertValidationFailure(data, "asked.test", "Shown", statuses, policy);
    }
    D::Decision cached(const std::shared_ptr<Policy>& policy) {
        return Manager::checkCertificateCachedDecision(data, statuses, policy);
    }

    std::shared_ptr<CertificateData> data = std::make_shared<FixedCertificateData>(
        FINGERPRINT, std::vector<std::string>{"leaf", "middle", "root"}, "CN");
    Statuses statuses{CertStatus::UNKNOWN};
    const std::shared_ptr<Policy> prompting = PromptingBuilder().build();
    const std::shared_ptr<Policy> unavoidable =
        std::make_shared<Interacting>(Value::PROMPT_USER, true, Class::HARD);
};

TEST_F(CertVerificationFailureManagerTest, ASuccessIsAcceptedWithoutAnyPolicy) {
    const test::LogCapture capture;
    for (const Statuses& success : {Statuses{}, Statuses{CertStatus::VALID}}) {
        statuses = success;
        EXPECT_EQ(D::YES, manage(Policy::UNKNOWN_POLICY));
        EXPECT_EQ(success, statuses);
    }
    EXPECT_EQ(2U, capture.count("About to manage Invalid Cert."));
    EXPECT_EQ(2U, capture.count("Accepting the provided cert because its status represents a valid cert."));
}

TEST_F(CertVerificationFailureManagerTest, WithoutAPolicyAFailureIsRejected) {
    const test::LogCapture capture;
    EXPECT_EQ(D::NO, manage(Policy::UNKNOWN_POLICY));
    EXPECT_EQ(D::NO, manage(nullptr));
    EXPECT_EQ(D::NO, manage(std::make_shared<Policy>(Policy::PolicyNature::INVALID_CERT_MANAGEMENT, false)));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_EQ(3U,
              capture.count(
                  "Invalid certificate management policy not available, cannot take any action, rejecting"));
}

TEST_F(CertVerificationFailureManagerTest, SilentlyFailRejectsAndSilentlySucceedAccepts) {
    const test::LogCapture capture;
    EXPECT_EQ(D::NO, manage(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_EQ(D::YES, manage(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    EXPECT_EQ(2U, capture.count("About to check if the Invalid Cert can be accepted."));
    EXPECT_EQ(2U, capture.count("About to enforce InvalidCertManagementPolicy."));
}

TEST_F(CertVerificationFailureManagerTest, ASilentPolicyNeitherReadsNorWritesTheCache) {
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::NO, manage(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY));
    CertCacheInterface::clearInvalidCertificateCache();
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::YES, manage(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(FINGERPRINT), IsEmpty());
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, Cache::getRejectedInvalidCacheValue(FINGERPRINT));
}

TEST_F(CertVerificationFailureManagerTest, ARevokedCertificateIsRejectedByEveryPolicy) {
    listen(accept);
    for (const auto& policy : std::vector<std::shared_ptr<Policy>>{
             InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY,
             InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY, prompting, unavoidable,
             NotifyingFailingBuilder().build(), NotifyingSucceedingBuilder().build()}) {
        statuses = {CertStatus::UNKNOWN, CertStatus::INVALID_REVOKED};
        EXPECT_EQ(D::NO, manage(policy));
    }
}

TEST_F(CertVerificationFailureManagerTest, TheUserIsShownTheCertificateAndItsChain) {
    const test::LogCapture capture;
    const auto listener = listen(accept);
    EXPECT_EQ(D::YES, manage(prompting));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    const InvalidCertInfo info = listener->infos().at(0);
    EXPECT_EQ(FINGERPRINT, info.fingerprint);
    EXPECT_EQ("CN", info.commonName);
    EXPECT_EQ("asked.test", info.identifier);
    EXPECT_EQ("Shown", info.identifierToDisplay);
    EXPECT_EQ("leaf", info.leafPem);
    EXPECT_EQ((std::vector<std::string>{"middle", "root"}), info.chainPem);
    EXPECT_TRUE(capture.contains("About to enforce UserInteractingInvalidCertManagementPolicy."));
}

TEST_F(CertVerificationFailureManagerTest, ACertificateWithoutANameIsUnknownAndOneWithoutPemShowsNone) {
    for (const auto& nothing : std::vector<std::shared_ptr<CertificateData>>{
             std::make_shared<FixedCertificateData>("", std::vector<std::string>{}, ""), nullptr}) {
        const test::LogCapture capture;
        const auto listener = listen(rejectOnce);
        data = nothing;
        EXPECT_EQ(D::NO, manage(prompting));
        const InvalidCertInfo info = listener->infos().at(0);
        EXPECT_EQ("", info.fingerprint);
        EXPECT_EQ("Unknown", info.commonName);
        EXPECT_EQ("", info.leafPem);
        EXPECT_THAT(info.chainPem, IsEmpty());
        EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                     "The certificate common name is empty, replacing with Unknown."));
        EXPECT_TRUE(capture.contains(ZEBLOG_WARNING, "The certificate data PEM list is empty."));
    }
}

TEST_F(CertVerificationFailureManagerTest, ALeafWithoutAChainHasAnEmptyOne) {
    const auto listener = listen(accept);
    data = std::make_shared<FixedCertificateData>(FINGERPRINT, std::vector<std::string>{"leaf"}, "CN");
    EXPECT_EQ(D::YES, manage(prompting));
    EXPECT_EQ("leaf", listener->infos().at(0).leafPem);
    EXPECT_THAT(listener->infos().at(0).chainPem, IsEmpty());
}

TEST_F(CertVerificationFailureManagerTest, AnAcceptedCertificateIsAskedAboutOnce) {
    const test::LogCapture capture;
    const auto listener = listen(accept);
    for (int time = 0; time < 3; ++time) {
        statuses = {CertStatus::UNKNOWN};
        EXPECT_EQ(D::YES, manage(prompting));
        EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    }
    EXPECT_EQ(1U, listener->calls());
    EXPECT_EQ(2U, capture.count("Cert Acceptance decision: YES"));
}

TEST_F(CertVerificationFailureManagerTest, ARejectedCertificateIsAskedAboutOnce) {
    const auto listener = listen(reject);
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(D::NO, manage(prompting));
    }
    EXPECT_EQ(1U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, ACertificateRejectedOnceIsAskedAboutEachTime) {
    const auto listener = listen(rejectOnce);
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(D::NO, manage(prompting));
    }
    EXPECT_EQ(3U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, APolicyThatIsNotAvoidableAsksEveryTime) {
    const auto listener = listen(accept);
    for (int time = 0; time < 3; ++time) {
        statuses = {CertStatus::UNKNOWN};
        EXPECT_EQ(D::YES, manage(unavoidable));
    }
    EXPECT_EQ(3U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, ANewReasonIsAskedAboutAfresh) {
    const auto listener = listen(accept);
    EXPECT_EQ(D::YES, manage(prompting));
    statuses = {CertStatus::CN_NO_MATCH};
    EXPECT_EQ(D::YES, manage(prompting));
    ASSERT_EQ(2U, listener->calls());
    EXPECT_EQ(Statuses{CertStatus::CN_NO_MATCH}, listener->infos().at(1).statuses);
    EXPECT_EQ(Statuses{CertStatus::CN_NO_MATCH}, Cache::getAcceptedInvalidCacheValue(FINGERPRINT));
}

TEST_F(CertVerificationFailureManagerTest, AWarningIsShownOnceAndItsOutcomeKept) {
    const auto listener = listen();
    for (int time = 0; time < 2; ++time) {
        statuses = {CertStatus::UNKNOWN};
        EXPECT_EQ(D::YES, manage(NotifyingSucceedingBuilder().build()));
    }
    EXPECT_EQ(1U, listener->calls());
    CertCacheInterface::clearInvalidCertificateCache();
    for (int time = 0; time < 2; ++time) {
        statuses = {CertStatus::UNKNOWN};
        EXPECT_EQ(D::NO, manage(NotifyingFailingBuilder().build()));
    }
    EXPECT_EQ(2U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, AfterTheHostClearsAcceptancesTheUserIsAskedAgain) {
    const auto listener = listen(accept);
    EXPECT_EQ(D::YES, manage(prompting));
    CertCacheInterface::clearAcceptedInvalidCerts();
    statuses = {CertStatus::UNKNOWN};
    EXPECT_EQ(D::YES, manage(prompting));
    EXPECT_EQ(2U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, APolicyThatCannotBeEnforcedIsAnError) {
    const test::LogCapture capture;
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR, manage(prompting));  // nobody listens
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR, manage(std::make_shared<Interacting>(false)));
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR,
              manage(std::make_shared<InvalidCertManagementPolicy>(Value::PROMPT_USER, true, Class::HARD)));
    EXPECT_EQ(Statuses{CertStatus::UNKNOWN}, statuses);
    EXPECT_EQ(3U, capture.count("Invalid certificate management policy not enforced"));
}

TEST_F(CertVerificationFailureManagerTest, APolicyThatOnlyLooksLikeInteractingTellsTheUserNothing) {
    const auto listener = listen();
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR, manage(std::make_shared<Interacting>(false)));
    EXPECT_EQ(0U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, AListenerThatThrowsIsAnErrorAndTheNextCallAsksAgain) {
    const auto listener = listen([](const InvalidCertInfo&) { throw std::logic_error("no window"); });
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR, manage(prompting));
    EXPECT_EQ(D::POLICY_ENFORCEMENT_ERROR, manage(prompting));
    EXPECT_EQ(2U, listener->calls());
}

TEST_F(CertVerificationFailureManagerTest, TheCachedDecisionOfNobodyIsUnknown) {
    const test::LogCapture capture;
    EXPECT_EQ(D::UNKNOWN, cached(Policy::UNKNOWN_POLICY));
    EXPECT_EQ(D::UNKNOWN, cached(nullptr));
    EXPECT_EQ(2U, capture.count("Invalid certificate management policy not available"));
}

TEST_F(CertVerificationFailureManagerTest, TheCachedDecisionIsNotAskedForASilentPolicy) {
    const test::LogCapture capture;
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::UNKNOWN, cached(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY));
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "Invalid certificate management policy not interacting with the cache"));
}

TEST_F(CertVerificationFailureManagerTest, TheCachedDecisionIsThereWithoutAQuestion) {
    const auto listener = listen(accept);
    EXPECT_EQ(D::UNKNOWN, cached(prompting));
    Cache::addAcceptedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::UNKNOWN, cached(unavoidable));
    EXPECT_EQ(D::YES, cached(prompting));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
    statuses = {CertStatus::UNKNOWN};
    Cache::addRejectedInvalidCertificate(FINGERPRINT, CertStatus::UNKNOWN);
    EXPECT_EQ(D::NO, cached(prompting));
    EXPECT_EQ(0U, listener->calls());
}

}  // namespace
}  // namespace zeb::cert
