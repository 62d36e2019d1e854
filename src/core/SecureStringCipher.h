#pragma once

#include "core/ByteBlob.h"

namespace zeb::internal {

constexpr unsigned long SECURE_STRING_KEY_SIZE = 32;
constexpr unsigned long SECURE_STRING_IV_SIZE = 16;

/// Writes the key (SECURE_STRING_KEY_SIZE bytes) that texts are encrypted with. The name says nothing, on
/// purpose: it may be visible in the binary.
void bWV0aG9k(unsigned char* key);

/// Encrypts under a new random initialisation vector. False on failure, with unusable blobs. `length` must
/// not be 0.
bool encryptText(const char* text, unsigned long length, ByteBlob& iv, ByteBlob& ciphertext);

/// Decrypts into `text`, whose first `length` bytes are then the cleartext. False on failure.
bool decryptText(const ByteBlob& iv, const ByteBlob& ciphertext, ByteBlob& text, unsigned long& length);

}  // namespace zeb::internal
