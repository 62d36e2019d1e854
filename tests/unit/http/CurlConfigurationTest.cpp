// The form and progress options are the ones that the library uses; their deprecation is known.
#define CURL_DISABLE_DEPRECATION

#include "CurlConfigurationTestSupport.h"
#include "common/Cookie.h"
#include "core/SecureStringUtils.h"
#include "http/CurlHeaders.h"
#include "http/HttpClientListener.h"
#include "http/Proxy.h"
#include "http/VerificationLabel.h"
#include "support/MemoryScan.h"
#include "support/TestFiles.h"
#include "unit/http/CurlSeam.h"

#include <fcntl.h>
#include <unistd.h>

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using zeb::test::TemporaryFile;

class QuietListener : public HttpClientListener {
public:
    void onRequestFailed(unsigned int, HttpClientResult::Result) override {}
    void onRequestCompleted(unsigned int, const Response&) override {}
    void onRequestProgress(unsigned int, ProgressData) override {}
};

class CurlConfigurationTest : public CurlConfigurationTestBase {
protected:
    std::string idText() { return data()->formattedRequestID(); }
};

// The frame

TEST_F(CurlConfigurationTest, TheRequestIsNamedWithItsMethodAndNotWithItsUrl) {
    options.method = HttpMethod::PUT;
    ASSERT_TRUE(configure());
    EXPECT_TRUE(log.contains(INFO, "*-----* Configuring request " + idText() + " PUT "));
    EXPECT_FALSE(log.contains("server.example"));
}

TEST_F(CurlConfigurationTest, WithoutAHandleNothingIsConfigured) {
    EXPECT_FALSE(CurlHttpUtils::configureEasyRequest(withoutHandle()));
    EXPECT_TRUE(
        log.contains(ERROR,
                     "Unable to configure the easy request. The provided HttpRequestData does not own "
                     "an EasyCURLConnection"));
    EXPECT_THAT(spy.calls(), IsEmpty());
}

TEST_F(CurlConfigurationTest, NothingOfAFormerRequestSurvives) {
    curl_easy_setopt(handle(), CURLOPT_PRIVATE, data().get());
    ASSERT_TRUE(configure());
    void* found = data().get();
    EXPECT_EQ(CURLE_OK, curl_easy_getinfo(handle(), CURLINFO_PRIVATE, &found));
    EXPECT_EQ(nullptr, found);
}

TEST_F(CurlConfigurationTest, AllOptionsAreSetInTheirOrder) {
    const LeftBehindForm leftBehind;
    options.cookies.emplace_back("server.example\tFALSE\t/\tFALSE\t0\tname\tvalue");
    options.forbidReuse = true;
    setCredentials(AuthType::BASIC);
    request->setListener(std::make_shared<QuietListener>());
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer("http://proxy.example", ProxyType::HTTP);
    request->setProxy(proxy);
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "name", "value", nullptr)};
    const TemporaryFile file("12345");
    setFile(HTTPFileOperation::DOWNLOAD, file.path());
    ASSERT_TRUE(configure());
    const std::vector<int> expected = {CURLOPT_HTTPHEADER,
                                       CURLOPT_HEADERFUNCTION,
                                       CURLOPT_HEADERDATA,
                                       CURLOPT_URL,
                                       CURLOPT_HTTPGET,
                                       CURLOPT_WRITEFUNCTION,
                                       CURLOPT_WRITEDATA,
                                       CURLOPT_HTTPAUTH,
                                       CURLOPT_USERPWD,
                                       CURLOPT_PROXY,
                                       CURLOPT_HEADEROPT,
                                       CURLOPT_PROXYHEADER,
                                       CURLOPT_PROXYPORT,
                                       CURLOPT_PROXYTYPE,
                                       CURLOPT_PROXYUSERNAME,
                                       CURLOPT_PROXYPASSWORD,
                                       CURLOPT_PROXYAUTH,
                                       CURLOPT_ERRORBUFFER,
                                       CURLOPT_DEBUGFUNCTION,
                                       CURLOPT_DEBUGDATA,
                                       CURLOPT_HTTPPOST,
                                       CURLOPT_FOLLOWLOCATION,
                                       CURLOPT_MAXREDIRS,
                                       CURLOPT_FORBID_REUSE,
                                       CURLOPT_NOPROGRESS,
                                       CURLOPT_PROGRESSFUNCTION,
                                       CURLOPT_PROGRESSDATA,
                                       CURLOPT_VERBOSE,
                                       CURLOPT_LOW_SPEED_LIMIT,
                                       CURLOPT_LOW_SPEED_TIME,
                                       CURLOPT_SSL_SESSIONID_CACHE,
                                       CURLOPT_SSL_VERIFYHOST,
                                       CURLOPT_SSL_CTX_FUNCTION,
                                       CURLOPT_SSL_CTX_DATA,
                                       CURLOPT_COOKIELIST,
                                       CURLOPT_COOKIELIST,
                                       CURLOPT_NOSIGNAL,
                                       CURLOPT_CONNECTTIMEOUT_MS,
                                       CURLOPT_TIMEOUT_MS};
    EXPECT_EQ(expected, orderOf(expected));
}

TEST_F(CurlConfigurationTest, TheCallbacksGetTheRequestData) {
    ASSERT_TRUE(configure());
    EXPECT_TRUE(isFunction(CURLOPT_HEADERFUNCTION, &CurlHttpUtils::curlHeaderCallback));
    EXPECT_EQ(data().get(), pointer(CURLOPT_HEADERDATA));
    EXPECT_TRUE(isFunction(CURLOPT_WRITEFUNCTION, &CurlHttpUtils::curlWriteCallback));
    EXPECT_EQ(data().get(), pointer(CURLOPT_WRITEDATA));
    EXPECT_EQ(data()->getCurlConnection()->getErrorBuffer(), pointer(CURLOPT_ERRORBUFFER));
}

TEST_F(CurlConfigurationTest, TheTlsVersionsAndTheTimeoutAreLogged) {
    options.transferTimeout = 77;
    ASSERT_TRUE(configure());
    EXPECT_TRUE(log.contains(DEBUG, "Request " + idText() +
                                        " configured with: " + options.acceptableTlsVersionsAsString() +
                                        ", transfer timeout 77 msec"));
}

// The URL

TEST_F(CurlConfigurationTest, TheUrlIsEncodedInPlace) {
    options.url = "https://server.example/a b\xC3\xA4";
    ASSERT_TRUE(configure());
    EXPECT_EQ("https://server.example/a%20b%C3%A4", options.url);
    EXPECT_THAT(text(CURLOPT_URL), Optional(options.url));
    EXPECT_TRUE(log.contains(DEBUG, "Encoded URL: "));
}

TEST_F(CurlConfigurationTest, AUrlThatNeedsNoEncodingIsNotTold) {
    ASSERT_TRUE(configure());
    EXPECT_THAT(text(CURLOPT_URL), Optional(std::string("https://server.example/page")));
    EXPECT_FALSE(log.contains("Encoded URL: "));
}

TEST_F(CurlConfigurationTest, AUrlThatLibcurlRefusesIsLoggedAndTheRestIsSet) {
    spy.fail(CURLOPT_URL, CURLE_OUT_OF_MEMORY);
    EXPECT_TRUE(configure());
    EXPECT_TRUE(log.contains(ERROR, "Failed to set option : CURLOPT_URL : 27 Out of memory"));
    EXPECT_TRUE(isSet(CURLOPT_TIMEOUT_MS));
}

// Headers

TEST_F(CurlConfigurationTest, TheHeadersOfTheOptionsAreTheList) {
    *options.headers = {{"A", "1"}, {"B", "2"}};
    ASSERT_TRUE(configure());
    EXPECT_EQ(data()->getWrapper().requestHeaders->getCurlHeaderList(), pointer(CURLOPT_HTTPHEADER));
    EXPECT_THAT(linesOf(data()->getWrapper().requestHeaders->getCurlHeaderList()),
                ElementsAre("A: 1", "B: 2"));
}

TEST_F(CurlConfigurationTest, AnEdgeRequestNamesItsHostAndPort) {
    options.setEdgeRequest(true);
    options.url = "https://server.example:8443/page";
    ASSERT_TRUE(CurlHttpUtils::setHeadersFromHttpRequestData(data()));
    EXPECT_THAT(linesOf(data()->getWrapper().requestHeaders->getCurlHeaderList()),
                ElementsAre("Host: server.example:8443"));
}

TEST_F(CurlConfigurationTest, NewHeadersReleaseTheFormerList) {
    const FreedSlists freed;
    *options.headers = {{"A", "1"}};
    ASSERT_TRUE(CurlHttpUtils::setHeadersFromHttpRequestData(data()));
    ASSERT_TRUE(CurlHttpUtils::setHeaders(data(), std::make_shared<HttpHeaders>(1, HttpHeader("B", "2"))));
    EXPECT_EQ(1U, freed.entries().size());
    EXPECT_THAT(linesOf(data()->getWrapper().requestHeaders->getCurlHeaderList()), ElementsAre("B: 2"));
}

TEST_F(CurlConfigurationTest, HeadersThatLibcurlRefusesAreLoggedAndTheRestIsSet) {
    spy.fail(CURLOPT_HTTPHEADER, CURLE_UNKNOWN_OPTION);
    EXPECT_FALSE(CurlHttpUtils::setHeadersFromHttpRequestData(data()));
    EXPECT_TRUE(log.contains(ERROR, "Failed to set option : CURLOPT_HTTPHEADER : 48 "));
    EXPECT_TRUE(configure());
}

TEST_F(CurlConfigurationTest, AnOptionErrorIsLoggedWithNameCodeAndText) {
    EXPECT_TRUE(CurlHttpUtils::isSetOptError(7, "CURLOPT_X", "why"));
    EXPECT_TRUE(log.contains(ERROR, "Failed to set option : CURLOPT_X : 7 why"));
}

TEST_F(CurlConfigurationTest, NoOptionErrorIsNotLogged) {
    EXPECT_FALSE(CurlHttpUtils::isSetOptError(0, "CURLOPT_X", "why"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

// Files

TEST_F(CurlConfigurationTest, ADownloadsFileIsCreatedBeforeAnyByteArrives) {
    const std::string path = TemporaryFile("").path();
    setFile(HTTPFileOperation::DOWNLOAD, path);
    ASSERT_TRUE(configure());
    EXPECT_EQ(0, ::access(path.c_str(), F_OK));
    EXPECT_EQ(nullptr, data()->getWrapper().writeFile) << "the transfer opens it anew";
    EXPECT_TRUE(log.contains("Successfully test-opened file with write option " + path));
    ::unlink(path.c_str());
}

TEST_F(CurlConfigurationTest, ADownloadsFileIsTruncatedBeforeAnyByteArrives) {
    const TemporaryFile file("former content");
    setFile(HTTPFileOperation::DOWNLOAD, file.path());
    ASSERT_TRUE(configure());
    EXPECT_EQ("", file.content());
}

TEST_F(CurlConfigurationTest, AnUploadsFileIsOpenedForReadingAndLeftAlone) {
    const TemporaryFile file("content");
    setFile(HTTPFileOperation::UPLOAD, file.path());
    options.method = HttpMethod::PUT;
    ASSERT_TRUE(configure());
    EXPECT_EQ("content", file.content());
    EXPECT_EQ(nullptr, data()->getWrapper().readFile) << "the transfer opens it anew";
    EXPECT_TRUE(log.contains("Successfully test-opened file with read option " + file.path()));
}

TEST_F(CurlConfigurationTest, AFileThatAFormerAttemptHasLeftOpenIsClosed) {
    const TemporaryFile file("content");
    setFile(HTTPFileOperation::UPLOAD, file.path());
    std::FILE*& left = data()->getWrapper().readFile;
    left = std::fopen(file.path().c_str(), "rb");
    ASSERT_NE(nullptr, left);
    const int descriptor = ::fileno(left);
    ASSERT_TRUE(configure());
    EXPECT_EQ(nullptr, left);
    EXPECT_EQ(-1, ::fcntl(descriptor, F_GETFD)) << "a descriptor is lost with each attempt";
}

TEST_F(CurlConfigurationTest, ADirectoryInPlaceOfADownloadsFileFailsTheConfiguration) {
    setFile(HTTPFileOperation::DOWNLOAD, "/tmp");
    EXPECT_FALSE(configure());
    EXPECT_TRUE(log.contains(ERROR, "Unable to open file to download - /tmp"));
    EXPECT_FALSE(isSet(CURLOPT_WRITEFUNCTION));
}

TEST_F(CurlConfigurationTest, AnUploadsFileThatIsNotThereFailsTheConfiguration) {
    setFile(HTTPFileOperation::UPLOAD, "/nowhere/file");
    EXPECT_FALSE(configure());
    EXPECT_TRUE(log.contains(ERROR, "Unable to open file to upload - /nowhere/file"));
}

TEST_F(CurlConfigurationTest, AFilesPathIsNotLoggedAgainstTheRequestsWish) {
    options.loggingOptions = LoggingOption::NO_FILE_PATH;
    setFile(HTTPFileOperation::UPLOAD, "/nowhere/file");
    EXPECT_FALSE(configure());
    EXPECT_TRUE(log.contains(ERROR, "Unable to open file to upload - [...]"));
    EXPECT_FALSE(log.contains("/nowhere"));
}

TEST_F(CurlConfigurationTest, AnOperationWithoutAPathIsNone) {
    setFile(HTTPFileOperation::UPLOAD, "");
    options.method = HttpMethod::PUT;
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_UPLOAD));
    EXPECT_THAT(text(CURLOPT_CUSTOMREQUEST), Optional(std::string("PUT")));
}

TEST_F(CurlConfigurationTest, APathWithoutAnOperationIsNone) {
    setFile(HTTPFileOperation::NONE, "/nowhere/file");
    EXPECT_TRUE(configure());
}

TEST_F(CurlConfigurationTest, AFileThatVanishesBeforeItsSizeIsTakenCountsAsEmpty) {
    const TemporaryFile file("12345");
    setFile(HTTPFileOperation::UPLOAD, file.path());
    options.method = HttpMethod::PUT;
    bool complained = false;
    LogController::getInstance()->setSink([&](const LogController::Record& record) {
        if (record.message.find("Successfully test-opened file") != std::string::npos) {
            ::unlink(file.path().c_str());
        }
        complained |= record.message == "Unable to open the file in order to get the size.";
    });
    EXPECT_TRUE(configure());
    LogController::getInstance()->setSink(nullptr);
    EXPECT_TRUE(complained);
    EXPECT_THAT(number(CURLOPT_INFILESIZE_LARGE), Optional(0L));
}

// The method table

struct MethodRow {
    const char* testName;
    HttpMethod method;
    const char* customRequest;  ///< null for none
    bool get;
    bool post;
};

class CurlConfigurationMethodTest : public CurlConfigurationTest,
                                    public testing::WithParamInterface<MethodRow> {
protected:
    bool takesBody() const {
        return GetParam().method == HttpMethod::POST || GetParam().method == HttpMethod::PUT;
    }
    void expectMethod(const char* customRequest) {
        EXPECT_EQ(GetParam().get, isSet(CURLOPT_HTTPGET));
        EXPECT_EQ(GetParam().post, isSet(CURLOPT_POST));
        EXPECT_EQ(customRequest == nullptr ? std::nullopt : std::optional<std::string>(customRequest),
                  text(CURLOPT_CUSTOMREQUEST));
    }
};

TEST_P(CurlConfigurationMethodTest, WithoutAFileItIsAsTheTableSays) {
    options.method = GetParam().method;
    options.body = SecureString("body");
    ASSERT_TRUE(configure());
    expectMethod(GetParam().customRequest);
    EXPECT_FALSE(isSet(CURLOPT_UPLOAD));
    EXPECT_FALSE(isSet(CURLOPT_READFUNCTION));
    EXPECT_EQ(takesBody(), isSet(CURLOPT_POSTFIELDS));
}

TEST_P(CurlConfigurationMethodTest, WithAFileItIsAsTheTableSays) {
    const TemporaryFile file("12345");
    setFile(HTTPFileOperation::UPLOAD, file.path());
    options.method = GetParam().method;
    options.body = SecureString("body");
    ASSERT_TRUE(configure());
    const bool put = GetParam().method == HttpMethod::PUT;
    expectMethod(put ? nullptr : GetParam().customRequest);
    EXPECT_EQ(put, isSet(CURLOPT_UPLOAD));
    EXPECT_EQ(takesBody(), isFunction(CURLOPT_READFUNCTION, &CurlHttpUtils::curlReadFileData));
    EXPECT_EQ(takesBody() ? &data()->getWrapper() : nullptr, pointer(CURLOPT_READDATA));
    EXPECT_EQ(takesBody() ? std::optional<long>(5) : std::nullopt, number(CURLOPT_INFILESIZE_LARGE));
    EXPECT_EQ(GetParam().post ? std::optional<long>(5) : std::nullopt, number(CURLOPT_POSTFIELDSIZE_LARGE));
    EXPECT_EQ(GetParam().post, isSet(CURLOPT_POSTFIELDS));
    EXPECT_EQ(nullptr, pointer(CURLOPT_POSTFIELDS)) << "the file goes before the body";
    EXPECT_EQ(takesBody(), log.contains("file size: 5"));
}

INSTANTIATE_TEST_SUITE_P(Methods, CurlConfigurationMethodTest,
                         testing::Values(MethodRow{"Get", HttpMethod::GET, nullptr, true, false},
                                         MethodRow{"Post", HttpMethod::POST, nullptr, false, true},
                                         MethodRow{"Put", HttpMethod::PUT, "PUT", false, false},
                                         MethodRow{"Delete", HttpMethod::DELETE, "DELETE", false, false},
                                         MethodRow{"Options", HttpMethod::OPTIONS, "OPTIONS", false, false},
                                         MethodRow{"Five", static_cast<HttpMethod>(5), nullptr, true, false},
                                         MethodRow{"Nine", static_cast<HttpMethod>(9), nullptr, true, false}),
                         [](const auto& row) { return row.param.testName; });

// The body rule

class CurlConfigurationBodyTest : public CurlConfigurationTest,
                                  public testing::WithParamInterface<HttpMethod> {
protected:
    CurlConfigurationBodyTest() { options.method = GetParam(); }
    std::string body() {
        return {static_cast<const char*>(pointer(CURLOPT_POSTFIELDS)),
                static_cast<std::size_t>(number(CURLOPT_POSTFIELDSIZE_LARGE).value_or(0))};
    }
};

TEST_P(CurlConfigurationBodyTest, TheTextIsCopiedOutAndGivenByPointer) {
    options.body = SecureString("secret text");
    ASSERT_TRUE(configure());
    EXPECT_EQ(data()->getWrapper().bodyCopy.data(), pointer(CURLOPT_POSTFIELDS));
    EXPECT_EQ("secret text", body());
}

TEST_P(CurlConfigurationBodyTest, TheTextGoesBeforeTheBytes) {
    options.body = SecureString("text");
    options.binaryBody = SafeBuffer("bytes", 5);
    ASSERT_TRUE(configure());
    EXPECT_EQ("text", body());
}

TEST_P(CurlConfigurationBodyTest, TheBytesGoWithoutAText) {
    options.binaryBody = SafeBuffer("by\0es", 5);
    ASSERT_TRUE(configure());
    EXPECT_EQ(data()->getWrapper().binaryBodyCopy.data(), pointer(CURLOPT_POSTFIELDS));
    EXPECT_EQ(std::string("by\0es", 5), body());
}

TEST_P(CurlConfigurationBodyTest, WithoutEitherTheBodyIsThereAndEmpty) {
    ASSERT_TRUE(configure());
    EXPECT_NE(nullptr, pointer(CURLOPT_POSTFIELDS)) << "libcurl would ask the read callback";
    EXPECT_THAT(number(CURLOPT_POSTFIELDSIZE_LARGE), Optional(0L));
}

TEST_P(CurlConfigurationBodyTest, ASecondConfigurationSendsTheTextOnce) {
    options.body = SecureString("text");
    ASSERT_TRUE(configure());
    ASSERT_TRUE(configure());
    EXPECT_EQ("text", body());
}

INSTANTIATE_TEST_SUITE_P(PostAndPut, CurlConfigurationBodyTest,
                         testing::Values(HttpMethod::POST, HttpMethod::PUT),
                         [](const auto& row) { return row.param == HttpMethod::POST ? "Post" : "Put"; });

// Authentication

struct AuthRow {
    const char* testName;
    AuthType type;
    std::optional<long> scheme;
    const char* name;
};

class CurlConfigurationUserTest : public CurlConfigurationTest,
                                  public testing::WithParamInterface<AuthRow> {};

TEST_P(CurlConfigurationUserTest, UserAndPasswordGoWithTheScheme) {
    setCredentials(GetParam().type);
    ASSERT_TRUE(configure());
    EXPECT_EQ(GetParam().scheme, number(CURLOPT_HTTPAUTH));
    EXPECT_THAT(text(CURLOPT_USERPWD), Optional(std::string("user:pass:word")));
    EXPECT_TRUE(log.contains(std::string("Using authentication ") + GetParam().name + " with credentials"));
    EXPECT_FALSE(log.contains("pass:word"));
}

TEST_P(CurlConfigurationUserTest, WithoutCredentialsTheSchemeAloneIsSet) {
    options.authType = GetParam().type;
    ASSERT_TRUE(configure());
    EXPECT_EQ(GetParam().scheme, number(CURLOPT_HTTPAUTH));
    EXPECT_FALSE(isSet(CURLOPT_USERPWD));
    EXPECT_TRUE(log.contains(std::string("Using authentication ") + GetParam().name));
    EXPECT_FALSE(log.contains("with credentials"));
}

INSTANTIATE_TEST_SUITE_P(Schemes, CurlConfigurationUserTest,
                         testing::Values(AuthRow{"Basic", AuthType::BASIC, 1, "HTTP_BASIC"},
                                         AuthRow{"Ntlm", AuthType::NTLM, 8, "NTLM"}),
                         [](const auto& row) { return row.param.testName; });

class CurlConfigurationNoUserTest : public CurlConfigurationTest,
                                    public testing::WithParamInterface<AuthType> {};

TEST_P(CurlConfigurationNoUserTest, NothingIsSet) {
    setCredentials(GetParam());
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_HTTPAUTH));
    EXPECT_FALSE(isSet(CURLOPT_USERPWD));
    EXPECT_FALSE(log.contains("Using authentication "));
    EXPECT_EQ(nullptr, data()->getWrapper().requestHeaders->getCurlHeaderList());
}

INSTANTIATE_TEST_SUITE_P(Types, CurlConfigurationNoUserTest,
                         testing::Values(AuthType::NONE, AuthType::RESERVED, static_cast<AuthType>(5)),
                         [](const auto& row) {
                             return "Type" + std::to_string(static_cast<int>(row.param));
                         });

TEST_F(CurlConfigurationTest, TheTokenIsAppendedToTheHeadersInPlace) {
    *options.headers = {{"A", "1"}};
    setCredentials(AuthType::OAUTH);
    ASSERT_TRUE(configure());
    EXPECT_THAT(linesOf(static_cast<curl_slist*>(pointer(CURLOPT_HTTPHEADER))),
                ElementsAre("A: 1", "Authorization: Bearer t0ken"));
    EXPECT_EQ(1U, orderOf({CURLOPT_HTTPHEADER}).size());
    EXPECT_TRUE(log.contains("Using authentication OAUTH with token"));
    EXPECT_FALSE(log.contains("t0ken"));
    EXPECT_FALSE(isSet(CURLOPT_HTTPAUTH));
}

TEST_F(CurlConfigurationTest, WithoutHeadersTheTokenMakesTheList) {
    setCredentials(AuthType::OAUTH);
    ASSERT_TRUE(configure());
    EXPECT_THAT(linesOf(static_cast<curl_slist*>(pointer(CURLOPT_HTTPHEADER))),
                ElementsAre("Authorization: Bearer t0ken"));
    EXPECT_EQ(2U, orderOf({CURLOPT_HTTPHEADER}).size());
}

TEST_F(CurlConfigurationTest, OfTheTokenThatMakesTheListThereIsNoOtherCopy) {
    setCredentials(AuthType::OAUTH);
    const zeb::test::PlantedSecret token;
    std::string clear(token.size(), '\0');
    token.copyTo(clear.data());
    options.credentials->token = SecureString(clear.data(), clear.size());
    SecureStringUtils::ZEBZeroString(clear);
    data();
    zeb::test::wipeDeadStack();
    EXPECT_EQ(0U, countInOwnMemory(token)) << "the test leaves a copy";
    EXPECT_TRUE(CurlHttpUtils::addOauthToken(data()));
    zeb::test::wipeDeadStack();
    EXPECT_EQ(1U, countInOwnMemory(token));
    data()->getWrapper().requestHeaders = nullptr;
    EXPECT_EQ(0U, countInOwnMemory(token));
}

TEST_F(CurlConfigurationTest, AListThatLibcurlRefusesTheTokenInIsAnError) {
    setCredentials(AuthType::OAUTH);
    spy.fail(CURLOPT_HTTPHEADER, CURLE_UNKNOWN_OPTION);
    EXPECT_FALSE(CurlHttpUtils::addOauthToken(data()));
}

TEST_F(CurlConfigurationTest, AnEmptyTokenIsNone) {
    setCredentials(AuthType::OAUTH);
    options.credentials->token = SecureString("");
    EXPECT_TRUE(CurlHttpUtils::addOauthToken(data()));
    EXPECT_FALSE(isSet(CURLOPT_HTTPHEADER));
    EXPECT_TRUE(log.contains("Using authentication OAUTH"));
    EXPECT_FALSE(log.contains(" with token"));
}

TEST_F(CurlConfigurationTest, OAuthWithoutCredentialsSendsNothing) {
    options.authType = AuthType::OAUTH;
    ASSERT_TRUE(configure());
    EXPECT_EQ(nullptr, pointer(CURLOPT_HTTPHEADER));
}

TEST_F(CurlConfigurationTest, ThePasswordIsOverwrittenByAsManyBlanks) {
    setCredentials(AuthType::BASIC);
    EXPECT_TRUE(CurlHttpUtils::resetCurlPassword(data()));
    EXPECT_THAT(text(CURLOPT_USERPWD), Optional(std::string("user:         ")));
}

TEST_F(CurlConfigurationTest, WithoutCredentialsThereIsNoPasswordToOverwrite) {
    EXPECT_FALSE(CurlHttpUtils::resetCurlPassword(data()));
    EXPECT_FALSE(isSet(CURLOPT_USERPWD));
}

// The proxy

class CurlConfigurationProxyTest : public CurlConfigurationTest {
protected:
    const std::vector<int> WATCHED = {CURLOPT_PROXY,         CURLOPT_HEADEROPT,     CURLOPT_PROXYHEADER,
                                      CURLOPT_PROXYPORT,     CURLOPT_NOPROXY,       CURLOPT_PROXYTYPE,
                                      CURLOPT_PROXYUSERNAME, CURLOPT_PROXYPASSWORD, CURLOPT_PROXYAUTH};

    std::shared_ptr<Proxy> setProxy(const std::string& url, ProxyType::Type type = ProxyType::HTTP) {
        auto proxy = std::make_shared<Proxy>();
        proxy->setProxyServer(url, type);
        request->setProxy(proxy);
        return proxy;
    }
};

TEST_F(CurlConfigurationProxyTest, WithoutOneNothingIsSet) {
    data()->proxyUsed = true;
    ASSERT_TRUE(configure());
    EXPECT_THAT(orderOf(WATCHED), IsEmpty());
    EXPECT_FALSE(data()->proxyUsed);
}

TEST_F(CurlConfigurationProxyTest, OneWithoutUrlIsNone) {
    setProxy("");
    ASSERT_TRUE(configure());
    EXPECT_THAT(orderOf(WATCHED), IsEmpty());
    EXPECT_FALSE(data()->proxyUsed);
}

TEST_F(CurlConfigurationProxyTest, ARequiredOneIsSetInItsOrder) {
    setProxy("proxy.example")->setAuthentication("user", SecureString("pass"), ProxyAuthentication::BASIC);
    ASSERT_TRUE(configure());
    EXPECT_THAT(orderOf(WATCHED), ElementsAre(CURLOPT_PROXY, CURLOPT_HEADEROPT, CURLOPT_PROXYHEADER,
                                              CURLOPT_PROXYPORT, CURLOPT_PROXYTYPE, CURLOPT_PROXYUSERNAME,
                                              CURLOPT_PROXYPASSWORD, CURLOPT_PROXYAUTH));
    EXPECT_THAT(number(CURLOPT_HEADEROPT), Optional(1L));
    EXPECT_EQ(nullptr, pointer(CURLOPT_PROXYHEADER));
    EXPECT_THAT(text(CURLOPT_PROXYUSERNAME), Optional(std::string("user")));
    EXPECT_THAT(text(CURLOPT_PROXYPASSWORD), Optional(std::string("pass")));
    EXPECT_TRUE(data()->proxyUsed);
    EXPECT_TRUE(log.contains("Proxy set, comparing the host to the proxy bypass list"));
}

TEST_F(CurlConfigurationProxyTest, OneWithoutSchemeAndPortGetsPort80AndItsUrlAsStored) {
    setProxy("proxy.example");
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_PROXYPORT), Optional(80L));
    EXPECT_THAT(text(CURLOPT_PROXY), Optional(std::string("proxy.example")));
    EXPECT_TRUE(log.contains(INFO, "Request " + idText() + " proxy configuration: URL '" +
                                       ZEBLogger_replacePIIData("proxy.example") +
                                       "'. Use default proxy port 80. Set authentication. authtype:"));
}

TEST_F(CurlConfigurationProxyTest, OneWithAPortKeepsIt) {
    setProxy("proxy.example:3128");
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_PROXYPORT));
    EXPECT_THAT(text(CURLOPT_PROXY), Optional(std::string("proxy.example:3128")));
    EXPECT_TRUE(log.contains(INFO, "Request " + idText() + " proxy configuration: URL '" +
                                       ZEBLogger_replacePIIData("proxy.example:3128") +
                                       "'. Set authentication. authtype:"));
}

TEST_F(CurlConfigurationProxyTest, OneWithASchemeAndWithoutAPortGetsPort80) {
    setProxy("http://proxy.example");
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_PROXYPORT), Optional(80L));
}

TEST_F(CurlConfigurationProxyTest, ABypassedHostGoesWithout) {
    setProxy("proxy.example:3128")->setBypassList("server.example");
    ASSERT_TRUE(configure());
    EXPECT_THAT(orderOf(WATCHED), ElementsAre(CURLOPT_NOPROXY));
    EXPECT_THAT(text(CURLOPT_NOPROXY), Optional(std::string("*")));
    EXPECT_FALSE(data()->proxyUsed);
}

TEST_F(CurlConfigurationProxyTest, ItsCredentialsNeverReachTheLog) {
    setProxy("proxy.example")->setAuthentication("us3r", SecureString("pa55"), ProxyAuthentication::ANY);
    ASSERT_TRUE(configure());
    EXPECT_FALSE(log.contains("us3r"));
    EXPECT_FALSE(log.contains("pa55"));
}

struct ProxyNumberRow {
    int given;
    long set;
};

std::string numberName(const testing::TestParamInfo<ProxyNumberRow>& row) {
    return "Number" + std::to_string(row.param.given);
}

class CurlConfigurationProxyKindTest : public CurlConfigurationProxyTest,
                                       public testing::WithParamInterface<ProxyNumberRow> {};

TEST_P(CurlConfigurationProxyKindTest, IsTranslatedForLibcurl) {
    setProxy("proxy.example:1", static_cast<ProxyType::Type>(GetParam().given));
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_PROXYTYPE), Optional(GetParam().set));
}

INSTANTIATE_TEST_SUITE_P(Types, CurlConfigurationProxyKindTest,
                         testing::Values(ProxyNumberRow{0, 0}, ProxyNumberRow{1, 1}, ProxyNumberRow{2, 4},
                                         ProxyNumberRow{3, 6}, ProxyNumberRow{4, 5}, ProxyNumberRow{5, 7}),
                         numberName);

class CurlConfigurationProxyAuthTest : public CurlConfigurationProxyTest,
                                       public testing::WithParamInterface<ProxyNumberRow> {};

TEST_P(CurlConfigurationProxyAuthTest, IsTranslatedForLibcurl) {
    setProxy("proxy.example:1")
        ->setAuthentication("user", SecureString("pass"),
                            static_cast<ProxyAuthentication::Type>(GetParam().given));
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_PROXYAUTH), Optional(GetParam().set));
}

INSTANTIATE_TEST_SUITE_P(Schemes, CurlConfigurationProxyAuthTest,
                         testing::Values(ProxyNumberRow{0, -17}, ProxyNumberRow{1, 1}, ProxyNumberRow{2, 2},
                                         ProxyNumberRow{3, 8}, ProxyNumberRow{4, 4}),
                         numberName);

// Redirects, reuse, progress

TEST_F(CurlConfigurationTest, RedirectsAreFollowedFiveTimes) {
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_FOLLOWLOCATION), Optional(1L));
    EXPECT_THAT(number(CURLOPT_MAXREDIRS), Optional(5L));
}

TEST_F(CurlConfigurationTest, RedirectsAreNotFollowedAgainstTheRequestsWish) {
    options.followRedirects = false;
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_FOLLOWLOCATION));
    EXPECT_FALSE(isSet(CURLOPT_MAXREDIRS));
}

TEST_F(CurlConfigurationTest, AConnectionMayBeForbiddenToBeReused) {
    options.forbidReuse = true;
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_FORBID_REUSE), Optional(1L));
    EXPECT_TRUE(log.contains("Setting curl option CURLOPT_FORBID_REUSE to true"));
}

TEST_F(CurlConfigurationTest, AConnectionIsReusedOtherwise) {
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_FORBID_REUSE));
}

TEST_F(CurlConfigurationTest, WithAListenerThereIsProgress) {
    request->setListener(std::make_shared<QuietListener>());
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_NOPROGRESS), Optional(0L));
    EXPECT_TRUE(isFunction(CURLOPT_PROGRESSFUNCTION, &CurlHttpUtils::curlProgressFunction));
    EXPECT_EQ(data().get(), pointer(CURLOPT_PROGRESSDATA));
}

TEST_F(CurlConfigurationTest, WithoutAListenerThereIsNoProgress) {
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_NOPROGRESS));
    EXPECT_FALSE(isSet(CURLOPT_PROGRESSFUNCTION));
    EXPECT_FALSE(isSet(CURLOPT_PROGRESSDATA));
}

// Limits

TEST_F(CurlConfigurationTest, ATransferWithoutAFileMayStandStill) {
    options.lowSpeedTimeout = 7;
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_LOW_SPEED_LIMIT));
    EXPECT_FALSE(isSet(CURLOPT_LOW_SPEED_TIME));
}

TEST_F(CurlConfigurationTest, ATransferOfAFileMayStandStillForSixtySeconds) {
    setFile(HTTPFileOperation::UPLOAD, "");
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_LOW_SPEED_LIMIT), Optional(1L));
    EXPECT_THAT(number(CURLOPT_LOW_SPEED_TIME), Optional(60L));
    EXPECT_TRUE(log.contains("Setting low transfer speed timeout value in seconds to : 60"));
}

TEST_F(CurlConfigurationTest, ATransferOfAFileMayStandStillAsLongAsTheRequestSays) {
    setFile(HTTPFileOperation::UPLOAD, "");
    options.lowSpeedTimeout = 7;
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_LOW_SPEED_TIME), Optional(7L));
}

TEST_F(CurlConfigurationTest, TimeoutsHaveTheirDefaults) {
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_CONNECTTIMEOUT_MS), Optional(60000L));
    EXPECT_THAT(number(CURLOPT_TIMEOUT_MS), Optional(0L));
    EXPECT_THAT(number(CURLOPT_NOSIGNAL), Optional(1L));
}

TEST_F(CurlConfigurationTest, TimeoutsAreTheRequests) {
    options.connectionTimeout = 11;
    options.transferTimeout = 22;
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_CONNECTTIMEOUT_MS), Optional(11L));
    EXPECT_THAT(number(CURLOPT_TIMEOUT_MS), Optional(22L));
}

// TLS

TEST_F(CurlConfigurationTest, TheVerificationHookIsTheOnlyJudge) {
    ASSERT_TRUE(configure());
    EXPECT_THAT(number(CURLOPT_SSL_SESSIONID_CACHE), Optional(0L));
    EXPECT_THAT(number(CURLOPT_SSL_VERIFYHOST), Optional(0L));
    EXPECT_TRUE(isFunction(CURLOPT_SSL_CTX_FUNCTION, &CurlHttpUtils::curlSSLCallback));
    EXPECT_EQ(data().get(), pointer(CURLOPT_SSL_CTX_DATA));
    EXPECT_TRUE(isSet(CURLOPT_CAINFO));
    EXPECT_EQ(nullptr, pointer(CURLOPT_CAINFO));
    EXPECT_EQ(text(CURLOPT_CAPATH),
              VerificationLabel::of(data()->getSSLData(), options.acceptableTlsVersions))
        << "a label, and no directory";
    EXPECT_FALSE(isSet(CURLOPT_SSL_VERIFYPEER)) << "libcurl's default, which lets the hook run, stands";
}

// Cookies

constexpr char FIRST[] = "server.example\tFALSE\t/\tFALSE\t0\tfirst\tone";
constexpr char SECOND[] = "#HttpOnly_.other.example\tTRUE\t/p\tTRUE\t99\tsecond\ttwo";

class CurlConfigurationCookieTest : public CurlConfigurationTest {
protected:
    CurlConfigurationCookieTest() {
        options.cookies.emplace_back(FIRST);
        options.cookies.emplace_back(SECOND);
    }
};

TEST_F(CurlConfigurationCookieTest, TheyReachTheEngineInTheirOrder) {
    ASSERT_TRUE(configure());
    EXPECT_THAT(texts(CURLOPT_COOKIELIST), ElementsAre("", FIRST, SECOND)) << "the first turns it on";
    EXPECT_FALSE(isSet(CURLOPT_COOKIE));
    EXPECT_TRUE(log.contains("Request " + idText() + " cookies: first second"));
    EXPECT_FALSE(log.contains("two"));
}

TEST_F(CurlConfigurationCookieTest, TheFirstThatTheEngineRefusesIsTheLast) {
    spy.fail(CURLOPT_COOKIELIST, CURLE_OUT_OF_MEMORY);
    EXPECT_FALSE(CurlHttpUtils::setCookies(data()));
    EXPECT_THAT(texts(CURLOPT_COOKIELIST), ElementsAre(FIRST));
    EXPECT_TRUE(log.contains(ERROR, "Failed to set option : CURLOPT_COOKIELIST : 27 "));
    EXPECT_FALSE(log.contains(" cookies:"));
    EXPECT_TRUE(configure()) << "the request goes without";
}

TEST_F(CurlConfigurationCookieTest, MandatoryOnesAreOneHeader) {
    options.setCookieMandatory(true);
    ASSERT_TRUE(configure());
    EXPECT_THAT(text(CURLOPT_COOKIE), Optional(std::string("first=one; second=two;")));
    EXPECT_THAT(texts(CURLOPT_COOKIELIST), ElementsAre(""));
}

TEST_F(CurlConfigurationCookieTest, MandatoryOnesThatLibcurlRefusesAreAnError) {
    spy.fail(CURLOPT_COOKIE, CURLE_OUT_OF_MEMORY);
    EXPECT_FALSE(CurlHttpUtils::setCookieMandatory(data()));
    EXPECT_TRUE(log.contains(ERROR, "Failed to set option : CURLOPT_COOKIE : 27 "));
}

TEST_F(CurlConfigurationCookieTest, WithoutAnyMandatoryOneNothingIsSet) {
    options.cookies.clear();
    EXPECT_TRUE(CurlHttpUtils::setCookieMandatory(data()));
    EXPECT_FALSE(isSet(CURLOPT_COOKIE));
}

TEST_F(CurlConfigurationCookieTest, AHandleThatIsConfiguredOverAndOverKeepsNothingOfIt) {
    options.cookies.clear();
    for (int round = 0; round < 1000; ++round) {
        ASSERT_TRUE(configure());  // what the engine's start leaked per round is the leak sanitizer's to find
    }
}

// Forms

class CurlConfigurationFormTest : public CurlConfigurationTest {
protected:
    void add(MultiformPartType::Type type, const std::string& name, const std::string& value) {
        options.multiformParts.push_back(std::make_shared<MultiformPart>(type, name, value, nullptr));
    }

private:
    const LeftBehindForm leftBehind_;
};

TEST_F(CurlConfigurationFormTest, IsGivenToLibcurl) {
    add(MultiformPartType::FROM_STRING, "name", "value");
    ASSERT_TRUE(configure());
    EXPECT_NE(nullptr, pointer(CURLOPT_HTTPPOST));
    EXPECT_EQ(data()->getWrapper().formFirst, pointer(CURLOPT_HTTPPOST));
    EXPECT_TRUE(log.contains("Adding name, " + ZEBLogger_replacePIIData("value")));
}

TEST_F(CurlConfigurationFormTest, WithoutPartsThereIsNone) {
    ASSERT_TRUE(configure());
    EXPECT_FALSE(isSet(CURLOPT_HTTPPOST));
}

TEST_F(CurlConfigurationFormTest, ThePartsHeadersOutliveTheConfiguration) {
    const auto headers = std::make_shared<HttpHeaders>(1, HttpHeader("X-Part", "1"));
    options.multiformParts = {
        std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, "a", "b", headers)};
    options.setEdgeRequest(true);
    ASSERT_TRUE(CurlHttpUtils::configureMultiformRequest(data()));
    ASSERT_EQ(1U, data()->getWrapper().partHeaders.size());
    EXPECT_THAT(linesOf(data()->getWrapper().partHeaders[0]->getCurlHeaderList()),
                ElementsAre("X-Part: 1", "Host: server.example"));
}

TEST_F(CurlConfigurationFormTest, APartThatLibcurlRefusesFailsTheConfiguration) {
    add(MultiformPartType::FROM_BUFFER, "name", "a text is no buffer");
    EXPECT_FALSE(configure());
    EXPECT_TRUE(log.contains(ERROR, "Fail to add multiform part - CURLFORMcode: 3"));
    EXPECT_FALSE(isSet(CURLOPT_HTTPPOST));
    EXPECT_FALSE(isSet(CURLOPT_TIMEOUT_MS));
}

TEST_F(CurlConfigurationFormTest, ATextThatLeavesTheFormEmptyIsToldOf) {
    add(MultiformPartType::FROM_STRING, "name", "value");
    {
        const NoFormParts none;
        EXPECT_FALSE(configure());
    }
    EXPECT_TRUE(log.contains("Items are in fact null."));
    EXPECT_TRUE(log.contains(ERROR, "Fail to add multiform part - CURLFORMcode: 1"));
    log.clear();
    EXPECT_TRUE(configure());
    EXPECT_FALSE(log.contains("Items are in fact null."));
}

}  // namespace
}  // namespace zeb::http::test
