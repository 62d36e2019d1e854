#include "common/FipsUtils.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/opensslv.h>

namespace zeb::common::test {
namespace {

class FipsUtilsTest : public ::testing::Test {
protected:
    ~FipsUtilsTest() override { FipsUtils::setQueryForTests(nullptr); }
};

#if OPENSSL_VERSION_NUMBER >= 0x30000000L
TEST_F(FipsUtilsTest, FollowsTheDefaultPropertiesOfOpenSsl) {
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
    ASSERT_EQ(1, EVP_default_properties_enable_fips(nullptr, 1));
    EXPECT_TRUE(FipsUtils::isFipsEnabled());
    ASSERT_EQ(1, EVP_default_properties_enable_fips(nullptr, 0));
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
}
#endif

TEST_F(FipsUtilsTest, AsksTheQueryOfATestUntilItIsTakenAway) {
    FipsUtils::setQueryForTests([] { return true; });
    EXPECT_TRUE(FipsUtils::isFipsEnabled());
    FipsUtils::setQueryForTests([] { return false; });
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
    FipsUtils::setQueryForTests([] { return true; });
    FipsUtils::setQueryForTests(nullptr);
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
}

}  // namespace
}  // namespace zeb::common::test
