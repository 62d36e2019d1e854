#include "support/SocksServer.h"

#include "support/Sockets.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <list>
#include <mutex>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>

namespace zeb::test {

namespace {

constexpr unsigned char SOCKS_4 = 4;
constexpr unsigned char SOCKS_5 = 5;
constexpr unsigned char NO_AUTHENTICATION = 0;
constexpr unsigned char USER_AND_PASSWORD = 2;
constexpr unsigned char IPV4 = 1;
constexpr unsigned char NAME = 3;
constexpr unsigned char IPV6 = 4;

/// The end of a connection, whosever doing it is.
struct ConnectionEnded {};

void sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            throw ConnectionEnded();
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Passes on what there is. False at the end of the one direction.
bool pass(int from, int to) {
    std::array<char, 16384> block{};
    const ssize_t count = ::recv(from, block.data(), block.size(), 0);
    if (count <= 0) {
        return false;
    }
    sendAll(to, std::string_view(block.data(), static_cast<std::size_t>(count)));
    return true;
}

/// Reads one negotiation.
class Negotiation {
public:
    Negotiation(int socket, const SocksServer::Options& options) : socket_(socket), options_(options) {}

    /// The request, not yet answered.
    SocksServer::Request read() {
        SocksServer::Request request;
        request.version = byte();
        if (request.version == SOCKS_4) {
            readVersion4(request);
        } else if (request.version == SOCKS_5) {
            readVersion5(request);
        } else {
            throw ConnectionEnded();
        }
        request.raw = raw_;
        return request;
    }

    void answer(const SocksServer::Request& request) {
        const bool refuse = options_.refuse;
        if (request.version == SOCKS_4) {
            sendAll(socket_, std::string{0, refuse ? '\x5B' : '\x5A', 0, 0, 0, 0, 0, 0});
        } else {
            sendAll(socket_, std::string{5, refuse ? '\x02' : '\x00', 0, 1, 0, 0, 0, 0, 0, 0});
        }
        if (refuse) {
            throw ConnectionEnded();
        }
    }

private:
    void readVersion4(SocksServer::Request& request) {
        byte();  // the command
        request.port = number();
        const std::string address = take(4);
        request.user = takeUntilNul();
        // 0.0.0.x, x above 0, stands for a name behind the user: version 4A.
        request.byName = address.compare(0, 3, std::string(3, '\0')) == 0 && address[3] != 0;
        request.host = request.byName ? takeUntilNul() : text(AF_INET, address);
    }

    void readVersion5(SocksServer::Request& request) {
        const std::string methods = take(byte());
        const unsigned char method = options_.wantPassword ? USER_AND_PASSWORD : NO_AUTHENTICATION;
        if (methods.find(static_cast<char>(method)) == std::string::npos) {
            sendAll(socket_, "\x05\xFF");
            throw ConnectionEnded();
        }
        sendAll(socket_, std::string{5, static_cast<char>(method)});
        if (method == USER_AND_PASSWORD) {
            byte();  // the version of this part
            request.user = take(byte());
            request.password = take(byte());
            sendAll(socket_, std::string{1, 0});
        }
        take(3);  // version, command, nothing
        switch (byte()) {
            case IPV4:
                request.host = text(AF_INET, take(4));
                break;
            case IPV6:
                request.host = text(AF_INET6, take(16));
                break;
            case NAME:
                request.byName = true;
                request.host = take(byte());
                break;
            default:
                throw ConnectionEnded();
        }
        request.port = number();
    }

    std::string take(std::size_t count) {
        std::string bytes(count, '\0');
        std::size_t got = 0;
        while (got < count) {
            const ssize_t more = ::recv(socket_, bytes.data() + got, count - got, 0);
            if (more <= 0) {
                throw ConnectionEnded();
            }
            got += static_cast<std::size_t>(more);
        }
        raw_ += bytes;
        return bytes;
    }
    unsigned char byte() { return static_cast<unsigned char>(take(1)[0]); }
    std::uint16_t number() {
        const unsigned int high = byte();
        return static_cast<std::uint16_t>(high << 8U | byte());
    }
    std::string takeUntilNul() {
        std::string text;
        for (char c = take(1)[0]; c != 0; c = take(1)[0]) {
            text += c;
        }
        return text;
    }
    static std::string text(int family, const std::string& address) {
        std::array<char, INET6_ADDRSTRLEN> written{};
        ::inet_ntop(family, address.data(), written.data(), written.size());
        return written.data();
    }

    const int socket_;
    const SocksServer::Options& options_;
    std::string raw_;
};

}  // namespace

struct SocksServer::State {
    State(std::uint16_t targetPort, Options serverOptions)
        : target(targetPort),
          options(serverOptions),
          listener(listeningSocket(SOMAXCONN)),
          wakeUp(::eventfd(0, EFD_CLOEXEC)),
          port(portOf(listener.get())) {}

    const std::uint16_t target;
    const Options options;
    const Descriptor listener;
    const Descriptor wakeUp;  ///< readable once the server stops
    const std::uint16_t port;
    std::thread acceptor;
    std::list<std::thread> threads;  ///< the acceptor's alone, until it has ended

    mutable std::mutex mutex;  ///< guards requests
    std::vector<Request> requests;

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
        try {
            // A client that stops in the middle must not keep the server from ending.
            const timeval patience{10, 0};
            ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
            Negotiation negotiation(client.get(), options);
            const Request request = negotiation.read();
            {
                const std::lock_guard<std::mutex> lock(mutex);
                requests.push_back(request);
            }
            negotiation.answer(request);
            relay(client, connectedSocket(target));
        } catch (const ConnectionEnded&) {  // the usual way out
        }
    }

    void relay(const Descriptor& client, const Descriptor& server) const {
        while (server) {
            std::array<pollfd, 3> watched{
                {{wakeUp.get(), POLLIN, 0}, {client.get(), POLLIN, 0}, {server.get(), POLLIN, 0}}};
            if (::poll(watched.data(), watched.size(), -1) < 0 || watched[0].revents != 0) {
                return;
            }
            if ((watched[1].revents != 0 && !pass(client.get(), server.get())) ||
                (watched[2].revents != 0 && !pass(server.get(), client.get()))) {
                return;
            }
        }
    }
};

SocksServer::SocksServer(std::uint16_t target) : SocksServer(target, Options()) {}

SocksServer::SocksServer(std::uint16_t target, Options options)
    : state_(std::make_unique<State>(target, options)) {
    state_->acceptor = std::thread([this] { state_->acceptLoop(); });
}

SocksServer::~SocksServer() {
    ::eventfd_write(state_->wakeUp.get(), 1);
    state_->acceptor.join();
    for (std::thread& thread : state_->threads) {
        thread.join();
    }
}

std::string SocksServer::authority() const {
    return "127.0.0.1:" + std::to_string(state_->port);
}

std::vector<SocksServer::Request> SocksServer::requests() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->requests;
}

}  // namespace zeb::test
