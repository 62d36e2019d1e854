#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using zeb::test::FakeCertVerifier;

/// A kind of secret, how a request carries it, and what betrays it in a request's head.
struct Secret {
    std::string name;
    std::function<void(HttpRequestOptions&)> give;
    std::string trace;
};

/// From where to where a redirect leads.
struct Hop {
    std::string name;
    std::string from;
    std::string to;
};

std::ostream& operator<<(std::ostream& stream, const Secret& secret) {
    return stream << secret.name;
}
std::ostream& operator<<(std::ostream& stream, const Hop& hop) {
    return stream << hop.name;
}

void giveCookie(HttpRequestOptions& options, const std::string& secure) {
    options.cookies.emplace_back(lab::ORIGIN + "\tFALSE\t/\t" + secure + "\t0\tsecretcookie\tcrumbs");
}

const Secret PASSWORD{"password",
                      [](HttpRequestOptions& options) {
                          options.authType = AuthType::BASIC;
                          options.credentials = std::make_shared<Credentials>();
                          options.credentials->username = lab::USER;
                          options.credentials->password = SecureString(lab::PASSWORD);
                      },
                      "Basic YWxpY2U6d29uZGVybGFuZA=="};
const Secret TOKEN{"token",
                   [](HttpRequestOptions& options) {
                       options.authType = AuthType::OAUTH;
                       options.credentials = std::make_shared<Credentials>();
                       options.credentials->token = SecureString("tokentokentoken");
                   },
                   "tokentokentoken"};
const Secret COOKIE{"cookie", [](HttpRequestOptions& options) { giveCookie(options, "FALSE"); },
                    "secretcookie=crumbs"};
const Secret SECURE_COOKIE{"secureCookie", [](HttpRequestOptions& options) { giveCookie(options, "TRUE"); },
                           "secretcookie=crumbs"};
const Secret MANDATORY_COOKIE{"mandatoryCookie",
                              [](HttpRequestOptions& options) {
                                  giveCookie(options, "FALSE");
                                  options.setCookieMandatory(true);
                              },
                              "secretcookie=crumbs"};

std::string page(const std::string& base, const std::string& to) {
    return base + "/redirect?to=" + to + "/echo";
}

const std::string HTTP = "http://" + lab::ORIGIN;
const std::string HTTPS = "https://" + lab::ORIGIN;

const Hop SAME_HOST{"sameHost", HTTP, HTTP};
const Hop OTHER_HOST{"otherHost", HTTP, "http://" + lab::OTHER};
const Hop OTHER_PORT{"otherPort", HTTP, HTTP + ":8080"};
const Hop TO_HTTP{"httpsToHttp", HTTPS, HTTP};
const Hop TO_HTTPS{"httpToHttps", HTTP, HTTPS};
const Hop OTHER_HOST_TLS{"otherHostOverHttps", HTTPS, "https://" + lab::OTHER};
const Hop SAME_HOST_TLS{"sameHostOverHttps", HTTPS, HTTPS};

/// What the server that a redirect leads to gets to see, as it tells itself.
class RedirectedSecretsLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }

    std::string headSeenBehind(const Hop& hop, const Secret& secret, const std::shared_ptr<Proxy>& proxy) {
        const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(
            nullptr, std::make_shared<FakeCertVerifier>(true),
            std::make_shared<ThreadPool>(0, 1, "redirects", 1), nullptr);
        const auto request = std::make_shared<Request>(page(hop.from, hop.to));
        secret.give(*request->getOptions());
        request->setProxy(proxy);
        Response response;
        EXPECT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
        EXPECT_EQ(response.responseCode, 200);
        EXPECT_EQ(response.redirectUrls->size(), 1U);
        return response.body;
    }
};

using Row = std::tuple<Secret, Hop, bool>;

class RedirectedSecretLabTest : public RedirectedSecretsLabTest, public testing::WithParamInterface<Row> {};

TEST_P(RedirectedSecretLabTest, ReachesTheNextServerOnlyIfItMay) {
    const auto& [secret, hop, mayArrive] = GetParam();
    const std::string head = headSeenBehind(hop, secret, nullptr);
    EXPECT_EQ(head.find(secret.trace) != std::string::npos, mayArrive) << head;
}

TEST_P(RedirectedSecretLabTest, ReachesTheNextServerThroughAProxyOnlyIfItMay) {
    ASSERT_EQ(lab::startProxies(), "");
    const auto& [secret, hop, mayArrive] = GetParam();
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer("http://" + lab::SQUID, ProxyType::HTTP);
    proxy->setAuthentication(lab::USER, SecureString(lab::PASSWORD), ProxyAuthentication::BASIC);
    const std::string head = headSeenBehind(hop, secret, proxy);
    EXPECT_EQ(head.find(secret.trace) != std::string::npos, mayArrive) << head;
    EXPECT_EQ(head.find("Proxy-Authorization"), std::string::npos) << head;
}

// Credentials stay with scheme, host and port, cookies of the engine with their domain and, if they are
// secure, with https. All of this is libcurl's doing. A mandatory cookie is the exception that its name says:
// the host has asked for it to be sent wherever the request goes.
INSTANTIATE_TEST_SUITE_P(
    Grid, RedirectedSecretLabTest,
    testing::Values(
        Row{PASSWORD, SAME_HOST, true}, Row{PASSWORD, SAME_HOST_TLS, true}, Row{PASSWORD, OTHER_HOST, false},
        Row{PASSWORD, OTHER_HOST_TLS, false}, Row{PASSWORD, OTHER_PORT, false}, Row{PASSWORD, TO_HTTP, false},
        Row{PASSWORD, TO_HTTPS, false},  //
        Row{TOKEN, SAME_HOST, true}, Row{TOKEN, SAME_HOST_TLS, true}, Row{TOKEN, OTHER_HOST, false},
        Row{TOKEN, OTHER_HOST_TLS, false}, Row{TOKEN, OTHER_PORT, false}, Row{TOKEN, TO_HTTP, false},
        Row{TOKEN, TO_HTTPS, false},  //
        Row{COOKIE, SAME_HOST, true}, Row{COOKIE, SAME_HOST_TLS, true}, Row{COOKIE, OTHER_HOST, false},
        Row{COOKIE, OTHER_HOST_TLS, false}, Row{COOKIE, OTHER_PORT, true}, Row{COOKIE, TO_HTTP, true},
        Row{COOKIE, TO_HTTPS, true},  //
        Row{SECURE_COOKIE, SAME_HOST, false}, Row{SECURE_COOKIE, SAME_HOST_TLS, true},
        Row{SECURE_COOKIE, OTHER_HOST, false}, Row{SECURE_COOKIE, OTHER_HOST_TLS, false},
        Row{SECURE_COOKIE, OTHER_PORT, false}, Row{SECURE_COOKIE, TO_HTTP, false},
        Row{SECURE_COOKIE, TO_HTTPS, true},  //
        Row{MANDATORY_COOKIE, SAME_HOST, true}, Row{MANDATORY_COOKIE, SAME_HOST_TLS, true},
        Row{MANDATORY_COOKIE, OTHER_HOST, true}, Row{MANDATORY_COOKIE, OTHER_HOST_TLS, true},
        Row{MANDATORY_COOKIE, OTHER_PORT, true}, Row{MANDATORY_COOKIE, TO_HTTP, true},
        Row{MANDATORY_COOKIE, TO_HTTPS, true}),
    [](const auto& row) { return std::get<0>(row.param).name + "_" + std::get<1>(row.param).name; });

}  // namespace
}  // namespace zeb::http::test
