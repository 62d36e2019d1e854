#include "cert/common/CertStatus.h"

namespace zeb::cert {

namespace {

const char* nameOf(CertStatus::Status status) {
    switch (status) {
        case CertStatus::VALID:
            return "VALID";
        case CertStatus::INVALID_REVOKED:
            return "INVALID_REVOKED";
        case CertStatus::INTERNAL_ERROR:
            return "INTERNAL_ERROR";
        case CertStatus::BASIC_CONSTRAINTS:
            return "BASIC_CONSTRAINTS";
        case CertStatus::NO_REVOCATION_CHECK:
            return "NO_REVOCATION_CHECK";
        case CertStatus::REVOCATION_OFFLINE:
            return "REVOCATION_OFFLINE";
        case CertStatus::UNTRUSTED_ROOT:
            return "UNTRUSTED_ROOT";
        case CertStatus::INVALID_SIGNATURE:
            return "INVALID_SIGNATURE";
        case CertStatus::INVALID_CHAIN:
            return "INVALID_CHAIN";
        case CertStatus::CN_NO_MATCH:
            return "CN_NO_MATCH";
        case CertStatus::WRONG_USAGE:
            return "WRONG_USAGE";
        case CertStatus::EXPIRED:
            return "EXPIRED";
        case CertStatus::INVALID_NAME:
            return "INVALID_NAME";
        case CertStatus::INVALID_POLICY:
            return "INVALID_POLICY";
        case CertStatus::FAILED_TO_VERIFY_XMPP_SUBJECT_ALT_NAME:
            return "FAILED_TO_VERIFY_XMPP_SUBJECT_ALT_NAME";
        case CertStatus::REVOCATION_STATUS_UNKNOWN:
            return "REVOCATION_STATUS_UNKNOWN";
        case CertStatus::INVALID_EXTENSION:
            return "INVALID_EXTENSION";
        case CertStatus::CTL_IS_NOT_VALID:
            return "CTL_IS_NOT_VALID";
        case CertStatus::INVALID_NAME_CONSTRAINT:
            return "INVALID_NAME_CONSTRAINT";
        case CertStatus::POLICY_NO_ISSUANCE:
            return "POLICY_NO_ISSUANCE";
        case CertStatus::EXPLICIT_DISTRUST:
            return "EXPLICIT_DISTRUST";
        case CertStatus::NOT_SUPPORTED_CRITICAL_EXT:
            return "NOT_SUPPORTED_CRITICAL_EXT";
        case CertStatus::IS_PARTIAL_CHAIN:
            return "IS_PARTIAL_CHAIN";
        case CertStatus::CERT_TRUST_CYCLIC:
            return "CERT_TRUST_CYCLIC";
        case CertStatus::NO_TIME_VALID:
            return "NO_TIME_VALID";
        case CertStatus::WEAK_KEY:
            return "WEAK_KEY";
        case CertStatus::UNKNOWN:
            return "UNKNOWN";
    }
    return nullptr;
}

}  // namespace

bool CertStatus::representsVerificationSuccess(const std::set<Status>& statuses) {
    return statuses.empty() || (statuses.size() == 1 && *statuses.begin() == VALID);
}

std::ostream& operator<<(std::ostream& stream, CertStatus::Status status) {
    const char* const name = nameOf(status);
    return name != nullptr ? stream << name
                           : stream << "Unexpected value (" << static_cast<int>(status) << ")";
}

std::ostream& operator<<(std::ostream& stream, const std::set<CertStatus::Status>& statuses) {
    stream << "[";
    const char* separator = "";
    for (const CertStatus::Status status : statuses) {
        stream << separator << status;
        separator = " ";
    }
    return stream << "]";
}

}  // namespace zeb::cert
