#include "cert/common/CertResult.h"

#include "zeblogger/ZEBLogger.h"

namespace zeb::cert {

CertResult CertResult::loggable() const {
    CertResult hidden = *this;
    hidden.identifierStatus.setMatchedIdentifier(
        ZEBLogger_replacePIIData(identifierStatus.getMatchedIdentifier()));
    return hidden;
}

std::ostream& operator<<(std::ostream& stream, CertResult::Result result) {
    switch (result) {
        case CertResult::SUCCESS:
            return stream << "SUCCESS";
        case CertResult::FAILURE:
            return stream << "FAILURE";
        case CertResult::POLICY_NOT_ENFORCED_ERROR:
            return stream << "POLICY_NOT_ENFORCED_ERROR";
    }
    return stream << "Unexpected value (" << static_cast<int>(result) << ")";
}

std::ostream& operator<<(std::ostream& stream, const CertResult& result) {
    return stream << "result : " << result.result << " , "
                  << "invalid reason : " << result.statuses << " , "
                  << "identifier validation : " << result.identifierStatus << " , "
                  << "fingerprint marked as valid : " << (result.fingerprintValid ? "true" : "false") << "]";
}

}  // namespace zeb::cert
