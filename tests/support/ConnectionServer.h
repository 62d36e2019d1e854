#pragma once

#include "support/Sockets.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string_view>
#include <thread>

namespace zeb::test {

/// Listens on 127.0.0.1 and serves each connection on a thread of its own, until its end ends them all. Make
/// it the last of an owner's members: what serves uses the others.
class ConnectionServer {
public:
    /// The connection is closed when it returns.
    using Serve = std::function<void(const Descriptor& client)>;

    /// Listens when it returns. Throws std::system_error if the machine gives no port.
    explicit ConnectionServer(Serve serve);
    ~ConnectionServer();
    ConnectionServer(const ConnectionServer&) = delete;
    ConnectionServer& operator=(const ConnectionServer&) = delete;

    std::uint16_t port() const;
    /// Passes on what either side sends, until one of them ends or the server does.
    void relay(const Descriptor& client, const Descriptor& server) const;

private:
    void acceptLoop();

    const Serve serve_;
    const Descriptor listener_;
    const Descriptor wakeUp_;         ///< readable once the server stops
    std::list<std::thread> threads_;  ///< the acceptor's alone, until it has ended
    std::thread acceptor_;
};

/// False when the other side takes no more.
bool sendAll(const Descriptor& socket, std::string_view bytes);

}  // namespace zeb::test
