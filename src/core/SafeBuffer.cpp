#include "core/SafeBuffer.h"

#include "core/SafeAllocator.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace zeb {

struct SafeBufferImpl {
    std::vector<char, SafeAllocator<char>> bytes;
};

SafeBuffer::SafeBuffer() = default;

SafeBuffer::SafeBuffer(const char* bytes, unsigned long size) {
    if (bytes != nullptr && size > 0) {
        impl_ = std::make_unique<SafeBufferImpl>();
        impl_->bytes.assign(bytes, bytes + size);
    }
}

SafeBuffer::SafeBuffer(const SafeBuffer& other)
    : impl_(other.impl_ ? std::make_unique<SafeBufferImpl>(*other.impl_) : nullptr) {}

SafeBuffer::SafeBuffer(SafeBuffer&& other) noexcept = default;

SafeBuffer::~SafeBuffer() = default;

SafeBuffer& SafeBuffer::operator=(SafeBuffer other) {
    swap(other);
    return *this;
}

void SafeBuffer::push_back(char byte) {
    if (!impl_) {
        impl_ = std::make_unique<SafeBufferImpl>();
    }
    impl_->bytes.push_back(byte);
}

void SafeBuffer::swap(SafeBuffer& other) noexcept {
    impl_.swap(other.impl_);
}

bool SafeBuffer::empty() const {
    return size() == 0;
}

const char* SafeBuffer::data() const {
    return empty() ? nullptr : impl_->bytes.data();
}

unsigned long SafeBuffer::size() const {
    return impl_ ? impl_->bytes.size() : 0;
}

unsigned long SafeBuffer::copyToMemory(char* out, unsigned long size) const {
    if (out == nullptr || empty()) {
        return 0;
    }
    const unsigned long count = std::min(size, this->size());
    std::memcpy(out, data(), count);
    return count;
}

unsigned long SafeBuffer::copyToMemory(unsigned char* out, unsigned long size) const {
    return copyToMemory(reinterpret_cast<char*>(out), size);
}

}  // namespace zeb
