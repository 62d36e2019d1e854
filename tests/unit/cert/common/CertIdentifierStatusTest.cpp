#include "cert/common/CertIdentifierStatus.h"
#include "support/Printed.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

TEST(CertIdentifierStatusTest, EveryStatusHasItsNumberAndItsText) {
    EXPECT_EQ(CertIdentifierStatus::SUCCESS, 0);
    EXPECT_EQ(CertIdentifierStatus::INTERNAL_ERROR, 1);
    EXPECT_EQ(CertIdentifierStatus::NO_MATCH_FOUND, 2);
    EXPECT_EQ(CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT, 3);
    EXPECT_EQ(printed(CertIdentifierStatus::SUCCESS), "SUCCESS");
    EXPECT_EQ(printed(CertIdentifierStatus::INTERNAL_ERROR), "INTERNAL_ERROR");
    EXPECT_EQ(printed(CertIdentifierStatus::NO_MATCH_FOUND), "NO_MATCH_FOUND");
    EXPECT_EQ(printed(CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT), "NO_IDENTITY_INFO_IN_CERT");
}

TEST(CertIdentifierStatusTest, AnUnknownStatusPrintsAsItsNumber) {
    EXPECT_EQ(printed(static_cast<CertIdentifierStatus::Status>(4)), "4");
    EXPECT_EQ(printed(static_cast<CertIdentifierStatus::Status>(-1)), "-1");
}

TEST(CertIdentifierStatusTest, ANewOneIsNoMatchOfNothing) {
    const CertIdentifierStatus status;
    EXPECT_EQ(status.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND);
    EXPECT_EQ(status.getMatchedIdentifier(), "");
    EXPECT_EQ(printed(status), "result : NO_MATCH_FOUND , matched ID : ]");
}

TEST(CertIdentifierStatusTest, PrintsItsStatusAndWhatMatched) {
    CertIdentifierStatus status(CertIdentifierStatus::SUCCESS, "a.test");
    EXPECT_EQ(printed(status), "result : SUCCESS , matched ID : a.test]");
    status.setStatus(CertIdentifierStatus::INTERNAL_ERROR);
    status.setMatchedIdentifier("b.test");
    EXPECT_EQ(status.getStatus(), CertIdentifierStatus::INTERNAL_ERROR);
    EXPECT_EQ(status.getMatchedIdentifier(), "b.test");
    EXPECT_EQ(printed(status), "result : INTERNAL_ERROR , matched ID : b.test]");
}

}  // namespace
}  // namespace zeb::cert::test
