#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zeb::test {

/// An HTTP proxy on 127.0.0.1 that opens a tunnel for each CONNECT, to one server of the test's, whatever was
/// asked for, and says so in the words it was given. A connection that begins with any other request it leads
/// to another server, if there is one, as it stands.
///
/// Each connection has a thread of its own; the end of the proxy ends them all.
class TunnelProxy {
public:
    /// Listens when it returns. Throws std::system_error if the machine gives no port.
    explicit TunnelProxy(std::uint16_t target,
                         std::string answer = "HTTP/1.1 200 Connection established\r\n\r\n",
                         std::uint16_t plainTarget = 0);
    ~TunnelProxy();
    TunnelProxy(const TunnelProxy&) = delete;
    TunnelProxy& operator=(const TunnelProxy&) = delete;

    /// "http://127.0.0.1:port"
    std::string url() const;
    /// The tunnels opened so far.
    std::size_t tunnels() const;
    /// The head of each CONNECT so far, as it came over the wire.
    std::vector<std::string> heads() const;

private:
    struct State;
    const std::unique_ptr<State> state_;
};

}  // namespace zeb::test
