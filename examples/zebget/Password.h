#pragma once

#include "core/SecureString.h"

#include <string>

namespace zebget {

/// Reads a line from standard input; on a terminal without showing it, and after asking for it. Empty at the
/// end of the input.
zeb::SecureString askForPassword(const std::string& whose);

}  // namespace zebget
