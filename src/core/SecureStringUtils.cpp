#include "core/SecureStringUtils.h"

#include <cstring>

namespace zeb {

void SecureStringUtils::ZEBZeroMemory(const void* memory, unsigned long bytes) {
    if (memory != nullptr) {
        explicit_bzero(const_cast<void*>(memory), bytes);
    }
}

void SecureStringUtils::ZEBZeroMemory(const char* memory, unsigned long bytes) {
    ZEBZeroMemory(static_cast<const void*>(memory), bytes);
}

void SecureStringUtils::ZEBZeroString(std::string& text) {
    ZEBZeroMemory(text.data(), text.size());
    text.clear();
}

}  // namespace zeb
