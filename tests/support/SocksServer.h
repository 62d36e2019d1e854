#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zeb::test {

/// A SOCKS proxy on 127.0.0.1 (versions 4, 4A and 5, RFC 1928 and 1929) that shows what it was asked for,
/// byte by byte, and leads every connection to one server of the test's, whatever was asked for.
///
///     LoopbackServer server(...);
///     SocksServer proxy(server.port());
///     ... get("http://inside.invalid/", through proxy.authority()) ...
///     EXPECT_EQ(proxy.requests().at(0).host, "inside.invalid");
///
/// Each connection has a thread of its own; the end of the server ends them all.
class SocksServer {
public:
    /// One complete request for a connection.
    struct Request {
        int version = 0;      ///< 4 or 5
        bool byName = false;  ///< the proxy was left to resolve the name
        std::string host;     ///< the name or the address, as text
        std::uint16_t port = 0;
        std::string user;
        std::string password;  ///< of version 5
        std::string raw;       ///< every byte of the negotiation
    };

    struct Options {
        bool refuse = false;        ///< answers each request with a refusal
        bool wantPassword = false;  ///< version 5: takes whatever password there is, but wants one
    };

    /// Listens when it returns. Throws std::system_error if the machine gives no port.
    explicit SocksServer(std::uint16_t target);
    SocksServer(std::uint16_t target, Options options);
    ~SocksServer();
    SocksServer(const SocksServer&) = delete;
    SocksServer& operator=(const SocksServer&) = delete;

    /// "127.0.0.1:port"
    std::string authority() const;
    /// The requests so far.
    std::vector<Request> requests() const;

private:
    struct State;
    const std::unique_ptr<State> state_;
};

}  // namespace zeb::test
