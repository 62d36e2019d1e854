#include "core/SecureStringUtils.h"

#include "core/GuaranteedMemset.h"

namespace zeb {

void SecureStringUtils::ZEBZeroMemory(const void* memory, unsigned long size) {
    guaranteed_memset(const_cast<void*>(memory), 0, size);
}

void SecureStringUtils::ZEBZeroMemory(const char* memory, unsigned long size) {
    ZEBZeroMemory(static_cast<const void*>(memory), size);
}

void SecureStringUtils::ZEBZeroString(std::string& text) {
    // First of all the end of string, for any reader that still holds the pointer.
    text[0] = '\0';
    ZEBZeroMemory(text.data(), text.size());
    text.clear();
}

void SecureStringUtils::ZEBZeroWstring(std::wstring& text) {
    ZEBZeroMemory(static_cast<const void*>(text.data()), text.size() * sizeof(wchar_t));
    text.clear();
}

}  // namespace zeb
