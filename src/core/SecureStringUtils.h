#pragma once

#include "core/Export.h"

#include <string>

namespace zeb {

/// Wipes memory that held a secret; the compiler can't leave it out.
class ZEBNETUTILS_EXPORT SecureStringUtils {
public:
    static void ZEBZeroMemory(const void* memory, unsigned long bytes);
    static void ZEBZeroMemory(const char* memory, unsigned long bytes);
    static void ZEBZeroString(std::string& text);
};

}  // namespace zeb
