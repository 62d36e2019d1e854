#include "support/Sockets.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace zeb::test {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

bool bindTo(int descriptor, int family, std::uint16_t port) {
    if (family == AF_INET) {
        const sockaddr_in address = loopback(port);
        return ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(port);
    const int on = 1;
    ::setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    return ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

Descriptor::~Descriptor() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

Descriptor boundSocket(int family, std::uint16_t port) {
    Descriptor descriptor(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor || !bindTo(descriptor.get(), family, port)) {
        return Descriptor();
    }
    return descriptor;
}

Descriptor listeningSocket(int backlog) {
    Descriptor descriptor = boundSocket(AF_INET, 0);
    if (!descriptor || ::listen(descriptor.get(), backlog) != 0) {
        throwErrno("listen");
    }
    return descriptor;
}

Descriptor connectedSocket(std::uint16_t port) {
    Descriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    if (!descriptor ||
        ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return Descriptor();
    }
    return descriptor;
}

std::uint16_t portOf(int descriptor) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throwErrno("getsockname");
    }
    return ntohs(address.sin_port);
}

}  // namespace zeb::test
