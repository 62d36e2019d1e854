#include "VerifierTestSupport.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertificateAsyncTask.h"
#include "cert/common/CertificateTaskData.h"
#include "cert/common/CertificateValidityCache.h"
#include "cert/common/InvalidCertInfo.h"
#include "cert/common/InvalidCertListener.h"
#include "cert/common/InvalidCertNotificationManager.h"
#include "cert/common/PlatformVerificationHandler.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/CertificateDataImpl.h"
#include "cert/utils/IdentityBuilder.h"
#include "common/DefaultPoliciesStore.h"
#include "common/FailureManagementPolicy.h"

#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace zeb::cert::test {
namespace {

using common::FailureManagementPolicy;
using common::Policy;
using Interacting = UserInteractingInvalidCertManagementPolicy;
using Prompting = Interacting::PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
using NotifyingFailing =
    Interacting::NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Value = InvalidCertManagementPolicy::PolicyValue;

constexpr char PRINT[] = "aa bb ";
const Statuses BAD{CertStatus::UNKNOWN};

/// The host: answers a prompt as it is told, within the call.
class FakeHost : public InvalidCertListener {
public:
    struct Report {
        std::string fingerprint, commonName, shown;
        Statuses statuses;
        std::string leaf;
        Names chain;
    };

    std::function<void(const InvalidCertInfo&)> whenAsked;

    void prompUserForAction(const InvalidCertInfo& info) override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            asked_.push_back(info);
        }
        if (whenAsked) {
            whenAsked(info);
        }
    }
    void reportRejectedCert(const std::string& fingerprint, const std::string& commonName,
                            const std::string& identifierToDisplay, const Statuses& statuses,
                            const std::string& leafPem, const Names& chainPem) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back({fingerprint, commonName, identifierToDisplay, statuses, leafPem, chainPem});
    }
    std::vector<InvalidCertInfo> asked() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return asked_;
    }
    std::vector<Report> reports() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return reports_;
    }

private:
    mutable std::mutex mutex_;  ///< guards all below
    std::vector<InvalidCertInfo> asked_;
    std::vector<Report> reports_;
};

class PlatformVerificationHandlerTest : public testing::Test {
protected:
    PlatformVerificationHandlerTest() { CertificateValidityCache::clear(); }
    ~PlatformVerificationHandlerTest() override {
        InvalidCertNotificationManager::getInstance()->clearForTesting();
        CertificateValidityCache::clear();
    }

    static std::shared_ptr<InvalidCertNotificationManager> manager() {
        return InvalidCertNotificationManager::getInstance();
    }
    std::shared_ptr<FakeHost> registerHost() {
        auto host = std::make_shared<FakeHost>();
        manager()->registerInvalidCertListener(host);
        return host;
    }
    static void accept(const InvalidCertInfo& info) {
        manager()->acceptInvalidCert(info.fingerprint,
                                     {InvalidCertNotificationManager::AcceptanceOptions::ACCEPT_FOR_SESSION});
    }
    static void reject(const InvalidCertInfo& info) { manager()->rejectInvalidCert(info.fingerprint); }

    static CertResult failed(const Statuses& statuses = BAD) {
        CertResult result;
        result.statuses = statuses;
        return result;
    }
    static CertResult valid() {
        CertResult result;
        result.result = CertResult::SUCCESS;
        result.statuses = {CertStatus::VALID};
        return result;
    }

    CertResult synchronously(const CertResult& result) {
        return handler_->handlePlatformVerificationResultSynchronously(result, "name.test", "Shown", data_);
    }
    struct Answer {
        CertResult result;
        unsigned int id = 99;
    };
    Answer asynchronously(const CertResult& result) {
        Answer answer;
        handler_->handlePlatformVerificationResultAsynchronously(data_, "name.test", "Shown", listener_,
                                                                 result, answer.result, answer.id);
        return answer;
    }
    void use(std::shared_ptr<Policy> policy) { handler_->addPolicy(std::move(policy)); }

    const std::shared_ptr<CertificateData> data_ =
        std::make_shared<CertificateDataImpl>(PRINT, Names{"leaf", "first", "second"}, "common.test");
    const std::shared_ptr<PlatformVerificationHandler> handler_ =
        std::make_shared<PlatformVerificationHandler>();
    const std::shared_ptr<RecordingVerificationListener> listener_ =
        std::make_shared<RecordingVerificationListener>();
    LogCapture log_;
};

using HandlerTest = PlatformVerificationHandlerTest;

void expectSuccess(const CertResult& result, const std::string& matched) {
    EXPECT_EQ(result.result, CertResult::SUCCESS);
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::SUCCESS);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), matched);
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::SUCCESS);
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::SUCCESS);
}

// The synchronous form

TEST_F(HandlerTest, ASuccessStaysOneAndItsPartsAreMadeToAgree) {
    expectSuccess(synchronously(valid()), "name.test");
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "Verification result : SUCCESS reason : [VALID]"));
    EXPECT_TRUE(log_.contains("Verification successful, forcing identifier verification status to SUCCESS"));
    EXPECT_TRUE(log_.contains("finalResult: "));
    EXPECT_FALSE(log_.contains("The policy has to be enforced."));
    EXPECT_EQ(log_.text().find("name.test"), std::string::npos);
}

TEST_F(HandlerTest, WithoutAPolicyAFailureStaysOneAndNobodyIsWarned) {
    const auto host = registerHost();
    CertResult result = failed({CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH});
    result = synchronously(result);
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, (Statuses{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH}));
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND);
    EXPECT_TRUE(log_.contains("The policy has to be enforced."));
    EXPECT_TRUE(log_.contains(
        "No INVALID_CERT_MANAGEMENT policy available, not showing rejected certificate warning"));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING,
                              "Invalid certificate management policy not available, cannot take any action, "
                              "rejecting"));
    EXPECT_THAT(host->reports(), IsEmpty());
}

TEST_F(HandlerTest, AFailureWhoseNameMatchedIsToldByTheNameThatWasAskedFor) {
    CertResult result = failed();
    result.identifierStatus = CertIdentifierStatus(CertIdentifierStatus::SUCCESS, "matched.test");
    result = synchronously(result);
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "name.test");
}

TEST_F(HandlerTest, AFailureWithNothingWrongStaysOneWithoutAPolicyBeingAsked) {
    use(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    EXPECT_EQ(synchronously(failed({})).result, CertResult::FAILURE);
    EXPECT_FALSE(log_.contains("The policy has to be enforced."));
}

TEST_F(HandlerTest, AFailureWithNothingWrongWithTheChainWarnsNobody) {
    const auto host = registerHost();
    use(Prompting().build());
    for (const Statuses& statuses : {Statuses{}, Statuses{CertStatus::VALID}}) {
        EXPECT_EQ(synchronously(failed(statuses)).result, CertResult::FAILURE);
    }
    EXPECT_THAT(host->asked(), IsEmpty());
    EXPECT_THAT(host->reports(), IsEmpty());
}

TEST_F(HandlerTest, APolicyThatSilentlyFailsWarnsNobody) {
    const auto host = registerHost();
    use(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY);
    EXPECT_EQ(synchronously(failed()).result, CertResult::FAILURE);
    EXPECT_TRUE(
        log_.contains("INVALID_CERT_MANAGEMENT policy not interacting with the user, not showing "
                      "rejected certificate warning"));
    EXPECT_THAT(host->reports(), IsEmpty());
}

TEST_F(HandlerTest, APolicyThatSilentlySucceedsMakesItValid) {
    use(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    const CertResult result = synchronously(failed({CertStatus::CN_NO_MATCH}));
    expectSuccess(result, "name.test");
    EXPECT_EQ(result.statuses, Statuses{CertStatus::VALID});
}

TEST_F(HandlerTest, AUserWhoAcceptsMakesAMismatchMatch) {
    const auto host = registerHost();
    host->whenAsked = accept;
    use(Prompting().build());
    const CertResult result = synchronously(failed({CertStatus::CN_NO_MATCH}));
    expectSuccess(result, "name.test");
    EXPECT_EQ(result.statuses, Statuses{CertStatus::VALID});
    EXPECT_THAT(host->reports(), IsEmpty());
}

TEST_F(HandlerTest, AUserWhoRejectsIsToldThatItWasRejected) {
    const auto host = registerHost();
    host->whenAsked = reject;
    use(Prompting().build());
    EXPECT_EQ(synchronously(failed()).result, CertResult::FAILURE);
    EXPECT_TRUE(log_.contains("Notifying the InvalidCertListener about certificate rejection"));
    ASSERT_THAT(host->reports(), SizeIs(1));
    const FakeHost::Report report = host->reports().front();
    EXPECT_EQ(report.fingerprint, PRINT);
    EXPECT_EQ(report.commonName, "common.test");
    EXPECT_EQ(report.shown, "Shown");
    EXPECT_EQ(report.statuses, BAD);
    EXPECT_EQ(report.leaf, "leaf");
    EXPECT_THAT(report.chain, ElementsAre("first", "second"));
}

TEST_F(HandlerTest, WithoutAListenerAPromptingPolicyIsNotEnforcedAndThatIsAResultOfItsOwn) {
    use(Prompting().build());  // of class HARD
    const CertResult result = synchronously(failed());
    EXPECT_EQ(result.result, CertResult::POLICY_NOT_ENFORCED_ERROR);
    EXPECT_EQ(result.statuses, BAD);
    EXPECT_FALSE(log_.contains("Notifying the InvalidCertListener")) << "it is no rejection";
}

TEST_F(HandlerTest, ASoftPolicyThatCantBeEnforcedLetsTheConnectionThrough) {
    use(std::make_shared<Interacting>(Value::PROMPT_USER, true, Policy::PolicyFailureClass::SOFT));
    expectSuccess(synchronously(failed()), "name.test");
    use(FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    EXPECT_EQ(synchronously(failed()).result, CertResult::POLICY_NOT_ENFORCED_ERROR);
}

TEST_F(HandlerTest, AWarningThatNobodyCanHearDoesNotThrow) {
    const auto host = registerHost();
    host->whenAsked = [](const InvalidCertInfo& info) { reject(info); };
    use(Prompting().build());
    ASSERT_EQ(synchronously(failed()).result, CertResult::FAILURE);  // cached as rejected from now on
    manager()->registerInvalidCertListener(nullptr);
    EXPECT_EQ(synchronously(failed()).result, CertResult::FAILURE);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR,
                              "Unable to Notifying the InvalidCertListener, received a logic_error from "
                              "InvalidCertNotificationManager: No InvalidCertListener registered to the "
                              "InvalidCertNotificationManager. Unexpected condition!"));
}

TEST_F(HandlerTest, WithoutCertificateDataAFailureStaysOne) {
    registerHost();
    use(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY);
    EXPECT_EQ(handler_->handlePlatformVerificationResultSynchronously(failed(), "n", "s", nullptr).result,
              CertResult::FAILURE);
}

TEST_F(HandlerTest, TheTaskOfAVerifierIsTheSynchronousForm) {
    use(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    CertVerifierTask& task = *handler_;
    expectSuccess(task.executeTask(failed(), "name.test", data_, "Shown"), "name.test");
}

TEST_F(HandlerTest, ItDoesNotFollowTheStore) {
    common::DefaultPoliciesStore::setPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    handler_->onDefaultPoliciesStoreUpdate();
    EXPECT_EQ(synchronously(failed()).result, CertResult::FAILURE);
    const auto later = std::make_shared<PlatformVerificationHandler>();
    EXPECT_EQ(later->handlePlatformVerificationResultSynchronously(failed(), "n", "s", data_).result,
              CertResult::SUCCESS);
    common::DefaultPoliciesStore::reset();
}

// The asynchronous form

TEST_F(HandlerTest, AValidCertificateNeedsNoTask) {
    use(Prompting().build());
    const Answer answer = asynchronously(valid());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::SUCCESS);
    EXPECT_EQ(answer.result.identifierStatus.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND)
        << "the instant result as it stands";
    EXPECT_TRUE(log_.contains("Certificate is valid. No background task will be enqueued."));
}

TEST_F(HandlerTest, WithoutAPolicyTheInstantResultIsFinal) {
    const Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::FAILURE);
    EXPECT_EQ(answer.result.statuses, BAD);
    EXPECT_TRUE(log_.contains(
        "No INVALID_CERT_MANAGEMENT policy available, returning the cert verification result."));
    EXPECT_FALSE(log_.contains("Verification result : "));
}

TEST_F(HandlerTest, ASilentPolicyIsEnforcedOnTheSpot) {
    use(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY);
    Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::FAILURE);
    EXPECT_TRUE(log_.contains("policy does not interact with the user, applying policy"));
    use(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    expectSuccess(answer.result, "name.test");
    EXPECT_THAT(listener_->told(), IsEmpty());
}

TEST_F(HandlerTest, APolicyThatOnlyWarnsIsEnforcedOnTheSpot) {
    const auto host = registerHost();
    use(NotifyingFailing().build());
    const Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::FAILURE);
    ASSERT_THAT(host->asked(), SizeIs(1));
    EXPECT_FALSE(host->asked().front().userCanDecide);
    EXPECT_THAT(host->reports(), SizeIs(1));
}

TEST_F(HandlerTest, APolicyThatOnlyCallsItselfInteractingIsEnforcedOnTheSpot) {
    use(std::make_shared<InvalidCertManagementPolicy>(Value::PROMPT_USER, true,
                                                      Policy::PolicyFailureClass::HARD));
    const Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_NE(answer.result.result, CertResult::SUCCESS);
}

TEST_F(HandlerTest, APolicyOfAnotherClassIsLeftToTheTaskAndRejects) {
    use(std::make_shared<Policy>(Policy::PolicyNature::INVALID_CERT_MANAGEMENT,
                                 Policy::PolicyFailureClass::SOFT, false));
    const Answer answer = asynchronously(failed());
    EXPECT_NE(answer.id, 0U);
    const auto told = listener_->waitFor(1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told.front().result.result, CertResult::FAILURE);
}

TEST_F(HandlerTest, AnAcceptedFingerprintNeedsNoTask) {
    CertificateValidityCache::addAcceptedInvalidCertificate(std::string(PRINT), BAD);
    use(Prompting().build());
    const Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    expectSuccess(answer.result, "name.test");
    EXPECT_THAT(answer.result.statuses, IsEmpty());
    EXPECT_TRUE(log_.contains("policy interacts with the user, checking for a cached decision-"));
    EXPECT_TRUE(log_.contains("Certificate is cached as accepted. No background task will be enqueued."));
}

TEST_F(HandlerTest, ARejectedFingerprintNeedsNoTaskAndWarns) {
    const auto host = registerHost();
    CertificateValidityCache::addRejectedInvalidCertificate(std::string(PRINT), BAD);
    use(Prompting().build());
    const Answer answer = asynchronously(failed());
    EXPECT_EQ(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::FAILURE);
    EXPECT_EQ(answer.result.statuses, BAD);
    EXPECT_TRUE(log_.contains("Certificate is cached as rejected. No background task will be enqueued."));
    EXPECT_THAT(host->reports(), SizeIs(1));
    EXPECT_THAT(host->asked(), IsEmpty());
}

TEST_F(HandlerTest, WithNothingCachedTheUserIsAskedInTheBackground) {
    const auto host = registerHost();
    use(Prompting().build());
    const Answer answer = asynchronously(failed());
    ASSERT_NE(answer.id, 0U);
    EXPECT_EQ(answer.result.result, CertResult::FAILURE);
    EXPECT_EQ(answer.result.statuses, BAD);
    EXPECT_TRUE(
        log_.contains("Adding task to a thread pool for request [" + std::to_string(answer.id) + "]."));
    EXPECT_TRUE(log_.waitFor("Request sent"));
    EXPECT_THAT(listener_->told(), IsEmpty()) << "not before the user has answered";
    accept(host->asked().front());
    const auto told = listener_->waitFor(1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told.front().id, answer.id);
    expectSuccess(told.front().result, "name.test");
    EXPECT_TRUE(log_.contains("About to execute the task for: " + std::to_string(answer.id)));
    EXPECT_TRUE(log_.contains("Notifying listener [" + std::to_string(answer.id) +
                              "] of the certificate verification result: "));
}

TEST_F(HandlerTest, TheListenerHearsARejectionToo) {
    const auto host = registerHost();
    host->whenAsked = reject;
    use(Prompting().build());
    const Answer answer = asynchronously(failed());
    const auto told = listener_->waitFor(1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told.front().id, answer.id);
    EXPECT_EQ(told.front().result.result, CertResult::FAILURE);
}

TEST_F(HandlerTest, AnUndecidedPromptIsAPolicyThatWasNotEnforced) {
    const auto host = registerHost();
    host->whenAsked = [](const InvalidCertInfo& info) { manager()->acceptInvalidCert(info.fingerprint, {}); };
    use(Prompting().build());
    asynchronously(failed());
    const auto told = listener_->waitFor(1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told.front().result.result, CertResult::POLICY_NOT_ENFORCED_ERROR);
}

TEST_F(HandlerTest, TheVerifierMayGoWhileATaskWaits) {
    const auto host = registerHost();
    {
        const auto handler = std::make_shared<PlatformVerificationHandler>();
        handler->addPolicy(Prompting().build());
        CertResult result;
        unsigned int id = 0;
        handler->handlePlatformVerificationResultAsynchronously(data_, "name.test", "Shown", listener_,
                                                                failed(), result, id);
        ASSERT_NE(id, 0U);
    }
    EXPECT_TRUE(log_.waitFor("Request sent"));
    accept(host->asked().front());
    ASSERT_THAT(listener_->waitFor(1), SizeIs(1));
    EXPECT_EQ(listener_->told().front().result.result, CertResult::SUCCESS);
}

// Through a verifier

TEST_F(FakedVerifierTest, TheAsynchronousFormTellsTheFirstReferenceWhereTheSynchronousOneTellsTheMatchedOne) {
    altName_->names = {"second.test"};
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    const StoreContext chain(leaf_);
    const x509_store_ctx_st* const context = chain.get();
    EXPECT_EQ(verifier->verifyCertificate(context, Names{"first.test", "second.test"})
                  .identifierStatus.getMatchedIdentifier(),
              "second.test");
    const Identity identity =
        IdentityBuilder().referenceIdentifiers({" ", "first.test", "second.test"}).build();
    CertResult result;
    unsigned int id = 99;
    ASSERT_TRUE(verifier->verifyCertificateAsync(CertContainerFactory().buildCertContainer(context), identity,
                                                 nullptr, result, id));
    EXPECT_EQ(id, 0U);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "first.test");
}

// The task

class FakeOwner : public CertVerifierTask {
public:
    CertResult executeTask(CertResult result, const std::string& matched,
                           std::shared_ptr<CertificateData> data, const std::string& shown) override {
        given = {matched, shown, data->getFingerprint()};
        result.result = CertResult::SUCCESS;
        return result;
    }
    Names given;
};

class CertificateAsyncTaskTest : public testing::Test {
protected:
    std::shared_ptr<CertificateTaskData> data(std::shared_ptr<CertificateVerificationListener> listener) {
        auto made = std::make_shared<CertificateTaskData>();
        made->certificateData = std::make_shared<CertificateDataImpl>(PRINT, Names{}, "");
        made->matchedIdentifier = "matched.test";
        made->identifierToDisplay = "Shown";
        made->requestId = 7;
        made->listener = std::move(listener);
        made->instantResult.statuses = BAD;
        return made;
    }

    const std::shared_ptr<FakeOwner> owner_ = std::make_shared<FakeOwner>();
    LogCapture log_;
};

TEST_F(CertificateAsyncTaskTest, ItHandsItsDataToItsOwnerAndTheResultToTheListener) {
    const auto listener = std::make_shared<RecordingVerificationListener>();
    CertificateAsyncTask(data(listener), owner_).execute();
    EXPECT_THAT(owner_->given, ElementsAre("matched.test", "Shown", PRINT));
    ASSERT_THAT(listener->told(), SizeIs(1));
    EXPECT_EQ(listener->told().front().id, 7U);
    EXPECT_EQ(listener->told().front().result.result, CertResult::SUCCESS);
    EXPECT_EQ(listener->told().front().result.statuses, BAD);
}

TEST_F(CertificateAsyncTaskTest, WithoutAnOwnerTheListenerHearsNothing) {
    const auto listener = std::make_shared<RecordingVerificationListener>();
    CertificateAsyncTask(data(listener), nullptr).execute();
    EXPECT_THAT(listener->told(), IsEmpty());
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING,
                              "The task owner of the asynchronous certificate validation task is NULL, "
                              "unable to continue."));
}

TEST_F(CertificateAsyncTaskTest, WithoutAListenerItRunsAllTheSame) {
    CertificateAsyncTask(data(nullptr), owner_).execute();
    EXPECT_THAT(owner_->given, SizeIs(3));
}

TEST_F(CertificateAsyncTaskTest, WhatAListenerThrowsEndsThere) {
    class Throwing : public CertificateVerificationListener {
        void onCertificateVerified(unsigned int, CertResult) override { throw std::runtime_error("host"); }
    };
    EXPECT_NO_THROW(CertificateAsyncTask(data(std::make_shared<Throwing>()), owner_).execute());
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "The listener of verification [7] has thrown an exception."));
}

TEST(CertificateAsyncTaskDeathTest, TheFirstIdOfAProcessIsOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool right = CertificateAsyncTask::GetAndIncrementInvocationId() == 1 &&
                               CertificateAsyncTask::GetAndIncrementInvocationId() == 2;
            std::_Exit(right ? EXIT_SUCCESS : EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace zeb::cert::test
