#include "core/SafeAllocator.h"

#include "core/SecureStringUtils.h"

#include <atomic>

namespace zeb::internal {

namespace {

void* allocateWithNew(unsigned long size) {
    return ::operator new[](size);
}

void deallocateWithDelete(void* memory, unsigned long /*size*/) {
    ::operator delete[](memory);
}

std::atomic<void* (*)(unsigned long)> allocateFunction{allocateWithNew};
std::atomic<void (*)(void*, unsigned long)> deallocateFunction{deallocateWithDelete};

}  // namespace

void setupSafeAllocatorMemoryManager(void* (*alloc)(unsigned long), void (*dealloc)(void*, unsigned long)) {
    allocateFunction = alloc != nullptr ? alloc : allocateWithNew;
    deallocateFunction = dealloc != nullptr ? dealloc : deallocateWithDelete;
}

void safeAllocatorZeroMemory(void* memory, unsigned long size) {
    if (memory != nullptr) {
        SecureStringUtils::ZEBZeroMemory(memory, size);
    }
}

void* safeAllocatorAllocate(unsigned long size) {
    return allocateFunction.load()(size);
}

void safeAllocatorDeallocate(void* memory, unsigned long size) {
    deallocateFunction.load()(memory, size);
}

}  // namespace zeb::internal
