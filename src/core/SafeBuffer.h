#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb {

struct SafeBufferImpl;

/// A growing byte buffer that is wiped whenever memory of it is released: at its end, and at each growth
/// (SafeAllocator). Unlike SecureString it holds its bytes in clear.
///
/// At most 0xFFFFFFFF bytes; beyond, std::length_error as from any container. No locks: one thread at a time.
class ZEBNETUTILS_EXPORT SafeBuffer {
public:
    SafeBuffer();

    /// Copies `size` bytes. Null gives an empty buffer.
    SafeBuffer(const char* bytes, unsigned long size);

    SafeBuffer(const SafeBuffer& other);

    /// Leaves `other` empty.
    SafeBuffer(SafeBuffer&& other) noexcept;

    ~SafeBuffer();

    SafeBuffer& operator=(SafeBuffer other);

    void push_back(char byte);
    void swap(SafeBuffer& other) noexcept;

    bool empty() const;

    /// Null when empty. Valid until the buffer changes.
    const char* data() const;

    unsigned long size() const;

    /// Copies as many bytes as `out` of `size` bytes can hold, and returns how many. Null out: 0.
    unsigned long copyToMemory(char* out, unsigned long size) const;
    unsigned long copyToMemory(unsigned char* out, unsigned long size) const;

private:
    std::unique_ptr<SafeBufferImpl> impl_;  // null until there is a first byte
};

}  // namespace zeb
