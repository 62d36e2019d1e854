#include "support/TunnelProxy.h"

#include "support/ConnectionServer.h"

#include <array>
#include <atomic>
#include <sys/socket.h>
#include <utility>

namespace zeb::test {

namespace {

/// The client sends nothing behind the head of a CONNECT before it is answered.
bool readHead(const Descriptor& client) {
    std::string head;
    std::array<char, 1024> block{};
    while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::recv(client.get(), block.data(), block.size(), 0);
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
        : target(targetPort), answer(std::move(answerToGive)) {}

    void serve(const Descriptor& client) {
        if (!readHead(client)) {
            return;
        }
        const Descriptor server = connectedSocket(target);
        if (server && sendAll(client, answer)) {
            ++tunnels;
            connections.relay(client, server);
        }
    }

    const std::uint16_t target;
    const std::string answer;
    std::atomic<std::size_t> tunnels{0};
    ConnectionServer connections{[this](const Descriptor& client) { serve(client); }};
};

TunnelProxy::TunnelProxy(std::uint16_t target, std::string answer)
    : state_(std::make_unique<State>(target, std::move(answer))) {}

TunnelProxy::~TunnelProxy() = default;

std::string TunnelProxy::url() const {
    return "http://127.0.0.1:" + std::to_string(state_->connections.port());
}

std::size_t TunnelProxy::tunnels() const {
    return state_->tunnels;
}

}  // namespace zeb::test
