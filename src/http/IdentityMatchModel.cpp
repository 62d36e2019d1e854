#include "http/IdentityMatchModel.h"

namespace zeb::http {

std::ostream& operator<<(std::ostream& stream, IdentityMatchModel::Model model) {
    switch (model) {
        case IdentityMatchModel::SOFT_MATCH:
            return stream << "SOFT_MATCH";
        case IdentityMatchModel::STRICT_MATCH:
            return stream << "STRICT_MATCH";
    }
    return stream << static_cast<int>(model);
}

}  // namespace zeb::http
