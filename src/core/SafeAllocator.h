#pragma once

#include "core/Export.h"

#include <cstddef>
#include <new>

namespace zeb {

namespace internal {

/// Chooses where all SafeAllocators get their memory and where they give it back (already wiped, with its
/// size in bytes); null chooses the default, operator new[] and operator delete[]. `alloc` may answer null,
/// which the allocator turns into std::bad_alloc. Any thread; but as a block must go back to where it came
/// from, change the functions only while no SafeAllocator's memory is in use.
ZEBNETUTILS_EXPORT void setupSafeAllocatorMemoryManager(void* (*alloc)(unsigned long),
                                                        void (*dealloc)(void*, unsigned long));

/// Wipes `size` bytes; null does nothing.
ZEBNETUTILS_EXPORT void safeAllocatorZeroMemory(void* memory, unsigned long size);

/// The chosen functions, for SafeAllocator alone.
ZEBNETUTILS_EXPORT void* safeAllocatorAllocate(unsigned long size);
ZEBNETUTILS_EXPORT void safeAllocatorDeallocate(void* memory, unsigned long size);

}  // namespace internal

/// A stateless allocator that wipes every block before it gives it back, so that a container which grows
/// leaves no old copy of its content behind. All instances are equal, and may be used from any thread.
template <typename T>
class SafeAllocator {
public:
    using value_type = T;

    SafeAllocator() = default;
    template <typename U>
    SafeAllocator(const SafeAllocator<U>& /*other*/) {}

    /// Throws std::bad_alloc if there is no memory.
    T* allocate(std::size_t count) {
        if (count > max_size()) {
            throw std::bad_alloc();
        }
        void* const memory = internal::safeAllocatorAllocate(count * sizeof(T));
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(memory);
    }

    void deallocate(T* memory, std::size_t count) {
        internal::safeAllocatorZeroMemory(memory, count * sizeof(T));
        internal::safeAllocatorDeallocate(memory, count * sizeof(T));
    }

    /// The most elements one block may have: a container refuses to grow beyond.
    std::size_t max_size() const { return 0xFFFFFFFF; }
};

template <typename T, typename U>
bool operator==(const SafeAllocator<T>& /*left*/, const SafeAllocator<U>& /*right*/) {
    return true;
}

template <typename T, typename U>
bool operator!=(const SafeAllocator<T>& /*left*/, const SafeAllocator<U>& /*right*/) {
    return false;
}

}  // namespace zeb
