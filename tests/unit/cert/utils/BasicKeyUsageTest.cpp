#include "cert/utils/BasicKeyUsage.h"
#include "support/Printed.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::printed;

struct Row {
    int value;
    BasicKeyUsage::Usage usage;
    const char* name;
    unsigned long x509Bit;
};

constexpr Row ROWS[] = {
    {1, BasicKeyUsage::DIGITAL_SIGNATURE, "DIGITAL_SIGNATURE", 0x80},
    {2, BasicKeyUsage::NON_REPUDIATION, "NON_REPUDIATION", 0x40},
    {4, BasicKeyUsage::KEY_ENCIPHERMENT, "KEY_ENCIPHERMENT", 0x20},
    {8, BasicKeyUsage::DATA_ENCIPHERMENT, "DATA_ENCIPHERMENT", 0x10},
    {16, BasicKeyUsage::KEY_AGREEMENT, "KEY_AGREEMENT", 0x08},
    {32, BasicKeyUsage::KEY_CERT_SIGN, "KEY_CERT_SIGN", 0x04},
    {64, BasicKeyUsage::CRL_SIGN, "CRL_SIGN", 0x02},
    {128, BasicKeyUsage::ENCIPHER_ONLY, "ENCIPHER_ONLY", 0x01},
    {256, BasicKeyUsage::DECIPHER_ONLY, "DECIPHER_ONLY", 0x8000},
};

std::string print(int usage) {
    return printed(static_cast<BasicKeyUsage::Usage>(usage));
}

std::string printMask(unsigned long mask) {
    std::ostringstream stream;
    BasicKeyUsage::print(stream, mask);
    return stream.str();
}

TEST(BasicKeyUsageTest, EveryUsageHasItsNumberItsTextAndItsBit) {
    for (const Row& row : ROWS) {
        EXPECT_EQ(row.usage, row.value);
        EXPECT_EQ(print(row.value), row.name);
        EXPECT_EQ(BasicKeyUsage::fromX509KeyUsage(row.x509Bit), static_cast<unsigned long>(row.value));
        EXPECT_EQ(printMask(static_cast<unsigned long>(row.value)), "[" + std::string(row.name) + "]");
    }
}

TEST(BasicKeyUsageTest, AnUnknownUsagePrintsAsItsNumber) {
    EXPECT_EQ(print(0), "0");
    EXPECT_EQ(print(3), "3");
    EXPECT_EQ(print(512), "512");
    EXPECT_EQ(print(-1), "-1");
}

TEST(BasicKeyUsageTest, BitsThatHaveNoUsageAreLeftOut) {
    EXPECT_EQ(BasicKeyUsage::fromX509KeyUsage(0x7F00), 0U);
    EXPECT_EQ(BasicKeyUsage::fromX509KeyUsage(0xFFFFFFFF), 511U);
    EXPECT_EQ(BasicKeyUsage::fromX509KeyUsage(0x80A4), 1U + 4U + 32U + 256U);
}

TEST(BasicKeyUsageTest, AMaskPrintsItsNamesInAscendingOrder) {
    EXPECT_EQ(printMask(0), "[]");
    EXPECT_EQ(printMask(256 + 4 + 1), "[DIGITAL_SIGNATURE, KEY_ENCIPHERMENT, DECIPHER_ONLY]");
}

}  // namespace
}  // namespace zeb::cert::test
