#include "BasicHttpClientTestSupport.h"
#include "CurlConfigurationTestSupport.h"
#include "common/Cookie.h"
#include "http/MultiformPart.h"
#include "http/Proxy.h"
#include "support/TestFiles.h"

namespace zeb::http::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using zeb::test::TemporaryFile;
using zeb::test::TestFolder;

constexpr int ERROR = ZEBLOG_ERROR;

/// What a request sends, byte by byte.
class CurlConfigurationWireTest : public testing::Test {
protected:
    HttpClientResult::Result run() { return makeClient()->execute(request, response); }
    std::shared_ptr<Proxy> useProxy(const std::string& url, ProxyType::Type type) {
        const auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(url, type);
        request->setProxy(proxy);
        return proxy;
    }
    /// The one request that came.
    LoopbackServer::Request sent() {
        EXPECT_EQ(run(), HttpClientResult::SUCCESS);
        const std::vector<LoopbackServer::Request> requests = server.requests();
        EXPECT_EQ(1U, requests.size());
        return requests.empty() ? LoopbackServer::Request() : requests[0];
    }

    LoopbackServer server{hello};
    const std::shared_ptr<Request> request = makeRequest(server.url("/page"));
    HttpRequestOptions& options = *request->getOptions();
    Response response;
    LogCapture log;
};

// Texts that would break a line

class CurlConfigurationBreakTest : public CurlConfigurationWireTest,
                                   public testing::WithParamInterface<std::string> {
protected:
    std::string broken() const {
        return "s3cret" + GetParam() + "Injected: 1\r\n\r\nGET /second HTTP/1.1\r\n";
    }
    bool isNul() const { return GetParam()[0] == 0; }
    /// The text, percent-encoded.
    std::string coded() const {
        return GetParam() == "\r" ? "%0D" : GetParam() == "\n" ? "%0A" : isNul() ? "%00" : "%0D%0A";
    }
    void expectNothingInjected() {
        EXPECT_THAT(server.received(), Not(HasSubstr("Injected")));
        EXPECT_THAT(server.received(), Not(HasSubstr("second")));
        EXPECT_THAT(server.received(), Not(HasSubstr("s3cret")));
        EXPECT_FALSE(log.contains("s3cret")) << "a value is never logged";
    }
};

TEST_P(CurlConfigurationBreakTest, InAHeadersValueLeavesTheHeaderOut) {
    *options.headers = {{"Before", "1"}, {"X-Broken", broken()}, {"After", "2"}};
    const LoopbackServer::Request got = sent();
    expectNothingInjected();
    EXPECT_FALSE(got.hasHeader("X-Broken"));
    EXPECT_EQ("1", got.header("Before"));
    EXPECT_EQ("2", got.header("After"));
    EXPECT_TRUE(log.contains(
        ERROR, "Header 'X-Broken' with index 1 is left out: its value has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InAHeadersNameLeavesTheHeaderOut) {
    *options.headers = {{broken(), "1"}, {"After", "2"}};
    const LoopbackServer::Request got = sent();
    expectNothingInjected();
    EXPECT_EQ("2", got.header("After"));
    EXPECT_TRUE(
        log.contains(ERROR, "Header with index 0 is left out: its name has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InATokenLeavesTheHeaderOut) {
    options.authType = AuthType::OAUTH;
    options.credentials = std::make_shared<Credentials>();
    options.credentials->token = SecureString(broken());
    EXPECT_FALSE(sent().hasHeader("Authorization"));
    expectNothingInjected();
    EXPECT_TRUE(
        log.contains(ERROR, "Header 'Authorization' is left out: its value has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InACookieLeavesTheCookieOut) {
    options.cookies.emplace_back("127.0.0.1\tFALSE\t/\tFALSE\t0\tgood\tone");
    options.cookies.emplace_back("127.0.0.1\tFALSE\t/\tFALSE\t0\tbad\t" + broken());
    options.cookies.emplace_back("127.0.0.1\tFALSE\t/\tFALSE\t0\tlast\ttwo");
    EXPECT_THAT(sent().header("Cookie"), AllOf(HasSubstr("good=one"), HasSubstr("last=two")));
    expectNothingInjected();
    EXPECT_TRUE(log.contains(ERROR, " a cookie is left out: it has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InAMandatoryCookieLeavesTheCookieOut) {
    options.setCookieMandatory(true);
    options.cookies.emplace_back("other.example\tFALSE\t/\tFALSE\t0\tgood\tone");
    options.cookies.emplace_back("other.example\tFALSE\t/\tFALSE\t0\tbad\t" + broken());
    options.cookies.emplace_back("other.example\tFALSE\t/\tFALSE\t0\t" + broken() + "\tvalue");
    EXPECT_EQ("good=one;", sent().header("Cookie"));
    expectNothingInjected();
    EXPECT_EQ(2U, log.count(" a cookie is left out: it has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InTheUrlFailsTheRequestBeforeAnythingIsSent) {
    options.url = server.url("/" + broken());
    EXPECT_EQ(run(), HttpClientResult::URL_FORMAT_ERROR);
    EXPECT_EQ(0U, server.connections());
    EXPECT_TRUE(log.contains(ERROR, "its URL is left out: it has a line break or NUL in it"));
}

TEST_P(CurlConfigurationBreakTest, InAFailoverUrlPassesItOver) {
    const RefusedPort refused;
    options.url = refused.url("/");
    options.failoverUrls = {server.url("/" + broken())};
    EXPECT_EQ(run(), HttpClientResult::URL_FORMAT_ERROR);
    EXPECT_EQ(0U, server.connections());
}

TEST_P(CurlConfigurationBreakTest, InUserOrPasswordStaysWithinTheCodingOrLeavesBothOut) {
    options.authType = AuthType::BASIC;
    options.credentials = std::make_shared<Credentials>();
    options.credentials->username = "user";
    options.credentials->password = SecureString(broken());
    const LoopbackServer::Request got = sent();
    expectNothingInjected();
    if (isNul()) {
        EXPECT_FALSE(got.hasHeader("Authorization")) << "a password cut short is another one";
        EXPECT_TRUE(log.contains(ERROR, " its user with password is left out: it has a line break or NUL"));
    } else {
        EXPECT_THAT(got.header("Authorization"), testing::StartsWith("Basic dXNlcjpzM2NyZX"));
    }
}

TEST_P(CurlConfigurationBreakTest, InTheUserAgentLeavesTheHeaderOut) {
    *options.headers = {{"User-Agent", "agent" + broken()}, {"Referer", "page" + broken()}};
    const LoopbackServer::Request got = sent();
    expectNothingInjected();
    EXPECT_FALSE(got.hasHeader("User-Agent"));
    EXPECT_FALSE(got.hasHeader("Referer"));
}

TEST_P(CurlConfigurationBreakTest, InAPartsHeaderLeavesTheHeaderOut) {
    const LeftBehindForm leftBehind;
    const auto headers = std::make_shared<HttpHeaders>(1, HttpHeader("X-Broken", broken()));
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "name", "value", headers)};
    EXPECT_THAT(sent().body, Not(HasSubstr("X-Broken")));
    expectNothingInjected();
}

TEST_P(CurlConfigurationBreakTest, InAPartsNameStaysWithinTheNameOrLeavesThePartOut) {
    const LeftBehindForm leftBehind;
    const std::string name = "name" + GetParam() + "Injected: 1";
    const std::string bytes = "bytes";
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "good", "value", nullptr),
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, name, "value", nullptr),
        std::make_shared<MultiformPart>(name, bytes.data(), bytes.size(), nullptr)};
    const std::string body = sent().body;
    EXPECT_THAT(body, HasSubstr("name=\"good\"\r\n"));
    EXPECT_THAT(body, Not(HasSubstr(GetParam() + "Injected")));
    if (isNul()) {
        EXPECT_THAT(body, Not(HasSubstr("name=\"name")));
        EXPECT_EQ(2U, log.count(" a part of its form is left out: it has a line break or NUL in it"));
        return;
    }
    EXPECT_THAT(body, HasSubstr("name=\"name" + coded() + "Injected: 1\"\r\n"));
    EXPECT_THAT(body, HasSubstr("filename=\"name" + coded() + "Injected: 1\"\r\n"));
}

TEST_P(CurlConfigurationBreakTest, InAFilesNameStaysWithinTheNameOrLeavesThePartOut) {
    const LeftBehindForm leftBehind;
    const TestFolder folder;
    const std::string path = folder.path("file" + GetParam() + "Injected: 1");
    folder.write("file" + GetParam() + "Injected: 1", "content");
    folder.write("file", "another file's");
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "good", "value", nullptr),
        std::make_shared<MultiformPart>(MultiformPartType::FROM_FILE, "name", path, nullptr)};
    const std::string body = sent().body;
    EXPECT_THAT(body, Not(HasSubstr(GetParam() + "Injected")));
    EXPECT_THAT(body, Not(HasSubstr("another file's")));
    if (isNul()) {
        EXPECT_TRUE(log.contains(ERROR, " a part of its form is left out: it has a line break or NUL in it"));
    } else {
        EXPECT_THAT(body, HasSubstr("filename=\"file" + coded() + "Injected: 1\"\r\n"));
        EXPECT_THAT(body, HasSubstr("\r\n\r\ncontent\r\n"));
    }
}

TEST_P(CurlConfigurationBreakTest, InAPartsTextArrivesAsItIs) {
    const LeftBehindForm leftBehind;
    options.multiformParts = {std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "name",
                                                              "before" + GetParam() + "after", nullptr)};
    EXPECT_THAT(sent().body, HasSubstr("\r\n\r\nbefore" + GetParam() + "after\r\n"));
}

// A proxy's texts

TEST_P(CurlConfigurationBreakTest, InAProxysUrlEndsTheRequestBeforeAnythingIsSentAnywhere) {
    LoopbackServer proxy(hello);
    for (const std::string& url : {proxy.url("") + GetParam() + "s3cret", proxy.url("/" + broken()),
                                   "http://s3cret" + GetParam() + ":word@" + proxy.authority(),
                                   "http://s3cret" + coded() + ":word@" + proxy.authority()}) {
        for (const ProxyType::Type type : {ProxyType::HTTP, ProxyType::SOCKS_5_HOSTNAME}) {
            useProxy(url, type);
            EXPECT_EQ(run(), HttpClientResult::UNRESOLVED_PROXY_ERROR) << url;
        }
    }
    EXPECT_EQ(0U, proxy.connections());
    EXPECT_EQ(0U, server.connections()) << "not even without the proxy";
    EXPECT_EQ(8U, log.count(" its proxy's URL is left out: it has a line break or NUL in it"));
    EXPECT_FALSE(log.contains("s3cret"));
}

class CurlConfigurationProxyBreakTest : public CurlConfigurationBreakTest {
protected:
    /// A proxy that asks for the digest scheme, which writes the user into its header as it stands.
    LoopbackServer proxy{[](const LoopbackServer::Request& got) {
        return got.hasHeader("Proxy-Authorization")
                   ? Reply::response(200, "passed")
                   : Reply::response(407, "", {{"Proxy-Authenticate", "Digest realm=\"lab\", nonce=\"1\""}});
    }};

    void expectNoCredentials(const std::string& user, const std::string& password) {
        for (const auto scheme :
             {ProxyAuthentication::ANY, ProxyAuthentication::BASIC, ProxyAuthentication::DIGEST}) {
            useProxy(proxy.url(""), ProxyType::HTTP)->setAuthentication(user, SecureString(password), scheme);
            EXPECT_EQ(run(), HttpClientResult::SUCCESS);
            EXPECT_EQ(407, response.responseCode);
        }
        EXPECT_THAT(proxy.received(), Not(HasSubstr("Injected")));
        EXPECT_THAT(proxy.received(), Not(HasSubstr("Proxy-Authorization")));
        EXPECT_EQ(3U, log.count(" its proxy's user with password is left out: it has a line break or NUL"));
        EXPECT_FALSE(log.contains("s3cret"));
    }
};

TEST_P(CurlConfigurationProxyBreakTest, InItsUserLeavesUserAndPasswordOut) {
    expectNoCredentials(broken(), "word");
}

TEST_P(CurlConfigurationProxyBreakTest, InItsPasswordLeavesUserAndPasswordOut) {
    expectNoCredentials("user", broken());
}

TEST_F(CurlConfigurationWireTest, AProxysSoundUserAndPasswordPassByDigest) {
    LoopbackServer proxy([](const LoopbackServer::Request& got) {
        return got.hasHeader("Proxy-Authorization")
                   ? Reply::response(200, "passed")
                   : Reply::response(407, "", {{"Proxy-Authenticate", "Digest realm=\"lab\", nonce=\"1\""}});
    });
    useProxy(proxy.url(""), ProxyType::HTTP)
        ->setAuthentication("a user", SecureString("word"), ProxyAuthentication::DIGEST);
    EXPECT_EQ(run(), HttpClientResult::SUCCESS);
    EXPECT_EQ("passed", response.body);
    EXPECT_THAT(proxy.requests().back().header("Proxy-Authorization"), HasSubstr("username=\"a user\""));
}

std::string nameOfBreak(const testing::TestParamInfo<std::string>& row) {
    return row.param == "\r" ? "Cr" : row.param == "\n" ? "Lf" : row.param[0] != 0 ? "CrLf" : "Nul";
}

const auto BREAKS = testing::Values("\r", "\n", "\r\n", std::string(1, '\0'));

INSTANTIATE_TEST_SUITE_P(Breaks, CurlConfigurationBreakTest, BREAKS, nameOfBreak);
INSTANTIATE_TEST_SUITE_P(Breaks, CurlConfigurationProxyBreakTest, BREAKS, nameOfBreak);

TEST_F(CurlConfigurationWireTest, AHeaderWithoutANameIsLeftOut) {
    *options.headers = {{"", "nameless"}, {"After", "2"}};
    EXPECT_EQ("2", sent().header("After"));
    EXPECT_THAT(server.received(), Not(HasSubstr("nameless")));
    EXPECT_TRUE(log.contains(ERROR, "Header '' with index 0 is left out: its name is empty"));
}

// Methods

struct WireRow {
    const char* testName;
    HttpMethod method;
    const char* name;
    bool body;
};

class CurlConfigurationWireMethodTest : public CurlConfigurationWireTest,
                                        public testing::WithParamInterface<WireRow> {};

TEST_P(CurlConfigurationWireMethodTest, ArrivesWithItsBody) {
    options.method = GetParam().method;
    options.body = SecureString("the body");
    const LoopbackServer::Request got = sent();
    EXPECT_EQ(GetParam().name, got.method);
    EXPECT_EQ(GetParam().body ? "the body" : "", got.body);
}

INSTANTIATE_TEST_SUITE_P(Methods, CurlConfigurationWireMethodTest,
                         testing::Values(WireRow{"Get", HttpMethod::GET, "GET", false},
                                         WireRow{"Post", HttpMethod::POST, "POST", true},
                                         WireRow{"Put", HttpMethod::PUT, "PUT", true},
                                         WireRow{"Delete", HttpMethod::DELETE, "DELETE", false},
                                         WireRow{"Options", HttpMethod::OPTIONS, "OPTIONS", false},
                                         WireRow{"Nine", static_cast<HttpMethod>(9), "GET", false}),
                         [](const auto& row) { return row.param.testName; });

class CurlConfigurationWireUploadTest : public CurlConfigurationWireTest,
                                        public testing::WithParamInterface<HttpMethod> {};

TEST_P(CurlConfigurationWireUploadTest, TheFileGoesInPlaceOfTheBody) {
    const TemporaryFile file(std::string("fi\0le", 5) + std::string(100000, 'x'));
    options.method = GetParam();
    options.body = SecureString("the body");
    const auto listener = std::make_shared<RecordingListener>();
    request->setListener(listener);
    const auto client = makeClient();
    unsigned int id = 0;
    ASSERT_EQ(client->uploadAsync(request, id, file.path()), HttpClientError::SUCCESS);
    EXPECT_TRUE(listener->wait().completed);
    EXPECT_EQ(file.content(), server.requests().at(0).body);
}

INSTANTIATE_TEST_SUITE_P(PostAndPut, CurlConfigurationWireUploadTest,
                         testing::Values(HttpMethod::POST, HttpMethod::PUT),
                         [](const auto& row) { return row.param == HttpMethod::POST ? "Post" : "Put"; });

// Cookies

TEST_F(CurlConfigurationWireTest, ACookieOfAnotherHostStaysAtHome) {
    options.cookies.emplace_back("127.0.0.1\tFALSE\t/\tFALSE\t0\tours\tone");
    options.cookies.emplace_back("other.example\tFALSE\t/\tFALSE\t0\ttheirs\ttwo");
    EXPECT_EQ("ours=one", sent().header("Cookie"));
}

TEST_F(CurlConfigurationWireTest, MandatoryCookiesGoWhereverTheyBelong) {
    options.setCookieMandatory(true);
    options.cookies.emplace_back("other.example\tFALSE\t/\tTRUE\t0\tfirst\tone");
    options.cookies.emplace_back("another.example\tFALSE\t/\tFALSE\t0\tsecond\ttwo");
    EXPECT_EQ("first=one; second=two;", sent().header("Cookie"));
}

// Forms

class CurlConfigurationWireFormTest : public CurlConfigurationWireTest {
protected:
    /// The parts of the one request, without what is around them.
    std::vector<std::string> parts() {
        const LoopbackServer::Request got = sent();
        EXPECT_EQ("POST", got.method);
        const std::string type = got.header("Content-Type");
        const std::string mark = "boundary=";
        EXPECT_THAT(type, testing::StartsWith("multipart/form-data; "));
        const std::string boundary = "--" + type.substr(type.find(mark) + mark.size());
        std::vector<std::string> all;
        std::size_t start = got.body.find(boundary + "\r\n");
        while (start != std::string::npos) {
            start += boundary.size() + 2;
            const std::size_t end = got.body.find("\r\n" + boundary, start);
            all.push_back(got.body.substr(start, end - start));
            start = got.body.find(boundary + "\r\n", end);
        }
        EXPECT_THAT(got.body, testing::EndsWith(boundary + "--\r\n"));
        return all;
    }

private:
    const LeftBehindForm leftBehind_;
};

TEST_F(CurlConfigurationWireFormTest, ATextArrives) {
    options.multiformParts = {std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "name",
                                                              "a\r\nvalue & more", nullptr)};
    EXPECT_THAT(parts(),
                ElementsAre("Content-Disposition: form-data; name=\"name\"\r\n\r\na\r\nvalue & more"));
}

TEST_F(CurlConfigurationWireFormTest, BytesArriveWhole) {
    const std::string bytes("by\0tes\r\n\xFF", 9);
    options.multiformParts = {std::make_shared<MultiformPart>("name", bytes.data(), bytes.size(), nullptr)};
    const std::vector<std::string> all = parts();
    ASSERT_EQ(1U, all.size());
    EXPECT_THAT(all[0],
                testing::StartsWith("Content-Disposition: form-data; name=\"name\"; filename=\"name\"\r\n"));
    EXPECT_THAT(all[0], testing::EndsWith("\r\n\r\n" + bytes));
}

TEST_F(CurlConfigurationWireFormTest, NoBytesArriveAsNone) {
    options.multiformParts = {std::make_shared<MultiformPart>("name", nullptr, 0, nullptr)};
    const std::vector<std::string> all = parts();
    ASSERT_EQ(1U, all.size());
    EXPECT_THAT(all[0], testing::EndsWith("\r\n\r\n"));
}

TEST_F(CurlConfigurationWireFormTest, AFileArrivesWhole) {
    const TemporaryFile file(std::string("fi\0le", 5) + std::string(200000, 'x'));
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_FILE, "name", file.path(), nullptr)};
    const std::vector<std::string> all = parts();
    ASSERT_EQ(1U, all.size());
    EXPECT_THAT(all[0], HasSubstr("filename=\"" + file.path().substr(file.path().rfind('/') + 1) + "\""));
    EXPECT_TRUE(all[0].size() > 200005 &&
                all[0].compare(all[0].size() - 200005, 200005, file.content()) == 0);
}

TEST_F(CurlConfigurationWireFormTest, AFileThatIsMissingFailsTheTransfer) {
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_FILE, "name", "/nowhere/file", nullptr)};
    EXPECT_NE(run(), HttpClientResult::SUCCESS);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(CurlConfigurationWireFormTest, PartsKeepTheirOrderAndTheirHeaders) {
    const auto headers = std::make_shared<HttpHeaders>(1, HttpHeader("X-Part", "one"));
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "a", "1", headers), nullptr,
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "b", "2", nullptr)};
    const std::vector<std::string> all = parts();
    ASSERT_EQ(2U, all.size());
    EXPECT_THAT(all[0], AllOf(HasSubstr("name=\"a\""), HasSubstr("\r\nX-Part: one\r\n")));
    EXPECT_THAT(all[1], AllOf(HasSubstr("name=\"b\""), Not(HasSubstr("X-Part"))));
}

TEST_F(CurlConfigurationWireFormTest, ARequestMaySendItsFormAgain) {
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "name", "value", nullptr)};
    const auto client = makeClient();
    EXPECT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    EXPECT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    ASSERT_EQ(2U, server.requests().size());
    EXPECT_THAT(server.requests()[1].body, HasSubstr("\r\n\r\nvalue\r\n"));
}

}  // namespace
}  // namespace zeb::http::test
