#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::common {

/// Operations on texts. Stateless; never throws unless memory runs out.
class ZEBNETUTILS_EXPORT StringUtils {
public:
    StringUtils() = delete;

    /// The text without the white space at both ends: the bytes 9 to 13 and 32, in every locale. No other
    /// byte counts, neither NUL nor a no-break space.
    static std::string trim(const std::string& text);
};

}  // namespace zeb::common
