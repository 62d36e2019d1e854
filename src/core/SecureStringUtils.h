#pragma once

#include "core/Export.h"

#include <string>

namespace zeb {

/// Wipes memory that held a secret, in a way that no compiler removes. What is wiped is taken as const, since
/// the holders' own interfaces (`c_str()`, `data()`) give it so; it must not be memory that is really
/// read-only.
///
/// Any thread, as long as nobody else uses the memory. Nothing fails.
class ZEBNETUTILS_EXPORT SecureStringUtils {
public:
    SecureStringUtils() = delete;

    /// Zeroes `size` bytes; null does nothing. At the speed of memset(), as every block that libcurl frees
    /// passes through here.
    static void ZEBZeroMemory(const void* memory, unsigned long size);
    static void ZEBZeroMemory(const char* memory, unsigned long size);

    /// Zeroes the characters and empties the string. Only size() characters are wiped: of a string that was
    /// shortened before, the rest stays.
    static void ZEBZeroString(std::string& text);
    static void ZEBZeroWstring(std::wstring& text);
};

}  // namespace zeb
