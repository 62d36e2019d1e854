#include "BasicHttpClientTestSupport.h"
#include "http/Proxy.h"
#include "support/CertificateBuilder.h"
#include "support/FakeCertVerifier.h"
#include "support/TunnelProxy.h"

#include <functional>
#include <ostream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

/// What a proxy gets to see of a request that is redirected, byte for byte. What the servers get to see in
/// all cases is asked in the lab.
namespace zeb::http::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::FakeCertVerifier;
using zeb::test::IssuedCertificate;
using zeb::test::TunnelProxy;

constexpr char FIRST[] = "first.invalid";
constexpr char PROXY_CREDENTIALS[] = "Basic cHJveHl1c2VyOnByb3h5d29yZA==";  // proxyuser:proxyword

/// A kind of secret, and what betrays it in a head.
struct Secret {
    std::string name;
    std::string trace;
    std::function<void(HttpRequestOptions&)> give;
};

/// From where to where a redirect leads, and the CONNECTs that it takes.
struct Hop {
    std::string name;
    std::string from;
    std::string to;
    std::vector<std::string> tunnels;
};

std::ostream& operator<<(std::ostream& stream, const Secret& secret) {
    return stream << secret.name;
}
std::ostream& operator<<(std::ostream& stream, const Hop& hop) {
    return stream << hop.name;
}

void giveCookie(HttpRequestOptions& options) {
    options.cookies.emplace_back(std::string(FIRST) + "\tFALSE\t/\tFALSE\t0\tsecretcookie\tcrumbs");
}

const Secret SECRETS[] = {
    {"Password", "Basic YWxpY2U6d29uZGVybGFuZA==",
     [](HttpRequestOptions& options) {
         options.authType = AuthType::BASIC;
         options.credentials = std::make_shared<Credentials>();
         options.credentials->username = "alice";
         options.credentials->password = SecureString("wonderland");
     }},
    {"Token", "tokentokentoken",
     [](HttpRequestOptions& options) {
         options.authType = AuthType::OAUTH;
         options.credentials = std::make_shared<Credentials>();
         options.credentials->token = SecureString("tokentokentoken");
     }},
    {"Cookie", "secretcookie=crumbs", giveCookie},
    {"MandatoryCookie", "secretcookie=crumbs",
     [](HttpRequestOptions& options) {
         giveCookie(options);
         options.setCookieMandatory(true);
     }},
};

const Hop HOPS[] = {
    {"SameHost", "https://first.invalid/from", "https://first.invalid/to", {"first.invalid:443"}},
    {"OtherHost",
     "https://first.invalid/from",
     "https://second.invalid/to",
     {"first.invalid:443", "second.invalid:443"}},
    {"OtherPort",
     "https://first.invalid/from",
     "https://first.invalid:8443/to",
     {"first.invalid:443", "first.invalid:8443"}},
    {"HttpsToHttp", "https://first.invalid/from", "http://first.invalid/to", {"first.invalid:443"}},
    {"HttpToHttps", "http://first.invalid/from", "https://first.invalid/to", {"first.invalid:443"}},
};

class RedirectedSecretsTest : public testing::TestWithParam<std::tuple<Secret, Hop>> {
protected:
    static LoopbackServer::Options withTls() {
        const IssuedCertificate certificate = CertificateBuilder().commonName("A server").build();
        LoopbackServer::Options options;
        options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
        return options;
    }
    static Reply redirect(const LoopbackServer::Request& request) {
        const bool first = request.target.find("/from") != std::string::npos;
        return first ? Reply::response(302, "", {{"Location", std::get<Hop>(GetParam()).to}})
                     : hello(request);
    }

    LoopbackServer secure_{redirect, withTls()};
    LoopbackServer plain_{redirect};
    TunnelProxy proxy_{secure_.port(), "HTTP/1.1 200 OK\r\n\r\n", plain_.port()};
};

TEST_P(RedirectedSecretsTest, StayOutOfTheTunnelsRequestsAndTheProxysOutOfTheTunnels) {
    const auto& [secret, hop] = GetParam();
    const auto request = makeRequest(hop.from);
    secret.give(*request->getOptions());
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxy_.url(), ProxyType::HTTP);
    proxy->setAuthentication("proxyuser", SecureString("proxyword"), ProxyAuthentication::BASIC);
    request->setProxy(proxy);
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(
        nullptr, std::make_shared<FakeCertVerifier>(true), makePool(1), nullptr);
    Response response;
    ASSERT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_EQ(response.body, "hello");

    const std::vector<std::string> heads = proxy_.heads();
    ASSERT_EQ(heads.size(), hop.tunnels.size());
    for (std::size_t i = 0; i < heads.size(); ++i) {
        EXPECT_EQ(heads[i].find("CONNECT " + hop.tunnels[i] + " HTTP/1.1\r\n"), 0U) << heads[i];
        EXPECT_NE(heads[i].find("\r\nProxy-Authorization: " + std::string(PROXY_CREDENTIALS) + "\r\n"),
                  std::string::npos);
        EXPECT_EQ(heads[i].find(secret.trace), std::string::npos) << heads[i];
        EXPECT_EQ(heads[i].find("\r\nAuthorization:"), std::string::npos) << heads[i];
        EXPECT_EQ(heads[i].find("\r\nCookie:"), std::string::npos) << heads[i];
    }
    EXPECT_EQ(secure_.received().find("Proxy-"), std::string::npos) << "within a tunnel";
    EXPECT_NE((secure_.received() + plain_.received()).find(secret.trace), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Grid, RedirectedSecretsTest,
                         testing::Combine(testing::ValuesIn(SECRETS), testing::ValuesIn(HOPS)),
                         [](const auto& row) {
                             return std::get<0>(row.param).name + "_" + std::get<1>(row.param).name;
                         });

}  // namespace
}  // namespace zeb::http::test
