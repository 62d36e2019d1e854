#include "common/Cookie.h"
#include "core/SecureStringUtils.h"
#include "support/MemoryScan.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::common::test {
namespace {

using zeb::test::countInOwnMemory;
using zeb::test::PlantedSecret;

/// Each test knows every copy in clear that it has made itself; the scan finds those, freed memory included,
/// and must find no other.
class CookieSecretTest : public ::testing::Test {
protected:
    ~CookieSecretTest() override { SecureStringUtils::ZEBZeroString(line_); }

    /// One copy in clear: in the line.
    void makeLine(const std::string& beginning) {
        line_.reserve(beginning.size() + secret_.size());
        line_ = beginning;
        line_.resize(beginning.size() + secret_.size());
        secret_.copyTo(&line_[beginning.size()]);
        ASSERT_EQ(1U, countInOwnMemory(secret_));
    }

    const PlantedSecret secret_;
    std::string line_;
};

/// The secret stands behind this in the value: the heap writes its links over the first bytes of a freed
/// block, which would hide a copy left there.
const std::string VALUE_BEGINNING(32, '-');

const std::string BEGINNING = ".example.test\tTRUE\t/\tTRUE\t1900000000\tX-Auth\t" + VALUE_BEGINNING;

TEST_F(CookieSecretTest, ParsingLeavesNoCopyInClear) {
    makeLine(BEGINNING);
    const Cookie cookie(line_);
    EXPECT_EQ(1U, countInOwnMemory(secret_));
    SecureStringUtils::ZEBZeroString(line_);
    EXPECT_EQ(0U, countInOwnMemory(secret_));
    EXPECT_FALSE(cookie.isEmpty());
}

TEST_F(CookieSecretTest, ARefusedLineLeavesNoCopyInClear) {
    makeLine("a\tTRUE\t/\tTRUE\t0\t" + VALUE_BEGINNING);
    const Cookie cookie(line_);
    EXPECT_TRUE(cookie.isEmpty());
    EXPECT_EQ(1U, countInOwnMemory(secret_));
}

TEST_F(CookieSecretTest, ComparingCopyingAndTheEndLeaveNoCopyInClear) {
    makeLine(BEGINNING);
    {
        const Cookie cookie(line_);
        const Cookie other(line_);
        const Cookie copy(cookie);
        EXPECT_TRUE(cookie == other);
        EXPECT_TRUE(copy == cookie);
        EXPECT_EQ(1U, countInOwnMemory(secret_));
    }
    EXPECT_EQ(1U, countInOwnMemory(secret_));
}

TEST_F(CookieSecretTest, ReadingGivesOneCopyInClearThatTheReaderCanWipe) {
    makeLine(BEGINNING);
    const Cookie cookie(line_);
    SecureStringUtils::ZEBZeroString(line_);

    std::string value = cookie.getValue();
    ASSERT_EQ(VALUE_BEGINNING.size() + secret_.size(), value.size());
    EXPECT_TRUE(secret_.equals(value.data() + VALUE_BEGINNING.size(), secret_.size()));
    EXPECT_EQ(1U, countInOwnMemory(secret_));
    SecureStringUtils::ZEBZeroString(value);
    EXPECT_EQ(0U, countInOwnMemory(secret_));

    std::string raw = cookie.getRawFormat();
    EXPECT_EQ(1U, countInOwnMemory(secret_));
    SecureStringUtils::ZEBZeroString(raw);
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

TEST_F(CookieSecretTest, ASecondLineLeavesNothingOfTheFirst) {
    makeLine(BEGINNING);
    Cookie cookie(line_);
    SecureStringUtils::ZEBZeroString(line_);
    cookie.parse("a\tTRUE\t/\tTRUE\t0\tn\tv");
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

}  // namespace
}  // namespace zeb::common::test
