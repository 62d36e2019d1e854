#include "cert/common/CertKeyStrengthResult.h"

namespace zeb::cert {

std::ostream& operator<<(std::ostream& stream, CertKeyStrengthResult::Result result) {
    switch (result) {
        case CertKeyStrengthResult::SUCCESS:
            return stream << "SUCCESS";
        case CertKeyStrengthResult::FAILURE:
            return stream << "FAILURE";
        case CertKeyStrengthResult::INTERNAL_ERROR:
            return stream << "INTERNAL_ERROR";
    }
    return stream << "Unexpected value (" << static_cast<int>(result) << ")";
}

}  // namespace zeb::cert
