#include "cert/common/CertIdentifierStatus.h"

#include <utility>

namespace zeb::cert {

CertIdentifierStatus::CertIdentifierStatus() = default;

CertIdentifierStatus::CertIdentifierStatus(Status status, std::string matchedIdentifier)
    : status_(status), matchedIdentifier_(std::move(matchedIdentifier)) {}

CertIdentifierStatus::Status CertIdentifierStatus::getStatus() const {
    return status_;
}

void CertIdentifierStatus::setStatus(Status status) {
    status_ = status;
}

const std::string& CertIdentifierStatus::getMatchedIdentifier() const {
    return matchedIdentifier_;
}

void CertIdentifierStatus::setMatchedIdentifier(const std::string& matchedIdentifier) {
    matchedIdentifier_ = matchedIdentifier;
}

std::ostream& operator<<(std::ostream& stream, CertIdentifierStatus::Status status) {
    switch (status) {
        case CertIdentifierStatus::SUCCESS:
            return stream << "SUCCESS";
        case CertIdentifierStatus::INTERNAL_ERROR:
            return stream << "INTERNAL_ERROR";
        case CertIdentifierStatus::NO_MATCH_FOUND:
            return stream << "NO_MATCH_FOUND";
        case CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT:
            return stream << "NO_IDENTITY_INFO_IN_CERT";
    }
    return stream << static_cast<int>(status);
}

std::ostream& operator<<(std::ostream& stream, const CertIdentifierStatus& status) {
    // A bracket that nothing opens: hosts know the printed form.
    return stream << "result : " << status.getStatus() << " , "
                  << "matched ID : " << status.getMatchedIdentifier() << "]";
}

}  // namespace zeb::cert
