#include "support/LoopbackDnsServer.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <sstream>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zeb::test {
namespace {

constexpr std::size_t HEADER_SIZE = 12;
constexpr unsigned int ANSWER_FLAGS = 0x8180;  // an answer, recursion desired and available
constexpr unsigned int TRUNCATED_FLAG = 0x0200;

std::string addressBytes(int family, const std::string& address) {
    std::array<char, sizeof(in6_addr)> bytes{};
    if (inet_pton(family, address.c_str(), bytes.data()) != 1) {
        throw std::invalid_argument(address);
    }
    return {bytes.data(), family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr)};
}

unsigned int number16(const std::string& message, std::size_t at) {
    return static_cast<unsigned int>(static_cast<unsigned char>(message.at(at))) << 8U |
           static_cast<unsigned char>(message.at(at + 1));
}

DnsQuestion readQuestion(const std::string& message, bool overTcp) {
    DnsQuestion question;
    std::size_t at = HEADER_SIZE;
    while (const auto length = static_cast<unsigned char>(message.at(at))) {
        question.name += (question.name.empty() ? "" : ".") + message.substr(at + 1, length);
        at += length + 1U;
    }
    question.type = number16(message, at + 1);
    question.overTcp = overTcp;
    question.raw = message;
    return question;
}

int check(int answer, const char* what) {
    if (answer < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return answer;
}

int boundSocket(int type, std::uint16_t port) {
    const int socket = check(::socket(AF_INET, type | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

std::uint16_t portOf(int socket) {
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    check(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
    return ntohs(address.sin_port);
}

}  // namespace

// --- DnsAnswer --------------------------------------------------------------------------------------------

DnsAnswer::DnsAnswer(const DnsQuestion& question)
    : question_(question.raw), owner_(wireName(question.name)), flags_(ANSWER_FLAGS) {}

DnsAnswer& DnsAnswer::code(unsigned int rcode) {
    flags_ |= rcode;
    return *this;
}

DnsAnswer& DnsAnswer::truncated() {
    flags_ |= TRUNCATED_FLAG;
    return *this;
}

DnsAnswer& DnsAnswer::owner(const std::string& name) {
    owner_ = wireName(name);
    return *this;
}

DnsAnswer& DnsAnswer::a(const std::string& address, std::uint32_t ttl) {
    return record(DnsQuestion::A, addressBytes(AF_INET, address), ttl);
}

DnsAnswer& DnsAnswer::aaaa(const std::string& address, std::uint32_t ttl) {
    return record(DnsQuestion::AAAA, addressBytes(AF_INET6, address), ttl);
}

DnsAnswer& DnsAnswer::cname(const std::string& target, std::uint32_t ttl) {
    return record(DnsQuestion::CNAME, wireName(target), ttl);
}

DnsAnswer& DnsAnswer::srv(unsigned int priority, unsigned int weight, unsigned int port,
                          const std::string& target, std::uint32_t ttl) {
    return record(DnsQuestion::SRV, wire16(priority) + wire16(weight) + wire16(port) + wireName(target), ttl);
}

DnsAnswer& DnsAnswer::record(unsigned int type, const std::string& data, std::uint32_t ttl,
                             std::optional<std::size_t> claimedLength) {
    records_ += owner_ + wire16(type) + wire16(1) + wire16(ttl >> 16U) + wire16(ttl & 0xffffU) +
                wire16(static_cast<unsigned int>(claimedLength.value_or(data.size()))) + data;
    ++count_;
    return *this;
}

std::string DnsAnswer::bytes(std::optional<unsigned int> counted) const {
    return question_.substr(0, 2) + wire16(flags_) + wire16(1) + wire16(counted.value_or(count_)) +
           wire16(0) + wire16(0) + question_.substr(HEADER_SIZE) + records_;
}

std::string DnsAnswer::wireName(const std::string& name) {
    std::string wire;
    std::istringstream labels(name);
    for (std::string label; std::getline(labels, label, '.');) {
        wire += static_cast<char>(label.size()) + label;
    }
    return wire + '\0';
}

std::string DnsAnswer::wire16(unsigned int number) {
    return {static_cast<char>(number >> 8U & 0xffU), static_cast<char>(number & 0xffU)};
}

// --- LoopbackDnsServer ------------------------------------------------------------------------------------

struct LoopbackDnsServer::State {
    Handler handler;
    int udp = -1;
    int tcp = -1;
    int end = -1;  ///< readable when the server is to end
    std::uint16_t port = 0;
    std::thread thread;
    mutable std::mutex mutex;  ///< guards questions
    std::vector<DnsQuestion> questions;
};

LoopbackDnsServer::LoopbackDnsServer(Handler handler) : state_(std::make_unique<State>()) {
    state_->handler = std::move(handler);
    // The same port is wanted twice: another one if the second is somebody else's.
    while (state_->tcp < 0) {
        if (state_->udp >= 0) {
            ::close(state_->udp);
        }
        state_->udp = check(boundSocket(SOCK_DGRAM, 0), "bind");
        state_->port = portOf(state_->udp);
        state_->tcp = boundSocket(SOCK_STREAM, state_->port);
    }
    check(::listen(state_->tcp, SOMAXCONN), "listen");
    state_->end = check(::eventfd(0, EFD_CLOEXEC), "eventfd");
    state_->thread = std::thread([this] { serve(); });
}

LoopbackDnsServer::~LoopbackDnsServer() {
    ::eventfd_write(state_->end, 1);
    state_->thread.join();
    ::close(state_->udp);
    ::close(state_->tcp);
    ::close(state_->end);
}

std::string LoopbackDnsServer::authority() const {
    return "127.0.0.1:" + std::to_string(state_->port);
}

std::vector<DnsQuestion> LoopbackDnsServer::questions() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->questions;
}

void LoopbackDnsServer::serve() {
    std::array<pollfd, 3> sockets = {
        {{state_->udp, POLLIN, 0}, {state_->tcp, POLLIN, 0}, {state_->end, POLLIN, 0}}};
    while (::poll(sockets.data(), sockets.size(), -1) >= 0 || errno == EINTR) {
        if (sockets[2].revents != 0) {
            return;
        }
        if (sockets[0].revents != 0) {
            serveUdp();
        }
        if (sockets[1].revents != 0) {
            serveTcp();
        }
    }
}

std::optional<std::string> LoopbackDnsServer::answerTo(const std::string& message, bool overTcp) {
    const DnsQuestion question = readQuestion(message, overTcp);
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->questions.push_back(question);
    }
    return state_->handler(question);
}

void LoopbackDnsServer::serveUdp() {
    std::array<char, 4096> buffer{};
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    auto* const address = reinterpret_cast<sockaddr*>(&from);
    const ssize_t size = ::recvfrom(state_->udp, buffer.data(), buffer.size(), 0, address, &length);
    if (size < static_cast<ssize_t>(HEADER_SIZE)) {
        return;
    }
    if (const auto answer = answerTo({buffer.data(), static_cast<std::size_t>(size)}, false)) {
        ::sendto(state_->udp, answer->data(), answer->size(), 0, address, length);
    }
}

/// One question per connection, which ends then.
void LoopbackDnsServer::serveTcp() {
    const int connection = ::accept4(state_->tcp, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
        return;
    }
    const timeval patience{5, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    std::string head(2, '\0');
    if (::recv(connection, head.data(), head.size(), MSG_WAITALL) == 2) {
        std::string message(number16(head, 0), '\0');
        const ssize_t size = ::recv(connection, message.data(), message.size(), MSG_WAITALL);
        if (size == static_cast<ssize_t>(message.size()) && message.size() >= HEADER_SIZE) {
            if (const auto answer = answerTo(message, true)) {
                const std::string reply =
                    DnsAnswer::wire16(static_cast<unsigned int>(answer->size())) + *answer;
                ::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
            }
        }
    }
    ::close(connection);
}

}  // namespace zeb::test
