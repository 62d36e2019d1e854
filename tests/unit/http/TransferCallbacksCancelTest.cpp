#include "BasicHttpClientTestSupport.h"
#include "http/Proxy.h"
#include "support/CertificateBuilder.h"
#include "support/FakeCertVerifier.h"
#include "support/ProxyHost.h"
#include "support/TestFiles.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using Gate = LoopbackServer::Gate;
using zeb::test::TestFolder;

/// Cancels a request from within the library: at the moment in which a log line with that text is written, on
/// the thread and in the very callback that writes it.
class CancelAtLine {
public:
    CancelAtLine(std::string text, std::shared_ptr<Request> request)
        : text_(std::move(text)), request_(std::move(request)) {
        LogController::getInstance()->setSink([this](const LogController::Record& record) {
            if (record.message.find(text_) != std::string_view::npos) {
                reached_ = true;
                request_->cancel();
            }
        });
        LogController::getInstance()->setLevel(ZEBLOG_DEBUG);
    }
    ~CancelAtLine() {
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
        LogController::getInstance()->setSink({});
    }
    CancelAtLine(const CancelAtLine&) = delete;
    CancelAtLine& operator=(const CancelAtLine&) = delete;

    bool reached() const { return reached_; }

private:
    const std::string text_;
    const std::shared_ptr<Request> request_;
    std::atomic<bool> reached_{false};
};

/// Waits until the client has nothing left to tell, then counts.
void expectOneAnswer(BasicHttpClient& client, RecordingListener& listener, std::size_t of = 1) {
    expectUsable(client);
    EXPECT_EQ(listener.waitFor(of).size(), of);
}

struct Moment {
    const char* name;
    const char* line;
};

class CancelMomentTest : public testing::TestWithParam<Moment> {};

TEST_P(CancelMomentTest, AsATaskTheRequestIsAnsweredOnceAsCancelled) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    for (int i = 0; i < 25; ++i) {
        const auto listener = std::make_shared<RecordingListener>();
        const auto request = makeRequest(server.url("/"), listener);
        // Only the first connection has phases; each round makes one of its own.
        request->getOptions()->forbidReuse = true;
        {
            const CancelAtLine cancel(GetParam().line, request);
            unsigned int id = 0;
            ASSERT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
            ASSERT_EQ(listener->wait().result, HttpClientResult::REQUEST_CANCELLED);
            ASSERT_TRUE(cancel.reached());
        }
        ASSERT_EQ(listener->waitFor(1).size(), 1U);
    }
    expectUsable(*client);
}

TEST_P(CancelMomentTest, SynchronouslyAndWithoutListenerTheRequestIsCancelled) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    for (int i = 0; i < 25; ++i) {
        const auto request = makeRequest(server.url("/"));
        request->getOptions()->forbidReuse = true;
        const CancelAtLine cancel(GetParam().line, request);
        Response response;
        ASSERT_EQ(client->execute(request, response), HttpClientResult::REQUEST_CANCELLED);
        ASSERT_TRUE(cancel.reached());
        ASSERT_EQ(response.body, "");
    }
    expectUsable(*client);
}

INSTANTIATE_TEST_SUITE_P(Lines, CancelMomentTest,
                         testing::Values(Moment{"Configuration", "Configuring request"},
                                         Moment{"Connecting", " pre connect phase: "},
                                         Moment{"Connected", " post connect phase: "},
                                         Moment{"StatusLine", " got status line: "},
                                         Moment{"EndOfHeaders", " got CR-LF pair."}),
                         [](const auto& param) { return param.param.name; });

TEST(TransferCancelTest, ARequestCancelledAfterItsTransferIsAnsweredAsIfNothingWere) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    for (const char* line : {" network IO timestamps: ", "Notifying listener of a completed transfer"}) {
        const auto listener = std::make_shared<RecordingListener>();
        const auto request = makeRequest(server.url("/"), listener);
        const CancelAtLine cancel(line, request);
        unsigned int id = 0;
        client->executeAsync(request, id);
        EXPECT_TRUE(listener->wait().completed) << line;
        EXPECT_TRUE(cancel.reached());
    }
}

TEST(TransferCancelTest, ACancelledUploadWithoutListenerEndsAtItsNextRead) {
    const TestFolder folder;
    const std::string path = folder.write("file", std::string(100000, 'u'));
    LoopbackServer server(hello);
    // One thread: what is asked for after an upload runs after it.
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, makePool(1), nullptr);
    for (int i = 0; i < 25; ++i) {
        const auto request = makeRequest(server.url("/"));
        request->getOptions()->forbidReuse = true;
        const CancelAtLine cancel(" post connect phase: ", request);
        unsigned int id = 0;
        client->uploadAsync(request, id, path);
        expectUsable(*client);
        ASSERT_TRUE(cancel.reached());
    }
    EXPECT_EQ(server.connections(), 25U);
    EXPECT_EQ(server.requests().size(), 0U) << "an upload came through";
}

/// A reply of many callbacks, to be cancelled in any of them.
Reply longReply(const LoopbackServer::Request&) {
    std::string bytes = "HTTP/1.1 200 OK\r\n";
    for (int i = 0; i < 50; ++i) {
        bytes += "X-Number: " + std::to_string(i) + "\r\n";
    }
    return Reply::bytes(bytes + "Content-Length: 500000\r\n\r\n" + std::string(500000, 'x'));
}

TEST(TransferCancelTest, AnotherThreadCancelsAtAnyTimeAndThereIsOneAnswerEach) {
    LoopbackServer server(longReply);
    const auto client = makeClient();
    int cancelled = 0;
    for (int i = 0; i < 300; ++i) {
        const auto listener = std::make_shared<RecordingListener>();
        const auto request = makeRequest(server.url("/"), listener);
        request->getOptions()->forbidReuse = i % 2 == 0;
        std::atomic<bool> go{false};
        std::thread canceller([&] {
            while (!go) {
                std::this_thread::yield();
            }
            const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds((i % 60) * 50);
            while (std::chrono::steady_clock::now() < end) {
                std::this_thread::yield();
            }
            request->cancel();
        });
        unsigned int id = 0;
        go = true;
        ASSERT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
        const Outcome outcome = listener->wait();
        canceller.join();
        ASSERT_EQ(outcome.id, id);
        ASSERT_TRUE(outcome.completed || outcome.result == HttpClientResult::REQUEST_CANCELLED)
            << outcome.result;
        ASSERT_EQ(listener->waitFor(1).size(), 1U);
        cancelled += outcome.completed ? 0 : 1;
    }
    EXPECT_GT(cancelled, 0);
    expectUsable(*client);
}

TEST(TransferCancelTest, ManyAreCancelledAtOnceAndEachIsAnsweredOnce) {
    LoopbackServer server(longReply);
    const auto client = makeClient();
    const auto listener = std::make_shared<RecordingListener>();
    std::vector<std::shared_ptr<Request>> requests;
    unsigned int id = 0;
    for (int i = 0; i < 100; ++i) {
        requests.push_back(makeRequest(server.url("/"), listener));
        ASSERT_EQ(client->executeAsync(requests.back(), id), HttpClientError::SUCCESS);
    }
    std::vector<std::thread> cancellers;
    for (std::size_t first : {0, 1, 2, 3}) {
        cancellers.emplace_back([&requests, first] {
            for (std::size_t i = first; i < requests.size(); i += 2) {
                requests[i]->cancel();
                requests[i]->cancel();
            }
        });
    }
    for (std::thread& canceller : cancellers) {
        canceller.join();
    }
    EXPECT_EQ(listener->waitFor(requests.size()).size(), requests.size());
    expectOneAnswer(*client, *listener, requests.size());
}

TEST(TransferCancelTest, TheListenerCancelsFromItsProgressTimeAndAgain) {
    LoopbackServer server(
        [](const LoopbackServer::Request&) { return Reply::response(200, std::string(1 << 20, 'x')); });
    const TestFolder folder;
    const auto client = makeClient();
    for (int i = 0; i < 50; ++i) {
        const auto listener = std::make_shared<RecordingListener>();
        const auto request = makeRequest(server.url("/"), listener);
        int left = i % 5;
        listener->whenProgress = [&](ProgressData progress) {
            if (left-- == 0 && progress.transferred < progress.total) {
                request->cancel();
            }
        };
        unsigned int id = 0;
        client->downloadAsync(request, id, folder.path("file"));
        const Outcome outcome = listener->wait();
        ASSERT_EQ(outcome.completed, !request->isCancelled());
        if (!outcome.completed) {
            ASSERT_EQ(outcome.result, HttpClientResult::REQUEST_CANCELLED);
        }
        ASSERT_EQ(listener->waitFor(1).size(), 1U);
    }
    expectUsable(*client);
}

TEST(TransferCancelTest, TheVerifierCancelsFromItsCall) {
    const auto certificate = zeb::test::CertificateBuilder().commonName("A server").build();
    LoopbackServer::Options options;
    options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
    LoopbackServer server(hello, options);
    for (const bool trusted : {true, false}) {
        for (int i = 0; i < 10; ++i) {
            const auto listener = std::make_shared<RecordingListener>();
            const auto request = makeRequest(server.secureUrl("/"), listener);
            const auto verifier =
                std::make_shared<zeb::test::FakeCertVerifier>(trusted, [&request] { request->cancel(); });
            const auto client =
                BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, verifier, makePool(1), nullptr);
            unsigned int id = 0;
            ASSERT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
            // A refusal has ended the transfer before anything else could.
            ASSERT_EQ(listener->wait().result, trusted ? HttpClientResult::REQUEST_CANCELLED
                                                       : HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
            expectOneAnswer(*client, *listener);
        }
    }
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST(TransferCancelTest, TheHostCancelsFromTheQuestionForItsProxysCredentials) {
    LoopbackServer proxyServer([](const LoopbackServer::Request&) {
        return Reply::response(407, "", {{"Proxy-Authenticate", "Basic realm=\"p\""}});
    });
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxyServer.authority(), ProxyType::HTTP);
    const auto host = ProxyHost::instance();
    const auto client = makeClient();
    for (const bool waits : {true, false}) {
        for (int i = 0; i < 10; ++i) {
            host->clear();
            const auto listener = std::make_shared<RecordingListener>();
            const auto request = makeRequest("https://inside.invalid/", listener);
            request->setProxy(proxy);
            request->waitUntilProxyCredentialReady(waits);
            host->setWhenAsked([&](const std::string& url) {
                request->cancel();
                ProxyHost::handler().setProxyCredential(url, "user", SecureString("late"));
            });
            unsigned int id = 0;
            ASSERT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
            const HttpClientResult::Result result = listener->wait().result;
            // One that doesn't wait has had its answer before the question.
            ASSERT_EQ(result, waits ? HttpClientResult::REQUEST_CANCELLED : HttpClientResult::UNKNOWN_ERROR);
            expectOneAnswer(*client, *listener);
            ASSERT_EQ(host->waitForAsked(1).size(), 1U) << "the cancelled retry asks nobody";
        }
    }
    host->clear();
}

TEST(TransferCancelTest, TheListenerCancelsFromItsAnswerToNoEffect) {
    LoopbackServer server(hello);
    const RefusedPort refused;
    const auto client = makeClient();
    for (const std::string& url : {server.url("/"), refused.url("/")}) {
        for (int i = 0; i < 10; ++i) {
            const auto listener = std::make_shared<RecordingListener>();
            const auto request = makeRequest(url, listener);
            listener->whenAnswered = [&request](const Outcome&) { request->cancel(); };
            unsigned int id = 0;
            ASSERT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
            ASSERT_NE(listener->wait().result, HttpClientResult::REQUEST_CANCELLED);
            expectOneAnswer(*client, *listener);
        }
    }
}

TEST(TransferCancelTest, AnIdleTransferWithListenerEndsWhereverItStands) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer silent([](const LoopbackServer::Request&) { return Reply::silence(); });
    LoopbackServer inHeaders([gate](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nServer: x\r\n").thenWaitFor(gate);
    });
    LoopbackServer inBody([gate](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\nhalf").thenWaitFor(gate);
    });
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(silent.url(""), ProxyType::HTTP);
    std::vector<std::shared_ptr<Request>> requests = {
        makeRequest(silent.url("/")),
        makeRequest("https://" + silent.authority() + "/"),  // waits in the handshake
        makeRequest("https://inside.invalid/"),              // waits for the tunnel
        makeRequest(inHeaders.url("/")),
        makeRequest(inBody.url("/")),
    };
    requests[2]->setProxy(proxy);
    std::vector<std::shared_ptr<BasicHttpClientImpl>> clients;
    const auto listener = std::make_shared<RecordingListener>();
    for (const auto& request : requests) {
        request->setListener(listener);
        clients.push_back(makeClient());
        unsigned int id = 0;
        clients.back()->executeAsync(request, id);
    }
    ASSERT_TRUE(silent.waitForConnections(3));
    ASSERT_TRUE(inHeaders.waitForRequests(1));
    ASSERT_TRUE(inBody.waitForRequests(1));
    for (const auto& request : requests) {
        request->cancel();
    }
    const std::vector<Outcome> outcomes = listener->waitFor(requests.size());
    ASSERT_EQ(outcomes.size(), requests.size()) << "with the gate still closed";
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.result, HttpClientResult::REQUEST_CANCELLED);
    }
    for (const auto& client : clients) {
        expectUsable(*client);
    }
    EXPECT_EQ(listener->waitFor(requests.size()).size(), requests.size());
    gate->open();
}

TEST(TransferCancelTest, ACancelledRequestDoesNotGoOnToItsNextUrlOnAccountOfTheAbort) {
    LoopbackServer first(hello);
    LoopbackServer second(hello);
    const auto client = makeClient();
    const auto request = makeRequest(first.url("/"));
    request->getOptions()->failoverUrls = {second.url("/")};
    const CancelAtLine cancel(" got status line: ", request);
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(second.connections(), 0U);
}

}  // namespace
}  // namespace zeb::http::test
