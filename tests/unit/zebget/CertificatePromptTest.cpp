#include "CertificatePrompt.h"
#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertVerificationFailureManager.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertificateValidityCache.h"
#include "cert/common/InvalidCertInfo.h"
#include "cert/common/InvalidCertNotificationManager.h"
#include "cert/utils/CertificateData.h"

#include <set>
#include <sstream>

#include <gmock/gmock.h>

namespace zebget {
namespace {

using testing::HasSubstr;
using testing::Not;
using zeb::cert::CertAcceptanceDecision;
using zeb::cert::CertificateValidityCache;
using zeb::cert::CertStatus;
using zeb::cert::CertVerificationFailureManager;
using zeb::cert::InvalidCertManagementPolicy;
using zeb::cert::InvalidCertNotificationManager;
using zeb::common::Policy;
using Statuses = std::set<CertStatus::Status>;
using Policies = zeb::cert::UserInteractingInvalidCertManagementPolicy;

constexpr char FINGERPRINT[] = "0a 1b ";
constexpr char QUESTION[] = "[a]ccept for this run, [r]eject, reject [o]nce? ";

class Certificate : public zeb::cert::CertificateData {
public:
    explicit Certificate(std::string commonName) : commonName_(std::move(commonName)) {}
    std::string getFingerprint() const override { return FINGERPRINT; }
    std::vector<std::string> getPem() const override { return {"leaf"}; }
    std::string getCommonName() const override { return commonName_; }

private:
    const std::string commonName_;
};

class CertificatePromptTest : public testing::Test {
protected:
    ~CertificatePromptTest() override {
        InvalidCertNotificationManager::getInstance()->clearForTesting();
        CertificateValidityCache::clear();
    }

    /// What becomes of a certificate that failed, when the user types that.
    CertAcceptanceDecision::Decision verify(const std::string& typed, bool terminal = true) {
        input.clear();
        input.str(typed);
        prompt = std::make_shared<CertificatePrompt>(terminal, input, output);
        InvalidCertNotificationManager::getInstance()->registerInvalidCertListener(prompt);
        return verifyAgain();
    }
    CertAcceptanceDecision::Decision verifyAgain() {
        Statuses failed = statuses;
        return CertVerificationFailureManager::manageCertValidationFailure(
            std::make_shared<Certificate>(commonName), "asked.test", display, failed, policy);
    }

    std::string shown() const { return output.str(); }
    std::size_t questions() const {
        std::size_t count = 0;
        const std::string text = shown();
        for (std::size_t at = text.find(QUESTION); at != std::string::npos;
             at = text.find(QUESTION, at + 1)) {
            ++count;
        }
        return count;
    }

    std::istringstream input;
    std::ostringstream output;
    std::shared_ptr<CertificatePrompt> prompt;
    std::shared_ptr<Policy> policy =
        Policies::PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder().build();
    Statuses statuses{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH};
    std::string display = "shown.test";
    std::string commonName = "elsewhere.test";
};

TEST_F(CertificatePromptTest, EveryStatusHasWordsOfItsOwn) {
    std::set<std::string> words;
    for (int status = CertStatus::VALID; status <= CertStatus::UNKNOWN + 1; ++status) {
        words.insert(inWords(static_cast<CertStatus::Status>(status)));
    }
    EXPECT_EQ(28U, words.size());
    EXPECT_EQ(0U, words.count(""));
}

TEST_F(CertificatePromptTest, TheQuestionShowsWhoWhatIsWrongAndTheFingerprint) {
    verify("r\n");
    for (const char* const text :
         {"The certificate of shown.test is not good.", "made out to: elsewhere.test",
          "what is wrong: this machine does not trust it", "what is wrong: it is made out to another name",
          "SHA-1 fingerprint: 0a 1b \n", QUESTION}) {
        EXPECT_THAT(shown(), HasSubstr(text));
    }
}

TEST_F(CertificatePromptTest, AServerWithoutANameToShowIsTheOneThatWasAskedFor) {
    display.clear();
    verify("r\n");
    EXPECT_THAT(shown(), HasSubstr("The certificate of asked.test is not good."));
}

TEST_F(CertificatePromptTest, AnAcceptanceHoldsForTheRun) {
    EXPECT_EQ(CertAcceptanceDecision::YES, verify("a\n"));
    EXPECT_EQ(CertAcceptanceDecision::YES, verifyAgain());
    EXPECT_EQ(1U, questions());
}

TEST_F(CertificatePromptTest, ARejectionHoldsForTheRun) {
    EXPECT_EQ(CertAcceptanceDecision::NO, verify("r\na\n"));
    EXPECT_EQ(CertAcceptanceDecision::NO, verifyAgain());
    EXPECT_EQ(1U, questions());
}

TEST_F(CertificatePromptTest, AOnceOnlyRejectionIsAskedAboutAgain) {
    EXPECT_EQ(CertAcceptanceDecision::NO, verify("o\na\n"));
    EXPECT_EQ(CertAcceptanceDecision::YES, verifyAgain());
    EXPECT_EQ(2U, questions());
}

TEST_F(CertificatePromptTest, WhatIsNoAnswerIsAskedAgain) {
    EXPECT_EQ(CertAcceptanceDecision::YES, verify("yes\n\nA\na\n"));
    EXPECT_EQ(4U, questions());
}

TEST_F(CertificatePromptTest, TheEndOfTheInputIsARejection) {
    EXPECT_EQ(CertAcceptanceDecision::NO, verify(""));
    EXPECT_EQ(1U, questions());
}

TEST_F(CertificatePromptTest, WithoutATerminalItShowsWhatIsWrongAsksNothingAndNeverAccepts) {
    EXPECT_EQ(CertAcceptanceDecision::NO, verify("a\n", false));
    EXPECT_EQ(0U, questions());
    EXPECT_THAT(shown(), HasSubstr("The certificate of shown.test is not good."));
}

TEST_F(CertificatePromptTest, AWarningAsksNothing) {
    policy =
        Policies::NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder().build();
    EXPECT_EQ(CertAcceptanceDecision::YES, verify("r\n"));
    EXPECT_EQ(0U, questions());
    EXPECT_THAT(shown(), HasSubstr("Warning: The certificate of shown.test is not good."));
}

TEST_F(CertificatePromptTest, WhatAStrangerPutIntoANameCannotActOnTheTerminal) {
    commonName = "evil\x1b[2J\n\x9b.test";
    display = "\r\x7fshown";
    verify("r\n");
    EXPECT_THAT(shown(), HasSubstr("made out to: evil?[2J??.test"));
    EXPECT_THAT(shown(), HasSubstr("The certificate of ??shown is"));
    EXPECT_THAT(shown(), Not(HasSubstr("\x1b")));
}

TEST_F(CertificatePromptTest, ARejectionIsTold) {
    CertificatePrompt(true, input, output).reportRejectedCert(FINGERPRINT, "CN", "shown\n.test", {}, "", {});
    EXPECT_EQ("The certificate of shown?.test has been rejected.\n", shown());
}

TEST_F(CertificatePromptTest, EveryWordChoosesItsPolicy) {
    using Value = InvalidCertManagementPolicy::PolicyValue;
    const std::pair<InsecurePolicy, Value::Value> words[] = {
        {InsecurePolicy::FAIL, Value::SILENTLY_FAIL},
        {InsecurePolicy::SUCCEED, Value::SILENTLY_SUCCEED},
        {InsecurePolicy::NOTIFY, Value::NOTIFY_USER_AND_SUCCEED},
        {InsecurePolicy::PROMPT, Value::PROMPT_USER},
    };
    for (const auto& [word, value] : words) {
        const auto chosen = std::dynamic_pointer_cast<InvalidCertManagementPolicy>(
            makeVerifier(word)->getPolicy(Policy::PolicyNature::INVALID_CERT_MANAGEMENT));
        ASSERT_NE(nullptr, chosen);
        EXPECT_EQ(value, chosen->getValue());
        EXPECT_TRUE(InvalidCertNotificationManager::getInstance()->isInitialized());
    }
}

}  // namespace
}  // namespace zebget
