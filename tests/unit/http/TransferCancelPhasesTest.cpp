#include "BasicHttpClientTestSupport.h"
#include "http/Proxy.h"
#include "support/HeldResolver.h"
#include "support/ProxyHost.h"
#include "support/Sockets.h"
#include "support/TestFiles.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

/// A thousand requests are held in one phase of theirs or another, all of a batch at a time, cancelled there
/// from other threads, and let go: each is answered as cancelled, once.
namespace zeb::http::test {
namespace {

using Gate = LoopbackServer::Gate;
using zeb::test::HeldResolver;
using zeb::test::TestFolder;

constexpr std::size_t CANCELLERS = 3;
constexpr char RIGHT[] = "Basic dXNlcjpyaWdodA==";  // user:right

/// Counts what comes to a point, and lets a test wait for that.
class Arrivals {
public:
    void arrive() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    bool waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return count_ >= count; });
    }

private:
    std::mutex mutex_;  ///< guards count_
    std::condition_variable changed_;
    std::size_t count_ = 0;
};

/// The log's lines with that text in them arrive.
class LineArrivals : public Arrivals {
public:
    explicit LineArrivals(const std::string& text) {
        LogController::getInstance()->setSink([this, text](const LogController::Record& record) {
            if (record.message.find(text) != std::string_view::npos) {
                arrive();
            }
        });
        LogController::getInstance()->setLevel(ZEBLOG_DEBUG);
    }
    ~LineArrivals() {
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
        LogController::getInstance()->setSink({});
    }
    LineArrivals(const LineArrivals&) = delete;
    LineArrivals& operator=(const LineArrivals&) = delete;
};

class TransferCancelPhasesTest : public testing::Test {
protected:
    /// One request, with a client and a listener of its own.
    struct Lane {
        std::shared_ptr<BasicHttpClientImpl> client = makeClient();
        std::shared_ptr<RecordingListener> listener = std::make_shared<RecordingListener>();
        std::shared_ptr<Request> request;
        std::string uploaded;  ///< the path of a file; "" for an ordinary request
    };

    std::vector<Lane> lanes(std::size_t count, const std::string& url) {
        std::vector<Lane> all(count);
        for (Lane& lane : all) {
            lane.request = makeRequest(url, lane.listener);
        }
        return all;
    }

    /// Starts all, waits until they are where they are held, cancels them there and lets them go.
    void cancelAll(
        const std::vector<Lane>& all, const std::function<bool(std::size_t)>& waitUntilHeld,
        const std::function<void()>& release = [] {}) {
        for (const Lane& lane : all) {
            unsigned int id = 0;
            ASSERT_EQ(lane.uploaded.empty() ? lane.client->executeAsync(lane.request, id)
                                            : lane.client->uploadAsync(lane.request, id, lane.uploaded),
                      HttpClientError::SUCCESS);
        }
        const bool held = waitUntilHeld(all.size());
        cancelFromManyThreads(all);
        release();
        ASSERT_TRUE(held);
        for (const Lane& lane : all) {
            ASSERT_EQ(lane.listener->wait().result, HttpClientResult::REQUEST_CANCELLED);
        }
        for (const Lane& lane : all) {
            expectNoMore(lane);
        }
    }

    static void cancelFromManyThreads(const std::vector<Lane>& all) {
        std::vector<std::thread> cancellers;
        for (std::size_t first = 0; first < CANCELLERS; ++first) {
            // Each request by two of them.
            cancellers.emplace_back([&all, first] {
                for (std::size_t i = 0; i < all.size(); ++i) {
                    if (i % CANCELLERS != first) {
                        all[i].request->cancel();
                    }
                }
            });
        }
        for (std::thread& canceller : cancellers) {
            canceller.join();
        }
    }

    /// A further request has the client's handle only when the one before has ended altogether.
    void expectNoMore(const Lane& lane) {
        Response response;
        ASSERT_EQ(lane.client->execute(makeRequest(after_.url("/")), response), HttpClientResult::SUCCESS);
        ASSERT_EQ(lane.listener->waitFor(1).size(), 1U);
    }

    /// "https://" without "http://".
    static std::string secure(const zeb::test::Descriptor& listener) {
        return "https://127.0.0.1:" + std::to_string(zeb::test::portOf(listener.get())) + "/";
    }

    LoopbackServer after_{hello};
};

TEST_F(TransferCancelPhasesTest, BehindAnotherRequestOnTheSameClient) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server([gate](const LoopbackServer::Request&) {
        return std::move(Reply().thenWaitFor(gate).thenBytes("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"));
    });
    const auto client = makeClient();
    const auto first = std::make_shared<RecordingListener>();
    unsigned int id = 0;
    ASSERT_EQ(client->executeAsync(makeRequest(server.url("/first"), first), id), HttpClientError::SUCCESS);
    ASSERT_TRUE(gate->waitUntilReached());
    std::vector<Lane> all = lanes(100, server.url("/"));
    for (Lane& lane : all) {
        lane.client = client;
    }
    cancelAll(
        all, [](std::size_t) { return true; }, [&] { gate->open(); });
    EXPECT_TRUE(first->wait().completed);
    // Up to nine others have been given a thread before they were cancelled; they end at their first
    // progress.
    EXPECT_LE(server.requests().size(), 10U);
}

TEST_F(TransferCancelPhasesTest, WhileTheNameIsResolved) {
    HeldResolver resolver;
    LoopbackServer server(hello);
    cancelAll(
        lanes(100, "http://" + std::string(HeldResolver::NAME) + ":" + std::to_string(server.port()) + "/"),
        [&](std::size_t count) { return resolver.waitFor(count); }, [&] { resolver.release(); });
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(TransferCancelPhasesTest, WhileItConnects) {
    // With one connection that nobody takes the queue is full: the kernel lets the others wait.
    const zeb::test::Descriptor listener = zeb::test::listeningSocket(0);
    const zeb::test::Descriptor filler = zeb::test::connectedSocket(zeb::test::portOf(listener.get()));
    ASSERT_TRUE(filler);
    LineArrivals connecting(" pre connect phase: ");
    cancelAll(lanes(100, "http://127.0.0.1:" + std::to_string(zeb::test::portOf(listener.get())) + "/"),
              [&](std::size_t count) { return connecting.waitFor(count); });
}

TEST_F(TransferCancelPhasesTest, InTheTlsHandshake) {
    // Connections come about, and nobody ever answers the client's hello.
    const zeb::test::Descriptor listener = zeb::test::listeningSocket(200);
    LineArrivals shaking(" SSL handshake phase: ");
    cancelAll(lanes(100, secure(listener)), [&](std::size_t count) { return shaking.waitFor(count); });
}

TEST_F(TransferCancelPhasesTest, FromWithinTheHandshakesCallbacks) {
    const zeb::test::Descriptor listener = zeb::test::listeningSocket(10);
    for (const std::string line : {"SNI: [", " SSL handshake phase: "}) {
        const std::vector<Lane> all = lanes(1, secure(listener));
        LogController::getInstance()->setSink([&](const LogController::Record& record) {
            if (record.message.find(line) != std::string_view::npos) {
                all[0].request->cancel();
            }
        });
        LogController::getInstance()->setLevel(ZEBLOG_DEBUG);
        unsigned int id = 0;
        ASSERT_EQ(all[0].client->executeAsync(all[0].request, id), HttpClientError::SUCCESS);
        EXPECT_EQ(all[0].listener->wait().result, HttpClientResult::REQUEST_CANCELLED) << line;
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
        LogController::getInstance()->setSink({});
        expectNoMore(all[0]);
    }
}

TEST_F(TransferCancelPhasesTest, WhileItSends) {
    const TestFolder folder;
    // Below the size from which on libcurl asks for leave to send.
    const std::string path = folder.write("file", std::string(1000000, 'u'));
    LoopbackServer server(hello);
    for (int round = 0; round < 5; ++round) {
        Arrivals sending;
        Gate gate;
        std::vector<Lane> all = lanes(20, server.url("/"));
        for (Lane& lane : all) {
            lane.uploaded = path;
            lane.listener->whenProgress = [&](ProgressData progress) {
                EXPECT_LT(progress.transferred, progress.total);
                sending.arrive();
                gate.wait();
            };
        }
        cancelAll(
            all, [&](std::size_t count) { return sending.waitFor(count); }, [&] { gate.open(); });
    }
    EXPECT_EQ(server.requests().size(), 0U) << "an upload came through";
}

TEST_F(TransferCancelPhasesTest, WhileItWaitsForAnAnswer) {
    LoopbackServer server([](const LoopbackServer::Request&) { return Reply::silence(); });
    cancelAll(lanes(100, server.url("/")), [&](std::size_t count) { return server.waitForRequests(count); });
}

TEST_F(TransferCancelPhasesTest, InTheHeaders) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server([gate](const LoopbackServer::Request&) {
        return std::move(Reply::bytes("HTTP/1.1 200 OK\r\nX-One: 1\r\n")
                             .thenWaitFor(gate)
                             .thenBytes("Content-Length: 0\r\n\r\n"));
    });
    LineArrivals inHeaders(" got status line: ");
    cancelAll(
        lanes(100, server.url("/")), [&](std::size_t count) { return inHeaders.waitFor(count); },
        [&] { gate->open(); });
}

TEST_F(TransferCancelPhasesTest, InTheBody) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server([gate](const LoopbackServer::Request&) {
        return std::move(
            Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 200001\r\n\r\n" + std::string(200000, 'x'))
                .thenWaitFor(gate)
                .thenBytes("x"));
    });
    Arrivals inBody;
    std::vector<Lane> all = lanes(150, server.url("/"));
    for (const Lane& lane : all) {
        lane.listener->whenProgress = [&](ProgressData) { inBody.arrive(); };
    }
    cancelAll(
        all, [&](std::size_t count) { return inBody.waitFor(count); }, [&] { gate->open(); });
}

TEST_F(TransferCancelPhasesTest, AtItsNextUrlAfterAFailure) {
    const RefusedPort refused;
    const auto gate = std::make_shared<Gate>();
    LoopbackServer second([gate](const LoopbackServer::Request&) {
        return std::move(Reply().thenWaitFor(gate).thenBytes("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"));
    });
    LoopbackServer third(hello);
    std::vector<Lane> all = lanes(100, refused.url("/"));
    for (const Lane& lane : all) {
        lane.request->getOptions()->failoverUrls = {second.url("/"), third.url("/")};
    }
    cancelAll(
        all, [&](std::size_t count) { return second.waitForRequests(count); }, [&] { gate->open(); });
    EXPECT_EQ(third.connections(), 0U) << "a cancelled request goes on to no further URL";
}

class TransferCancelProxyPhasesTest : public TransferCancelPhasesTest {
protected:
    TransferCancelProxyPhasesTest() { host_->clear(); }
    ~TransferCancelProxyPhasesTest() override { host_->clear(); }

    std::vector<Lane> tunnelled(std::size_t count) {
        std::vector<Lane> all = lanes(count, "https://inside.invalid/");
        for (const Lane& lane : all) {
            const auto proxy = std::make_shared<Proxy>();
            proxy->setProxyServer(proxy_.authority(), ProxyType::HTTP);
            lane.request->setProxy(proxy);
        }
        return all;
    }
    void answerHost() {
        ProxyHost::handler().setProxyCredential(proxy_.authority(), "user", SecureString("right"));
    }

    const std::shared_ptr<ProxyHost> host_ = ProxyHost::instance();
    Arrivals retried_;
    const std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
    LoopbackServer proxy_{[this](const LoopbackServer::Request& request) {
        if (request.header("Proxy-Authorization") != RIGHT) {
            return Reply::response(407, "", {{"Proxy-Authenticate", "Basic realm=\"p\""}});
        }
        retried_.arrive();
        return std::move(Reply().thenWaitFor(gate_).thenBytes("HTTP/1.1 200 OK\r\n\r\n").thenClose());
    }};
};

TEST_F(TransferCancelProxyPhasesTest, InTheRetryWithLateCredentials) {
    // As many as the shared pool runs at a time.
    cancelAll(
        tunnelled(10),
        [this](std::size_t count) {
            const bool asked = host_->waitForAsked(count).size() == count;
            answerHost();
            return asked && retried_.waitFor(count);
        },
        [this] { gate_->open(); });
}

TEST_F(TransferCancelProxyPhasesTest, BehindARefusalOfTheProxysItIsNotParked) {
    // The 407 of the first attempt stands when the second one, with the known credentials, is aborted.
    ProxyHost::handler().initProxyCredential(proxy_.authority(), "user", SecureString("right"), "");
    cancelAll(
        tunnelled(50), [this](std::size_t count) { return retried_.waitFor(count); },
        [this] { gate_->open(); });
    EXPECT_EQ(host_->waitForAsked(0).size(), 0U) << "nobody is asked on behalf of a cancelled request";
}

TEST_F(TransferCancelProxyPhasesTest, WhileItIsParkedForCredentialsItEndsWithThem) {
    gate_->open();
    cancelAll(
        tunnelled(40), [this](std::size_t count) { return host_->waitForAsked(count).size() == count; },
        [this] { answerHost(); });
}

}  // namespace
}  // namespace zeb::http::test
