#include "cert/common/CertKeyUsageResult.h"

namespace zeb::cert {

std::ostream& operator<<(std::ostream& stream, CertKeyUsageResult::Result result) {
    switch (result) {
        case CertKeyUsageResult::SUCCESS:
            return stream << "SUCCESS";
        case CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND:
            return stream << "NO_MATCHING_BASIC_KEY_USAGE_FOUND";
        case CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND:
            return stream << "NO_MATCHING_EXTENDED_KEY_USAGE_FOUND";
        case CertKeyUsageResult::INTERNAL_ERROR:
            return stream << "INTERNAL_ERROR";
    }
    return stream << "Unexpected value (" << static_cast<int>(result) << ")";
}

}  // namespace zeb::cert
