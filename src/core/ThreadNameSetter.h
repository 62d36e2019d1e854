#pragma once

#include "core/Export.h"

#include <string>

namespace zeb {

/// Gives the calling thread its name in the operating system, where debuggers and `top` show it. The system
/// holds 15 characters; a longer name is cut to its first 14. Failure is printed to standard error.
ZEBNETUTILS_EXPORT void SetThreadName(const std::string& name);

/// SetThreadName() for callers whose name may be missing.
class ZEBNETUTILS_EXPORT ThreadNameSetter {
public:
    /// An empty name is ignored.
    static void SetCurrentThreadName(const std::string& name);
};

}  // namespace zeb
