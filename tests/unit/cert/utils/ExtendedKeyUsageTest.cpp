#include "cert/utils/ExtendedKeyUsage.h"
#include "support/Printed.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

struct Row {
    int value;
    ExtendedKeyUsage::Usage usage;
    const char* name;
    int nid;
};

constexpr Row ROWS[] = {
    {1, ExtendedKeyUsage::SERVER_AUTH, "SERVER_AUTH", 129},
    {2, ExtendedKeyUsage::CLIENT_AUTH, "CLIENT_AUTH", 130},
    {4, ExtendedKeyUsage::CODE_SIGNING, "CODE_SIGNING", 131},
    {8, ExtendedKeyUsage::EMAIL_PROTECTION, "EMAIL_PROTECTION", 132},
    {16, ExtendedKeyUsage::IPSEC_END_SYSTEM, "IPSEC_END_SYSTEM", 294},
    {32, ExtendedKeyUsage::IPSEC_TUNNEL, "IPSEC_TUNNEL", 295},
    {64, ExtendedKeyUsage::IPSEC_USER, "IPSEC_USER", 296},
    {128, ExtendedKeyUsage::TIME_STAMPING, "TIME_STAMPING", 133},
    {256, ExtendedKeyUsage::OCSP_SIGN, "OCSP_SIGN", 180},
    {512, ExtendedKeyUsage::DVCS, "DVCS", 297},
};

std::string print(int usage) {
    return printed(static_cast<ExtendedKeyUsage::Usage>(usage));
}

std::string printMask(unsigned long mask) {
    std::ostringstream stream;
    ExtendedKeyUsage::print(stream, mask);
    return stream.str();
}

TEST(ExtendedKeyUsageTest, EveryPurposeHasItsNumberItsTextAndItsNid) {
    for (const Row& row : ROWS) {
        EXPECT_EQ(row.usage, row.value);
        EXPECT_EQ(print(row.value), row.name);
        EXPECT_EQ(ExtendedKeyUsage::fromNid(row.nid), static_cast<unsigned long>(row.value));
        EXPECT_EQ(printMask(static_cast<unsigned long>(row.value)), "[" + std::string(row.name) + "]");
    }
}

TEST(ExtendedKeyUsageTest, OtherNidsAndTheOneForAnyPurposeHaveNoBit) {
    for (const int nid : {-1, 0, 1, 126, 128, 134, 293, 298, 910}) {
        EXPECT_EQ(ExtendedKeyUsage::fromNid(nid), 0U) << nid;
    }
}

TEST(ExtendedKeyUsageTest, AnUnknownPurposePrintsAsItsNumber) {
    EXPECT_EQ(print(0), "0");
    EXPECT_EQ(print(1024), "1024");
    EXPECT_EQ(print(-1), "-1");
}

TEST(ExtendedKeyUsageTest, AMaskPrintsItsNamesInAscendingOrder) {
    EXPECT_EQ(printMask(0), "[]");
    EXPECT_EQ(printMask(512 + 2 + 1), "[SERVER_AUTH, CLIENT_AUTH, DVCS]");
}

}  // namespace
}  // namespace zeb::cert::test
