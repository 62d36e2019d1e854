#include "BasicHttpClientTestSupport.h"
#include "http/Proxy.h"
#include "support/SocksServer.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::SocksServer;

/// One form of a SOCKS proxy: how the host may name it, and what goes over the wire.
struct Form {
    const char* name;
    ProxyType::Type type;
    const char* scheme;  ///< in front of the proxy's address
    int version;
    bool resolvesThere;
};

class SocksProxyTest : public testing::TestWithParam<Form> {
protected:
    std::shared_ptr<Proxy> makeProxy(const SocksServer& socks) {
        const auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(GetParam().scheme + socks.authority(), GetParam().type);
        return proxy;
    }
    HttpClientResult::Result get(const std::string& url, const std::shared_ptr<Proxy>& proxy) {
        const auto request = makeRequest(url);
        request->setProxy(proxy);
        return makeClient()->execute(request, response_);
    }

    LoopbackServer server_{hello};
    Response response_;
};

TEST_P(SocksProxyTest, ANameIsResolvedOnTheSideOfItsForm) {
    SocksServer socks(server_.port());
    const bool there = GetParam().resolvesThere;
    const std::string host = there ? "inside.invalid" : "localhost";
    ASSERT_EQ(get("http://" + host + ":8080/page", makeProxy(socks)), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, "hello");
    EXPECT_TRUE(response_.proxyUsed);
    ASSERT_EQ(socks.requests().size(), 1U);
    const SocksServer::Request asked = socks.requests()[0];
    EXPECT_EQ(asked.version, GetParam().version);
    EXPECT_EQ(asked.byName, there);
    EXPECT_EQ(asked.port, 8080);
    if (there) {
        EXPECT_EQ(asked.host, host);
    } else {
        EXPECT_TRUE(asked.host == "127.0.0.1" || asked.host == "::1") << asked.host;
        EXPECT_EQ(asked.raw.find(host), std::string::npos) << "the proxy learns nothing of the name";
    }
    EXPECT_EQ(server_.requests().at(0).header("Host"), host + ":8080");
}

TEST_P(SocksProxyTest, ANameThatIsUnknownHereFailsWhereItIsResolvedHere) {
    SocksServer socks(server_.port());
    const HttpClientResult::Result result = get("http://inside.invalid/", makeProxy(socks));
    if (GetParam().resolvesThere) {
        EXPECT_EQ(result, HttpClientResult::SUCCESS);
    } else {
        EXPECT_EQ(result, HttpClientResult::UNKNOWN_ERROR) << "libcurl calls it the proxy's failure";
        EXPECT_EQ(server_.connections(), 0U);
    }
}

TEST_P(SocksProxyTest, AnAddressGoesAsItIs) {
    SocksServer socks(server_.port());
    ASSERT_EQ(get("http://192.0.2.1/", makeProxy(socks)), HttpClientResult::SUCCESS);
    EXPECT_EQ(socks.requests().at(0).host, "192.0.2.1");
}

TEST_P(SocksProxyTest, TheHostsUserIsTold) {
    SocksServer::Options options;
    options.wantPassword = true;
    SocksServer socks(server_.port(), options);
    const auto proxy = makeProxy(socks);
    proxy->setAuthentication("alice", SecureString("wonderland"), ProxyAuthentication::ANY);
    ASSERT_EQ(get("http://192.0.2.1/", proxy), HttpClientResult::SUCCESS);
    const SocksServer::Request asked = socks.requests().at(0);
    EXPECT_EQ(asked.user, "alice");
    EXPECT_EQ(asked.password, GetParam().version == 5 ? "wonderland" : "") << "version 4 knows no password";
    EXPECT_EQ(server_.received().find("alice"), std::string::npos);
}

TEST_P(SocksProxyTest, ARefusalEndsTheRequestAndNothingReachesTheServer) {
    SocksServer::Options options;
    options.refuse = true;
    SocksServer socks(server_.port(), options);
    EXPECT_EQ(get("http://192.0.2.1/", makeProxy(socks)), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(server_.connections(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Forms, SocksProxyTest,
                         testing::Values(Form{"Type4", ProxyType::SOCKS_4, "", 4, false},
                                         Form{"Type4a", ProxyType::SOCKS_4A, "", 4, true},
                                         Form{"Type5", ProxyType::SOCKS_5, "", 5, false},
                                         Form{"Type5Hostname", ProxyType::SOCKS_5_HOSTNAME, "", 5, true},
                                         // The URL's scheme goes before the type.
                                         Form{"Scheme4", ProxyType::HTTP, "socks4://", 4, false},
                                         Form{"Scheme4a", ProxyType::HTTP, "socks4a://", 4, true},
                                         Form{"Scheme5", ProxyType::HTTP, "socks5://", 5, false},
                                         Form{"Scheme5h", ProxyType::HTTP, "socks5h://", 5, true},
                                         Form{"SchemeOverType", ProxyType::SOCKS_4, "socks5h://", 5, true}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace zeb::http::test
