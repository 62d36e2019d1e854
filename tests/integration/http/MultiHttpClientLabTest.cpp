#include "RecordingListener.h"
#include "dns/DnsHostResolver.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClientImpl.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <malloc.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using zeb::test::FakeCertVerifier;

const std::string HTTP2_ORIGIN = "https://" + lab::ORIGIN + ":2443";

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

/// The multi client against the lab's nginx.
class MultiHttpClientLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }

    std::shared_ptr<MultiHttpClientImpl> makeClient() {
        return MultiHttpClientImpl::buildMultiHttpClientImpl(nullptr, verifier_, nullptr, 4);
    }
    std::shared_ptr<Request> makeRequest(const std::string& url) {
        auto request = std::make_shared<Request>(url);
        request->setListener(listener_);
        return request;
    }
    unsigned int enqueue(MultiHttpClient& client, const std::shared_ptr<Request>& request) {
        unsigned int id = 0;
        EXPECT_EQ(client.enqueueRequest(request, id), HttpClientError::SUCCESS);
        return id;
    }
    /// How many handshakes there were so far.
    std::size_t handshakes() const { return verifier_->questions().size(); }
    void getTogether(MultiHttpClient& client, const std::function<std::shared_ptr<Request>()>& make) {
        std::vector<unsigned int> ids;
        for (int i = 0; i < 20; ++i) {
            ids.push_back(enqueue(client, make()));
        }
        for (const unsigned int id : ids) {
            EXPECT_EQ(listener_->waitFor(id).response.body, lab::TEXT);
        }
    }
    RecordingListener::Ending get(MultiHttpClient& client, const std::shared_ptr<Request>& request) {
        return listener_->waitFor(enqueue(client, request));
    }

    const std::shared_ptr<FakeCertVerifier> verifier_ = std::make_shared<FakeCertVerifier>(true);
    const std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
};

TEST_F(MultiHttpClientLabTest, AThousandRequestsAreEachAnsweredOnceOrCancelledAndNothingIsLeftBehind) {
    struct Expected {
        bool completed = true;
        HttpClientResult::Result result = HttpClientResult::SUCCESS;
        std::string body;
    };
    // Whatever is made once and kept (the resolver, the memory of the pages) is made before it is measured.
    get(*makeClient(), makeRequest(lab::secureUrl("/text")));
    const std::size_t descriptorsBefore = openDescriptors();
    malloc_trim(0);
    const std::size_t memoryBefore = mallinfo2().uordblks;
    std::map<unsigned int, Expected> expected;
    std::vector<std::shared_ptr<Request>> cancelled;
    {
        const auto client = makeClient();
        for (int i = 0; i < 1000; ++i) {
            const auto url = i % 2 == 0 ? [](const std::string& path) { return lab::url(path); }
                                        : [](const std::string& path) { return lab::secureUrl(path); };
            if (i % 10 == 7) {
                expected[enqueue(*client, makeRequest(lab::url(lab::DEAD, "/")))] = {
                    false, HttpClientResult::HOST_UNREACHABLE_ERROR, ""};
            } else if (i % 10 == 8) {
                const auto request = makeRequest(lab::url(lab::DEAD, "/"));
                request->getOptions()->failoverUrls = {url("/text")};
                expected[enqueue(*client, request)] = {true, HttpClientResult::SUCCESS, lab::TEXT};
            } else if (i % 50 == 9) {
                const auto request = makeRequest(url("/slow/rate"));
                cancelled.push_back(request);
                enqueue(*client, request);
            } else if (i % 10 == 6) {
                expected[enqueue(*client, makeRequest(lab::url(lab::UNKNOWN, "/")))] = {
                    false, HttpClientResult::UNRESOLVED_HOST_ERROR, ""};
            } else if (i % 10 == 5) {
                expected[enqueue(*client, makeRequest(url("/status/404")))] = {
                    true, HttpClientResult::SUCCESS, "Status 404"};
            } else {
                expected[enqueue(*client, makeRequest(url("/text")))] = {true, HttpClientResult::SUCCESS,
                                                                         lab::TEXT};
            }
        }
        ASSERT_TRUE(listener_->waitForEndings(expected.size() + 1));
        for (const auto& request : cancelled) {
            request->cancel();
        }
        // One behind the cancelled, answered: then they have had their turn.
        expected[enqueue(*client, makeRequest(lab::url("/text")))] = {true, HttpClientResult::SUCCESS,
                                                                      lab::TEXT};
        ASSERT_TRUE(listener_->waitForEndings(expected.size() + 1));
    }
    const auto endings = listener_->endings();
    // The one of before is among them.
    EXPECT_EQ(endings.size(), expected.size() + 1);
    for (const auto& [id, what] : expected) {
        ASSERT_EQ(endings.count(id), 1U) << id;
        const RecordingListener::Ending& ending = endings.find(id)->second;
        EXPECT_EQ(ending.completed, what.completed) << id << " " << ending.result;
        if (what.completed) {
            EXPECT_THAT(ending.response.body, testing::HasSubstr(what.body));
        } else {
            EXPECT_EQ(ending.result, what.result) << id;
        }
    }
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
    malloc_trim(0);
    // What the listener has kept of the answers, and room for the pool's last threads.
    EXPECT_LT(mallinfo2().uordblks, memoryBefore + (4U << 20));
}

TEST_F(MultiHttpClientLabTest, TheFactorysClientWorksInBothForms) {
    netutils::NetUtilsFactory factory;
    for (const auto& client : {factory.createMultiHttpClient(2),
                               factory.createMultiHttpClient(std::shared_ptr<cert::CertVerifier>(), 0)}) {
        EXPECT_EQ(get(*client, makeRequest(lab::url("/text"))).response.body, lab::TEXT);
    }
}

TEST_F(MultiHttpClientLabTest, ADownloadGoesToItsFileAndAnotherStatusToTheBody) {
    const auto client = makeClient();
    const std::string path =
        (std::filesystem::temp_directory_path() / ("multi-" + std::to_string(getpid()))).string();
    unsigned int id = 0;
    ASSERT_EQ(client->enqueueDownloadRequest(makeRequest(lab::secureUrl("/mib")), id, path),
              HttpClientError::SUCCESS);
    EXPECT_TRUE(listener_->waitFor(id).completed);
    EXPECT_EQ(std::filesystem::file_size(path), static_cast<std::uintmax_t>(lab::MIB));
    ASSERT_EQ(client->enqueueDownloadRequest(makeRequest(lab::url("/status/404")), id, path),
              HttpClientError::SUCCESS);
    EXPECT_THAT(listener_->waitFor(id).response.body, testing::HasSubstr("Status 404"));
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
    std::filesystem::remove(path);
}

TEST_F(MultiHttpClientLabTest, KeptConnectionsAreForThoseWhoJudgeTheServerAlike) {
    const auto client = makeClient();
    const auto plain = [&] { return makeRequest(lab::secureUrl("/text")); };
    const auto strict = [&](const std::vector<std::string>& names) {
        const auto request = makeRequest(lab::secureUrl("/text"));
        request->getOptions()->useProvidedIdentity = !names.empty();
        request->getOptions()->identities = names;
        request->getOptions()->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
        return request;
    };
    const auto handshakesOf = [&](const std::shared_ptr<Request>& request) {
        const std::size_t before = handshakes();
        EXPECT_TRUE(get(*client, request).completed);
        return handshakes() - before;
    };
    EXPECT_EQ(handshakesOf(plain()), 1U);
    EXPECT_EQ(handshakesOf(plain()), 0U);
    EXPECT_EQ(handshakesOf(strict({})), 1U) << "another model";
    EXPECT_EQ(handshakesOf(strict({})), 0U);
    EXPECT_EQ(handshakesOf(strict({"a.test"})), 1U) << "other names";
    EXPECT_EQ(handshakesOf(strict({"a.test"})), 0U);
    EXPECT_EQ(handshakesOf(strict({"b.test"})), 1U);
    EXPECT_EQ(handshakesOf(strict({"a.test", "b.test"})), 1U);
    EXPECT_EQ(handshakesOf(strict({"a.test"})), 0U) << "the first is still kept";

    const auto soft = [&](bool follow) {
        const auto request = makeRequest(lab::secureUrl("/text"));
        request->getOptions()->useProvidedIdentity = true;
        request->getOptions()->identities = {"a.test"};
        request->getOptions()->followRedirects = follow;
        return request;
    };
    EXPECT_EQ(handshakesOf(soft(false)), 1U);
    EXPECT_EQ(handshakesOf(soft(false)), 0U);
    EXPECT_EQ(handshakesOf(soft(true)), 0U) << "what a redirect may change is seen to when it comes";

    const auto modern = [&] {
        const auto request = makeRequest(lab::secureUrl("/text"));
        request->getOptions()->acceptableTlsVersions = TlsVersion::TLS_1_2;
        return request;
    };
    EXPECT_EQ(handshakesOf(modern()), 1U) << "other protocols";
    EXPECT_EQ(handshakesOf(modern()), 0U);
}

TEST_F(MultiHttpClientLabTest, OverHttp2ManyRequestsShareAConnection) {
    const auto client = makeClient();
    EXPECT_THAT(get(*client, makeRequest(HTTP2_ORIGIN + "/echo")).response.body,
                testing::HasSubstr("\"version\":\"2"));
    getTogether(*client, [&] { return makeRequest(HTTP2_ORIGIN + "/slow/head?ms=100"); });
    EXPECT_EQ(handshakes(), 1U);
}

TEST_F(MultiHttpClientLabTest, WithoutPipeliningAnHttp2ConnectionServesOneRequestAfterTheOther) {
    const auto client = makeClient();
    client->disableHttpPipelining();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(get(*client, makeRequest(HTTP2_ORIGIN + "/echo")).completed);
    }
    EXPECT_EQ(handshakes(), 1U);
    getTogether(*client, [&] { return makeRequest(HTTP2_ORIGIN + "/slow/head?ms=100"); });
    EXPECT_GT(handshakes(), 5U);
}

TEST_F(MultiHttpClientLabTest, RequestsThatJudgeTheServerUnlikeNeverShareAnHttp2Connection) {
    const auto client = makeClient();
    const auto naming = [&](const std::string& path, const std::string& name) {
        const auto request = makeRequest(HTTP2_ORIGIN + path);
        request->getOptions()->useProvidedIdentity = true;
        request->getOptions()->identities = {name};
        return request;
    };
    // A connection for each, so that every later request finds one of its own, and one of the other's.
    EXPECT_TRUE(get(*client, naming("/echo", "a.test")).completed);
    EXPECT_TRUE(get(*client, naming("/echo", "b.test")).completed);
    EXPECT_EQ(handshakes(), 2U);
    int next = 0;
    getTogether(*client, [&] { return naming("/slow/head?ms=100", ++next % 2 == 0 ? "a.test" : "b.test"); });
    EXPECT_EQ(handshakes(), 2U);
    // One that comes while both are in use.
    const unsigned int slow = enqueue(*client, naming("/slow/head?ms=300", "a.test"));
    EXPECT_TRUE(get(*client, naming("/echo", "c.test")).completed);
    EXPECT_EQ(handshakes(), 3U);
    EXPECT_TRUE(listener_->waitFor(slow).completed);
}

TEST_F(MultiHttpClientLabTest, ARefusedCertificateEndsTheRequestWhateverConnectionIsKept) {
    const auto client = makeClient();
    EXPECT_TRUE(get(*client, makeRequest(lab::secureUrl("/text"))).completed);
    const auto refusing = MultiHttpClientImpl::buildMultiHttpClientImpl(
        nullptr, std::make_shared<FakeCertVerifier>(false), nullptr, 1);
    EXPECT_EQ(get(*refusing, makeRequest(lab::secureUrl("/text"))).result,
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
}

TEST_F(MultiHttpClientLabTest, ItsEndInTheMiddleOfTransfersIsPrompt) {
    auto client = makeClient();
    for (int i = 0; i < 50; ++i) {
        enqueue(*client, makeRequest(lab::secureUrl("/slow/head")));
        enqueue(*client, makeRequest(lab::url(lab::BLACKHOLE, "/")));
        enqueue(*client, makeRequest(lab::url("/slow/rate")));
    }
    ASSERT_TRUE(listener_->waitForProgress());
    const auto began = std::chrono::steady_clock::now();
    client.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
    for (const auto& [id, ending] : listener_->endings()) {
        EXPECT_EQ(ending.result, HttpClientResult::REQUEST_LOST) << id;
    }
}

}  // namespace
}  // namespace zeb::http::test
