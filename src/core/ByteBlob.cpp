#include "core/ByteBlob.h"

#include "core/SecureStringUtils.h"

#include <cstring>
#include <new>

namespace zeb {

namespace {

// Not zero: a block that was never filled must not pass for a wiped one, nor for a valid all-zero key.
constexpr int FILLER = 0xFF;

}  // namespace

ByteBlob::ByteBlob(unsigned long newSize) {
    reallocateSize(newSize);
}

ByteBlob::~ByteBlob() {
    destroyData();
}

void ByteBlob::reallocateSize(unsigned long newSize) {
    destroyData();
    size = 0;
    if (newSize == 0) {
        return;
    }
    data = new (std::nothrow) unsigned char[newSize];
    if (data != nullptr) {
        size = newSize;
        std::memset(data, FILLER, size);
    }
}

void ByteBlob::destroyData() {
    if (data == nullptr) {
        return;
    }
    SecureStringUtils::ZEBZeroMemory(data, size);
    delete[] data;
    data = nullptr;
}

}  // namespace zeb
