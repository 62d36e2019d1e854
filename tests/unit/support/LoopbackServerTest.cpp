#include "support/CertificateBuilder.h"
#include "support/LoopbackServer.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <memory>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::test {
namespace {

using testing::HasSubstr;
using Reply = LoopbackServer::Reply;
using Request = LoopbackServer::Request;

/// A client that sends and sees bytes.
class Client {
public:
    explicit Client(std::uint16_t port, const char* host = "127.0.0.1") {
        if (std::string(host) == "::1") {
            sockaddr_in6 address{};
            address.sin6_family = AF_INET6;
            address.sin6_port = htons(port);
            address.sin6_addr = in6addr_loopback;
            connectTo(AF_INET6, address);
        } else {
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_port = htons(port);
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            connectTo(AF_INET, address);
        }
    }
    ~Client() { ::close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    int error() const { return error_; }
    void send(const std::string& bytes) const {
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
                  ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }
    std::string receive(std::size_t count) {
        std::string bytes(count, '\0');
        const ssize_t got = ::recv(socket_, bytes.data(), count, MSG_WAITALL);
        error_ = got < 0 ? errno : 0;
        bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return bytes;
    }
    std::string receiveAll() {
        std::string all;
        for (std::string block = receive(1); !block.empty(); block = receive(1)) {
            all += block;
        }
        return all;
    }

private:
    template <typename Address>
    void connectTo(int family, const Address& address) {
        socket_ = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            error_ = errno;
        }
    }

    int socket_ = -1;
    int error_ = 0;
};

const std::string GET = "GET /a HTTP/1.1\r\nHost: h\r\n\r\n";
const std::string OK = "HTTP/1.1 200 Scripted\r\nContent-Length: 2\r\n\r\nok";

LoopbackServer::Handler always(const Reply& reply) {
    return [reply](const Request&) { return reply; };
}

TEST(LoopbackServerTest, AnswersARequestAndRecordsIt) {
    LoopbackServer server(always(Reply::response(200, "ok")));
    Client client(server.port());
    client.send("GET /path?q=1 HTTP/1.1\r\nHost: here\r\nX-Twice: 1\r\nx-twice:  2 \r\n\r\n");
    EXPECT_EQ(OK, client.receive(OK.size()));

    ASSERT_TRUE(server.waitForRequests(1));
    const Request request = server.requests().at(0);
    EXPECT_EQ("GET", request.method);
    EXPECT_EQ("/path?q=1", request.target);
    EXPECT_EQ("HTTP/1.1", request.version);
    EXPECT_EQ("here", request.header("host"));
    EXPECT_EQ("1", request.header("X-TWICE"));
    EXPECT_EQ(2U, request.countHeaders("X-Twice"));
    EXPECT_EQ("2", request.headers.at(2).second);
    EXPECT_FALSE(request.hasHeader("X-None"));
    EXPECT_EQ("", request.header("X-None"));
    EXPECT_EQ(server.received(0), request.raw);
}

TEST(LoopbackServerTest, ReadsABodyByItsLength) {
    LoopbackServer server(always(Reply::response(200)));
    Client client(server.port());
    client.send("POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\n01234");
    client.send("56789");
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ("0123456789", server.requests().at(0).body);
}

TEST(LoopbackServerTest, ReadsAChunkedBodyWithTrailers) {
    LoopbackServer server(always(Reply::response(200)));
    Client client(server.port());
    client.send(
        "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nA\r\n0123456789\r\n3;x=y\r\nabc\r\n"
        "0\r\nTrailer: t\r\n\r\n");
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ("0123456789abc", server.requests().at(0).body);
    EXPECT_THAT(server.requests().at(0).raw, HasSubstr("Trailer: t"));
}

TEST(LoopbackServerTest, AsksForABodyThatIsAnnounced) {
    const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    LoopbackServer server(always(Reply::response(200, "ok")));
    Client client(server.port());
    client.send("PUT / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n");
    EXPECT_EQ(goOn, client.receive(goOn.size()));
    client.send("body");
    EXPECT_EQ(OK, client.receive(OK.size()));
    EXPECT_EQ("body", server.requests().at(0).body);
}

TEST(LoopbackServerTest, AnswersTheHeadInPlaceOfAskingForTheBody) {
    LoopbackServer::Options options;
    options.headHandler = [](const Request& request) -> std::optional<Reply> {
        return request.target == "/refused" ? std::optional<Reply>(Reply::response(401)) : std::nullopt;
    };
    LoopbackServer server(always(Reply::response(200, "ok")), options);
    {
        Client client(server.port());
        client.send("PUT /refused HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n");
        EXPECT_EQ("HTTP/1.1 401 Scripted\r\nContent-Length: 0\r\n\r\n", client.receiveAll());
        client.send("late");
    }
    ASSERT_TRUE(server.waitForEnded(1));
    EXPECT_THAT(server.received(0), testing::EndsWith("late"));
    EXPECT_TRUE(server.requests().empty());
    Client other(server.port());
    other.send(GET);
    EXPECT_EQ(OK, other.receive(OK.size()));
}

TEST(LoopbackServerTest, KeepsAConnectionForSeveralRequests) {
    LoopbackServer server(LoopbackServer::sequence({Reply::response(200, "ok"), Reply::response(404)}));
    Client client(server.port());
    client.send(GET + GET + GET);
    EXPECT_EQ(OK, client.receive(OK.size()));
    const std::string notFound = "HTTP/1.1 404 Scripted\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(notFound + notFound, client.receive(2 * notFound.size()));
    EXPECT_EQ(1U, server.connections());
    EXPECT_EQ(3U, server.requests().size());
    EXPECT_EQ(GET + GET + GET, server.received());
}

TEST(LoopbackServerTest, SendsTheSecondPieceOnlyAfterTheGateHasBeenOpened) {
    auto gate = std::make_shared<LoopbackServer::Gate>();
    Reply reply = Reply::bytes("first");
    reply.thenWaitFor(gate).thenBytes("second").thenClose();
    LoopbackServer server(always(reply));
    Client client(server.port());
    client.send(GET);
    EXPECT_EQ("first", client.receive(5));
    ASSERT_TRUE(gate->waitUntilReached());
    Client other(server.port());  // the server goes on accepting meanwhile
    ASSERT_TRUE(server.waitForConnections(2));
    EXPECT_FALSE(server.waitForEnded(1, std::chrono::milliseconds(20)));
    gate->open();
    EXPECT_EQ("second", client.receiveAll());
}

TEST(LoopbackServerTest, ClosesAtOnce) {
    LoopbackServer server(always(Reply::close()));
    Client client(server.port());
    client.send(GET);
    EXPECT_EQ("", client.receiveAll());
    EXPECT_EQ(0, client.error());
    EXPECT_TRUE(server.waitForEnded(1));
}

TEST(LoopbackServerTest, ClosesAfterSoManyBytes) {
    auto unreachable = std::make_shared<LoopbackServer::Gate>();
    Reply reply = Reply::bytes("01234");
    reply.thenBytes("56789").thenWaitFor(unreachable).closeAfter(7);
    LoopbackServer server(always(reply));
    Client client(server.port());
    client.send(GET);
    EXPECT_EQ("0123456", client.receiveAll());
}

TEST(LoopbackServerTest, ResetsAConnection) {
    Reply reply = Reply::bytes("x");
    LoopbackServer server(always(reply.thenReset()));
    Client client(server.port());
    client.send(GET);
    client.receiveAll();
    EXPECT_EQ(ECONNRESET, client.error());
}

TEST(LoopbackServerTest, NeverAnswersAndStillEnds) {
    auto server = std::make_unique<LoopbackServer>(always(Reply::silence()));
    Client client(server->port());
    client.send(GET);
    ASSERT_TRUE(server->waitForRequests(1));
    EXPECT_FALSE(server->waitForEnded(1, std::chrono::milliseconds(20)));
    server.reset();
    EXPECT_EQ("", client.receiveAll());
}

TEST(LoopbackServerTest, EndsWhileAReplyWaitsAtAClosedGate) {
    auto gate = std::make_shared<LoopbackServer::Gate>();
    Reply reply;
    auto server = std::make_unique<LoopbackServer>(always(reply.thenWaitFor(gate)));
    Client client(server->port());
    client.send(GET);
    ASSERT_TRUE(gate->waitUntilReached());
    server.reset();
    EXPECT_EQ("", client.receiveAll());
}

TEST(LoopbackServerTest, EndsWithIdleAndHalfReadConnections) {
    LoopbackServer server(always(Reply::response(200)));
    Client idle(server.port());
    Client half(server.port());
    half.send("GET / HT");
    EXPECT_TRUE(server.waitForConnections(2));
}

TEST(LoopbackServerTest, ClosesInTheMiddleOfWhatIsReceived) {
    LoopbackServer::Options options;
    options.closeAfterReceiving = 10;
    LoopbackServer server(always(Reply::response(200)), options);
    Client client(server.port());
    client.send(GET);
    client.receiveAll();
    ASSERT_TRUE(server.waitForEnded(1));
    EXPECT_EQ(GET.substr(0, 10), server.received(0));
    EXPECT_TRUE(server.requests().empty());
}

TEST(LoopbackServerTest, RecordsWhatIsNoRequestAndCloses) {
    LoopbackServer server(always(Reply::response(200)));
    Client client(server.port());
    client.send("\x16\x03\x01\r\n\r\n");
    client.receiveAll();
    ASSERT_TRUE(server.waitForEnded(1));
    EXPECT_EQ("\x16\x03\x01\r\n\r\n", server.received(0));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ("", server.received(7));
}

TEST(LoopbackServerTest, ClosesWhenTheHandlerThrows) {
    LoopbackServer server([](const Request&) -> Reply { throw std::runtime_error("no"); });
    Client client(server.port());
    client.send(GET);
    EXPECT_EQ("", client.receiveAll());
}

TEST(LoopbackServerTest, ListensOnBothFamiliesOnOnePort) {
    LoopbackServer::Options options;
    options.ipv6 = true;
    LoopbackServer server(always(Reply::response(200, "ok")), options);
    if (!server.listensOnIpv6()) {
        GTEST_SKIP() << "this machine has no IPv6 loopback";
    }
    Client six(server.port(), "::1");
    six.send(GET);
    EXPECT_EQ(OK, six.receive(OK.size()));
    Client four(server.port());
    four.send(GET);
    EXPECT_EQ(OK, four.receive(OK.size()));
}

TEST(LoopbackServerTest, WaitingForWhatDoesNotComeEndsWithTheTimeOut) {
    LoopbackServer server(always(Reply::response(200)));
    EXPECT_FALSE(server.waitForRequests(1, std::chrono::milliseconds(1)));
    EXPECT_FALSE(server.waitForConnections(1, std::chrono::milliseconds(1)));
}

TEST(LoopbackServerTest, PlaysAProxyForARequestInsideItsTunnel) {
    LoopbackServer proxy([](const Request& request) {
        return request.method == "CONNECT" ? Reply::bytes("HTTP/1.1 200 OK\r\n\r\n")
                                           : Reply::response(200, "ok");
    });
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, "http://origin.test/inside");
    curl_easy_setopt(curl, CURLOPT_PROXY, proxy.url("").c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPPROXYTUNNEL, 1L);
    curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION,
        +[](char*, std::size_t size, std::size_t count, void*) { return size * count; });
    EXPECT_EQ(CURLE_OK, curl_easy_perform(curl));
    curl_easy_cleanup(curl);
    ASSERT_EQ(2U, proxy.requests().size());
    EXPECT_EQ("origin.test:80", proxy.requests().at(0).target);
    EXPECT_EQ("/inside", proxy.requests().at(1).target);
    EXPECT_EQ(1U, proxy.connections());
}

TEST(LoopbackServerTest, ManyConnectionsAtATimeEachGetTheirAnswer) {
    LoopbackServer server([](const Request& request) { return Reply::response(200, request.target); });
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 50; ++i) {
        clients.push_back(std::make_unique<Client>(server.port()));
        clients.back()->send("GET /" + std::to_string(100 + i) + " HTTP/1.1\r\n\r\n");
    }
    for (int i = 0; i < 50; ++i) {
        const std::string expected =
            "HTTP/1.1 200 Scripted\r\nContent-Length: 4\r\n\r\n/" + std::to_string(100 + i);
        EXPECT_EQ(expected, clients[static_cast<std::size_t>(i)]->receive(expected.size()));
    }
    EXPECT_EQ(50U, server.connections());
}

/// One request by libcurl, which takes any certificate; a CURLcode.
CURLcode getSecurely(CURL* curl, const std::string& url) {
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION,
        +[](char*, std::size_t size, std::size_t count, void*) { return size * count; });
    return curl_easy_perform(curl);
}

LoopbackServer::Options withTls() {
    const IssuedCertificate certificate = CertificateBuilder().commonName("localhost").build();
    LoopbackServer::Options options;
    options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
    return options;
}

TEST(LoopbackServerTest, SpeaksTlsWhenItHasACertificateAndResumesSessions) {
    LoopbackServer server(always(Reply::response(200, "ok")), withTls());
    CURL* const curl = curl_easy_init();
    EXPECT_EQ(CURLE_OK, getSecurely(curl, server.secureUrl("/within")));
    EXPECT_EQ(CURLE_OK, getSecurely(curl, server.secureUrl("/within", "127.0.0.1")));
    EXPECT_EQ(CURLE_OK, getSecurely(curl, server.secureUrl("/again")));
    curl_easy_cleanup(curl);
    ASSERT_EQ(3U, server.requests().size());
    EXPECT_EQ("/within", server.requests().at(0).target);
    EXPECT_EQ(3U, server.handshakes());
    EXPECT_EQ(1U, server.resumedHandshakes()) << "libcurl keeps sessions by the host's name";
    EXPECT_EQ(0U, server.received(0).find("GET /within")) << "the bytes within TLS";
}

TEST(LoopbackServerTest, AClientThatSpeaksNoTlsGetsNoAnswer) {
    LoopbackServer server(always(Reply::response(200, "ok")), withTls());
    Client client(server.port());
    client.send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(server.waitForEnded(1));
    EXPECT_EQ(0U, server.handshakes());
    EXPECT_TRUE(server.requests().empty());
}

TEST(LoopbackServerTest, ACertificateWithAnothersKeyIsNoServer) {
    LoopbackServer::Options options = withTls();
    options.tls->keyPem = CertificateBuilder().build().keyPem();
    EXPECT_THROW(LoopbackServer(always(Reply::close()), options), std::runtime_error);
}

TEST(RefusedPortTest, RefusesAsLongAsItLives) {
    const RefusedPort refused;
    EXPECT_EQ(ECONNREFUSED, Client(refused.port()).error());
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(refused.port()) + "/x", refused.url("/x"));
}

TEST(RefusedPortTest, KeepsItsPortFromOthers) {
    const RefusedPort first;
    const RefusedPort second;
    LoopbackServer server(always(Reply::close()));
    EXPECT_NE(first.port(), second.port());
    EXPECT_NE(first.port(), server.port());
}

}  // namespace
}  // namespace zeb::test
