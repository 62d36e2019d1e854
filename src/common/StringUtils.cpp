#include "common/StringUtils.h"

namespace zeb::common {

std::string StringUtils::trim(const std::string& text) {
    static constexpr char WHITE_SPACE[] = "\t\n\v\f\r ";
    const std::string::size_type last = text.find_last_not_of(WHITE_SPACE);
    if (last == std::string::npos) {
        return {};
    }
    const std::string::size_type first = text.find_first_not_of(WHITE_SPACE);
    return text.substr(first, last - first + 1);
}

}  // namespace zeb::common
