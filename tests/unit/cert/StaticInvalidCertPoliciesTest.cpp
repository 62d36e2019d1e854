#include "cert/IgnoreInvalidCertConditionPolicy.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/PersistInvalidCertDecisionPolicy.h"
#include "cert/common/CertificateValidityCache.h"
#include "cert/common/InvalidCertNotificationManager.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

namespace zeb::cert {
namespace {

/// What other code does while static objects are made and destroyed, in an order that nobody chose.
class StaticUser {
public:
    StaticUser()
        : names_(names()), listening_(InvalidCertNotificationManager::getInstance()->isInitialized()) {
        CertificateValidityCache::addAcceptedInvalidCertificate("static", CertStatus::EXPIRED);
    }

    ~StaticUser() {
        // Too late for an expectation: an exit code must do.
        InvalidCertNotificationManager::getInstance()->isInitialized();
        CertificateValidityCache::addAcceptedInvalidCertificate("static", CertStatus::EXPIRED);
        if (names() != names_ || CertificateValidityCache::getAcceptedInvalidCacheValue("static").empty()) {
            std::puts("what verifies certificates was destroyed before its users");
            std::_Exit(EXIT_FAILURE);
        }
    }

    static std::string names() {
        return InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY->getName() + " " +
               InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY->getName() + " " +
               PersistInvalidCertDecisionPolicy::PERSIST_DECISION_POLICY->getName() + " " +
               IgnoreInvalidCertConditionPolicy::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY->getName();
    }

    const std::string names_;
    const bool listening_;
};

const StaticUser staticUser;

TEST(StaticInvalidCertPoliciesTest, TheConstantsAreThereWhileStaticObjectsAreMade) {
    EXPECT_EQ("SILENTLY_FAIL SILENTLY_SUCCEED PERSIST_DECISION DO_NOT_IGNORE_FALURE_CONDITIONS",
              staticUser.names_);
    EXPECT_FALSE(staticUser.listening_);
}

TEST(StaticInvalidCertPoliciesDeathTest, TheConstantsTheManagerAndTheCacheOutliveStaticObjects) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(EXIT_SUCCESS), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace
}  // namespace zeb::cert
