#include "RecordingListener.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "support/Lab.h"
#include "support/LogCapture.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using testing::HasSubstr;
using zeb::test::LogCapture;

/// The basic client, as a host gets it, against the lab's nginx.
class BasicHttpClientLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        ASSERT_EQ(netutils::GlobalInit(), 0);
        client_ = netutils::NetUtilsFactory().createBasicHttpClient();
        scratch_ = std::filesystem::temp_directory_path() / ("zeb-client-test." + std::to_string(getpid()));
        std::filesystem::create_directories(scratch_);
    }
    void TearDown() override {
        if (!scratch_.empty()) {
            std::filesystem::remove_all(scratch_);
        }
    }

    std::shared_ptr<Request> makeRequest(const std::string& url) {
        auto request = std::make_shared<Request>(url);
        request->setListener(listener_);
        return request;
    }

    HttpClientResult::Result get(const std::string& url) {
        return client_->execute(makeRequest(url), response_);
    }

    std::string path(const std::string& name) const { return (scratch_ / name).string(); }

    std::shared_ptr<BasicHttpClient> client_;
    const std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
    Response response_;
    std::filesystem::path scratch_;
};

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

long peakMemoryKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_F(BasicHttpClientLabTest, AGetBringsStatusBodyHeadersAndAddresses) {
    ASSERT_EQ(get(lab::url("/text")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 200);
    EXPECT_EQ(response_.body, lab::TEXT);
    EXPECT_THAT(response_.getHeader("server"), HasSubstr("nginx"));
    EXPECT_EQ(response_.destinationIpAddress.getAddress(), "127.0.0.1");
    EXPECT_FALSE(response_.localIpAddress.isEmpty());
    EXPECT_FALSE(response_.proxyUsed);
}

struct MethodRow {
    HttpMethod method;
    std::string name;
    bool hasBody;
};

class BasicHttpClientMethodLabTest : public BasicHttpClientLabTest,
                                     public testing::WithParamInterface<MethodRow> {};

TEST_P(BasicHttpClientMethodLabTest, ArrivesAsNamedWithItsBody) {
    const auto request = makeRequest(lab::url("/echo"));
    request->getOptions()->method = GetParam().method;
    request->getOptions()->body = SecureString("colour=green");
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_THAT(response_.body, HasSubstr("\"method\":\"" + GetParam().name + "\""));
    if (GetParam().hasBody) {
        EXPECT_THAT(response_.body, HasSubstr("\"body\":\"colour=green\""));
    } else {
        EXPECT_THAT(response_.body, HasSubstr("\"length\":0"));
    }
}

INSTANTIATE_TEST_SUITE_P(Methods, BasicHttpClientMethodLabTest,
                         testing::Values(MethodRow{HttpMethod::GET, "GET", false},
                                         MethodRow{HttpMethod::POST, "POST", true},
                                         MethodRow{HttpMethod::PUT, "PUT", true},
                                         MethodRow{HttpMethod::DELETE, "DELETE", false},
                                         MethodRow{HttpMethod::OPTIONS, "OPTIONS", false},
                                         MethodRow{static_cast<HttpMethod>(9), "GET", false}),
                         [](const auto& row) {
                             const auto number = static_cast<unsigned int>(row.param.method);
                             return row.param.name + (number > 4 ? "ForNumber" + std::to_string(number) : "");
                         });

TEST_F(BasicHttpClientLabTest, APostWithABinaryBodySendsEveryByteOfIt) {
    const std::string bytes("\0\1\2\xff\0", 5);
    const auto request = makeRequest(lab::url("/echo"));
    request->getOptions()->method = HttpMethod::POST;
    request->getOptions()->binaryBody = SafeBuffer(bytes.data(), bytes.size());
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_THAT(response_.body, HasSubstr("\"length\":5"));
}

TEST_F(BasicHttpClientLabTest, APostWithoutABodySendsAnEmptyOne) {
    const auto request = makeRequest(lab::url("/echo"));
    request->getOptions()->method = HttpMethod::POST;
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_THAT(response_.body, HasSubstr("\"length\":0"));
}

TEST_F(BasicHttpClientLabTest, HeadersArriveInOrderAndTheUserAgentIsAdded) {
    const auto request = makeRequest(lab::url("/echo"));
    request->getOptions()->headers->emplace_back("X-One", "1");
    request->getOptions()->headers->emplace_back("X-Two", "2");
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_THAT(response_.body, HasSubstr(R"(["X-One","1"],["X-Two","2"],["User-Agent",")"));
}

TEST_F(BasicHttpClientLabTest, BasicAuthenticationPassesWithTheRightPassword) {
    const auto request = makeRequest(lab::url("/private/text"));
    request->getOptions()->authType = AuthType::BASIC;
    request->getOptions()->credentials = std::make_shared<Credentials>();
    request->getOptions()->credentials->username = lab::USER;
    request->getOptions()->credentials->password = SecureString(lab::PASSWORD);
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 200);

    request->getOptions()->credentials->password = SecureString("wrong");
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 401);
}

TEST_F(BasicHttpClientLabTest, ABearerTokenPasses) {
    const auto request = makeRequest(lab::url("/bearer"));
    request->getOptions()->authType = AuthType::OAUTH;
    request->getOptions()->credentials = std::make_shared<Credentials>();
    request->getOptions()->credentials->token = SecureString(lab::PASSWORD);
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 200);
}

TEST_F(BasicHttpClientLabTest, A401IsAnAnswerLikeAnyOther) {
    ASSERT_EQ(get(lab::url("/private/text")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 401);
}

TEST_F(BasicHttpClientLabTest, A407WithoutConnectIsAnAnswerLikeAnyOther) {
    ASSERT_EQ(get(lab::url("/status/407")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 407);
    EXPECT_EQ(response_.connectCode, 0);
}

TEST_F(BasicHttpClientLabTest, RedirectsAreFollowedAndEachLocationIsKept) {
    ASSERT_EQ(get(lab::url("/chain/3")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, lab::TEXT);
    EXPECT_EQ(response_.redirectUrls->size(), 3U);
}

TEST_F(BasicHttpClientLabTest, ARedirectIsLeftAloneWhenTheRequestSaysSo) {
    const auto request = makeRequest(lab::url("/chain/1"));
    request->getOptions()->followRedirects = false;
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 302);
}

TEST_F(BasicHttpClientLabTest, ASixthRedirectIsOneTooMany) {
    EXPECT_EQ(get(lab::url("/chain/5")), HttpClientResult::SUCCESS);
    EXPECT_EQ(get(lab::url("/chain/6")), HttpClientResult::TOO_MANY_REDIRECTS_ERROR);
}

TEST_F(BasicHttpClientLabTest, CookiesOfTheServerAreInTheResponse) {
    ASSERT_EQ(get(lab::url("/cookies/set")), HttpClientResult::SUCCESS);
    std::set<std::string> names;
    for (const common::Cookie& cookie : response_.cookies) {
        names.insert(cookie.getName());
    }
    EXPECT_EQ(names.count("session"), 1U);
    EXPECT_EQ(names.count("httponly"), 1U);
    EXPECT_EQ(names.count("foreign"), 0U);
}

// --- failover ----------------------------------------------------------------------------------------------

TEST_F(BasicHttpClientLabTest, TwoDeadServersLeadToTheThird) {
    const auto request = makeRequest(lab::url(lab::DEAD, "/text"));
    request->getOptions()->failoverUrls = {lab::url(lab::UNKNOWN, "/text"), lab::url("/text")};
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, lab::TEXT);
    EXPECT_EQ(request->getOptions()->url, lab::url("/text"));
}

TEST_F(BasicHttpClientLabTest, ThreeDeadServersEndWithTheLastOnesResult) {
    const auto request = makeRequest(lab::url(lab::DEAD, "/text"));
    request->getOptions()->failoverUrls = {lab::url(lab::DEAD, "/again"), lab::url(lab::UNKNOWN, "/text")};
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::UNRESOLVED_HOST_ERROR);
}

TEST_F(BasicHttpClientLabTest, AnErrorStatusDoesNotLeadToTheNextUrl) {
    const auto request = makeRequest(lab::url("/status/503"));
    request->getOptions()->failoverUrls = {lab::url("/text")};
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.responseCode, 503);
}

TEST_F(BasicHttpClientLabTest, ARefusedCertificateLeadsToTheNextUrl) {
    const auto request = makeRequest(lab::secureUrl("/text"));
    request->getOptions()->failoverUrls = {lab::url("/text")};
    ASSERT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, lab::TEXT);
}

// --- what fails --------------------------------------------------------------------------------------------

TEST_F(BasicHttpClientLabTest, ARefusedPortIsAnUnreachableHost) {
    EXPECT_EQ(get(lab::url(lab::DEAD, "/text")), HttpClientResult::HOST_UNREACHABLE_ERROR);
}

TEST_F(BasicHttpClientLabTest, AnUnroutedHostIsAnUnreachableHost) {
    EXPECT_EQ(get(lab::url(lab::UNROUTED, "/text")), HttpClientResult::HOST_UNREACHABLE_ERROR);
}

TEST_F(BasicHttpClientLabTest, AHostWithoutAnAddressIsUnresolved) {
    EXPECT_EQ(get(lab::url(lab::UNKNOWN, "/text")), HttpClientResult::UNRESOLVED_HOST_ERROR);
}

TEST_F(BasicHttpClientLabTest, AConnectionThatDoesNotComeAboutTimesOut) {
    const auto request = makeRequest(lab::url(lab::BLACKHOLE, "/text"));
    request->getOptions()->connectionTimeout = 200;
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
}

TEST_F(BasicHttpClientLabTest, ATransferThatTakesTooLongTimesOut) {
    const auto request = makeRequest(lab::url("/slow/head"));
    request->getOptions()->transferTimeout = 200;
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::CONNECTION_TIMEOUT_ERROR);
}

TEST_F(BasicHttpClientLabTest, AServerThatEndsTheConnectionIsAnUnknownError) {
    EXPECT_EQ(get(lab::url("/broken/close")), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(get(lab::url("/broken/short")), HttpClientResult::UNKNOWN_ERROR);
}

TEST_F(BasicHttpClientLabTest, HttpsIsRefusedWithoutAVerifier) {
    const LogCapture log;
    EXPECT_EQ(get(lab::secureUrl("/text")), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_TRUE(log.contains("No Certificate Verifier set, rejecting the certificate"));
    EXPECT_TRUE(response_.body.empty());
}

TEST_F(BasicHttpClientLabTest, AMissingBundleDoesNotDecideInTheVerifiersPlace) {
    setenv("SSL_CERT_FILE", "/nowhere", 1);
    setenv("CURL_CA_BUNDLE", "/nowhere", 1);
    const LogCapture log;
    EXPECT_EQ(get(lab::secureUrl("/text")), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_TRUE(log.contains("No Certificate Verifier set, rejecting the certificate"));
}

TEST_F(BasicHttpClientLabTest, AFailureLeavesTheClientReadyForTheNextRequest) {
    EXPECT_EQ(get(lab::url(lab::DEAD, "/text")), HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_EQ(get(lab::secureUrl("/text")), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(get(lab::url("/text")), HttpClientResult::SUCCESS);
}

// --- bodies and files --------------------------------------------------------------------------------------

TEST_F(BasicHttpClientLabTest, BodiesOfEverySizeComeWhole) {
    ASSERT_EQ(get(lab::url("/empty")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body.size(), 0U);
    ASSERT_EQ(get(lab::url("/one")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, "1");
    ASSERT_EQ(get(lab::url("/mib")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body.size(), static_cast<std::size_t>(lab::MIB));
    ASSERT_EQ(get(lab::url("/hundred")), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body.size(), static_cast<std::size_t>(lab::HUNDRED));
}

TEST_F(BasicHttpClientLabTest, ADownloadOf100MiBKeepsTheMemoryFlat) {
    ASSERT_EQ(get(lab::url("/mib")), HttpClientResult::SUCCESS);  // everything is warm
    const long before = peakMemoryKiB();
    unsigned int id = 0;
    ASSERT_EQ(client_->downloadAsync(makeRequest(lab::url("/hundred")), id, path("hundred")),
              HttpClientError::SUCCESS);
    const auto ending = listener_->waitFor(id);
    EXPECT_TRUE(ending.completed);
    EXPECT_TRUE(ending.response.body.empty());
    EXPECT_EQ(std::filesystem::file_size(path("hundred")), static_cast<std::uintmax_t>(lab::HUNDRED));
    EXPECT_LT(peakMemoryKiB() - before, 20 * 1024);
    ASSERT_FALSE(listener_->progress().empty());
    EXPECT_EQ(listener_->progress().back().transferred, static_cast<double>(lab::HUNDRED));
}

TEST_F(BasicHttpClientLabTest, AnUploadArrivesByteForByte) {
    const std::string content(3 * lab::MIB + 7, 'u');
    std::ofstream(path("photo"), std::ios::binary) << content;
    unsigned int id = 0;
    ASSERT_EQ(client_->uploadAsync(makeRequest(lab::url("/upload/photo")), id, path("photo")),
              HttpClientError::SUCCESS);
    const auto ending = listener_->waitFor(id);
    ASSERT_TRUE(ending.completed);
    EXPECT_EQ(ending.response.responseCode, 201);
    EXPECT_THAT(ending.response.body, testing::StartsWith(std::to_string(content.size()) + " "));
}

TEST_F(BasicHttpClientLabTest, AnUploadOf100MiBKeepsTheMemoryFlat) {
    ASSERT_EQ(get(lab::url("/mib")), HttpClientResult::SUCCESS);  // everything is warm
    std::ofstream(path("hundred")).close();
    std::filesystem::resize_file(path("hundred"), static_cast<std::uintmax_t>(lab::HUNDRED));
    const long before = peakMemoryKiB();
    unsigned int id = 0;
    ASSERT_EQ(client_->uploadAsync(makeRequest(lab::url("/upload/hundred")), id, path("hundred")),
              HttpClientError::SUCCESS);
    const auto ending = listener_->waitFor(id);
    ASSERT_TRUE(ending.completed);
    EXPECT_THAT(ending.response.body, testing::StartsWith(std::to_string(lab::HUNDRED) + " "));
    EXPECT_LT(peakMemoryKiB() - before, 20 * 1024);
    ASSERT_FALSE(listener_->progress().empty());
    EXPECT_EQ(listener_->progress().back().transferred, static_cast<double>(lab::HUNDRED));
}

/// A disk of 64 KiB of the test's own, which the lab lets it mount.
class SmallDiskLabTest : public BasicHttpClientLabTest {
protected:
    void SetUp() override {
        BasicHttpClientLabTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        ASSERT_EQ(mount("tmpfs", scratch_.c_str(), "tmpfs", 0, "size=64k"), 0) << strerror(errno);
        mounted_ = true;
    }
    void TearDown() override {
        if (mounted_) {
            umount2(scratch_.c_str(), MNT_DETACH);
        }
        BasicHttpClientLabTest::TearDown();
    }
    HttpClientResult::Result download(const std::string& url) {
        unsigned int id = 0;
        EXPECT_EQ(client_->downloadAsync(makeRequest(url), id, path("file")), HttpClientError::SUCCESS);
        const auto ending = listener_->waitFor(id);
        return ending.completed ? HttpClientResult::SUCCESS : ending.result;
    }

private:
    bool mounted_ = false;
};

TEST_F(SmallDiskLabTest, ADownloadThatFillsItFailsAndLeavesNoFile) {
    EXPECT_EQ(download(lab::url("/mib")), HttpClientResult::FILE_WRITE_ERROR);
    EXPECT_FALSE(std::filesystem::exists(path("file")));
    EXPECT_EQ(download(lab::url("/text")), HttpClientResult::SUCCESS) << "there is room again";
    EXPECT_EQ(contentOf(path("file")), lab::TEXT);
}

TEST_F(SmallDiskLabTest, OnAFullOneTheSmallestDownloadFailsToo) {
    std::ofstream(path("other"), std::ios::binary) << std::string(64 * lab::KIB, 'o') << std::flush;
    EXPECT_EQ(download(lab::url("/text")), HttpClientResult::FILE_WRITE_ERROR);
    EXPECT_FALSE(std::filesystem::exists(path("file")));
}

TEST_F(SmallDiskLabTest, OnAReadOnlyOneADownloadIsRefusedAndAnUploadGoes) {
    std::ofstream(path("file")) << "content";
    ASSERT_EQ(mount(nullptr, scratch_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0)
        << strerror(errno);
    EXPECT_EQ(download(lab::url("/text")), HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(contentOf(path("file")), "content");
    unsigned int id = 0;
    ASSERT_EQ(client_->uploadAsync(makeRequest(lab::url("/upload/file")), id, path("file")),
              HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->waitFor(id).completed);
}

TEST_F(BasicHttpClientLabTest, AnUploadByPostStaysAPost) {
    std::ofstream(path("form")) << "a=b";
    const auto request = makeRequest(lab::url("/echo"));
    request->getOptions()->method = HttpMethod::POST;
    unsigned int id = 0;
    ASSERT_EQ(client_->uploadAsync(request, id, path("form")), HttpClientError::SUCCESS);
    EXPECT_THAT(listener_->waitFor(id).response.body,
                testing::AllOf(HasSubstr("\"method\":\"POST\""), HasSubstr("\"body\":\"a=b\"")));
}

TEST_F(BasicHttpClientLabTest, ADownloadAnsweredWith404LeavesTheFileEmptyAndThePageInTheBody) {
    unsigned int id = 0;
    ASSERT_EQ(client_->downloadAsync(makeRequest(lab::url("/nowhere")), id, path("page")),
              HttpClientError::SUCCESS);
    const auto ending = listener_->waitFor(id);
    ASSERT_TRUE(ending.completed);
    EXPECT_EQ(ending.response.responseCode, 404);
    EXPECT_THAT(ending.response.body, HasSubstr("404"));
    EXPECT_EQ(contentOf(path("page")), "");
}

TEST_F(BasicHttpClientLabTest, ADownloadIntoAFolderIsAConfigurationError) {
    unsigned int id = 0;
    ASSERT_EQ(client_->downloadAsync(makeRequest(lab::url("/text")), id, scratch_.string()),
              HttpClientError::SUCCESS);
    EXPECT_EQ(listener_->waitFor(id).result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    // The handle came back with it.
    EXPECT_EQ(get(lab::url("/text")), HttpClientResult::SUCCESS);
}

// --- many at once, and cancelling --------------------------------------------------------------------------

TEST_F(BasicHttpClientLabTest, AHundredTasksOnOneClientAreAllAnswered) {
    std::set<unsigned int> ids;
    for (int i = 0; i < 100; ++i) {
        unsigned int id = 0;
        ASSERT_EQ(client_->executeAsync(makeRequest(lab::url("/kib")), id), HttpClientError::SUCCESS);
        ids.insert(id);
    }
    ASSERT_TRUE(listener_->waitForEndings(100));
    const auto endings = listener_->endings();
    EXPECT_EQ(endings.size(), 100U);
    EXPECT_EQ(ids.size(), 100U);
    for (const auto& [id, ending] : endings) {
        EXPECT_TRUE(ending.completed) << id << ": " << ending.result;
        EXPECT_EQ(ending.response.body.size(), static_cast<std::size_t>(lab::KIB));
    }
}

TEST_F(BasicHttpClientLabTest, TwentyThreadsShareOneClient) {
    std::vector<std::future<HttpClientResult::Result>> results;
    for (int i = 0; i < 20; ++i) {
        results.push_back(std::async(std::launch::async, [this] {
            Response response;
            const auto result = client_->execute(std::make_shared<Request>(lab::url("/kib")), response);
            return response.body.size() == static_cast<std::size_t>(lab::KIB)
                       ? result
                       : HttpClientResult::UNKNOWN_ERROR;
        }));
    }
    for (auto& result : results) {
        EXPECT_EQ(result.get(), HttpClientResult::SUCCESS);
    }
}

TEST_F(BasicHttpClientLabTest, ATransferIsCancelledFromAnotherThread) {
    const auto request = makeRequest(lab::url("/slow/rate"));
    auto result = std::async(std::launch::async, [&] { return client_->execute(request, response_); });
    ASSERT_TRUE(listener_->waitForProgress());
    request->cancel();
    EXPECT_THAT(result.get(), testing::AnyOf(HttpClientResult::REQUEST_CANCELLED,
                                             // noticed by the callback that takes the body
                                             HttpClientResult::FILE_WRITE_ERROR));
}

TEST_F(BasicHttpClientLabTest, ACancelledRequestThatWaitsForAnAnswerEnds) {
    const auto request = makeRequest(lab::url("/slow/head"));
    auto result = std::async(std::launch::async, [&] { return client_->execute(request, response_); });
    request->cancel();
    EXPECT_EQ(result.get(), HttpClientResult::REQUEST_CANCELLED);
}

TEST_F(BasicHttpClientLabTest, TheLogNamesNoHostAndNoUrl) {
    const LogCapture log;
    ASSERT_EQ(get(lab::url("/text?name=alice")), HttpClientResult::SUCCESS);
    EXPECT_EQ(get(lab::url(lab::DEAD, "/text")), HttpClientResult::HOST_UNREACHABLE_ERROR);
    EXPECT_FALSE(log.lines().empty());
    EXPECT_FALSE(log.contains("lab.test"));
    EXPECT_FALSE(log.contains("alice"));
}

}  // namespace
}  // namespace zeb::http::test
