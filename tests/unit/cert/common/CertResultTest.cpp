#include "cert/common/CertResult.h"
#include "support/Printed.h"
#include "zeblogger/ZEBLogger.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

TEST(CertResultTest, ANewOneIsAFailure) {
    const CertResult result;
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_FALSE(result.fingerprintValid);
    EXPECT_TRUE(result.statuses.empty());
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "");
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND);
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::FAILURE);
}

TEST(CertResultTest, EachResultPrintsAsItsName) {
    EXPECT_EQ(printed(CertResult::SUCCESS), "SUCCESS");
    EXPECT_EQ(printed(CertResult::FAILURE), "FAILURE");
    EXPECT_EQ(printed(CertResult::POLICY_NOT_ENFORCED_ERROR), "POLICY_NOT_ENFORCED_ERROR");
    EXPECT_EQ(printed(static_cast<CertResult::Result>(3)), "Unexpected value (3)");
    EXPECT_EQ(static_cast<int>(CertResult::SUCCESS), 0);
    EXPECT_EQ(static_cast<int>(CertResult::FAILURE), 1);
    EXPECT_EQ(static_cast<int>(CertResult::POLICY_NOT_ENFORCED_ERROR), 2);
}

TEST(CertResultTest, ItPrintsInOneLine) {
    CertResult result;
    EXPECT_EQ(printed(result),
              "result : FAILURE , invalid reason : [] , identifier validation : result : NO_MATCH_FOUND , "
              "matched ID : ] , fingerprint marked as valid : false]");
    result.result = CertResult::SUCCESS;
    result.statuses = {CertStatus::VALID};
    result.identifierStatus = CertIdentifierStatus(CertIdentifierStatus::SUCCESS, "server.test");
    result.fingerprintValid = true;
    EXPECT_EQ(printed(result),
              "result : SUCCESS , invalid reason : [VALID] , identifier validation : result : SUCCESS , "
              "matched ID : server.test] , fingerprint marked as valid : true]");
}

TEST(CertResultTest, WhatMayGoIntoALogHidesTheMatchedIdentifierAndNothingElse) {
    CertResult result;
    result.result = CertResult::SUCCESS;
    result.identifierStatus = CertIdentifierStatus(CertIdentifierStatus::SUCCESS, "server.test");
    const CertResult hidden = result.loggable();
    EXPECT_EQ(hidden.identifierStatus.getMatchedIdentifier(), ZEBLogger_replacePIIData("server.test"));
    EXPECT_EQ(hidden.result, CertResult::SUCCESS);
    EXPECT_EQ(printed(hidden).find("server.test"), std::string::npos);
}

}  // namespace
}  // namespace zeb::cert::test
