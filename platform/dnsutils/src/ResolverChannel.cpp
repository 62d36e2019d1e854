#include "ResolverChannel.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace zeb::dns {
namespace {

/// c-ares asks for it once per process before the first channel; what it makes is never released, since
/// threads may still ask while the process ends.
bool startLibrary() {
    static const bool started = ares_library_init(ARES_LIB_INIT_ALL) == ARES_SUCCESS;
    return started;
}

// c-ares would make the sockets itself, but doesn't tell why they failed.

ResolverChannel& channelOf(void* user) {
    return *static_cast<ResolverChannel*>(user);
}

/// Passes a system call's answer on, and notes its failure, if it is one.
template <typename Answer>
Answer noted(Answer answer, void* user) {
    const int error = errno;
    const bool failed = answer < 0 && error != EAGAIN && error != EINPROGRESS && error != EINTR;
    if (failed) {
        channelOf(user).noteFailure(error);
    }
    errno = error;
    return answer;
}

ares_socket_t openSocket(int domain, int type, int protocol, void* user) {
    // NOLINTNEXTLINE(hicpp-signed-bitwise): flags of the system
    return noted(::socket(domain, type | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol), user);
}

int closeSocket(ares_socket_t socket, void* /*user*/) {
    return ::close(socket);
}

int connectSocket(ares_socket_t socket, const sockaddr* address, ares_socklen_t length, void* user) {
    return noted(::connect(socket, address, length), user);
}

ares_ssize_t receive(ares_socket_t socket, void* buffer, std::size_t size, int flags, sockaddr* from,
                     ares_socklen_t* fromLength, void* user) {
    const ssize_t count = noted(::recvfrom(socket, buffer, size, flags, from, fromLength), user);
    if (count >= 0) {
        channelOf(user).noteAnswer();
    }
    return count;
}

/// Without the signal that writing to a connection closed by the server would send to the process.
ares_ssize_t send(ares_socket_t socket, const iovec* pieces, int count, void* user) {
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(pieces);
    message.msg_iovlen = static_cast<std::size_t>(count);
    return noted(::sendmsg(socket, &message, MSG_NOSIGNAL), user);
}

const ares_socket_functions SOCKET_FUNCTIONS = {openSocket, closeSocket, connectSocket, receive, send};

void watchSocket(void* user, ares_socket_t socket, int readable, int writable) {
    channelOf(user).watch(socket, readable != 0, writable != 0);
}

constexpr int ROUNDS = 2;

/// The wait for one server in the first round. c-ares doubles it in the second, so that with `count` servers
/// all waits take three times `count` that long: together just the time there is.
int firstWait(std::chrono::milliseconds timeout, std::size_t count) {
    constexpr std::size_t WAITS_PER_SERVER = 3;
    const auto waits = static_cast<std::chrono::milliseconds::rep>(WAITS_PER_SERVER * count);
    constexpr std::chrono::milliseconds::rep LONGEST = 1000000;
    return static_cast<int>(std::clamp(timeout.count() / waits, std::chrono::milliseconds::rep{1}, LONGEST));
}

bool isNoWay(int error) {
    return error == ENETUNREACH || error == EHOSTUNREACH || error == ENETDOWN || error == EHOSTDOWN ||
           error == EADDRNOTAVAIL || error == ENONET || error == EAFNOSUPPORT;
}

std::chrono::milliseconds toMilliseconds(const timeval& time) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::seconds(time.tv_sec) +
                                                        std::chrono::microseconds(time.tv_usec));
}

}  // namespace

ResolverChannel::ResolverChannel(const ResolverSettings& settings, Search search)
    : serverCount_(countServers(settings.servers)), deadline_(Clock::now() + settings.timeout) {
    if (!startLibrary()) {
        return;
    }
    ares_options options = optionsFor(settings);
    // NOLINTBEGIN(hicpp-signed-bitwise): flags of c-ares
    int mask = ARES_OPT_TIMEOUTMS | ARES_OPT_TRIES | ARES_OPT_SOCK_STATE_CB;
    if (search == Search::AS_IT_IS) {
        mask |= ARES_OPT_DOMAINS;  // none
    }
    std::string fileBeforeDns = "fb";
    if (systemAsksItsResolver()) {
        options.lookups = fileBeforeDns.data();
        mask |= ARES_OPT_LOOKUPS;
    }
    // NOLINTEND(hicpp-signed-bitwise)
    if (ares_init_options(&channel_, &options, mask) != ARES_SUCCESS) {
        channel_ = nullptr;
        return;
    }
    ares_set_socket_functions(channel_, &SOCKET_FUNCTIONS, this);
    if (!settings.servers.empty() &&
        ares_set_servers_ports_csv(channel_, settings.servers.c_str()) != ARES_SUCCESS) {
        ares_destroy(channel_);
        channel_ = nullptr;
    }
}

ResolverChannel::~ResolverChannel() {
    if (channel_ != nullptr) {
        ares_destroy(channel_);
    }
}

ares_options ResolverChannel::optionsFor(const ResolverSettings& settings) const {
    ares_options options{};
    options.timeout = firstWait(settings.timeout, std::max<std::size_t>(serverCount_, 1));
    options.tries = ROUNDS;
    options.sock_state_cb = watchSocket;
    options.sock_state_cb_data = const_cast<ResolverChannel*>(this);
    return options;
}

void ResolverChannel::watch(int socket, bool readable, bool writable) {
    // NOLINTNEXTLINE(hicpp-signed-bitwise): flags of the system
    const int events = (readable ? POLLIN : 0) | (writable ? POLLOUT : 0);
    if (events == 0) {
        sockets_.erase(socket);
    } else {
        sockets_[socket] = static_cast<short>(events);
    }
}

void ResolverChannel::noteFailure(int error) {
    (isNoWay(error) ? sawNoWay_ : sawFailure_) = true;
}

void ResolverChannel::run(const bool& done) {
    while (!done) {
        const auto left = deadline_ - Clock::now();
        if (left <= Clock::duration::zero()) {
            timeIsOver_ = true;
            ares_cancel(channel_);  // calls the callback
            return;
        }
        processOnce(left);
    }
}

/// Waits until a socket is ready, c-ares wants to be called, or the time is over; then lets c-ares work.
void ResolverChannel::processOnce(Clock::duration atMost) {
    std::vector<pollfd> ready;
    for (const auto& [socket, events] : sockets_) {
        ready.push_back({socket, events, 0});
    }
    timeval limit{};
    auto wait = std::chrono::ceil<std::chrono::milliseconds>(atMost);
    if (const timeval* const next = ares_timeout(channel_, nullptr, &limit)) {
        wait = std::min(wait, toMilliseconds(*next));
    }
    constexpr std::chrono::milliseconds LONGEST = std::chrono::hours(1);
    const int count = ::poll(ready.data(), ready.size(), static_cast<int>(std::min(wait, LONGEST).count()));
    if (count <= 0) {
        ares_process_fd(channel_, ARES_SOCKET_BAD, ARES_SOCKET_BAD);
        return;
    }
    for (const pollfd& socket : ready) {
        // NOLINTBEGIN(hicpp-signed-bitwise): flags of the system
        const bool readable = (socket.revents & (POLLIN | POLLERR | POLLHUP)) != 0;
        const bool writable = (socket.revents & POLLOUT) != 0;
        // NOLINTEND(hicpp-signed-bitwise)
        ares_process_fd(channel_, readable ? socket.fd : ARES_SOCKET_BAD,
                        writable ? socket.fd : ARES_SOCKET_BAD);
    }
}

/// No server is left to ask, and c-ares doesn't tell why. Where the system names none, c-ares takes it to
/// have one on this very machine; if nobody answers there, the system has none.
DnsQueryResult::Result ResolverChannel::resultWithoutServer() const {
    const bool hadNoWay = sawNoWay_ && !sawFailure_;
    return !sawAnswer_ && (hadNoWay || serverCount_ == 0) ? DnsQueryResult::NO_NETWORK
                                                          : DnsQueryResult::SERVER_FAILURE;
}

DnsQueryResult::Result ResolverChannel::resultOf(int status) const {
    switch (status) {
        case ARES_SUCCESS:
            return DnsQueryResult::SUCCESS;
        case ARES_ENODATA:
            return DnsQueryResult::NO_RECORDS;
        case ARES_ENOTFOUND:
            return DnsQueryResult::DOMAIN_DOES_NOT_EXIST;
        case ARES_EBADNAME:
            return DnsQueryResult::INVALID_NAME;
        case ARES_ETIMEOUT:
            return DnsQueryResult::TIME_OUT;
        case ARES_ECANCELLED:
            return timeIsOver_ ? DnsQueryResult::TIME_OUT : DnsQueryResult::FAILURE;
        case ARES_ECONNREFUSED:
            return resultWithoutServer();
        case ARES_EFORMERR:
        case ARES_ESERVFAIL:
        case ARES_ENOTIMP:
        case ARES_EREFUSED:
        case ARES_EBADRESP:
            return DnsQueryResult::SERVER_FAILURE;
        default:
            return DnsQueryResult::FAILURE;
    }
}

}  // namespace zeb::dns
