#pragma once

#include <cstdint>
#include <utility>

namespace zeb::test {

/// A file descriptor of our own.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor();
    int get() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_;
};

/// Throws std::system_error with errno.
[[noreturn]] void throwErrno(const char* what);

/// A non-blocking TCP socket, bound to that port (0: any) of the family's loopback address; none, with errno,
/// when it can't be.
Descriptor boundSocket(int family, std::uint16_t port);

/// The same, listening, on any port of 127.0.0.1. Throws std::system_error.
Descriptor listeningSocket(int backlog);

/// A blocking TCP socket, connected to that port of 127.0.0.1; none when nobody takes the connection.
Descriptor connectedSocket(std::uint16_t port);

std::uint16_t portOf(int descriptor);

}  // namespace zeb::test
