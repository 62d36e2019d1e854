#include "BasicHttpClientTestSupport.h"
#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/Proxy.h"
#include "http/TransferTrace.h"
#include "support/AllocationCounter.h"
#include "support/MemoryScan.h"
#include "support/Printed.h"

#include <string>
#include <tuple>

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using Phases = CurlHttpUtils::RequestPhase;
using Phase = Phases::Phase;
using zeb::test::AllocationCounter;
using zeb::test::printed;

std::string printedType(int type) {
    return printed(CurlInfoType{type});
}

TEST(CurlInfoTypeTest, EachKindPrintsItsName) {
    EXPECT_EQ(printedType(CURLINFO_TEXT), "TEXT");
    EXPECT_EQ(printedType(CURLINFO_HEADER_IN), "HEADER_IN");
    EXPECT_EQ(printedType(CURLINFO_HEADER_OUT), "HEADER_OUT");
    EXPECT_EQ(printedType(CURLINFO_DATA_IN), "DATA_IN");
    EXPECT_EQ(printedType(CURLINFO_DATA_OUT), "DATA_OUT");
    EXPECT_EQ(printedType(CURLINFO_SSL_DATA_IN), "SSL_DATA_IN");
    EXPECT_EQ(printedType(CURLINFO_SSL_DATA_OUT), "SSL_DATA_OUT");
}

TEST(CurlInfoTypeTest, AnotherNumberPrintsAsUnexpected) {
    EXPECT_EQ(printedType(CURLINFO_END), "Unexpected value (7)");
    EXPECT_EQ(printedType(-1), "Unexpected value (-1)");
}

// --- the phases

TEST(TransferTracePhaseTest, EachPhaseHasItsNumberAndItsMarker) {
    const std::vector<std::pair<int, std::string>> expected = {
        {0, "About to "},
        {1, "  Trying "},
        {2, "Connected"},
        {3, "Unknown phase"},
        {4, "Unknown phase"},
        {5, "handshake, Client hello"},
        {6, "SSL connection using"},
        {7, "Server auth using "},
        {8, "Proxy auth using "},
        {9, "Unknown phase"},
        {10, "Unknown phase"},
        {11, "Unknown phase"},
        {12, "Unknown phase"},
        {13, "Connectio"},
        {14, "Unknown phase"},
    };
    for (const auto& [number, marker] : expected) {
        EXPECT_EQ(CurlHttpUtils::getPhaseKey(static_cast<Phase>(number)), marker) << number;
    }
    EXPECT_EQ(CurlHttpUtils::getPhaseKey(static_cast<Phase>(99)), "Unknown phase");
}

TEST(TransferTracePhaseTest, TheMapHoldsTheMarkedPhasesInTheOrderOfTheirMarkers) {
    const std::vector<std::pair<std::string, Phase>> expected = {
        {"  Trying ", Phases::PRE_CONNECT},          {"About to ", Phases::ABOUT_TO},
        {"Connected", Phases::POST_CONNECT},         {"Connectio", Phases::CONNECTION},
        {"Proxy auth using ", Phases::PROXY_AUTH},   {"SSL connection using", Phases::POST_SSL_HANDSHAKE},
        {"Server auth using ", Phases::SERVER_AUTH}, {"handshake, Client hello", Phases::SSL_HANDSHAKE},
    };
    const CurlHttpUtils::PhaseMap& map = CurlHttpUtils::getPhaseMap();
    EXPECT_EQ(std::vector<CurlHttpUtils::PhaseMap::value_type>(map.begin(), map.end()), expected);
}

TEST(TransferTracePhaseTest, ATextIsOfThePhaseWhoseMarkerIsAnywhereInIt) {
    const std::vector<std::pair<std::string, int>> expected = {
        {"", 14},
        {"x", 14},
        {"  Trying 127.0.0.1:80...", 1},
        {"  Trying ", 1},
        {"  Trying", 14},
        {"Trying 127.0.0.1:80...", 14},
        {"About to connect()", 0},
        {"Connected to host (127.0.0.1) port 80 (#0)", 2},
        {"Connection #0 to host 127.0.0.1 left intact", 13},
        {"TLSv1.3 (OUT), TLS handshake, Client hello (1):", 5},
        {"SSL connection using TLSv1.3 / TLS_AES_256_GCM_SHA384", 6},
        {"Server auth using Basic with user 'alice'", 7},
        {"Proxy auth using NTLM with user 'alice'", 8},
        {"Re-using existing connection #0", 14},
        {"connected", 14},
        // Several markers: the first in the map's order wins, wherever each stands.
        {"Connection #1 Connected", 2},
        {"Server auth using Basic with user 'Connected'", 2},
        {"About to   Trying ", 1},
    };
    for (const auto& [text, phase] : expected) {
        EXPECT_EQ(CurlHttpUtils::matchPhaseFromInfoData(text), phase) << text;
    }
}

TEST(TransferTracePhaseTest, OnlyATextIsLookedInto) {
    const std::string text = "Connected to host";
    const auto match = [&text](int type) {
        return static_cast<int>(CurlHttpUtils::matchPhase({CurlInfoType{type}, text}));
    };
    EXPECT_EQ(match(CURLINFO_TEXT), 2);
    EXPECT_EQ(match(CURLINFO_HEADER_IN), 10);
    EXPECT_EQ(match(CURLINFO_HEADER_OUT), 9);
    EXPECT_EQ(match(CURLINFO_DATA_IN), 11);
    EXPECT_EQ(match(CURLINFO_DATA_OUT), 12);
    EXPECT_EQ(match(CURLINFO_SSL_DATA_IN), 4);
    EXPECT_EQ(match(CURLINFO_SSL_DATA_OUT), 3);
    EXPECT_EQ(match(CURLINFO_END), 14);
    EXPECT_EQ(match(-1), 14);
}

// --- parsers of texts

TEST(TransferTraceParserTest, TheProxysSchemeStandsBetweenUsingAndWith) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Proxy auth using Basic with user 'alice'", "Basic"},
        {"Proxy auth using NTLM with user 'x with y using z'", "NTLM"},
        {"Proxy auth using Two Words with user ''", "Two Words"},
        {"Proxy auth using Negotiate", "Negotiate"},
        {"Proxy auth using Negotiate 'alice'", "Negotiate 'alice'"},
        {"Proxy auth using ", ""},
        {"Proxy auth using", ""},
        {"using  with", ""},
        {"using with", ""},
        {"usingwith", ""},
        {"with using Digest", "Digest"},
        {"Proxy auth", ""},
        {"", ""},
    };
    for (const auto& [text, scheme] : expected) {
        EXPECT_EQ(getProxyAuthenticationTypeFromStr(text), scheme) << text;
    }
}

TEST(TransferTraceParserTest, AnAddressIsTakenOutOfItsSurroundings) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"127.0.0.1", "127.0.0.1"},
        {"  127.0.0.1\t\n", "127.0.0.1"},
        {"127.0.0.1...", "127.0.0.1"},
        {" 10.0.0.1 ... 10.0.0.2...", "10.0.0.1"},
        {"2001:db8::1", "2001:db8::1"},
        {"[2001:db8::1]:443...", "[2001:db8::1]:443"},
        {"127.0.0.1:80...", ""},
        {"host.example", ""},
        {"...127.0.0.1", ""},
        {"...", ""},
        {" ", ""},
        {"", ""},
    };
    for (const auto& [text, address] : expected) {
        EXPECT_EQ(CurlHttpUtils::normalizeIp(text), address) << text;
    }
}

TEST(TransferTraceParserTest, TheResolvedAddressFollowsTrying) {
    EXPECT_EQ(CurlHttpUtils::getResolvedIp("  Trying 127.0.0.1..."), "127.0.0.1");
    EXPECT_EQ(CurlHttpUtils::getResolvedIp("*   Trying 2001:db8::1..."), "2001:db8::1");
    EXPECT_EQ(CurlHttpUtils::getResolvedIp("  Trying nobody..."), "");
    EXPECT_EQ(CurlHttpUtils::getResolvedIp("127.0.0.1"), "");
    EXPECT_EQ(CurlHttpUtils::getResolvedIp("  Trying "), "");
    EXPECT_EQ(CurlHttpUtils::getResolvedIp(""), "");
}

TEST(TransferTraceParserTest, TheTlsVersionStandsBeforeTheHandshakeMessage) {
    EXPECT_EQ(CurlHttpUtils::getSslVersion("TLSv1.3 (OUT), TLS handshake, Client hello (1):"),
              "TLSv1.3 (OUT)");
    EXPECT_EQ(CurlHttpUtils::getSslVersion("TLSv1.2 handshake, Client hello"), "TLSv1.2 ");
    EXPECT_EQ(CurlHttpUtils::getSslVersion("handshake, Client hello"), "");
    EXPECT_EQ(CurlHttpUtils::getSslVersion("TLSv1.3 (OUT), TLS handshake, Finished (20):"), "");
    EXPECT_EQ(CurlHttpUtils::getSslVersion(""), "");
}

TEST(TransferTraceParserTest, TheCipherSuiteFollowsTheConnectionsMarker) {
    EXPECT_EQ(CurlHttpUtils::getCipherSuite("SSL connection using TLSv1.3 / TLS_AES_256_GCM_SHA384"),
              "TLSv1.3 / TLS_AES_256_GCM_SHA384");
    EXPECT_EQ(CurlHttpUtils::getCipherSuite("SSL connection using"), "");
    EXPECT_EQ(CurlHttpUtils::getCipherSuite("SSL connection using "), "");
    EXPECT_EQ(CurlHttpUtils::getCipherSuite("something else"), "");
    EXPECT_EQ(CurlHttpUtils::getCipherSuite(""), "");
}

// --- the callback

class TransferTraceCallbackTest : public testing::Test {
protected:
    /// As libcurl calls it: a text with a line feed, and no end.
    void trace(int type, const std::string& text) {
        std::string bytes = text + "\n";
        EXPECT_EQ(CurlHttpUtils::curlTraceCallback(nullptr, type, bytes.data(), bytes.size(), &data_), 0);
        EXPECT_EQ(bytes, text + "\n") << "libcurl goes on using it";
    }
    std::string request() const { return "Request " + data_.formattedRequestID(); }

    HttpRequestData data_{std::make_shared<Request>("http://host/"), nullptr};
    LogCapture log_;
};

TEST_F(TransferTraceCallbackTest, TheConnectionsPhasesAreLoggedWithTheirTextHidden) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"  Trying 127.0.0.1:80...", " pre connect phase: '"},
        {"Connected to secret.example (127.0.0.1) port 80 (#0)", " post connect phase: '"},
        {"TLSv1.3 (OUT), TLS handshake, Client hello (1):", " SSL handshake phase: '"},
        {"SSL connection using TLSv1.3 / TLS_AES_256_GCM_SHA384", " post SSL handshake phase: '"},
    };
    for (const auto& [text, name] : expected) {
        trace(CURLINFO_TEXT, text);
        EXPECT_TRUE(log_.contains(ZEBLOG_DEBUG, request() + name + ZEBLogger_replacePIIData(text) + "'"));
    }
    EXPECT_EQ(log_.lines().size(), expected.size());
    EXPECT_FALSE(log_.contains("secret.example"));
}

TEST_F(TransferTraceCallbackTest, OnlyOneLineFeedIsTakenAway) {
    trace(CURLINFO_TEXT, "Connected\n");
    EXPECT_TRUE(log_.contains("'" + ZEBLogger_replacePIIData("Connected\n") + "'"));
}

TEST_F(TransferTraceCallbackTest, OfAnAuthenticationTheUsersNameIsOnlyCounted) {
    trace(CURLINFO_TEXT, "Server auth using Basic with user 'alice'");
    EXPECT_TRUE(log_.contains(ZEBLOG_DEBUG,
                              request() + " auth phase: Server auth using Basic with user name length = 5"));
    EXPECT_EQ(data_.proxyAuthType, "");
    trace(CURLINFO_TEXT, "Proxy auth using NTLM with user 'o'hara, the bob'");
    EXPECT_TRUE(log_.contains(request() + " auth phase: Proxy auth using NTLM with user name length = 15"));
    EXPECT_EQ(data_.proxyAuthType, "NTLM");
    trace(CURLINFO_TEXT, "Proxy auth using Digest with user ''");
    EXPECT_TRUE(log_.contains(request() + " auth phase: Proxy auth using Digest with user name length = 0"));
    for (const char* name : {"alice", "hara", "bob"}) {
        EXPECT_FALSE(log_.contains(name));
    }
}

TEST_F(TransferTraceCallbackTest, AnAuthenticationWithoutAQuotedNameIsNotLogged) {
    trace(CURLINFO_TEXT, "Server auth using Basic with alice");
    trace(CURLINFO_TEXT, "Proxy auth using Basic with user '");
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(data_.proxyAuthType, "Basic");
}

TEST_F(TransferTraceCallbackTest, AProxyTextWithoutWithStoresAllBehindUsingAndOneBlank) {
    trace(CURLINFO_TEXT, "Proxy auth using Something and more");
    EXPECT_EQ(data_.proxyAuthType, "Something and more");
}

TEST_F(TransferTraceCallbackTest, AProxyTextWithoutASchemeStoresNothing) {
    data_.proxyAuthType = "Basic";
    trace(CURLINFO_TEXT, "Proxy auth using with user 'alice'");
    EXPECT_EQ(data_.proxyAuthType, "Basic");
}

TEST_F(TransferTraceCallbackTest, AServersCookieThatReadsLikeAnAuthenticationIsNeitherLoggedNorBelieved) {
    trace(CURLINFO_TEXT, "Added cookie sid=\"Proxy auth using SECRET with ' and '\" for domain host");
    trace(CURLINFO_TEXT, "Added cookie sid=\"Server auth using SECRET ' '\" for domain host");
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(data_.proxyAuthType, "");
}

TEST_F(TransferTraceCallbackTest, EverythingElseIsLeftAlone) {
    trace(CURLINFO_TEXT, "About to connect()");
    trace(CURLINFO_TEXT, "Connection #0 to host 127.0.0.1 left intact");
    trace(CURLINFO_TEXT, "Mark bundle as not supporting multiuse");
    trace(CURLINFO_TEXT, "");
    for (const int type : {CURLINFO_HEADER_IN, CURLINFO_HEADER_OUT, CURLINFO_DATA_IN, CURLINFO_DATA_OUT,
                           CURLINFO_SSL_DATA_IN, CURLINFO_SSL_DATA_OUT}) {
        trace(type, "Proxy auth using Basic with user 'alice'");
    }
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(data_.proxyAuthType, "");
}

TEST_F(TransferTraceCallbackTest, NothingIsTakenFromMemoryForDataOrWithTheLogOff) {
    LogController::getInstance()->setLevel(ZEBLOG_WARNING);
    CurlHttpUtils::getPhaseMap();
    log::httpClient();  // made by the first line of the process
    std::string body(100000, 'x');
    std::string text = "Connected to a host with a rather long name, longer than a short string (::1)\n";
    const AllocationCounter counter;
    for (const int type : {CURLINFO_HEADER_IN, CURLINFO_HEADER_OUT, CURLINFO_DATA_IN, CURLINFO_DATA_OUT,
                           CURLINFO_SSL_DATA_IN, CURLINFO_SSL_DATA_OUT}) {
        CurlHttpUtils::curlTraceCallback(nullptr, type, body.data(), body.size(), &data_);
    }
    CurlHttpUtils::curlTraceCallback(nullptr, CURLINFO_TEXT, text.data(), text.size(), &data_);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(TransferTraceCallbackTest, NullIsAnsweredLikeEverythingElse) {
    char text[] = "Connected";
    EXPECT_EQ(CurlHttpUtils::curlTraceCallback(nullptr, CURLINFO_TEXT, text, sizeof text, nullptr), 0);
    EXPECT_EQ(CurlHttpUtils::curlTraceCallback(nullptr, CURLINFO_TEXT, nullptr, 0, &data_), 0);
    EXPECT_EQ(CurlHttpUtils::curlTraceCallback(nullptr, CURLINFO_TEXT, text, 0, &data_), 0);
    EXPECT_TRUE(log_.lines().empty());
}

// --- real transfers

TEST(TransferTraceTest, AConnectionComesAboutInTwoPhasesAndItsReuseHasNone) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    Response response;
    LogCapture log;
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(log.count(" pre connect phase: '"), 1U);
    EXPECT_EQ(log.count(" post connect phase: '"), 1U);
    EXPECT_EQ(client->execute(makeRequest(server.url("/")), response), HttpClientResult::SUCCESS);
    EXPECT_EQ(log.count("connect phase: '"), 2U);
}

TEST(TransferTraceTest, AHandshakeThatFailsHasBegunAndNotEnded) {
    LoopbackServer::Options options;
    options.closeAfterReceiving = 5;
    LoopbackServer server(hello, options);
    Response response;
    LogCapture log;
    EXPECT_EQ(makeClient()->execute(makeRequest("https://" + server.authority() + "/"), response),
              HttpClientResult::SSL_CONNECTION_ERROR);
    EXPECT_EQ(log.count(" SSL handshake phase: '"), 1U);
    EXPECT_EQ(log.count(" post SSL handshake phase: '"), 0U);
}

std::shared_ptr<Proxy> proxyAt(const LoopbackServer& server) {
    auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(server.url(""), ProxyType::HTTP);
    proxy->setAuthentication("alice", SecureString("wonderland"), ProxyAuthentication::BASIC);
    return proxy;
}

TEST(TransferTraceTest, TheSchemeThatTheProxyUsedIsTold) {
    LoopbackServer server(hello);
    const auto request = makeRequest("http://inside.invalid/");
    request->setProxy(proxyAt(server));
    Response response;
    LogCapture log;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_TRUE(response.proxyUsed);
    EXPECT_EQ(response.proxyAuthType, "Basic");
    EXPECT_TRUE(log.contains(" auth phase: Proxy auth using Basic with user name length = 5"));
    EXPECT_FALSE(log.contains("alice"));
    EXPECT_FALSE(log.contains("wonderland"));
}

TEST(TransferTraceTest, NothingThatTheTraceTellsOfASecretReachesTheLog) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(200, "PAGE-SECRET",
                               {{"Set-Cookie", "sid=COOKIE-SECRET"}, {"X-Private", "HEADER-SECRET"}});
    });
    const auto request = makeRequest(server.url("/URL-SECRET"));
    request->getOptions()->authType = AuthType::BASIC;
    request->getOptions()->credentials = std::make_shared<Credentials>();
    request->getOptions()->credentials->username = "USER-SECRET";
    request->getOptions()->credentials->password = SecureString("PASSWORD-SECRET");
    request->getOptions()->method = HttpMethod::POST;
    request->getOptions()->body = SecureString("BODY-SECRET");
    Response response;
    LogCapture log;
    EXPECT_EQ(makeClient()->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_TRUE(log.contains("Server auth using Basic with user name length = 11"));
    EXPECT_FALSE(log.contains("SECRET")) << log.text();
}

// --- what stays in memory

class TransferTraceMemoryTest : public testing::TestWithParam<const char*> {
protected:
    TransferTraceMemoryTest() {
        LogController::getInstance()->setSink([](const LogController::Record&) {});
        LogController::getInstance()->setLevel(ZEBLOG_DEBUG);
    }
    ~TransferTraceMemoryTest() override {
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
        LogController::getInstance()->setSink({});
    }
};

TEST_P(TransferTraceMemoryTest, OfATextNoCopyIsLeft) {
    const zeb::test::PlantedSecret name;
    std::string text = GetParam();
    const std::size_t start = text.size();
    text.reserve(start + name.size() + 1);  // growing would leave a copy of the test's own
    text.resize(start + name.size());
    name.copyTo(&text[start]);
    text += "'";
    HttpRequestData data(std::make_shared<Request>("http://h/"), nullptr);
    CurlHttpUtils::curlTraceCallback(nullptr, CURLINFO_TEXT, text.data(), text.size(), &data);
    SecureStringUtils::ZEBZeroString(text);
    zeb::test::wipeDeadStack();
    EXPECT_EQ(countInOwnMemory(name), 0U);
}

INSTANTIATE_TEST_SUITE_P(Texts, TransferTraceMemoryTest,
                         testing::Values("  Trying '", "Connected to '",
                                         "Server auth using Basic with user '",
                                         "Proxy auth using Basic with user '"));

}  // namespace
}  // namespace zeb::http::test
