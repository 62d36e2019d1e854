#include "support/SocksServer.h"

#include "support/ConnectionServer.h"

#include <arpa/inet.h>
#include <array>
#include <mutex>
#include <string_view>
#include <sys/socket.h>

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

/// Reads one negotiation.
class Negotiation {
public:
    Negotiation(const Descriptor& socket, const SocksServer::Options& options)
        : socket_(socket), options_(options) {}

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
            send(std::string{0, refuse ? '\x5B' : '\x5A', 0, 0, 0, 0, 0, 0});
        } else {
            send(std::string{5, refuse ? '\x02' : '\x00', 0, 1, 0, 0, 0, 0, 0, 0});
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
            send("\x05\xFF");
            throw ConnectionEnded();
        }
        send(std::string{5, static_cast<char>(method)});
        if (method == USER_AND_PASSWORD) {
            byte();  // the version of this part
            request.user = take(byte());
            request.password = take(byte());
            send(std::string{1, 0});
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

    void send(std::string_view bytes) const {
        if (!sendAll(socket_, bytes)) {
            throw ConnectionEnded();
        }
    }
    std::string take(std::size_t count) {
        std::string bytes(count, '\0');
        std::size_t got = 0;
        while (got < count) {
            const ssize_t more = ::recv(socket_.get(), bytes.data() + got, count - got, 0);
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

    const Descriptor& socket_;
    const SocksServer::Options& options_;
    std::string raw_;
};

}  // namespace

struct SocksServer::State {
    State(std::uint16_t targetPort, Options serverOptions) : target(targetPort), options(serverOptions) {}

    void serve(const Descriptor& client) {
        try {
            Negotiation negotiation(client, options);
            const Request request = negotiation.read();
            {
                const std::lock_guard<std::mutex> lock(mutex);
                requests.push_back(request);
            }
            negotiation.answer(request);
            if (const Descriptor server = connectedSocket(target)) {
                connections.relay(client, server);
            }
        } catch (const ConnectionEnded&) {  // the usual way out
        }
    }

    const std::uint16_t target;
    const Options options;
    mutable std::mutex mutex;  ///< guards requests
    std::vector<Request> requests;
    ConnectionServer connections{[this](const Descriptor& client) { serve(client); }};
};

SocksServer::SocksServer(std::uint16_t target) : SocksServer(target, Options()) {}

SocksServer::SocksServer(std::uint16_t target, Options options)
    : state_(std::make_unique<State>(target, options)) {}

SocksServer::~SocksServer() = default;

std::string SocksServer::authority() const {
    return "127.0.0.1:" + std::to_string(state_->connections.port());
}

std::vector<SocksServer::Request> SocksServer::requests() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->requests;
}

}  // namespace zeb::test
