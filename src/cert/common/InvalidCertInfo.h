#pragma once

#include "cert/common/CertStatus.h"

#include <set>
#include <string>
#include <vector>

namespace zeb::cert {

/// What a host is told of a certificate that failed, in order to show it to the user.
struct InvalidCertInfo {
    std::string fingerprint;          ///< what the host answers with; CertificateValidityCache
    std::string commonName;           ///< "Unknown" when the certificate has none
    std::string identifier;           ///< the name that was asked for
    std::string identifierToDisplay;  ///< how the user knows the server
    std::set<CertStatus::Status> statuses;
    std::string leafPem;
    std::vector<std::string> chainPem;  ///< what the server sent behind its own certificate
    bool userCanDecide = false;         ///< true for a question, false for a warning: no answer expected
    bool canBePersisted = false;        ///< whether a host may keep the decision beyond this process
};

}  // namespace zeb::cert
