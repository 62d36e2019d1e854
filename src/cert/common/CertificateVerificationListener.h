#pragma once

#include "cert/common/CertResult.h"
#include "core/Export.h"

namespace zeb::cert {

/// Hears how verifications ended that had to wait for a user. The host implements it.
class ZEBNETUTILS_EXPORT CertificateVerificationListener {
public:
    /// Once for each request id that isn't 0, on a thread of the shared pool; it may come before the call
    /// that gave the id has returned. What it throws is logged and dropped.
    virtual void onCertificateVerified(unsigned int requestId, CertResult result) = 0;
    virtual ~CertificateVerificationListener();
};

}  // namespace zeb::cert
