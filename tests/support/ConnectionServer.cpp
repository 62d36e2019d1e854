#include "support/ConnectionServer.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <utility>

namespace zeb::test {

namespace {

/// Passes on what there is. False at the end of the one direction.
bool pass(const Descriptor& from, const Descriptor& to) {
    std::array<char, 16384> block{};
    const ssize_t count = ::recv(from.get(), block.data(), block.size(), 0);
    return count > 0 && sendAll(to, std::string_view(block.data(), static_cast<std::size_t>(count)));
}

}  // namespace

ConnectionServer::ConnectionServer(Serve serve)
    : serve_(std::move(serve)),
      listener_(listeningSocket(SOMAXCONN)),
      wakeUp_(::eventfd(0, EFD_CLOEXEC)),
      acceptor_([this] { acceptLoop(); }) {}

ConnectionServer::~ConnectionServer() {
    ::eventfd_write(wakeUp_.get(), 1);
    acceptor_.join();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

std::uint16_t ConnectionServer::port() const {
    return portOf(listener_.get());
}

void ConnectionServer::relay(const Descriptor& client, const Descriptor& server) const {
    for (;;) {
        std::array<pollfd, 3> watched{
            {{wakeUp_.get(), POLLIN, 0}, {client.get(), POLLIN, 0}, {server.get(), POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), -1) < 0 || watched[0].revents != 0) {
            return;
        }
        if ((watched[1].revents != 0 && !pass(client, server)) ||
            (watched[2].revents != 0 && !pass(server, client))) {
            return;
        }
    }
}

void ConnectionServer::acceptLoop() {
    for (;;) {
        std::array<pollfd, 2> watched{{{wakeUp_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
            return;
        }
        if (watched[0].revents != 0) {
            return;
        }
        const int accepted = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted < 0) {
            continue;
        }
        // A client that stops in the middle must not keep the server from ending.
        const timeval patience{10, 0};
        ::setsockopt(accepted, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        threads_.emplace_back([this, accepted] { serve_(Descriptor(accepted)); });
    }
}

bool sendAll(const Descriptor& socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace zeb::test
