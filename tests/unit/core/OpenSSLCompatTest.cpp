#include "core/OpenSSLCompat.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace zeb::test {
namespace {

TEST(OpenSSLCompatTest, TheCipherIsAes256InCbcMode) {
    const EVP_CIPHER* const cipher = openssl::aes256Cbc();
    EXPECT_EQ(32, EVP_CIPHER_key_length(cipher));
    EXPECT_EQ(16, EVP_CIPHER_iv_length(cipher));
    EXPECT_EQ(EVP_CIPH_CBC_MODE, EVP_CIPHER_mode(cipher));
}

TEST(OpenSSLCompatTest, TheCipherIsLookedUpOnce) {
    EXPECT_EQ(openssl::aes256Cbc(), openssl::aes256Cbc());
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    // Only one that was fetched knows its provider; others are looked up at each use.
    EXPECT_NE(nullptr, EVP_CIPHER_get0_provider(openssl::aes256Cbc()));
#endif
}

TEST(OpenSSLCompatTest, TheStateOfFipsIsThatOfTheDefaultContext) {
    EXPECT_FALSE(openssl::isFipsEnabled());
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    ASSERT_EQ(1, EVP_default_properties_enable_fips(nullptr, 1));
    EXPECT_TRUE(openssl::isFipsEnabled());
    ASSERT_EQ(1, EVP_default_properties_enable_fips(nullptr, 0));
    EXPECT_FALSE(openssl::isFipsEnabled());
#endif
}

}  // namespace
}  // namespace zeb::test
