#include "BasicHttpClientTestSupport.h"
#include "CurlConfigurationTestSupport.h"
#include "edge/EdgeDetectionController.h"
#include "http/Proxy.h"
#include "netutils/SNIUtil.h"
#include "support/FakeGlobalEdgeState.h"

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using zeb::test::InstalledGlobalEdgeState;

/// Knows one address at most, and notes in which order it is asked.
class FakeDetectionController : public edge::EdgeDetectionController {
public:
    std::string ip;
    bool told = true;  ///< what isOrbelVDIOVT answers
    std::vector<std::string> questions;

    std::string findIPbyHost(const std::string& host) override {
        questions.push_back(host);
        return ip;
    }
    bool isOrbelVDIOVT() override {
        questions.emplace_back("told?");
        return told;
    }
};

class CurlConfigurationUrlTest : public CurlConfigurationTestBase {
protected:
    CurlConfigurationUrlTest() : CurlConfigurationTestBase("https://a.example:8443/x") {
        options.setEdgeRequest(true);
        edge.get()->detectionController = controller;
    }
    ~CurlConfigurationUrlTest() override { netutils::SNIUtil::setEdgeDomain(""); }

    void expectAsItIs() {
        EXPECT_THAT(text(CURLOPT_URL), Optional(options.url));
        EXPECT_FALSE(isSet(CURLOPT_CONNECT_TO));
        EXPECT_EQ("", data()->getSSLData().sniServerName);
    }
    std::vector<std::string> connectTo() { return linesOf(data()->getConnectToList()); }

    const InstalledGlobalEdgeState edge{false, true};
    const std::shared_ptr<FakeDetectionController> controller = std::make_shared<FakeDetectionController>();
};

TEST_F(CurlConfigurationUrlTest, ARequestThatIsNotForTheEdgeGoesAsItIs) {
    netutils::SNIUtil::setEdgeDomain("b.test");
    controller->ip = "192.0.2.1";
    options.setEdgeRequest(false);
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    expectAsItIs();
    EXPECT_THAT(controller->questions, IsEmpty());
}

TEST_F(CurlConfigurationUrlTest, AnotherServerNameIsPresentedInPlaceOfTheHost) {
    netutils::SNIUtil::setEdgeDomain("b.test");
    ASSERT_TRUE(configure());
    EXPECT_THAT(connectTo(), ElementsAre("a.b.test::a.example:8443"));
    EXPECT_EQ(data()->getConnectToList(), pointer(CURLOPT_CONNECT_TO));
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://a.b.test:8443/x")));
    EXPECT_EQ("https://a.example:8443/x", options.url);
    EXPECT_EQ("a.b.test", data()->getSSLData().sniServerName);
    EXPECT_EQ("a.example", data()->getSSLData().serverCurlFQDN);
    EXPECT_THAT(orderOf({CURLOPT_CONNECT_TO, CURLOPT_URL}), ElementsAre(CURLOPT_CONNECT_TO, CURLOPT_URL));
    EXPECT_THAT(linesOf(static_cast<curl_slist*>(pointer(CURLOPT_HTTPHEADER))),
                ElementsAre("Host: a.example:8443"));
    EXPECT_TRUE(log.contains("libcurl option for CURLOPT_CONNECT_TO: " +
                             ZEBLogger_replacePIIData("a.b.test::a.example:8443")));
    EXPECT_THAT(controller->questions, IsEmpty());
}

TEST_F(CurlConfigurationUrlTest, TheSniFormKeepsThePort) {
    ASSERT_TRUE(CurlHttpUtils::setUrlWithSNI(data(), "b.example"));
    EXPECT_THAT(connectTo(), ElementsAre("b.example::a.example:8443"));
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://b.example:8443/x")));
}

TEST_F(CurlConfigurationUrlTest, TheSniFormOfAUrlWithoutAPortHasNone) {
    options.url = "https://a.example/x";
    ASSERT_TRUE(CurlHttpUtils::setUrlWithSNI(data(), "b.example"));
    EXPECT_THAT(connectTo(), ElementsAre("b.example::a.example"));
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://b.example/x")));
}

TEST_F(CurlConfigurationUrlTest, TheSniFormKeepsPathAndQuery) {
    options.url = "https://a.example/x/y?z=1/2";
    ASSERT_TRUE(CurlHttpUtils::setUrlWithSNI(data(), "b.example"));
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://b.example/x/y?z=1/2")));
}

TEST_F(CurlConfigurationUrlTest, AHostWithinTheEdgeDomainIsAskedForItsAddress) {
    netutils::SNIUtil::setEdgeDomain("a.example");
    controller->ip = "192.0.2.1";
    ASSERT_TRUE(configure());
    EXPECT_THAT(connectTo(), ElementsAre("a.example::192.0.2.1:8443"));
    EXPECT_EQ(data()->getConnectToList(), pointer(CURLOPT_CONNECT_TO));
    EXPECT_THAT(text(CURLOPT_URL), Optional(options.url));
    EXPECT_EQ("", data()->getSSLData().sniServerName);
}

TEST_F(CurlConfigurationUrlTest, TheAddressIsAskedForBeforeWhetherThereAreAny) {
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    EXPECT_THAT(controller->questions, ElementsAre("a.example", "told?"))
        << "the first may change the second";
}

TEST_F(CurlConfigurationUrlTest, AnAddressThatWasNotToldIsNotUsed) {
    controller->ip = "192.0.2.1";
    controller->told = false;
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    expectAsItIs();
}

TEST_F(CurlConfigurationUrlTest, WithoutAnAddressTheUrlGoesAsItIs) {
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    expectAsItIs();
}

TEST_F(CurlConfigurationUrlTest, TheAddressFormOfAUrlWithoutAPortHasNone) {
    options.url = "https://a.example/x";
    ASSERT_TRUE(CurlHttpUtils::setUrlWithIP(data(), "192.0.2.1"));
    EXPECT_THAT(connectTo(), ElementsAre("a.example::192.0.2.1"));
}

TEST_F(CurlConfigurationUrlTest, Ipv6AddressesStandInBrackets) {
    options.url = "https://[2001:db8::1]:8443/x";
    ASSERT_TRUE(CurlHttpUtils::setUrlWithIP(data(), "2001:db8::2"));
    EXPECT_THAT(connectTo(), ElementsAre("[2001:db8::1]::[2001:db8::2]:8443"));
}

TEST_F(CurlConfigurationUrlTest, WithoutADetectionControllerTheUrlGoesAsItIs) {
    edge.get()->detectionController = nullptr;
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    expectAsItIs();
}

TEST_F(CurlConfigurationUrlTest, WithoutAnEdgeLayerTheUrlGoesAsItIs) {
    netutils::GlobalEdgeStateController::setGlobalEdgeStateForTesting(nullptr);
    EXPECT_TRUE(CurlHttpUtils::setUrl(data()));
    expectAsItIs();
}

TEST_F(CurlConfigurationUrlTest, AUrlThatLibcurlRefusesIsAnErrorInEveryForm) {
    spy.fail(CURLOPT_URL, CURLE_OUT_OF_MEMORY);
    EXPECT_FALSE(CurlHttpUtils::setUrlWithoutSNI(data()));
    EXPECT_FALSE(CurlHttpUtils::setUrlWithSNI(data(), "b.example"));
    EXPECT_FALSE(CurlHttpUtils::setUrlWithIP(data(), "192.0.2.1"));
    EXPECT_EQ(3U, log.count("Failed to set option : CURLOPT_URL : 27 Out of memory"));
}

// A failover

TEST_F(CurlConfigurationUrlTest, AFailoverReplacesTheEntryOfTheFormerUrl) {
    netutils::SNIUtil::setEdgeDomain("b.test");
    data()->setFailoverUrls({"https://second.example/y"});
    ASSERT_TRUE(configure());
    data()->switchToNextUrl(HttpClientResult::HOST_UNREACHABLE_ERROR);
    ASSERT_TRUE(configure());
    EXPECT_THAT(connectTo(), ElementsAre("second.b.test::second.example"));
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://second.b.test/y")));
    EXPECT_EQ("second.example", data()->getSSLData().serverCurlFQDN);
}

TEST_F(CurlConfigurationUrlTest, AFailoverThatNeedsNoEntryLeavesTheFormerOneAliveAndUnused) {
    netutils::SNIUtil::setEdgeDomain("b.test");
    data()->setFailoverUrls({"https://second.b.test/y"});
    ASSERT_TRUE(configure());
    data()->switchToNextUrl(HttpClientResult::HOST_UNREACHABLE_ERROR);
    ASSERT_TRUE(configure());
    EXPECT_THAT(connectTo(), ElementsAre("a.b.test::a.example:8443"));
    EXPECT_EQ(1U, orderOf({CURLOPT_CONNECT_TO}).size()) << "the reset handle doesn't know it";
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://second.b.test/y")));
}

TEST_F(CurlConfigurationUrlTest, AfterAFailoverNoCertificateIsCheckedForTheFormerNames) {
    netutils::SNIUtil::setEdgeDomain("b.test");
    data()->setFailoverUrls({"https://second.b.test/y"});
    ASSERT_TRUE(configure());
    data()->switchToNextUrl(HttpClientResult::HOST_UNREACHABLE_ERROR);
    ASSERT_TRUE(configure());
    EXPECT_EQ("", data()->getSSLData().sniServerName);
    EXPECT_EQ("", data()->getSSLData().serverCurlFQDN);
}

// Texts that would break a line

class CurlConfigurationBrokenUrlTest : public CurlConfigurationUrlTest,
                                       public testing::WithParamInterface<char> {};

TEST_P(CurlConfigurationBrokenUrlTest, IsNotGivenToLibcurlAtAll) {
    options.url = std::string("https://a.example/x") + GetParam() + "Injected: 1";
    EXPECT_TRUE(configure()) << "the transfer is what fails";
    EXPECT_FALSE(isSet(CURLOPT_URL));
    EXPECT_FALSE(isSet(CURLOPT_CONNECT_TO));
    EXPECT_TRUE(log.contains(ERROR, "its URL is left out: it has a line break or NUL in it"));
    EXPECT_FALSE(log.contains("Injected"));
}

TEST_P(CurlConfigurationBrokenUrlTest, NeitherIsAServerName) {
    netutils::SNIUtil::setEdgeDomain(std::string("b.test") + GetParam() + "x");
    EXPECT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_URL));
}

INSTANTIATE_TEST_SUITE_P(Breaks, CurlConfigurationBrokenUrlTest, testing::Values('\r', '\n', '\0'),
                         [](const auto& row) {
                             return "Byte" + std::to_string(static_cast<int>(row.param));
                         });

// On the wire

TEST(CurlConfigurationUrlWireTest, ARequestBySniReachesItsHostUnderItsHostsName) {
    const InstalledGlobalEdgeState edge(false, true);
    netutils::SNIUtil::setEdgeDomain("b.test");
    LoopbackServer server(hello);
    const auto transformer = std::make_shared<FakeTransformer>();
    transformer->url = server.url("/x?y=1");
    Response response;
    EXPECT_EQ(makeClient(transformer)->execute(makeRequest("https://inside.test/"), response),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().at(0).target, "/x?y=1");
    EXPECT_EQ(server.requests().at(0).header("Host"), server.authority());
    EXPECT_EQ(server.requests().at(0).countHeaders("Host"), 1U);
    netutils::SNIUtil::setEdgeDomain("");
}

TEST(CurlConfigurationUrlWireTest, ARequestByAddressNeedsNoDns) {
    const InstalledGlobalEdgeState edge(false, true);
    const auto controller = std::make_shared<FakeDetectionController>();
    controller->ip = "127.0.0.1";
    edge.get()->detectionController = controller;
    LoopbackServer server(hello);
    const auto transformer = std::make_shared<FakeTransformer>();
    transformer->url = "http://edge.invalid:" + std::to_string(server.port()) + "/x";
    Response response;
    EXPECT_EQ(makeClient(transformer)->execute(makeRequest("https://inside.test/"), response),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().at(0).header("Host"), "edge.invalid:" + std::to_string(server.port()));
}

class ConnectToBreakTest : public testing::TestWithParam<std::string> {};

TEST_P(ConnectToBreakTest, AnAddressThatBreaksALineIsLeftOutAndReachesNoProxy) {
    const InstalledGlobalEdgeState edge(false, true);
    const auto controller = std::make_shared<FakeDetectionController>();
    controller->ip = "127.0.0.1" + GetParam() + "Injected: 1";
    edge.get()->detectionController = controller;
    LoopbackServer server(hello);
    const auto transformer = std::make_shared<FakeTransformer>();
    transformer->url = "http://edge.invalid/x";
    const auto request = makeRequest("https://inside.test/");
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(server.url(""), ProxyType::HTTP);
    request->setProxy(proxy);
    zeb::test::LogCapture log;
    Response response;
    EXPECT_EQ(makeClient(transformer)->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().at(0).target, "http://edge.invalid/x") << "as if no address had been told";
    EXPECT_THAT(server.received(), testing::Not(testing::HasSubstr("Injected")));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR,
                             " the address to connect to is left out: it has a line break or NUL in it"));
}

INSTANTIATE_TEST_SUITE_P(Breaks, ConnectToBreakTest,
                         testing::Values("\r", "\n", "\r\n", std::string(1, '\0')));

}  // namespace
}  // namespace zeb::http::test
