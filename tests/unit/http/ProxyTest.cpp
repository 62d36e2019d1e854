#include "http/Proxy.h"
#include "zeblogger/ZEBLogger.h"

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ProxyTest, IsUnsetAtFirst) {
    const Proxy proxy;
    EXPECT_EQ("", proxy.getURL());
    EXPECT_EQ("", proxy.getUsername());
    EXPECT_TRUE(proxy.getPassword().empty());
    EXPECT_EQ(ProxyType::HTTP, proxy.getProxyType());
    EXPECT_EQ(ProxyAuthentication::ANY, proxy.getProxyAuthenticationType());
    EXPECT_EQ("", proxy.getBypassList());
    EXPECT_FALSE(proxy.isServerSet());
}

TEST(ProxyTest, GivesBackWhatWasSet) {
    Proxy proxy;
    proxy.setProxyServer("proxy:1080", ProxyType::SOCKS_5);
    proxy.setAuthentication("user", SecureString("password"), ProxyAuthentication::NTLM);
    proxy.setBypassList("a;b");
    EXPECT_EQ("proxy:1080", proxy.getURL());
    EXPECT_EQ(ProxyType::SOCKS_5, proxy.getProxyType());
    EXPECT_TRUE(proxy.isServerSet());
    EXPECT_EQ("user", proxy.getUsername());
    EXPECT_EQ(SecureString("password"), proxy.getPassword());
    EXPECT_EQ(ProxyAuthentication::NTLM, proxy.getProxyAuthenticationType());
    EXPECT_EQ("a;b", proxy.getBypassList());
}

TEST(ProxyTest, AnEmptyServerCountsAsSet) {
    Proxy proxy;
    proxy.setProxyServer("", ProxyType::HTTP);
    EXPECT_TRUE(proxy.isServerSet());
}

TEST(ProxyTest, UnsetSerializesToItsHeadAndAnEmptyBypassList) {
    EXPECT_EQ("[proxy]\n\t[bypass list]: \n", Proxy().serialize());
}

TEST(ProxyTest, SerializesEveryLineWithTheUrlHiddenAndNoCredentials) {
    Proxy proxy;
    proxy.setProxyServer("http://proxy:8080", ProxyType::HTTP);
    proxy.setAuthentication("user", SecureString("password"), ProxyAuthentication::BASIC);
    proxy.setBypassList("a.com;b.com");
    const std::string text = proxy.serialize();
    EXPECT_EQ("[proxy]\nServer: " + ZEBLogger_replacePIIData("http://proxy:8080") +
                  "\nUsername: *****\nPassword: *****\n\t[bypass list]: a.com;b.com\n",
              text);
    EXPECT_THAT(text, Not(HasSubstr("proxy:8080")));
    EXPECT_THAT(text, Not(HasSubstr("user")));
    EXPECT_THAT(text, Not(HasSubstr("password")));
}

TEST(ProxyTest, SerializesOnlyTheCredentialThatIsThere) {
    Proxy proxy;
    proxy.setAuthentication("user", SecureString(), ProxyAuthentication::BASIC);
    EXPECT_EQ("[proxy]\nUsername: *****\n\t[bypass list]: \n", proxy.serialize());
    proxy.setAuthentication("", SecureString("password"), ProxyAuthentication::BASIC);
    EXPECT_EQ("[proxy]\nPassword: *****\n\t[bypass list]: \n", proxy.serialize());
}

}  // namespace
}  // namespace zeb::http::test
