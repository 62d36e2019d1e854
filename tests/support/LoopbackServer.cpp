#include "support/LoopbackServer.h"

#include "support/Sockets.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

namespace zeb::test {

namespace {

bool sameName(const std::string& left, const std::string& right) {
    return ::strcasecmp(left.c_str(), right.c_str()) == 0;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

using TlsContext = std::shared_ptr<SSL_CTX>;
using TlsSession = std::unique_ptr<SSL, decltype(&SSL_free)>;

std::shared_ptr<BIO> memoryBio(const std::string& text) {
    return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), &BIO_free};
}

/// Throws if OpenSSL refuses the certificate or the key.
TlsContext makeTlsContext(const LoopbackServer::Tls& tls) {
    const TlsContext context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
    // So that a server can present what no server should: SHA-1 and short keys.
    SSL_CTX_set_security_level(context.get(), 0);
    const std::shared_ptr<BIO> certificates = memoryBio(tls.chainPem);
    const auto next = [&certificates] {
        return std::shared_ptr<X509>(PEM_read_bio_X509(certificates.get(), nullptr, nullptr, nullptr),
                                     &X509_free);
    };
    bool fine = SSL_CTX_use_certificate(context.get(), next().get()) == 1;
    while (const std::shared_ptr<X509> further = next()) {
        fine = fine && SSL_CTX_add1_chain_cert(context.get(), further.get()) == 1;
    }
    const std::shared_ptr<EVP_PKEY> key(
        PEM_read_bio_PrivateKey(memoryBio(tls.keyPem).get(), nullptr, nullptr, nullptr), &EVP_PKEY_free);
    if (!fine || SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1) {
        throw std::runtime_error("no certificate and key for a TLS server");
    }
    ERR_clear_error();  // the end of the file is one to OpenSSL
    return context;
}

/// The end of a connection: of the peer's making, of the server's, or because of malformed bytes.
struct ConnectionEnded {};

}  // namespace

void LoopbackServer::Gate::open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    changed_.notify_all();
}

void LoopbackServer::Gate::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++reached_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
}

bool LoopbackServer::Gate::waitUntilReached(std::chrono::milliseconds timeout, std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return reached_ >= count; });
}

std::string LoopbackServer::Request::header(const std::string& name) const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [&name](const auto& header) { return sameName(header.first, name); });
    return found == headers.end() ? "" : found->second;
}

bool LoopbackServer::Request::hasHeader(const std::string& name) const {
    return countHeaders(name) != 0;
}

std::size_t LoopbackServer::Request::countHeaders(const std::string& name) const {
    return static_cast<std::size_t>(
        std::count_if(headers.begin(), headers.end(),
                      [&name](const auto& header) { return sameName(header.first, name); }));
}

LoopbackServer::Reply LoopbackServer::Reply::bytes(std::string raw) {
    return std::move(Reply().thenBytes(std::move(raw)));
}

LoopbackServer::Reply LoopbackServer::Reply::response(int status, const std::string& body,
                                                      const Headers& headers) {
    std::ostringstream raw;
    raw << "HTTP/1.1 " << status << " Scripted\r\n";
    for (const auto& [name, value] : headers) {
        raw << name << ": " << value << "\r\n";
    }
    raw << "Content-Length: " << body.size() << "\r\n\r\n" << body;
    return bytes(raw.str());
}

LoopbackServer::Reply LoopbackServer::Reply::close() {
    return std::move(Reply().thenClose());
}

LoopbackServer::Reply LoopbackServer::Reply::silence() {
    Reply reply;
    reply.end_ = End::SILENCE;
    return reply;
}

LoopbackServer::Reply& LoopbackServer::Reply::thenBytes(std::string raw) {
    pieces_.emplace_back(std::move(raw));
    return *this;
}

LoopbackServer::Reply& LoopbackServer::Reply::thenWaitFor(std::shared_ptr<Gate> gate) {
    pieces_.emplace_back(std::move(gate));
    return *this;
}

LoopbackServer::Reply& LoopbackServer::Reply::thenClose() {
    end_ = End::CLOSE;
    return *this;
}

LoopbackServer::Reply& LoopbackServer::Reply::thenReset() {
    end_ = End::RESET;
    return *this;
}

LoopbackServer::Reply& LoopbackServer::Reply::closeAfter(std::size_t count) {
    limit_ = count;
    return thenClose();
}

struct LoopbackServer::State {
    State(Handler requestHandler, Options serverOptions)
        : handler(std::move(requestHandler)),
          options(std::move(serverOptions)),
          tls(options.tls ? makeTlsContext(*options.tls) : nullptr) {}

    const Handler handler;
    const Options options;
    const TlsContext tls;  ///< null without TLS
    std::vector<Descriptor> listeners;
    Descriptor wakeUp;  ///< readable once the server stops
    std::uint16_t port = 0;
    std::thread acceptor;

    mutable std::mutex mutex;  ///< guards what follows, and every connection's fields that say so
    mutable std::condition_variable changed;
    bool stopping = false;
    std::list<Connection> connections;
    std::vector<Request> requests;
    std::size_t ended = 0;
    std::size_t handshakes = 0;
    std::size_t resumedHandshakes = 0;

    void listen();

    template <typename Predicate>
    bool waitFor(std::chrono::milliseconds timeout, Predicate predicate) const {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, predicate);
    }
};

/// One accepted connection. Its thread alone reads and writes the socket; the server's end shuts it down.
struct LoopbackServer::Connection {
    Connection(State& serverState, std::size_t connectionNumber, Descriptor connected)
        : state(serverState), number(connectionNumber), socket(std::move(connected)) {}

    State& state;
    const std::size_t number;
    Descriptor socket;  ///< closed under the state's mutex
    TlsSession tls{nullptr, &SSL_free};
    std::shared_ptr<Gate> gate;  ///< the gate that the reply waits at; under the state's mutex
    std::string received;        ///< every byte; written under the state's mutex
    std::thread thread;
    std::string unread;     ///< received and not yet taken
    std::string rawOfNext;  ///< taken for the request that is being read

    void shakeHands();
    ssize_t receive(char* bytes, std::size_t count);
    void receiveMore();
    std::string take(std::size_t count);
    std::string takeLine();
    Request readHead();
    void readBody(Request& request);
    std::string readChunks();
    void send(std::string_view bytes);
    void waitAt(const std::shared_ptr<Gate>& atGate);
    void play(const Reply& reply);
    [[noreturn]] void playEarly(const Reply& reply);
    void endAs(Reply::End end);
    void finish();
};

void LoopbackServer::Connection::shakeHands() {
    if (state.tls == nullptr) {
        return;
    }
    // OpenSSL writes without MSG_NOSIGNAL: this thread alone is to live with it.
    sigset_t brokenPipe{};
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    const int on = 1;  // a handshake's small records must not wait for each other's acknowledgement
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    tls.reset(SSL_new(state.tls.get()));
    SSL_set_fd(tls.get(), socket.get());
    if (SSL_accept(tls.get()) != 1) {
        throw ConnectionEnded();
    }
    const std::lock_guard<std::mutex> lock(state.mutex);
    ++state.handshakes;
    state.resumedHandshakes += SSL_session_reused(tls.get()) == 1 ? 1 : 0;
    state.changed.notify_all();
}

ssize_t LoopbackServer::Connection::receive(char* bytes, std::size_t count) {
    return tls == nullptr ? ::recv(socket.get(), bytes, count, 0)
                          : SSL_read(tls.get(), bytes, static_cast<int>(count));
}

void LoopbackServer::Connection::receiveMore() {
    std::array<char, 16384> block{};
    const std::size_t limit = state.options.closeAfterReceiving.value_or(std::string::npos);
    const std::size_t room = std::min(block.size(), limit - received.size());
    const ssize_t count = room == 0 ? 0 : receive(block.data(), room);
    if (count <= 0) {
        throw ConnectionEnded();
    }
    const auto size = static_cast<std::size_t>(count);
    unread.append(block.data(), size);
    const std::lock_guard<std::mutex> lock(state.mutex);
    received.append(block.data(), size);
    state.changed.notify_all();
}

std::string LoopbackServer::Connection::take(std::size_t count) {
    while (unread.size() < count) {
        receiveMore();
    }
    std::string taken = unread.substr(0, count);
    unread.erase(0, count);
    rawOfNext += taken;
    return taken;
}

/// A line without its line break.
std::string LoopbackServer::Connection::takeLine() {
    std::size_t searched = 0;
    std::size_t end = std::string::npos;
    while ((end = unread.find("\r\n", searched)) == std::string::npos) {
        searched = unread.empty() ? 0 : unread.size() - 1;
        receiveMore();
    }
    std::string line = take(end + 2);
    line.resize(end);
    return line;
}

LoopbackServer::Request LoopbackServer::Connection::readHead() {
    Request request;
    request.connection = number;
    rawOfNext.clear();
    std::istringstream first(takeLine());
    if (!(first >> request.method >> request.target >> request.version)) {
        throw ConnectionEnded();
    }
    for (std::string line = takeLine(); !line.empty(); line = takeLine()) {
        const auto colon = line.find(':');
        if (colon == std::string::npos) {
            throw ConnectionEnded();
        }
        request.headers.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
    }
    request.raw = rawOfNext;
    return request;
}

void LoopbackServer::Connection::readBody(Request& request) {
    if (sameName(request.header("Expect"), "100-continue")) {
        send("HTTP/1.1 100 Continue\r\n\r\n");
    }
    if (sameName(request.header("Transfer-Encoding"), "chunked")) {
        request.body = readChunks();
    } else if (request.hasHeader("Content-Length")) {
        request.body = take(std::stoul(request.header("Content-Length")));
    }
    request.raw = rawOfNext;
}

std::string LoopbackServer::Connection::readChunks() {
    std::string body;
    while (const std::size_t size = std::stoul(takeLine(), nullptr, 16)) {
        body += take(size);
        takeLine();
    }
    while (!takeLine().empty()) {
        // trailers are part of the raw request only
    }
    return body;
}

void LoopbackServer::Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = tls == nullptr
                                  ? ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                  : SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size()));
        if (count < 0 || (count == 0 && tls != nullptr)) {
            throw ConnectionEnded();
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void LoopbackServer::Connection::waitAt(const std::shared_ptr<Gate>& atGate) {
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        if (state.stopping) {
            throw ConnectionEnded();
        }
        gate = atGate;
    }
    atGate->wait();
    const std::lock_guard<std::mutex> lock(state.mutex);
    gate.reset();
}

void LoopbackServer::Connection::play(const Reply& reply) {
    std::size_t left = reply.limit_.value_or(std::string::npos);
    for (const auto& piece : reply.pieces_) {
        if (left == 0) {
            break;
        }
        if (const auto* const atGate = std::get_if<std::shared_ptr<Gate>>(&piece)) {
            waitAt(*atGate);
            continue;
        }
        const std::string_view bytes = std::string_view(std::get<std::string>(piece)).substr(0, left);
        send(bytes);
        left -= bytes.size();
    }
    endAs(reply.end_);
}

void LoopbackServer::Connection::playEarly(const Reply& reply) {
    play(reply);
    // To close with bytes unread would reset the connection, and the client might lose the answer.
    ::shutdown(socket.get(), SHUT_WR);
    for (;;) {
        receiveMore();
    }
}

void LoopbackServer::Connection::endAs(Reply::End end) {
    switch (end) {
        case Reply::End::KEEP_ALIVE:
            return;
        case Reply::End::SILENCE:
            for (;;) {
                receiveMore();  // until the peer goes or the server shuts the socket down
            }
        case Reply::End::RESET: {
            const linger atOnce{1, 0};
            ::setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            break;
        }
        case Reply::End::CLOSE:
            if (tls != nullptr) {
                SSL_shutdown(tls.get());
            }
            break;
    }
    throw ConnectionEnded();
}

void LoopbackServer::Connection::finish() {
    tls.reset();
    const std::lock_guard<std::mutex> lock(state.mutex);
    socket = Descriptor();
    gate.reset();
    ++state.ended;
    state.changed.notify_all();
}

void LoopbackServer::State::listen() {
    constexpr int ATTEMPTS = 20;  // the port that IPv4 got may be taken on IPv6
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        listeners.clear();
        listeners.push_back(boundSocket(AF_INET, 0));
        if (!listeners.back()) {
            throwErrno("bind");
        }
        port = portOf(listeners.back().get());
        if (options.ipv6) {
            if (Descriptor second = boundSocket(AF_INET6, port)) {
                listeners.push_back(std::move(second));
            } else if (errno == EADDRINUSE) {
                continue;
            }
        }
        break;
    }
    for (const Descriptor& listener : listeners) {
        if (::listen(listener.get(), SOMAXCONN) != 0) {
            throwErrno("listen");
        }
    }
    wakeUp = Descriptor(::eventfd(0, EFD_CLOEXEC));
    if (!wakeUp) {
        throwErrno("eventfd");
    }
}

LoopbackServer::LoopbackServer(Handler handler) : LoopbackServer(std::move(handler), Options()) {}

LoopbackServer::LoopbackServer(Handler handler, Options options)
    : state_(std::make_unique<State>(std::move(handler), std::move(options))) {
    state_->listen();
    state_->acceptor = std::thread([this] { acceptLoop(); });
}

LoopbackServer::~LoopbackServer() {
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stopping = true;
        for (Connection& connection : state_->connections) {
            ::shutdown(connection.socket.get(), SHUT_RDWR);
            if (connection.gate != nullptr) {
                connection.gate->open();
            }
        }
    }
    ::eventfd_write(state_->wakeUp.get(), 1);
    state_->acceptor.join();
    for (Connection& connection : state_->connections) {  // nobody adds one any more
        connection.thread.join();
    }
}

void LoopbackServer::acceptLoop() {
    std::vector<pollfd> watched{{state_->wakeUp.get(), POLLIN, 0}};
    for (const Descriptor& listener : state_->listeners) {
        watched.push_back({listener.get(), POLLIN, 0});
    }
    while (::poll(watched.data(), watched.size(), -1) >= 0 || errno == EINTR) {
        if (watched.front().revents != 0) {
            return;
        }
        for (auto listener = watched.begin() + 1; listener != watched.end(); ++listener) {
            if ((listener->revents & POLLIN) == 0) {
                continue;
            }
            Descriptor accepted(::accept4(listener->fd, nullptr, nullptr, SOCK_CLOEXEC));
            const std::lock_guard<std::mutex> lock(state_->mutex);
            if (!accepted || state_->stopping) {
                continue;
            }
            Connection& connection =
                state_->connections.emplace_back(*state_, state_->connections.size(), std::move(accepted));
            connection.thread = std::thread([this, &connection] { serve(connection); });
            state_->changed.notify_all();
        }
    }
}

void LoopbackServer::serve(Connection& connection) {
    try {
        connection.shakeHands();
        for (;;) {
            Request request = connection.readHead();
            if (state_->options.headHandler) {
                if (const std::optional<Reply> early = state_->options.headHandler(request)) {
                    connection.playEarly(*early);
                }
            }
            connection.readBody(request);
            {
                const std::lock_guard<std::mutex> lock(state_->mutex);
                state_->requests.push_back(request);
                state_->changed.notify_all();
            }
            connection.play(state_->handler(request));
        }
    } catch (const ConnectionEnded&) {  // the usual way out
    } catch (const std::exception&) {   // a handler's, or a number's that is none: see Handler
    }
    connection.finish();
}

LoopbackServer::Handler LoopbackServer::sequence(std::vector<Reply> replies) {
    auto next = std::make_shared<std::atomic<std::size_t>>(0);
    return [replies = std::move(replies), next](const Request&) {
        return replies.at(std::min(next->fetch_add(1), replies.size() - 1));
    };
}

std::uint16_t LoopbackServer::port() const {
    return state_->port;
}

bool LoopbackServer::listensOnIpv6() const {
    return state_->listeners.size() > 1;
}

std::string LoopbackServer::authority() const {
    return "127.0.0.1:" + std::to_string(port());
}

std::string LoopbackServer::url(const std::string& path) const {
    return "http://" + authority() + path;
}

std::string LoopbackServer::secureUrl(const std::string& path, const std::string& host) const {
    return "https://" + host + ":" + std::to_string(port()) + path;
}

std::size_t LoopbackServer::handshakes() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->handshakes;
}

std::size_t LoopbackServer::resumedHandshakes() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->resumedHandshakes;
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->requests;
}

std::size_t LoopbackServer::connections() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->connections.size();
}

std::string LoopbackServer::received(std::size_t connection) const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    for (const Connection& candidate : state_->connections) {
        if (candidate.number == connection) {
            return candidate.received;
        }
    }
    return "";
}

std::string LoopbackServer::received() const {
    std::string all;
    const std::lock_guard<std::mutex> lock(state_->mutex);
    for (const Connection& connection : state_->connections) {
        all += connection.received;
    }
    return all;
}

bool LoopbackServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
    return state_->waitFor(timeout, [&] { return state_->requests.size() >= count; });
}

bool LoopbackServer::waitForConnections(std::size_t count, std::chrono::milliseconds timeout) const {
    return state_->waitFor(timeout, [&] { return state_->connections.size() >= count; });
}

bool LoopbackServer::waitForEnded(std::size_t count, std::chrono::milliseconds timeout) const {
    return state_->waitFor(timeout, [&] { return state_->ended >= count; });
}

RefusedPort::RefusedPort() {
    // Bound and never listening: nobody else gets the port, and the kernel answers a connection with a reset.
    Descriptor bound = boundSocket(AF_INET, 0);
    if (!bound) {
        throwErrno("bind");
    }
    port_ = portOf(bound.get());
    socket_ = bound.release();
}

RefusedPort::~RefusedPort() {
    ::close(socket_);
}

std::string RefusedPort::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

}  // namespace zeb::test
