#include "cert/common/CertAcceptanceDecision.h"

namespace zeb::cert {

std::ostream& operator<<(std::ostream& stream, CertAcceptanceDecision::Decision decision) {
    switch (decision) {
        case CertAcceptanceDecision::YES:
            return stream << "YES";
        case CertAcceptanceDecision::NO:
            return stream << "NO";
        case CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR:
            return stream << "POLICY_ENFORCEMENT_ERROR";
        case CertAcceptanceDecision::UNKNOWN:
            return stream << "UNKNOWN";
    }
    return stream << "Unexpected value (" << static_cast<int>(decision) << ")";
}

}  // namespace zeb::cert
