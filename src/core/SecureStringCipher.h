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

/// What a buffer needs beyond the size of its input: the padding, at most one block, and one block that the
/// cipher may hold back.
constexpr unsigned long SECURE_STRING_CIPHER_RESERVE = 32;

/// Decrypts into `text`, which has room for the ciphertext and SECURE_STRING_CIPHER_RESERVE more; its first
/// `length` bytes are then the cleartext. False on failure, with parts of the cleartext possibly in `text`.
bool decryptText(const ByteBlob& iv, const ByteBlob& ciphertext, char* text, unsigned long& length);

}  // namespace zeb::internal
