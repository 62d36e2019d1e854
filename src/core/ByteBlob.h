#pragma once

#include "core/Export.h"

namespace zeb {

/// One raw block of bytes, owned and wiped: what keys, initialisation vectors, ciphertexts and short-lived
/// cleartexts are held in. The fields are open, as the block is handed to C interfaces that fill it.
///
/// No locks: one thread at a time.
struct ZEBNETUTILS_EXPORT ByteBlob {
    ByteBlob() = default;

    /// As reallocateSize().
    explicit ByteBlob(unsigned long newSize);

    /// As destroyData().
    ~ByteBlob();

    ByteBlob(const ByteBlob&) = delete;
    ByteBlob& operator=(const ByteBlob&) = delete;

    /// Destroys the block held, then takes a new one, filled with 0xFF. No memory, or a size of 0: data is
    /// null and size is 0.
    void reallocateSize(unsigned long newSize);

    /// Wipes `size` bytes of the block, frees it and nulls the pointer. `size` keeps its value, so that it
    /// can still be asked how large the block was.
    void destroyData();

    unsigned char* data = nullptr;

    /// Bytes in use. A holder may lower it to the part that it filled; what lies behind is then not wiped, so
    /// lower it only where that part holds no secret.
    unsigned long size = 0;
};

}  // namespace zeb
