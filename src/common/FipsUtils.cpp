#include "common/FipsUtils.h"

#include <atomic>

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace zeb::common {
namespace {

bool askOpenSsl() {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    return EVP_default_properties_is_fips_enabled(nullptr) != 0;
#else
    return FIPS_mode() != 0;
#endif
}

std::atomic<bool (*)()> currentQuery{&askOpenSsl};

}  // namespace

bool FipsUtils::isFipsEnabled() {
    return currentQuery.load()();
}

void FipsUtils::setQueryForTests(bool (*query)()) {
    currentQuery = query == nullptr ? &askOpenSsl : query;
}

}  // namespace zeb::common
