#include "http/HttpProxyConfigurationReader.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "http/SystemProxyUsagePolicy.h"
#include "support/LogCapture.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using common::Policy;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;

constexpr char URL[] = "http://host/";
constexpr char IS_NULL[] = "SystemProxyUsagePolicy is null and has not been enforced.";
constexpr char NOT_AVAILABLE[] = "System Proxy Usage policy not available.";
constexpr char FAILED[] = "System Proxy Usage Policy enforcement failed and policy is to be ignored.";

/// A new proxy for each question.
class CountingReader : public HttpProxyConfigurationReader {
public:
    std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string& url) const override {
        asked.push_back(url);
        auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer("proxy:8080", ProxyType::HTTP);
        return proxy;
    }
    mutable std::vector<std::string> asked;  ///< the resolver's mutex guards it
};

/// Counts how often the policy is asked for, and can answer null.
class WatchedResolver : public SystemProxyResolver {
public:
    std::shared_ptr<Policy> getPolicy(Policy::PolicyNature::Nature nature) const override {
        ++policyAskedFor;
        EXPECT_EQ(nature, Policy::PolicyNature::SYSTEM_PROXY_USAGE);
        return hasPolicies ? SystemProxyResolver::getPolicy(nature) : nullptr;
    }
    bool hasPolicies = true;
    mutable std::atomic<int> policyAskedFor{0};
};

class SystemProxyResolverTest : public testing::Test {
protected:
    SystemProxyResolverTest() { resolver.setHttpProxyConfigurationReader(reader); }

    LogCapture log;
    std::shared_ptr<CountingReader> reader = std::make_shared<CountingReader>();
    WatchedResolver resolver;
};

TEST(HttpProxyConfigurationReaderTest, KnowsOfNoProxyByItself) {
    EXPECT_EQ(HttpProxyConfigurationReader().getHttpProxyForUrl(URL), nullptr);
    EXPECT_EQ(HttpProxyConfigurationReader().getHttpProxyForUrl(""), nullptr);
}

TEST(SystemProxyResolverDefaultTest, WithoutAReaderOfTheHostThereIsNoProxy) {
    EXPECT_EQ(SystemProxyResolver().resolveSystemProxy(URL), nullptr);
}

TEST_F(SystemProxyResolverTest, TheSameUrlTwiceAsksTheReaderOnceAndThePolicyTwice) {
    const auto first = resolver.resolveSystemProxy(URL);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(resolver.resolveSystemProxy(URL), first);
    EXPECT_THAT(reader->asked, ElementsAre(URL));
    EXPECT_EQ(resolver.policyAskedFor, 2);
}

TEST_F(SystemProxyResolverTest, OnlyTheLastUrlIsRemembered) {
    const auto first = resolver.resolveSystemProxy(URL);
    resolver.resolveSystemProxy("http://other/");
    EXPECT_NE(resolver.resolveSystemProxy(URL), first);
    EXPECT_THAT(reader->asked, ElementsAre(URL, "http://other/", URL));
}

TEST_F(SystemProxyResolverTest, AnEmptyUrlIsAskedForLikeAnyOther) {
    resolver.resolveSystemProxy("");
    resolver.resolveSystemProxy("");
    EXPECT_THAT(reader->asked, ElementsAre(""));
}

TEST_F(SystemProxyResolverTest, NoProxyIsRememberedToo) {
    class NoProxyReader : public CountingReader {
        std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string& url) const override {
            asked.push_back(url);
            return nullptr;
        }
    };
    const auto none = std::make_shared<NoProxyReader>();
    resolver.setHttpProxyConfigurationReader(none);
    EXPECT_EQ(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_EQ(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_THAT(none->asked, ElementsAre(URL));
}

TEST_F(SystemProxyResolverTest, AnotherReaderIsAskedAtOnce) {
    resolver.resolveSystemProxy(URL);
    const auto other = std::make_shared<CountingReader>();
    resolver.setHttpProxyConfigurationReader(other);
    resolver.resolveSystemProxy(URL);
    EXPECT_THAT(other->asked, ElementsAre(URL));
    EXPECT_THAT(reader->asked, ElementsAre(URL));
}

TEST_F(SystemProxyResolverTest, ANullReaderBringsBackTheOneThatKnowsOfNoProxy) {
    resolver.resolveSystemProxy(URL);
    resolver.setHttpProxyConfigurationReader(nullptr);
    EXPECT_EQ(resolver.resolveSystemProxy(URL), nullptr);
}

TEST_F(SystemProxyResolverTest, WithoutThePolicyTheProxyStands) {
    EXPECT_NE(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_TRUE(log.contains(NOT_AVAILABLE));
    EXPECT_FALSE(log.contains(IS_NULL));
}

TEST_F(SystemProxyResolverTest, ANullPolicyIsSaidAndTheProxyStands) {
    resolver.hasPolicies = false;
    EXPECT_NE(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_TRUE(log.contains(IS_NULL));
    EXPECT_FALSE(log.contains(NOT_AVAILABLE));
}

TEST_F(SystemProxyResolverTest, WhenRequestedTheProxyIsUsed) {
    resolver.addPolicy(SystemProxyUsagePolicy::USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY);
    EXPECT_NE(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_THAT(log.linesOf("zeb.httpclient"), IsEmpty());
}

TEST_F(SystemProxyResolverTest, ThePolicyCanForbidTheProxyWhichIsRememberedAllTheSame) {
    resolver.addPolicy(SystemProxyUsagePolicy::NEVER_USE_SYSTEM_PROXY_POLICY);
    EXPECT_EQ(resolver.resolveSystemProxy(URL), nullptr);
    resolver.addPolicy(SystemProxyUsagePolicy::USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY);
    EXPECT_NE(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_THAT(reader->asked, ElementsAre(URL));
}

TEST_F(SystemProxyResolverTest, APolicyThatFailsIsSaidAndTheProxyStands) {
    resolver.addPolicy(
        std::make_shared<SystemProxyUsagePolicy>(static_cast<SystemProxyUsagePolicy::PolicyValue::Value>(2)));
    EXPECT_NE(resolver.resolveSystemProxy(URL), nullptr);
    EXPECT_TRUE(log.contains(FAILED));
}

TEST_F(SystemProxyResolverTest, ManyThreadsMayAskWhileTheReaderChanges) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int round = 0; round < 100; ++round) {
                EXPECT_NE(resolver.resolveSystemProxy(URL + std::to_string((i + round) % 3)), nullptr);
                if (round % 10 == i) {
                    resolver.setHttpProxyConfigurationReader(std::make_shared<CountingReader>());
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace zeb::http::test
