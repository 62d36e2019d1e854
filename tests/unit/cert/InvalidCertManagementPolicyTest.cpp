#include "cert/InvalidCertManagementPolicy.h"
#include "cert/utils/CertificateData.h"
#include "support/LogCapture.h"
#include "support/Printed.h"

#include <gmock/gmock.h>

namespace zeb::cert {
namespace {

using P = InvalidCertManagementPolicy;
using V = InvalidCertManagementPolicy::PolicyValue;
using Statuses = std::set<CertStatus::Status>;
using common::Policy;
using zeb::test::printed;
using Class = Policy::PolicyFailureClass;
using Result = Policy::PolicyEnforcingResult;

struct Row {
    const char* testName;
    V::Value value;
    int number;
    const char* name;
    const char* printed;
    bool enforceable;
};

class InvalidCertManagementPolicyValueTest : public testing::TestWithParam<Row> {
protected:
    const P policy{GetParam().value, Class::SOFT};
};

TEST_P(InvalidCertManagementPolicyValueTest, HasItsNumberAndName) {
    EXPECT_EQ(GetParam().number, static_cast<int>(GetParam().value));
    EXPECT_EQ(GetParam().name, V::atString(GetParam().value));
    EXPECT_EQ(GetParam().name, policy.getName());
    EXPECT_EQ(GetParam().value, policy.getValue());
}

TEST_P(InvalidCertManagementPolicyValueTest, PrintsInItsOwnSpelling) {
    EXPECT_EQ(GetParam().printed, printed(GetParam().value));
    EXPECT_EQ(GetParam().printed, printed(policy));
}

TEST_P(InvalidCertManagementPolicyValueTest, TellsWhetherItIsEnforceable) {
    const test::LogCapture capture;
    EXPECT_EQ(GetParam().enforceable, policy.verifyEnforceability({CertStatus::EXPIRED}, nullptr));
    EXPECT_EQ(!GetParam().enforceable,
              capture.contains(ZEBLOG_WARNING, "Unable to enforce this " + std::to_string(GetParam().number) +
                                                   " InvalidCertManagementPolicy, unmanaged policy"));
}

TEST_P(InvalidCertManagementPolicyValueTest, LeavesTheStatusesAloneWhenItIsNotEnforceable) {
    if (GetParam().enforceable) {
        return;
    }
    Statuses statuses{CertStatus::EXPIRED};
    EXPECT_EQ(Result::NOT_ENFORCEABLE, policy.enforce(statuses, nullptr));
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
    Statuses none;
    EXPECT_EQ(Result::NOT_ENFORCEABLE, policy.enforce(none, nullptr));
}

TEST_P(InvalidCertManagementPolicyValueTest, LeavesASuccessAlone) {
    if (!GetParam().enforceable) {
        return;
    }
    for (const Statuses& success : {Statuses{}, Statuses{CertStatus::VALID}}) {
        Statuses statuses = success;
        EXPECT_EQ(Result::SUCCESS, policy.enforce(statuses, nullptr));
        EXPECT_EQ(success, statuses);
    }
}

TEST_P(InvalidCertManagementPolicyValueTest, NeverPassesARevokedCertificate) {
    if (!GetParam().enforceable) {
        return;
    }
    const test::LogCapture capture;
    Statuses statuses{CertStatus::UNTRUSTED_ROOT, CertStatus::INVALID_REVOKED};
    EXPECT_EQ(Result::SUCCESS, policy.enforce(statuses, nullptr));
    EXPECT_EQ((Statuses{CertStatus::UNTRUSTED_ROOT, CertStatus::INVALID_REVOKED}), statuses);
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "Invalid certificate management policy enforcement does not manage failures "
                                 "reporting INVALID_REVOKED error"));
}

INSTANTIATE_TEST_SUITE_P(
    Values, InvalidCertManagementPolicyValueTest,
    testing::Values(Row{"SilentlyFail", V::SILENTLY_FAIL, 0, "SILENTLY_FAIL", "SILENTLY_FAIL", true},
                    Row{"SilentlySucceed", V::SILENTLY_SUCCEED, 1, "SILENTLY_SUCCEED", "1", true},
                    Row{"PromptUser", V::PROMPT_USER, 2, "PROMPT_USER", "PROMPT_USER", false},
                    Row{"NotifyUserAndSucceed", V::NOTIFY_USER_AND_SUCCEED, 3, "NOTIFY_USER_AND_SUCCEED",
                        "NOTIFY_USER_AND_SUCCEEDE", false},
                    Row{"NotifyUserAndFail", V::NOTIFY_USER_AND_FAIL, 4, "NOTIFY_USER_AND_FAIL",
                        "NOTIFY_USER_AND_FAIL", false},
                    Row{"AnyOther", static_cast<V::Value>(17), 17, "17", "17", false}),
    [](const auto& row) { return row.param.testName; });

TEST(InvalidCertManagementPolicyTest, SilentlyFailLeavesTheStatuses) {
    Statuses statuses{CertStatus::EXPIRED};
    EXPECT_EQ(Result::SUCCESS, P::SILENTLY_FAIL_POLICY->enforce(statuses, nullptr));
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
}

TEST(InvalidCertManagementPolicyTest, SilentlySucceedMakesThemValid) {
    Statuses statuses{CertStatus::EXPIRED, CertStatus::UNTRUSTED_ROOT};
    EXPECT_EQ(Result::SUCCESS, P::SILENTLY_SUCCEED_POLICY->enforce(statuses, nullptr));
    EXPECT_EQ(Statuses{CertStatus::VALID}, statuses);
}

/// Calls every value enforceable.
class TooSure : public P {
public:
    using P::P;
    bool verifyEnforceability(const Statuses&, const std::shared_ptr<CertificateData>&) const override {
        return true;
    }
};

TEST(InvalidCertManagementPolicyTest, EnforceAsksTheSubclassAndFailsAtAValueItCannotManage) {
    const test::LogCapture capture;
    Statuses statuses{CertStatus::EXPIRED};
    EXPECT_EQ(Result::ENFORCING_FAILURE, TooSure(V::PROMPT_USER, Class::HARD).enforce(statuses, nullptr));
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, statuses);
    EXPECT_TRUE(capture.contains(ZEBLOG_WARNING,
                                 "Unable to enforce this 2 InvalidCertManagementPolicy, unmanaged policy"));
}

TEST(InvalidCertManagementPolicyTest, TheConstantsAreSoftAndSilent) {
    for (const auto& policy : {P::SILENTLY_FAIL_POLICY, P::SILENTLY_SUCCEED_POLICY}) {
        EXPECT_EQ(Policy::PolicyNature::INVALID_CERT_MANAGEMENT, policy->getNature());
        EXPECT_EQ(Class::SOFT, policy->getFailureClass());
        EXPECT_FALSE(policy->isInputIndependent());
        EXPECT_FALSE(policy->interactsWithUser());
    }
    EXPECT_EQ(V::SILENTLY_FAIL, P::SILENTLY_FAIL_POLICY->getValue());
    EXPECT_EQ(V::SILENTLY_SUCCEED, P::SILENTLY_SUCCEED_POLICY->getValue());
}

TEST(InvalidCertManagementPolicyTest, KeepsItsFailureClassAndWhetherItInteracts) {
    const P policy(V::PROMPT_USER, true, Class::HARD);
    EXPECT_EQ(Class::HARD, policy.getFailureClass());
    EXPECT_TRUE(policy.interactsWithUser());
    EXPECT_FALSE(P(V::PROMPT_USER, Class::HARD).interactsWithUser());
}

TEST(InvalidCertManagementPolicyTest, EqualsByValueClassAndInteraction) {
    EXPECT_TRUE(P::SILENTLY_FAIL_POLICY->equals(P(V::SILENTLY_FAIL, Class::SOFT)));
    EXPECT_FALSE(P::SILENTLY_FAIL_POLICY->equals(*P::SILENTLY_SUCCEED_POLICY));
    EXPECT_FALSE(P::SILENTLY_FAIL_POLICY->equals(P(V::SILENTLY_FAIL, Class::HARD)));
    EXPECT_FALSE(P::SILENTLY_FAIL_POLICY->equals(P(V::SILENTLY_FAIL, true, Class::SOFT)));
    EXPECT_FALSE(P::SILENTLY_FAIL_POLICY->equals(Policy(P::NATURE, Class::SOFT, false)));
}

}  // namespace
}  // namespace zeb::cert
