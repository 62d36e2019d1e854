#include "http/Credentials.h"

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

TEST(CredentialsTest, HoldUserPasswordAndTokenInThisOrder) {
    const Credentials credentials{"user", SecureString("password"), SecureString("token")};
    EXPECT_EQ("user", credentials.username);
    EXPECT_EQ(SecureString("password"), credentials.password);
    EXPECT_EQ(SecureString("token"), credentials.token);
}

TEST(CredentialsTest, AreEmptyAtFirst) {
    const Credentials credentials;
    EXPECT_EQ("", credentials.username);
    EXPECT_TRUE(credentials.password.empty());
    EXPECT_TRUE(credentials.token.empty());
}

}  // namespace
}  // namespace zeb::http::test
