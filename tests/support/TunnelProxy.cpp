#include "support/TunnelProxy.h"

#include "support/ConnectionServer.h"

#include <array>
#include <atomic>
#include <mutex>
#include <sys/socket.h>
#include <utility>

namespace zeb::test {

namespace {

/// Up to its end; the client sends nothing behind it before it is answered. Empty when it doesn't come.
std::string readHead(const Descriptor& client) {
    std::string head;
    std::array<char, 1024> block{};
    while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::recv(client.get(), block.data(), block.size(), 0);
        if (count <= 0) {
            return {};
        }
        head.append(block.data(), static_cast<std::size_t>(count));
    }
    return head;
}

}  // namespace

struct TunnelProxy::State {
    State(std::uint16_t targetPort, std::string answerToGive, std::uint16_t plainTargetPort)
        : target(targetPort), answer(std::move(answerToGive)), plainTarget(plainTargetPort) {}

    void serve(const Descriptor& client) {
        const std::string head = readHead(client);
        if (head.compare(0, 8, "CONNECT ") == 0) {
            openTunnel(client, head);
        } else if (!head.empty() && plainTarget != 0) {
            const Descriptor server = connectedSocket(plainTarget);
            if (server && sendAll(server, head)) {
                connections.relay(client, server);
            }
        }
    }

    void openTunnel(const Descriptor& client, const std::string& head) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            heads.push_back(head);
        }
        const Descriptor server = connectedSocket(target);
        if (server && sendAll(client, answer)) {
            ++tunnels;
            connections.relay(client, server);
        }
    }

    const std::uint16_t target;
    const std::string answer;
    const std::uint16_t plainTarget;
    std::mutex mutex;  ///< guards heads
    std::vector<std::string> heads;
    std::atomic<std::size_t> tunnels{0};
    ConnectionServer connections{[this](const Descriptor& client) { serve(client); }};
};

TunnelProxy::TunnelProxy(std::uint16_t target, std::string answer, std::uint16_t plainTarget)
    : state_(std::make_unique<State>(target, std::move(answer), plainTarget)) {}

TunnelProxy::~TunnelProxy() = default;

std::string TunnelProxy::url() const {
    return "http://127.0.0.1:" + std::to_string(state_->connections.port());
}

std::size_t TunnelProxy::tunnels() const {
    return state_->tunnels;
}

std::vector<std::string> TunnelProxy::heads() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->heads;
}

}  // namespace zeb::test
