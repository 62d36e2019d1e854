#include "common/SequenceNumber.h"

#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

#include <algorithm>

namespace zeb::common {
namespace {

constexpr std::uint32_t MAXIMUM = 0xFFFFFFFE;

struct Counter {
    Mutex mutex;  ///< guards last
    std::uint32_t last = 0;
};

/// Never destroyed: threads may still ask while the process ends.
Counter& counter() {
    static auto* const instance = new Counter;
    return *instance;
}

}  // namespace

std::uint32_t SequenceNumber::getSequenceNumber() {
    Counter& state = counter();
    {
        const ScopedLock lock(state.mutex);
        if (state.last < MAXIMUM) {
            return ++state.last;
        }
    }
    ZEB_LOG_WARNING(log::common(), "The counter has reached it's maximum limit. Returning maximum value.");
    return MAXIMUM;
}

void SequenceNumber::setLastNumberForTests(std::uint32_t last) {
    Counter& state = counter();
    const ScopedLock lock(state.mutex);
    state.last = std::min(last, MAXIMUM);
}

}  // namespace zeb::common
