#pragma once

#include "core/ByteBlob.h"

namespace zeb {

/// What the copies of one SecureString share.
struct SecureStringData {
    bool empty = true;
    ByteBlob iv;
    ByteBlob ciphertext;
};

}  // namespace zeb
