#include "http/HttpClientListener.h"
#include "http/HttpProxyConfigurationReader.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiformRequest.h"
#include "http/Proxy.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/Request.h"
#include "http/SystemProxyResolver.h"
#include "support/LogCapture.h"

#include <thread>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::NotNull;
using zeb::test::LogCapture;

constexpr char PROXY_URL[] = "http://proxy:8080";

class DeafListener : public HttpClientListener {
public:
    void onRequestFailed(unsigned int /*requestId*/, HttpClientResult::Result /*result*/) override {}
    void onRequestCompleted(unsigned int /*requestId*/, const Response& /*response*/) override {}
    void onRequestProgress(unsigned int /*requestId*/, ProgressData /*progress*/) override {}
};

/// Answers with one proxy and remembers the URL it was asked for.
class FixedResolver : public SystemProxyResolver {
public:
    explicit FixedResolver(std::shared_ptr<Proxy> proxy) : proxy_(std::move(proxy)) {}

    std::shared_ptr<Proxy> resolveSystemProxy(const std::string& url) override {
        asked.push_back(url);
        return proxy_;
    }

    std::vector<std::string> asked;

private:
    const std::shared_ptr<Proxy> proxy_;
};

std::shared_ptr<Proxy> proxyAt(const std::string& url) {
    auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(url, ProxyType::HTTP);
    return proxy;
}

class RequestTest : public testing::Test {
protected:
    RequestTest() { ProxyAuthenticationHandler::getInstance()->reset(); }
    ~RequestTest() override { ProxyAuthenticationHandler::getInstance()->reset(); }

    static void hostGives(const std::string& username, const std::string& password,
                          const std::string& authType) {
        ProxyAuthenticationHandler::getInstance()->initProxyCredential(PROXY_URL, username,
                                                                       SecureString(password), authType);
    }

    Request request{"https://host/path"};
    HttpRequestOptions& options = *request.getOptions();
};

// What it holds

TEST_F(RequestTest, OfAUrlHasOptionsForThatUrl) {
    ASSERT_THAT(request.getOptions(), NotNull());
    EXPECT_EQ("https://host/path", request.getOptions()->url);
}

TEST_F(RequestTest, OfSharedOptionsSharesThem) {
    const auto shared = std::make_shared<HttpRequestOptions>("https://other/");
    const Request other(shared);
    EXPECT_EQ(shared, other.getOptions());
}

TEST_F(RequestTest, HasNeitherListenerNorProxyAndIsNotCancelledAtFirst) {
    EXPECT_EQ(nullptr, request.getListener());
    EXPECT_EQ(nullptr, request.getProxy());
    EXPECT_FALSE(request.getIsUseSystemProxy());
    EXPECT_TRUE(request.shouldWaitUntilProxyCredentialReady());
    EXPECT_FALSE(request.isCancelled());
}

TEST_F(RequestTest, GivesBackWhatWasSet) {
    const auto newOptions = std::make_shared<HttpRequestOptions>("https://new/");
    const auto listener = std::make_shared<DeafListener>();
    request.setOptions(newOptions);
    request.setListener(listener);
    request.useSystemProxy(true);
    request.waitUntilProxyCredentialReady(false);
    EXPECT_EQ(newOptions, request.getOptions());
    EXPECT_EQ(listener, request.getListener());
    EXPECT_TRUE(request.getIsUseSystemProxy());
    EXPECT_FALSE(request.shouldWaitUntilProxyCredentialReady());
    request.useSystemProxy(false);
    request.waitUntilProxyCredentialReady(true);
    EXPECT_FALSE(request.getIsUseSystemProxy());
    EXPECT_TRUE(request.shouldWaitUntilProxyCredentialReady());
}

TEST_F(RequestTest, CancelledFromAnotherThreadIsCancelledForGood) {
    std::thread canceller([this] { request.cancel(); });
    while (!request.isCancelled()) {
        std::this_thread::yield();
    }
    canceller.join();
    EXPECT_TRUE(request.isCancelled());
}

// The proxy

TEST_F(RequestTest, GoesThroughItsOwnProxyAndDoesNotAskTheSystem) {
    const auto own = proxyAt(PROXY_URL);
    const auto resolver = std::make_shared<FixedResolver>(proxyAt("http://system:8080"));
    request.setProxy(own);
    request.setSystemProxyResolver(resolver);
    request.useSystemProxy(true);
    const LogCapture log;
    EXPECT_EQ(own, request.getProxy());
    EXPECT_THAT(resolver->asked, IsEmpty());
    EXPECT_TRUE(log.contains("Using the Proxy defined for this request"));
    EXPECT_FALSE(log.contains("A System Proxy will be used for this request"));
}

TEST_F(RequestTest, OwnProxyGetsTheCredentialsThatTheHostGaveForIt) {
    hostGives("user", "password", "NTLM");
    request.setProxy(proxyAt(PROXY_URL));
    const auto proxy = request.getProxy();
    EXPECT_EQ("user", proxy->getUsername());
    EXPECT_EQ(SecureString("password"), proxy->getPassword());
    EXPECT_EQ(ProxyAuthentication::NTLM, proxy->getProxyAuthenticationType());
}

TEST_F(RequestTest, AnotherProxyKeepsTheCredentialsItHas) {
    hostGives("user", "password", "NTLM");
    const auto other = proxyAt("http://other:3128");
    other->setAuthentication("own", SecureString("secret"), ProxyAuthentication::BASIC);
    request.setProxy(other);
    const auto proxy = request.getProxy();
    EXPECT_EQ("own", proxy->getUsername());
    EXPECT_EQ(SecureString("secret"), proxy->getPassword());
    EXPECT_EQ(ProxyAuthentication::BASIC, proxy->getProxyAuthenticationType());
}

TEST_F(RequestTest, EveryStoredTextOfASchemeIsReadWhateverItsCase) {
    const std::pair<const char*, ProxyAuthentication::Type> schemes[] = {
        {"BASIC", ProxyAuthentication::BASIC},
        {"basic", ProxyAuthentication::BASIC},
        {"DIGEST", ProxyAuthentication::DIGEST},
        {"Digest", ProxyAuthentication::DIGEST},
        {"NTLM", ProxyAuthentication::NTLM},
        {"nTLm", ProxyAuthentication::NTLM},
        {"NEGOTIATE", ProxyAuthentication::NEGOTIATE},
        {"Negotiate", ProxyAuthentication::NEGOTIATE},
        {"ANY", ProxyAuthentication::ANY},
        {"", ProxyAuthentication::ANY},
        {"NONE", ProxyAuthentication::ANY},
        {"BASICS", ProxyAuthentication::ANY},
    };
    for (const auto& [text, type] : schemes) {
        hostGives("user", "password", text);
        request.setProxy(proxyAt(PROXY_URL));
        EXPECT_EQ(type, request.getProxy()->getProxyAuthenticationType()) << text;
    }
}

TEST_F(RequestTest, DoesNotAskTheSystemUnlessToldTo) {
    const auto resolver = std::make_shared<FixedResolver>(proxyAt(PROXY_URL));
    request.setSystemProxyResolver(resolver);
    EXPECT_EQ(nullptr, request.getProxy());
    EXPECT_THAT(resolver->asked, IsEmpty());
}

TEST_F(RequestTest, GoesThroughTheSystemsProxyForItsUrlWithTheHostsCredentials) {
    hostGives("user", "password", "DIGEST");
    const auto system = proxyAt(PROXY_URL);
    const auto resolver = std::make_shared<FixedResolver>(system);
    request.setSystemProxyResolver(resolver);
    request.useSystemProxy(true);
    const LogCapture log;
    EXPECT_EQ(system, request.getProxy());
    EXPECT_THAT(resolver->asked, testing::ElementsAre("https://host/path"));
    EXPECT_EQ("user", system->getUsername());
    EXPECT_EQ(ProxyAuthentication::DIGEST, system->getProxyAuthenticationType());
    EXPECT_TRUE(log.contains("A System Proxy will be used for this request"));
}

TEST_F(RequestTest, ASystemProxyWithoutUrlIsGivenAsItIs) {
    hostGives("user", "password", "DIGEST");
    const auto system = proxyAt("");
    request.setSystemProxyResolver(std::make_shared<FixedResolver>(system));
    request.useSystemProxy(true);
    const LogCapture log;
    EXPECT_EQ(system, request.getProxy());
    EXPECT_EQ("", system->getUsername());
    EXPECT_FALSE(log.contains("A System Proxy will be used for this request"));
}

TEST_F(RequestTest, WithoutASystemProxyThereIsNone) {
    request.useSystemProxy(true);
    EXPECT_EQ(nullptr, request.getProxy()) << "the default resolver";
    request.setSystemProxyResolver(std::make_shared<FixedResolver>(nullptr));
    EXPECT_EQ(nullptr, request.getProxy());
    request.setSystemProxyResolver(nullptr);
    EXPECT_EQ(nullptr, request.getProxy());
}

TEST_F(RequestTest, WithoutOptionsTheSystemIsNotAsked) {
    const auto resolver = std::make_shared<FixedResolver>(proxyAt(PROXY_URL));
    request.setSystemProxyResolver(resolver);
    request.useSystemProxy(true);
    request.setOptions(nullptr);
    EXPECT_EQ(nullptr, request.getProxy());
    EXPECT_THAT(resolver->asked, IsEmpty());
}

TEST_F(RequestTest, ResolverIsMadeAnewForEachRequest) {
    class OneProxyReader : public HttpProxyConfigurationReader {
    public:
        std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string& /*url*/) const override {
            return proxyAt(PROXY_URL);
        }
    };
    const auto resolver = std::make_shared<SystemProxyResolver>();
    resolver->setHttpProxyConfigurationReader(std::make_shared<OneProxyReader>());
    request.setSystemProxyResolver(resolver);
    request.useSystemProxy(true);
    Request other("https://host/path");
    other.useSystemProxy(true);
    EXPECT_THAT(request.getProxy(), NotNull());
    EXPECT_EQ(nullptr, other.getProxy());
}

// The dump

TEST_F(RequestTest, WithoutOptionsSerializesToNothing) {
    EXPECT_EQ("", Request(std::shared_ptr<HttpRequestOptions>{}).serialize());
}

TEST_F(RequestTest, WithNothingSetSerializesToItsDefaults) {
    EXPECT_EQ(
        "[url] https://host/path\n"
        "[method] 0\n"
        "[followRedirects] 1\n"
        "[transferTimeout] 0\n"
        "[connectionTimeout] 0\n"
        "[numRetries] 0\n"
        "[authType] 0\n"
        "[acceptable cryptographic protocols]  TLS_1_0 TLS_1_1 TLS_1_2\n"
        "[useSystemProxy] 0\n"
        "[size of body] 0\n",
        request.serialize());
}

TEST(RequestSerializeTest, EveryLineStandsInItsPlace) {
    MultiformRequest request("https://host/");
    HttpRequestOptions& options = *request.getOptions();
    options.method = HttpMethod::PUT;
    options.followRedirects = false;
    options.transferTimeout = 1500;
    options.connectionTimeout = 2500;
    options.numRetries = 3;
    options.authType = AuthType::OAUTH;
    options.acceptableTlsVersions = TlsVersion::TLS_1_2;
    options.body = SecureString("seven b");
    *options.headers = {{"Accept", "*/*"}, {"Authorization", "Bearer secret"}};
    options.cookies.emplace_back("host\tTRUE\t/\tTRUE\t0\tsession\tsecret");
    options.cookies.emplace_back("host\tTRUE\t/\tTRUE\t0\tother\tsecret");
    request.addPartFromFile("file", "/tmp/f", nullptr);
    request.addPartFromString("text", "secret", nullptr);
    request.addPartFromBuffer("bytes", "secret", 6, nullptr);
    options.multiformParts.push_back(nullptr);
    request.useSystemProxy(true);
    const auto proxy = proxyAt(PROXY_URL);
    proxy->setAuthentication("user", SecureString("secret"), ProxyAuthentication::BASIC);
    request.setProxy(proxy);

    const std::string text = request.serialize();

    EXPECT_EQ(
        "[url] https://host/\n"
        "[method] 2\n"
        "[followRedirects] 0\n"
        "[transferTimeout] 1500\n"
        "[connectionTimeout] 2500\n"
        "[numRetries] 3\n"
        "[authType] 3\n"
        "[acceptable cryptographic protocols]  TLS_1_2\n"
        "[useSystemProxy] 1\n"
        "[multiform part] file:0\n"
        "[multiform part] text:1\n"
        "[multiform part] bytes:2\n"
        "[header] Accept: */*\n"
        "[header] Authorization: Redacted\n"
        "[cookie] session\n"
        "[cookie] other\n" +
            proxy->serialize() + "[size of body] 7\n",
        text);
    EXPECT_THAT(text, Not(HasSubstr("secret")));
}

TEST_F(RequestTest, ShowsTheValueOfEveryHarmlessHeaderWhateverItsCase) {
    for (const char* name : {"ACCEPT", "CONNECTION", "CONTENT-LENGTH", "CONTENT-TYPE", "HOST",
                             "PROXY-CONNECTION", "USER-AGENT", "accept", "connection", "content-length",
                             "Content-Type", "Host", "Proxy-Connection", "User-agent"}) {
        *options.headers = {{name, "shown"}};
        EXPECT_THAT(request.serialize(), HasSubstr(std::string("[header] ") + name + ": shown\n"));
    }
}

TEST_F(RequestTest, RedactsTheValueOfEveryOtherHeader) {
    for (const char* name : {"Authorization", "Proxy-Authorization", "Cookie", "X-Auth", "Accept-Encoding",
                             "Accep", "Host ", "", "X-User-Agent"}) {
        *options.headers = {{name, "secret"}};
        EXPECT_THAT(request.serialize(), HasSubstr(std::string("[header] ") + name + ": Redacted\n"));
        EXPECT_THAT(request.serialize(), Not(HasSubstr("secret")));
    }
}

TEST_F(RequestTest, SerializesWithoutAHeaderVector) {
    options.headers = nullptr;
    EXPECT_THAT(request.serialize(), Not(HasSubstr("[header]")));
}

TEST_F(RequestTest, ASystemProxyIsNotPartOfTheDump) {
    request.setSystemProxyResolver(std::make_shared<FixedResolver>(proxyAt(PROXY_URL)));
    request.useSystemProxy(true);
    EXPECT_THAT(request.serialize(), Not(HasSubstr("[proxy]")));
}

TEST_F(RequestTest, AnEmptiedBodyHasSizeZero) {
    options.body = SecureString("former");
    options.body.setValue("", 0);
    EXPECT_THAT(request.serialize(), HasSubstr("[size of body] 0\n"));
}

}  // namespace
}  // namespace zeb::http::test
