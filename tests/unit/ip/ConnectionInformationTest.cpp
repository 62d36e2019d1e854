#include "common/DefaultPoliciesStore.h"
#include "common/FailureManagementPolicy.h"
#include "http/HttpProxyConfigurationReader.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "ip/ConnectionInformation.h"
#include "support/CurlOptionSpy.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "unit/common/TestPolicies.h"
#include "unit/ip/ConnectionSeam.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#define CURL_DISABLE_DEPRECATION
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::ip::test {
namespace {

using namespace std::string_literals;
using common::Policy;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using zeb::test::CurlOptionSpy;
using zeb::test::LogCapture;
using zeb::test::LoopbackServer;
using zeb::test::RefusedPort;
using R = ConnectionInformationResult;
using V = IpFamilyPreferencePolicy::PolicyValue;

constexpr unsigned long PATIENCE = 10;  // seconds

LoopbackServer::Handler answering() {
    return [](const LoopbackServer::Request&) { return LoopbackServer::Reply::response(200, "hello"); };
}

class ConnectionInformationTest : public testing::Test {
protected:
    /// The defaults are the process's.
    ~ConnectionInformationTest() override { common::DefaultPoliciesStore::reset(); }

    R connect(const std::string& host, unsigned long port, V::Value family = V::DUAL_STACK,
              bool thruProxy = false, unsigned long timeout = PATIENCE) {
        return information_->getConnectionInformationForHost(host, port, timeout, thruProxy, family);
    }

    void expectEmpty(const R& result) {
        EXPECT_TRUE(result.localAddress.isEmpty());
        EXPECT_TRUE(result.destinationAddress.isEmpty());
    }

    LogCapture log_;
    std::shared_ptr<ConnectionInformation> information_ = ConnectionInformation::buildConnectionInformation();
};

// --- The result -------------------------------------------------------------------------------------------

TEST(ConnectionInformationResultTest, EachValueHasItsNumberAndText) {
    const std::vector<std::pair<int, std::string>> texts{{0, "Success"},
                                                         {1, "ErrorInvalidParameter"},
                                                         {2, "ErrorCouldNotConnect"},
                                                         {3, "ErrorInternal"},
                                                         {4, "4"},
                                                         {-1, "-1"}};
    for (const auto& [number, text] : texts) {
        std::ostringstream stream;
        stream << static_cast<R::Result>(number);
        EXPECT_EQ(stream.str(), text);
    }
    EXPECT_EQ(R::Success, 0);
    EXPECT_EQ(R::ErrorInvalidParameter, 1);
    EXPECT_EQ(R::ErrorCouldNotConnect, 2);
    EXPECT_EQ(R::ErrorInternal, 3);
}

TEST(ConnectionInformationResultTest, ItsTextHidesTheAddresses) {
    std::ostringstream stream;
    stream << R{R::Success, IpAddress::createIpAddress("192.0.2.1"), IpAddress::createIpAddress("")};
    EXPECT_EQ(stream.str(), "Result Success, localAddress " + ZEBLogger_replacePIIData("192.0.2.1") +
                                ", destinationAddress (empty)");
}

// --- What is refused --------------------------------------------------------------------------------------

TEST_F(ConnectionInformationTest, PortsBeyondTheRangeAreRefusedBeforeAHandleIsMade) {
    const ConnectionSeam seam;
    for (const unsigned long port : {0UL, 65536UL, 65616UL, std::numeric_limits<unsigned long>::max()}) {
        const auto result = connect("127.0.0.1", port);
        EXPECT_EQ(result.result, R::ErrorInvalidParameter) << port;
        expectEmpty(result);
    }
    EXPECT_EQ(seam.handles, 0);
    EXPECT_EQ(
        log_.count("An invalid port has been passed in, cannot connect to the remote endpoint. Ensure the "
                   "port is between 1 and 65535."),
        4U);
}

TEST_F(ConnectionInformationTest, TheFirstAndTheLastPortPass) {
    ConnectionSeam seam;
    seam.performing = CURLE_OK;
    for (const unsigned long port : {1UL, 65535UL}) {
        const CurlOptionSpy spy;
        EXPECT_EQ(connect("127.0.0.1", port).result, R::Success) << port;
        EXPECT_EQ(spy.last(CURLOPT_PORT)->number(), static_cast<long>(port));
    }
}

TEST_F(ConnectionInformationTest, ATimeoutBeyondTheGreatestSignedNumberIsRefusedBeforeThePort) {
    const ConnectionSeam seam;
    for (const unsigned long timeout : {9223372036854775808UL, std::numeric_limits<unsigned long>::max()}) {
        EXPECT_EQ(connect("", 0, V::DUAL_STACK, false, timeout).result, R::ErrorInvalidParameter);
    }
    EXPECT_EQ(seam.handles, 0);
    EXPECT_EQ(log_.count("A timeout greater than 9223372036854775807 has been passed in."), 2U);
    EXPECT_FALSE(log_.contains("invalid port"));
}

TEST_F(ConnectionInformationTest, TheGreatestSignedTimeoutPassesAndIsMoreThanLibcurlTakes) {
    const auto result = connect("127.0.0.1", 1, V::DUAL_STACK, false, 9223372036854775807UL);
    EXPECT_EQ(result.result, R::ErrorInternal);
    EXPECT_TRUE(log_.contains("Curl was unable to set the connection timeout option on the request: 43"));
}

TEST_F(ConnectionInformationTest, WhatIsNoBareHostIsRefused) {
    const ConnectionSeam seam;
    for (const auto& host : {""s, "http://127.0.0.1"s, "127.0.0.1/"s, "127.0.0.1/path"s, "127.0.0.1:80"s,
                             "[::1]"s, "[::1]:80"s, "127.0.0.1\0.example"s, "host\0"s}) {
        const auto result = connect(host, 80);
        EXPECT_EQ(result.result, R::ErrorInvalidParameter) << host;
        expectEmpty(result);
        EXPECT_TRUE(log_.contains("The hostname '" + ZEBLogger_replacePIIData(host) + "' is not valid."))
            << host;
    }
    EXPECT_EQ(seam.handles, 0);
}

TEST_F(ConnectionInformationTest, TheCallIsLoggedWithTheHostHidden) {
    connect("secret.example", 0, V::IPV6_ONLY, true, 3);
    EXPECT_THAT(log_.linesOf("zeb.ip"),
                Contains("hostname '" + ZEBLogger_replacePIIData("secret.example") +
                         "' port '0' timeout '3' thruProxy '1' policyValue 'IPV6_ONLY'"));
    EXPECT_THAT(log_.text(), Not(HasSubstr("secret.example")));
}

// --- Connecting -------------------------------------------------------------------------------------------

TEST_F(ConnectionInformationTest, AConnectionTellsBothAddressesAndSendsNothing) {
    const LoopbackServer server(answering());
    const auto result = connect("127.0.0.1", server.port());
    EXPECT_EQ(result.result, R::Success);
    EXPECT_EQ(result.localAddress.getAddress(), "127.0.0.1");
    EXPECT_EQ(result.destinationAddress.getAddress(), "127.0.0.1");
    ASSERT_TRUE(server.waitForEnded(1)) << "it ends with the call";
    EXPECT_EQ(server.received(), "");
    std::ostringstream line;
    line << result;
    EXPECT_THAT(log_.linesOf("zeb.ip"), Contains(line.str()));
}

TEST_F(ConnectionInformationTest, ANameIsResolved) {
    const LoopbackServer server(answering());
    const auto result = connect("localhost", server.port(), V::IPV4_ONLY);
    EXPECT_EQ(result.result, R::Success);
    EXPECT_EQ(result.destinationAddress.getAddress(), "127.0.0.1");
}

TEST_F(ConnectionInformationTest, ABareIpv6AddressGetsBracketsForLibcurl) {
    const LoopbackServer server(answering(), LoopbackServer::Options{true, nullptr, std::nullopt});
    if (!server.listensOnIpv6()) {
        GTEST_SKIP() << "this machine has no IPv6";
    }
    const CurlOptionSpy spy;
    const auto result = connect("::1", server.port());
    EXPECT_EQ(spy.last(CURLOPT_URL)->copy, "[::1]");
    EXPECT_EQ(result.result, R::Success);
    EXPECT_EQ(result.destinationAddress.getAddress(), "::1");
    EXPECT_EQ(result.localAddress.getAddress(), "::1");
}

TEST_F(ConnectionInformationTest, ARefusedConnectionCouldNotBeMade) {
    const RefusedPort port;
    const auto result = connect("127.0.0.1", port.port());
    EXPECT_EQ(result.result, R::ErrorCouldNotConnect);
    expectEmpty(result);
    EXPECT_TRUE(log_.contains("Curl was unable to perform the request and returned result code: 7"));
}

TEST_F(ConnectionInformationTest, AHostThatDoesNotExistCouldNotBeConnectedTo) {
    // No resolver can be asked for a label of 64 letters.
    EXPECT_EQ(connect(std::string(64, 'a') + ".invalid", 80).result, R::ErrorCouldNotConnect);
    EXPECT_TRUE(log_.contains("returned result code: 6"));
}

/// A port of 127.0.0.1 that answers no further connection: its queue is full.
class FullPort {
public:
    FullPort() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        socklen_t length = sizeof(address);
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(listener_, name, length), 0);
        EXPECT_EQ(::listen(listener_, 0), 0);
        EXPECT_EQ(::getsockname(listener_, name, &length), 0);
        port_ = ntohs(address.sin_port);
        for (int& waiting : waiting_) {
            waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            ::connect(waiting, name, length);
        }
    }
    ~FullPort() {
        ::close(listener_);
        for (const int waiting : waiting_) {
            ::close(waiting);
        }
    }
    FullPort(const FullPort&) = delete;
    FullPort& operator=(const FullPort&) = delete;

    unsigned long port() const { return port_; }

private:
    int listener_;
    std::array<int, 4> waiting_{};
    unsigned long port_;
};

TEST_F(ConnectionInformationTest, AConnectionThatIsNotAnsweredEndsAfterTheTime) {
    const FullPort port;
    const auto begin = std::chrono::steady_clock::now();
    const auto result = connect("127.0.0.1", port.port(), V::DUAL_STACK, false, 1);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(result.result, R::ErrorCouldNotConnect);
    EXPECT_GE(took, std::chrono::milliseconds(900));
    EXPECT_LT(took, std::chrono::seconds(8));
    EXPECT_TRUE(log_.contains("returned result code: 28"));
}

TEST_F(ConnectionInformationTest, ConnectionsAreTriedFromSeveralThreadsAtTheSameTime) {
    const LoopbackServer server(answering());
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&] {
            for (int run = 0; run < 5; ++run) {
                EXPECT_EQ(connect("127.0.0.1", server.port()).result, R::Success);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(server.waitForConnections(40));
    EXPECT_EQ(server.connections(), 40U);
}

// --- What libcurl answers ---------------------------------------------------------------------------------

TEST_F(ConnectionInformationTest, EachCodeOfLibcurlHasItsResult) {
    ConnectionSeam seam;
    for (int code = 1; code < CURL_LAST; ++code) {
        seam.performing = code;
        const bool isConnecting = code == 5 || code == 6 || code == 7 || code == 28 || code == 45;
        const auto result = connect("127.0.0.1", 80);
        EXPECT_EQ(result.result, isConnecting ? R::ErrorCouldNotConnect : R::ErrorInternal) << code;
        expectEmpty(result);
        EXPECT_TRUE(log_.contains("Curl was unable to perform the request and returned result code: " +
                                  std::to_string(code)));
    }
}

TEST_F(ConnectionInformationTest, ACodeOfTlsIsAnInternalError) {
    ConnectionSeam seam;
    seam.performing = CURLE_SSL_CONNECT_ERROR;
    EXPECT_EQ(connect("127.0.0.1", 443).result, R::ErrorInternal);
}

TEST_F(ConnectionInformationTest, ASuccessWithoutAddressesStaysASuccess) {
    ConnectionSeam seam;
    seam.performing = CURLE_OK;
    const auto result = connect("127.0.0.1", 80);
    EXPECT_EQ(result.result, R::Success);
    expectEmpty(result);
}

TEST_F(ConnectionInformationTest, WithoutAHandleTheErrorIsInternal) {
    ConnectionSeam seam;
    seam.noHandles = true;
    const auto result = connect("127.0.0.1", 80);
    EXPECT_EQ(result.result, R::ErrorInternal);
    expectEmpty(result);
    EXPECT_TRUE(log_.contains("Curl was unable to create an easy handle."));
}

// --- Options ----------------------------------------------------------------------------------------------

struct OptionRow {
    int option;
    std::string what;
    std::string value;  ///< text or number
};

const std::vector<OptionRow>& optionRows() {
    static const auto& rows = *new std::vector<OptionRow>{
        {CURLOPT_DEFAULT_PROTOCOL, "DEFAULT_PROTOCOL", "http"},
        {CURLOPT_URL, "URL", "127.0.0.1"},
        {CURLOPT_NOPROXY, "no proxy", "*"},
        {CURLOPT_PORT, "port", "8443"},
        {CURLOPT_PROTOCOLS, "protocols", "1"},
        {CURLOPT_CONNECT_ONLY, "connect only", "1"},
        {CURLOPT_SSL_VERIFYPEER, "verify peer", "0"},
        {CURLOPT_SSL_VERIFYHOST, "verify host", "0"},
        {CURLOPT_CONNECTTIMEOUT, "connection timeout", "10"},
        {CURLOPT_TIMEOUT, "timeout", "10"},
        {CURLOPT_NOSIGNAL, "no signal", "1"},
    };
    return rows;
}

TEST_F(ConnectionInformationTest, TheOptionsAreSetInTheirOrder) {
    ConnectionSeam seam;
    seam.performing = CURLE_OK;
    const CurlOptionSpy spy;
    connect("127.0.0.1", 8443);
    const auto calls = spy.calls();
    ASSERT_EQ(calls.size(), optionRows().size());
    for (std::size_t number = 0; number < calls.size(); ++number) {
        const OptionRow& row = optionRows()[number];
        EXPECT_EQ(calls[number].option, row.option) << row.what;
        EXPECT_EQ(calls[number].copy.value_or(std::to_string(calls[number].number())), row.value) << row.what;
    }
}

TEST_F(ConnectionInformationTest, TheFirstOptionThatFailsEndsItWithItsOwnText) {
    ConnectionSeam seam;
    seam.performing = CURLE_OK;
    for (std::size_t number = 0; number < optionRows().size(); ++number) {
        const OptionRow& row = optionRows()[number];
        CurlOptionSpy spy;
        spy.fail(row.option, CURLE_OUT_OF_MEMORY);
        log_.clear();
        EXPECT_EQ(connect("127.0.0.1", 8443).result, R::ErrorInternal) << row.what;
        EXPECT_EQ(spy.calls().size(), number + 1) << row.what;
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR,
                                  "Curl was unable to set the " + row.what + " option on the request: 27"))
            << row.what;
    }
}

// --- The IP family ----------------------------------------------------------------------------------------

class FamilyTest : public ConnectionInformationTest {
protected:
    FamilyTest() { seam_.performing = CURLE_OK; }

    /// What libcurl was told; -1: nothing.
    long resolveOption(V::Value family) {
        const CurlOptionSpy spy;
        result_ = connect("127.0.0.1", 80, family).result;
        const auto call = spy.last(CURLOPT_IPRESOLVE);
        return call ? call->number() : -1;
    }
    R::Result failing(V::Value family) {
        CurlOptionSpy spy;
        spy.fail(CURLOPT_IPRESOLVE, CURLE_UNKNOWN_OPTION);
        return connect("127.0.0.1", 80, family).result;
    }

    ConnectionSeam seam_;
    R::Result result_ = R::ErrorInternal;
};

TEST_F(FamilyTest, AValueOfOneFamilyDecidesWhateverThePolicySays) {
    information_->addPolicy(IpFamilyPreferencePolicy::DUAL_STACK_POLICY);
    EXPECT_EQ(resolveOption(V::IPV4_ONLY), CURL_IPRESOLVE_V4);
    EXPECT_EQ(resolveOption(V::IPV6_ONLY), CURL_IPRESOLVE_V6);
}

TEST_F(FamilyTest, AFamilyThatLibcurlRefusesIsAnInternalError) {
    EXPECT_EQ(failing(V::IPV4_ONLY), R::ErrorInternal);
    EXPECT_TRUE(log_.contains("Curl was unable to set the ipresolve option v4."));
    EXPECT_EQ(failing(V::IPV6_ONLY), R::ErrorInternal);
    EXPECT_TRUE(log_.contains("Curl was unable to set the ipresolve option v6."));
}

TEST_F(FamilyTest, WithoutAPolicyAnyOtherValueLeavesItToLibcurl) {
    EXPECT_EQ(resolveOption(V::DUAL_STACK), -1);
    EXPECT_EQ(result_, R::Success);
    EXPECT_EQ(resolveOption(static_cast<V::Value>(77)), -1);
    EXPECT_EQ(result_, R::Success);
    EXPECT_EQ(log_.count("IP family policy not available."), 2U);
}

TEST_F(FamilyTest, WithAnyOtherValueThePolicyDecides) {
    information_->addPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_V6);
    information_->addPolicy(IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    EXPECT_EQ(resolveOption(static_cast<V::Value>(-1)), CURL_IPRESOLVE_V4);
    information_->addPolicy(IpFamilyPreferencePolicy::DUAL_STACK_POLICY);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_WHATEVER);
    EXPECT_EQ(result_, R::Success);
}

TEST_F(FamilyTest, APolicyThatFailsIsIgnoredBecauseItIsSoft) {
    information_->addPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    EXPECT_EQ(failing(V::DUAL_STACK), R::Success);
    EXPECT_TRUE(log_.contains("IP family policy enforcement failed but the policy can be ignored."));
}

TEST_F(FamilyTest, APolicyThatFailsIsAnErrorWhereNoFailureIsIgnored) {
    information_->addPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    information_->addPolicy(common::FailureManagementPolicy::NEVER_IGNORE_FAILURE_POLICY);
    EXPECT_EQ(failing(V::DUAL_STACK), R::ErrorInternal);
    EXPECT_TRUE(log_.contains("IP family policy enforcement failed and policy cannot be ignored."));
}

TEST_F(FamilyTest, AForeignPolicyOfThatNatureCountsAsOneThatFails) {
    information_->addPolicy(common::test::named(Policy::PolicyNature::IP_FAMILY_PREFERENCE, "foreign"));
    EXPECT_EQ(resolveOption(V::DUAL_STACK), -1);
    EXPECT_EQ(result_, R::Success);
    EXPECT_TRUE(log_.contains("IP family policy enforcement failed but the policy can be ignored."));
}

TEST_F(FamilyTest, TheDefaultsAreFollowed) {
    common::DefaultPoliciesStore::setPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_V6);
}

TEST_F(FamilyTest, AStaticPolicyStaysWhateverTheDefaultsBecome) {
    information_ = ConnectionInformation::buildConnectionInformationWithStaticPolicy(
        IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    common::DefaultPoliciesStore::setPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_V4);
    information_->onDefaultPoliciesStoreUpdate();
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_V4) << "it doesn't follow, whoever tells it";
}

TEST_F(FamilyTest, AStaticPolicyWinsOverTheDefaultsOfBefore) {
    common::DefaultPoliciesStore::setPolicy(IpFamilyPreferencePolicy::IPV6_ONLY_POLICY);
    information_ = ConnectionInformation::buildConnectionInformationWithStaticPolicy(
        IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), CURL_IPRESOLVE_V4);
}

TEST_F(FamilyTest, ANullStaticPolicyIsNone) {
    information_ = ConnectionInformation::buildConnectionInformationWithStaticPolicy(nullptr);
    EXPECT_EQ(resolveOption(V::DUAL_STACK), -1);
    EXPECT_EQ(result_, R::Success);
}

TEST_F(ConnectionInformationTest, AnIpv4HostUnderIpv6OnlyCouldNotBeConnectedTo) {
    const LoopbackServer server(answering());
    EXPECT_EQ(connect("127.0.0.1", server.port(), V::IPV6_ONLY).result, R::ErrorCouldNotConnect);
    EXPECT_EQ(server.connections(), 0U);
}

// --- The proxy --------------------------------------------------------------------------------------------

/// The system's settings, as a host's reader tells them.
class FixedReader : public http::HttpProxyConfigurationReader {
public:
    explicit FixedReader(std::shared_ptr<http::Proxy> proxy) : proxy_(std::move(proxy)) {}
    std::shared_ptr<http::Proxy> getHttpProxyForUrl(const std::string& url) const override {
        asked.push_back(url);
        return proxy_;
    }
    mutable std::vector<std::string> asked;

private:
    const std::shared_ptr<http::Proxy> proxy_;
};

class WithSystemProxy : public ConnectionInformation {
public:
    explicit WithSystemProxy(std::shared_ptr<http::SystemProxyResolver> resolver)
        : ConnectionInformation(false), resolver_(std::move(resolver)) {}

protected:
    std::shared_ptr<http::SystemProxyResolver> systemProxyResolver() const override { return resolver_; }

private:
    const std::shared_ptr<http::SystemProxyResolver> resolver_;
};

/// libcurl finds a proxy in the environment; the server stands for it, and for nothing else.
class ConnectionProxyTest : public ConnectionInformationTest {
protected:
    ConnectionProxyTest() { setenv("http_proxy", ("http://" + proxyServer_.authority()).c_str(), 1); }
    ~ConnectionProxyTest() override { unsetenv("http_proxy"); }

    void useReader(std::shared_ptr<http::Proxy> proxy) {
        reader_ = std::make_shared<FixedReader>(std::move(proxy));
        auto resolver = std::make_shared<http::SystemProxyResolver>();
        resolver->setHttpProxyConfigurationReader(reader_);
        information_ = std::make_shared<WithSystemProxy>(resolver);
    }
    static std::shared_ptr<http::Proxy> proxy(const std::string& url) {
        auto proxy = std::make_shared<http::Proxy>();
        proxy->setProxyServer(url, http::ProxyType::HTTP);
        return proxy;
    }
    void expectDirect(bool thruProxy) {
        const LoopbackServer server(answering());
        EXPECT_EQ(connect("127.0.0.1", server.port(), V::DUAL_STACK, thruProxy).result, R::Success);
        EXPECT_TRUE(server.waitForConnections(1));
        EXPECT_EQ(proxyServer_.connections(), 0U);
        EXPECT_TRUE(log_.contains("Set the no proxy option on the request: " +
                                  ZEBLogger_replacePIIData("127.0.0.1")));
    }
    std::string noProxyFound() const {
        return "No proxy found for the request: " + ZEBLogger_replacePIIData("127.0.0.1");
    }

    const LoopbackServer proxyServer_{answering()};
    std::shared_ptr<FixedReader> reader_;
};

TEST_F(ConnectionProxyTest, WithoutThruProxyTheProxyIsNeitherAskedForNorUsed) {
    useReader(proxy("proxy.example:3128"));
    expectDirect(false);
    EXPECT_THAT(reader_->asked, IsEmpty());
    EXPECT_FALSE(log_.contains(noProxyFound()));
}

TEST_F(ConnectionProxyTest, WithoutAReaderThereIsNoProxy) {
    expectDirect(true);
    EXPECT_TRUE(log_.contains(noProxyFound()));
}

TEST_F(ConnectionProxyTest, WithoutAProxyForTheHostTheConnectionIsDirect) {
    useReader(nullptr);
    expectDirect(true);
    EXPECT_THAT(reader_->asked, ElementsAre("http://127.0.0.1"));
    EXPECT_TRUE(log_.contains(noProxyFound()));
}

TEST_F(ConnectionProxyTest, AProxyWithoutAUrlIsNone) {
    useReader(proxy(""));
    expectDirect(true);
    EXPECT_TRUE(log_.contains(noProxyFound()));
}

TEST_F(ConnectionProxyTest, WithoutAResolverThereIsNoProxy) {
    information_ = std::make_shared<WithSystemProxy>(nullptr);
    expectDirect(true);
}

TEST_F(ConnectionProxyTest, WithAProxyTheConnectionGoesToTheOneThatLibcurlFinds) {
    useReader(proxy("elsewhere.example:3128"));
    const CurlOptionSpy spy;
    // Nobody knows the host but the proxy.
    const auto result = connect("host.invalid", 80, V::DUAL_STACK, true);
    EXPECT_EQ(result.result, R::Success);
    EXPECT_EQ(result.destinationAddress.getAddress(), "127.0.0.1");
    EXPECT_TRUE(proxyServer_.waitForConnections(1));
    EXPECT_THAT(reader_->asked, ElementsAre("http://host.invalid"));
    EXPECT_FALSE(spy.last(CURLOPT_NOPROXY));
    EXPECT_FALSE(log_.contains("Set the no proxy option"));
}

TEST_F(ConnectionProxyTest, AProxyThatDoesNotExistCouldNotBeConnectedTo) {
    setenv("http_proxy", ("http://" + std::string(64, 'p') + ".invalid:3128").c_str(), 1);
    useReader(proxy("elsewhere.example:3128"));
    EXPECT_EQ(connect("127.0.0.1", 80, V::DUAL_STACK, true).result, R::ErrorCouldNotConnect);
    EXPECT_TRUE(log_.contains("returned result code: 5"));
}

/// Deliberately so.
TEST_F(ConnectionProxyTest, AHostThatBeginsWithHttpIsAskedForAsItStands) {
    useReader(nullptr);
    ConnectionSeam seam;
    seam.performing = CURLE_OK;
    connect("httpd.example", 80, V::DUAL_STACK, true);
    connect("HTTP.example", 80, V::DUAL_STACK, true);
    connect("a.http.example", 80, V::DUAL_STACK, true);
    connect("::1", 80, V::DUAL_STACK, true);
    EXPECT_THAT(reader_->asked,
                ElementsAre("httpd.example", "http://HTTP.example", "http://a.http.example", "http://[::1]"));
}

}  // namespace
}  // namespace zeb::ip::test
