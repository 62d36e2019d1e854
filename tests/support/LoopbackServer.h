#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zeb::test {

/// An HTTP/1.1 server on 127.0.0.1 whose answers a test scripts byte by byte and whose every received byte it
/// can look at: for what must, and must not, go over the wire. It takes CONNECT like any other request, so it
/// also plays a proxy, with the requests inside the tunnel following on the same connection.
///
///     LoopbackServer server([](const LoopbackServer::Request& request) {
///         return LoopbackServer::Reply::response(200, "hello");
///     });
///     ... get(server.url("/greeting")) ...
///     EXPECT_EQ(server.requests().at(0).header("Host"), server.authority());
///
/// Each connection has a thread of its own; the end of the server ends them all, whatever they wait for.
class LoopbackServer {
public:
    static constexpr std::chrono::milliseconds PATIENCE{10000};

    /// Something a reply waits for: closed until the test opens it, then open for good.
    class Gate {
    public:
        void open();
        void wait();
        /// Returns as soon as so many replies have come as far as this gate, or with false after the
        /// time-out.
        bool waitUntilReached(std::chrono::milliseconds timeout = PATIENCE, std::size_t count = 1);

    private:
        std::mutex mutex_;  ///< guards open_ and reached_
        std::condition_variable changed_;
        bool open_ = false;
        std::size_t reached_ = 0;
    };

    /// One request, complete with its body.
    struct Request {
        std::size_t connection = 0;  ///< the number of its connection, from 0
        std::string method;
        std::string target;
        std::string version;
        std::vector<std::pair<std::string, std::string>> headers;  ///< in the order of the wire
        std::string body;                                          ///< without the chunked coding
        std::string raw;                                           ///< as it came over the wire

        /// The value of the first header of that name, in whatever case; "" when there is none.
        std::string header(const std::string& name) const;
        bool hasHeader(const std::string& name) const;
        std::size_t countHeaders(const std::string& name) const;
    };

    /// What goes back: pieces of bytes and gates, in order, and then the next request on the connection or
    /// its end.
    class Reply {
    public:
        using Headers = std::vector<std::pair<std::string, std::string>>;

        /// These bytes, whatever they are, and the connection stays open.
        static Reply bytes(std::string raw);
        /// A well-formed response with Content-Length.
        static Reply response(int status, const std::string& body = "", const Headers& headers = {});
        /// The connection ends at once.
        static Reply close();
        /// No answer ever; the connection stays open until the client or the server goes.
        static Reply silence();

        Reply& thenBytes(std::string raw);
        Reply& thenWaitFor(std::shared_ptr<Gate> gate);
        /// An orderly end of the connection behind the last piece.
        Reply& thenClose();
        /// The connection is reset behind the last piece.
        Reply& thenReset();
        /// Sends the first `count` bytes of the pieces and closes.
        Reply& closeAfter(std::size_t count);

    private:
        friend class LoopbackServer;
        enum class End { KEEP_ALIVE, CLOSE, RESET, SILENCE };

        std::vector<std::variant<std::string, std::shared_ptr<Gate>>> pieces_;
        std::optional<std::size_t> limit_;
        End end_ = End::KEEP_ALIVE;
    };

    /// Called on a connection's thread once a request has been read, so for several connections at a time.
    /// What it throws ends the connection.
    using Handler = std::function<Reply(const Request&)>;
    /// Called when the head of a request is there and its body not yet read. An answer takes the place of the
    /// handler's: the body isn't asked for (100 Continue), the request doesn't count as one, and the
    /// connection ends behind the answer. What the client sends on is recorded and dropped until it closes.
    using HeadHandler = std::function<std::optional<Reply>(const Request&)>;

    /// What a TLS server presents itself with.
    struct Tls {
        std::string chainPem;  ///< its certificate first
        std::string keyPem;
    };

    struct Options {
        bool ipv6 = false;        ///< listen on ::1 as well, on the same port, if the machine has it
        HeadHandler headHandler;  ///< may be empty
        /// Each connection ends when this many bytes have come in, in the middle of whatever they are.
        std::optional<std::size_t> closeAfterReceiving;
        /// TLS 1.2 and 1.3 from the first byte, sessions can be resumed; bytes are then those within TLS. A
        /// handshake that fails ends its connection.
        std::optional<Tls> tls = {};
    };

    /// Listens when it returns. Throws std::system_error if the machine gives no port.
    explicit LoopbackServer(Handler handler);
    LoopbackServer(Handler handler, Options options);
    /// Opens the gates that replies wait at, ends every connection and waits for the threads.
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// A handler that gives the first reply to the first request, and so on; the last one to all further.
    static Handler sequence(std::vector<Reply> replies);

    std::uint16_t port() const;
    bool listensOnIpv6() const;
    /// "127.0.0.1:port"
    std::string authority() const;
    /// "http://127.0.0.1:port" and the path
    std::string url(const std::string& path) const;
    /// "https://", a name of this machine, the port, and the path
    std::string secureUrl(const std::string& path, const std::string& host = "localhost") const;

    /// The complete requests so far, in the order in which they became complete.
    std::vector<Request> requests() const;
    /// Connections accepted so far.
    std::size_t connections() const;
    /// TLS handshakes that came to their end, and how many of them resumed a session.
    std::size_t handshakes() const;
    std::size_t resumedHandshakes() const;
    /// Every byte that came in on that connection, complete request or not; "" for one that isn't there.
    std::string received(std::size_t connection) const;
    /// The same of all connections, one behind the other.
    std::string received() const;

    // Each returns as soon as there are that many, or with false after the time-out.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout = PATIENCE) const;
    bool waitForConnections(std::size_t count, std::chrono::milliseconds timeout = PATIENCE) const;
    /// Connections that have ended, on whosever account.
    bool waitForEnded(std::size_t count, std::chrono::milliseconds timeout = PATIENCE) const;

private:
    struct Connection;
    struct State;

    void acceptLoop();
    void serve(Connection& connection);

    const std::unique_ptr<State> state_;
};

/// A port of 127.0.0.1 that refuses every connection for as long as the object lives.
class RefusedPort {
public:
    RefusedPort();
    ~RefusedPort();
    RefusedPort(const RefusedPort&) = delete;
    RefusedPort& operator=(const RefusedPort&) = delete;

    std::uint16_t port() const { return port_; }
    std::string url(const std::string& path) const;

private:
    int socket_;
    std::uint16_t port_;
};

}  // namespace zeb::test
