#include "core/OpenSSLCompat.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace zeb::openssl {

#if OPENSSL_VERSION_NUMBER >= 0x30000000L

const EVP_CIPHER* aes256Cbc() {
    // Never freed: secrets of static lifetime may be read until the very end of the process.
    static const EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
    return fetched != nullptr ? fetched : EVP_aes_256_cbc();
}

bool isFipsEnabled() {
    return EVP_default_properties_is_fips_enabled(nullptr) != 0;
}

#else

const EVP_CIPHER* aes256Cbc() {
    return EVP_aes_256_cbc();
}

bool isFipsEnabled() {
    return FIPS_mode() != 0;
}

#endif

}  // namespace zeb::openssl
