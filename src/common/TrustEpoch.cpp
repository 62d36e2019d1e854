#include "common/TrustEpoch.h"

#include <atomic>

namespace zeb::common {

namespace {

std::atomic<std::uint64_t> epoch{0};

}  // namespace

void TrustEpoch::advance() {
    ++epoch;
}

std::uint64_t TrustEpoch::current() {
    return epoch;
}

}  // namespace zeb::common
