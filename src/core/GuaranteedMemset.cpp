#include "core/GuaranteedMemset.h"

namespace zeb {

// A function of its own, never inlined, so that no caller's optimisation sees the loop. The barrier claims to
// read the memory, which holds even when the whole program is optimised at once; unlike a volatile loop it
// leaves the compiler free to write the loop in wide stores.
__attribute__((noinline)) void guaranteed_memset(void* memory, int value, unsigned long size) {
    if (memory == nullptr) {
        return;
    }
    auto* const bytes = static_cast<unsigned char*>(memory);
    for (unsigned long i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(value);
    }
    __asm__ __volatile__("" : : "r"(bytes) : "memory");
}

}  // namespace zeb
