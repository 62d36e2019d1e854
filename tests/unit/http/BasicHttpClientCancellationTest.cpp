#include "BasicHttpClientTestSupport.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using Gate = LoopbackServer::Gate;

/// Sends the head and a piece of the body, and the rest once the gate is open.
LoopbackServer::Handler halfThen(const std::shared_ptr<Gate>& gate) {
    return [gate](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\nhalf")
            .thenWaitFor(gate)
            .thenBytes("half");
    };
}

TEST(BasicHttpClientCancellationTest, ACancelledRequestThatIsExecutedReachesTheServerAndIsAborted) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"));
    request->cancel();
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(server.requests().size(), 1U);
    expectUsable(*client);
}

TEST(BasicHttpClientCancellationTest, AListenerMakesACancelledRequestEndAtItsProgress) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"), std::make_shared<RecordingListener>());
    request->cancel();
    LogCapture log;
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::REQUEST_CANCELLED);
    EXPECT_TRUE(log.contains("Cancelling request #"));
}

TEST(BasicHttpClientCancellationTest, ATaskCancelledBeforeItsStartNeverReachesTheServer) {
    LoopbackServer server(hello);
    const auto client = makeClient();
    const auto listener = std::make_shared<RecordingListener>();
    const auto request = makeRequest(server.url("/"), listener);
    request->cancel();
    LogCapture log;
    unsigned int id = 0;
    EXPECT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
    EXPECT_EQ(listener->wait().result, HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(server.connections(), 0U);
    EXPECT_TRUE(log.contains("request has been canceled, return."));
}

TEST(BasicHttpClientCancellationTest, ATaskCancelledBeforeItsStartWithoutListenerIsOnlyLogged) {
    const auto client = makeClient();
    const auto request = makeRequest("http://127.0.0.1:9/");
    request->cancel();
    LogCapture log;
    unsigned int id = 0;
    EXPECT_EQ(client->executeAsync(request, id), HttpClientError::SUCCESS);
    EXPECT_TRUE(log.waitFor("No listener is available to notify the client of the result."));
    EXPECT_FALSE(log.contains("Result was"));
}

TEST(BasicHttpClientCancellationTest, AnotherThreadCancelsARunningTransfer) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server(halfThen(gate));
    const auto client = makeClient();
    const auto listener = std::make_shared<RecordingListener>();
    const auto request = makeRequest(server.url("/"), listener);
    unsigned int id = 0;
    client->executeAsync(request, id);
    ASSERT_TRUE(gate->waitUntilReached());
    std::thread([&] { request->cancel(); }).join();
    EXPECT_EQ(listener->wait().result, HttpClientResult::REQUEST_CANCELLED) << "with the gate still closed";
    expectUsable(*client);
}

TEST(BasicHttpClientCancellationTest, WithoutListenerACancelledTransferEndsWithTheNextBytes) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server(halfThen(gate));
    const auto client = makeClient();
    const auto request = makeRequest(server.url("/"));
    std::thread canceller([&] {
        gate->waitUntilReached();
        request->cancel();
        gate->open();
    });
    Response response;
    EXPECT_EQ(client->execute(request, response), HttpClientResult::REQUEST_CANCELLED);
    canceller.join();
    expectUsable(*client);
}

TEST(BasicHttpClientCancellationTest, TheListenerCancelsFromWithinItsProgress) {
    LoopbackServer server(
        [](const LoopbackServer::Request&) { return Reply::response(200, std::string(4 << 20, 'x')); });
    const auto client = makeClient();
    const auto listener = std::make_shared<RecordingListener>();
    const auto request = makeRequest(server.url("/"), listener);
    std::atomic<int> reports{0};
    listener->whenProgress = [&](ProgressData) {
        ++reports;
        request->cancel();
    };
    unsigned int id = 0;
    client->executeAsync(request, id);
    EXPECT_EQ(listener->wait().result, HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(reports, 1);
    expectUsable(*client);
}

TEST(BasicHttpClientCancellationTest, ARequestCancelledBehindAnotherDoesNotRun) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server(halfThen(gate));
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, makePool(1), nullptr);
    const auto first = std::make_shared<RecordingListener>();
    const auto second = std::make_shared<RecordingListener>();
    const auto waiting = makeRequest(server.url("/2"), second);
    unsigned int id = 0;
    client->executeAsync(makeRequest(server.url("/1"), first), id);
    client->executeAsync(waiting, id);
    ASSERT_TRUE(gate->waitUntilReached());
    waiting->cancel();
    gate->open();
    EXPECT_EQ(first->wait().response.body, "halfhalf");
    EXPECT_EQ(second->wait().result, HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(server.requests().size(), 1U);
}

// --- the end of a client

TEST(BasicHttpClientDestructionTest, QueuedTasksAreAnsweredAsLostAndTheRunningOneEndsAsItWould) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server(halfThen(gate));
    auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, makePool(1), nullptr);
    const auto running = std::make_shared<RecordingListener>();
    const auto queued = std::make_shared<RecordingListener>();
    unsigned int id = 0;
    client->executeAsync(makeRequest(server.url("/"), running), id);
    ASSERT_TRUE(gate->waitUntilReached());
    std::vector<unsigned int> ids(5);
    for (unsigned int& queuedId : ids) {
        EXPECT_EQ(client->executeAsync(makeRequest(server.url("/"), queued), queuedId),
                  HttpClientError::SUCCESS);
    }
    LogCapture log;
    client.reset();
    const std::vector<Outcome> lost = queued->waitFor(ids.size());
    ASSERT_EQ(lost.size(), ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        EXPECT_EQ(lost[i].id, ids[i]);
        EXPECT_EQ(lost[i].result, HttpClientResult::REQUEST_LOST);
    }
    EXPECT_EQ(log.count("The Async task is going to be destroyed before its execution"), ids.size());
    gate->open();
    EXPECT_EQ(running->wait().response.body, "halfhalf");
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST(BasicHttpClientDestructionTest, ALostTaskWithoutListenerIsOnlyLogged) {
    LogCapture log;
    {
        const auto client =
            BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, makePool(0), nullptr);
        unsigned int id = 0;
        EXPECT_EQ(client->executeAsync(makeRequest("http://127.0.0.1:9/"), id), HttpClientError::SUCCESS);
        EXPECT_EQ(client->executeAsync(nullptr, id), HttpClientError::SUCCESS);
    }
    EXPECT_EQ(log.count("The Async task is going to be destroyed before its execution"), 2U);
    EXPECT_EQ(log.count("Unable to report the task as lost, no listeners registered for this request"), 2U);
}

TEST(BasicHttpClientDestructionTest, ATaskThatRanIsNotLost) {
    LoopbackServer server(hello);
    const auto listener = std::make_shared<RecordingListener>();
    LogCapture log;
    {
        const auto client = makeClient();
        unsigned int id = 0;
        client->executeAsync(makeRequest(server.url("/"), listener), id);
        listener->wait();
    }
    EXPECT_EQ(listener->waitFor(1).size(), 1U);
    EXPECT_FALSE(log.contains("destroyed before its execution"));
}

TEST(BasicHttpClientDestructionTest, AListenerThatHearsOfALossMayEnqueueAgain) {
    LoopbackServer server(hello);
    const auto other = makeClient();
    const auto listener = std::make_shared<RecordingListener>();
    const auto again = std::make_shared<RecordingListener>();
    listener->whenAnswered = [&](const Outcome&) {
        unsigned int id = 0;
        other->executeAsync(makeRequest(server.url("/"), again), id);
    };
    auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, makePool(0), nullptr);
    unsigned int id = 0;
    client->executeAsync(makeRequest(server.url("/"), listener), id);
    client.reset();
    EXPECT_EQ(listener->wait().result, HttpClientResult::REQUEST_LOST);
    EXPECT_TRUE(again->wait().completed);
}

TEST(BasicHttpClientDestructionTest, AClientMayGoWhileAThreadIsInItsExecute) {
    const auto gate = std::make_shared<Gate>();
    LoopbackServer server(halfThen(gate));
    auto client = makeClient();
    std::string body;
    std::thread caller([&server, &body, client] {
        Response response;
        client->execute(makeRequest(server.url("/")), response);
        body = response.body;
    });
    ASSERT_TRUE(gate->waitUntilReached());
    client.reset();
    gate->open();
    caller.join();
    EXPECT_EQ(body, "halfhalf");
}

}  // namespace
}  // namespace zeb::http::test
