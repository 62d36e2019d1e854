#include "common/FipsUtils.h"

#include "core/OpenSSLCompat.h"

#include <atomic>

namespace zeb::common {
namespace {

std::atomic<bool (*)()> currentQuery{&openssl::isFipsEnabled};

}  // namespace

bool FipsUtils::isFipsEnabled() {
    return currentQuery.load()();
}

void FipsUtils::setQueryForTests(bool (*query)()) {
    currentQuery = query == nullptr ? &openssl::isFipsEnabled : query;
}

}  // namespace zeb::common
