#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::http {

/// How the names in a server's certificate are compared with those that the request expects.
struct IdentityMatchModel {
    enum Model : int {     // so that any number that a host puts in is one to refuse
        SOFT_MATCH = 0,    ///< any one of the expected names will do
        STRICT_MATCH = 1,  ///< the server's own name must match, whatever else does
    };
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, IdentityMatchModel::Model model);

}  // namespace zeb::http
