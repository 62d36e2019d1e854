#pragma once

#include "core/Export.h"

namespace zeb {

/// memset() that happens even if nobody reads the memory afterwards: a compiler may remove a plain one as a
/// dead store, and with it the wiping of a secret. Null memory: nothing is done. Any thread.
ZEBNETUTILS_EXPORT void guaranteed_memset(void* memory, int value, unsigned long size);

}  // namespace zeb
