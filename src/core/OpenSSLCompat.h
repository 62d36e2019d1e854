#pragma once

/// What OpenSSL 1.1.1 and OpenSSL 3 spell differently, under one name each. Only for .cpp files.

struct evp_cipher_st;  // OpenSSL's EVP_CIPHER

namespace zeb::openssl {

/// AES-256-CBC for EVP_EncryptInit_ex() and EVP_DecryptInit_ex(). OpenSSL 3 looks an algorithm up in its
/// providers at each use of EVP_aes_256_cbc(); here it's looked up once for the process. Never null; never to
/// be freed. Any thread.
const evp_cipher_st* aes256Cbc();

/// Whether the default library context runs under FIPS rules at this moment. Any thread.
bool isFipsEnabled();

}  // namespace zeb::openssl
