#include "support/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local std::size_t allocatedBytes = 0;

}  // namespace

// The other forms (arrays, nothrow, sized) end in these two.
void* operator new(std::size_t size) {
    ++allocations;
    allocatedBytes += size;
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

namespace zeb::test {

AllocationCounter::AllocationCounter() : countBefore_(allocations), bytesBefore_(allocatedBytes) {}

std::size_t AllocationCounter::count() const {
    return allocations - countBefore_;
}

std::size_t AllocationCounter::bytes() const {
    return allocatedBytes - bytesBefore_;
}

}  // namespace zeb::test
