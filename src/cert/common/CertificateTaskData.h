#pragma once

#include "cert/common/CertResult.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zeb::cert {

class CertificateData;
class CertificateVerificationListener;

/// What a verification that waits for a user needs to come to its end by itself.
struct CertificateTaskData {
    std::shared_ptr<CertificateData> certificateData;
    std::string matchedIdentifier;
    std::string identifierToDisplay;
    std::uint32_t requestId = 0;
    std::shared_ptr<CertificateVerificationListener> listener;
    CertResult instantResult;  ///< what the caller has been told meanwhile
};

}  // namespace zeb::cert
