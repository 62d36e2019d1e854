#include "support/TunnelProxy.h"

#include "support/Sockets.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <list>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

namespace zeb::test {

namespace {

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Passes on what there is. False at the end of the one direction.
bool pass(int from, int to) {
    std::array<char, 16384> block{};
    const ssize_t count = ::recv(from, block.data(), block.size(), 0);
    return count > 0 && sendAll(to, std::string_view(block.data(), static_cast<std::size_t>(count)));
}

/// The client sends nothing behind the head of a CONNECT before it is answered.
bool readHead(int socket) {
    std::string head;
    std::array<char, 1024> block{};
    while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::recv(socket, block.data(), block.size(), 0);
        if (count <= 0) {
            return false;
        }
        head.append(block.data(), static_cast<std::size_t>(count));
    }
    return head.compare(0, 8, "CONNECT ") == 0;
}

}  // namespace

struct TunnelProxy::State {
    State(std::uint16_t targetPort, std::string answerToGive)
        : target(targetPort),
          answer(std::move(answerToGive)),
          listener(listeningSocket(SOMAXCONN)),
          wakeUp(::eventfd(0, EFD_CLOEXEC)),
          port(portOf(listener.get())) {}

    const std::uint16_t target;
    const std::string answer;
    const Descriptor listener;
    const Descriptor wakeUp;  ///< readable once the proxy stops
    const std::uint16_t port;
    std::atomic<std::size_t> tunnels{0};
    std::thread acceptor;
    std::list<std::thread> threads;  ///< the acceptor's alone, until it has ended

    void acceptLoop() {
        for (;;) {
            std::array<pollfd, 2> watched{{{wakeUp.get(), POLLIN, 0}, {listener.get(), POLLIN, 0}}};
            if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
                return;
            }
            if (watched[0].revents != 0) {
                return;
            }
            const int accepted = ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted >= 0) {
                threads.emplace_back([this, accepted] { serve(Descriptor(accepted)); });
            }
        }
    }

    void serve(const Descriptor& client) {
        // A client that stops in the middle must not keep the proxy from ending.
        const timeval patience{10, 0};
        ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (!readHead(client.get())) {
            return;
        }
        const Descriptor server = connectedSocket(target);
        if (server && sendAll(client.get(), answer)) {
            ++tunnels;
            relay(client.get(), server.get());
        }
    }

    void relay(int client, int server) const {
        for (;;) {
            std::array<pollfd, 3> watched{
                {{wakeUp.get(), POLLIN, 0}, {client, POLLIN, 0}, {server, POLLIN, 0}}};
            if (::poll(watched.data(), watched.size(), -1) < 0 || watched[0].revents != 0) {
                return;
            }
            if ((watched[1].revents != 0 && !pass(client, server)) ||
                (watched[2].revents != 0 && !pass(server, client))) {
                return;
            }
        }
    }
};

TunnelProxy::TunnelProxy(std::uint16_t target, std::string answer)
    : state_(std::make_unique<State>(target, std::move(answer))) {
    state_->acceptor = std::thread([this] { state_->acceptLoop(); });
}

TunnelProxy::~TunnelProxy() {
    ::eventfd_write(state_->wakeUp.get(), 1);
    state_->acceptor.join();
    for (std::thread& thread : state_->threads) {
        thread.join();
    }
}

std::string TunnelProxy::url() const {
    return "http://127.0.0.1:" + std::to_string(state_->port);
}

std::size_t TunnelProxy::tunnels() const {
    return state_->tunnels;
}

}  // namespace zeb::test
